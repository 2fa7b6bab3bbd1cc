#include "kernels/normal.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "frame/console.h"
#include "kernels/failure.h"

namespace vq {
namespace {

// Reference quantile by bisection in long double, on the form of the
// distribution function that keeps relative accuracy for the given p: the
// lower tail below 0.075, erf about the centre, the upper tail (against the
// exact 1 - p) above 0.925.
double ReferenceQuantile(double p) {
  const long double sqrt_half = 0.70710678118654752440084436210484903928L;
  const long double p_long = p;
  auto excess = [&](long double z) -> long double {
    if (p < 0.075) return 0.5L * std::erfc(-z * sqrt_half) - p_long;
    if (p > 0.925) return (1.0L - p_long) - 0.5L * std::erfc(z * sqrt_half);
    return 0.5L * std::erf(z * sqrt_half) - (p_long - 0.5L);
  };
  long double low = -40.0L, high = 40.0L;
  for (int step = 0; step < 400; ++step) {
    const long double middle = 0.5L * (low + high);
    if (middle == low || middle == high) break;
    (excess(middle) < 0.0L ? low : high) = middle;
  }
  return static_cast<double>(0.5L * (low + high));
}

// Lower tail log-spaced from 1e-300, the centre and the switches at
// |p - 0.5| = 0.425, the upper tail up to 1 - 1e-16.
std::vector<double> Probabilities() {
  std::vector<double> ps = {0.5 + 1e-12, 0.5 - 3e-9, 0.075, 0.925, 1.0 - 1e-16};
  for (double e = -300.0; e < -0.31; e += 0.37) ps.push_back(std::pow(10.0, e));
  for (int k = 1; k < 1000; ++k) ps.push_back(k / 1000.0 + 0.000123);
  for (double e = -0.31; e > -16.0; e -= 0.173) ps.push_back(1.0 - std::pow(10.0, e));
  return ps;
}

TEST(G01FAF, MatchesLongDoubleReferenceToFullPrecision) {
  double worst = 0.0;
  for (double p : Probabilities()) {
    int ifail = kIfailSoft;
    const double z = G01FAF("Lower-tail", p, ifail);
    ASSERT_EQ(ifail, 0);
    const double reference = ReferenceQuantile(p);
    worst = std::max(worst, std::fabs(z - reference) / std::fabs(reference));
    EXPECT_EQ(DNORIN(p), z) << p;
  }
  // Full double precision: a few units in the last place.
  EXPECT_LE(worst, 4e-16);
  int ifail = 0;
  EXPECT_EQ(G01FAF("Lower-tail", 0.5, ifail), 0.0);
  EXPECT_NEAR(G01FAF("l", 0.025, ifail), -1.959963984540054, 1e-15);
}

TEST(DNORDF, DistributionFunction) {
  EXPECT_EQ(DNORDF(0.0), 0.5);
  EXPECT_NEAR(DNORDF(-1.0) / 0.15865525393145705, 1.0, 1e-15);
  // Underflow in the far tail is no error.
  EXPECT_EQ(DNORDF(-40.0), 0.0);
  EXPECT_EQ(DNORDF(40.0), 1.0);
  int ifail = 0;
  for (double p : {1e-100, 0.003, 0.6}) {
    EXPECT_NEAR(DNORDF(G01FAF("L", p, ifail)) / p, 1.0, 1e-14);
  }
}

}  // namespace
}  // namespace vq
