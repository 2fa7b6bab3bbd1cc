#include "kernels/bivariate_normal.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <string>

#include "kernels/failure.h"
#include "text/edit_descriptors.h"

namespace vq {
namespace {

constexpr double kTwoPi = 6.283185307179586476925;

// Coefficients of Divgi's polynomial approximation to the Mills-type ratio
// that the two wedge terms of the polar form need.
constexpr double kDivgi[15] = {1.2533139981133488,
                               -0.9999965103691757,
                               0.6266247471388643,
                               -0.3331772955807063,
                               0.1562074741613398,
                               -0.06578280633906367,
                               0.02491553885120917,
                               -0.008348891468410323,
                               0.0023979262116288155,
                               -0.0005665277298906061,
                               0.00010508139384820294,
                               -0.000014495937454221354,
                               0.0000013832041191137141,
                               -0.00000008083999468696517,
                               0.000000002168140662177079};

double Sign(double v) { return v < 0.0 ? -1.0 : 1.0; }

// The limit when the density factor exp(-r^2 / 2) is gone: perfect
// correlation (s = 0) or thresholds so far out that the factor underflows.
double DegenerateLimit(double x, double y, double rho, double q) {
  if (rho >= 0.0) return 0.5 * std::erfc(-q * std::min(x, y));
  if (x <= -y) return 0.0;
  return 0.5 * (std::erfc(-q * x) - std::erfc(q * y));
}

}  // namespace

double G01HAF(double x, double y, double rho, int& ifail) {
  const int caller_ifail = ifail;
  ifail = 0;
  if (!(std::fabs(rho) <= 1.0)) {
    ifail = NagFailure("G01HAF",
                       caller_ifail,
                       1,
                       {" ** On entry, RHO.lt.-1.0 .or. RHO.gt.1.0 : RHO = " + std::string(" ") +
                        FormatE(rho, 13, 5)});
    return 0.0;
  }
  const double q = std::sqrt(0.5);
  const double lnmin = std::log(DBL_MIN);

  double result;
  if (rho == 0.0) {
    result = 0.25 * std::erfc(-q * x) * std::erfc(-q * y);
  } else if (x == 0.0 && y == 0.0) {
    result = 0.25 + std::asin(rho) / kTwoPi;
  } else {
    const double s = std::sqrt(1.0 - rho * rho);
    // Mathematically x^2 + y^2 - 2 rho x y > 0 here; only rounding with rho
    // within a few units of +-1 can leave it at or below 0, where the
    // density factor is 1 in name but the limit is the right value.
    const double c_squared = x * x + y * y - 2.0 * rho * x * y;
    double c = 0.0;
    double r = 0.0;
    double e = 0.0;
    bool degenerate = s == 0.0 || !(c_squared > 0.0);
    if (!degenerate) {
      c = std::sqrt(c_squared);
      r = c / s;
      e = -(r * 0.5 * r);
      degenerate = e <= lnmin;
    }
    if (degenerate) {
      result = DegenerateLimit(x, y, rho, q);
    } else {
      const double u = std::fabs(x) / r;
      const double v = std::fabs(y) / r;
      const double d1 = (rho * x - y) / c;
      const double d2 = (rho * y - x) / c;
      const double sx = -Sign(x);
      const double sy = -Sign(y);
      const double t1 = Sign(d1);
      const double t2 = Sign(d2);
      const double m1 = t1 * sx;
      const double m2 = t2 * sy;
      const double g1 = std::min(std::fabs(d1), 1.0);
      const double g2 = std::min(std::fabs(d2), 1.0);
      const double a1 = std::acos(g1);
      const double a2 = std::acos(g2);
      // C(n) for n = 1 .. 16; C(n) needs C(n - 2) only.
      double coefficient[17];
      coefficient[1] = m2 * a2 + m1 * a1;
      coefficient[2] = m2 * v + m1 * u;
      double w1 = m1 * u;
      double w2 = m2 * v;
      double rr = r;
      double t = coefficient[1] - coefficient[2] * kDivgi[0] * r;
      for (int term = 3; term <= 16; ++term) {
        w1 = g1 * w1;
        w2 = g2 * w2;
        rr = r * rr;
        coefficient[term] = ((term - 2) * coefficient[term - 2] + w1 + w2) / (term - 1);
        t = t - kDivgi[term - 2] * coefficient[term] * rr;
      }
      result = std::exp(e) * t / kTwoPi;
      if (t1 < 0.0) result += 0.5 * sx * std::erfc(q * std::fabs(x));
      if (t2 < 0.0) result += 0.5 * sy * std::erfc(q * std::fabs(y));
      if (sx < 0.0 && sy < 0.0) result += 1.0;
    }
  }
  if (result < 0.0) result = 0.0;
  return result;
}

}  // namespace vq
