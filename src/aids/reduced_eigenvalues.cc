#include "aids/reduced_eigenvalues.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "kernels/eigen.h"
#include "kernels/failure.h"

namespace vq {
namespace {

constexpr double kEpsilon = std::numeric_limits<double>::epsilon();
// A squared eigenvector element above this is a share of its direction and
// not rounding noise (which is of the order of kEpsilon squared).
constexpr double kNullWeight = 1e-8;

bool AllFinite(const Matrix& a) {
  return std::all_of(
      a.values.begin(), a.values.end(), [](double value) { return std::isfinite(value); });
}

}  // namespace

bool DecreasingSpectrum(const Matrix& a, bool vectors, SymmetricSpectrum& spectrum) {
  spectrum.values.clear();
  spectrum.vectors = Matrix();
  const int p = a.rows;
  if (p < 1 || a.cols != p || !AllFinite(a)) return false;
  Matrix work = a;
  std::vector<double> ascending;
  int ifail = kIfailQuiet;
  F02FAF(vectors ? 'V' : 'N', 'U', p, work, ascending, ifail);
  if (ifail != 0) return false;
  spectrum.values.assign(ascending.rbegin(), ascending.rend());
  if (vectors) {
    spectrum.vectors.Reset(p, p);
    for (int k = 0; k < p; ++k) {
      std::copy(work.Column(p - 1 - k), work.Column(p - 1 - k) + p, spectrum.vectors.Column(k));
    }
  }
  return true;
}

std::vector<double> SquaredMultipleCorrelations(const Matrix& r) {
  SymmetricSpectrum spectrum;
  if (!DecreasingSpectrum(r, true, spectrum)) return {};
  const int p = r.rows;
  double largest = 0.0;
  for (double value : spectrum.values) largest = std::max(largest, std::fabs(value));
  const double cutoff = std::sqrt(kEpsilon) * largest;
  std::vector<double> smc(static_cast<std::size_t>(p));
  for (int item = 0; item < p; ++item) {
    double inverse_diagonal = 0.0;
    double null_weight = 0.0;  // the item's share of the dropped directions
    for (int k = 0; k < p; ++k) {
      const double value = spectrum.values[k];
      const double v = spectrum.vectors(item, k);
      if (std::fabs(value) <= cutoff) {
        null_weight += v * v;
        continue;
      }
      inverse_diagonal += v * v / value;
    }
    // An item with a share of a (near) null direction is a linear function
    // of the others: its squared multiple correlation is 1, the limit of
    // 1 - 1 / ((R + eI)^-1)_ii as e goes to 0, in which that direction's
    // term grows without bound. The pseudo-inverse alone would leave the
    // term out and give such an item a value near 0 (every item of
    // ipsatized scores, whose reduced matrix then lost 1 at every position).
    if (null_weight > kNullWeight) {
      smc[item] = 1.0;
    } else {
      smc[item] = std::clamp(1.0 - 1.0 / inverse_diagonal, 0.0, 1.0);
    }
  }
  return smc;
}

Matrix WithDiagonal(const Matrix& r, const std::vector<double>& diagonal) {
  Matrix reduced = r;
  for (int item = 0; item < r.rows; ++item) reduced(item, item) = diagonal[item];
  return reduced;
}

bool SmoothToPositiveDefinite(Matrix& r) {
  SymmetricSpectrum spectrum;
  if (!DecreasingSpectrum(r, true, spectrum)) return false;
  const int p = r.rows;
  if (spectrum.values.back() >= kEpsilon) return false;
  double total = 0.0;
  for (double& value : spectrum.values) {
    if (value < 1e-12) value = 1e-10;
    total += value;
  }
  for (double& value : spectrum.values) value = value * p / total;
  Matrix rebuilt(p, p);
  for (int col = 0; col < p; ++col) {
    for (int row = 0; row <= col; ++row) {
      double sum = 0.0;
      for (int k = 0; k < p; ++k) {
        sum += spectrum.vectors(row, k) * spectrum.values[k] * spectrum.vectors(col, k);
      }
      rebuilt(row, col) = sum;
      rebuilt(col, row) = sum;
    }
  }
  for (int col = 0; col < p; ++col) {
    for (int row = 0; row < p; ++row) {
      r(row, col) = rebuilt(row, col) / std::sqrt(rebuilt(row, row) * rebuilt(col, col));
    }
  }
  return true;
}

}  // namespace vq
