#include "aids/likelihood_fit.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <stdexcept>

#include "aids/chi_square.h"
#include "aids/reduced_eigenvalues.h"
#include "kernels/lapack.h"

namespace vq {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
// Tail of the 90% RMSEA interval on each side.
constexpr double kIntervalTail = 0.05;

bool AllFinite(const Matrix& a) {
  return std::all_of(a.values.begin(), a.values.end(), [](double v) { return std::isfinite(v); });
}

// Cholesky factor of `a` in place (upper triangle); log det a into
// `log_det`. False when `a` is not positive definite.
bool CholeskyLogDet(Matrix& a, double& log_det) {
  const int n = a.rows;
  int info = 0;
  dpotrf_("U", &n, a.data(), &n, &info, 1);
  if (info < 0) LapackArgumentError("DPOTRF", info);
  if (info > 0) return false;
  log_det = 0.0;
  for (int k = 0; k < n; ++k) log_det += 2.0 * std::log(a(k, k));
  return true;
}

// F = tr(Sigma^-1 S) - log det(Sigma^-1 S) - p, NaN when either matrix is
// not positive definite.
double Discrepancy(const Matrix& s, const Matrix& sigma) {
  const int p = s.rows;
  Matrix s_factor = s;
  Matrix sigma_inverse = sigma;
  double log_det_s = 0.0;
  double log_det_sigma = 0.0;
  if (!CholeskyLogDet(s_factor, log_det_s) || !CholeskyLogDet(sigma_inverse, log_det_sigma)) {
    return kNaN;
  }
  int info = 0;
  dpotri_("U", &p, sigma_inverse.data(), &p, &info, 1);
  if (info < 0) LapackArgumentError("DPOTRI", info);
  if (info > 0) return kNaN;
  double trace = 0.0;
  for (int col = 0; col < p; ++col) {
    for (int row = 0; row < p; ++row) {
      const double inverse = row <= col ? sigma_inverse(row, col) : sigma_inverse(col, row);
      trace += inverse * s(row, col);
    }
  }
  return trace - (log_det_s - log_det_sigma) - p;
}

// The noncentrality lambda in [0, upper] with NoncentralChiSquareCdf(chi2,
// df, lambda) = target, by bisection (the function falls as lambda grows).
// NaN when the interval does not bracket it.
double SolveNoncentrality(double chi_square, double df, double target, double upper) {
  double low = 0.0;
  double high = upper;
  if (NoncentralChiSquareCdf(chi_square, df, high) - target > 0.0) return kNaN;
  for (int iteration = 0; iteration < 200 && high - low > 1e-12 * std::max(1.0, high);
       ++iteration) {
    const double middle = 0.5 * (low + high);
    if (NoncentralChiSquareCdf(chi_square, df, middle) > target) {
      low = middle;
    } else {
      high = middle;
    }
  }
  return 0.5 * (low + high);
}

FactorVariance VarianceAccounted(const Matrix& loadings,
                                 const Matrix& structure,
                                 double total_variance) {
  const int p = loadings.rows;
  const int m = loadings.cols;
  FactorVariance variance;
  double all = 0.0;
  for (int factor = 0; factor < m; ++factor) {
    double ss = 0.0;
    for (int item = 0; item < p; ++item) ss += loadings(item, factor) * structure(item, factor);
    variance.ss_loadings.push_back(ss);
    all += ss;
  }
  double cumulative = 0.0;
  double cumulative_explained = 0.0;
  for (double ss : variance.ss_loadings) {
    variance.proportion.push_back(ss / total_variance);
    cumulative += ss / total_variance;
    variance.cumulative.push_back(cumulative);
    variance.proportion_explained.push_back(ss / all);
    cumulative_explained += ss / all;
    variance.cumulative_explained.push_back(cumulative_explained);
  }
  return variance;
}

}  // namespace

