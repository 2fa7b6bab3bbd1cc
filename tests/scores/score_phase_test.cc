#include "scores/score_phase.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "correlation/pearson.h"
#include "frame/console.h"
#include "frame/output_file.h"
#include "kernels/failure.h"
#include "report/edit_descriptors.h"
#include "run/run_options.h"

namespace vq {
namespace {

namespace fs = std::filesystem;

const std::string kColumn30(28, ' ');

RunOptions Options(std::string_view rotation,
                   std::string_view method,
                   std::string_view plot,
                   std::string_view sort = "NOSORT") {
  RunOptions options;
  options.VariableCount = 4;
  options.SubjectCount = 6;
  options.FactorCount = 2;
  options.Coding = "CO";
  options.InputForm = "RAW ";
  options.Model = "PFA ";
  options.LabelMode = PadRight("NOLABELS", 15);
  options.SortMode = PadRight(sort, 15);
  options.Rotation = PadRight(rotation, 8);
  options.ScoreMethod = PadRight(method, 8);
  options.PlotMode = PadRight(plot, 8);
  return options;
}

TEST(ChooseScoreLoadings, FollowsTheRotationAndTheMethod) {
  Matrix loadings(4, 2), rotated(4, 2), item_order(4, 2), pattern(4, 2), structure(4, 2);
  const ScoreSources sources{&loadings, &rotated, &item_order, &pattern, &structure};
  const struct {
    const char *rotation, *method, *sort;
    const Matrix* expected;
  } cases[] = {
      {"NONE", "REG", "NOSORT", &loadings},
      {"None", "BART", "NOSORT", &loadings},
      {"VARIMAX", "REG", "NOSORT", &rotated},
      {"VARIMAX", "BART", "SORT", &item_order},
      {"WVARIMAX", "REG", "SORT", &item_order},
      {"WVARIMAX", "BART", "NOSORT", &rotated},
      {"PROMAX", "REG", "SORT", &structure},
      {"PROMAX", "BART", "SORT", &pattern},
      {"OBLIMIN", "REG", "NOSORT", &structure},
      {"OBLIMIN", "BART", "NOSORT", &pattern},
      {"HK", "REG", "SORT", &structure},
      {"HK", "BART", "NOSORT", &pattern},
      {"QUARTMAX", "REG", "NOSORT", &loadings},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(&ChooseScoreLoadings(Options(c.rotation, c.method, "NONE", c.sort), sources),
              c.expected)
        << c.rotation << " " << c.method << " " << c.sort;
  }
  // A missing matrix stops with a message.
  const ScoreSources missing{&loadings, &rotated, nullptr, &pattern, &structure};
  ConsoleCapture capture;
  EXPECT_THROW(ChooseScoreLoadings(Options("VARIMAX", "REG", "NONE", "SORT"), missing), RunStopped);
  EXPECT_EQ(capture.Out(),
            kColumn30 + "FATAL ERROR: The loadings of the solution are not available\n" +
                kColumn30 +
                "in item order; factor scores cannot be computed.\n\n\n"
                "Stop - Program terminated.\nProgram Terminated with exit code 0\n");
}

TEST(PlanScorePhase, ScoresForContinuousCodingsAndNotesForWhatIsPassedOver) {
  const std::string no_scores = kColumn30 +
                                "WARNING: No factor scores are computed, so there is no\n" +
                                kColumn30 + "factor score plot.\n\n\n";
  const std::string given = kColumn30 +
                            "WARNING: A given factor pattern has no data for factor scores;\n" +
                            kColumn30 + "no factor scores are computed.\n\n\n";
  const struct {
    const char *coding, *model, *method, *plot;
    bool estimate, plot_scores;
    std::string note;
  } cases[] = {
      {"CO", "PFA ", "REG", "SCORES", true, true, ""},
      {"IP", "PFA ", "BART", "LOADINGS", true, false, ""},
      {"CO", "PFA ", "BART", "ALL", true, true, ""},
      {"OR", "PFA ", "REG", "ALL", false, false, ""},
      {"CO", "PFA ", "NOSCORE", "SCORES", false, false, no_scores},
      {"CO", "PFA ", "NONE", "ALL", false, false, no_scores},
      {"CO", "PFA ", "NOSCORE", "LOADINGS", false, false, ""},
      {"CO", "CMT ", "NOSCORE", "SCORES", false, false, ""},
      {"CO", "ROT ", "REG", "SCORES", false, false, given},
  };
  for (const auto& c : cases) {
    RunOptions options = Options("VARIMAX", c.method, c.plot);
    options.Coding = c.coding;
    options.Model = c.model;
    ConsoleCapture capture;
    const ScorePlan plan = PlanScorePhase(options);
    EXPECT_EQ(plan.estimate, c.estimate) << c.coding << c.model << c.method << c.plot;
    EXPECT_EQ(plan.plot, c.plot_scores) << c.coding << c.model << c.method << c.plot;
    EXPECT_EQ(capture.Out(), "");
    NoteUnmetScoreRequests(options);
    EXPECT_EQ(capture.Out(), c.note) << c.coding << c.model << c.method << c.plot;
  }
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

// Six subjects, four items, the moments the correlation step would have
// left for them, and communalities of 0.5 on the diagonal of R.
struct PhaseData {
  Matrix items{6, 4}, r;
  std::vector<double> ids{101, 102, 103, 104, 105, 106}, means, deviations;
  PhaseData() {
    items.values = {1, 2, 3, 4, 5, 6, 2, 2, 4, 3, 6, 5, 1, 3, 2, 5, 4, 6, 3, 3, 5, 4, 6, 7};
    Matrix ssp;
    int ifail = kIfailHard;
    G02BAF(6, 4, items, means, deviations, ssp, r, ifail);
    r = Matrix(4, 4, 0.3);
    for (int i = 0; i < 4; ++i) r(i, i) = 0.5;
  }
};

// Loadings in item order: items 1 and 3 on factor 1, 2 and 4 on factor 2.
Matrix ItemOrderLoadings() {
  Matrix loadings(4, 2);
  loadings.values = {0.7, 0.2, 0.65, 0.1, 0.1, 0.6, 0.15, 0.55};
  return loadings;
}

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

  fs::path ScoreFile() const { return directory_ / "run.fsc"; }
  std::string ReadScoreFile() const {
    std::stringstream text;
    text << std::ifstream(ScoreFile()).rdbuf();
    return text.str();
  }
  // The phase on fresh data with the report in memory; returns the report.
  std::string Run(const RunOptions& options, const ScoreSources& sources, PhaseData& data) {
    OutputFile report;
    report.OpenInMemory(11);
    const std::string dir = directory_.string() + "/";
    RunScorePhase(options,
                  data.items,
                  data.ids,
                  data.means,
                  data.deviations,
                  data.r,
                  sources,
                  scores_,
                  report,
                  dir,
                  "run.in");
    return report.Text();
  }
  std::string Run(const RunOptions& options, const ScoreSources& sources) {
    PhaseData data;
    return Run(options, sources, data);
  }

  fs::path directory_;
  Matrix scores_;
  ConsoleCapture capture_;
};

TEST_F(ScoreRun, SortingDoesNotChangeTheScores) {
  const Matrix item_order = ItemOrderLoadings();
  Matrix sorted = item_order;  // rows 1, 3, 2, 4
  for (int j = 0; j < 2; ++j) std::swap(sorted(1, j), sorted(2, j));
  const std::string unsorted_report =
      Run(Options("VARIMAX", "REG", "NONE"), {nullptr, &item_order});
  const std::string unsorted_file = ReadScoreFile();
  const Matrix unsorted_scores = scores_;
  const std::string sorted_report =
      Run(Options("VARIMAX", "REG", "NONE", "SORT"), {nullptr, &sorted, &item_order});
  EXPECT_EQ(sorted_report, unsorted_report);
  EXPECT_EQ(ReadScoreFile(), unsorted_file);
  EXPECT_EQ(scores_.values, unsorted_scores.values);
  // Row numbers, not labels, under the sorted run too.
  EXPECT_NE(sorted_report.find("\n 4 "), std::string::npos);
}

TEST_F(ScoreRun, TheSavedScoresHaveMeanZeroAndDeviationOne) {
  const Matrix pattern = ItemOrderLoadings();
  const Matrix structure = ItemOrderLoadings();
  for (const char* method : {"REG", "BART"}) {
    PhaseData data;
    Run(Options("OBLIMIN", method, "NONE"),
        {nullptr, nullptr, nullptr, &pattern, &structure},
        data);
    ASSERT_EQ(scores_.rows, 6);
    ASSERT_EQ(scores_.cols, 2);
    std::string records;
    for (int s = 0; s < 6; ++s) {
      // One record per subject, in data order, with the id and the scores.
      records +=
          FormatI(101 + s, 15) + FormatF(scores_(s, 0), 8, 3) + FormatF(scores_(s, 1), 8, 3) + "\n";
    }
    EXPECT_EQ(ReadScoreFile(), records);
    for (int j = 0; j < 2; ++j) {
      double sum = 0.0, squares = 0.0;
      for (int s = 0; s < 6; ++s) {
        sum += scores_(s, j);
        squares += scores_(s, j) * scores_(s, j);
      }
      EXPECT_NEAR(sum, 0.0, 1e-12) << method;
      EXPECT_NEAR(squares / 5.0, 1.0, 1e-12) << method;
    }
    for (int i = 0; i < 4; ++i) EXPECT_EQ(data.r(i, i), 1.0);
  }
}

TEST_F(ScoreRun, AFaultLeavesNoUnfinishedScoreFile) {
  // A fault of the data, found before the file is opened, leaves an earlier
  // score file alone.
  std::ofstream(ScoreFile()) << "earlier run\n";
  PhaseData data;
  data.deviations[2] = 0.0;
  Matrix loadings = ItemOrderLoadings();
  EXPECT_THROW(Run(Options("NONE", "REG", "NONE"), {&loadings}, data), RunStopped);
  EXPECT_NE(capture_.Out().find("FATAL ERROR: Variable   3 has no variance;"), std::string::npos);
  EXPECT_EQ(ReadScoreFile(), "earlier run\n");
  // A factor on which no item loads has constant estimates: they cannot be
  // standardised, and the stop after the file was opened removes it.
  for (int i = 0; i < 4; ++i) loadings(i, 1) = 0.0;
  EXPECT_THROW(Run(Options("NONE", "REG", "NONE"), {&loadings}), RunStopped);
  EXPECT_NE(capture_.Out().find("factor   2 cannot be standardized"), std::string::npos);
  EXPECT_FALSE(fs::exists(ScoreFile()));
}

TEST_F(ScoreRun, NothingHappensWithoutScores) {
  PhaseData data;
  EXPECT_EQ(Run(Options("VARIMAX", "NOSCORE", "LOADINGS"), {}, data), "");
  EXPECT_TRUE(scores_.empty());
  EXPECT_FALSE(fs::exists(ScoreFile()));
  EXPECT_EQ(data.r(0, 0), 0.5);
}

}  // namespace
}  // namespace vq
