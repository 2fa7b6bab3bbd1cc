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

using testing::MaxAbsDifference;
using testing::Multiply;
using testing::Outer;
using testing::Reproduced;
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

class ObliqueTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ResetImslState();
    communalities_ = RowSumsOfSquares(testing::ThreeFactorLoadings());
    r_ = Matrix(12, 12);
    for (int i = 0; i < 12; ++i) r_(i, i) = communalities_[i];
  }
  void TearDown() override {
    ResetImslState();
    ResetRandomGenerator();
  }
  RotationResult RotateBy(const RotationOptions& options) {
    return Rotate(testing::ThreeFactorLoadings(), communalities_, r_, options, SilentProgress());
  }
  std::vector<double> communalities_;
  Matrix r_;
};

TEST_F(ObliqueTest, RandomAndUnrotatedStartsGiveTheSameOblimin) {
  RotationOptions options = SmallRotationOptions(12, Rotation::kOblimin);
  options.epsilon = 1e-12;
  options.max_iterations = 500;
  const RotationResult fixed = RotateBy(options);
  for (long seed : {5L, 67890L}) {
    SetRandomSeed(seed);
    options.random_start = RandomStart::kRandom;
    const RotationResult random = RotateBy(options);
    EXPECT_LT(MaxAbsDifference(random.final_solution()->loadings, fixed.final_solution()->loadings),
              1e-6);
    EXPECT_EQ(random.final_solution()->order, fixed.final_solution()->order);
  }
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

TEST(UniqueVariances, ByModel) {
  const std::vector<double> h2 = {0.5, 0.25, 1.2};
  Matrix r = testing::Identity(3);
  r(0, 0) = 0.4;
  r(1, 1) = 0.3;
  r(2, 2) = 0.2;
  EXPECT_EQ(UniqueVariances(Model::kPrincipalFactors, h2, r, 3),
            (std::vector<double>{0.6, 0.7, 0.8}));
  EXPECT_EQ(UniqueVariances(Model::kComponents, h2, r, 3), (std::vector<double>{1.0, 1.0, 1.0}));
  const std::vector<double> d = UniqueVariances(Model::kRotate, h2, Matrix(), 3);
  EXPECT_DOUBLE_EQ(d[0], 0.5);
  EXPECT_DOUBLE_EQ(d[1], 0.75);
  EXPECT_DOUBLE_EQ(d[2], 1.0 - 1.2);
}

}  // namespace
}  // namespace vq
