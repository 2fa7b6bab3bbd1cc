#include "aids/chi_square.h"

#include <gtest/gtest.h>

#include <cmath>

namespace vq {
namespace {

// Reference values from R 4.2's pchisq (lower.tail = FALSE, and with ncp).
TEST(ChiSquareTest, UpperTailMatchesReferenceTable) {
  struct Case {
    double x, df, expected;
  };
  const Case cases[] = {
      {3.841458820694124, 1, 0.049999999999999975},
      {0.5, 2, 0.77880078307140488},
      {55.32601, 5, 1.118541140113527e-10},
      {300, 250, 0.016518273157868718},
      {1, 10, 0.99982788437004411},
      {0.001, 1, 0.97477287936996038},
      {30, 3, 1.3800570312932547e-06},
  };
  for (const Case& c : cases) {
    EXPECT_NEAR(ChiSquareUpperTail(c.x, c.df) / c.expected, 1.0, 1e-12) << c.x << " " << c.df;
  }
  EXPECT_EQ(ChiSquareUpperTail(0.0, 3), 1.0);
  EXPECT_TRUE(std::isnan(ChiSquareUpperTail(1.0, 0.0)));
}

TEST(ChiSquareTest, NoncentralMatchesReferenceTable) {
  struct Case {
    double x, df, ncp, expected;
  };
  const Case cases[] = {
      {55.32601, 5, 20, 0.9956255167481709},
      {10, 3, 0.5, 0.96552026793853996},
      {4000, 185, 3500, 0.99507542329127574},
      {3, 4, 10, 0.018527858030317979},
  };
  for (const Case& c : cases) {
    EXPECT_NEAR(NoncentralChiSquareCdf(c.x, c.df, c.ncp) / c.expected, 1.0, 1e-9) << c.x;
  }
  // Beyond a noncentrality of 1e6 the approximation takes over.
  EXPECT_NEAR(NoncentralChiSquareCdf(1.003e6, 50, 1e6), 0.92981236796853295, 1e-9);
  EXPECT_NEAR(NoncentralChiSquareCdf(1.003e6, 50, 1e6 + 1e-6), 0.92981236796853295, 1e-5);
  // No noncentrality: the central distribution.
  EXPECT_DOUBLE_EQ(NoncentralChiSquareCdf(7.0, 4, 0.0), 1.0 - ChiSquareUpperTail(7.0, 4));
}

}  // namespace
}  // namespace vq
