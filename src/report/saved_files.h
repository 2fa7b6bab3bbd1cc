// Saved result files: their names beside the command file, the test for the
// codes of the ">OUTPUT:" line, and the record layouts they share.
//
// Every saved file is named from the command file's name: the directory of
// the command file (`RunDirectory`) and its name (`RunStem`), with the
// extension of the file's kind: "cor", "smo", "mvn", "eig", "rsd", "fac",
// "phi", "fsc", "frq", "dff", "ser".
#ifndef VELQUORIN_REPORT_SAVED_FILES_H_
#define VELQUORIN_REPORT_SAVED_FILES_H_

#include <string>
#include <string_view>

#include "frame/output_file.h"
#include "kernels/matrix.h"
#include "options/run_options.h"

namespace vq {

// Stream numbers of the saved files.
constexpr int kCorrelationUnit = 15;    // cor
constexpr int kScoreUnit = 16;          // fsc
constexpr int kTripletUnit = 22;        // mvn
constexpr int kFrequencyUnit = 23;      // frq
constexpr int kStandardErrorUnit = 24;  // ser
constexpr int kProportionUnit = 25;     // dff
constexpr int kLoadingUnit = 26;        // eig, fac
constexpr int kPhiUnit = 35;            // phi
constexpr int kResidualUnit = 44;       // rsd
constexpr int kSmoothedUnit = 88;       // smo

// The file name for `extension` (3 letters): the stem without surrounding
// blanks; up to and including its last dot, or its first 8 characters and a
// dot when it has none; then the extension. At most 15 characters: a longer
// name loses its end.
std::string BuildResultName(std::string_view run_stem, std::string_view extension);

// `run_directory` without surrounding blanks, followed by BuildResultName.
std::string SavedFilePath(std::string_view run_directory,
                          std::string_view run_stem,
                          std::string_view extension);

// Opens the saved file of `extension` on stream `unit` (status unknown:
// replaces an earlier file; a failed open ends the run with a severe error).
void OpenSavedFile(OutputFile& file,
                   int unit,
                   std::string_view run_directory,
                   std::string_view run_stem,
                   std::string_view extension);

// Writes the rows of `matrix` (rows x cols), one record per row, each value
// by Fw.d followed by `gap` blanks, with at most `per_record` values in a
// record (a repeat count of 999 or 9999 in the layout: a longer row goes on
// in a further record). As with nX on output, the gap behind the last value
// of a record is not written: records end on a digit.
//   "999( F12.9 1X )": WriteMatrixRows(file, a, 12, 9, 1, 999)
//   "999( F8.3 )":     WriteMatrixRows(file, a, 8, 3, 0, 999)
void WriteMatrixRows(
    OutputFile& file, const Matrix& matrix, int w, int d, int gap, int per_record = 999);

// The loading layout of the `fac` file, "I4 1X 999( F8.4 )": per row its
// running number, a blank and the row's values.
void WriteLoadingRows(OutputFile& file, const Matrix& loadings);

}  // namespace vq

#endif  // VELQUORIN_REPORT_SAVED_FILES_H_
