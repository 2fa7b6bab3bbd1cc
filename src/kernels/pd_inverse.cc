#include "kernels/pd_inverse.h"

#include <algorithm>
#include <string>
#include <vector>

#include "kernels/failure.h"
#include "kernels/lapack.h"

namespace vq {
namespace {

constexpr double kMachinePrecision = 2.220446049250313e-16;

constexpr int kCodeIllConditioned = 1;
constexpr int kCodeNotPositiveDefinite = 2;
constexpr int kCodeBadOrder = 1;
constexpr int kCodeBadLeadingDimension = 2;

// Copies the upper triangle of the leading n by n block of `m` into its
// lower triangle.
void FillLowerTriangle(Matrix& m, int n) {
  for (int col = 0; col < n; ++col) {
    for (int row = col + 1; row < n; ++row) m(row, col) = m(col, row);
  }
}

// The work of DLINDS. Returns 0 on success, the order k of the leading
// submatrix that is not positive definite, or -1 for bad arguments.
int CholeskyInverse(int n, const Matrix& a, Matrix& ainv) {
  ImslClearCode();
  if (n < 1) {
    ainv.Reset(0, 0);
    ImslError(
        kImslTerminal,
        kCodeBadOrder,
        "DLINDS",
        "The argument N = " + std::to_string(n) + ".  The order of the matrix must be at least 1.");
    return -1;
  }
  ainv.Reset(n, n);
  if (a.rows < n || a.cols < n) {
    ImslError(kImslTerminal,
              kCodeBadLeadingDimension,
              "DLINDS",
              "The argument LDA = " + std::to_string(a.rows) +
                  ".  The leading dimension of A must be greater than or equal to N = " +
                  std::to_string(n) + ".");
    return -1;
  }
  // The factor is built from the upper triangle of A; the lower triangle
  // of the work space stays 0 until the inverse is filled in.
  for (int col = 0; col < n; ++col) {
    for (int row = 0; row <= col; ++row) ainv(row, col) = a(row, col);
  }
  const char uplo = 'U';
  const char norm = '1';
  std::vector<double> work(static_cast<std::size_t>(3 * n));
  std::vector<int> iwork(static_cast<std::size_t>(n));
  const double anorm = dlansy_(&norm, &uplo, &n, ainv.data(), &n, work.data(), 1, 1);

  int info = 0;
  dpotrf_(&uplo, &n, ainv.data(), &n, &info, 1);
  if (info < 0) LapackArgumentError("DPOTRF", info);
  if (info > 0) {
    const std::string k = std::to_string(info);
    ImslError(kImslFatal,
              kCodeNotPositiveDefinite,
              "DLINDS",
              "The leading " + k + " by " + k +
                  " submatrix of the input matrix is not positive definite.");
    return info;
  }

  double rcond = 0.0;
  dpocon_(&uplo, &n, ainv.data(), &n, &anorm, &rcond, work.data(), iwork.data(), &info, 1);
  if (info < 0) LapackArgumentError("DPOCON", info);
  // A factor with positive pivots has a nonzero diagonal, so dpotri cannot
  // report a singular factor here.
  dpotri_(&uplo, &n, ainv.data(), &n, &info, 1);
  if (info < 0) LapackArgumentError("DPOTRI", info);
  FillLowerTriangle(ainv, n);

  if (!(rcond > kMachinePrecision)) {
    ImslError(kImslWarning,
              kCodeIllConditioned,
              "DLINDS",
              "The matrix is too ill-conditioned. An estimate of the reciprocal of its L1 "
              "condition number is RCOND = " +
                  ImslReal(rcond) + ".  The inverse might not be accurate.");
  }
  return 0;
}

}  // namespace

bool DLINDS(int n, const Matrix& a, Matrix& ainv) { return CholeskyInverse(n, a, ainv) == 0; }

// After a factorisation that broke off at the leading k by k submatrix, the
// leading k - 1 columns of the factor are complete: they are the Cholesky
// factor of the leading (k - 1) by (k - 1) block of A, which is positive
// definite. The safe result is the inverse of that block in the leading
// block, and the unit matrix in the rest (zeros off the diagonal).
//
// Every caller gets finite numbers it can go on with: squared multiple
// correlations 1 - 1/w(i,i) are those of the leading variables among
// themselves and 0 for the others (a zero or a NaN on the diagonal would
// give -infinity or NaN communalities); Promax and the factor score weights
// get a finite, positive definite stand-in whose diagonal is positive, so
// the square roots and divisions that follow stay defined.
int InvertPositiveDefinite(const Matrix& a, int n, Matrix& inverse) {
  ERSET(0, 1, 0);
  const int failed_order = CholeskyInverse(n, a, inverse);
  if (failed_order == 0 || n < 1) return 0;
  if (failed_order < 0) {
    // Bad sizes cannot arise in the program; the unit matrix keeps the run
    // defined all the same.
    inverse.Reset(n, n);
    for (int i = 0; i < n; ++i) inverse(i, i) = 1.0;
    return 1;
  }
  const int finished = failed_order - 1;
  Matrix block(std::max(finished, 1), std::max(finished, 1));
  if (finished > 0) {
    for (int col = 0; col < finished; ++col) {
      for (int row = 0; row <= col; ++row) block(row, col) = inverse(row, col);
    }
    const char uplo = 'U';
    int info = 0;
    dpotri_(&uplo, &finished, block.data(), &finished, &info, 1);
    if (info < 0) LapackArgumentError("DPOTRI", info);
    FillLowerTriangle(block, finished);
  }
  inverse.Reset(n, n);
  for (int col = 0; col < finished; ++col) {
    for (int row = 0; row < finished; ++row) inverse(row, col) = block(row, col);
  }
  for (int i = finished; i < n; ++i) inverse(i, i) = 1.0;
  return failed_order;
}

}  // namespace vq
