// What the rotation phase computes, kept at full precision for the writers
// (report sections, the `fac` and `phi` files, the list of sorted items), the
// factor scores and the outputs built on a run's results.
//
// A run rotates in one or two stages: Varimax, Weighted Varimax, direct
// oblimin or Harris-Kaiser alone, or Varimax and then Promax from it. Each
// stage leaves one RotatedSolution; the last one is the run's solution.
#ifndef VELQUORIN_ROTATION_ROTATION_RESULTS_H_
#define VELQUORIN_ROTATION_ROTATION_RESULTS_H_

#include <string>
#include <vector>

#include "kernels/matrix.h"
#include "options/run_options.h"

namespace vq {

// How an iterative rotation ended: the sweeps it ran and whether its stop
// rule was met before the sweep limit (a solution that was not met is still
// used, as "Convergence assumed" says).
struct RotationSweeps {
  int sweeps = 0;
  bool converged = true;
};

// One rotated solution, p by m, after its factors were ordered and
// reflected. The matrices named "rows as printed" have their rows in the
// order of `order` when the rows were sorted ("SORT"), in item order
// otherwise; the item-order copies are in item order always.
struct RotatedSolution {
  // kVarimax, kWeightedVarimax, kPromax, kOblimin or kHarrisKaiser.
  Rotation method = Rotation::kNone;
  bool oblique = false;

  // The rotated loadings (orthogonal) or the factor pattern (oblique).
  Matrix loadings;             // rows as printed
  Matrix item_order_loadings;  // item order
  // Oblique only: pattern times factor correlations, and the m by m factor
  // correlations in the order of the printed factors. Empty when orthogonal.
  Matrix structure;             // rows as printed
  Matrix item_order_structure;  // item order
  Matrix factor_correlations;
  // Orthogonal only: the m by m orthogonal matrix of the rotation of the
  // (possibly randomly turned and weighted) start, before the factors were
  // ordered and reflected.
  Matrix rotation_matrix;

  // Item numbers (1-based) of the rows as printed; empty when not sorted.
  std::vector<int> order;
  std::vector<std::string> item_labels;    // p labels of 15, item order
  std::vector<std::string> sorted_labels;  // item_labels by `order`, or empty

  // Items per factor whose absolute loading (pattern) is not above the
  // hyperplane width.
  std::vector<int> hyperplane_counts;
  // Orthogonal only: the column sums of squared loadings, and (Varimax
  // only, otherwise 0) the Varimax objective function.
  std::vector<double> variance_explained;
  double objective = 0.0;

  RotationSweeps sweeps;
  // Varimax gave loadings that are not numbers: only the failure lines
  // stand in the report, and the run ends.
  bool not_a_number = false;

  bool sorted() const { return !order.empty(); }
  int rows() const { return loadings.rows; }
  int factors() const { return loadings.cols; }
};

// The solutions of the rotation phase in the order they were computed:
// none (no rotation asked, or one factor), one, or Varimax then Promax.
struct RotationResult {
  std::vector<RotatedSolution> solutions;

  bool rotated() const { return !solutions.empty(); }
  // The run's solution: the last stage. Null when nothing was rotated.
  const RotatedSolution* final_solution() const {
    return solutions.empty() ? nullptr : &solutions.back();
  }
};

}  // namespace vq

#endif  // VELQUORIN_ROTATION_ROTATION_RESULTS_H_
