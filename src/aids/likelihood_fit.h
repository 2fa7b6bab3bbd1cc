// Likelihood fit figures of an extracted solution: how far the correlations
// the factors reproduce are from the observed ones, measured by the normal
// theory discrepancy function and the figures journals ask for (Bartlett-
// corrected chi-square, RMSEA with its 90% interval, Tucker-Lewis index,
// BIC), and the variance each factor accounts for.
//
// The definitions follow the peer package's `fa` fit statistics so that the
// two can be compared number for number:
//   Sigma  = L Phi L' off the diagonal, the observed diagonal on it. The
//            communalities are the solution's own, diag(L Phi L'), whatever
//            estimates the extraction iterated with; the uniquenesses are
//            1 - communality. (The peer prints its last iteration's
//            communality estimates beside the loadings but fits with these.)
//   S, Sigma are smoothed (reduced_eigenvalues.h) first when not positive definite.
//   F      = tr(Sigma^-1 S) - log det(Sigma^-1 S) - p.
//   df     = p(p-1)/2 - p m + m(m-1)/2.
//   chi2   = F ((N - 1) - (2p + 5)/6 - 2m/3)   (Bartlett, 1950), at least 0.
//   F0     = tr(S) - log det S - p, the null (independence) model, with
//            chi2_0 = F0 ((N - 1) - (2p + 5)/6) on p(p-1)/2 df.
//   TLI    = (M0 - Mm) / (M0 - 1/nm), Mm = F/df, M0 = 2 F0 / (p(p-1)),
//            nm the Bartlett multiplier (Tucker and Lewis, 1973). Not capped
//            at 1: an over-fitting model shows as a value above 1.
//   RMSEA  = sqrt(max(chi2 / (df N) - 1/(N - 1), 0)), the peer's form; the
//            textbook sqrt(max((chi2 - df) / (df (N - 1)), 0)) differs from
//            it by a relative 1/(2N) of chi2/df, well under the printed
//            digits. The 90% interval solves the noncentral chi-square
//            distribution function at chi2 for the noncentralities lambda
//            that put chi2 at its 95th and 5th percentiles, each bound
//            being sqrt(lambda / ((N - 1) df)) (Steiger and Lind, 1980); a
//            bound is 0 when chi2 lies below the corresponding percentile of
//            the central distribution.
//   BIC    = chi2 - df log N (Schwarz, 1978).
// Figures that need df > 0 (p-value, RMSEA, TLI, BIC) are NaN otherwise.
#ifndef VELQUORIN_AIDS_LIKELIHOOD_FIT_H_
#define VELQUORIN_AIDS_LIKELIHOOD_FIT_H_

#include <vector>

#include "kernels/matrix.h"

namespace vq {

// The variance each factor accounts for, by factor 1..m (index 0..m-1). For
// an orthogonal solution ss_loadings[k] is the column sum of squared
// loadings; for an oblique one it is diag(Phi L'L)[k] = sum_i pattern_ik *
// structure_ik, the factor's direct and shared contribution, so that the
// values add up to the total communality as in the orthogonal case.
struct FactorVariance {
  std::vector<double> ss_loadings;
  std::vector<double> proportion;            // ss / tr(S)
  std::vector<double> cumulative;            // running sum of proportion
  std::vector<double> proportion_explained;  // ss / sum of ss
  std::vector<double> cumulative_explained;
};

struct LikelihoodFit {
  int variables = 0;
  int factors = 0;
  int observations = 0;
  // Whether S or Sigma had to be smoothed to be positive definite.
  bool smoothed_correlations = false;
  bool smoothed_model = false;
  double objective = 0.0;  // F
  double chi_square = 0.0;
  int df = 0;
  double p_value = 0.0;
  double rmsea = 0.0;
  double rmsea_lower = 0.0;  // NaN when the bound cannot be solved for
  double rmsea_upper = 0.0;
  double tli = 0.0;
  double bic = 0.0;
  double null_objective = 0.0;  // F0
  double null_chi_square = 0.0;
  int null_df = 0;
  FactorVariance variance;
};

// Fit of the solution with pattern `loadings` (p by m) and, for an oblique
// solution, factor correlations `factor_correlations` (m by m; empty for an
// orthogonal one) to the correlation matrix `s` (p by p) of `observations`
// subjects. PCA with m components is fitted the same way. Throws
// std::invalid_argument for inconsistent sizes, m outside 1..p, fewer than
// 2 observations or values that are not finite. When S or Sigma stays
// singular after smoothing, F and what follows from it are NaN.
LikelihoodFit FitLikelihood(const Matrix& s,
                            const Matrix& loadings,
                            int observations,
                            const Matrix& factor_correlations = Matrix());

}  // namespace vq

#endif  // VELQUORIN_AIDS_LIKELIHOOD_FIT_H_
