// Solution of A C = B with iterative refinement (residuals in double-double).
#ifndef VELQUORIN_KERNELS_REFINED_SOLVE_H_
#define VELQUORIN_KERNELS_REFINED_SOLVE_H_

#include "kernels/matrix.h"

namespace vq {

// Solves A C = B for n by n `a` and n by m `b` (neither changed); `c` (n by
// m) gets the solution. Scaled partial pivoting, unit upper factor, then
// refinement with residuals accumulated in double-double until the
// corrections are below 2e relative (e = 2^-53). IFAIL protocol with the
// frame of the table printer (abnormal exit line, message, failure line):
// failure 1 "** Matrix A is approximately singular." (a zero row or a
// scaled pivot below 8e), failure 2 "** Matrix A is too ill-conditioned."
// (corrections that stop halving). n or m below 1 is an empty problem.
void F04AEF(const Matrix& a, const Matrix& b, int n, int m, Matrix& c, int& ifail);

// F04AEF with its work arrays: `aa` (n by n) comes back with the factors (L
// with the pivots on and below the diagonal, the unit upper factor above),
// `bb` (n by m) with the last residuals. Returns the number of refinement
// passes made, 0 after a failure or for an empty problem.
int RefinedSolve(
    const Matrix& a, const Matrix& b, int n, int m, Matrix& c, Matrix& aa, Matrix& bb, int& ifail);

}  // namespace vq

#endif  // VELQUORIN_KERNELS_REFINED_SOLVE_H_
