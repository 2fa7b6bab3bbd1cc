#include "aids/chi_square.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace vq {
namespace {

constexpr double kEpsilon = std::numeric_limits<double>::epsilon();
constexpr double kTiny = 1e-300;
constexpr int kMaxTerms = 100000;
// Above this the Poisson sum would take more than some ten thousand terms.
constexpr double kLargestSummedNoncentrality = 1e6;

// log(x^a e^-x / Gamma(a)), the common factor of both forms.
double LogPrefactor(double a, double x) { return a * std::log(x) - x - std::lgamma(a); }

// P(a, x) by the series x^a e^-x / Gamma(a + 1) * sum x^n / ((a+1)...(a+n)).
double GammaPSeries(double a, double x) {
  double term = 1.0 / a;
  double sum = term;
  for (int n = 1; n < kMaxTerms; ++n) {
    term *= x / (a + n);
    sum += term;
    if (std::fabs(term) < std::fabs(sum) * kEpsilon) break;
  }
  return sum * std::exp(LogPrefactor(a, x));
}

// Q(a, x) by the continued fraction 1/(x+1-a- 1(1-a)/(x+3-a- 2(2-a)/(x+5-a- ...))).
double GammaQFraction(double a, double x) {
  double b = x + 1.0 - a;
  double c = 1.0 / kTiny;
  double d = 1.0 / b;
  double h = d;
  for (int i = 1; i < kMaxTerms; ++i) {
    const double an = -i * (i - a);
    b += 2.0;
    d = an * d + b;
    if (std::fabs(d) < kTiny) d = kTiny;
    c = b + an / c;
    if (std::fabs(c) < kTiny) c = kTiny;
    d = 1.0 / d;
    const double delta = d * c;
    h *= delta;
    if (std::fabs(delta - 1.0) < kEpsilon) break;
  }
  return std::exp(LogPrefactor(a, x)) * h;
}

bool InDomain(double a, double x) { return a > 0.0 && x >= 0.0 && std::isfinite(a); }

// Sankaran's (1963) normal approximation of the noncentral chi-square
// distribution function, through the power transform of x / (df + ncp).
double SankaranCdf(double x, double df, double ncp) {
  const double k_lambda = df + ncp;
  const double k_2lambda = df + 2.0 * ncp;
  const double h = 1.0 - 2.0 / 3.0 * k_lambda * (df + 3.0 * ncp) / (k_2lambda * k_2lambda);
  const double p = k_2lambda / (k_lambda * k_lambda);
  const double m = (h - 1.0) * (1.0 - 3.0 * h);
  const double z =
      (std::pow(x / k_lambda, h) - (1.0 + h * p * (h - 1.0 - 0.5 * (2.0 - h) * m * p))) /
      (h * std::sqrt(2.0 * p) * (1.0 + 0.5 * m * p));
  return 0.5 * std::erfc(-z / std::sqrt(2.0));
}

}  // namespace

double RegularizedGammaP(double a, double x) {
  if (!InDomain(a, x)) return std::numeric_limits<double>::quiet_NaN();
  if (x == 0.0) return 0.0;
  if (std::isinf(x)) return 1.0;
  return x < a + 1.0 ? GammaPSeries(a, x) : 1.0 - GammaQFraction(a, x);
}

double RegularizedGammaQ(double a, double x) {
  if (!InDomain(a, x)) return std::numeric_limits<double>::quiet_NaN();
  if (x == 0.0) return 1.0;
  if (std::isinf(x)) return 0.0;
  return x < a + 1.0 ? 1.0 - GammaPSeries(a, x) : GammaQFraction(a, x);
}

double ChiSquareUpperTail(double x, double df) {
  if (std::isnan(x) || !(df > 0.0)) return std::numeric_limits<double>::quiet_NaN();
  if (x <= 0.0) return 1.0;
  return RegularizedGammaQ(0.5 * df, 0.5 * x);
}

double NoncentralChiSquareCdf(double x, double df, double ncp) {
  if (std::isnan(x) || !(df > 0.0) || !(ncp >= 0.0)) {
    return std::numeric_limits<double>::quiet_NaN();
  }
  if (x <= 0.0) return 0.0;
  const double y = 0.5 * x;
  const double half = 0.5 * ncp;
  if (half == 0.0) return RegularizedGammaP(0.5 * df, y);
  if (ncp > kLargestSummedNoncentrality) return SankaranCdf(x, df, ncp);

  // Poisson weights, in logs so that a large noncentrality does not
  // underflow e^-half; the terms that matter lie around the mode.
  const double log_half = std::log(half);
  auto log_weight = [&](double j) { return -half + j * log_half - std::lgamma(j + 1.0); };
  const double log_cutoff = std::log(1e-17);
  const double mode = std::floor(half);
  double low = mode;
  while (low > 0.0 && log_weight(low) > log_cutoff) low -= 1.0;
  double high = mode;
  while (log_weight(high) > log_cutoff) high += 1.0;

  // P(a, y) at the highest term directly, then downwards by
  // P(a, y) = P(a + 1, y) + y^a e^-y / Gamma(a + 1), which only adds
  // positive terms and so loses no precision.
  double a = 0.5 * df + high;
  double p = RegularizedGammaP(a, y);
  double sum = std::exp(log_weight(high)) * p;
  for (double j = high - 1.0; j >= low; j -= 1.0) {
    a -= 1.0;
    p += std::exp(a * std::log(y) - y - std::lgamma(a + 1.0));
    sum += std::exp(log_weight(j)) * p;
  }
  return std::min(sum, 1.0);
}

}  // namespace vq
