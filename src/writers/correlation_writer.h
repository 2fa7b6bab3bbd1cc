// The correlation phase's writers: what the estimators computed, put into
// the report and the files beside the command file.
//
// The tetrachoric estimator leaves three files: the bias-corrected tables
// with both correlations (frq, stream 23), the item proportions (dff, 25)
// and the standard errors (ser, 24). The run writes them in the steps the
// estimator takes, so that a stop leaves each file as far as it got:
//
//   TetrachoricFiles files;
//   BeginFrequencyFile(files, outputs);            // frq: its head
//   result.items = FindTetrachoricItems(...);       // may stop
//   WriteItemProportions(result.items, files, outputs);
//   EstimateTetrachoricPairs(...);                  // may stop: then
//                                                   // WriteFallBackWarnings
//   WriteFallBackWarnings(result, outputs);
//   WriteTetrachoricTables(result, files, outputs, progress);
//
// The report gets only the warnings of estimates on a bound of the
// polychoric search, in pair order, before the report head.
#ifndef VELQUORIN_WRITERS_CORRELATION_WRITER_H_
#define VELQUORIN_WRITERS_CORRELATION_WRITER_H_

#include <string>
#include <vector>

#include "correlation/polychoric.h"
#include "correlation/tetrachoric.h"
#include "frame/output_file.h"
#include "frame/progress.h"
#include "kernels/matrix.h"
#include "report/run_outputs.h"

namespace vq {

// What the writers of the correlation phase are asked to put out.
//   save_matrix:       "COR": the `cor` file of a matrix from raw data.
//   ipsatized_layout:  "IP": the `cor` file in "999( F8.3 )", else
//                      "999( F12.9 1X )".
//   save_smoothed:     "SMO" for a smoothed matrix that is saved
//                      (SavesSmoothedMatrix).
//   print_matrix:      "LONG": the table "CORRELATION MATRIX".
//   labels:            the table's rows and columns bear the item labels.
//   table_width:       the table's width (CorrelationTableWidth).
//   save_triplets:     "MVN": the mvn file of the triplet test.
struct CorrelationWriteOptions {
  bool save_matrix = false;
  bool ipsatized_layout = false;
  bool save_smoothed = false;
  bool print_matrix = false;
  bool labels = false;
  int table_width = 110;
  bool save_triplets = false;
};

// The rows of the p by p `correlations` in the layout of the `cor` file.
void WriteCorrelationFile(const CorrelationWriteOptions& options,
                          const Matrix& correlations,
                          OutputFile& file);

// Under "COR": opens the `cor` file on stream 15 as `file` and writes the
// matrix. The file stays open as long as `file` does (to the end of the
// run). A failed open is a severe error.
void SaveCorrelationMatrix(const CorrelationWriteOptions& options,
                           const Matrix& correlations,
                           const RunOutputs& outputs,
                           OutputFile& file);

// Under `save_smoothed`: the smoothed matrix into the `smo` file on stream
// 88, "999( F12.9 1X )", closed at once.
void SaveSmoothedMatrix(const CorrelationWriteOptions& options,
                        const Matrix& smoothed,
                        const RunOutputs& outputs);

// The table "CORRELATION MATRIX" into the report: rows and columns bear
// `labels` (F15.3 fields wide enough for them) with `options.labels`,
// numbers otherwise (F8.3).
void WriteCorrelationTable(const CorrelationWriteOptions& options,
                           const Matrix& correlations,
                           const std::vector<std::string>& labels,
                           RunOutputs& outputs);

// The three files of the tetrachoric estimator. A file that is already
// open (tests open them in memory) is written as it is; the others are
// opened beside the command file at their step.
struct TetrachoricFiles {
  OutputFile frq;
  OutputFile dff;
  OutputFile ser;
};

// Opens the frq file and writes its head (two empty records, the title,
// two empty records).
void BeginFrequencyFile(TetrachoricFiles& files, const RunOutputs& outputs);

// Opens the dff file and writes the proportions, I4 2X F6.4 a variable.
void WriteItemProportions(const TetrachoricItems& items,
                          TetrachoricFiles& files,
                          const RunOutputs& outputs);

// The warning of each fall-back estimate on a bound, into the report. The
// fall-back estimates its pair as a matrix of two variables, and its
// warning names them so: "2 1", whichever the pair.
void WriteFallBackWarnings(const TetrachoricResult& result, RunOutputs& outputs);

// The text of one table of the frq file, each record ending in a newline:
// variable numbers j then i (1-based), the table, r with its standard
// error, and phi; behind the small-cell warning where the table has one.
std::string FrequencyTableText(int j, int i, double r, const TetrachoricPairTable& table);

// The tables of a complete `result` into the frq file and the standard
// errors into the ser file (opened here), "999( F12.9 1X )"; then closes
// all three files. The tables are formatted a block at a time on
// ThreadCount() threads; between blocks `progress` shows the pair reached,
// and at the end, if it showed one, the line that stood last before.
void WriteTetrachoricTables(const TetrachoricResult& result,
                            TetrachoricFiles& files,
                            const RunOutputs& outputs,
                            Progress& progress);

// The warning of each pair on a bound (i, j 0-based; printed 1-based) and
// an empty record, into the report.
void WriteBoundaryWarnings(const std::vector<BoundaryPair>& pairs, RunOutputs& outputs);

}  // namespace vq

#endif  // VELQUORIN_WRITERS_CORRELATION_WRITER_H_
