// Symmetric eigenproblems, over LAPACK's symmetric drivers. Three forms, each
// with its own order of results:
//   DEVESF  the NEVEC algebraically largest eigenpairs, by decreasing modulus;
//   DEVLRG  all eigenvalues, by decreasing modulus (real and imaginary parts);
//   F02ABF  all eigenpairs, eigenvalues ascending;
//   F02FAF  all eigenpairs in place of the matrix, eigenvalues ascending.
#ifndef VELQUORIN_KERNELS_EIGEN_H_
#define VELQUORIN_KERNELS_EIGEN_H_

#include <vector>

#include "kernels/matrix.h"

namespace vq {

// Partial form. `a` is symmetric of order n (only its values are read; the
// off-diagonal elements are left as they came in). With `small` false, takes
// the `nevec` algebraically largest eigenvalues and orders them by decreasing
// absolute value; `eval` gets them, `evec` (n by nevec) their unit
// eigenvectors, each with its component of largest absolute value (the first
// on a tie) positive. ERSET protocol: bad sizes (nevec < 1 or > n, n < 1) are
// a terminal error ("The argument NEVEC = ..."); solver trouble sets the
// warning codes 1, 2 or 3 that IERCD() returns.
void DEVESF(int n, int nevec, Matrix& a, bool small, std::vector<double>& eval, Matrix& evec);

// General form: all n eigenvalues of `a` (not changed) as real and
// imaginary parts, in order of decreasing modulus. For the symmetric
// matrices of the program the imaginary parts are 0.
void DEVLRG(int n, const Matrix& a, std::vector<double>& eval_real, std::vector<double>& eval_imag);

// Full form: all eigenvalues of symmetric `a` (order n, not changed) in
// ascending order in `r`, orthonormal eigenvectors in the columns of `v`.
// IFAIL protocol, failure 1 when the solver does not converge.
void F02ABF(const Matrix& a, int n, std::vector<double>& r, Matrix& v, int& ifail);

// All eigenvalues (ascending, in `w`) and, with job 'V', eigenvectors of the
// symmetric matrix `a`, which only the triangle `uplo` ('U' or 'L') is read
// of. The eigenvectors replace `a`, the vector of eigenvalue k in column k.
// IFAIL protocol.
void F02FAF(char job, char uplo, int n, Matrix& a, std::vector<double>& w, int& ifail);

}  // namespace vq

#endif  // VELQUORIN_KERNELS_EIGEN_H_
