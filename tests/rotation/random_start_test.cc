#include "rotation/random_start.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "test_matrices.h"

namespace vq {
namespace {

using testing::MaxAbsDifference;
using testing::Outer;
using testing::RowSumsOfSquares;

TEST(NormalDeviate, HasMeanZeroAndUnitVariance) {
  SetRandomSeed(987654);
  const int n = 200000;
  double sum = 0.0;
  double squares = 0.0;
  int beyond_two = 0;
  for (int k = 0; k < n; ++k) {
    const double z = NormalDeviate();
    sum += z;
    squares += z * z;
    if (std::fabs(z) > 2.0) ++beyond_two;
  }
  const double mean = sum / n;
  EXPECT_NEAR(mean, 0.0, 0.01);
  EXPECT_NEAR(squares / n - mean * mean, 1.0, 0.015);
  // P(|Z| > 2) = 0.0455.
  EXPECT_NEAR(static_cast<double>(beyond_two) / n, 0.0455, 0.002);
  ResetRandomGenerator();
}

TEST(RandomOrientation, IsAnOrthogonalTurnFromFifteenDeviatesPerFactor) {
  SetRandomSeed(77);
  const Matrix before = testing::ThreeFactorLoadings();
  Matrix loadings = before;
  RandomOrientation(loadings, 12, 3);
  EXPECT_GT(MaxAbsDifference(loadings, before), 0.01);
  // An orthogonal turn keeps every row length and every inner product.
  EXPECT_LT(MaxAbsDifference(Outer(loadings), Outer(before)), 1e-12);
  const std::vector<double> a = RowSumsOfSquares(loadings);
  const std::vector<double> b = RowSumsOfSquares(before);
  for (int i = 0; i < 12; ++i) EXPECT_NEAR(a[i], b[i], 1e-13);
  const double after_orientation = UniformDeviate();
  SetRandomSeed(77);
  for (int k = 0; k < 45; ++k) NormalDeviate();
  EXPECT_EQ(UniformDeviate(), after_orientation);
  ResetRandomGenerator();
}

}  // namespace
}  // namespace vq
