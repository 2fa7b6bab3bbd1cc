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

// Partial form. `a` is symmetric of order n (only its upper triangle is
// read; `a` is not changed). With `small` false, takes the `nevec`
// algebraically largest eigenvalues (with `small` true the smallest) and
// orders them by decreasing absolute value, +t before -t; `eval` gets them,
// `evec` (n by nevec) their unit eigenvectors, each with its component of
// largest absolute value (the first on a tie) positive. ERSET protocol: bad
// sizes are terminal errors 4 (n < 1), 5 (nevec < 1 or > n, "The argument
// NEVEC = ...") and 6 (a smaller than n by n); `eval` and `evec` then come
// back as zeros of their sizes. Solver trouble gives the warnings 1 (no
// convergence) or 3 (lost orthogonality) that IERCD() returns.
void DEVESF(int n, int nevec, Matrix& a, bool small, std::vector<double>& eval, Matrix& evec);

// General form: all n eigenvalues of `a` (not changed) as real and
// imaginary parts, in order of decreasing modulus, +t before -t. The program
// gives it symmetric matrices only: the upper triangle is read and the
// imaginary parts are 0. ERSET protocol: fatal error 1 when the iteration
// does not converge.
void DEVLRG(int n, const Matrix& a, std::vector<double>& eval_real, std::vector<double>& eval_imag);

// Full form: all eigenvalues of symmetric `a` (order n, not changed, upper
// triangle read) in ascending order in `r`, orthonormal eigenvectors in the
// columns of `v` (n by n). IFAIL protocol, failure 1 when the solver does not
// converge (failure 2 for n < 1).
void F02ABF(const Matrix& a, int n, std::vector<double>& r, Matrix& v, int& ifail);

// All eigenvalues (ascending, in `w`) and, with job 'V', eigenvectors of the
// symmetric matrix `a`, which only the triangle `uplo` ('U' or 'L') is read
// of. The eigenvectors replace `a`, the vector of eigenvalue k in column k
// (with job 'N' the triangle is destroyed). IFAIL protocol: failure 1 for a
// bad job, triangle or size, failure 2 when the solver does not converge.
void F02FAF(char job, char uplo, int n, Matrix& a, std::vector<double>& w, int& ifail);

}  // namespace vq

#endif  // VELQUORIN_KERNELS_EIGEN_H_
