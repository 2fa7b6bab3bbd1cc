#include "kernels/bivariate_normal.h"

#include <gtest/gtest.h>

#include <cmath>
#include <utility>
#include <vector>

#include "frame/console.h"
#include "kernels/failure.h"
#include "kernels/normal.h"

namespace vq {
namespace {

using Real = long double;

const Real kSqrtHalf = 0.70710678118654752440084436210484903928L;
const Real kInverseSqrtTwoPi = 0.39894228040143267793994605993438186848L;

// Gauss-Kronrod 7/15: positive nodes with their Kronrod weights and, on
// every second node, the Gauss weight.
const Real kRule[8][3] = {
    {0.991455371120812639206L, 0.022935322010529224963L, 0.0L},
    {0.949107912342758524526L, 0.063092092629978553290L, 0.129484966168869693270L},
    {0.864864423359769072789L, 0.104790010322250183839L, 0.0L},
    {0.741531185599394439863L, 0.140653259715525918745L, 0.279705391489276667901L},
    {0.586087235467691130294L, 0.169004726639267902826L, 0.0L},
    {0.405845151377397166906L, 0.190350578064785409913L, 0.381830050505118944950L},
    {0.207784955007898467600L, 0.204432940075298892414L, 0.0L},
    {0.0L, 0.209482141084727828012L, 0.417959183673469387755L}};

// The integrand phi(t) Phi((y - rho t) / sqrt(1 - rho^2)) of the lower
// orthant probability, in long double.
struct Integrand {
  Real y, rho, s;
  Real operator()(Real t) const {
    const Real inner = (y - rho * t) / s;
    return kInverseSqrtTwoPi * std::exp(-0.5L * t * t) * 0.5L * std::erfc(-inner * kSqrtHalf);
  }
};

Real Adaptive(const Integrand& f, Real a, Real b, Real tolerance, int depth) {
  const Real centre = 0.5L * (a + b);
  const Real half = 0.5L * (b - a);
  Real kronrod = 0.0L;
  Real gauss = 0.0L;
  for (const auto& [node, kronrod_weight, gauss_weight] : kRule) {
    const Real values =
        node == 0.0L ? f(centre) : f(centre - half * node) + f(centre + half * node);
    kronrod += kronrod_weight * values;
    gauss += gauss_weight * values;
  }
  kronrod *= half;
  gauss *= half;
  if (std::fabs(kronrod - gauss) <= tolerance || depth > 40) return kronrod;
  return Adaptive(f, a, centre, 0.5L * tolerance, depth + 1) +
         Adaptive(f, centre, b, 0.5L * tolerance, depth + 1);
}

// P(X <= x, Y <= y) by quadrature over the first variable.
double Reference(double x, double y, double rho) {
  const Integrand f{y, rho, std::sqrt(1.0L - static_cast<Real>(rho) * rho)};
  Real upper = std::min<Real>(x, 40.0L);
  if (upper <= -40.0L) return 0.0;
  // Split at the point where the inner argument changes sign, where the
  // integrand bends most sharply.
  Real result = 0.0L;
  Real lower = -40.0L;
  const Real bend = static_cast<Real>(y) / rho;
  if (bend > lower && bend < upper) {
    result += Adaptive(f, lower, bend, 1e-17L, 0);
    lower = bend;
  }
  result += Adaptive(f, lower, upper, 1e-17L, 0);
  return static_cast<double>(result);
}

double Phi(double x) { return DNORDF(x); }

// Divgi's table is a minimax fit: its error oscillates in the radius and
// peaks, a few times 1e-10, near the origin; beyond a radius of about 1 it
// stays below 1e-10.
TEST(G01HAF, AgreesWithQuadrature) {
  const std::vector<double> rhos = {
      -0.99, -0.95, -0.8, -0.6, -0.35, -0.1, 0.05, 0.2, 0.45, 0.7, 0.9, 0.97, 0.99};
  std::vector<double> thresholds = {-0.04, -0.013, 0.021, 0.07};
  for (int step = -10; step <= 10; ++step) thresholds.push_back(0.35 * step);
  double worst = 0.0;
  double worst_outside = 0.0;
  for (double x : thresholds) {
    for (double y : thresholds) {
      for (double rho : rhos) {
        int ifail = 0;
        const double value = G01HAF(x, y, rho, ifail);
        ASSERT_EQ(ifail, 0);
        const double error = std::fabs(value - Reference(x, y, rho));
        worst = std::max(worst, error);
        if (std::hypot(x, y) >= 1.5) worst_outside = std::max(worst_outside, error);
      }
    }
  }
  EXPECT_LE(worst, 1e-9);
  EXPECT_LE(worst_outside, 1e-10);
}

// Near a threshold of 0 (within rounding), acos of a cosine close to 1
// magnifies the rounding of that cosine; the result stays within 1e-8.
TEST(G01HAF, ThresholdWithinRoundingOfZero) {
  for (double tiny : {5.5511151231257827e-16, -3e-16, 1e-12, 1e-9}) {
    for (double other : {-1.5, 0.5, 3.0}) {
      for (double rho : {-0.6, 0.2, 0.45}) {
        int ifail = 0;
        EXPECT_NEAR(G01HAF(other, tiny, rho, ifail), Reference(other, tiny, rho), 1e-8);
        EXPECT_NEAR(G01HAF(tiny, other, rho, ifail), Reference(tiny, other, rho), 1e-8);
      }
    }
  }
}

TEST(G01HAF, ClosedFormsAndLimits) {
  const double kInf = 999999.0;
  const double nearly_one = std::nextafter(1.0, 0.0);
  const struct {
    double x, y, rho, expected, tolerance;
  } cases[] = {
      // rho = 0: the product of the margins, also at the infinite thresholds.
      {0.3, -0.4, 0.0, Phi(0.3) * Phi(-0.4), 2e-16},
      {kInf, -0.4, 0.0, Phi(-0.4), 2e-16},
      {-kInf, 0.4, 0.0, 0.0, 0.0},
      // Both thresholds 0, also at rho = 1 and -1.
      {0.0, 0.0, 0.5, 0.25 + std::asin(0.5) / (2.0 * M_PI), 2e-16},
      {0.0, 0.0, 1.0, 0.5, 0.0},
      {0.0, 0.0, -1.0, 0.0, 0.0},
      // rho = 1: the smaller margin; rho = -1: -y <= X <= x.
      {0.5, -0.2, 1.0, Phi(-0.2), 0.0},
      {-1.5, 0.0, 1.0, Phi(-1.5), 0.0},
      {0.5, -0.2, -1.0, Phi(0.5) - Phi(0.2), 0.0},
      {-0.5, 0.2, -1.0, 0.0, 0.0},
      {0.3, -0.3, -1.0, 0.0, 0.0},
      // Rounding cannot make the rule for rho near 1 give a negative or a NaN.
      {1.0, std::nextafter(1.0, 2.0), nearly_one, Phi(1.0), 1e-7},
  };
  for (const auto& c : cases) {
    int ifail = 0;
    EXPECT_NEAR(G01HAF(c.x, c.y, c.rho, ifail), c.expected, c.tolerance)
        << c.x << " " << c.y << " " << c.rho;
    EXPECT_EQ(ifail, 0);
  }
  // An infinite threshold gives the other margin for either sign of rho.
  int ifail = 0;
  for (double rho : {-0.9, -0.3, 0.4, 0.95}) {
    for (double t : {-2.0, 0.0, 0.7}) {
      EXPECT_NEAR(G01HAF(kInf, t, rho, ifail), Phi(t), 1e-15) << rho << " " << t;
      EXPECT_NEAR(G01HAF(t, kInf, rho, ifail), Phi(t), 1e-15) << rho << " " << t;
      EXPECT_EQ(G01HAF(-kInf, t, rho, ifail), 0.0);
      EXPECT_EQ(G01HAF(t, -kInf, rho, ifail), 0.0);
    }
    EXPECT_EQ(G01HAF(kInf, kInf, rho, ifail), 1.0);
    EXPECT_EQ(G01HAF(-kInf, kInf, rho, ifail), 0.0);
  }
}

TEST(G01HAF, CorrelationOutsideTheIntervalIsFailureOne) {
  ConsoleCapture capture;
  int ifail = kIfailSoft;
  EXPECT_EQ(G01HAF(0.1, 0.2, 1.5, ifail), 0.0);
  EXPECT_EQ(ifail, 1);
  EXPECT_EQ(capture.Out(),
            "** On entry, RHO.lt.-1.0 .or. RHO.gt.1.0 : RHO =    0.15000E+01\n"
            "** ABNORMAL EXIT from NAG Library routine G01HAF: IFAIL =     1\n"
            "** NAG soft failure - control returned\n");
  ifail = kIfailHard;
  EXPECT_THROW(G01HAF(0.1, 0.2, -1.0000001, ifail), RunStopped);
  ifail = kIfailQuiet;
  EXPECT_EQ(G01HAF(0.1, 0.2, std::nan(""), ifail), 0.0);
  EXPECT_EQ(ifail, 1);
}

// The set form must give G01HAF's doubles bit for bit: every branch of the
// series (signs of x, y and of the wedge terms, truncation of |d| at 1), the
// points G01HAF takes another way (x = y = 0, the infinities of +-999999,
// thresholds far enough out for the density to underflow, rho = +-1 and 0),
// and more points than one block holds.
TEST(BivariateNormalCorners, SameDoublesAsOnePointAtATime) {
  const std::vector<double> thresholds = {-999999.0,
                                          -38.0,
                                          -3.1,
                                          -1.5,
                                          -0.52,
                                          -1e-300,
                                          0.0,
                                          1e-300,
                                          0.25,
                                          0.5,
                                          1.0,
                                          2.7,
                                          40.0,
                                          999999.0};
  BivariateNormalCorners corners;
  std::vector<std::pair<double, double>> points;
  for (double x : thresholds) {
    for (double y : thresholds) {
      ASSERT_TRUE(corners.Add(x, y));
      points.emplace_back(x, y);
    }
  }
  ASSERT_EQ(corners.size(), static_cast<int>(points.size()));
  const std::vector<double> rhos = {
      -1.0, -0.9999999, -0.9, -0.55, -0.05, -1e-12, 0.0, 1e-12, 0.05, 0.3, 0.45, 0.9, 0.99, 1.0};
  for (double rho : rhos) {
    std::vector<double> values(points.size());
    int ifail = kIfailHard;
    corners.Evaluate(rho, ifail, values.data());
    EXPECT_EQ(ifail, 0);
    for (std::size_t k = 0; k < points.size(); ++k) {
      int one = kIfailHard;
      const double expected = G01HAF(points[k].first, points[k].second, rho, one);
      // Bit for bit: the same double, and the same sign of a zero.
      EXPECT_EQ(std::signbit(values[k]), std::signbit(expected));
      EXPECT_EQ(values[k], expected)
          << "x " << points[k].first << " y " << points[k].second << " rho " << rho;
    }
  }
}

TEST(BivariateNormalCorners, FullSetAndFailuresAsOnePointAtATime) {
  BivariateNormalCorners corners;
  for (int k = 0; k < BivariateNormalCorners::kCapacity; ++k) {
    ASSERT_TRUE(corners.Add(0.01 * k - 1.0, 0.5 - 0.003 * k));
  }
  EXPECT_FALSE(corners.Add(0.0, 0.0));
  std::vector<double> values(BivariateNormalCorners::kCapacity, -1.0);
  int ifail = kIfailQuiet;
  corners.Evaluate(1.5, ifail, values.data());
  EXPECT_EQ(ifail, 1);
  for (double value : values) EXPECT_EQ(value, 0.0);
  ifail = kIfailHard;
  ConsoleCapture capture;
  EXPECT_THROW(corners.Evaluate(-1.5, ifail, values.data()), RunStopped);
  corners.Clear();
  EXPECT_EQ(corners.size(), 0);
  ifail = kIfailQuiet;
  corners.Evaluate(0.5, ifail, values.data());
  EXPECT_EQ(ifail, 0);
}

}  // namespace
}  // namespace vq
