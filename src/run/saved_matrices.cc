#include "run/saved_matrices.h"

#include <initializer_list>
#include <string_view>

#include "report/saved_files.h"

namespace vq {
namespace {

bool IsOneOf(const std::string& field, std::initializer_list<std::string_view> words) {
  for (std::string_view word : words) {
    if (Is(field, word)) return true;
  }
  return false;
}

}  // namespace

bool SmoothingRuns(const RunOptions& options) {
  if (!Is(options.Smoothing, "SM")) return false;
  if (Is(options.InputForm, "RAW")) return IsOneOf(options.Coding, {"DI", "DC", "OR", "CD"});
  if (Is(options.InputForm, "COR")) return IsOneOf(options.Coding, {"DI", "OR", "CO"});
  return false;
}

bool SavesSmoothedMatrix(const RunOptions& options) {
  return SmoothingRuns(options) && !(Is(options.InputForm, "COR") && Is(options.Coding, "CO"));
}

void WriteCorrelationFile(const RunOptions& options, const Matrix& correlations, OutputFile& file) {
  if (Is(options.Coding, "IP")) {
    WriteMatrixRows(file, correlations, 8, 3, 0);
  } else {
    WriteMatrixRows(file, correlations, 12, 9, 1);
  }
}

void SaveCorrelationMatrix(const RunOptions& options,
                           const RunContext& context,
                           const Matrix& correlations,
                           OutputFile& file) {
  if (!WantsCode(options, "COR")) return;
  OpenSavedFile(file, kCorrelationUnit, context.RunDirectory, context.RunStem, "cor");
  WriteCorrelationFile(options, correlations, file);
}

void SaveSmoothedMatrix(const RunOptions& options,
                        const RunContext& context,
                        const Matrix& smoothed) {
  if (!SavesSmoothedMatrix(options) || !WantsCode(options, "SMO")) return;
  OutputFile file;
  OpenSavedFile(file, kSmoothedUnit, context.RunDirectory, context.RunStem, "smo");
  WriteMatrixRows(file, smoothed, 12, 9, 1);
  file.Close();
}

}  // namespace vq
