#include "rotation/orthogonal.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "frame/console.h"
#include "rotation/random_start.h"
#include "test_matrices.h"
#include "text/edit_descriptors.h"

namespace vq {
namespace {

using testing::FindLine;
using testing::Lines;
using testing::MaxAbsDifference;
using testing::Outer;
using testing::RowSumsOfSquares;

TEST(CuretonMulaikWeight, HighestAtEqualLoadingsAndFloorAtTheEnds) {
  for (int m : {2, 3, 5}) {
    const double s = std::sqrt(1.0 / m);
    // Rounding may lift a normalised loading just above 1.
    for (double x : {0.0, 1.0, 1.0 + 4e-16}) EXPECT_DOUBLE_EQ(CuretonMulaikWeight(x, m), 0.001);
    EXPECT_DOUBLE_EQ(CuretonMulaikWeight(s, m), 1.001) << "m " << m;
    // Falling on both sides of s.
    for (double step : {0.1, -0.1}) {
      EXPECT_GT(CuretonMulaikWeight(s, m), CuretonMulaikWeight(s + step, m));
      EXPECT_GT(CuretonMulaikWeight(s + step, m), CuretonMulaikWeight(s + 2 * step, m));
    }
  }
  // m = 2: s = cos 45 degrees; x = cos 30 degrees gives E = 90 (45 - 30) /
  // 45 = 30 and the weight cos^2 30 + 0.001 = 0.751; x = cos 60 degrees
  // gives E = 90 (60 - 45) / 45 = 30 as well.
  EXPECT_NEAR(CuretonMulaikWeight(std::sqrt(3.0) / 2.0, 2), 0.751, 1e-13);
  EXPECT_NEAR(CuretonMulaikWeight(0.5, 2), 0.751, 1e-13);
}

class OrthogonalSectionTest : public ::testing::Test {
 protected:
  void SetUp() override { report_.OpenInMemory(11); }
  void TearDown() override { ResetRandomGenerator(); }
  OutputFile report_;
  RotationResults results_;
};

TEST_F(OrthogonalSectionTest, VarimaxUnsortedSectionInOrder) {
  RunOptions options = testing::SmallRunOptions(12, 3, "VARIMAX");
  options.SortMode = ParseSortMode("NOSORT");
  Matrix loadings = testing::ThreeFactorLoadings();
  RunVarimax(options, loadings, 12, 3, results_, report_, "", "run.in");
  const std::vector<std::string> lines = Lines(report_.Text());
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
  EXPECT_EQ(lines[23], "");
  EXPECT_EQ(lines[24].substr(0, 29), "Varimax Objective function = ");
  EXPECT_EQ(lines[24].size(), 35u);
  EXPECT_EQ(lines[25], "");
  EXPECT_EQ(lines[26], "");
  EXPECT_EQ(lines[27], "0===========HYPERPLANE COUNT====================0");
  EXPECT_EQ(lines[29].substr(0, 31), "Hyperplane Count (%) for Factor");
  EXPECT_EQ(lines[34], "0==============================================0");
  EXPECT_EQ(lines[35], "");
  EXPECT_EQ(lines.size(), 36u);

  // The variance row sums the squared loadings of each column.
  double first = 0.0;
  for (int i = 0; i < 12; ++i) first += std::pow(results_.RotatedLoadings(i, 0), 2);
  EXPECT_EQ(lines[22].substr(2, 8), FormatF(first, 8, 3));
  EXPECT_TRUE(results_.orthogonal);
  EXPECT_EQ(MaxAbsDifference(results_.ItemOrderLoadings, results_.RotatedLoadings), 0.0);
}

TEST_F(OrthogonalSectionTest, VarimaxSortedTableUsesSortedDefaultLabels) {
  RunOptions options = testing::SmallRunOptions(12, 3, "VARIMAX");
  Matrix loadings = testing::ThreeFactorLoadings();
  RunVarimax(options, loadings, 12, 3, results_, report_, "", "run.in");
  const std::vector<std::string> lines = Lines(report_.Text());
  EXPECT_EQ(lines[4], " VARIMAX: Sorted Factor Loadings");
  for (int place = 0; place < 12; ++place) {
    const std::string label = "V" + FormatI(results_.Order[place], 3, 3);
    EXPECT_EQ(lines[6 + place].substr(1, 4), label) << place;
    for (int j = 0; j < 3; ++j) {
      EXPECT_EQ(results_.RotatedLoadings(place, j),
                results_.ItemOrderLoadings(results_.Order[place] - 1, j));
    }
  }
  // Factors ordered by variance and reflected: column sums of squares fall.
  double previous = 1e9;
  for (int j = 0; j < 3; ++j) {
    double sum = 0.0;
    for (int i = 0; i < 12; ++i) sum += std::pow(results_.RotatedLoadings(i, j), 2);
    EXPECT_LE(sum, previous);
    previous = sum;
  }
}

TEST_F(OrthogonalSectionTest, OtherSortWordPrintsNoLoadingTable) {
  RunOptions options = testing::SmallRunOptions(12, 3, "VARIMAX");
  options.SortMode = ParseSortMode("NOSORT");
  options.LabelMode = ParseLabelMode("ODD");
  Matrix loadings = testing::ThreeFactorLoadings();
  RunVarimax(options, loadings, 12, 3, results_, report_, "", "run.in");
  const std::vector<std::string> lines = Lines(report_.Text());
  EXPECT_EQ(FindLine(lines, " Varimax Rotated Factor Loadings"), -1);
  EXPECT_EQ(lines[6], " Variance explained by each rotated factor");
}

TEST_F(OrthogonalSectionTest, RandomAndUnrotatedStartsReachTheSameSolution) {
  RunOptions options = testing::SmallRunOptions(12, 3, "VARIMAX");
  Matrix loadings = testing::ThreeFactorLoadings();
  options.RotationEpsilon = 1e-10;
  RunVarimax(options, loadings, 12, 3, results_, report_, "", "run.in");
  const Matrix fixed_start = results_.RotatedLoadings;
  const std::string fixed_text = report_.Text();

  for (long seed : {11L, 12345L, 999999L}) {
    SetRandomSeed(seed);
    options.RandomStart = ParseRandomStart("T");
    loadings = testing::ThreeFactorLoadings();
    OutputFile report;
    report.OpenInMemory(11);
    RotationResults random;
    RunVarimax(options, loadings, 12, 3, random, report, "", "run.in");
    EXPECT_LT(MaxAbsDifference(random.RotatedLoadings, fixed_start), 1e-6) << "seed " << seed;
    EXPECT_EQ(report.Text(), fixed_text) << "seed " << seed;
  }
}

TEST_F(OrthogonalSectionTest, WeightedVarimaxKeepsCommunalitiesAndInnerProducts) {
  RunOptions options = testing::SmallRunOptions(12, 3, "WVARIMAX");
  Matrix start = testing::ThreeFactorLoadings();
  // A row with a negative first loading and equal loadings of opposite sign.
  start(2, 0) = -0.45;
  start(2, 1) = 0.45;
  start(2, 2) = 0.1;
  const std::vector<double> communalities = RowSumsOfSquares(start);
  Matrix loadings = start;
  options.SortMode = ParseSortMode("NOSORT");
  RunWeightedVarimax(options, loadings, communalities, 12, 3, results_, report_, "", "run.in");
  const std::vector<double> after = RowSumsOfSquares(results_.RotatedLoadings);
  for (int i = 0; i < 12; ++i) EXPECT_NEAR(after[i], communalities[i], 1e-12) << i;
  // Reflection and weights are undone: the solution is an orthogonal turn of
  // the input, the reflected row included.
  EXPECT_LT(MaxAbsDifference(Outer(results_.RotatedLoadings), Outer(start)), 1e-12);
  const std::vector<std::string> lines = Lines(report_.Text());
  EXPECT_EQ(lines[4], " Varimax Rotated Factor Loadings  (Cureton - Mulaik Weights)");
  for (const std::string& line : lines) {
    EXPECT_EQ(line.find("Objective"), std::string::npos);
  }
}

TEST_F(OrthogonalSectionTest, WeightedVarimaxSortedTitleAndPlotTitle) {
  RunOptions options = testing::SmallRunOptions(12, 3, "WVARIMAX");
  options.PlotMode = ParsePlotMode("ALL");
  Matrix loadings = testing::ThreeFactorLoadings();
  const std::vector<double> communalities = RowSumsOfSquares(loadings);
  RunWeightedVarimax(options, loadings, communalities, 12, 3, results_, report_, "", "run.in");
  const std::vector<std::string> lines = Lines(report_.Text());
  EXPECT_EQ(lines[4], " VARIMAX: Sorted Factor Loadings  (Cureton - Mulaik Weights)");
  const int plots =
      FindLine(lines, PadRight("Factor Pattern Plots:  Weighted Varimax Rotation", 80));
  const int closing = FindLine(lines, "0==============================================0");
  EXPECT_GT(plots, closing);
  EXPECT_NE(FindLine(lines, "Factor X =   1   Factor Y =  2", plots), -1);
  EXPECT_NE(FindLine(lines, "Factor X =   2   Factor Y =  3", plots), -1);
}

TEST_F(OrthogonalSectionTest, WeightedVarimaxRowWithoutCommunalityStaysZero) {
  RunOptions options = testing::SmallRunOptions(12, 3, "WVARIMAX");
  Matrix loadings = testing::ThreeFactorLoadings();
  for (int j = 0; j < 3; ++j) loadings(6, j) = 0.0;
  const std::vector<double> communalities = RowSumsOfSquares(loadings);
  RunWeightedVarimax(options, loadings, communalities, 12, 3, results_, report_, "", "run.in");
  for (double value : results_.ItemOrderLoadings.values) EXPECT_TRUE(std::isfinite(value));
  for (int j = 0; j < 3; ++j) EXPECT_EQ(results_.ItemOrderLoadings(6, j), 0.0);
}

TEST_F(OrthogonalSectionTest, SweepsUsedUpShowTheTraceLineAndForVarimaxThePause) {
  for (const char* rotation : {"VARIMAX", "WVARIMAX"}) {
    RunOptions options = testing::SmallRunOptions(12, 3, rotation);
    options.RotationIterations = 0;
    options.RotationEpsilon = 0.0;
    Matrix loadings = testing::ThreeFactorLoadings();
    const std::vector<double> communalities = RowSumsOfSquares(loadings);
    ConsoleCapture capture("\n");
    if (rotation[0] == 'V') {
      RunVarimax(options, loadings, 12, 3, results_, report_, "", "run.in");
      EXPECT_EQ(capture.Out(),
                "roblem occured at line       1448\n"
                "Rotation Failed to Converge\n"
                "Pause - Enter command<CR> or <CR> to continue.\n");
    } else {
      RunWeightedVarimax(options, loadings, communalities, 12, 3, results_, report_, "", "run.in");
      EXPECT_EQ(capture.Out(), "roblem occured at line       1258\n");
    }
    EXPECT_TRUE(results_.orthogonal);
  }
}

TEST_F(OrthogonalSectionTest, NotANumberStopsTheRunWithBothTexts) {
  RunOptions options = testing::SmallRunOptions(12, 3, "VARIMAX");
  options.RotationIterations = 3;
  Matrix loadings = testing::ThreeFactorLoadings();
  loadings(0, 0) = std::numeric_limits<double>::quiet_NaN();
  ConsoleCapture capture("\n");
  EXPECT_THROW(RunVarimax(options, loadings, 12, 3, results_, report_, "", "run.in"), RunStopped);
  const std::string expected_console = std::string("roblem occured at line       1448\n") +
                                       "\n\n\n" + Blanks(28) +
                                       "Fatal Error: Serious problems occured during Varimax "
                                       "Rotation\n\n\n\n" +
                                       "Pause - Enter command<CR> or <CR> to continue.\n"
                                       "Stop - Program terminated.\n"
                                       "Program Terminated with exit code 0\n";
  EXPECT_EQ(capture.Out(), expected_console);
  EXPECT_EQ(report_.Text(),
            "\n\n\n****Serious problems occured during Varimax Rotation****\n" + Blanks(18) +
                " Execution Terminated\n");
}

}  // namespace
}  // namespace vq
