#include "report/run_outputs.h"

#include <utility>

#include "report/saved_files.h"

namespace vq {

RunOutputs::RunOutputs(OutputFile& report, std::string run_directory, std::string run_stem)
    : report_(report), run_directory_(std::move(run_directory)), run_stem_(std::move(run_stem)) {}

std::string RunOutputs::SavedPath(std::string_view extension) const {
  return SavedFilePath(run_directory_, run_stem_, extension);
}

void RunOutputs::OpenSaved(OutputFile& file, int unit, std::string_view extension) const {
  OpenSavedFile(file, unit, run_directory_, run_stem_, extension);
}

}  // namespace vq
