#include "api/factoring.h"

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "aids/likelihood_fit.h"
#include "aids/parallel_analysis.h"
#include "api/engine_call.h"
#include "correlation/polychoric.h"
#include "correlation/smoothing.h"
#include "correlation/tetrachoric.h"
#include "extraction/extraction.h"
#include "frame/progress.h"
#include "kernels/failure.h"
#include "kernels/parallel.h"
#include "kernels/pearson.h"
#include "rotation/random_start.h"
#include "rotation/rotation.h"
#include "scores/score_phase.h"

namespace vq::api {
namespace {

// The phases' console lines that tell of something the caller should know
// (a limit of passes, an eigen solution's warning, a rotation that did not
// converge); the counters and announcements are dropped.
class WarningProgress : public Progress {
 public:
  explicit WarningProgress(std::vector<std::string>& warnings) : warnings_(warnings) {}
  void Line(int, std::string_view text) override { Keep(text); }
  void Overwrite(int, std::string_view) override {}
  void FreeForm(std::string_view text) override { Keep(text); }
  void EmptyLines(int) override {}

 private:
  // "**** Communalities Failed to Converge ****" without its frame.
  void Keep(std::string_view text) {
    const std::size_t first = text.find_first_not_of("* ");
    const std::size_t last = text.find_last_not_of("* ");
    if (first == std::string_view::npos) return;
    warnings_.emplace_back(text.substr(first, last - first + 1));
  }
  std::vector<std::string>& warnings_;
};

std::string Lower(std::string word) {
  for (char& c : word) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return word;
}

ExtractionOptions MakeExtraction(const FactorSettings& settings, int p) {
  ExtractionOptions options;
  const std::string method = Lower(settings.method);
  if (method == "pfa") {
    options.Method = ExtractionMethod::kPrincipalFactors;
  } else if (method == "pca") {
    options.Method = ExtractionMethod::kPrincipalComponents;
  } else {
    throw std::invalid_argument("method must be \"pfa\" or \"pca\", not \"" + settings.method +
                                "\"");
  }
  const std::string start = Lower(settings.start);
  if (start == "smc") {
    options.InitialCommunality = InitialCommunality::kSmc;
  } else if (start == "one") {
    options.InitialCommunality = InitialCommunality::kOne;
  } else if (start == "hir") {
    options.InitialCommunality = InitialCommunality::kHir;
  } else {
    throw std::invalid_argument("start must be \"smc\", \"one\" or \"hir\", not \"" +
                                settings.start + "\"");
  }
  if (settings.factors < 1 || settings.factors > p) {
    throw std::invalid_argument("the number of factors must lie from 1 to the number of items (" +
                                std::to_string(p) + ")");
  }
  if (!(settings.communality_epsilon > 0.0) || settings.communality_iterations < 1) {
    throw std::invalid_argument(
        "the communality iteration needs an epsilon above 0 and at least one pass");
  }
  options.FactorCount = settings.factors;
  options.CommunalityEpsilon = settings.communality_epsilon;
  options.CommunalityIterations = settings.communality_iterations;
  return options;
}

Rotation ParseRotationWord(const std::string& word) {
  const std::string lower = Lower(word);
  if (lower == "varimax") return Rotation::kVarimax;
  if (lower == "wvarimax") return Rotation::kWeightedVarimax;
  if (lower == "promax") return Rotation::kPromax;
  if (lower == "oblimin") return Rotation::kOblimin;
  if (lower == "hk") return Rotation::kHarrisKaiser;
  if (lower == "none") return Rotation::kNone;
  throw std::invalid_argument(
      "rotate must be one of \"varimax\", \"wvarimax\", \"promax\", \"oblimin\", \"hk\", "
      "\"none\", not \"" +
      word + "\"");
}

std::string RotationWord(Rotation rotation) {
  switch (rotation) {
    case Rotation::kVarimax:
      return "varimax";
    case Rotation::kWeightedVarimax:
      return "wvarimax";
    case Rotation::kPromax:
      return "promax";
    case Rotation::kOblimin:
      return "oblimin";
    case Rotation::kHarrisKaiser:
      return "hk";
    default:
      return "none";
  }
}

RotationOptions MakeRotation(const FactorSettings& settings,
                             const ExtractionOptions& extraction,
                             const std::vector<std::string>& labels,
                             int p) {
  RotationOptions options;
  options.rotation = ParseRotationWord(settings.rotation);
  options.model = extraction.Method == ExtractionMethod::kPrincipalComponents
                      ? Model::kComponents
                      : Model::kPrincipalFactors;
  options.random_start = settings.random_start ? RandomStart::kRandom : RandomStart::kUnrotated;
  if (!(settings.rotation_epsilon > 0.0) || settings.rotation_iterations < 1) {
    throw std::invalid_argument("the rotation needs an epsilon above 0 and at least one sweep");
  }
  if (settings.promax_power < 1) throw std::invalid_argument("the Promax power must be 1 or more");
  if (settings.oblimin_delta > 0.0) {
    throw std::invalid_argument("the Oblimin delta must be 0 or less");
  }
  options.epsilon = settings.rotation_epsilon;
  options.max_iterations = settings.rotation_iterations;
  options.promax_power = settings.promax_power;
  options.oblimin_delta = settings.oblimin_delta;
  options.harris_kaiser_parameter = settings.harris_kaiser_parameter;
  options.hyperplane_width = settings.hyperplane_width;
  for (int item = 0; item < p; ++item) {
    options.item_labels.push_back(static_cast<int>(labels.size()) == p
                                      ? labels[static_cast<std::size_t>(item)]
                                      : std::to_string(item + 1));
  }
  return options;
}

// What the analysis keeps besides the result: the engine's extraction and
// rotation, which the factor scores take their loadings from.
struct Analysis {
  ExtractionResult extraction;
  RotationResult rotation;
};

// Extraction, fit and rotation of `correlations` as a run takes them, into
// `result` and `analysis`. Runs under a QuietHost; stops are RunStopped.
void Analyse(const Matrix& correlations,
             int observations,
             const ExtractionOptions& extraction_options,
             const RotationOptions& rotation_options,
             FactorResult& result,
             Analysis& analysis) {
  WarningProgress progress(result.warnings);
  ExtractionResult& extraction = analysis.extraction;
  extraction.InitialEigenvalues = ScreenEigenvalues(correlations);
  ExtractFactors(correlations, extraction_options, progress, extraction);
  FitModel(correlations, extraction);
  const int p = correlations.rows;
  const int m = extraction.Loadings.cols;
  result.factors = m;
  result.initial_eigenvalues = extraction.InitialEigenvalues;
  result.eigenvalues = extraction.EigenValues;
  result.starting_communalities = extraction.StartingCommunalities;
  result.communalities = extraction.Communalities;
  result.iterations = extraction.IterationCount;
  result.converged = extraction.Converged;
  result.unrotated = extraction.Loadings.values;
  for (int item = 0; item < p; ++item) {
    if (extraction.HeywoodCases[static_cast<std::size_t>(item)]) {
      result.warnings.push_back("item " + ItemName(result.labels, p, item) +
                                " has a communality above 1 (a Heywood case)");
    }
  }
  const ModelFit& fit = extraction.Fit;
  result.gfi = fit.Gfi;
  result.rmsr = fit.Rmsr;
  result.residual_mean = fit.Mean;
  result.residual_sd = fit.StandardDeviation;
  result.residual_smallest = fit.Smallest;
  result.residual_largest = fit.Largest;
  result.residuals = fit.Residuals.values;

  for (Rotation stage : RotationStages(rotation_options.rotation, m)) {
    RotatedSolution solution = RotateStage(stage,
                                           extraction.Loadings,
                                           extraction.Communalities,
                                           extraction.WorkingMatrix,
                                           analysis.rotation.final_solution(),
                                           rotation_options,
                                           progress);
    analysis.rotation.solutions.push_back(std::move(solution));
    // The run ends after a Varimax solution that is not a number.
    if (analysis.rotation.solutions.back().not_a_number) PlainStop();
  }
  if (const RotatedSolution* solution = analysis.rotation.final_solution()) {
    result.rotation = RotationWord(solution->method);
    result.oblique = solution->oblique;
    result.loadings = solution->item_order_loadings.values;
    if (solution->oblique) {
      result.structure = solution->item_order_structure.values;
      result.phi = solution->factor_correlations.values;
    }
    result.rotation_sweeps = solution->sweeps.sweeps;
    result.rotation_converged = solution->sweeps.converged;
    result.hyperplane_counts = solution->hyperplane_counts;
    // Varimax says so itself on the console, the other rotations do not.
    const bool said =
        !result.warnings.empty() && result.warnings.back() == "Rotation Failed to Converge";
    if (!solution->sweeps.converged && !said) {
      result.warnings.push_back("the " + result.rotation + " rotation did not converge in " +
                                std::to_string(solution->sweeps.sweeps) +
                                " sweeps; its last solution is used");
    }
  } else {
    result.loadings = result.unrotated;
  }

  if (observations >= 2) {
    try {
      const LikelihoodFit fit_ml = FitLikelihood(correlations, extraction.Loadings, observations);
      LikelihoodFigures& figures = result.likelihood;
      figures.objective = fit_ml.objective;
      figures.chi_square = fit_ml.chi_square;
      figures.df = fit_ml.df;
      figures.p_value = fit_ml.p_value;
      figures.rmsea = fit_ml.rmsea;
      figures.rmsea_lower = fit_ml.rmsea_lower;
      figures.rmsea_upper = fit_ml.rmsea_upper;
      figures.tli = fit_ml.tli;
      figures.bic = fit_ml.bic;
      result.has_likelihood = true;
    } catch (const std::invalid_argument& error) {
      result.warnings.push_back(std::string("no likelihood fit: ") + error.what());
    } catch (const std::runtime_error& error) {
      result.warnings.push_back(std::string("no likelihood fit: ") + error.what());
    }
  }
}

// Under `host`: fixes the seed of a random start, as the run does when it
// starts with --seed.
void ApplySeed(const RunSettings& settings) {
  if (settings.has_seed) SetRandomSeed(settings.seed);
}

}  // namespace

FactorResult FactorAnalysis(const CorrelationMatrix& r,
                            int observations,
                            const FactorSettings& factor_settings,
                            const RunSettings& settings) {
  CheckCorrelations(r, settings);
  const ExtractionOptions extraction = MakeExtraction(factor_settings, r.items);
  const RotationOptions rotation = MakeRotation(factor_settings, extraction, r.labels, r.items);
  FactorResult result;
  result.items = r.items;
  result.labels = r.labels;
  const Matrix correlations = SquareMatrix(r);
  Analysis analysis;
  QuietHost host(settings);
  ApplySeed(settings);
  result.stop = Guarded(
      host, [&] { Analyse(correlations, observations, extraction, rotation, result, analysis); });
  return result;
}

FactorScoreResult FactorScores(const Scores& scores,
                               const FactorSettings& factor_settings,
                               const std::string& method,
                               const RunSettings& settings) {
  CheckScores(scores, settings);
  const int p = scores.items;
  const int n = scores.subjects;
  const ExtractionOptions extraction = MakeExtraction(factor_settings, p);
  const RotationOptions rotation = MakeRotation(factor_settings, extraction, scores.labels, p);
  ScoreOptions options;
  options.estimate = true;
  const std::string word = Lower(method);
  if (word == "regression") {
    options.method = ScoreMethod::kRegression;
  } else if (word == "bartlett") {
    options.method = ScoreMethod::kBartlett;
  } else {
    throw std::invalid_argument("the score method must be \"regression\" or \"bartlett\", not \"" +
                                method + "\"");
  }
  options.model = rotation.model;
  options.variable_count = p;
  options.subject_count = n;
  options.factor_count = factor_settings.factors;

  FactorScoreResult result;
  result.factors.items = p;
  result.factors.labels = scores.labels;
  const Matrix data = ItemData(scores);
  std::vector<double> subject_ids(static_cast<std::size_t>(n));
  for (int subject = 0; subject < n; ++subject) subject_ids[subject] = subject + 1;
  QuietHost host(settings);
  ApplySeed(settings);
  vq::ScoreResult estimate;
  result.stop = Guarded(host, [&] {
    std::vector<double> means;
    std::vector<double> deviations;
    Matrix products;
    Matrix correlations;
    int ifail = kIfailHard;
    G02BAF(n, p, data, means, deviations, products, correlations, ifail);
    Analysis analysis;
    Analyse(correlations, n, extraction, rotation, result.factors, analysis);
    const ScoreData score_data{
        data, subject_ids, means, deviations, analysis.extraction.WorkingMatrix};
    const ScoreLoadingChoice choice =
        ChooseScoreLoadings(options, analysis.extraction.Loadings, analysis.rotation);
    CheckScoreInputs(score_data, options);
    EstimateScores(score_data, choice, options, SilentProgress(), estimate);
  });
  result.factors.stop = result.stop;
  if (result.stop.ending == Ending::kFinished) {
    result.scores = std::move(estimate.scores.values);
    result.weights = std::move(estimate.weights.values);
    result.validity = std::move(estimate.validity);
    result.notes = std::move(estimate.notes);
  }
  return result;
}

ParallelResult ParallelAnalysis(const Scores& scores,
                                const std::string& kind,
                                bool smooth,
                                int data_sets,
                                double percentile,
                                const RunSettings& settings) {
  CheckScores(scores, settings);
  if (data_sets < 1) throw std::invalid_argument("parallel analysis needs at least 1 data set");
  if (!(percentile > 0.0 && percentile < 1.0)) {
    throw std::invalid_argument("the percentile must lie between 0 and 1");
  }
  const int n = scores.subjects;
  const int p = scores.items;
  // The run's estimators, each held to one thread: the data sets are what
  // is spread over the threads.
  CorrelationFunction estimator;
  const std::string word = Lower(kind);
  if (word == "pearson") {
    estimator = [n, p](const Matrix& data) {
      std::vector<double> means, deviations;
      Matrix products, correlations;
      int ifail = kIfailHard;
      G02BAF(n, p, data, means, deviations, products, correlations, ifail);
      return correlations;
    };
  } else if (word == "polychoric") {
    estimator = [n, p](const Matrix& data) {
      ScopedThreadCount one_thread(1);
      return EstimatePolychorics(data, n, p, PolychoricSearch{}, SilentProgress()).correlations;
    };
  } else if (word == "tetrachoric") {
    estimator = [n, p](const Matrix& data) {
      ScopedThreadCount one_thread(1);
      return EstimateTetrachorics(data, n, p, TetrachoricOptions{}, {}, SilentProgress())
          .correlations;
    };
  } else {
    throw std::invalid_argument(
        "cor must be \"pearson\", \"polychoric\" or \"tetrachoric\", not \"" + kind + "\"");
  }
  ParallelAnalysisOptions options;
  options.data_sets = data_sets;
  options.seed = static_cast<std::uint64_t>(settings.has_seed ? settings.seed : kDefaultAidsSeed);
  options.percentile = percentile;
  const Matrix data = ItemData(scores);
  ParallelResult result;
  result.data_sets = data_sets;
  result.seed = settings.has_seed ? settings.seed : kDefaultAidsSeed;
  result.percentile = percentile;
  QuietHost host(settings);
  options.threads = ThreadCount();
  ParallelAnalysisResult analysis;
  std::string failure;
  result.stop = Guarded(host, [&] {
    Matrix observed = estimator(data);
    if (smooth) {
      Matrix smoothed;
      SmoothCorrelations(observed, p, smoothed);
      observed = std::move(smoothed);
    }
    try {
      analysis = RunParallelAnalysis(data, observed, estimator, options);
    } catch (const std::runtime_error& error) {
      failure = error.what();
    }
  });
  if (!failure.empty()) throw std::runtime_error("parallel analysis: " + failure);
  if (result.stop.ending != Ending::kFinished) return result;
  result.observed_components = analysis.components.observed;
  result.mean_components = analysis.components.mean;
  result.percentile_components = analysis.components.percentile;
  result.suggested_components = analysis.components.suggested;
  result.observed_factors = analysis.factors.observed;
  result.mean_factors = analysis.factors.mean;
  result.percentile_factors = analysis.factors.percentile;
  result.suggested_factors = analysis.factors.suggested;
  return result;
}

}  // namespace vq::api
