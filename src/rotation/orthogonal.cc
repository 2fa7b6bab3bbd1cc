#include "rotation/orthogonal.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <string>
#include <utility>

#include "frame/console.h"
#include "kernels/factor_order.h"
#include "rotation/orthomax.h"
#include "rotation/random_start.h"
#include "rotation/solution.h"

namespace vq {
namespace {

// Trace numbers of the orthomax step of the two branches.
constexpr int kVarimaxTrace = 1448;
constexpr int kWeightedTrace = 1258;

double Acosd(double x) { return std::acos(x) * (180.0 / std::numbers::pi); }

// Cosine of an angle in degrees, exact at 0 and 90.
double Cosd(double degrees) {
  if (degrees == 0.0) return 1.0;
  if (degrees == 90.0) return 0.0;
  return std::cos(degrees * (std::numbers::pi / 180.0));
}

// The common end of both branches: order and signs of the factors, the row
// sort, the variance explained, the objective function (Varimax only) and
// the hyperplane counts. The sums run over the rows as printed, in the order
// the report has always added them.
void FinishOrthogonal(const RotationOptions& options, RotatedSolution& solution) {
  Matrix& rotated = solution.loadings;
  const int p = rotated.rows;
  const int m = rotated.cols;
  OrderFactors(rotated, p, m);
  ReflectFactors(rotated, p, m);

  solution.item_labels = options.item_labels;
  solution.item_order_loadings = rotated;
  if (options.sort_rows) {
    SortLoadings(rotated, p, m, solution.order);
    solution.sorted_labels = SortedLabelsFor(solution.item_labels, solution.order);
  }

  solution.variance_explained.assign(m, 0.0);
  for (int factor = 0; factor < m; ++factor) {
    double sum = 0.0;
    for (int item = 0; item < p; ++item) sum += rotated(item, factor) * rotated(item, factor);
    solution.variance_explained[factor] = sum;
  }
  if (solution.method == Rotation::kVarimax) solution.objective = ObjectiveFunction(rotated, p, m);
  solution.hyperplane_counts = HyperplaneCounts(rotated, options.hyperplane_width);
}

}  // namespace

double CuretonMulaikWeight(double x, int m) {
  const double s = std::sqrt(1.0 / m);
  // Rounding can lift a normalised loading just above 1, outside the domain
  // of the arc cosine; 1 gives the weight of the limit.
  x = std::min(x, 1.0);
  const double acosd_s = Acosd(s);
  double e;
  if (!(x < s)) {
    e = 90.0 * (acosd_s - Acosd(x)) / acosd_s;
  } else {
    e = 90.0 * (Acosd(x) - acosd_s) / (90.0 - acosd_s);
  }
  const double cosine = Cosd(e);
  return cosine * cosine + 0.001;
}

RotatedSolution Varimax(Matrix loadings, const RotationOptions& options, Progress& progress) {
  const int p = loadings.rows;
  const int m = loadings.cols;
  RotatedSolution solution;
  solution.method = Rotation::kVarimax;
  if (options.random_start == RandomStart::kRandom) RandomOrientation(loadings, p, m);

  int ifail = 0;
  G03BAF('S',
         1.0,
         p,
         m,
         loadings,
         solution.loadings,
         solution.rotation_matrix,
         options.epsilon,
         options.max_iterations,
         solution.sweeps.sweeps,
         ifail);
  TraceLine(ifail, kVarimaxTrace);
  solution.sweeps.converged = ifail != 3;

  if (std::isnan(solution.loadings(0, 0))) {
    ConsoleEmptyLines(3);
    ConsoleLine(30, "Fatal Error: Serious problems occured during Varimax Rotation");
    ConsoleEmptyLines(3);
    Pause();
    solution.not_a_number = true;
    return solution;
  }
  if (ifail == 3) {
    progress.FreeForm("Rotation Failed to Converge");
    Pause();
  }
  FinishOrthogonal(options, solution);
  return solution;
}

RotatedSolution WeightedVarimax(Matrix loadings,
                                const std::vector<double>& communalities,
                                const RotationOptions& options) {
  const int p = loadings.rows;
  const int m = loadings.cols;
  RotatedSolution solution;
  solution.method = Rotation::kWeightedVarimax;
  // Row lengths from the communalities. A communality of 0 or below belongs
  // to a row without direction: it is left unscaled, gets the floor weight
  // and comes back as it went in.
  std::vector<double> length(p, 1.0);
  std::vector<double> weight(p);
  std::vector<bool> flipped(p, false);
  for (int item = 0; item < p; ++item) {
    if (communalities[item] > 0.0) length[item] = std::sqrt(communalities[item]);
    for (int factor = 0; factor < m; ++factor) {
      loadings(item, factor) = loadings(item, factor) / length[item];
    }
    if (loadings(item, 0) < 0.0) {
      flipped[item] = true;
      for (int factor = 0; factor < m; ++factor) loadings(item, factor) = -loadings(item, factor);
    }
    weight[item] = CuretonMulaikWeight(loadings(item, 0), m);
    for (int factor = 0; factor < m; ++factor) {
      loadings(item, factor) = loadings(item, factor) * weight[item];
    }
  }

  if (options.random_start == RandomStart::kRandom) RandomOrientation(loadings, p, m);

  int ifail = 0;
  G03BAF('U',
         1.0,
         p,
         m,
         loadings,
         solution.loadings,
         solution.rotation_matrix,
         options.epsilon,
         options.max_iterations,
         solution.sweeps.sweeps,
         ifail);
  TraceLine(ifail, kWeightedTrace);
  solution.sweeps.converged = ifail != 3;

  Matrix& rotated = solution.loadings;
  for (int item = 0; item < p; ++item) {
    for (int factor = 0; factor < m; ++factor) {
      rotated(item, factor) = rotated(item, factor) / weight[item];
      if (flipped[item]) rotated(item, factor) = -rotated(item, factor);
    }
    for (int factor = 0; factor < m; ++factor) {
      rotated(item, factor) = rotated(item, factor) * length[item];
    }
  }
  FinishOrthogonal(options, solution);
  return solution;
}

}  // namespace vq
