// Inverse of a symmetric positive definite matrix that reports and goes on
// when the matrix is not positive definite.
#ifndef VELQUORIN_KERNELS_PD_INVERSE_H_
#define VELQUORIN_KERNELS_PD_INVERSE_H_

#include "kernels/matrix.h"

namespace vq {

// Inverse of symmetric positive definite `a` (n by n, ERSET protocol):
// a pivot that is not above 0 is a fatal error "The leading k by k submatrix
// of the input matrix is not positive definite."; an L1 reciprocal condition
// estimate not above 2.22e-16 a warning "The matrix is too ill-conditioned.
// ...". `ainv` (n by n) gets the inverse in both triangles. Returns false
// when the factorisation broke off (`ainv` then holds what it left).
bool DLINDS(int n, const Matrix& a, Matrix& ainv);

// Sets ERSET to print on, stop off for all levels (for the rest of the run),
// then DLINDS. Never stops the run. After a failed factorisation `inverse`
// holds a documented safe result (see the implementation).
void InvertPositiveDefinite(const Matrix& a, int n, Matrix& inverse);

}  // namespace vq

#endif  // VELQUORIN_KERNELS_PD_INVERSE_H_
