#include "kernels/eigen.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <numeric>
#include <string>
#include <vector>

#include "kernels/failure.h"
#include "kernels/lapack.h"

namespace vq {
namespace {

constexpr double kMachinePrecision = 2.220446049250313e-16;

// Warning codes of the partial form, as IERCD() gives them to the caller.
constexpr int kCodeNotConverged = 1;
constexpr int kCodeLostOrthogonality = 3;

// Terminal error codes of the partial form's argument checks. They are kept
// apart from the warning codes 1 to 3 so that a caller that goes on after a
// terminal error (printing and stopping switched off) does not take it for a
// solver warning.
constexpr int kCodeBadOrder = 4;
constexpr int kCodeBadCount = 5;
constexpr int kCodeBadLeadingDimension = 6;

// All eigenvalues of the symmetric matrix in a[0 .. lda * n) (triangle
// `uplo` is read), ascending in w[0 .. n), and with jobz 'V' the orthonormal
// eigenvectors in place of a, column k for w[k]; with jobz 'N' the triangle
// is destroyed. Reference LAPACK's dsyev (Householder tridiagonalisation and
// implicit QL/QR): single-threaded and the same on every machine. Returns
// dsyev's info: 0, or the number of off-diagonal elements that did not
// converge to zero.
int SymmetricEigen(char jobz, char uplo, int n, double* a, int lda, double* w) {
  int info = 0;
  int lwork = -1;
  double optimal = 0.0;
  dsyev_(&jobz, &uplo, &n, a, &lda, w, &optimal, &lwork, &info, 1, 1);
  if (info < 0) LapackArgumentError("DSYEV", info);
  lwork = std::max(static_cast<int>(optimal), std::max(1, 3 * n - 1));
  std::vector<double> work(static_cast<std::size_t>(lwork));
  dsyev_(&jobz, &uplo, &n, a, &lda, w, work.data(), &lwork, &info, 1, 1);
  if (info < 0) LapackArgumentError("DSYEV", info);
  return info;
}

// A copy of the leading n by n block of `a`.
Matrix LeadingBlock(const Matrix& a, int n) {
  Matrix copy(n, n);
  for (int col = 0; col < n; ++col) {
    std::copy(a.Column(col), a.Column(col) + n, copy.Column(col));
  }
  return copy;
}

// Positions of the n values, by decreasing value and then, stably, by
// decreasing absolute value: the value order decides ties of modulus, so
// that +t stands before -t.
std::vector<int> DecreasingModulusOrder(const std::vector<double>& values, int n) {
  std::vector<int> order(static_cast<std::size_t>(n));
  std::iota(order.begin(), order.end(), 0);
  std::stable_sort(order.begin(), order.end(), [&](int a, int b) { return values[a] > values[b]; });
  std::stable_sort(order.begin(), order.end(), [&](int a, int b) {
    return std::fabs(values[a]) > std::fabs(values[b]);
  });
  return order;
}

// Negates column `col` of `v` (n rows) unless its component of largest
// absolute value, the first one on a tie, is already positive.
void NormaliseSign(Matrix& v, int n, int col) {
  double* column = v.Column(col);
  int largest = 0;
  for (int row = 1; row < n; ++row) {
    if (std::fabs(column[row]) > std::fabs(column[largest])) largest = row;
  }
  if (column[largest] < 0.0) {
    for (int row = 0; row < n; ++row) column[row] = -column[row];
  }
}

// Sum of the squared inner products of distinct columns of `v` (n rows,
// `count` columns): 0 for exactly orthogonal columns.
double OrthogonalityDefect(const Matrix& v, int n, int count) {
  double sum = 0.0;
  for (int first = 0; first < count; ++first) {
    for (int second = first + 1; second < count; ++second) {
      double product = 0.0;
      for (int row = 0; row < n; ++row) product += v(row, first) * v(row, second);
      sum += product * product;
    }
  }
  return sum;
}

std::string Int(int value) { return std::to_string(value); }

}  // namespace

void DEVESF(int n, int nevec, Matrix& a, bool small, std::vector<double>& eval, Matrix& evec) {
  ImslClearCode();
  eval.assign(static_cast<std::size_t>(std::max(nevec, 0)), 0.0);
  evec.Reset(std::max(n, 0), std::max(nevec, 0));
  if (n < 1) {
    ImslError(kImslTerminal,
              kCodeBadOrder,
              "DEVESF",
              "The argument N = " + Int(n) + ".  The order of the matrix must be at least 1.");
    return;
  }
  if (nevec < 1 || nevec > n) {
    ImslError(kImslTerminal,
              kCodeBadCount,
              "DEVESF",
              "The argument NEVEC = " + Int(nevec) +
                  ".  The number of largest/smallest eigenvalues to be calculated must be "
                  "greater than 0 and less than or equal to N = " +
                  Int(n) + ".");
    return;
  }
  if (a.rows < n || a.cols < n) {
    ImslError(kImslTerminal,
              kCodeBadLeadingDimension,
              "DEVESF",
              "The argument LDA = " + Int(a.rows) +
                  ".  The leading dimension of A must be greater than or equal to N = " + Int(n) +
                  ".");
    return;
  }

  // The solver works on a copy, so A comes back entirely unchanged.
  Matrix vectors = LeadingBlock(a, n);
  std::vector<double> values(static_cast<std::size_t>(n));
  const int info = SymmetricEigen('V', 'U', n, vectors.data(), n, values.data());
  if (info > 0) {
    ImslError(kImslWarning,
              kCodeNotConverged,
              "DEVESF",
              "The iteration for an eigenvalue did not converge.  " + Int(info) +
                  " off-diagonal elements of the tridiagonal form did not converge to zero.");
  }

  // Choose by value (the largest, or with `small` the smallest), then order
  // the chosen ones by decreasing modulus.
  std::vector<int> by_value(static_cast<std::size_t>(n));
  std::iota(by_value.begin(), by_value.end(), 0);
  std::stable_sort(by_value.begin(), by_value.end(), [&](int x, int y) {
    return small ? values[x] < values[y] : values[x] > values[y];
  });
  std::vector<double> chosen(static_cast<std::size_t>(nevec));
  for (int k = 0; k < nevec; ++k) chosen[k] = values[by_value[k]];
  std::vector<int> order = DecreasingModulusOrder(chosen, nevec);

  for (int k = 0; k < nevec; ++k) {
    const int source = by_value[order[k]];
    eval[k] = values[source];
    std::copy(vectors.Column(source), vectors.Column(source) + n, evec.Column(k));
    NormaliseSign(evec, n, k);
  }
  if (OrthogonalityDefect(evec, n, nevec) > kMachinePrecision) {
    ImslError(kImslWarning,
              kCodeLostOrthogonality,
              "DEVESF",
              "The eigenvectors have lost orthogonality.");
  }
}

void DEVLRG(int n,
            const Matrix& a,
            std::vector<double>& eval_real,
            std::vector<double>& eval_imag) {
  ImslClearCode();
  eval_real.assign(static_cast<std::size_t>(std::max(n, 0)), 0.0);
  eval_imag.assign(static_cast<std::size_t>(std::max(n, 0)), 0.0);
  if (n < 1) {
    ImslError(kImslTerminal,
              1,
              "DEVLRG",
              "The argument N = " + Int(n) + ".  The order of the matrix must be at least 1.");
    return;
  }
  if (a.rows < n || a.cols < n) {
    ImslError(kImslTerminal,
              2,
              "DEVLRG",
              "The argument LDA = " + Int(a.rows) +
                  ".  The leading dimension of A must be greater than or equal to N = " + Int(n) +
                  ".");
    return;
  }
  Matrix work = LeadingBlock(a, n);
  std::vector<double> values(static_cast<std::size_t>(n));
  if (SymmetricEigen('N', 'U', n, work.data(), n, values.data()) > 0) {
    // The QL/QR iteration allows 30 steps per eigenvalue.
    ImslError(
        kImslFatal,
        1,
        "DEVLRG",
        "The iteration for the eigenvalues did not converge after " + Int(30 * n) + " iterations.");
  }
  std::vector<int> order = DecreasingModulusOrder(values, n);
  for (int k = 0; k < n; ++k) eval_real[k] = values[order[k]];
}

void F02ABF(const Matrix& a, int n, std::vector<double>& r, Matrix& v, int& ifail) {
  const int caller_ifail = ifail;
  ifail = 0;
  r.assign(static_cast<std::size_t>(std::max(n, 0)), 0.0);
  v.Reset(std::max(n, 0), std::max(n, 0));
  if (n < 1) {
    ifail = NagFailure("F02ABF", caller_ifail, 2, {" ** On entry, N.lt.1 : N = " + Int(n)});
    return;
  }
  v = LeadingBlock(a, n);
  if (SymmetricEigen('V', 'U', n, v.data(), n, r.data()) > 0) {
    ifail = NagFailure("F02ABF", caller_ifail, 1);
  }
}

void F02FAF(char job, char uplo, int n, Matrix& a, std::vector<double>& w, int& ifail) {
  const int caller_ifail = ifail;
  ifail = 0;
  w.assign(static_cast<std::size_t>(std::max(n, 0)), 0.0);
  const char jobz = static_cast<char>(std::toupper(static_cast<unsigned char>(job)));
  const char triangle = static_cast<char>(std::toupper(static_cast<unsigned char>(uplo)));
  if (jobz != 'V' && jobz != 'N') {
    ifail = NagFailure(
        "F02FAF", caller_ifail, 1, {std::string(" ** On entry, JOB is not valid : JOB = ") + job});
    return;
  }
  if (triangle != 'U' && triangle != 'L') {
    ifail = NagFailure("F02FAF",
                       caller_ifail,
                       1,
                       {std::string(" ** On entry, UPLO is not valid : UPLO = ") + uplo});
    return;
  }
  if (n < 1 || a.rows < n || a.cols < n) {
    ifail =
        NagFailure("F02FAF",
                   caller_ifail,
                   1,
                   {" ** On entry, N.lt.1 or LDA.lt.N : N = " + Int(n) + ", LDA = " + Int(a.rows)});
    return;
  }
  const int info = SymmetricEigen(jobz, triangle, n, a.data(), a.rows, w.data());
  if (info > 0) {
    ifail = NagFailure("F02FAF",
                       caller_ifail,
                       2,
                       {" ** The algorithm failed to converge; " + Int(info) +
                        " off-diagonal elements did not converge to zero"});
  }
}

}  // namespace vq
