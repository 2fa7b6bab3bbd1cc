// Small helpers shared by the rotation tests: matrix products, differences,
// run options with the usual words, and loadings with a known structure.
#ifndef VELQUORIN_TESTS_ROTATION_TEST_MATRICES_H_
#define VELQUORIN_TESTS_ROTATION_TEST_MATRICES_H_

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "kernels/matrix.h"
#include "options/run_options.h"
#include "rotation/rotation.h"
#include "rotation/solution.h"
#include "text/edit_descriptors.h"

namespace vq::testing {

inline Matrix FromRows(const std::vector<std::vector<double>>& rows) {
  Matrix a(static_cast<int>(rows.size()), static_cast<int>(rows[0].size()));
  for (int i = 0; i < a.rows; ++i) {
    for (int j = 0; j < a.cols; ++j) a(i, j) = rows[i][j];
  }
  return a;
}

inline Matrix Multiply(const Matrix& x, const Matrix& y) {
  Matrix r(x.rows, y.cols);
  for (int j = 0; j < y.cols; ++j) {
    for (int i = 0; i < x.rows; ++i) {
      double sum = 0.0;
      for (int k = 0; k < x.cols; ++k) sum += x(i, k) * y(k, j);
      r(i, j) = sum;
    }
  }
  return r;
}

inline Matrix Transpose(const Matrix& x) {
  Matrix r(x.cols, x.rows);
  for (int j = 0; j < x.cols; ++j) {
    for (int i = 0; i < x.rows; ++i) r(j, i) = x(i, j);
  }
  return r;
}

// x x'.
inline Matrix Outer(const Matrix& x) { return Multiply(x, Transpose(x)); }

// pattern phi pattern'.
inline Matrix Reproduced(const Matrix& pattern, const Matrix& phi) {
  return Multiply(Multiply(pattern, phi), Transpose(pattern));
}

inline double MaxAbsDifference(const Matrix& x, const Matrix& y) {
  double largest = 0.0;
  for (std::size_t k = 0; k < x.values.size(); ++k) {
    largest = std::max(largest, std::fabs(x.values[k] - y.values[k]));
  }
  return largest;
}

inline Matrix Identity(int n) {
  Matrix r(n, n);
  for (int i = 0; i < n; ++i) r(i, i) = 1.0;
  return r;
}

inline std::vector<double> RowSumsOfSquares(const Matrix& x) {
  std::vector<double> sums(x.rows, 0.0);
  for (int i = 0; i < x.rows; ++i) {
    for (int j = 0; j < x.cols; ++j) sums[i] += x(i, j) * x(i, j);
  }
  return sums;
}

// Unrotated-looking loadings of a clean three-factor structure: twelve
// items, four on each factor, turned by a fixed orthogonal matrix so that
// the rotation has work to do.
inline Matrix ThreeFactorLoadings() {
  Matrix simple = FromRows({{0.80, 0.10, 0.05},
                            {0.75, 0.05, 0.10},
                            {0.70, 0.15, 0.00},
                            {0.65, 0.00, 0.12},
                            {0.10, 0.78, 0.05},
                            {0.05, 0.72, 0.15},
                            {0.12, 0.68, 0.02},
                            {0.00, 0.60, 0.10},
                            {0.08, 0.10, 0.76},
                            {0.15, 0.02, 0.70},
                            {0.05, 0.12, 0.66},
                            {0.10, 0.05, 0.58}});
  // A product of three plane turns.
  const double a = 0.6, b = -0.45, c = 0.9;
  Matrix t1 = FromRows({{std::cos(a), -std::sin(a), 0}, {std::sin(a), std::cos(a), 0}, {0, 0, 1}});
  Matrix t2 = FromRows({{std::cos(b), 0, -std::sin(b)}, {0, 1, 0}, {std::sin(b), 0, std::cos(b)}});
  Matrix t3 = FromRows({{1, 0, 0}, {0, std::cos(c), -std::sin(c)}, {0, std::sin(c), std::cos(c)}});
  return Multiply(simple, Multiply(Multiply(t1, t2), t3));
}

// The rotation options of a small run: rows sorted, default labels,
// unrotated start, the usual stop value and sweep limit.
inline RotationOptions SmallRotationOptions(int p, Rotation rotation) {
  RotationOptions options;
  options.rotation = rotation;
  options.model = Model::kPrincipalFactors;
  options.random_start = RandomStart::kUnrotated;
  options.promax_power = 4;
  options.sort_rows = true;
  DefaultLabels(p, options.item_labels);
  return options;
}

}  // namespace vq::testing

#endif  // VELQUORIN_TESTS_ROTATION_TEST_MATRICES_H_
