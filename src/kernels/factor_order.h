// Order and signs of factors. An eigen solution or a rotation leaves its
// factors in no particular order and with arbitrary signs; these operations
// settle both, so that two runs reaching the same solution print it the same
// way. Factors are ordered by the variance they explain (sum of squared
// loadings, largest first, ties in their old order) and reflected so that the
// signed squares of each column sum to a value of 0 or more.
//
// Orthogonal solutions: OrderFactors, then ReflectFactors.
// Oblique solutions:    ReflectObliqueFactors, then OrderObliqueFactors; the
// factor correlations follow every sign change and every move of a factor.
#ifndef VELQUORIN_KERNELS_FACTOR_ORDER_H_
#define VELQUORIN_KERNELS_FACTOR_ORDER_H_

#include "kernels/matrix.h"

namespace vq {

// Loadings `a` (p by m, columns are factors): a column whose sum of
// sign(a) * a^2 is below 0 is negated in place; a column at 0 or above stays.
void ReflectFactors(Matrix& a, int p, int m);

// Loadings `a` (p by m): columns are permuted in place into descending order
// of their sums of squares, by the stable ranks of M01DAF. A non-zero
// M01DAF result gives the trace line 3985. m below 1 does nothing.
void OrderFactors(Matrix& a, int p, int m);

// Pattern (p by m) and factor correlations `phi` (m by m): the pattern's
// columns are reflected as in ReflectFactors; for each reflected factor f,
// row f and then column f of `phi` are negated (its diagonal element thus
// stands, and so does an element between two reflected factors).
void ReflectObliqueFactors(Matrix& pattern, Matrix& phi, int p, int m);

// Pattern (p by m) and `phi` (m by m): the pattern's columns move as in
// OrderFactors; rows and columns of `phi` move with the same ranks. A
// non-zero M01DAF result gives the trace line 3985. m below 1 does nothing.
void OrderObliqueFactors(Matrix& pattern, int p, int m, Matrix& phi);

}  // namespace vq

#endif  // VELQUORIN_KERNELS_FACTOR_ORDER_H_
