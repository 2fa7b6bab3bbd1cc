#include "correlation/smoothing.h"

#include <cmath>
#include <vector>

#include "correlation/variable_stop.h"
#include "kernels/eigen.h"
#include "kernels/failure.h"
#include "kernels/rank_sort.h"

namespace vq {
namespace {

// Eigenvalues below this are dropped.
constexpr double kSmallestKept = 0.005;

}  // namespace

void ReverseColumns(const Matrix& a, int n, Matrix& result) {
  result.Reset(a.rows, n);
  for (int c = 0; c < n; ++c) {
    const double* from = a.Column(n - 1 - c);
    double* to = result.Column(c);
    for (int row = 0; row < a.rows; ++row) to[row] = from[row];
  }
}

void SmoothCorrelations(Matrix& r, int p, Matrix& result) {
  // Eigenpairs, the largest eigenvalue first.
  std::vector<double> eigenvalues;
  int ifail = kIfailHard;
  F02FAF('V', 'U', p, r, eigenvalues, ifail);
  ifail = kIfailHard;
  M01CAF(eigenvalues.data(), 1, p, 'D', ifail);
  Matrix vectors;
  ReverseColumns(r, p, vectors);

  int kept = 0;
  while (kept < p && eigenvalues[kept] >= kSmallestKept) ++kept;
  // The sum is kept in single precision, rounded after each addition.
  float sum = 0.0f;
  for (int k = 0; k < kept; ++k) sum = static_cast<float>(sum + eigenvalues[k]);
  const double scale = kept / static_cast<double>(sum);
  for (int k = 0; k < kept; ++k) eigenvalues[k] = scale * eigenvalues[k];

  Matrix transposed(p, p);
  for (int i = 0; i < p; ++i)
    for (int k = 0; k < p; ++k) transposed(k, i) = vectors(i, k);
  for (int k = 0; k < kept; ++k) {
    double* column = vectors.Column(k);
    for (int i = 0; i < p; ++i) column[i] = column[i] * eigenvalues[k];
  }

  // B = V L V' over the kept eigenvalues, every element with a running sum
  // rounded to single precision after each addition.
  Matrix b(p, p);
  for (int i = 0; i < p; ++i) {
    for (int j = 0; j < p; ++j) {
      float element = 0.0f;
      for (int k = 0; k < kept; ++k) {
        element = static_cast<float>(element + vectors(i, k) * transposed(k, j));
      }
      b(i, j) = element;
    }
  }

  std::vector<double> d(p);
  for (int i = 0; i < p; ++i) {
    if (!(b(i, i) > 0.0)) StopOnVariable(i + 1, " CANNOT BE SMOOTHED");
    d[i] = 1.0 / std::sqrt(b(i, i));
  }
  result.Reset(p, p);
  for (int j = 0; j < p; ++j)
    for (int i = 0; i < p; ++i) result(i, j) = b(i, j) * d[i] * d[j];
}

}  // namespace vq
