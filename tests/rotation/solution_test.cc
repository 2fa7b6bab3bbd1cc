#include "rotation/solution.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "frame/console.h"
#include "test_matrices.h"
#include "text/edit_descriptors.h"

namespace vq {
namespace {

using testing::FromRows;

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

TEST(HyperplaneCounts, CountsTheEdgeOfTheBand) {
  const Matrix a = FromRows({{0.2, 0.9}, {-0.2, 0.1}, {0.21, 0.0}, {0.7, 0.3}});
  EXPECT_EQ(HyperplaneCounts(a, 0.2), (std::vector<int>{2, 2}));
  EXPECT_EQ(HyperplaneCounts(a, 1.0), (std::vector<int>{4, 4}));
  EXPECT_EQ(HyperplaneCounts(a, 0.0), (std::vector<int>{0, 1}));
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

}  // namespace
}  // namespace vq
