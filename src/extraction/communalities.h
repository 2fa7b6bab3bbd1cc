// Starting values of the communalities for principal factors: the diagonal
// of the correlation matrix is replaced before the first eigen solution,
// either by squared multiple correlations ("SMC") or by each row's largest
// absolute correlation ("HIR"). Off-diagonal elements are never touched.
#ifndef VELQUORIN_EXTRACTION_COMMUNALITIES_H_
#define VELQUORIN_EXTRACTION_COMMUNALITIES_H_

#include "kernels/matrix.h"

namespace vq {

// Replaces the diagonal of `r` (p by p) by squared multiple correlations
// 1 - 1 / w(i,i), w the inverse of `r`. When the eigenvalue of smallest
// modulus is not above 0, 1 / ((p - 1) * 100000) is added to the diagonal
// first (with p = 1 the divisor p - 1 counts as 1). A matrix that is still
// not positive definite is reported by the inverse and the run goes on: the
// variables of the leading block that did factorise get their squared
// multiple correlation within that block, the others 0.
void SmcCommunalities(Matrix& r, int p);

// The same, with the eigenvalue of smallest modulus of `r` already known:
// `smallest` is the last of DEVLRG's eigenvalues of this very matrix (the
// eigenvalue screen's), so that the solution is not made a second time.
void SmcCommunalities(Matrix& r, int p, double smallest);

// Replaces r(i,i) by the largest |r(i,j)|, j != i (0.0 for a row of zeros
// and for p = 1).
void HighestCorrelationCommunalities(Matrix& r, int p);

}  // namespace vq

#endif  // VELQUORIN_EXTRACTION_COMMUNALITIES_H_
