// The factor score phase as the driver runs it at the end of a run: which
// loadings reach the estimators, whether scores and their plot can be made
// at all, the estimation, the `fsc` file and the factor score plot.
//
// The driver calls `RunScorePhase` once, after the rotation phase (and the
// list of sorted items), whatever the command file asked for: the phase
// itself decides from `RunOptions` what applies, through `PlanScorePhase`.
// The notes about requests that cannot be met come from
// `NoteUnmetScoreRequests`, which the driver calls where it wants them.
//
//   ScoreSources sources;
//   sources.Loadings = &arrays.Loadings;
//   sources.RotatedLoadings = &rotation.RotatedLoadings;     // when rotated
//   sources.ItemOrderLoadings = &rotation.ItemOrderLoadings; // under "SORT"
//   sources.ItemOrderPattern = &rotation.ItemOrderPattern;   // oblique
//   sources.ItemOrderStructure = &rotation.ItemOrderStructure;
//   RunScorePhase(options, arrays.ItemData, arrays.SubjectIds, arrays.Means,
//                 arrays.Deviations, arrays.R, sources, arrays.FactorScores,
//                 report, run_directory, run_stem);
#ifndef VELQUORIN_SCORES_SCORE_PHASE_H_
#define VELQUORIN_SCORES_SCORE_PHASE_H_

#include <string_view>
#include <vector>

#include "frame/output_file.h"
#include "kernels/matrix.h"
#include "options/run_options.h"

namespace vq {

// The loading matrices a run may hold when the scores are made, each p by m
// and in item order except `RotatedLoadings` under "SORT". A matrix the run
// did not compute stays null.
struct ScoreSources {
  const Matrix* Loadings = nullptr;            // unrotated solution
  const Matrix* RotatedLoadings = nullptr;     // orthogonal rotation
  const Matrix* ItemOrderLoadings = nullptr;   // its copy before the row sort
  const Matrix* ItemOrderPattern = nullptr;    // oblique pattern, item order
  const Matrix* ItemOrderStructure = nullptr;  // oblique structure, item order
};

// The loadings the estimator of `ScoreMethod` is given, by the rotation that
// ran: the unrotated `Loadings` without rotation ("NONE", the "None" of one
// factor, or a rotation word that rotates nothing); the Varimax solution in
// item order after "VARIMAX" and "WVARIMAX"; after "PROMAX", "OBLIMIN" and
// "HK" the structure for "REG" and the pattern for "BART". Stops the run
// with a message when that matrix is missing or not p by m.
const Matrix& ChooseScoreLoadings(const RunOptions& options, const ScoreSources& sources);

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
// The driver calls it once, at the place where the notes are to stand.
void NoteUnmetScoreRequests(const RunOptions& options);

// The `fsc` records, layout "I15 999( F8.3 )": per subject, in data order,
// the id as a whole number (truncated towards zero) in 15 positions, then
// its m scores; a subject with more than 999 scores goes on in further
// records of scores only. An id that does not fit fills its field with
// asterisks, and so does a score of 10,000 or more.
void WriteScoreRecords(OutputFile& file,
                       const std::vector<double>& SubjectIds,
                       const Matrix& FactorScores,
                       int N,
                       int m);

// The phase: `PlanScorePhase` (silently nothing when no scores apply); then
// the checks of the data
// (before any file is touched), the `fsc` file opened on stream 16 beside the
// command file, `FactorScores` allocated N by m and zeroed, the loadings
// chosen, `RegressionScores` or `BartlettScores`, the records, the file
// closed; then, when asked, `FactorScorePlots` on the report. `R` leaves
// with a unit diagonal. A stop inside the estimation removes the unfinished
// `fsc` file.
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
                   std::string_view run_stem);

}  // namespace vq

#endif  // VELQUORIN_SCORES_SCORE_PHASE_H_
