#include "scores/score_phase.h"

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
#include "report/edit_descriptors.h"
#include "run/run_options.h"

namespace vq {
namespace {

namespace fs = std::filesystem;

RunOptions Options(std::string_view rotation, std::string_view method, std::string_view plot) {
  RunOptions options;
  options.VariableCount = 4;
  options.SubjectCount = 6;
  options.FactorCount = 2;
  options.Coding = "CO";
  options.InputForm = "RAW ";
  options.Model = "PFA ";
  options.LabelMode = PadRight("NOLABELS", 15);
  options.SortMode = PadRight("NOSORT", 15);
  options.Rotation = PadRight(rotation, 8);
  options.ScoreMethod = PadRight(method, 8);
  options.PlotMode = PadRight(plot, 8);
  return options;
}

Matrix Filled(int rows, int cols, double start) {
  Matrix matrix(rows, cols);
  for (std::size_t k = 0; k < matrix.values.size(); ++k) matrix.values[k] = start + 0.01 * k;
  return matrix;
}

struct AllSources {
  Matrix loadings = Filled(4, 2, 0.1);
  Matrix rotated = Filled(4, 2, 0.2);
  Matrix item_order = Filled(4, 2, 0.3);
  Matrix pattern = Filled(4, 2, 0.4);
  Matrix structure = Filled(4, 2, 0.5);
  ScoreSources sources;
  AllSources() {
    sources.Loadings = &loadings;
    sources.RotatedLoadings = &rotated;
    sources.ItemOrderLoadings = &item_order;
    sources.ItemOrderPattern = &pattern;
    sources.ItemOrderStructure = &structure;
  }
};

TEST(ChooseScoreLoadings, FollowsTheRotationAndTheMethod) {
  AllSources all;
  struct Case {
    const char* rotation;
    const char* method;
    const char* sort;
    const Matrix* expected;
  };
  const Case cases[] = {
      {"NONE", "REG", "NOSORT", &all.loadings},
      {"None", "BART", "NOSORT", &all.loadings},
      {"VARIMAX", "REG", "NOSORT", &all.rotated},
      {"VARIMAX", "BART", "SORT", &all.item_order},
      {"WVARIMAX", "REG", "SORT", &all.item_order},
      {"WVARIMAX", "BART", "NOSORT", &all.rotated},
      {"PROMAX", "REG", "SORT", &all.structure},
      {"PROMAX", "BART", "SORT", &all.pattern},
      {"OBLIMIN", "REG", "NOSORT", &all.structure},
      {"OBLIMIN", "BART", "NOSORT", &all.pattern},
      {"HK", "REG", "SORT", &all.structure},
      {"HK", "BART", "NOSORT", &all.pattern},
      {"QUARTMAX", "REG", "NOSORT", &all.loadings},
  };
  for (const Case& c : cases) {
    RunOptions options = Options(c.rotation, c.method, "NONE");
    options.SortMode = PadRight(c.sort, 15);
    EXPECT_EQ(&ChooseScoreLoadings(options, all.sources), c.expected)
        << c.rotation << " " << c.method << " " << c.sort;
  }
}

TEST(ChooseScoreLoadings, AMissingMatrixStopsWithAMessage) {
  AllSources all;
  all.sources.ItemOrderLoadings = nullptr;
  RunOptions options = Options("VARIMAX", "REG", "NONE");
  options.SortMode = PadRight("SORT", 15);
  ConsoleCapture capture;
  EXPECT_THROW(ChooseScoreLoadings(options, all.sources), RunStopped);
  const std::string pad(28, ' ');
  EXPECT_EQ(capture.Out(),
            pad + "FATAL ERROR: The loadings of the solution are not available\n" + pad +
                "in item order; factor scores cannot be computed.\n\n\n"
                "Stop - Program terminated.\nProgram Terminated with exit code 0\n");
}

TEST(PlanScorePhase, ScoresRunForContinuousCodingsOnly) {
  ConsoleCapture capture;
  ScorePlan plan = PlanScorePhase(Options("VARIMAX", "REG", "SCORES"));
  EXPECT_TRUE(plan.estimate);
  EXPECT_TRUE(plan.plot);
  RunOptions ip = Options("VARIMAX", "BART", "LOADINGS");
  ip.Coding = "IP";
  plan = PlanScorePhase(ip);
  EXPECT_TRUE(plan.estimate);
  EXPECT_FALSE(plan.plot);
  RunOptions ordered = Options("VARIMAX", "REG", "ALL");
  ordered.Coding = "OR";
  plan = PlanScorePhase(ordered);
  EXPECT_FALSE(plan.estimate);
  EXPECT_FALSE(plan.plot);
  NoteUnmetScoreRequests(ordered);
  EXPECT_EQ(capture.Out(), "");
}

TEST(PlanScorePhase, APlotWithoutScoresIsPassedOverWithANote) {
  const std::string pad(28, ' ');
  const std::string note = pad + "WARNING: No factor scores are computed, so there is no\n" + pad +
                           "factor score plot.\n\n\n";
  for (const char* method : {"NOSCORE", "NONE"}) {
    for (const char* plot : {"SCORES", "ALL"}) {
      const RunOptions options = Options("VARIMAX", method, plot);
      ConsoleCapture capture;
      const ScorePlan plan = PlanScorePhase(options);
      EXPECT_FALSE(plan.estimate);
      EXPECT_FALSE(plan.plot);
      EXPECT_EQ(capture.Out(), "");
      NoteUnmetScoreRequests(options);
      EXPECT_EQ(capture.Out(), note) << method << " " << plot;
    }
  }
  ConsoleCapture capture;
  NoteUnmetScoreRequests(Options("VARIMAX", "NOSCORE", "LOADINGS"));
  RunOptions ends_early = Options("VARIMAX", "NOSCORE", "SCORES");
  ends_early.Model = "CMT ";
  NoteUnmetScoreRequests(ends_early);
  EXPECT_EQ(capture.Out(), "");
}

TEST(PlanScorePhase, ScoresOfAGivenPatternArePassedOverWithANote) {
  const std::string pad(28, ' ');
  RunOptions options = Options("VARIMAX", "REG", "SCORES");
  options.Model = "ROT ";
  options.InputForm = "FLD1";
  ConsoleCapture capture;
  const ScorePlan plan = PlanScorePhase(options);
  EXPECT_FALSE(plan.estimate);
  EXPECT_FALSE(plan.plot);
  NoteUnmetScoreRequests(options);
  EXPECT_EQ(capture.Out(),
            pad + "WARNING: A given factor pattern has no data for factor scores;\n" + pad +
                "no factor scores are computed.\n\n\n");
}

TEST(WriteScoreRecords, IdInFifteenPositionsThenTheScores) {
  Matrix scores(3, 2);
  scores(0, 0) = 1.2345;
  scores(0, 1) = -0.5;
  scores(1, 0) = 10000.0;
  scores(1, 1) = 9999.9994;
  scores(2, 0) = -0.0001;
  scores(2, 1) = 0.0;
  OutputFile file;
  file.OpenInMemory(16);
  WriteScoreRecords(file, {17.0, 123456789012345.0, -42.9}, scores, 3, 2);
  EXPECT_EQ(file.Text(),
            "             17   1.234  -0.500\n"
            "123456789012345********9999.999\n"
            "            -42   0.000   0.000\n");
}

TEST(WriteScoreRecords, MoreThan999ScoresGoOnInAFurtherRecord) {
  Matrix scores(1, 1001, 0.25);
  OutputFile file;
  file.OpenInMemory(16);
  WriteScoreRecords(file, {3.0}, scores, 1, 1001);
  std::istringstream lines(file.Text());
  std::string first;
  std::string second;
  std::string third;
  std::getline(lines, first);
  std::getline(lines, second);
  EXPECT_FALSE(std::getline(lines, third));
  EXPECT_EQ(first.size(), 15u + 999u * 8u);
  EXPECT_EQ(first.substr(0, 23), "              3   0.250");
  EXPECT_EQ(second, "   0.250   0.250");
}

// Six subjects, four items, and the moments the correlation step would have
// left for them.
struct PhaseData {
  Matrix items{6, 4};
  std::vector<double> ids{101, 102, 103, 104, 105, 106};
  std::vector<double> means;
  std::vector<double> deviations;
  Matrix r{4, 4};
  PhaseData() {
    const double values[6][4] = {
        {1, 2, 1, 3}, {2, 2, 3, 3}, {3, 4, 2, 5}, {4, 3, 5, 4}, {5, 6, 4, 6}, {6, 5, 6, 7}};
    for (int s = 0; s < 6; ++s) {
      for (int j = 0; j < 4; ++j) items(s, j) = values[s][j];
    }
    means.assign(4, 0.0);
    deviations.assign(4, 0.0);
    for (int j = 0; j < 4; ++j) {
      for (int s = 0; s < 6; ++s) means[j] += items(s, j) / 6.0;
      for (int s = 0; s < 6; ++s) {
        deviations[j] += (items(s, j) - means[j]) * (items(s, j) - means[j]);
      }
      deviations[j] = std::sqrt(deviations[j] / 5.0);
    }
    for (int i = 0; i < 4; ++i) {
      for (int j = 0; j < 4; ++j) r(i, j) = (i == j) ? 0.5 : 0.3;
    }
  }
};

// A scratch directory beside the command file of a test run.
class ScoreRun : public ::testing::Test {
 protected:
  void SetUp() override {
    directory_ = fs::temp_directory_path() /
                 ("velquorin_scores_" + std::to_string(::getpid()) + "_" +
                  ::testing::UnitTest::GetInstance()->current_test_info()->name());
    fs::remove_all(directory_);
    fs::create_directories(directory_);
  }
  void TearDown() override { fs::remove_all(directory_); }

