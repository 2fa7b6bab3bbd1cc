#include "rotation/promax.h"

#include <cmath>
#include <cstdint>
#include <vector>

#include "kernels/pd_inverse.h"
#include "kernels/refined_solve.h"

namespace vq {
namespace {

// Above this many factors a power is formed by squaring: a Promax power in
// the millions is no analysis anyone means, but a mistyped one must not keep
// the run multiplying for hours.
constexpr std::int64_t kLongestMultiplication = 1 << 16;

// x to an integer power by repeated multiplication, so that the usual
// powers give the doubles of the plain product. The count is taken in 64
// bits: the negative of the smallest 32-bit power has no 32-bit value.
double IntegerPower(double x, int power) {
  if (power == 0) return 1.0;
  std::int64_t count = power < 0 ? -static_cast<std::int64_t>(power) : power;
  double result = x;
  if (count > kLongestMultiplication) {
    // Squaring: result = x, then the remaining count - 1 factors.
    double base = x;
    std::int64_t rest = count - 1;
    while (rest > 0) {
      if (rest & 1) result = result * base;
      base = base * base;
      rest >>= 1;
    }
  } else {
    for (std::int64_t step = 1; step < count; ++step) result = result * x;
  }
  return power < 0 ? 1.0 / result : result;
}

// x' y for p by m matrices: an m by m product.
Matrix CrossProduct(const Matrix& x, const Matrix& y, int p, int m) {
  Matrix result(m, m);
  for (int j = 0; j < m; ++j) {
    for (int i = 0; i < m; ++i) {
      double sum = 0.0;
      for (int k = 0; k < p; ++k) sum += x(k, i) * y(k, j);
      result(i, j) = sum;
    }
  }
  return result;
}

// x y for x rows by n and y n by cols.
Matrix Product(const Matrix& x, const Matrix& y, int rows, int n, int cols) {
  Matrix result(rows, cols);
  for (int j = 0; j < cols; ++j) {
    for (int i = 0; i < rows; ++i) {
      double sum = 0.0;
      for (int k = 0; k < n; ++k) sum += x(i, k) * y(k, j);
      result(i, j) = sum;
    }
  }
  return result;
}

}  // namespace

PromaxExponents PromaxExponentsFor(int k) {
  switch (k) {
    case 2:
      return {3, 1};
    case 3:
      return {5, 2};
    case 4:
      return {5, 1};
    case 5:
      return {7, 2};
    case 6:
      return {7, 1};
    default:
      return {k, 0};
  }
}

double PromaxTarget(double t, int k) {
  const PromaxExponents e = PromaxExponentsFor(k);
  // The ratio has no value at t = 0 when |t| is divided out, nor for a
  // negative power; the closed forms give 0 there.
  if (t == 0.0 && (e.d > 0 || e.n < 0)) return 0.0;
  return IntegerPower(t, e.n) / IntegerPower(std::fabs(t), e.d);
}

void PROMAX(const Matrix& a,
            Matrix& pattern,
            Matrix& factor_correlations,
            int p,
            int m,
            int power,
            Matrix* transformation) {
  // Row-normalised loadings; a row of zeros has no direction and stays 0.
  Matrix normalised(p, m);
  for (int item = 0; item < p; ++item) {
    double sum = 0.0;
    for (int j = 0; j < m; ++j) sum += a(item, j) * a(item, j);
    const double length = std::sqrt(sum);
    for (int j = 0; j < m; ++j) normalised(item, j) = length > 0.0 ? a(item, j) / length : 0.0;
  }

  // Target, column by column, scaled by the column's largest absolute value
  // (the first of equal values stands).
  Matrix target(p, m);
  for (int j = 0; j < m; ++j) {
    double largest = 0.0;
    for (int item = 0; item < p; ++item) {
      if (std::fabs(normalised(item, j)) > largest) largest = std::fabs(normalised(item, j));
    }
    for (int item = 0; item < p; ++item) {
      const double t = largest > 0.0 ? normalised(item, j) / largest : 0.0;
      target(item, j) = PromaxTarget(t, power);
    }
  }

  // L = (A'A)^-1 A'q: the least-squares transformation towards the target.
  const Matrix g = CrossProduct(a, a, p, m);
  Matrix h;
  InvertPositiveDefinite(g, m, h);
  const Matrix q = CrossProduct(a, target, p, m);
  const Matrix l = Product(h, q, m, m, m);

  // Column scale from the inverse of L'L, so that the factors get unit
  // variance.
  const Matrix k = CrossProduct(l, l, m, m);
  Matrix n;
  InvertPositiveDefinite(k, m, n);
  Matrix t(m, m);
  for (int j = 0; j < m; ++j) {
    const double scale = std::sqrt(n(j, j));
    for (int i = 0; i < m; ++i) t(i, j) = l(i, j) * scale;
  }

  pattern = Product(a, t, p, m, m);

  Matrix identity(m, m);
  for (int j = 0; j < m; ++j) identity(j, j) = 1.0;
  Matrix c;
  int ifail = 0;
  F04AEF(t, identity, m, m, c, ifail);

  factor_correlations.Reset(m, m);
  for (int j = 0; j < m; ++j) {
    for (int i = 0; i < m; ++i) {
      double sum = 0.0;
      for (int k2 = 0; k2 < m; ++k2) sum += c(i, k2) * c(j, k2);
      factor_correlations(i, j) = sum;
    }
  }
  if (transformation != nullptr) *transformation = t;
}

}  // namespace vq
