#include "run/saved_matrices.h"

#include "report/saved_files.h"

namespace vq {

void WriteCorrelationFile(const RunOptions& options, const Matrix& correlations, OutputFile& file) {
  if (options.Coding == Coding::kIpsatized) {
    WriteMatrixRows(file, correlations, 8, 3, 0);
  } else {
    WriteMatrixRows(file, correlations, 12, 9, 1);
  }
}

void SaveCorrelationMatrix(const RunOptions& options,
                           const RunContext& context,
                           const Matrix& correlations,
                           OutputFile& file) {
  if (!Saves(options, SaveCode::kCor)) return;
  OpenSavedFile(file, kCorrelationUnit, context.RunDirectory, context.RunStem, "cor");
  WriteCorrelationFile(options, correlations, file);
}

void SaveSmoothedMatrix(const RunOptions& options,
                        const RunContext& context,
                        const Matrix& smoothed) {
  if (!SavesSmoothedMatrix(options) || !Saves(options, SaveCode::kSmo)) return;
  OutputFile file;
  OpenSavedFile(file, kSmoothedUnit, context.RunDirectory, context.RunStem, "smo");
  WriteMatrixRows(file, smoothed, 12, 9, 1);
  file.Close();
}

}  // namespace vq
