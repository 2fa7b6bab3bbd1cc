// The rotation sections as the driver makes them: the options built from a
// run's words, the stages computed and each solution written in turn.
#include "writers/rotation_writer.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "frame/console.h"
#include "kernels/failure.h"
#include "report/saved_files.h"
#include "rotation/random_start.h"
#include "rotation/rotation.h"
#include "rotation/test_matrices.h"
#include "run/phase_options.h"
#include "text/edit_descriptors.h"

namespace vq {
namespace {

using testing::FindLine;
using testing::FromRows;
using testing::Lines;
using testing::MaxAbsDifference;
using testing::RowSumsOfSquares;

class RotationWriterTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ResetImslState();
    report_.OpenInMemory(11);
    communalities_ = RowSumsOfSquares(testing::ThreeFactorLoadings());
    r_ = Matrix(12, 12);
    for (int i = 0; i < 12; ++i) r_(i, i) = communalities_[i];
  }
  void TearDown() override {
    ResetImslState();
    ResetRandomGenerator();
  }
  // The driver's loop: each stage computed, then written.
  void Rotate(const RunOptions& options, const std::string& directory = "") {
    const RotationOptions rotation = MakeRotationOptions(options);
    const RotationWriteOptions write = MakeRotationWriteOptions(options);
    RunOutputs outputs(report_, directory, "run.in");
    result_ = RotationResult();
    for (Rotation stage : RotationStages(rotation.rotation, options.FactorCount)) {
      result_.solutions.push_back(RotateStage(stage,
                                              testing::ThreeFactorLoadings(),
                                              communalities_,
                                              r_,
                                              result_.final_solution(),
                                              rotation,
                                              SilentProgress()));
      WriteRotatedSolution(result_.solutions.back(), write, outputs);
    }
    if (write.list_sorted_items && result_.rotated()) {
      WriteSortedItems(*result_.final_solution(), write, outputs);
    }
    lines_ = Lines(report_.Text());
  }
  static RunOptions WithItems(RunOptions options) {
    options.HasItemFile = true;
    for (int i = 0; i < options.VariableCount; ++i) {
      options.ItemTexts.push_back(
          PadRight("Text of item " + std::to_string(i + 1), kItemTextWidth));
    }
    return options;
  }
  OutputFile report_;
  std::vector<double> communalities_;
  Matrix r_;
  RotationResult result_;
  std::vector<std::string> lines_;
};

TEST_F(RotationWriterTest, VarimaxUnsortedSectionInOrder) {
  RunOptions options = testing::SmallRunOptions(12, 3, "VARIMAX");
  options.SortMode = ParseSortMode("NOSORT");
  Rotate(options);
  const std::vector<std::string>& lines = lines_;
  // Two empty lines after the rotation and two after the ordering.
  ASSERT_GE(lines.size(), 5u);
  for (int k = 0; k < 4; ++k) EXPECT_EQ(lines[k], "") << k;
  EXPECT_EQ(lines[4], " Varimax Rotated Factor Loadings");
  EXPECT_EQ(lines[5], "           1       2       3");
  EXPECT_EQ(lines[6].substr(0, 4), "  1 ");
  // Rows in item order with row numbers.
  EXPECT_EQ(lines[17].substr(0, 4), " 12 ");
  const int variance = FindLine(lines, " Variance explained by each rotated factor");
  ASSERT_EQ(variance, 20);
  EXPECT_EQ(lines[18], "");
  EXPECT_EQ(lines[19], "");
  EXPECT_EQ(lines[21], "         1       2       3");
  EXPECT_EQ(lines[22].substr(2, 8), FormatF(result_.final_solution()->variance_explained[0], 8, 3));
  EXPECT_EQ(lines[23], "");
  EXPECT_EQ(lines[24],
            "Varimax Objective function = " + FormatF(result_.final_solution()->objective, 6, 4));
  EXPECT_EQ(lines[25], "");
  EXPECT_EQ(lines[26], "");
  EXPECT_EQ(lines[27], "0===========HYPERPLANE COUNT====================0");
  EXPECT_EQ(lines[29].substr(0, 31), "Hyperplane Count (%) for Factor");
  EXPECT_EQ(lines[34], "0==============================================0");
  EXPECT_EQ(lines[35], "");
  EXPECT_EQ(lines.size(), 36u);
}

TEST_F(RotationWriterTest, VarimaxSortedTableUsesSortedDefaultLabels) {
  Rotate(testing::SmallRunOptions(12, 3, "VARIMAX"));
  EXPECT_EQ(lines_[4], " VARIMAX: Sorted Factor Loadings");
  const RotatedSolution& solution = *result_.final_solution();
  for (int place = 0; place < 12; ++place) {
    EXPECT_EQ(lines_[6 + place].substr(1, 4), "V" + FormatI(solution.order[place], 3, 3));
  }
}

