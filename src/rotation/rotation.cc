#include "rotation/rotation.h"

#include "kernels/eigen.h"
#include "rotation/oblique.h"
#include "rotation/orthogonal.h"
#include "rotation/solution.h"

namespace vq {

void RunRotation(const RunOptions& options,
                 Matrix& loadings,
                 const std::vector<double>& communalities,
                 const Matrix& r,
                 OutputFile& report,
                 std::string_view run_directory,
                 std::string_view run_stem,
                 RotationResults& results) {
  const int p = options.VariableCount;
  const int m = options.FactorCount;
  results = RotationResults();
  results.Order.assign(p > 0 ? p : 0, 0);

  if (m > 1) {
    if (options.Rotation == Rotation::kWeightedVarimax) {
      RunWeightedVarimax(
          options, loadings, communalities, p, m, results, report, run_directory, run_stem);
    }
    if (options.Rotation == Rotation::kVarimax || options.Rotation == Rotation::kPromax) {
      RunVarimax(options, loadings, p, m, results, report, run_directory, run_stem);
    }
    if (options.Rotation == Rotation::kPromax) {
      RunPromax(options, p, m, results, report, run_directory, run_stem);
    } else if (options.Rotation == Rotation::kOblimin) {
      RunOblimin(options, loadings, p, m, results, report, run_directory, run_stem);
    } else if (options.Rotation == Rotation::kHarrisKaiser) {
      const std::vector<double> d = UniqueVariances(options, communalities, r, p);
      RunHarrisKaiser(options, loadings, d, p, m, results, report, run_directory, run_stem);
    }
  }

  // The list needs a row sort; without a rotation no rows were sorted.
  const bool rotated = results.orthogonal || results.oblique;
  if (options.HasItemFile && options.SortMode == SortMode::kSort && rotated) {
    const Matrix& sorted = results.oblique ? results.FactorPattern : results.RotatedLoadings;
    ListSortedItems(sorted, p, m, results.Order, options.ItemTexts, report);
  }
}

void PrepareGivenPattern(const RunOptions& options,
                         Matrix& loadings,
                         const Matrix* given_correlations,
                         int p,
                         int m,
                         std::vector<double>& communalities,
                         std::vector<double>& factor_variance) {
  if (options.InputForm == InputForm::kCorrelatedPattern && given_correlations != nullptr) {
    Matrix phi = *given_correlations;
    std::vector<double> eigenvalues;
    Matrix vectors;
    DEVESF(m, m, phi, false, eigenvalues, vectors);
    Matrix turned(p, m);
    for (int factor = 0; factor < m; ++factor) {
      for (int item = 0; item < p; ++item) {
        double sum = 0.0;
        for (int k = 0; k < m; ++k) sum += loadings(item, k) * vectors(k, factor);
        turned(item, factor) = sum;
      }
    }
    loadings = turned;
  }
  communalities.assign(p, 0.0);
  factor_variance.assign(m, 0.0);
  for (int item = 0; item < p; ++item) {
    for (int factor = 0; factor < m; ++factor) {
      communalities[item] += loadings(item, factor) * loadings(item, factor);
    }
  }
  for (int factor = 0; factor < m; ++factor) {
    for (int item = 0; item < p; ++item) {
      factor_variance[factor] += loadings(item, factor) * loadings(item, factor);
    }
  }
}

}  // namespace vq
