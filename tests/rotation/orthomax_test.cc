#include "rotation/orthomax.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "frame/console.h"
#include "kernels/failure.h"
#include "test_matrices.h"

namespace vq {
namespace {

using testing::FromRows;
using testing::Identity;
using testing::MaxAbsDifference;
using testing::Multiply;
using testing::RowSumsOfSquares;
using testing::Transpose;

struct Rotated {
  Matrix flr;
  Matrix r;
  int iter = 0;
  int ifail = 0;
};

Rotated Orthomax(Matrix& fl, char stand, double acc = 0.0001, int maxit = 200) {
  Rotated out;
  G03BAF(stand, 1.0, fl.rows, fl.cols, fl, out.flr, out.r, acc, maxit, out.iter, out.ifail);
  return out;
}

TEST(G03BAF, FindsTheSimpleStructureKeepingCommunalities) {
  const Matrix start = testing::ThreeFactorLoadings();
  for (char stand : {'S', 'U'}) {
    Matrix fl = start;
    const Rotated out = Orthomax(fl, stand);
    EXPECT_EQ(out.ifail, 0);
    EXPECT_LT(MaxAbsDifference(Multiply(Transpose(out.r), out.r), Identity(3)), 1e-13);
    EXPECT_LT(MaxAbsDifference(Multiply(start, out.r), out.flr), 1e-13);
    const std::vector<double> before = RowSumsOfSquares(start);
    const std::vector<double> after = RowSumsOfSquares(out.flr);
    for (int i = 0; i < 12; ++i) EXPECT_NEAR(after[i], before[i], 1e-13);
    // The input comes back as it went in, up to rounding, also under "S".
    EXPECT_LT(MaxAbsDifference(fl, start), 1e-15);
    if (stand == 'U') continue;
    // Every item has one loading above 0.55 in size and two below 0.2.
    for (int i = 0; i < 12; ++i) {
      int high = 0, low = 0;
      for (int j = 0; j < 3; ++j) {
        high += std::fabs(out.flr(i, j)) > 0.55;
        low += std::fabs(out.flr(i, j)) < 0.2;
      }
      EXPECT_EQ(high, 1) << "item " << i;
      EXPECT_EQ(low, 2) << "item " << i;
    }
  }
}

TEST(G03BAF, PairWithZeroNumeratorStaysOrTurnsBy45DegreesByTheDenominator) {
  // Rows (1, 0), (0, 1): num = 0 and den = 2, the pair stays; the second
  // test sees no change. Rows (k, k), (k, -k): num = +0 and den = -2; the
  // sign bit of num is clear, so cos = sin = 1 / sqrt(2).
  const double k = 1.0 / std::sqrt(2.0);
  Matrix unit = FromRows({{1.0, 0.0}, {0.0, 1.0}});
  const Rotated stays = Orthomax(unit, 'U');
  EXPECT_EQ(stays.ifail, 0);
  EXPECT_EQ(stays.iter, 2);
  EXPECT_LT(MaxAbsDifference(stays.flr, unit), 1e-15);
  Matrix diagonal = FromRows({{k, k}, {k, -k}});
  const Rotated turns = Orthomax(diagonal, 'U');
  EXPECT_EQ(turns.ifail, 0);
  EXPECT_LT(MaxAbsDifference(turns.flr, FromRows({{1.0, 0.0}, {0.0, -1.0}})), 1e-15);
  EXPECT_NEAR(turns.r(0, 0), k, 1e-15);
  EXPECT_NEAR(turns.r(1, 0), k, 1e-15);
}

// The orthomax criterion, written out: per column the sum of the fourth
// powers less g / nvar times the squared sum of the squares.
double OrthomaxCriterion(const Matrix& x, double g) {
  double v = 0.0;
  for (int j = 0; j < x.cols; ++j) {
    double fourth = 0.0, squares = 0.0;
    for (int i = 0; i < x.rows; ++i) {
      fourth += std::pow(x(i, j), 4);
      squares += x(i, j) * x(i, j);
    }
    v += fourth - g / x.rows * squares * squares;
  }
  return v;
}

// The rotated loadings are a maximum of the criterion: turning any pair of
// columns by any angle does not raise it, and it is not below the start.
// Two columns have one maximum in a quarter turn, so there it is the
// largest. Columns of unequal size test the denominator's sign.
TEST(G03BAF, TheRotationMaximisesTheCriterionInEveryPlane) {
  std::mt19937 random(5);
  std::uniform_real_distribution<double> uniform(-1.0, 1.0);
  std::vector<Matrix> starts = {testing::ThreeFactorLoadings()};
  for (int m = 0; m < 30; ++m) {
    Matrix noisy(4 + m % 7, 2 + m % 3);
    for (int j = 0; j < noisy.cols; ++j) {
      const double size = 0.55 + 0.45 * uniform(random);
      for (int i = 0; i < noisy.rows; ++i) noisy(i, j) = size * uniform(random);
    }
    starts.push_back(noisy);
  }
  for (const Matrix& start : starts) {
    for (const double g : {0.0, 0.5, 1.0}) {
      Matrix fl = start, flr, r;
      int iter = 0, ifail = 0;
      G03BAF('U', g, fl.rows, fl.cols, fl, flr, r, 1e-12, 500, iter, ifail);
      ASSERT_EQ(ifail, 0) << g;
      const double best = OrthomaxCriterion(flr, g);
      EXPECT_GE(best, OrthomaxCriterion(start, g) - 1e-12) << g;
      for (int l = 0; l + 1 < flr.cols; ++l) {
        for (int q = l + 1; q < flr.cols; ++q) {
          for (const double angle : {-1.2, -0.3, -0.01, 0.001, 0.05, 0.7}) {
            Matrix turned = flr;
            for (int i = 0; i < flr.rows; ++i) {
              turned(i, l) = std::cos(angle) * flr(i, l) + std::sin(angle) * flr(i, q);
              turned(i, q) = -std::sin(angle) * flr(i, l) + std::cos(angle) * flr(i, q);
            }
            EXPECT_LE(OrthomaxCriterion(turned, g), best + 1e-12)
                << "g " << g << ", columns " << l << " " << q << ", angle " << angle;
          }
        }
      }
    }
  }
}

}  // namespace
}  // namespace vq