TEST_F(RotationWriterTest, OtherSortWordPrintsNoLoadingTable) {
  RunOptions options = testing::SmallRunOptions(12, 3, "VARIMAX");
  options.SortMode = ParseSortMode("NOSORT");
  options.LabelMode = ParseLabelMode("ODD");
  Rotate(options);
  EXPECT_EQ(FindLine(lines_, " Varimax Rotated Factor Loadings"), -1);
  EXPECT_EQ(lines_[6], " Variance explained by each rotated factor");
}

TEST_F(RotationWriterTest, WeightedVarimaxTitlesAndNoObjective) {
  RunOptions options = testing::SmallRunOptions(12, 3, "WVARIMAX");
  options.PlotMode = ParsePlotMode("ALL");
  Rotate(options);
  EXPECT_EQ(lines_[4], " VARIMAX: Sorted Factor Loadings  (Cureton - Mulaik Weights)");
  const int plots =
      FindLine(lines_, PadRight("Factor Pattern Plots:  Weighted Varimax Rotation", 80));
  const int closing = FindLine(lines_, "0==============================================0");
  EXPECT_GT(plots, closing);
  EXPECT_NE(FindLine(lines_, "Factor X =   1   Factor Y =  2", plots), -1);
  EXPECT_NE(FindLine(lines_, "Factor X =   2   Factor Y =  3", plots), -1);
  for (const std::string& line : lines_) EXPECT_EQ(line.find("Objective"), std::string::npos);
}

TEST_F(RotationWriterTest, NotANumberGetsOnlyItsFailureLines) {
  RotatedSolution solution;
  solution.method = Rotation::kVarimax;
  solution.not_a_number = true;
  RunOutputs outputs(report_, "", "run.in");
  WriteRotatedSolution(solution, RotationWriteOptions(), outputs);
  EXPECT_EQ(report_.Text(),
            "\n\n\n****Serious problems occured during Varimax Rotation****\n" + Blanks(18) +
                " Execution Terminated\n");
}

TEST_F(RotationWriterTest, PromaxFollowsVarimaxAndCountsBeforeItsStructure) {
  RunOptions options = testing::SmallRunOptions(12, 3, "PROMAX");
  options.SortMode = ParseSortMode("NOSORT");
  options.PlotMode = ParsePlotMode("LOADINGS");
  Rotate(options);
  const int varimax = FindLine(lines_, " Varimax Rotated Factor Loadings");
  const int varimax_plots =
      FindLine(lines_, PadRight("Factor Pattern Plots:  Varimax Rotation", 80));
  const int table = FindLine(lines_, " PROMAX Rotated Factor Loadings");
  const int phi = FindLine(lines_, " PROMAX: Inter-factor Correlations");
  const int banner = FindLine(lines_, "0===========HYPERPLANE COUNT====================0", table);
  const int closing = FindLine(lines_, "0==============================================0", table);
  const int structure = FindLine(lines_, " Promax Factor Structure Matrix");
  const int plots = FindLine(lines_, PadRight("Factor Pattern Plots:  Promax Rotation", 80));
  ASSERT_NE(varimax, -1);
  EXPECT_LT(varimax, varimax_plots);
  EXPECT_LT(varimax_plots, table);
  // 12 rows and the column line, then two empty lines.
  EXPECT_EQ(phi, table + 16);
  EXPECT_EQ(lines_[table + 14], "");
  EXPECT_EQ(lines_[table + 15], "");
  EXPECT_EQ(lines_[phi + 1], "          1       2       3");
  EXPECT_EQ(lines_[phi + 2].substr(0, 11), " 1    1.000");
  EXPECT_EQ(banner, phi + 7);
  EXPECT_EQ(structure, closing + 2);
  EXPECT_EQ(plots, structure + 14);
}

TEST_F(RotationWriterTest, HarrisKaiserPrintsItsStructureBeforeTheCounts) {
  RunOptions options = testing::SmallRunOptions(12, 3, "HK");
  options.HarrisKaiserParameter = 0.5;
  options.PlotMode = ParsePlotMode("ALL");
  Rotate(options);
  EXPECT_EQ(lines_[0], " Harris-Kaiser Sorted Factor Loadings");
  EXPECT_EQ(lines_[1], "             1       2       3");
  EXPECT_EQ(lines_[2].substr(0, 4), " V00");
  EXPECT_EQ(lines_[14], "");
  EXPECT_EQ(lines_[15], "");
  EXPECT_EQ(lines_[16], " Hairrs-Kaiser: Inter-factor Correlations");
  EXPECT_EQ(lines_[21], "");
  EXPECT_EQ(lines_[22], "");
  EXPECT_EQ(lines_[23], " Harris-Kaiser Factor Structure Matrix");
  EXPECT_EQ(lines_[39], "0===========HYPERPLANE COUNT====================0");
  EXPECT_EQ(lines_[48], PadRight("Factor Pattern Plots:  Harris-Kaiser Rotation", 80));
}

