// The score tables, the `fsc` file and the plot, from results the score
// phase computed.
#include "writers/score_writer.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "frame/console.h"
#include "frame/output_file.h"
#include "text/edit_descriptors.h"

namespace vq {
namespace {

namespace fs = std::filesystem;

// Two items, four subjects, one factor (loadings 0.8 and 0.6, communalities
// on the diagonal of an otherwise empty R), estimated by `method`.
ScoreResult TwoItemScores(ScoreMethod method) {
  Matrix items(4, 2);
  items.values = {1, 2, 3, 4, 2, 1, 4, 3};
  Matrix r(2, 2);
  r(0, 0) = 0.64;
  r(1, 1) = 0.36;
  Matrix loadings(2, 1);
  loadings.values = {0.8, 0.6};
  const std::vector<double> ids{11, 12, 13, 14};
  const std::vector<double> means{2.5, 2.5};
  const std::vector<double> deviations(2, std::sqrt(5.0 / 3.0));
  ScoreOptions options;
  options.estimate = true;
  options.method = method;
  options.variable_count = 2;
  options.subject_count = 4;
  options.factor_count = 1;
  const ScoreData data{items, ids, means, deviations, r};
  ScoreResult result;
  EstimateScores(data,
                 ChooseScoreLoadings(options, loadings, RotationResult()),
                 options,
                 SilentProgress(),
                 result);
  return result;
}

std::string TablesOf(const ScoreResult& result) {
  OutputFile report;
  report.OpenInMemory(11);
  RunOutputs outputs(report, "", "run.in");
  ScoreWriteOptions write;
  write.page_width = 130;
  WriteScoreTables(result, write, outputs);
  return report.Text();
}

TEST(WriteScoreTables, RegressionWeightsAndValidity) {
  EXPECT_EQ(TablesOf(TwoItemScores(ScoreMethod::kRegression)),
            "\n\n"
            " Standardized regression weights for estimating the factors\n"
            "          1\n"
            " 1    0.800\n"
            " 2    0.600\n"
            "\n\n"
            " Correlations of Factors with Factor Score Estimates\n"
            "          1\n"
            "      0.797\n");
}

TEST(WriteScoreTables, BartlettLineFirst) {
  EXPECT_EQ(TablesOf(TwoItemScores(ScoreMethod::kBartlett)),
            "\n\n"
            "Bartlett method, Maximum Likelihood, and Weighted Least Squares\n"
            "\n\n"
            " Standardized regression weights for estimating the factors\n"
            "          1\n"
            " 1    0.950\n"
            " 2    0.401\n"
            "\n\n"
            " Correlations of Factors with Factor Score Estimates\n"
            "          1\n"
            "      0.811\n");
}

TEST(WriteScoreTables, WhatAStoppedEstimationLeft) {
  ScoreResult result = TwoItemScores(ScoreMethod::kRegression);
  result.validity.clear();
  EXPECT_EQ(TablesOf(result),
            "\n\n"
            " Standardized regression weights for estimating the factors\n"
            "          1\n"
            " 1    0.800\n"
            " 2    0.600\n");
  EXPECT_EQ(TablesOf(ScoreResult()), "");
}

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
  std::string Read() const {
    std::stringstream text;
    text << std::ifstream(Path()).rdbuf();
    return text.str();
  }
  RunOutputs Outputs() { return RunOutputs(report_, directory_.string() + "/", "run.in"); }
  fs::path directory_;
  OutputFile report_;
};

TEST_F(ScoreFileTest, TheRecordsOfTheStandardisedScores) {
  const ScoreResult result = TwoItemScores(ScoreMethod::kRegression);
  {
    ScoreFile file(Outputs());
    file.Write(result);
  }
  std::string records;
  for (int s = 0; s < 4; ++s)
    records += FormatI(11 + s, 15) + FormatF(result.scores(s, 0), 8, 3) + "\n";
  EXPECT_EQ(Read(), records);
}

TEST_F(ScoreFileTest, AnUnfinishedFileIsRemoved) {
  std::ofstream(Path()) << "earlier run\n";
  try {
    ScoreFile file(Outputs());
    throw RunStopped{RunStopped::Kind::kPlainStop, 0, ""};
  } catch (const RunStopped&) {
  }
  EXPECT_FALSE(fs::exists(Path()));
}

TEST(WriteScorePlot, PlotsOfTheScores) {
  const ScoreResult result = TwoItemScores(ScoreMethod::kRegression);
  ScoreResult two = result;
  two.scores = Matrix(4, 2);
  for (int s = 0; s < 4; ++s) {
    two.scores(s, 0) = result.scores(s, 0);
    two.scores(s, 1) = -result.scores(s, 0);
  }
  OutputFile report;
  report.OpenInMemory(11);
  RunOutputs outputs(report, "", "run.in");
  WriteScorePlot(two, outputs);
  const std::string text = report.Text();
  EXPECT_NE(text.find(" Factor Score Plot"), std::string::npos);
  EXPECT_NE(text.find("Factor X =   1   Factor Y =  2"), std::string::npos);
}

}  // namespace
}  // namespace vq
