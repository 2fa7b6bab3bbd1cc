// The factor analysis of a run for the R package and the Python module:
// extraction, rotation, factor scores and parallel analysis on matrices the
// host holds, with no command file, no report and no saved file.
//
// Each function calls the phases as a run calls them (the extraction's
// Extract pieces, RotateStage, ChooseScoreLoadings and EstimateScores,
// RunParallelAnalysis) and returns their numbers at full precision: a run
// with the same settings saves the same numbers, to its printed digits. As
// in analysis.h, a stop of the engine is returned as a `Stop` in the
// program's words, and arguments the engine cannot take throw
// std::invalid_argument before it runs.
//
// Matrices are column-major vectors: p items, m factors, N subjects.
#ifndef VELQUORIN_API_FACTORING_H_
#define VELQUORIN_API_FACTORING_H_

#include <string>
#include <vector>

#include "api/analysis.h"
#include "api/host.h"

namespace vq::api {

// The choices of a factor analysis, in the words of the command file in
// lower case. The defaults are those a library user expects: principal
// factors from squared multiple correlations, Varimax from the unrotated
// orientation, and the run's limits.
struct FactorSettings {
  std::string method = "pfa";        // "pfa" (principal factors) or "pca"
  std::string start = "smc";         // the diagonal of "pfa": "smc", "one", "hir"
  int factors = 1;                   // m, 1 to p
  std::string rotation = "varimax";  // "varimax", "wvarimax", "promax",
                                     // "oblimin", "hk", "none"
  int promax_power = 4;              // 1 or more
  double oblimin_delta = 0.0;
  double harris_kaiser_parameter = 0.0;
  // The rotation starts from one random orthogonal turn of the unrotated
  // loadings (the run's "T"); `RunSettings.seed` fixes it.
  bool random_start = false;
  double communality_epsilon = 0.0001;
  int communality_iterations = 200;
  double rotation_epsilon = 0.0001;
  int rotation_iterations = 200;
  double hyperplane_width = 0.2;
};

// The fit of the model by the maximum-likelihood discrepancy of the
// extracted loadings (the aids' likelihood fit), for N subjects.
struct LikelihoodFigures {
  double objective = 0.0;
  double chi_square = 0.0;
  int df = 0;
  double p_value = 0.0;
  double rmsea = 0.0;
  double rmsea_lower = 0.0;  // NaN where the bound cannot be solved for
  double rmsea_upper = 0.0;
  double tli = 0.0;
  double bic = 0.0;
};

// Everything a factor analysis gives.
//   initial_eigenvalues: p, of the correlation matrix by decreasing modulus.
//   eigenvalues:         m, of the last pass of the extraction.
//   unrotated:           p by m, the extraction's loadings.
//   loadings:            p by m, the final solution: the rotated loadings,
//                        the pattern of an oblique rotation, or the
//                        unrotated loadings when nothing rotated.
//   structure, phi:      oblique only (empty otherwise): p by m and m by m.
//   rotation:            the stage that gave `loadings` ("varimax",
//                        "wvarimax", "promax", "oblimin", "hk"; "none").
//   residuals:           p by p: correlations minus reproduced, the
//                        uniquenesses on the diagonal.
//   has_likelihood:      `likelihood` is filled (N given and the fit could
//                        be computed).
//   warnings:            the run's non-fatal messages on the way (a limit
//                        of passes reached, a Heywood case, a rotation that
//                        did not converge, an eigen solution's warning).
struct FactorResult {
  int items = 0;
  int factors = 0;
  std::vector<std::string> labels;
  std::vector<double> initial_eigenvalues;
  std::vector<double> eigenvalues;
  std::vector<double> starting_communalities;
  std::vector<double> communalities;
  int iterations = 0;
  bool converged = false;
  std::vector<double> unrotated;
  std::vector<double> loadings;
  std::vector<double> structure;
  std::vector<double> phi;
  std::string rotation = "none";
  bool oblique = false;
  int rotation_sweeps = 0;
  bool rotation_converged = true;
  std::vector<int> hyperplane_counts;
  // The model fit of the run: the goodness-of-fit index and the moments of
  // the off-diagonal residuals.
  double gfi = 0.0;
  double rmsr = 0.0;
  double residual_mean = 0.0;
  double residual_sd = 0.0;
  double residual_smallest = 0.0;
  double residual_largest = 0.0;
  std::vector<double> residuals;
  bool has_likelihood = false;
  LikelihoodFigures likelihood;
  std::vector<std::string> warnings;
  Stop stop;
};

// The factor analysis of the correlation matrix `r` (p by p, unit
// diagonal) of `observations` subjects (0: not known; no likelihood fit
// then). Stops as the run does: "ERROR 100" of the communality iteration, a
// fit of 3 items or fewer, a rotation that fails.
FactorResult FactorAnalysis(const CorrelationMatrix& r,
                            int observations,
                            const FactorSettings& factor_settings,
                            const RunSettings& settings);

// Factor scores of continuous scores as a run with the coding "CO" makes
// them: Pearson correlations, the factor analysis of FactorAnalysis, then
// the estimates of `method` ("regression" or "bartlett") from the loadings
// the run gives them (after an oblique rotation: the structure for
// regression, the pattern for Bartlett), standardised.
//   scores:   N by m.  weights: p by m.  validity: m.
struct FactorScoreResult {
  FactorResult factors;
  std::vector<double> scores;
  std::vector<double> weights;
  std::vector<double> validity;
  std::vector<std::string> notes;
  Stop stop;
};
FactorScoreResult FactorScores(const Scores& scores,
                               const FactorSettings& factor_settings,
                               const std::string& method,
                               const RunSettings& settings);

// Parallel analysis by permutation with the run's estimator `kind`
// ("pearson", "polychoric", "tetrachoric"), its matrix smoothed first with
// `smooth` as a run smooths it. `seed` is the run's --seed, or 1 (the aids'
// default) when `settings.has_seed` is false. Lines by position 1..p.
struct ParallelResult {
  int data_sets = 0;
  long seed = 0;
  double percentile = 0.95;
  std::vector<double> observed_components;
  std::vector<double> mean_components;
  std::vector<double> percentile_components;
  int suggested_components = 0;
  std::vector<double> observed_factors;
  std::vector<double> mean_factors;
  std::vector<double> percentile_factors;
  int suggested_factors = 0;
  Stop stop;
};
ParallelResult ParallelAnalysis(const Scores& scores,
                                const std::string& kind,
                                bool smooth,
                                int data_sets,
                                double percentile,
                                const RunSettings& settings);

}  // namespace vq::api

#endif  // VELQUORIN_API_FACTORING_H_
