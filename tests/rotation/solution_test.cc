#include "rotation/solution.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "frame/console.h"
#include "report/edit_descriptors.h"
#include "test_matrices.h"

namespace vq {
namespace {

using testing::FromRows;
using testing::Lines;

TEST(ItemLabelsFor, LabelsDefaultLabelsOrBlanks) {
  std::vector<std::string> labels;
  DefaultLabels(1000, labels);
  ASSERT_EQ(labels.size(), 1000u);
  EXPECT_EQ(labels[0], "V001           ");
  EXPECT_EQ(labels[998], "V999           ");
  EXPECT_EQ(labels[999], "V***           ");
  RunOptions options = testing::SmallRunOptions(2, 2, "VARIMAX");
  options.LabelMode = PadRight("LABELS", kLabelModeWidth);
  options.Labels = {"Anxiety", "Mood"};
  EXPECT_EQ(ItemLabelsFor(options, 2),
            (std::vector<std::string>{"Anxiety        ", "Mood           "}));
  options.LabelMode = PadRight("NOLABELS", kLabelModeWidth);
  EXPECT_EQ(ItemLabelsFor(options, 2)[1], "V002           ");
  options.LabelMode = PadRight("OTHER", kLabelModeWidth);
  EXPECT_EQ(ItemLabelsFor(options, 2)[0], Blanks(15));
}

TEST(SortLoadings, GroupsByMainFactorWithStaircase) {
  Matrix a = FromRows({{0.10, 0.60, 0.05},
                       {0.70, 0.20, 0.10},
                       {-0.40, 0.40, 0.00},  // a tie: the lower factor wins
                       {0.20, -0.80, 0.10},  // negative sorts by its size
                       {0.50, 0.10, 0.00},
                       {0.50, 0.30, 0.20}});  // equal to item 5: item order stays
  std::vector<int> order;
  SortLoadings(a, 6, 3, order);
  EXPECT_EQ(order, (std::vector<int>{2, 5, 6, 3, 4, 1}));
  EXPECT_EQ(a(0, 0), 0.70);
  EXPECT_EQ(a(3, 0), -0.40);
  EXPECT_EQ(a(4, 1), -0.80);
  EXPECT_EQ(a(5, 1), 0.60);
  EXPECT_EQ(a(5, 2), 0.05);
  // Factor 3 has no item: an empty group takes no place, the column stays.
  EXPECT_EQ(a.cols, 3);
}

TEST(HyperplaneCount, CountsTheEdgeOfTheBand) {
  const Matrix a = FromRows({{0.2, 0.9}, {-0.2, 0.1}, {0.21, 0.0}, {0.7, 0.3}});
  OutputFile out;
  out.OpenInMemory(11);
  HyperplaneCount(a, 4, 2, 1, out, 0.2);
  HyperplaneCount(a, 4, 2, 2, out, 0.2);
  HyperplaneCount(a, 4, 2, 2, out, 1.0);
  HyperplaneCount(a, 4, 2, 1, out, 0.0);
  EXPECT_EQ(out.Text(),
            "Hyperplane Count (%) for Factor  1 =   2 (.50)\n"
            "Hyperplane Count (%) for Factor  2 =   2 (.50)\n"
            "Hyperplane Count (%) for Factor  2 =   4 (***)\n"
            "Hyperplane Count (%) for Factor  1 =   0 (.00)\n");
}

TEST(Moment, CorrectionTermOverTwoAndPauseBelowTwoValues) {
  const double data[] = {1.0, 2.0, 3.0, 4.0};
  double variance = 0.0;
  moment(data, 4, variance);
  EXPECT_DOUBLE_EQ(variance, 5.0 / 3.0);
  // The sum of the deviations is zero up to rounding only: the correction
  // divides its square by 2, not by n.
  const double uneven[] = {0.1, 0.7, 0.3};
  moment(uneven, 3, variance);
  const double mean = (0.1 + 0.7 + 0.3) / 3;
  const double d[] = {0.1 - mean, 0.7 - mean, 0.3 - mean};
  const double ep = d[0] + d[1] + d[2];
  const double ss = d[0] * d[0] + d[1] * d[1] + d[2] * d[2];
  EXPECT_EQ(variance, (ss - ep * ep / 2.0) / 2.0);
  ConsoleCapture capture("\n");
  variance = -1.0;
  moment(data, 1, variance);
  EXPECT_EQ(capture.Out(),
            "n must be at least 2 in subroutine moment\n"
            "Pause - Enter command<CR> or <CR> to continue.\n");
  EXPECT_EQ(variance, 0.0);
}

TEST(ObjectiveFunction, SumOfVariancesOfSquares) {
  const Matrix a = FromRows({{1.0, 0.0}, {0.0, 1.0}, {0.0, 0.0}});
  // Squares per column (1, 0, 0): variance 1/3 each.
  EXPECT_DOUBLE_EQ(ObjectiveFunction(a, 3, 2), 2.0 / 3.0);
}

TEST(ListSortedItems, SkippedFactorIsNotSeenAtOnce) {
  // Factor 2 is empty: row 2 (main factor 3) shows 0.1 on factor 2 against
  // 0.2 on factor 1, so it stays under factor 1.
  const Matrix a = FromRows({{0.9, 0.0, 0.0}, {0.2, 0.1, 0.8}});
  const std::vector<int> order = {1, 2};
  const std::vector<std::string> texts = {"a", "b"};
  OutputFile out;
  out.OpenInMemory(11);
  ListSortedItems(a, 2, 3, order, texts, out);
  const std::vector<std::string> lines = Lines(out.Text());
  ASSERT_EQ(lines.size(), 9u);
  EXPECT_EQ(lines[4], "FACTOR:    1");
  EXPECT_EQ(lines[5].substr(0, 19), "TRUE   0.900  ITEM:");
  EXPECT_EQ(lines[6].substr(0, 19), "TRUE   0.200  ITEM:");
}

}  // namespace
}  // namespace vq
