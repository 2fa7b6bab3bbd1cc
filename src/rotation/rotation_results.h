// What the rotation phase leaves for the later phases of a run: the
// orthogonal solution, the oblique one, and the item order of the last row
// sort. The factor scores read the item-order copies.
#ifndef VELQUORIN_ROTATION_ROTATION_RESULTS_H_
#define VELQUORIN_ROTATION_ROTATION_RESULTS_H_

#include <string>
#include <vector>

#include "kernels/matrix.h"

namespace vq {

struct RotationResults {
  // Orthogonal solution (Varimax, Weighted Varimax, and the Varimax stage of
  // Promax), p by m.
  Matrix RotatedLoadings;    // rows sorted under "SORT", as printed
  Matrix ItemOrderLoadings;  // the same in item order, under every SortMode
  Matrix RotationMatrix;     // m by m, from G03BAF; not printed

  // Oblique solution (Promax, direct oblimin, Harris-Kaiser).
  Matrix FactorPattern;       // p by m, rows sorted under "SORT", as printed
  Matrix FactorCorrelations;  // m by m, in the order of the printed factors
  Matrix FactorStructure;     // FactorPattern times FactorCorrelations
  Matrix ItemOrderPattern;    // the pattern in item order
  Matrix ItemOrderStructure;  // the structure in item order

  // Item numbers (1-based) of the rows after the last row sort; all 0 while
  // no rows were sorted.
  std::vector<int> Order;
  std::vector<std::string> ItemLabels;    // p labels of 15 characters
  std::vector<std::string> SortedLabels;  // ItemLabels in the order of Order

  bool orthogonal = false;  // an orthogonal solution stands
  bool oblique = false;     // an oblique solution stands
};

}  // namespace vq

#endif  // VELQUORIN_ROTATION_ROTATION_RESULTS_H_