TEST_F(RotationWriterTest, ObliminTitlesWithLabelsInItemOrder) {
  RunOptions options = testing::SmallRunOptions(12, 3, "OBLIMIN");
  options.SortMode = ParseSortMode("NOSORT");
  options.LabelMode = ParseLabelMode("LABELS");
  for (int i = 0; i < 12; ++i) {
    options.Labels.push_back(PadRight("Item" + std::to_string(i + 1), 15));
  }
  Rotate(options);
  EXPECT_EQ(lines_[0], " Oblimin Rotated Factor Loadings");
  // Labels stand right-aligned in the width of the longest one.
  EXPECT_EQ(lines_[2].substr(0, 8), "  Item1 ");
  EXPECT_EQ(lines_[13].substr(0, 8), " Item12 ");
  EXPECT_EQ(lines_[16], " Oblimin: Inter-factor Correlations");
  EXPECT_EQ(lines_[23], " Oblimin Factor Structure Matrix");
  EXPECT_EQ(lines_[25].substr(0, 8), "  Item1 ");
}

TEST_F(RotationWriterTest, HyperplaneCountsWithTheirShareOfTheItems) {
  RotatedSolution solution;
  solution.method = Rotation::kOblimin;
  solution.oblique = true;
  solution.loadings = FromRows({{0.1, 0.9}, {0.8, 0.05}, {0.7, 0.3}});
  solution.structure = solution.loadings;
  solution.factor_correlations = testing::Identity(2);
  solution.hyperplane_counts = {1, 3};
  RotationWriteOptions write;
  write.sort_mode = SortMode::kOther;
  RunOutputs outputs(report_, "", "run.in");
  WriteRotatedSolution(solution, write, outputs);
  const std::vector<std::string> lines = Lines(report_.Text());
  const int banner = FindLine(lines, "0===========HYPERPLANE COUNT====================0");
  ASSERT_NE(banner, -1);
  const std::vector<std::string> expected = {
      "0===========HYPERPLANE COUNT====================0",
      "",
      "Hyperplane Count (%) for Factor  1 =   1 (.33)",
      // A share of 1 does not fit F3.2.
      "Hyperplane Count (%) for Factor  2 =   3 (***)",
      "",
      "",
      "0==============================================0",
      "",
  };
  EXPECT_EQ(std::vector<std::string>(lines.begin() + banner, lines.begin() + banner + 8), expected);
  EXPECT_EQ(lines[banner - 1], "");
  EXPECT_EQ(lines[banner - 2], "");
}

TEST_F(RotationWriterTest, SortedItemsFollowTheLastSortedSolution) {
  for (const char* rotation : {"VARIMAX", "PROMAX", "WVARIMAX"}) {
    report_.OpenInMemory(11);
    Rotate(WithItems(testing::SmallRunOptions(12, 3, rotation)));
    const int list = FindLine(lines_, " SORTED ITEMS");
    ASSERT_NE(list, -1) << rotation;
    EXPECT_EQ(lines_[list + 2], "FACTOR:    1");
    const RotatedSolution& solution = *result_.final_solution();
    EXPECT_EQ(lines_[list + 3],
              "TRUE" + FormatF(solution.loadings(0, 0), 8, 3) +
                  "  ITEM: " + PadRight("Text of item " + std::to_string(solution.order[0]), 200))
        << rotation;
    // Three headers for the three groups, and two empty lines at the end.
    EXPECT_NE(FindLine(lines_, "FACTOR:    3", list), -1);
    EXPECT_EQ(lines_[lines_.size() - 1], "");
    EXPECT_EQ(lines_[lines_.size() - 2], "");
  }
}

TEST_F(RotationWriterTest, NoListWithoutSortOrItemsOrRotation) {
  RunOptions options = testing::SmallRunOptions(12, 3, "VARIMAX");
  Rotate(options);
  EXPECT_EQ(FindLine(lines_, " SORTED ITEMS"), -1);
  options = WithItems(options);
  options.SortMode = ParseSortMode("NOSORT");
  report_.OpenInMemory(11);
  Rotate(options);
  EXPECT_EQ(FindLine(lines_, " SORTED ITEMS"), -1);
  // No rotation: nothing at all.
  options = WithItems(testing::SmallRunOptions(12, 3, "NONE"));
  report_.OpenInMemory(11);
  Rotate(options);
  EXPECT_EQ(report_.Text(), "");
}

