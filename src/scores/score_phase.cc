#include "scores/score_phase.h"

#include <string>
#include <utility>

#include "scores/factor_scores.h"
#include "scores/score_messages.h"
#include "text/edit_descriptors.h"

namespace vq {
namespace {

// The counts of the run against the arrays the driver hands over. A mismatch
// is a fault of the program, not of the data; it still ends the run with a
// message rather than a read outside an array.
void CheckScoreArrays(const ScoreData& data, int p, int N) {
  const bool fits =
      data.item_data.rows == N && data.item_data.cols == p &&
      static_cast<int>(data.subject_ids.size()) >= N && static_cast<int>(data.means.size()) >= p &&
      static_cast<int>(data.deviations.size()) >= p && data.r.rows == p && data.r.cols == p;
  if (!fits || N < 1 || p < 1) {
    ScoreFatalError("FATAL ERROR: The item scores do not match the numbers of",
                    "subjects and variables; factor scores cannot be computed.");
  }
}

// The progress line names components for "PCA" and factors for "PFA"; other
// model words have no line of their own.
void ShowProgressLine(Model model, Progress& progress) {
  if (model == Model::kPrincipalFactors) {
    progress.Line(30, "Computing factor scores");
    progress.EmptyLines(1);
  } else if (model == Model::kComponents) {
    progress.Line(30, "Computing component scores");
    progress.EmptyLines(1);
  }
}

// The note kept when the weights had to use the stand-in inverse of
// InvertPositiveDefinite; the console has had its message already.
std::string StandInInverseNote(bool bartlett, int failed_order) {
  const std::string matrix = bartlett ? "the matrix L' U^-1 L of the Bartlett weights"
                                      : "the correlation matrix of the regression weights";
  return "NOTE: " + matrix + " is not positive definite (leading minor of order " +
         std::to_string(failed_order) +
         "); its inverse was replaced by the inverse of the leading block before it and the "
         "unit matrix, and the weights rest on that stand-in.";
}

}  // namespace

ScoreLoadingChoice ChooseScoreLoadings(const ScoreOptions& options,
                                       const Matrix& loadings,
                                       const RotationResult& rotation) {
  ScoreLoadingChoice choice;
  choice.loadings = &loadings;
  if (const RotatedSolution* solution = rotation.final_solution()) {
    choice.rotation = solution->method;
    if (!solution->oblique) {
      choice.source = ScoreLoadingSource::kRotated;
      choice.loadings = &solution->item_order_loadings;
    } else if (options.method == ScoreMethod::kBartlett) {
      choice.source = ScoreLoadingSource::kObliquePattern;
      choice.loadings = &solution->item_order_loadings;
    } else {
      choice.source = ScoreLoadingSource::kObliqueStructure;
      choice.loadings = &solution->item_order_structure;
    }
  }
  const Matrix& chosen = *choice.loadings;
  if (chosen.rows != options.variable_count || chosen.cols != options.factor_count) {
    ScoreFatalError("FATAL ERROR: The loadings of the solution are not available",
                    "in item order; factor scores cannot be computed.");
  }
  return choice;
}

ScorePlan PlanScorePhase(const RunOptions& options) {
  ScorePlan plan;
  if (!IsPearsonCoding(options.Coding) || options.FactorCount < 1) return plan;
  plan.estimate = EstimatesScores(options.ScoreMethod) && options.Model != Model::kRotate;
  plan.plot = plan.estimate && PlotsScores(options.PlotMode);
  return plan;
}

void NoteUnmetScoreRequests(const RunOptions& options,
                            Progress& progress,
                            std::vector<std::string>& notes) {
  if (!IsPearsonCoding(options.Coding) || options.FactorCount < 1 ||
      options.Model == Model::kTriplet || options.Model == Model::kCorrelations) {
    return;
  }
  auto note = [&](std::string_view first, std::string_view second) {
    ScoreNote(first, second, progress);
    notes.push_back(std::string(first) + " " + std::string(second));
  };
  const bool scores_asked = EstimatesScores(options.ScoreMethod);
  if (scores_asked && options.Model == Model::kRotate) {
    note("WARNING: A given factor pattern has no data for factor scores;",
         "no factor scores are computed.");
    return;
  }
  if (!scores_asked && PlotsScores(options.PlotMode)) {
    note("WARNING: No factor scores are computed, so there is no", "factor score plot.");
  }
}

void CheckScoreInputs(const ScoreData& data, const ScoreOptions& options) {
  const int p = options.variable_count;
  CheckScoreArrays(data, p, options.subject_count);
  CheckItemDeviations(data.deviations, p);
  if (options.method == ScoreMethod::kBartlett) CheckUniqueVariances(data.r, p, options.model);
}

void EstimateScores(const ScoreData& data,
                    const ScoreLoadingChoice& choice,
                    const ScoreOptions& options,
                    Progress& progress,
                    ScoreResult& result) {
  const int p = options.variable_count;
  const int N = options.subject_count;
  const int m = options.factor_count;
  const bool bartlett = options.method == ScoreMethod::kBartlett;
  result.method = options.method;
  result.source = choice.source;
  result.rotation = choice.rotation;
  result.loadings = *choice.loadings;
  result.subject_ids.assign(data.subject_ids.begin(), data.subject_ids.begin() + N);

  ShowProgressLine(options.model, progress);
  // The weights take the correlations with a unit diagonal; Bartlett's
  // inverse unique variances u come from the final communalities first.
  Matrix r = data.r;
  std::vector<double> u;
  if (bartlett) u.assign(p, 0.0);
  for (int item = 0; item < p; ++item) {
    if (bartlett) u[item] = 1.0 / (1.0 - r(item, item));
    r(item, item) = 1.0;
  }

  Matrix standard_scores;
  StandardizeItems(data.item_data, data.means, data.deviations, N, p, standard_scores);
  Matrix weights;
  const int inverse = bartlett ? BartlettWeights(u, p, m, result.loadings, weights)
                               : RegressionWeights(r, p, m, result.loadings, weights);
  if (inverse != 0) result.notes.push_back(StandInInverseNote(bartlett, inverse));
  WeightScores(standard_scores, weights, N, p, m, result.scores);
  result.weights = std::move(weights);

  StandardizeScores(result.scores, N, m, result.score_deviations);
  result.validity = ScoreValidity(result.loadings, result.weights, result.score_deviations, p, m);
  result.estimated = true;
}

}  // namespace vq
