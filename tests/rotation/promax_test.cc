#include "rotation/promax.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "kernels/failure.h"
#include "rotation/orthomax.h"
#include "test_matrices.h"

namespace vq {
namespace {

using testing::Identity;
using testing::MaxAbsDifference;
using testing::Multiply;
using testing::Outer;
using testing::Reproduced;
using testing::Transpose;

TEST(PromaxExponents, TableForPowersTwoToSix) {
  // {k, n, d}: powers outside 2 to 6 take n = k and d = 0.
  const int expected[][3] = {
      {2, 3, 1}, {3, 5, 2}, {4, 5, 1}, {5, 7, 2}, {6, 7, 1}, {7, 7, 0}, {1, 1, 0}};
  for (const auto& row : expected) {
    const PromaxExponents e = PromaxExponentsFor(row[0]);
    EXPECT_EQ(e.n, row[1]) << "k " << row[0];
    EXPECT_EQ(e.d, row[2]) << "k " << row[0];
  }
}

TEST(PromaxTarget, EvenPowersKeepTheSignAndZeroStaysZero) {
  // Other powers: t to the k, sign as the arithmetic gives it.
  const double expected[] = {-0.5, -0.25, -0.125, -0.0625, -0.03125, -0.015625, 0, 0.00390625};
  for (int k = 1; k <= 8; ++k) {
    if (k != 7) {
      EXPECT_DOUBLE_EQ(PromaxTarget(-0.5, k), expected[k - 1]) << "k " << k;
    }
    EXPECT_EQ(PromaxTarget(0.0, k), 0.0) << "k " << k;
  }
  EXPECT_DOUBLE_EQ(PromaxTarget(0.5, 2), 0.25);
}

TEST(PromaxTarget, PowersAtTheEndsOfTheIntegerRangeEndAtOnce) {
  // A mistyped power must neither overflow nor multiply for hours.
  EXPECT_EQ(PromaxTarget(-1.0, 2147483647), -1.0);
  EXPECT_EQ(PromaxTarget(-1.0, 2147483646), 1.0);
  EXPECT_EQ(PromaxTarget(0.5, 2147483647), 0.0);
  EXPECT_EQ(PromaxTarget(0.5, -2147483647 - 1), std::numeric_limits<double>::infinity());
  // Below the squaring limit the plain product stands: 0.9 to the 1000th.
  double product = 0.9;
  for (int step = 1; step < 1000; ++step) product = product * 0.9;
  EXPECT_EQ(PromaxTarget(0.9, 1000), product);
}

// The Varimax solution of the three-factor example.
Matrix VarimaxLoadings() {
  Matrix fl = testing::ThreeFactorLoadings();
  Matrix flr, r;
  int iter = 0, ifail = 0;
  G03BAF('S', 1.0, 12, 3, fl, flr, r, 0.0001, 200, iter, ifail);
  return flr;
}

TEST(PROMAX, StatedRelationsHold) {
  const Matrix a = VarimaxLoadings();
  for (int power = 2; power <= 6; ++power) {
    Matrix pattern, phi, t;
    PROMAX(a, pattern, phi, 12, 3, power, &t);
    EXPECT_LT(MaxAbsDifference(Multiply(a, t), pattern), 1e-14) << "power " << power;
    // phi = C C' with T C = I, so phi = (T' T)^-1: its inverse is T' T.
    EXPECT_LT(MaxAbsDifference(Multiply(Multiply(Transpose(t), t), phi), Identity(3)), 1e-12)
        << "power " << power;
    for (int j = 0; j < 3; ++j) EXPECT_NEAR(phi(j, j), 1.0, 1e-13) << "power " << power;
    EXPECT_LT(MaxAbsDifference(Reproduced(pattern, phi), Outer(a)), 1e-12) << "power " << power;
  }
}

TEST(PROMAX, ReflectedColumnGivesReflectedObliqueColumn) {
  const Matrix a = VarimaxLoadings();
  Matrix reflected = a;
  for (int i = 0; i < 12; ++i) reflected(i, 1) = -reflected(i, 1);
  Matrix p1, phi1, p2, phi2;
  PROMAX(a, p1, phi1, 12, 3, 4, nullptr);
  PROMAX(reflected, p2, phi2, 12, 3, 4, nullptr);
  for (int i = 0; i < 12; ++i) {
    EXPECT_NEAR(p2(i, 1), -p1(i, 1), 1e-13);
    EXPECT_NEAR(p2(i, 0), p1(i, 0), 1e-13);
  }
  EXPECT_NEAR(phi2(0, 1), -phi1(0, 1), 1e-13);
  EXPECT_NEAR(phi2(0, 2), phi1(0, 2), 1e-13);
}

TEST(PROMAX, RowOfZerosGetsATargetOfZeros) {
  Matrix a = VarimaxLoadings();
  for (int j = 0; j < 3; ++j) a(7, j) = 0.0;
  Matrix pattern, phi;
  PROMAX(a, pattern, phi, 12, 3, 4, nullptr);
  for (double value : pattern.values) EXPECT_TRUE(std::isfinite(value));
  for (int j = 0; j < 3; ++j) EXPECT_EQ(pattern(7, j), 0.0);
  EXPECT_LT(MaxAbsDifference(Reproduced(pattern, phi), Outer(a)), 1e-12);
}

}  // namespace
}  // namespace vq
