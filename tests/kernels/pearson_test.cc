#include "kernels/pearson.h"

#include <gtest/gtest.h>

#include <cmath>

#include "frame/console.h"
#include "kernels/failure.h"

namespace vq {
namespace {

Matrix FromRows(int n, int m, std::initializer_list<double> values) {
  Matrix x(n, m);
  auto it = values.begin();
  for (int i = 0; i < n; ++i)
    for (int j = 0; j < m; ++j) x(i, j) = *it++;
  return x;
}

TEST(G02BAF, KnownMeansDeviationsAndCorrelations) {
  // Columns (1,2,3,4), (2,4,6,9), (4,3,2,1).
  Matrix x = FromRows(4, 3, {1, 2, 4, 2, 4, 3, 3, 6, 2, 4, 9, 1});
  std::vector<double> xbar, sd;
  Matrix ssp, r;
  int ifail = kIfailHard;
  G02BAF(4, 3, x, xbar, sd, ssp, r, ifail);
  EXPECT_EQ(ifail, 0);
  EXPECT_DOUBLE_EQ(xbar[0], 2.5);
  EXPECT_DOUBLE_EQ(xbar[1], 5.25);
  EXPECT_DOUBLE_EQ(xbar[2], 2.5);
  EXPECT_DOUBLE_EQ(ssp(0, 0), 5.0);
  EXPECT_DOUBLE_EQ(ssp(1, 1), 26.75);
  EXPECT_DOUBLE_EQ(ssp(1, 0), 11.5);
  EXPECT_DOUBLE_EQ(ssp(0, 1), 11.5);
  EXPECT_DOUBLE_EQ(ssp(2, 0), -5.0);
  EXPECT_DOUBLE_EQ(sd[0], std::sqrt(5.0 / 3.0));
  EXPECT_DOUBLE_EQ(sd[1], std::sqrt(26.75 / 3.0));
  EXPECT_DOUBLE_EQ(r(1, 0), 11.5 / std::sqrt(5.0 * 26.75));
  EXPECT_EQ(r(1, 0), r(0, 1));
  EXPECT_DOUBLE_EQ(r(2, 0), -1.0);
  for (int j = 0; j < 3; ++j) EXPECT_NEAR(r(j, j), 1.0, 1e-15);
}

TEST(G02BAF, ConstantVariableGivesZeroRowAndColumnWithoutMessage) {
  Matrix x = FromRows(3, 3, {1, 7, 2, 2, 7, 4, 3, 7, 3});
  std::vector<double> xbar, sd;
  Matrix ssp, r;
  int ifail = kIfailHard;
  ConsoleCapture capture;
  G02BAF(3, 3, x, xbar, sd, ssp, r, ifail);
  EXPECT_EQ(ifail, 0);
  EXPECT_EQ(capture.Out(), "");
  EXPECT_EQ(sd[1], 0.0);
  EXPECT_DOUBLE_EQ(xbar[1], 7.0);
  for (int j = 0; j < 3; ++j) {
    EXPECT_EQ(r(1, j), 0.0);
    EXPECT_EQ(r(j, 1), 0.0);
  }
  EXPECT_NEAR(r(0, 0), 1.0, 1e-15);
  EXPECT_DOUBLE_EQ(r(2, 0), 0.5);
}

TEST(G02BAF, TooFewSubjectsOrVariablesFail) {
  Matrix x(1, 3, 1.0);
  std::vector<double> xbar, sd;
  Matrix ssp, r;
  ConsoleCapture capture;
  int ifail = kIfailQuiet;
  G02BAF(1, 3, x, xbar, sd, ssp, r, ifail);
  EXPECT_EQ(ifail, 1);
  EXPECT_TRUE(xbar.empty());
  Matrix y(5, 1, 1.0);
  ifail = kIfailSoft;
  G02BAF(5, 1, y, xbar, sd, ssp, r, ifail);
  EXPECT_EQ(ifail, 2);
  EXPECT_EQ(capture.Out(),
            "** ABNORMAL EXIT from NAG Library routine G02BAF: IFAIL =     2\n"
            "** NAG soft failure - control returned\n");
  ifail = kIfailHard;
  EXPECT_THROW(G02BAF(1, 3, x, xbar, sd, ssp, r, ifail), RunStopped);
}

}  // namespace
}  // namespace vq
