#include "kernels/normal.h"

#include <cfloat>
#include <cmath>
#include <limits>
#include <string>

#include "kernels/failure.h"
#include "text/edit_descriptors.h"

namespace vq {
namespace {

constexpr double kSqrtHalf = 0.70710678118654752440;
constexpr double kInverseSqrtTwoPi = 0.39894228040143267794;

// Wichura's rational approximations (algorithm AS 241, PPND16): the central
// region |p - 0.5| <= 0.425 in powers of 0.180625 - (p - 0.5)^2, the tails in
// powers of sqrt(-log(tail probability)) shifted by 1.6 (up to 5) or 5.
constexpr double kCentralNumerator[8] = {3.3871328727963666080e0,
                                         1.3314166789178437745e+2,
                                         1.9715909503065514427e+3,
                                         1.3731693765509461125e+4,
                                         4.5921953931549871457e+4,
                                         6.7265770927008700853e+4,
                                         3.3430575583588128105e+4,
                                         2.5090809287301226727e+3};
constexpr double kCentralDenominator[8] = {1.0,
                                           4.2313330701600911252e+1,
                                           6.8718700749205790830e+2,
                                           5.3941960214247511077e+3,
                                           2.1213794301586595867e+4,
                                           3.9307895800092710610e+4,
                                           2.8729085735721942674e+4,
                                           5.2264952788528545610e+3};
constexpr double kNearNumerator[8] = {1.42343711074968357734e0,
                                      4.63033784615654529590e0,
                                      5.76949722146069140550e0,
                                      3.64784832476320460504e0,
                                      1.27045825245236838258e0,
                                      2.41780725177450611770e-1,
                                      2.27238449892691845833e-2,
                                      7.74545014278341407640e-4};
constexpr double kNearDenominator[8] = {1.0,
                                        2.05319162663775882187e0,
                                        1.67638483018380384940e0,
                                        6.89767334985100004550e-1,
                                        1.48103976427480074590e-1,
                                        1.51986665636164571966e-2,
                                        5.47593808499534494600e-4,
                                        1.05075007164441684324e-9};
constexpr double kFarNumerator[8] = {6.65790464350110377720e0,
                                     5.46378491116411436990e0,
                                     1.78482653991729133580e0,
                                     2.96560571828504891230e-1,
                                     2.65321895265761230930e-2,
                                     1.24266094738807843860e-3,
                                     2.71155556874348757815e-5,
                                     2.01033439929228813265e-7};
constexpr double kFarDenominator[8] = {1.0,
                                       5.99832206555887937690e-1,
                                       1.36929880922735805310e-1,
                                       1.48753612908506148525e-2,
                                       7.86869131145613259100e-4,
                                       1.84631831751005468180e-5,
                                       1.42151175831644588870e-7,
                                       2.04426310338993978564e-15};

double Polynomial(const double (&coefficients)[8], double r) {
  double value = coefficients[7];
  for (int power = 6; power >= 0; --power) value = value * r + coefficients[power];
  return value;
}

// z with Phi(z) = p for 0 < p < 1. The rational approximation is good to
// about 1e-16 relative; one Halley step on the residual, formed where it
// keeps its relative accuracy (erf in the centre, the tail's own erfc
// outside), removes what is left. In the centre the residual is taken
// against p - 0.5 and in the upper tail against 1 - p: both are exact in
// double precision for p in those ranges, so quantiles near 0 keep their
// relative accuracy and those near 1 lose nothing to 1 - p.
double NormalQuantile(double p) {
  const double q = p - 0.5;
  if (std::fabs(q) <= 0.425) {
    const double r = 0.180625 - q * q;
    double z = q * Polynomial(kCentralNumerator, r) / Polynomial(kCentralDenominator, r);
    const double residual = 0.5 * std::erf(z * kSqrtHalf) - q;
    const double density = kInverseSqrtTwoPi * std::exp(-0.5 * z * z);
    const double t = residual / density;
    z -= t / (1.0 + 0.5 * z * t);
    return z;
  }
  // Tail probability: p itself below the centre, 1 - p (exact) above it.
  const double tail = q < 0.0 ? p : 1.0 - p;
  double r = std::sqrt(-std::log(tail));
  double z;
  if (r <= 5.0) {
    r -= 1.6;
    z = Polynomial(kNearNumerator, r) / Polynomial(kNearDenominator, r);
  } else {
    r -= 5.0;
    z = Polynomial(kFarNumerator, r) / Polynomial(kFarDenominator, r);
  }
  // z > 0 here: the quantile of the upper tail probability `tail`.
  // Below the smallest normal double the tail probability has lost digits
  // of its own, and the density may underflow: the approximation stands.
  if (tail >= DBL_MIN) {
    const double upper = 0.5 * std::erfc(z * kSqrtHalf);
    const double density = kInverseSqrtTwoPi * std::exp(-0.5 * z * z);
    // Residual of Q(z) = tail, with Q' = -density and Q'' = z * density.
    const double t = (tail - upper) / density;
    z -= t / (1.0 + 0.5 * z * t);
  }
  return q < 0.0 ? -z : z;
}

}  // namespace

double G01FAF(std::string_view tail, double p, int& ifail) {
  const int caller_ifail = ifail;
  ifail = 0;
  if (tail.empty() || (tail[0] != 'L' && tail[0] != 'l')) {
    const std::string word = tail.empty() ? std::string(" ") : std::string(1, tail[0]);
    ifail =
        NagFailure("G01FAF", caller_ifail, 1, {" ** On entry, TAIL is not valid : TAIL = " + word});
    return 0.0;
  }
  if (!(p > 0.0 && p < 1.0)) {
    ifail = NagFailure("G01FAF",
                       caller_ifail,
                       2,
                       {" ** On entry, P.le.0.0 or P.ge.1.0 : P = " + FormatE(p, 13, 5)});
    return 0.0;
  }
  return NormalQuantile(p);
}

double DNORIN(double p) {
  ImslClearCode();
  if (!(p > 0.0 && p < 1.0)) {
    ImslError(kImslTerminal,
              1,
              "DNORIN",
              "The argument to the function must be greater than 0.0 and less than 1.0.  P = " +
                  ImslReal(p));
    return std::numeric_limits<double>::quiet_NaN();
  }
  return NormalQuantile(p);
}

double DNORDF(double x) { return 0.5 * std::erfc(-x * kSqrtHalf); }

}  // namespace vq
