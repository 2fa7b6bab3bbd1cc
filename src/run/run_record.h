// What a run computed, gathered for the outputs that describe a whole run at
// once (the JSON document, the HTML page). The driver fills a RunRecord as
// the phases return, when it is given one; at a stop the record holds what
// was finished before it, and the front end adds the stop itself.
//
// Nothing in the record is printed or rounded: the numbers are those the
// phases computed, at full precision.
#ifndef VELQUORIN_RUN_RUN_RECORD_H_
#define VELQUORIN_RUN_RUN_RECORD_H_

#include <array>
#include <optional>
#include <string>
#include <vector>

#include "aids/aids_report.h"
#include "correlation/polychoric.h"
#include "correlation/tetrachoric.h"
#include "correlation/triplet.h"
#include "extraction/extraction.h"
#include "kernels/matrix.h"
#include "options/run_options.h"
#include "rotation/rotation_results.h"
#include "scores/score_phase.h"

namespace vq {

// How the run ended when it did not reach its normal end.
struct RunStopRecord {
  bool stopped = false;
  std::string kind;     // "plain", "text", "severe", "cancelled"
  std::string message;  // the stop's text (empty for the plain stop)
  int exit_status = 0;  // the process's exit status
  bool after_finished = false;
};

struct RunRecord {
  // The command line.
  long seed = 0;
  bool seed_fixed = false;
  int threads = 0;
  std::string command_file;  // as named, or as chosen

  // The settings as parsed (once the parse is through).
  bool parsed = false;
  RunOptions options;
  std::vector<std::string> input_files;  // every file the run read, as named

  // Correlations. `correlations` is the matrix the run went on with (the
  // smoothed one when smoothed); `raw_correlations` the one before
  // smoothing, set only when the run smoothed.
  std::vector<std::string> labels;
  std::vector<double> means;
  std::vector<double> standard_deviations;
  bool tetrachoric = false;
  std::vector<double> proportions;  // p, dichotomous items
  std::vector<double> tetrachoric_thresholds;
  std::vector<TetrachoricFallBack> fall_backs;
  std::vector<std::array<int, 2>> small_cell_pairs;  // 0-based items
  bool polychoric = false;
  std::vector<int> category_counts;
  Matrix polychoric_thresholds;
  std::vector<BoundaryPair> boundary;
  bool has_correlations = false;
  Matrix correlations;
  bool smoothed = false;
  Matrix raw_correlations;

  // Later phases, each set once its result is in.
  bool has_triplets = false;
  TripletSummary triplets;
  bool has_extraction = false;
  ExtractionResult extraction;
  RotationResult rotation;
  ScoreResult scores;
  std::string score_file;  // the `fsc` file, when scores were written
  // The aids (--aids), once computed: the parts that could be computed for
  // the run. Empty without --aids, and when the run stopped before them.
  std::optional<AidsFigures> aids;

  RunStopRecord stop;
};

// The words of the command file for the settings, as the outputs show them
// ("other" for a word the program does not know).
const char* CodingWord(Coding coding);
const char* InputFormWord(InputForm form);
const char* ModelWord(Model model);
const char* RotationWord(Rotation rotation);
const char* ScoreMethodWord(ScoreMethod method);
const char* InitialCommunalityWord(InitialCommunality start);
const char* SmoothingWord(Smoothing smoothing);
const char* ScoreSourceWord(ScoreLoadingSource source);

}  // namespace vq

#endif  // VELQUORIN_RUN_RUN_RECORD_H_
