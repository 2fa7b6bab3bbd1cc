// Smoothing of a correlation matrix estimated pair by pair (tetrachoric or
// polychoric), which need not be positive definite: the matrix is rebuilt in
// one pass from its eigenvalues at or above 0.005, scaled so that the kept
// ones sum to their number, and brought back to a unit diagonal.
#ifndef VELQUORIN_CORRELATION_SMOOTHING_H_
#define VELQUORIN_CORRELATION_SMOOTHING_H_

#include "kernels/matrix.h"

namespace vq {

// Column c of `result` (reshaped to rows by n) is column n-1-c of `a`
// (0-based): the columns in reverse order.
void ReverseColumns(const Matrix& a, int n, Matrix& result);

// The smoothed p by p correlation matrix of `r` into `result` (reshaped to
// p by p). `r` is destroyed: it holds the eigenvectors on return. The eigen
// step (F02FAF) stops the run on failure. A variable whose rebuilt diagonal
// element is not above 0 (it loads only on dropped eigenvectors) stops the
// run with "FATAL ERROR: VARIABLE" I4 " CANNOT BE SMOOTHED".
void SmoothCorrelations(Matrix& r, int p, Matrix& result);

}  // namespace vq

#endif  // VELQUORIN_CORRELATION_SMOOTHING_H_
