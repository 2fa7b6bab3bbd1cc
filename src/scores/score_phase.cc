#include "scores/score_phase.h"

#include <cmath>
#include <cstdio>
#include <string>

#include "report/plots.h"
#include "report/saved_files.h"
#include "scores/factor_scores.h"
#include "scores/score_messages.h"
#include "text/edit_descriptors.h"

namespace vq {
namespace {

constexpr int kIdWidth = 15;
constexpr int kScoresPerRecord = 999;

// I15 of an id held as a double: the whole number towards zero. Ids too
// large for any integer (or not numbers at all) cannot fit 15 positions and
// print as asterisks, as a too-large integer would.
std::string FormatId(double id) {
  if (!std::isfinite(id) || std::fabs(id) >= 1e18) return std::string(kIdWidth, '*');
  return FormatI(static_cast<long long>(id), kIdWidth);
}

// The counts of the run against the arrays the driver hands over. A mismatch
// is a fault of the program, not of the data; it still ends the run with a
// message rather than a read outside an array.
void CheckScoreArrays(const Matrix& ItemData,
                      const std::vector<double>& SubjectIds,
                      const std::vector<double>& Means,
                      const std::vector<double>& Deviations,
                      const Matrix& R,
                      int p,
                      int N) {
  const bool fits = ItemData.rows == N && ItemData.cols == p &&
                    static_cast<int>(SubjectIds.size()) >= N &&
                    static_cast<int>(Means.size()) >= p &&
                    static_cast<int>(Deviations.size()) >= p && R.rows == p && R.cols == p;
  if (!fits || N < 1 || p < 1) {
    ScoreFatalError("FATAL ERROR: The item scores do not match the numbers of",
                    "subjects and variables; factor scores cannot be computed.");
  }
}

// Removes the `fsc` file when the run stops before its last record is
// written, so that no file is left that looks complete. A file that was
// closed in the normal way is left alone.
class UnfinishedFileRemover {
 public:
  explicit UnfinishedFileRemover(OutputFile& file) : file_(file) {}
  ~UnfinishedFileRemover() {
    if (!file_.is_open()) return;
    const std::string path = file_.path();
    file_.Close();
    if (!path.empty()) std::remove(path.c_str());
  }
  UnfinishedFileRemover(const UnfinishedFileRemover&) = delete;
  UnfinishedFileRemover& operator=(const UnfinishedFileRemover&) = delete;

 private:
  OutputFile& file_;
};

}  // namespace

const Matrix& ChooseScoreLoadings(const RunOptions& options, const ScoreSources& sources) {
  const Matrix* chosen = sources.Loadings;
  if (IsOrthogonalRotation(options.Rotation)) {
    // The rows of RotatedLoadings are sorted in place under "SORT"; the copy
    // taken before the sort keeps item order.
    chosen =
        options.SortMode == SortMode::kSort ? sources.ItemOrderLoadings : sources.RotatedLoadings;
  } else if (IsObliqueRotation(options.Rotation)) {
    chosen = options.ScoreMethod == ScoreMethod::kBartlett ? sources.ItemOrderPattern
                                                           : sources.ItemOrderStructure;
  }
  const int p = options.VariableCount;
  const int m = options.FactorCount;
  if (chosen == nullptr || chosen->rows != p || chosen->cols != m) {
    ScoreFatalError("FATAL ERROR: The loadings of the solution are not available",
                    "in item order; factor scores cannot be computed.");
  }
  return *chosen;
}

ScorePlan PlanScorePhase(const RunOptions& options) {
  ScorePlan plan;
  if (!IsPearsonCoding(options.Coding) || options.FactorCount < 1) return plan;
  plan.estimate = EstimatesScores(options.ScoreMethod) && options.Model != Model::kRotate;
  plan.plot = plan.estimate && PlotsScores(options.PlotMode);
  return plan;
}

void NoteUnmetScoreRequests(const RunOptions& options) {
  if (!IsPearsonCoding(options.Coding) || options.FactorCount < 1 ||
      options.Model == Model::kTriplet || options.Model == Model::kCorrelations) {
    return;
  }
  const bool scores_asked = EstimatesScores(options.ScoreMethod);
  if (scores_asked && options.Model == Model::kRotate) {
    ScoreNote("WARNING: A given factor pattern has no data for factor scores;",
              "no factor scores are computed.");
    return;
  }
  if (!scores_asked && PlotsScores(options.PlotMode)) {
    ScoreNote("WARNING: No factor scores are computed, so there is no", "factor score plot.");
  }
}

void WriteScoreRecords(OutputFile& file,
                       const std::vector<double>& SubjectIds,
                       const Matrix& FactorScores,
                       int N,
                       int m) {
  for (int subject = 0; subject < N; ++subject) {
    std::string record = FormatId(SubjectIds[subject]);
    for (int factor = 0; factor < m; ++factor) {
      if (factor > 0 && factor % kScoresPerRecord == 0) {
        file.Write(record);
        record.clear();
      }
      record += FormatF(FactorScores(subject, factor), 8, 3);
    }
    file.Write(record);
  }
}

void RunScorePhase(const RunOptions& options,
                   const Matrix& ItemData,
                   const std::vector<double>& SubjectIds,
                   const std::vector<double>& Means,
                   const std::vector<double>& Deviations,
                   Matrix& R,
                   const ScoreSources& sources,
                   Matrix& FactorScores,
                   OutputFile& report,
                   std::string_view run_directory,
                   std::string_view run_stem) {
  const ScorePlan plan = PlanScorePhase(options);
  if (!plan.estimate) return;
  const int p = options.VariableCount;
  const int N = options.SubjectCount;
  const int m = options.FactorCount;
  const bool bartlett = options.ScoreMethod == ScoreMethod::kBartlett;

  // Everything that can end the run on the data is settled before the file
  // is opened, so that an earlier `fsc` file is not replaced by nothing.
  CheckScoreArrays(ItemData, SubjectIds, Means, Deviations, R, p, N);
  const Matrix& ScoreLoadings = ChooseScoreLoadings(options, sources);
  CheckItemDeviations(Deviations, p);
  if (bartlett) CheckUniqueVariances(R, p, options.Model);

  OutputFile score_file;
  OpenSavedFile(score_file, kScoreUnit, run_directory, run_stem, "fsc");
  UnfinishedFileRemover remover(score_file);
  FactorScores.Reset(N, m, 0.0);
  if (bartlett) {
    BartlettScores(ItemData,
                   Means,
                   Deviations,
                   p,
                   N,
                   m,
                   R,
                   ScoreLoadings,
                   FactorScores,
                   options.PageWidth,
                   options.Model,
                   report);
  } else {
    RegressionScores(ItemData,
                     Means,
                     Deviations,
                     p,
                     N,
                     m,
                     R,
                     ScoreLoadings,
                     FactorScores,
                     options.PageWidth,
                     options.Model,
                     report);
  }
  WriteScoreRecords(score_file, SubjectIds, FactorScores, N, m);
  score_file.Close();

  if (plan.plot) FactorScorePlots(FactorScores, N, m, report);
}

}  // namespace vq
