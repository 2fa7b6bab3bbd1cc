#include "rotation/oblique.h"

#include "kernels/factor_order.h"
#include "rotation/harris_kaiser.h"
#include "rotation/oblimin.h"
#include "rotation/promax.h"
#include "rotation/random_start.h"
#include "rotation/solution.h"

namespace vq {
namespace {

// p by m times m by m.
Matrix TimesCorrelations(const Matrix& pattern, const Matrix& phi, int p, int m) {
  Matrix result(p, m);
  for (int j = 0; j < m; ++j) {
    for (int i = 0; i < p; ++i) {
      double sum = 0.0;
      for (int k = 0; k < m; ++k) sum += pattern(i, k) * phi(k, j);
      result(i, j) = sum;
    }
  }
  return result;
}

// Everything of an oblique solution after the rotation itself.
void FinishOblique(const RotationOptions& options, RotatedSolution& solution) {
  Matrix& pattern = solution.loadings;
  Matrix& phi = solution.factor_correlations;
  const int p = pattern.rows;
  const int m = pattern.cols;
  solution.oblique = true;
  ReflectObliqueFactors(pattern, phi, p, m);
  OrderObliqueFactors(pattern, p, m, phi);

  solution.item_labels = options.item_labels;
  solution.item_order_loadings = pattern;
  if (options.sort_rows) {
    SortLoadings(pattern, p, m, solution.order);
    solution.sorted_labels = SortedLabelsFor(solution.item_labels, solution.order);
  }
  solution.structure = TimesCorrelations(pattern, phi, p, m);
  // The item-order structure is its own product under "SORT", so that both
  // are the sums the report has always formed.
  solution.item_order_structure = options.sort_rows
                                      ? TimesCorrelations(solution.item_order_loadings, phi, p, m)
                                      : solution.structure;
  solution.hyperplane_counts = HyperplaneCounts(pattern, options.hyperplane_width);
}

}  // namespace

std::vector<double> UniqueVariances(Model model,
                                    const std::vector<double>& communalities,
                                    const Matrix& r,
                                    int p) {
  std::vector<double> d(p, 1.0);
  if (model == Model::kComponents) return d;
  if (model == Model::kPrincipalFactors) {
    for (int item = 0; item < p; ++item) d[item] = 1.0 - r(item, item);
    return d;
  }
  // A given pattern has no working matrix: its own communalities stand in
  // for the final ones of a principal factor solution.
  for (int item = 0; item < p; ++item) d[item] = 1.0 - communalities[item];
  return d;
}

RotatedSolution Promax(const RotatedSolution& varimax, const RotationOptions& options) {
  const int p = varimax.item_order_loadings.rows;
  const int m = varimax.item_order_loadings.cols;
  RotatedSolution solution;
  solution.method = Rotation::kPromax;
  PROMAX(varimax.item_order_loadings,
         solution.loadings,
         solution.factor_correlations,
         p,
         m,
         options.promax_power);
  FinishOblique(options, solution);
  return solution;
}

RotatedSolution Oblimin(Matrix loadings, const RotationOptions& options) {
  const int p = loadings.rows;
  const int m = loadings.cols;
  RotatedSolution solution;
  solution.method = Rotation::kOblimin;
  if (options.random_start == RandomStart::kRandom) RandomOrientation(loadings, p, m);
  DFDOBL(p,
         m,
         loadings,
         1,
         options.oblimin_delta,
         options.max_iterations,
         options.epsilon,
         solution.loadings,
         solution.factor_correlations,
         &solution.sweeps);
  FinishOblique(options, solution);
  return solution;
}

RotatedSolution HarrisKaiser(Matrix loadings,
                             const std::vector<double>& unique_variances,
                             const RotationOptions& options) {
  const int p = loadings.rows;
  const int m = loadings.cols;
  RotatedSolution solution;
  solution.method = Rotation::kHarrisKaiser;
  if (options.random_start == RandomStart::kRandom) RandomOrientation(loadings, p, m);
  DFHARR(p,
         m,
         loadings,
         1,
         options.max_iterations,
         1.0,
         options.harris_kaiser_parameter,
         options.epsilon,
         unique_variances,
         solution.loadings,
         solution.factor_correlations,
         &solution.sweeps);
  FinishOblique(options, solution);
  return solution;
}

}  // namespace vq