  std::string Directory() const { return directory_.string() + "/"; }
  fs::path ScoreFile() const { return directory_ / "run.fsc"; }
  std::string ReadScoreFile() const {
    std::ifstream in(ScoreFile());
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
  }

  // The phase on `data` with the report in memory; returns the report.
  std::string Run(const RunOptions& options,
                  PhaseData& data,
                  const ScoreSources& sources,
                  Matrix& scores) {
    OutputFile report;
    report.OpenInMemory(11);
    RunScorePhase(options,
                  data.items,
                  data.ids,
                  data.means,
                  data.deviations,
                  data.r,
                  sources,
                  scores,
                  report,
                  Directory(),
                  "run.in");
    return report.Text();
  }

  fs::path directory_;
};

const double kItemOrder[4][2] = {{0.7, 0.1}, {0.2, 0.6}, {0.65, 0.15}, {0.1, 0.55}};

Matrix ItemOrderLoadings() {
  Matrix loadings(4, 2);
  for (int i = 0; i < 4; ++i) {
    for (int j = 0; j < 2; ++j) loadings(i, j) = kItemOrder[i][j];
  }
  return loadings;
}

TEST_F(ScoreRun, SortingDoesNotChangeTheScores) {
  const Matrix item_order = ItemOrderLoadings();
  // The sorted copy puts items 1, 3 on factor 1 and 2, 4 on factor 2.
  Matrix sorted(4, 2);
  const int order[4] = {0, 2, 1, 3};
  for (int k = 0; k < 4; ++k) {
    for (int j = 0; j < 2; ++j) sorted(k, j) = kItemOrder[order[k]][j];
  }
  std::string texts[2];
  std::string files[2];
  Matrix results[2];
  for (int run = 0; run < 2; ++run) {
    PhaseData data;
    RunOptions options = Options("VARIMAX", "REG", "NONE");
    ScoreSources sources;
    sources.Loadings = &item_order;
    if (run == 0) {
      sources.RotatedLoadings = &item_order;
    } else {
      options.SortMode = PadRight("SORT", 15);
      sources.RotatedLoadings = &sorted;
      sources.ItemOrderLoadings = &item_order;
    }
    ConsoleCapture capture;
    texts[run] = Run(options, data, sources, results[run]);
    files[run] = ReadScoreFile();
  }
  EXPECT_EQ(texts[0], texts[1]);
  EXPECT_EQ(files[0], files[1]);
  EXPECT_EQ(results[0].values, results[1].values);
  // Row numbers, not labels, under the sorted run too.
  EXPECT_NE(texts[1].find("\n 4 "), std::string::npos);
}

TEST_F(ScoreRun, TheSavedScoresHaveMeanZeroAndDeviationOne) {
  PhaseData data;
  const Matrix pattern = ItemOrderLoadings();
  const Matrix structure = ItemOrderLoadings();
  ScoreSources sources;
  sources.ItemOrderPattern = &pattern;
  sources.ItemOrderStructure = &structure;
  for (const char* method : {"REG", "BART"}) {
    PhaseData fresh;
    ConsoleCapture capture;
    Matrix scores;
    Run(Options("OBLIMIN", method, "NONE"), fresh, sources, scores);
    ASSERT_EQ(scores.rows, 6);
    ASSERT_EQ(scores.cols, 2);
    for (int j = 0; j < 2; ++j) {
      double sum = 0.0;
      double squares = 0.0;
      for (int s = 0; s < 6; ++s) sum += scores(s, j);
      for (int s = 0; s < 6; ++s) squares += scores(s, j) * scores(s, j);
      EXPECT_NEAR(sum, 0.0, 1e-12) << method;
      EXPECT_NEAR(squares / 5.0, 1.0, 1e-12) << method;
    }
    // One record per subject, in data order, with the id and both scores
    // as they stand in the array.
    std::istringstream lines(ReadScoreFile());
    std::string line;
    for (int s = 0; s < 6; ++s) {
      ASSERT_TRUE(std::getline(lines, line));
      EXPECT_EQ(line,
                FormatI(101 + s, 15) + FormatF(scores(s, 0), 8, 3) + FormatF(scores(s, 1), 8, 3));
    }
    EXPECT_FALSE(std::getline(lines, line));
    for (int i = 0; i < 4; ++i) EXPECT_EQ(fresh.r(i, i), 1.0);
  }
}

TEST_F(ScoreRun, AFaultOfTheDataLeavesAnEarlierScoreFileAlone) {
  {
    std::ofstream earlier(ScoreFile());
    earlier << "earlier run\n";
  }
  PhaseData data;
  data.deviations[2] = 0.0;
  const Matrix loadings = ItemOrderLoadings();
  ScoreSources sources;
  sources.Loadings = &loadings;
  ConsoleCapture capture;
  Matrix scores;
  EXPECT_THROW(Run(Options("NONE", "REG", "NONE"), data, sources, scores), RunStopped);
  EXPECT_NE(capture.Out().find("FATAL ERROR: Variable   3 has no variance;"), std::string::npos);
  EXPECT_EQ(ReadScoreFile(), "earlier run\n");
}

TEST_F(ScoreRun, AStopDuringTheEstimationRemovesTheUnfinishedScoreFile) {
  PhaseData data;
  // A factor on which no item loads has constant estimates: they cannot be
  // standardised, and the run stops after the file was opened.
  Matrix loadings = ItemOrderLoadings();
  for (int i = 0; i < 4; ++i) loadings(i, 1) = 0.0;
  ScoreSources sources;
  sources.Loadings = &loadings;
  ConsoleCapture capture;
  Matrix scores;
  EXPECT_THROW(Run(Options("NONE", "REG", "NONE"), data, sources, scores), RunStopped);
  EXPECT_NE(capture.Out().find("factor   2 cannot be standardized"), std::string::npos);
  EXPECT_FALSE(fs::exists(ScoreFile()));
}

TEST_F(ScoreRun, ThePlotFollowsTheScoresWhenAsked) {
  const Matrix loadings = ItemOrderLoadings();
  ScoreSources sources;
  sources.RotatedLoadings = &loadings;
  std::string reports[2];
  for (int run = 0; run < 2; ++run) {
    PhaseData data;
    ConsoleCapture capture;
    Matrix scores;
    reports[run] =
        Run(Options("VARIMAX", "REG", run == 0 ? "LOADINGS" : "SCORES"), data, sources, scores);
  }
  EXPECT_EQ(reports[0].find("Factor Score Plot"), std::string::npos);
  const std::size_t plot = reports[1].find(" Factor Score Plot");
  ASSERT_NE(plot, std::string::npos);
  EXPECT_EQ(reports[1].substr(0, reports[0].size()), reports[0]);
  EXPECT_NE(reports[1].find("Factor X =   1   Factor Y =  2", plot), std::string::npos);
}

TEST_F(ScoreRun, NothingHappensWithoutScores) {
  PhaseData data;
  ScoreSources sources;
  ConsoleCapture capture;
  Matrix scores;
  EXPECT_EQ(Run(Options("VARIMAX", "NOSCORE", "LOADINGS"), data, sources, scores), "");
  EXPECT_TRUE(scores.empty());
  EXPECT_FALSE(fs::exists(ScoreFile()));
  EXPECT_EQ(data.r(0, 0), 0.5);
}

}  // namespace
}  // namespace vq
