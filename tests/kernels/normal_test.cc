#include "kernels/normal.h"

#include <gtest/gtest.h>

#include <cmath>
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
  long double low = -40.0L;
  long double high = 40.0L;
  for (int step = 0; step < 400; ++step) {
    const long double middle = 0.5L * (low + high);
    if (middle == low || middle == high) break;
    if (excess(middle) < 0.0L) {
      low = middle;
    } else {
      high = middle;
    }
  }
  return static_cast<double>(0.5L * (low + high));
}

std::vector<double> Probabilities() {
  std::vector<double> ps;
  // Lower tail, log-spaced from 1e-300.
  for (double exponent = -300.0; exponent < -0.31; exponent += 0.37) {
    ps.push_back(std::pow(10.0, exponent));
  }
  // The centre and the region around the switch at |p - 0.5| = 0.425.
  for (int k = 1; k < 1000; ++k) ps.push_back(k / 1000.0 + 0.000123);
  ps.push_back(0.5 + 1e-12);
  ps.push_back(0.5 - 3e-9);
  ps.push_back(0.075);
  ps.push_back(0.925);
  // Upper tail up to 1 - 1e-16.
  for (double exponent = -0.31; exponent > -16.0; exponent -= 0.173) {
    ps.push_back(1.0 - std::pow(10.0, exponent));
  }
  ps.push_back(1.0 - 1e-16);
  return ps;
}

TEST(G01FAF, MatchesLongDoubleReferenceToFullPrecision) {
  double worst = 0.0;
  for (double p : Probabilities()) {
    int ifail = 0;
    const double z = G01FAF("Lower-tail", p, ifail);
    ASSERT_EQ(ifail, 0);
    const double reference = ReferenceQuantile(p);
    const double error = std::fabs(z - reference) / std::fabs(reference);
    EXPECT_LE(error, 1e-14) << "p = " << p << " z = " << z << " reference = " << reference;
    worst = std::max(worst, error);
  }
  // The claim is full double precision: a few units in the last place.
  EXPECT_LE(worst, 4e-16);
}

TEST(G01FAF, KnownQuantilesAndSymmetry) {
  int ifail = 0;
  EXPECT_EQ(G01FAF("Lower-tail", 0.5, ifail), 0.0);
  EXPECT_NEAR(G01FAF("L", 0.975, ifail), 1.959963984540054, 1e-15);
  EXPECT_NEAR(G01FAF("l", 0.025, ifail), -1.959963984540054, 1e-15);
  EXPECT_NEAR(G01FAF("Lower-tail", 0.84134474606854293, ifail), 1.0, 1e-15);
  EXPECT_EQ(ifail, 0);
  for (double p : {0.01, 0.2, 0.3, 0.49}) {
    EXPECT_NEAR(G01FAF("L", p, ifail), -G01FAF("L", 1.0 - p, ifail), 1e-15);
  }
}

TEST(G01FAF, FailureTwoAtZeroAndOneSoftGivesZero) {
  ConsoleCapture capture;
  int ifail = kIfailSoft;
  EXPECT_EQ(G01FAF("Lower-tail", 0.0, ifail), 0.0);
  EXPECT_EQ(ifail, 2);
  ifail = kIfailSoft;
  EXPECT_EQ(G01FAF("Lower-tail", 1.0, ifail), 0.0);
  EXPECT_EQ(ifail, 2);
  EXPECT_EQ(capture.Out(),
            "** On entry, P.le.0.0 or P.ge.1.0 : P =   0.00000E+00\n"
            "** ABNORMAL EXIT from NAG Library routine G01FAF: IFAIL =     2\n"
            "** NAG soft failure - control returned\n"
            "** On entry, P.le.0.0 or P.ge.1.0 : P =   0.10000E+01\n"
            "** ABNORMAL EXIT from NAG Library routine G01FAF: IFAIL =     2\n"
            "** NAG soft failure - control returned\n");
}

TEST(G01FAF, HardFailureStopsQuietIsSilent) {
  ConsoleCapture capture;
  int ifail = kIfailQuiet;
  EXPECT_EQ(G01FAF("Lower-tail", -0.25, ifail), 0.0);
  EXPECT_EQ(ifail, 2);
  EXPECT_EQ(capture.Out(), "");
  ifail = kIfailHard;
  EXPECT_THROW(G01FAF("Lower-tail", 1.5, ifail), RunStopped);
  EXPECT_EQ(capture.Out(),
            "** On entry, P.le.0.0 or P.ge.1.0 : P =   0.15000E+01\n"
            "** ABNORMAL EXIT from NAG Library routine G01FAF: IFAIL =     2\n"
            "** NAG hard failure - execution terminated\n"
            "Stop - Program terminated.\nProgram Terminated with exit code 0\n");
}

TEST(G01FAF, SuccessClearsIfail) {
  int ifail = kIfailSoft;
  G01FAF("Lower-tail", 0.3, ifail);
  EXPECT_EQ(ifail, 0);
}

TEST(DNORIN, AgreesWithG01FAF) {
  int ifail = 0;
  for (double p : {1e-200, 1e-5, 0.1, 0.5, 0.77, 1.0 - 1e-9}) {
    EXPECT_EQ(DNORIN(p), G01FAF("L", p, ifail));
  }
}

TEST(DNORIN, TerminalErrorByDefaultStops) {
  ResetImslState();
  ConsoleCapture capture;
  EXPECT_THROW(DNORIN(0.0), RunStopped);
  EXPECT_EQ(capture.Out(),
            "*** TERMINAL ERROR 1 from DNORIN.  The argument to the function must be\n"
            "***          greater than 0.0 and less than 1.0.  P = 0.000000E+00\n"
            "Stop - Program terminated.\nProgram Terminated with exit code 0\n");
  EXPECT_EQ(IERCD(), 1);
  ResetImslState();
}

TEST(DNORIN, SwitchedOffGivesNaNSilently) {
  ResetImslState();
  ConsoleCapture capture;
  ERSET(0, 0, 0);
  EXPECT_TRUE(std::isnan(DNORIN(1.0)));
  EXPECT_EQ(capture.Out(), "");
  EXPECT_EQ(IERCD(), 1);
  EXPECT_FALSE(std::isnan(DNORIN(0.25)));
  EXPECT_EQ(IERCD(), 0);
  ResetImslState();
}

TEST(DNORDF, DistributionFunction) {
  EXPECT_EQ(DNORDF(0.0), 0.5);
  EXPECT_NEAR(DNORDF(1.959963984540054), 0.975, 1e-16);
  EXPECT_NEAR(DNORDF(-1.0) / 0.15865525393145705, 1.0, 1e-15);
  // Underflow in the far tail is no error.
  EXPECT_EQ(DNORDF(-40.0), 0.0);
  EXPECT_EQ(DNORDF(40.0), 1.0);
  // Round trip through the quantile.
  int ifail = 0;
  for (double p : {1e-100, 0.003, 0.6}) {
    EXPECT_NEAR(DNORDF(G01FAF("L", p, ifail)) / p, 1.0, 1e-14);
  }
}

}  // namespace
}  // namespace vq
