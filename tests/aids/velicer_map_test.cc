#include "aids/velicer_map.h"

#include <gtest/gtest.h>

#include <cmath>
#include <stdexcept>

#include "aids/lsat7.h"

namespace vq {
namespace {

// Two orthogonal factors of four items each, loadings .7 and .6: a
// correlation matrix made exactly from them.
Matrix TwoFactorCorrelations() {
  Matrix r(8, 8);
  for (int i = 0; i < 8; ++i) {
    for (int j = 0; j < 8; ++j)
      r(i, j) = i == j ? 1.0 : (i / 4 != j / 4 ? 0.0 : i < 4 ? 0.49 : 0.36);
  }
  return r;
}

TEST(VelicerMapTest, ExactTwoFactorStructureSuggestsTwo) {
  const MapResult map = VelicerMap(TwoFactorCorrelations());
  ASSERT_EQ(map.squared.size(), 8u);
  EXPECT_EQ(map.suggested_squared, 2);
  EXPECT_EQ(map.suggested_fourth, 2);
  // m = 0 averages the observed correlations: 12 of 56 are .49, 12 are .36.
  EXPECT_NEAR(map.squared[0], 12 * (0.49 * 0.49 + 0.36 * 0.36) / 56, 1e-15);
  EXPECT_NEAR(map.fourth[0], 12 * (std::pow(0.49, 4) + std::pow(0.36, 4)) / 56, 1e-15);
  // With both factors out, each block's residuals are 1 - J/4 times its
  // uniqueness: partial correlations of -1/3 within the blocks.
  EXPECT_NEAR(map.squared[2], 24.0 / 9.0 / 56.0, 1e-14);
}

TEST(VelicerMapTest, UnrelatedItemsSuggestNone) {
  Matrix r(5, 5);
  for (int i = 0; i < 5; ++i) r(i, i) = 1.0;
  r(0, 1) = r(1, 0) = 0.05;
  const MapResult map = VelicerMap(r);
  EXPECT_EQ(map.suggested_squared, 0);
  EXPECT_EQ(map.suggested_fourth, 0);
}

// psych 2.2.9's vss map (positions 1..4) on the tetrachorics of its lsat7.
TEST(VelicerMapTest, MatchesPeerOnLsatItems) {
  const Matrix r = Lsat7Tetrachorics();
  const MapResult map = VelicerMap(r);
  const double peer[] = {0.072392852535105814,  // m = 0, (sum r^2 - 5) / 20
                         0.071874447231997513,
                         0.18011321561054802,
                         0.39229309730457568,
                         0.99999999999999667};
  for (int m = 0; m < 5; ++m) EXPECT_NEAR(map.squared[m], peer[m], 1e-12) << m;
  EXPECT_EQ(map.suggested_squared, 1);
}

TEST(VelicerMapTest, RejectsBadMatrices) {
  EXPECT_THROW(VelicerMap(Matrix(1, 1, 1.0)), std::invalid_argument);
  EXPECT_THROW(VelicerMap(Matrix(3, 2, 0.0)), std::invalid_argument);
  Matrix r = TwoFactorCorrelations();
  r(2, 3) = INFINITY;
  EXPECT_THROW(VelicerMap(r), std::invalid_argument);
}

}  // namespace
}  // namespace vq
