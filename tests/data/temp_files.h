// Scratch files for the tests of the data folder: each test names its own
// files under the test temporary folder, with the process id in the name so
// that parallel runs of the suite do not meet.
#ifndef VELQUORIN_TESTS_DATA_TEMP_FILES_H_
#define VELQUORIN_TESTS_DATA_TEMP_FILES_H_

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <string>

namespace vq {

inline std::string ScratchPath(const std::string& leaf) {
  return testing::TempDir() + "vq_data_" + std::to_string(getpid()) + "_" + leaf;
}

// Writes `text` to a scratch file and removes it when the object goes.
class ScratchFile {
 public:
  ScratchFile(const std::string& leaf, const std::string& text) : path_(ScratchPath(leaf)) {
    std::ofstream out(path_, std::ios::binary);
    out << text;
  }
  explicit ScratchFile(const std::string& leaf) : path_(ScratchPath(leaf)) {
    std::remove(path_.c_str());
  }
  ~ScratchFile() { std::remove(path_.c_str()); }
  ScratchFile(const ScratchFile&) = delete;
  ScratchFile& operator=(const ScratchFile&) = delete;
  const std::string& path() const { return path_; }

 private:
  std::string path_;
};

}  // namespace vq

#endif  // VELQUORIN_TESTS_DATA_TEMP_FILES_H_
