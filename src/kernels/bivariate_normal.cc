#include "kernels/bivariate_normal.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <string>

#include "kernels/failure.h"
#include "text/edit_descriptors.h"

// The series of a set of points runs on the widest vector registers the
// processor has: IEEE sums, products and quotients lane by lane, the same
// doubles as one point at a time (no fused multiply-add: -ffp-contract=off).
#if defined(__x86_64__) && defined(__GNUC__) && !defined(__clang__)
#define VQ_VECTOR_CLONES __attribute__((target_clones("avx", "default")))
#else
#define VQ_VECTOR_CLONES
#endif

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

// Points of BivariateNormalCorners whose series are summed side by side.
constexpr int kSeriesBlock = 16;

// The terms 3 to 16 of the polar series of kSeriesBlock points, each point
// in its own lane: C(n) = ((n - 2) C(n - 2) + w1 + w2) / (n - 1), the odd
// terms building on the odd ones (`odd` starts as C(1)) and the even on the
// even ones (`even` starts as C(2)), and the sum t - Divgi(n - 2) C(n) r^n.
// A loop of fixed length over all lanes, unused ones holding zeros, which
// the compiler runs on vector registers; every lane does the operations of
// G01HAF in G01HAF's order, so the wider registers of the processors that
// have them give the same doubles.
// The lanes of the series of kSeriesBlock points: what each point's G01HAF
// holds in its loop over the terms.
struct SeriesLanes {
  double g1[kSeriesBlock];
  double g2[kSeriesBlock];
  double radius[kSeriesBlock];
  double w1[kSeriesBlock];
  double w2[kSeriesBlock];
  double power[kSeriesBlock];
  double odd[kSeriesBlock];
  double even[kSeriesBlock];
  double series[kSeriesBlock];
};

// One term n of the series in every lane; `previous` is C(n - 2) and
// becomes C(n).
inline void SumSeriesTerm(int term, double (&previous)[kSeriesBlock], SeriesLanes& lanes) {
  const double factor = term - 2;
  const double divisor = term - 1;
  const double coefficient = kDivgi[term - 2];
  for (int j = 0; j < kSeriesBlock; ++j) {
    lanes.w1[j] = lanes.g1[j] * lanes.w1[j];
    lanes.w2[j] = lanes.g2[j] * lanes.w2[j];
    lanes.power[j] = lanes.radius[j] * lanes.power[j];
    previous[j] = (factor * previous[j] + lanes.w1[j] + lanes.w2[j]) / divisor;
    lanes.series[j] = lanes.series[j] - coefficient * previous[j] * lanes.power[j];
  }
}

VQ_VECTOR_CLONES
void SumSeriesTerms(SeriesLanes& lanes) {
  for (int term = 3; term < 16; term += 2) {
    SumSeriesTerm(term, lanes.odd, lanes);
    SumSeriesTerm(term + 1, lanes.even, lanes);
  }
}

// The quotients of the polar form for kSeriesBlock points at one rho (s =
// sqrt(1 - rho^2)): from x, y and c = sqrt(x^2 + y^2 - 2 rho x y) the
// radius r = c / s, u = |x| / r, v = |y| / r and the wedge arguments
// d1 = (rho x - y) / c, d2 = (rho y - x) / c, lane by lane as G01HAF makes
// them.
struct QuotientLanes {
  double x[kSeriesBlock];
  double y[kSeriesBlock];
  double c[kSeriesBlock];
  double r[kSeriesBlock];
  double u[kSeriesBlock];
  double v[kSeriesBlock];
  double d1[kSeriesBlock];
  double d2[kSeriesBlock];
};