TEST_F(RotationWriterTest, RandomAndUnrotatedStartsPrintTheSameSection) {
  RunOptions options = testing::SmallRunOptions(12, 3, "OBLIMIN");
  options.RotationEpsilon = 1e-12;
  options.RotationIterations = 500;
  Rotate(options);
  const std::string fixed_text = report_.Text();
  for (long seed : {5L, 67890L}) {
    SetRandomSeed(seed);
    options.RandomStart = ParseRandomStart("T");
    report_.OpenInMemory(11);
    Rotate(options);
    EXPECT_EQ(report_.Text(), fixed_text) << seed;
  }
}

TEST_F(RotationWriterTest, FacAndPhiHoldTheSortedPatternOnlyWhenAskedFor) {
  const std::string directory =
      ::testing::TempDir() + "vq_rotation_writer_" + std::to_string(::getpid()) + "/";
  std::filesystem::create_directories(directory);
  RunOptions options = testing::SmallRunOptions(12, 3, "OBLIMIN");
  Rotate(options, directory);
  EXPECT_FALSE(std::filesystem::exists(directory + "run.fac"));
  EXPECT_FALSE(std::filesystem::exists(directory + "run.phi"));
  options.SaveResults = true;
  options.SaveCodes = {SaveCode::kCor, SaveCode::kFac};
  Rotate(options, directory);
  OutputFile expected_fac;
  expected_fac.OpenInMemory(26);
  WriteLoadingRows(expected_fac, result_.final_solution()->loadings);
  std::stringstream fac;
  fac << std::ifstream(directory + "run.fac").rdbuf();
  EXPECT_EQ(fac.str(), expected_fac.Text());
  OutputFile expected_phi;
  expected_phi.OpenInMemory(35);
  WriteMatrixRows(expected_phi, result_.final_solution()->factor_correlations, 12, 9, 1, 999);
  std::stringstream phi;
  phi << std::ifstream(directory + "run.phi").rdbuf();
  EXPECT_EQ(phi.str(), expected_phi.Text());
  std::filesystem::remove_all(directory);
}

// Rows as a sort leaves them: items 3, 1 on factor 1; 2, 4 on factor 2; 5 on
// factor 3. Item 1 loads exactly 0 everywhere: it stays under factor 1,
// since factor 2 is not larger, and shows "FALSE".
TEST(WriteSortedItems, HeadersSignsAndTexts) {
  RotatedSolution solution;
  solution.loadings = FromRows({{0.80, 0.10, 0.00},
                                {0.00, 0.00, 0.00},
                                {0.10, -0.70, 0.20},
                                {0.05, 0.60, 0.10},
                                {0.10, 0.00, -0.50}});
  solution.order = {3, 1, 2, 4, 5};
  RotationWriteOptions write;
  for (const char* t : {"one", "two", "three", "four", "five"}) {
    write.item_texts.push_back(PadRight(t, kItemTextWidth));
  }
  OutputFile report;
  report.OpenInMemory(11);
  RunOutputs outputs(report, "", "run.in");
  WriteSortedItems(solution, write, outputs);
  const std::vector<std::string> expected = {
      "",
      "",
      " SORTED ITEMS",
      "",
      "FACTOR:    1",
      "TRUE   0.800  ITEM: " + PadRight("three", 200),
      "FALSE   0.000  ITEM: " + PadRight("one", 200),
      "",
      "FACTOR:    2",
      "FALSE  -0.700  ITEM: " + PadRight("two", 200),
      "TRUE   0.600  ITEM: " + PadRight("four", 200),
      // Row 5 is larger on factor 3 than on factor 2: an empty line and a
      // new header come before it.
      "",
      "FACTOR:    3",
      "FALSE  -0.500  ITEM: " + PadRight("five", 200),
      "",
      "",
  };
  EXPECT_EQ(Lines(report.Text()), expected);
}

TEST(WriteSortedItems, SkippedFactorIsNotSeenAtOnce) {
  // Factor 2 is empty: row 2 (main factor 3) shows 0.1 on factor 2 against
  // 0.2 on factor 1, so it stays under factor 1.
  RotatedSolution solution;
  solution.loadings = FromRows({{0.9, 0.0, 0.0}, {0.2, 0.1, 0.8}});
  solution.order = {1, 2};
  RotationWriteOptions write;
  write.item_texts = {"a", "b"};
  OutputFile report;
  report.OpenInMemory(11);
  RunOutputs outputs(report, "", "run.in");
  WriteSortedItems(solution, write, outputs);
  const std::vector<std::string> lines = Lines(report.Text());
  ASSERT_EQ(lines.size(), 9u);
  EXPECT_EQ(lines[4], "FACTOR:    1");
  EXPECT_EQ(lines[5].substr(0, 19), "TRUE   0.900  ITEM:");
  EXPECT_EQ(lines[6].substr(0, 19), "TRUE   0.200  ITEM:");
}

}  // namespace
}  // namespace vq
