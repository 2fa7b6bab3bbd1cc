#include "kernels/refined_solve.h"

#include <algorithm>
#include <cassert>
#include <cmath>
#include <vector>

#include "kernels/failure.h"

namespace vq {
namespace {

// Half the distance from 1 to the next double: the unit roundoff.
constexpr double kEpsilon = 1.1102230246251568E-16;

constexpr int kFailureSingular = 1;
constexpr int kFailureIllConditioned = 2;

// --- Double-double arithmetic for the residuals ----------------------------

// s + e == a + b exactly, with s the rounded sum (Knuth's two-sum).
void TwoSum(double a, double b, double& s, double& e) {
  s = a + b;
  const double b_virtual = s - a;
  const double a_virtual = s - b_virtual;
  e = (a - a_virtual) + (b - b_virtual);
}

// hi + lo == a exactly, each half with at most 26 significant bits.
void Split(double a, double& hi, double& lo) {
  const double t = 134217729.0 * a;  // 2^27 + 1
  hi = t - (t - a);
  lo = a - hi;
}

// p + e == a * b exactly, with p the rounded product (Dekker's method).
void TwoProduct(double a, double b, double& p, double& e) {
  p = a * b;
  double a_hi, a_lo, b_hi, b_lo;
  Split(a, a_hi, a_lo);
  Split(b, b_hi, b_lo);
  e = ((a_hi * b_hi - p) + a_hi * b_lo + a_lo * b_hi) + a_lo * b_lo;
}

// A sum carried as a pair of words, high and low.
struct DoubleDouble {
  double hi = 0.0;
  double lo = 0.0;
};

// sum += a * b, the product taken exactly.
void AddProduct(DoubleDouble& sum, double a, double b) {
  double p, p_error;
  TwoProduct(a, b, p, p_error);
  double s, s_error;
  TwoSum(sum.hi, p, s, s_error);
  s_error += sum.lo + p_error;
  sum.hi = s + s_error;
  sum.lo = s_error - (sum.hi - s);
}

// --- Factorisation and solve -------------------------------------------------

// Factorises aa (n by n) in place with scaled partial pivoting: the lower
// triangle with the diagonal gets L (the pivots on its diagonal), the strict
// upper triangle the unit upper factor U, so that P A = L U. pivot[j] is
// the row exchanged with row j at step j. Returns false when the matrix is
// singular to working precision.
bool Factorise(Matrix& aa, int n, std::vector<int>& pivot) {
  std::vector<double> scale(static_cast<std::size_t>(n));
  for (int row = 0; row < n; ++row) {
    double sum = 0.0;
    for (int col = 0; col < n; ++col) sum += aa(row, col) * aa(row, col);
    if (sum == 0.0) return false;
    scale[row] = 1.0 / std::sqrt(sum);
  }
  pivot.assign(static_cast<std::size_t>(n), 0);
  for (int step = 0; step < n; ++step) {
    // The first of equal scaled values stands.
    double largest = 0.0;
    int chosen = step;
    for (int row = step; row < n; ++row) {
      const double scaled = std::fabs(aa(row, step)) * scale[row];
      if (scaled > largest) {
        largest = scaled;
        chosen = row;
      }
    }
    // Row `step` moves to the chosen row's place, its scale with it.
    pivot[step] = chosen;
    scale[chosen] = scale[step];
    if (largest < 8.0 * kEpsilon) return false;
    if (chosen != step) {
      for (int col = 0; col < n; ++col) std::swap(aa(step, col), aa(chosen, col));
    }
    const double diagonal = aa(step, step);
    for (int col = step + 1; col < n; ++col) aa(step, col) /= diagonal;
    for (int col = step + 1; col < n; ++col) {
      const double u = aa(step, col);
      for (int row = step + 1; row < n; ++row) aa(row, col) = aa(row, col) - aa(row, step) * u;
    }
  }
  return true;
}

// Solves L U x = P b for one right-hand side, in place.
void SolveFactored(const Matrix& aa, int n, const std::vector<int>& pivot, double* x) {
  for (int row = 0; row < n; ++row) std::swap(x[row], x[pivot[row]]);
  for (int row = 0; row < n; ++row) {
    double sum = x[row];
    for (int k = 0; k < row; ++k) sum -= aa(row, k) * x[k];
    x[row] = sum / aa(row, row);
  }
  for (int row = n - 1; row >= 0; --row) {
    double sum = x[row];
    for (int k = row + 1; k < n; ++k) sum -= aa(row, k) * x[k];
    x[row] = sum;
  }
}

}  // namespace

int RefinedSolve(
    const Matrix& a, const Matrix& b, int n, int m, Matrix& c, Matrix& aa, Matrix& bb, int& ifail) {
  const int caller_ifail = ifail;
  ifail = 0;
  c.Reset(std::max(n, 0), std::max(m, 0));
  aa.Reset(std::max(n, 0), std::max(n, 0));
  bb.Reset(std::max(n, 0), std::max(m, 0));
  if (n < 1 || m < 1) return 0;
  assert(a.rows >= n && a.cols >= n && b.rows >= n && b.cols >= m);

  for (int col = 0; col < n; ++col) std::copy(a.Column(col), a.Column(col) + n, aa.Column(col));
  std::vector<int> pivot;
  if (!Factorise(aa, n, pivot)) {
    ifail = NagFailure("F04AEF",
                       caller_ifail,
                       kFailureSingular,
                       {" ** Matrix A is approximately singular."},
                       true);
    return 0;
  }

  for (int col = 0; col < m; ++col) std::copy(b.Column(col), b.Column(col) + n, bb.Column(col));
  const double tol = 2.0 * kEpsilon;
  double eta0 = 0.0;
  int passes = 0;
  bool another_pass = true;
  while (another_pass) {
    ++passes;
    another_pass = false;
    double eta = 0.0;
    for (int col = 0; col < m; ++col) {
      double* y = bb.Column(col);
      double* x = c.Column(col);
      SolveFactored(aa, n, pivot, y);
      double xmax = 0.0;
      double dmax = 0.0;
      for (int row = 0; row < n; ++row) {
        x[row] += y[row];
        xmax = std::max(xmax, std::fabs(x[row]));
        dmax = std::max(dmax, std::fabs(y[row]));
      }
      // New residuals b - A x, formed in double-double from -b upwards.
      for (int row = 0; row < n; ++row) {
        DoubleDouble sum{-b(row, col), 0.0};
        for (int k = 0; k < n; ++k) AddProduct(sum, a(row, k), x[k]);
        y[row] = -(sum.hi + sum.lo);
      }
      if (xmax * eta < dmax) eta = dmax / xmax;
      if (dmax > xmax * tol) another_pass = true;
    }
    // From the second pass on the corrections must at least halve.
    if (passes > 1 && eta0 * 0.5 < eta) {
      ifail = NagFailure("F04AEF",
                         caller_ifail,
                         kFailureIllConditioned,
                         {" ** Matrix A is too ill-conditioned."},
                         true);
      return 0;
    }
    eta0 = eta;
  }
  return passes;
}

void F04AEF(const Matrix& a, const Matrix& b, int n, int m, Matrix& c, int& ifail) {
  Matrix aa;
  Matrix bb;
  RefinedSolve(a, b, n, m, c, aa, bb, ifail);
}

}  // namespace vq