VQ_VECTOR_CLONES
void PolarQuotients(double rho, double s, QuotientLanes& lanes) {
  for (int j = 0; j < kSeriesBlock; ++j) {
    lanes.r[j] = lanes.c[j] / s;
    lanes.u[j] = std::fabs(lanes.x[j]) / lanes.r[j];
    lanes.v[j] = std::fabs(lanes.y[j]) / lanes.r[j];
    lanes.d1[j] = (rho * lanes.x[j] - lanes.y[j]) / lanes.c[j];
    lanes.d2[j] = (rho * lanes.y[j] - lanes.x[j]) / lanes.c[j];
  }
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

bool BivariateNormalCorners::Add(double x, double y) {
  if (count_ == kCapacity) return false;
  const double q = std::sqrt(0.5);
  const int k = count_++;
  x_[k] = x;
  y_[k] = y;
  squares_[k] = x * x + y * y;
  sx_[k] = -Sign(x);
  sy_[k] = -Sign(y);
  tail_x_[k] = 0.5 * sx_[k] * std::erfc(q * std::fabs(x));
  tail_y_[k] = 0.5 * sy_[k] * std::erfc(q * std::fabs(y));
  return true;
}

void BivariateNormalCorners::Evaluate(double rho, int& ifail, double* out) const {
  const int caller_ifail = ifail;
  ifail = 0;
  if (!(std::fabs(rho) <= 1.0) || rho == 0.0) {
    // A failure for every point, or the product of the univariate
    // probabilities: nothing to gain from the series side by side.
    for (int k = 0; k < count_; ++k) {
      int status = caller_ifail;
      out[k] = G01HAF(x_[k], y_[k], rho, status);
      if (status != 0 && ifail == 0) ifail = status;
    }
    return;
  }
  const double s = std::sqrt(1.0 - rho * rho);
  for (int begin = 0; begin < count_; begin += kBlock) {
    EvaluateBlock(rho, s, begin, std::min(count_, begin + kBlock), out);
  }
}

// The series of the points begin .. end - 1 at rho (0 < |rho| <= 1, s =
// sqrt(1 - rho^2)), each step of G01HAF in its own order on each point: the
// same operations on the same operands, so the same doubles. A point that
// G01HAF takes another way (x = y = 0, the degenerate limit) is left to
// G01HAF itself.
void BivariateNormalCorners::EvaluateBlock(
    double rho, double s, int begin, int end, double* out) const {
  static_assert(kBlock == kSeriesBlock);
  const double lnmin = std::log(DBL_MIN);
  const int count = end - begin;
  // Every lane starts at zero, so that unused ones compute harmless zeros.
  SeriesLanes lanes = {};
  double* radius = lanes.radius;
  double* series = lanes.series;
  double* g1 = lanes.g1;
  double* g2 = lanes.g2;
  double* w1 = lanes.w1;
  double* w2 = lanes.w2;
  double* power = lanes.power;
  double* odd = lanes.odd;
  double* even = lanes.even;
  double exponential[kBlock];
  bool regular[kBlock], below1[kBlock], below2[kBlock];
  // First the points G01HAF takes another way, and c for the others; an
  // unused lane holds x = y = 0, c = 1.
  QuotientLanes quotients;
  for (int j = 0; j < kBlock; ++j) {
    regular[j] = false;
    quotients.x[j] = quotients.y[j] = 0.0;
    quotients.c[j] = 1.0;
  }
  for (int j = 0; j < count; ++j) {
    const int k = begin + j;
    const double x = x_[k];
    const double y = y_[k];
    if (x == 0.0 && y == 0.0) {
      int status = kIfailQuiet;
      out[k] = G01HAF(x, y, rho, status);
      continue;
    }
    const double c_squared = squares_[k] - 2.0 * rho * x * y;
    if (s == 0.0 || !(c_squared > 0.0)) {
      int status = kIfailQuiet;
      out[k] = G01HAF(x, y, rho, status);
      continue;
    }
    regular[j] = true;
    quotients.x[j] = x;
    quotients.y[j] = y;
    quotients.c[j] = std::sqrt(c_squared);
  }
  PolarQuotients(rho, s, quotients);
  for (int j = 0; j < count; ++j) {
    exponential[j] = 0.0;
    below1[j] = below2[j] = false;
    if (!regular[j]) continue;
    const int k = begin + j;
    const double r = quotients.r[j];
    const double e = -(r * 0.5 * r);
    if (e <= lnmin) {
      regular[j] = false;
      int status = kIfailQuiet;
      out[k] = G01HAF(x_[k], y_[k], rho, status);
      continue;
    }
    const double u = quotients.u[j];
    const double v = quotients.v[j];
    const double d1 = quotients.d1[j];
    const double d2 = quotients.d2[j];
    const double t1 = Sign(d1);
    const double t2 = Sign(d2);
    const double m1 = t1 * sx_[k];
    const double m2 = t2 * sy_[k];
    g1[j] = std::min(std::fabs(d1), 1.0);
    g2[j] = std::min(std::fabs(d2), 1.0);
    const double a1 = std::acos(g1[j]);
    const double a2 = std::acos(g2[j]);
    odd[j] = m2 * a2 + m1 * a1;
    even[j] = m2 * v + m1 * u;
    w1[j] = m1 * u;
    w2[j] = m2 * v;
    radius[j] = r;
    power[j] = r;
    series[j] = odd[j] - even[j] * kDivgi[0] * r;
    exponential[j] = std::exp(e);
    below1[j] = t1 < 0.0;
    below2[j] = t2 < 0.0;
  }
  SumSeriesTerms(lanes);
  for (int j = 0; j < count; ++j) {
    if (!regular[j]) continue;
    const int k = begin + j;
    double result = exponential[j] * series[j] / kTwoPi;
    if (below1[j]) result += tail_x_[k];
    if (below2[j]) result += tail_y_[k];
    if (sx_[k] < 0.0 && sy_[k] < 0.0) result += 1.0;
    if (result < 0.0) result = 0.0;
    out[k] = result;
  }
}

}  // namespace vq
