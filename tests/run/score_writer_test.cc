// The records of the `fsc` file: the id and score fields, the wrap of a
// long record, and a file left unfinished by a stop.
#include "writers/score_writer.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "frame/console.h"
#include "frame/output_file.h"

namespace vq {
namespace {

namespace fs = std::filesystem;

TEST(WriteScoreRecords, IdInFifteenPositionsThenTheScores) {
  Matrix scores(3, 2);
  scores.values = {1.2345, 10000.0, -0.0001, -0.5, 9999.9994, 0.0};
  OutputFile file;
  file.OpenInMemory(16);
  WriteScoreRecords(file, {17.0, 123456789012345.0, -42.9}, scores, 3, 2);
  EXPECT_EQ(file.Text(),
            "             17   1.234  -0.500\n"
            "123456789012345********9999.999\n"
            "            -42   0.000   0.000\n");
  // More than 999 scores go on in a further record.
  OutputFile wide;
  wide.OpenInMemory(16);
  WriteScoreRecords(wide, {3.0}, Matrix(1, 1001, 0.25), 1, 1001);
  const std::string text = wide.Text();
  EXPECT_EQ(text.substr(0, 23), "              3   0.250");
  EXPECT_EQ(text.substr(15 + 999 * 8), "\n   0.250   0.250\n");
}

class ScoreFileTest : public ::testing::Test {
 protected:
  void SetUp() override {
    directory_ = fs::temp_directory_path() /
                 ("velquorin_score_writer_" + std::to_string(::getpid()) + "_" +
                  ::testing::UnitTest::GetInstance()->current_test_info()->name());
    fs::remove_all(directory_);
    fs::create_directories(directory_);
    report_.OpenInMemory(11);
  }
  void TearDown() override { fs::remove_all(directory_); }
  fs::path Path() const { return directory_ / "run.fsc"; }
  RunOutputs Outputs() { return RunOutputs(report_, directory_.string() + "/", "run.in"); }
  fs::path directory_;
  OutputFile report_;
};

TEST_F(ScoreFileTest, AnUnfinishedFileIsRemoved) {
  std::ofstream(Path()) << "earlier run\n";
  try {
    ScoreFile file(Outputs());
    throw RunStopped{RunStopped::Kind::kPlainStop, 0, ""};
  } catch (const RunStopped&) {
  }
  EXPECT_FALSE(fs::exists(Path()));
}

}  // namespace
}  // namespace vq
