#include "rotation/rotation.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "frame/console.h"
#include "test_matrices.h"
#include "text/edit_descriptors.h"

namespace vq {
namespace {

using testing::FromRows;
using testing::MaxAbsDifference;
using testing::Outer;
using testing::RowSumsOfSquares;

TEST(RotationStages, PromaxRunsVarimaxFirstAndOneFactorNothing) {
  using Stages = std::vector<Rotation>;
  EXPECT_EQ(RotationStages(Rotation::kPromax, 3), (Stages{Rotation::kVarimax, Rotation::kPromax}));
  for (Rotation rotation : {Rotation::kVarimax,
                            Rotation::kWeightedVarimax,
                            Rotation::kOblimin,
                            Rotation::kHarrisKaiser}) {
    EXPECT_EQ(RotationStages(rotation, 2), Stages{rotation});
    EXPECT_EQ(RotationStages(rotation, 1), Stages{});
  }
  for (Rotation rotation : {Rotation::kNone, Rotation::kOneFactor, Rotation::kOther}) {
    EXPECT_EQ(RotationStages(rotation, 3), Stages{});
  }
}

TEST(PrepareGivenPattern, IdentityCorrelationsKeepColumnsUpToOrderAndSign) {
  const Matrix given = FromRows({{0.6, 0.2}, {0.1, 0.7}, {0.5, 0.5}});
  Matrix loadings = given;
  const Matrix phi = testing::Identity(2);
  std::vector<double> h2, variance;
  PrepareGivenPattern(&phi, loadings, h2, variance);
  // Column j is +-column k of the given pattern for some k.
  for (int j = 0; j < 2; ++j) {
    double closest = 1.0;
    for (int k = 0; k < 2; ++k) {
      for (double sign : {1.0, -1.0}) {
        double worst = 0.0;
        for (int i = 0; i < 3; ++i)
          worst = std::max(worst, std::fabs(loadings(i, j) - sign * given(i, k)));
        closest = std::min(closest, worst);
      }
    }
    EXPECT_LT(closest, 1e-15) << "column " << j;
  }
}

TEST(PrepareGivenPattern, CorrelatedFactorsTurnByTheirEigenvectors) {
  const Matrix given = FromRows({{0.6, 0.2}, {0.1, 0.7}, {0.5, 0.5}});
  Matrix loadings = given;
  const Matrix phi = FromRows({{1.0, 0.5}, {0.5, 1.0}});
  std::vector<double> h2, variance;
  PrepareGivenPattern(&phi, loadings, h2, variance);
  // Eigenvectors (1, 1) / sqrt 2 for 1.5, then (-1, 1) / sqrt 2 for 0.5,
  // the largest component positive: no scaling by the eigenvalues.
  const double k = 1.0 / std::sqrt(2.0);
  EXPECT_NEAR(loadings(0, 0), (0.6 + 0.2) * k, 1e-15);
  EXPECT_NEAR(std::fabs(loadings(0, 1)), std::fabs(0.2 - 0.6) * k, 1e-15);
  EXPECT_LT(MaxAbsDifference(Outer(loadings), Outer(given)), 1e-15);
  EXPECT_NEAR(h2[0], 0.4, 1e-15);
}

}  // namespace
}  // namespace vq
