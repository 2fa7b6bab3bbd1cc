// The run document from hand-made records: what a section holds, what a run
// that stopped early gives, numbers that are not finite, item numbers from
// 1, and the whole-file write.
#include "json/run_json.h"

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <limits>
#include <sstream>

namespace vq {
namespace {

using nlohmann::json;

TEST(RunJsonTest, StopBeforeTheParseGivesNullSections) {
  RunRecord record;
  record.threads = 3;
  record.command_file = "/no/such/run.in";
  record.stop = {true, "cancelled", "", 1, false};
  const json document = RunRecordToJson(record, "9.9");
  EXPECT_EQ(document["format"], kRunJsonFormat);
  EXPECT_EQ(document["program"]["version"], "9.9");
  EXPECT_TRUE(document["command_line"]["seed"].is_null());
  EXPECT_EQ(document["command_line"]["threads"], 3);
  for (const char* section : {"settings", "correlations", "triplet_test", "extraction", "scores"}) {
    EXPECT_TRUE(document[section].is_null()) << section;
  }
  EXPECT_TRUE(document["rotations"].empty());
  EXPECT_EQ(document["stop"]["kind"], "cancelled");
  EXPECT_EQ(document["stop"]["exit_status"], 1);
}

TEST(RunJsonTest, NumbersAtFullPrecisionAndNotFiniteAsNull) {
  RunRecord record;
  record.has_correlations = true;
  record.correlations = Matrix(2, 2, 1.0);
  record.correlations(0, 1) = 0.1 + 0.2;  // 0.30000000000000004
  record.correlations(1, 0) = std::numeric_limits<double>::quiet_NaN();
  record.boundary = {BoundaryPair{1, 0}};
  record.small_cell_pairs = {{1, 0}};
  const json document = RunRecordToJson(record, "1");
  const json& matrix = document["correlations"]["matrix"];
  EXPECT_EQ(matrix[0][1].get<double>(), 0.1 + 0.2);
  EXPECT_TRUE(matrix[1][0].is_null());
  // Text and back: the same double.
  const json again = json::parse(document.dump());
  EXPECT_EQ(again["correlations"]["matrix"][0][1].get<double>(), 0.1 + 0.2);
  const json& warnings = document["correlations"]["warnings"];
  ASSERT_EQ(warnings.size(), 2u);
  EXPECT_EQ(warnings[0]["kind"], "boundary");
  EXPECT_EQ(warnings[0]["items"], json::array({2, 1}));
  EXPECT_EQ(warnings[1]["kind"], "small cells");
}

// The aids come only when the run computed them; a part it could not
// compute is null, an undefined figure null too.
TEST(RunJsonTest, AidsOnlyWhenComputed) {
  RunRecord record;
  EXPECT_FALSE(RunRecordToJson(record, "1").contains("aids"));
  AidsFigures aids;
  MapResult map;
  map.squared = {0.36, std::numeric_limits<double>::quiet_NaN()};
  map.fourth = {0.1296, std::numeric_limits<double>::quiet_NaN()};
  aids.map = map;
  LikelihoodFit fit;
  fit.df = 5;
  fit.rmsea_upper = std::numeric_limits<double>::quiet_NaN();
  fit.variance.ss_loadings = {1.342009};
  aids.fit = fit;
  record.aids = aids;
  const json document = RunRecordToJson(record, "1");
  EXPECT_TRUE(document["aids"]["parallel_analysis"].is_null());
  EXPECT_EQ(document["aids"]["map"]["squared"], json::parse("[0.36, null]"));
  EXPECT_EQ(document["aids"]["map"]["suggested_fourth_power"], 0);
  EXPECT_EQ(document["aids"]["likelihood_fit"]["df"], 5);
  EXPECT_TRUE(document["aids"]["likelihood_fit"]["rmsea_upper"].is_null());
  EXPECT_EQ(document["aids"]["likelihood_fit"]["variance"]["ss_loadings"][0], 1.342009);
}

TEST(RunJsonTest, InputsCarryTheirDigest) {
  const std::string path = ::testing::TempDir() + "run_json_input.dat";
  std::ofstream(path) << "abc";
  RunRecord record;
  record.input_files = {path, path + ".missing"};
  const json inputs = RunRecordToJson(record, "1")["inputs"];
  EXPECT_EQ(inputs[0]["sha256"],
            "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
  EXPECT_TRUE(inputs[1]["sha256"].is_null());
  std::filesystem::remove(path);
}

TEST(WriteFileWholeTest, WritesAndLeavesNoTemporary) {
  const std::filesystem::path folder = ::testing::TempDir() + "write_whole";
  std::filesystem::remove_all(folder);
  std::filesystem::create_directories(folder);
  const std::string path = (folder / "out.json").string();
  std::ofstream(path) << "old";
  EXPECT_EQ(WriteFileWhole(path, "new text"), "");
  std::stringstream text;
  text << std::ifstream(path).rdbuf();
  EXPECT_EQ(text.str(), "new text");
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder), {}), 1);
  // A folder that does not exist: a reason, and nothing left behind.
  EXPECT_NE(WriteFileWhole((folder / "no" / "out.json").string(), "x"), "");
  // A folder in the place of the file: the rename fails, the temporary goes.
  std::filesystem::create_directories(folder / "taken");
  EXPECT_NE(WriteFileWhole((folder / "taken").string(), "x"), "");
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder), {}), 2);
  std::filesystem::remove_all(folder);
}

}  // namespace
}  // namespace vq
