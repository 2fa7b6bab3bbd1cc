#include "run/run_context.h"

#include <string>

namespace vq {

void SplitRunName(std::string_view full_name, std::string& run_stem, std::string& run_directory) {
  const std::size_t separator = full_name.find_last_of("/\\");
  if (separator == std::string_view::npos) {
    run_directory.clear();
    run_stem = std::string(full_name.substr(0, kRunStemWidth));
    return;
  }
  run_directory = std::string(full_name.substr(0, separator + 1));
  run_stem = std::string(full_name.substr(separator + 1, kRunStemWidth));
}

}  // namespace vq
