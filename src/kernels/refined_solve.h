// Solution of A C = B with iterative refinement (residuals in double-double).
#ifndef VELQUORIN_KERNELS_REFINED_SOLVE_H_
#define VELQUORIN_KERNELS_REFINED_SOLVE_H_

#include "kernels/matrix.h"

namespace vq {

// Solves A C = B for n by n `a` and n by m `b`; `c` (n by m) gets the
// solution. Scaled partial pivoting, unit upper factor, refinement until the
// corrections are below 2e relative; IFAIL protocol with the frame of the
// table printer: failure 1 "** Matrix A is approximately singular.",
// failure 2 "** Matrix A is too ill-conditioned.".
void F04AEF(const Matrix& a, const Matrix& b, int n, int m, Matrix& c, int& ifail);

}  // namespace vq

#endif  // VELQUORIN_KERNELS_REFINED_SOLVE_H_
