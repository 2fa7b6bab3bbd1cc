#include "kernels/factor_order.h"

#include <cmath>
#include <vector>

#include "frame/console.h"
#include "kernels/failure.h"
#include "kernels/rank_sort.h"

namespace vq {

namespace {

// Place of the ordering of factors in the trace lines of the console.
constexpr int kOrderTraceNumber = 3985;

// Negates column j of `a` when its signed squares sum below 0. Returns
// whether it did.
bool ReflectColumn(Matrix& a, int p, int j) {
  double signed_squares = 0.0;
  for (int i = 0; i < p; ++i) {
    const double value = a(i, j);
    // sign(a) * a^2: a loading of exactly 0 adds nothing either way.
    signed_squares += std::copysign(value * value, value);
  }
  if (!(signed_squares < 0.0)) return false;
  for (int i = 0; i < p; ++i) a(i, j) = -a(i, j);
  return true;
}

// Ranks (1 for the largest) of the column sums of squares of `a`, stable on
// ties. The M01DAF status goes to the trace line.
std::vector<int> RankBySumOfSquares(const Matrix& a, int p, int m) {
  std::vector<double> sums(m, 0.0);
  for (int factor = 0; factor < m; ++factor) {
    double sum = 0.0;
    for (int i = 0; i < p; ++i) sum += a(i, factor) * a(i, factor);
    sums[factor] = sum;
  }
  std::vector<int> rank(m, 0);
  int ifail = kIfailHard;
  M01DAF(sums.data(), 1, m, "D", rank.data(), ifail);
  TraceLine(ifail, kOrderTraceNumber);
  return rank;
}

// Moves column j of `a` to column rank[j] - 1, through a work copy.
void MoveColumns(Matrix& a, int p, int m, const std::vector<int>& rank) {
  const Matrix work = a;
  for (int factor = 0; factor < m; ++factor) {
    const int target = rank[factor] - 1;
    for (int i = 0; i < p; ++i) a(i, target) = work(i, factor);
  }
}

}  // namespace

void ReflectFactors(Matrix& a, int p, int m) {
  for (int j = 0; j < m; ++j) ReflectColumn(a, p, j);
}

void OrderFactors(Matrix& a, int p, int m) {
  if (m < 1) return;
  const std::vector<int> rank = RankBySumOfSquares(a, p, m);
  MoveColumns(a, p, m, rank);
}

void ReflectObliqueFactors(Matrix& pattern, Matrix& phi, int p, int m) {
  std::vector<bool> reflected(m, false);
  for (int j = 0; j < m; ++j) reflected[j] = ReflectColumn(pattern, p, j);
  for (int f = 0; f < m; ++f) {
    if (!reflected[f]) continue;
    for (int j = 0; j < m; ++j) {
      phi(f, j) = -phi(f, j);
      phi(j, f) = -phi(j, f);
    }
  }
}

void OrderObliqueFactors(Matrix& pattern, int p, int m, Matrix& phi) {
  if (m < 1) return;
  const std::vector<int> rank = RankBySumOfSquares(pattern, p, m);
  MoveColumns(pattern, p, m, rank);
  // Rows move first into a work matrix, then its columns move back into phi.
  Matrix moved_rows(m, m);
  for (int i = 0; i < m; ++i) {
    for (int j = 0; j < m; ++j) moved_rows(rank[i] - 1, j) = phi(i, j);
  }
  for (int i = 0; i < m; ++i) {
    for (int j = 0; j < m; ++j) phi(j, rank[i] - 1) = moved_rows(j, i);
  }
}

}  // namespace vq
