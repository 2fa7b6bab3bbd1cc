// Inverse of a symmetric positive definite matrix that reports and goes on
// when the matrix is not positive definite.
#ifndef VELQUORIN_KERNELS_PD_INVERSE_H_
#define VELQUORIN_KERNELS_PD_INVERSE_H_

#include "kernels/matrix.h"

namespace vq {

// Inverse of symmetric positive definite `a` (n by n, its upper triangle is
// read; ERSET protocol): a pivot that is not above 0 is fatal error 2 "The
// leading k by k submatrix of the input matrix is not positive definite.";
// an L1 reciprocal condition estimate not above 2.22e-16 is warning 1 "The
// matrix is too ill-conditioned. ...". `ainv` (n by n) gets the inverse in
// both triangles. Returns false when the factorisation broke off: `ainv`
// then holds what it left, the factor of dpotrf in its upper triangle and
// zeros below.
bool DLINDS(int n, const Matrix& a, Matrix& ainv);

// Sets ERSET to print on, stop off for all levels (for the rest of the run),
// then DLINDS. Never stops the run. After a failed factorisation at the
// leading k by k submatrix, `inverse` holds the inverse of the leading
// (k - 1) by (k - 1) block of `a` and the unit matrix in the rest: finite,
// positive definite, with a positive diagonal. Returns 0 when `inverse` is
// the inverse of `a`, and k when it is the stand-in above (a caller that
// keeps a record of its results notes it; the console has the message).
int InvertPositiveDefinite(const Matrix& a, int n, Matrix& inverse);

}  // namespace vq

#endif  // VELQUORIN_KERNELS_PD_INVERSE_H_
