// The saved matrices of the correlation road: the `cor` file of a matrix
// computed from raw data, and the `smo` file of a smoothed one, with the
// table of the pairs of `InputForm` and `Coding` that are smoothed and saved.
// Both files are named after the command file (see report/saved_files.h) and
// are written only when the ">OUTPUT:" line asks for them.
#ifndef VELQUORIN_RUN_SAVED_MATRICES_H_
#define VELQUORIN_RUN_SAVED_MATRICES_H_

#include "frame/output_file.h"
#include "kernels/matrix.h"
#include "options/run_options.h"
#include "run/run_context.h"

namespace vq {

// Writes the rows of the p by p `correlations` in the layout of the `cor`
// file: "999( F12.9 1X )", or "999( F8.3 )" with "IP".
void WriteCorrelationFile(const RunOptions& options, const Matrix& correlations, OutputFile& file);

// Under "COR": opens the `cor` file on stream 15 as `file` and writes the
// matrix. The file stays open as long as `file` does (to the end of the
// run). A failed open is a severe error.
void SaveCorrelationMatrix(const RunOptions& options,
                           const RunContext& context,
                           const Matrix& correlations,
                           OutputFile& file);

// Under "SMO", for the pairs that save it: writes the smoothed matrix to the
// `smo` file on stream 88, "999( F12.9 1X )", and closes it.
void SaveSmoothedMatrix(const RunOptions& options,
                        const RunContext& context,
                        const Matrix& smoothed);

}  // namespace vq

#endif  // VELQUORIN_RUN_SAVED_MATRICES_H_
