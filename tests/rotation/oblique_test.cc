#include "rotation/oblique.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "frame/console.h"
#include "kernels/eigen.h"
#include "kernels/failure.h"
#include "kernels/pearson.h"
#include "rotation/random_start.h"
#include "rotation/rotation.h"
#include "test_matrices.h"

namespace vq {
namespace {

using testing::RowSumsOfSquares;
using testing::SmallRotationOptions;

// Principal factor loadings of a sample drawn from two correlated factors
// (correlation 0.4): items 1-5 load 0.75 .. 0.55 on the first factor only,
// items 6-10 the same on the second.
Matrix SimulatedTwoFactorLoadings() {
  const int n = 4000, p = 10;
  const double loading[5] = {0.75, 0.70, 0.65, 0.60, 0.55};
  SetRandomSeed(424242);
  Matrix data(n, p);
  for (int subject = 0; subject < n; ++subject) {
    const double f1 = NormalDeviate();
    const double f2 = 0.4 * f1 + std::sqrt(1.0 - 0.16) * NormalDeviate();
    for (int item = 0; item < p; ++item) {
      const double l = loading[item % 5];
      const double f = item < 5 ? f1 : f2;
      data(subject, item) = l * f + std::sqrt(1.0 - l * l) * NormalDeviate();
    }
  }
  ResetRandomGenerator();
  std::vector<double> means, deviations;
  Matrix products, r;
  int ifail = 0;
  G02BAF(n, p, data, means, deviations, products, r, ifail);

  // Principal factors with iterated communalities.
  Matrix loadings(p, 2);
  for (int pass = 0; pass < 200; ++pass) {
    std::vector<double> values;
    Matrix vectors;
    DEVESF(p, 2, r, false, values, vectors);
    for (int j = 0; j < 2; ++j) {
      for (int i = 0; i < p; ++i) loadings(i, j) = vectors(i, j) * std::sqrt(values[j]);
    }
    const std::vector<double> h2 = RowSumsOfSquares(loadings);
    for (int i = 0; i < p; ++i) r(i, i) = h2[i];
  }
  return loadings;
}

TEST(Recovery, ObliminAndPromaxFindTheFactorCorrelation) {
  const Matrix start = SimulatedTwoFactorLoadings();
  const std::vector<double> h2 = RowSumsOfSquares(start);
  const Matrix r;
  for (Rotation rotation : {Rotation::kOblimin, Rotation::kPromax}) {
    const RotationResult result =
        Rotate(start, h2, r, SmallRotationOptions(10, rotation), SilentProgress());
    const RotatedSolution& solution = *result.final_solution();
    EXPECT_NEAR(solution.factor_correlations(0, 1), 0.4, 0.05);
    // Each item finds its own factor, with a loading near its true value.
    const double loading[5] = {0.75, 0.70, 0.65, 0.60, 0.55};
    const Matrix& pattern = solution.item_order_loadings;
    const int own_first = std::fabs(pattern(0, 0)) > 0.5 ? 0 : 1;
    for (int item = 0; item < 10; ++item) {
      const int own = item < 5 ? own_first : 1 - own_first;
      EXPECT_NEAR(pattern(item, own), loading[item % 5], 0.08) << "item " << item;
      EXPECT_NEAR(pattern(item, 1 - own), 0.0, 0.08) << "item " << item;
    }
  }
}

}  // namespace
}  // namespace vq