LikelihoodFit FitLikelihood(const Matrix& s,
                            const Matrix& loadings,
                            int observations,
                            const Matrix& factor_correlations) {
  const int p = s.rows;
  const int m = loadings.cols;
  const bool oblique = !factor_correlations.empty();
  if (p < 2 || s.cols != p || loadings.rows != p || m < 1 || m > p || observations < 2 ||
      (oblique && (factor_correlations.rows != m || factor_correlations.cols != m)) ||
      !AllFinite(s) || !AllFinite(loadings) || !AllFinite(factor_correlations)) {
    throw std::invalid_argument(
        "the likelihood fit needs a finite p by p correlation matrix (p >= 2), p by m loadings "
        "with 1 <= m <= p, m by m factor correlations if any, and at least 2 observations");
  }

  // Structure L Phi (the loadings themselves when orthogonal) and the model
  // L Phi L' with the observed diagonal.
  Matrix structure = loadings;
  if (oblique) {
    for (int factor = 0; factor < m; ++factor) {
      for (int item = 0; item < p; ++item) {
        double sum = 0.0;
        for (int k = 0; k < m; ++k) sum += loadings(item, k) * factor_correlations(k, factor);
        structure(item, factor) = sum;
      }
    }
  }
  Matrix sigma(p, p);
  for (int col = 0; col < p; ++col) {
    for (int row = 0; row <= col; ++row) {
      double sum = 0.0;
      for (int factor = 0; factor < m; ++factor) {
        sum += structure(row, factor) * loadings(col, factor);
      }
      sigma(row, col) = sum;
      sigma(col, row) = sum;
    }
    sigma(col, col) = s(col, col);
  }

  LikelihoodFit fit;
  fit.variables = p;
  fit.factors = m;
  fit.observations = observations;
  Matrix smoothed_s = s;
  fit.smoothed_correlations = SmoothToPositiveDefinite(smoothed_s);
  fit.smoothed_model = SmoothToPositiveDefinite(sigma);

  const double n = observations;
  const double bartlett = (n - 1.0) - (2.0 * p + 5.0) / 6.0 - 2.0 * m / 3.0;
  fit.df = p * (p - 1) / 2 - p * m + m * (m - 1) / 2;
  fit.objective = Discrepancy(smoothed_s, sigma);
  fit.chi_square = std::max(fit.objective * bartlett, 0.0);
  if (std::isnan(fit.objective)) fit.chi_square = kNaN;

  // F0 = tr(S) - log det S - p, the discrepancy from the identity model.
  double trace = 0.0;
  for (int item = 0; item < p; ++item) trace += smoothed_s(item, item);
  Matrix s_factor = smoothed_s;
  double log_det_s = 0.0;
  fit.null_objective = CholeskyLogDet(s_factor, log_det_s) ? trace - log_det_s - p : kNaN;
  fit.null_df = p * (p - 1) / 2;
  fit.null_chi_square = fit.null_objective * ((n - 1.0) - (2.0 * p + 5.0) / 6.0);

  fit.p_value = fit.rmsea = fit.rmsea_lower = fit.rmsea_upper = fit.tli = fit.bic = kNaN;
  if (fit.df > 0 && !std::isnan(fit.chi_square)) {
    const double df = fit.df;
    fit.p_value = ChiSquareUpperTail(fit.chi_square, df);
    const double model_per_df = fit.objective / df;
    const double null_per_df = fit.null_objective * 2.0 / (static_cast<double>(p) * (p - 1));
    fit.tli = (null_per_df - model_per_df) / (null_per_df - 1.0 / bartlett);
    fit.bic = fit.chi_square - df * std::log(n);
    fit.rmsea = std::sqrt(std::max(fit.chi_square / (df * n) - 1.0 / (n - 1.0), 0.0));

    const double central = 1.0 - ChiSquareUpperTail(fit.chi_square, df);
    const double upper_end = std::max(n, fit.chi_square) + 2.0 * n;
    auto bound = [&](double target) {
      const double lambda = SolveNoncentrality(fit.chi_square, df, target, upper_end);
      return std::sqrt(lambda / (n - 1.0) / df);
    };
    fit.rmsea_upper = 0.0;
    if (central > kIntervalTail) {
      fit.rmsea_upper = bound(kIntervalTail);
      if (std::isnan(fit.rmsea_upper) && fit.rmsea <= 0.0) fit.rmsea_upper = 0.0;
    }
    fit.rmsea_lower = central > 1.0 - kIntervalTail ? bound(1.0 - kIntervalTail) : 0.0;
    if (fit.rmsea_upper < fit.rmsea) fit.rmsea_upper = kNaN;
    if (fit.rmsea_lower > fit.rmsea) fit.rmsea_lower = kNaN;
  }

  double total_variance = 0.0;
  for (int item = 0; item < p; ++item) total_variance += s(item, item);
  fit.variance = VarianceAccounted(loadings, structure, total_variance);
  return fit;
}

}  // namespace vq
