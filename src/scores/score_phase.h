// The factor score phase at the end of a run: which loadings reach the
// estimators, whether scores and their plot can be made at all, the checks
// of the data and the estimation itself. Nothing here writes the report or
// the `fsc` file: writers/score_writer.h puts a ScoreResult there.
//
//   const ScoreLoadingChoice choice =
//       ChooseScoreLoadings(options, unrotated_loadings, rotation);
//   CheckScoreInputs(data, options);
//   ... open the `fsc` file
//   EstimateScores(data, choice, options, progress, result);
//   ... write the tables, the records and the plot
//
// The notes about requests that cannot be met come from
// NoteUnmetScoreRequests, which the driver calls where it wants them.
#ifndef VELQUORIN_SCORES_SCORE_PHASE_H_
#define VELQUORIN_SCORES_SCORE_PHASE_H_

#include <string>
#include <vector>

#include "frame/progress.h"
#include "kernels/matrix.h"
#include "options/run_options.h"
#include "rotation/rotation_results.h"

namespace vq {

// What the score phase decides on.
struct ScoreOptions {
  bool estimate = false;  // scores are estimated (PlanScorePhase)
  ScoreMethod method = ScoreMethod::kRegression;
  // "PCA" has no unique variances (no Bartlett scores) and names the
  // progress line; "PFA" too.
  Model model = Model::kPrincipalFactors;
  int variable_count = 0;  // p
  int subject_count = 0;   // N
  int factor_count = 0;    // m
};

// Which loadings fed the weights.
enum class ScoreLoadingSource {
  kUnrotated,         // no rotation ran
  kRotated,           // the orthogonal solution, item order
  kObliqueStructure,  // regression scores after an oblique rotation
  kObliquePattern,    // Bartlett scores after an oblique rotation
};

struct ScoreLoadingChoice {
  ScoreLoadingSource source = ScoreLoadingSource::kUnrotated;
  Rotation rotation = Rotation::kNone;  // the solution's method, kNone unrotated
  const Matrix* loadings = nullptr;     // p by m, item order
};

// The raw data of the run, borrowed for the estimation.
struct ScoreData {
  const Matrix& item_data;                 // N by p
  const std::vector<double>& subject_ids;  // N
  const std::vector<double>& means;        // p
  const std::vector<double>& deviations;   // p
  const Matrix& r;  // p by p working matrix, final communalities on its diagonal
};

// What the phase computed, at full precision.
struct ScoreResult {
  bool estimated = false;  // scores were made (all of them: the run went on)
  ScoreMethod method = ScoreMethod::kNone;
  ScoreLoadingSource source = ScoreLoadingSource::kUnrotated;
  Rotation rotation = Rotation::kNone;
  Matrix loadings;                       // p by m, item order: what fed the weights
  Matrix weights;                        // p by m
  std::vector<double> score_deviations;  // m: of the raw estimates, before standardising
  std::vector<double> validity;          // m: factors with their score estimates
  Matrix scores;                         // N by m, standardised
  std::vector<double> subject_ids;       // N, as read
  // Notes of the run on its scores, in order: a request that was passed
  // over, a stand-in inverse taken for the weights.
  std::vector<std::string> notes;
};

// The loadings the estimator of `options.method` is given, by the solution
// that the rotation left (its last stage): the unrotated `loadings` when
// nothing was rotated; the orthogonal solution in item order; after an
// oblique rotation the structure for "REG" and the pattern for "BART", in
// item order. Stops the run with a message when that matrix is not p by m.
ScoreLoadingChoice ChooseScoreLoadings(const ScoreOptions& options,
                                       const Matrix& loadings,
                                       const RotationResult& rotation);

// What the end of a run does about factor scores.
struct ScorePlan {
  bool estimate = false;  // estimate the scores and write the `fsc` file
  bool plot = false;      // the factor score plot after them
};

// Decides from `options` alone; prints nothing. Scores are estimated for
// `Coding` "CO" and "IP" with `ScoreMethod` "REG" or "BART", except under
// `Model` "ROT", whose given pattern comes without item scores; the plot
// follows them under `PlotMode` "SCORES" or "ALL". A plot without scores is
// passed over.
ScorePlan PlanScorePhase(const RunOptions& options);

// The console notes (no stop) for the score requests that `PlanScorePhase`
// passes over, for a run that reaches the scores at all (not "TRP" or
// "CMT", m above 0), with `Coding` "CO" or "IP":
//   - "REG" or "BART" with `Model` "ROT": nothing to score, so no scores and
//     no plot ("WARNING: A given factor pattern has no data ...");
//   - "SCORES" or "ALL" with no scores ("NOSCORE", "NONE" or another word):
//     no plot ("WARNING: No factor scores are computed, ...").
// Each note shows as two lines from column 30 and two empty lines, and is
// added to `notes`.
void NoteUnmetScoreRequests(const RunOptions& options,
                            Progress& progress,
                            std::vector<std::string>& notes);

// Everything that can end the run on the data, settled before the `fsc`
// file is touched: arrays that do not match the counts, an item without
// variance, and under "BART" a model or item without unique variance.
void CheckScoreInputs(const ScoreData& data, const ScoreOptions& options);

// Estimates the scores (after CheckScoreInputs) from the chosen loadings:
// the progress line ("Computing factor scores" under "PFA", "Computing
// component scores" under "PCA"), the weights, the raw estimates, their
// standardisation and the validity. `result` is filled as the estimation
// goes, so that when the standardisation stops the run (scores without
// spread, or fewer than two subjects) it holds the weights already made.
// `data.r` is read, not changed: the weights use it with a unit diagonal.
void EstimateScores(const ScoreData& data,
                    const ScoreLoadingChoice& choice,
                    const ScoreOptions& options,
                    Progress& progress,
                    ScoreResult& result);

}  // namespace vq

#endif  // VELQUORIN_SCORES_SCORE_PHASE_H_
