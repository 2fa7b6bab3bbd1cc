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

}  // namespace
}  // namespace vq
