// The analysis driver: one run from the command file to the last line of the
// report. It owns the run's arrays and files, decides from RunOptions which
// phases run, calls them in their fixed order and ends the run.
//
// A run takes one of two roads. The correlation road (every model but "ROT")
// brings in the data or a given matrix, computes and perhaps smooths the
// correlation matrix, writes the report head and goes on to the eigenvalue
// screen, extraction and fit. The rotation road ("ROT") reads a given
// pattern instead. Both meet at the rotation, followed by the list of sorted
// items, the factor scores and the end of the run.
//
// Every phase is called from one marked call site in driver.cc.
#ifndef VELQUORIN_RUN_DRIVER_H_
#define VELQUORIN_RUN_DRIVER_H_

#include <string>
#include <string_view>
#include <vector>

#include "data/record_reader.h"
#include "extraction/extraction.h"
#include "frame/output_file.h"
#include "kernels/matrix.h"
#include "options/run_options.h"
#include "rotation/rotation_results.h"
#include "run/program.h"
#include "run/run_context.h"
#include "scores/score_phase.h"

namespace vq {

constexpr int kReportUnit = 11;
// The aids file (--aids), written once its figures are all computed.
constexpr int kAidsUnit = 41;
// The seed of parallel analysis when the command line gives none: fixed, so
// that the aids file of a run is the same each time it is made.
constexpr long kDefaultAidsSeed = 1;

// The aids file's path: the report's path with its extension replaced by
// ".aids" (added when it has none), or ".aids" added to a report that is
// itself named "*.aids".
std::string AidsFilePath(std::string_view report_path);

// The arrays of one run, owned by the driver and handed to the phases. p is
// VariableCount, m FactorCount, N SubjectCount. An array is allocated by the
// road that needs it and otherwise stays empty.
struct RunArrays {
  // Data and correlations (correlation road).
  Matrix ItemData;                         // N by p scores, recoded in place
  std::vector<double> SubjectIds;          // N: first field of each record
  Matrix CorrelationMatrix;                // p by p, both triangles
  Matrix R;                                // p by p working copy; communalities on its diagonal
  std::vector<double> Means;               // p (Pearson branches)
  std::vector<double> StandardDeviations;  // p (Pearson branches)
  Matrix SumsOfProducts;                   // p by p (Pearson branches)

  // Factors (both roads, when m is above 0): the unrotated loadings or the
  // given pattern, communalities and factor variances of the extraction.
  ExtractionResult Extraction;
  Matrix GivenFactorCorrelations;  // m by m, with "FLD2"

  // The rotated solutions, one per stage, and the factor scores with the
  // run's notes about them.
  RotationResult Rotation;
  ScoreResult Scores;

  std::vector<std::string> ItemLabels;  // p texts of 15, with "LABELS"
};

// The files of a run other than those the parse opens.
struct RunFiles {
  RecordSource CommandFile;         // stream 12, open from start-up to the end
  OutputFile Report;                // stream 11, opened after ">FORMAT:"
  OutputFile Correlations;          // stream 15, the saved `cor` file, kept open
  RecordSource FactorCorrelations;  // stream 17, the ">PHI:" file with "FLD2"
};

struct RunRecord;

// Runs one analysis. Returns at the normal end, after "Finished"; every
// other end throws RunStopped (frame/console.h). A `record` (run/run_record.h)
// is filled with each result as it comes and, at a stop, holds what came
// before it; null runs without one.
void RunAnalysis(const ProgramArguments& arguments, RunRecord* record = nullptr);

// --- Pieces of the run, also used on their own -----------------------------

// The context of a run from the command line and the command file's full
// name: the run's stem and directory, and the seed of `--seed N`.
RunContext MakeRunContext(const ProgramArguments& arguments, std::string_view full_name);

// The stop of a run whose arrays the machine cannot hold: the message from
// column 30, two empty lines, a pause and the plain stop.
[[noreturn]] void OutOfMemory();

// The page width of the tables of the correlation phase: `page_width` below
// 120, else 110.
int CorrelationTableWidth(int page_width);

// Holds the counts of `options` against what the correlation road needs:
// a run without variables, raw data without subjects, or arrays beyond the
// machine's memory end the run with a message from column 30, two empty
// lines, a pause and a stop. Nothing is allocated.
void CheckCorrelationArrays(const RunOptions& options);

// Allocates the arrays of the rotation road: the p by m pattern and its
// companions, m by m factor correlations. Failures as above.
void AllocateRotationArrays(const RunOptions& options, RunArrays& arrays);

}  // namespace vq

#endif  // VELQUORIN_RUN_DRIVER_H_
