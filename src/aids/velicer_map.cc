#include "aids/velicer_map.h"

#include <cmath>
#include <limits>
#include <stdexcept>

#include "aids/reduced_eigenvalues.h"

namespace vq {
namespace {

int SmallestFinite(const std::vector<double>& averages) {
  int best = 0;
  for (int m = 1; m < static_cast<int>(averages.size()); ++m) {
    if (std::isfinite(averages[m]) && averages[m] < averages[best]) best = m;
  }
  return best;
}

}  // namespace

MapResult VelicerMap(const Matrix& r) {
  const int p = r.rows;
  bool finite = true;
  for (double value : r.values) finite = finite && std::isfinite(value);
  if (p < 2 || r.cols != p || !finite) {
    throw std::invalid_argument(
        "the MAP test needs a finite square correlation matrix of order 2 or more");
  }
  SymmetricSpectrum spectrum;
  if (!DecreasingSpectrum(r, true, spectrum)) {
    throw std::runtime_error("the MAP test cannot find the eigenvalues of the correlation matrix");
  }

  MapResult result;
  const double nan = std::numeric_limits<double>::quiet_NaN();
  result.squared.assign(p, nan);
  result.fourth.assign(p, nan);
  // The residual covariance after m components, updated one component at a
  // time: C_m = C_{m-1} - a_m a_m' with a_m = v_m sqrt(lambda_m).
  Matrix residual = r;
  const double pairs = static_cast<double>(p) * (p - 1);
  for (int m = 0; m < p; ++m) {
    if (m > 0) {
      const double value = spectrum.values[m - 1];
      if (!(value > 0.0)) break;
      const double scale = std::sqrt(value);
      for (int col = 0; col < p; ++col) {
        const double a_col = spectrum.vectors(col, m - 1) * scale;
        for (int row = 0; row < p; ++row) {
          residual(row, col) -= spectrum.vectors(row, m - 1) * scale * a_col;
        }
      }
    }
    bool defined = true;
    for (int item = 0; item < p; ++item) defined = defined && residual(item, item) > 0.0;
    if (!defined) break;
    double squared = 0.0;
    double fourth = 0.0;
    for (int col = 0; col < p; ++col) {
      for (int row = 0; row < p; ++row) {
        if (row == col) continue;
        const double partial =
            residual(row, col) / std::sqrt(residual(row, row) * residual(col, col));
        const double partial2 = partial * partial;
        squared += partial2;
        fourth += partial2 * partial2;
      }
    }
    result.squared[m] = squared / pairs;
    result.fourth[m] = fourth / pairs;
  }
  result.suggested_squared = SmallestFinite(result.squared);
  result.suggested_fourth = SmallestFinite(result.fourth);
  return result;
}

}  // namespace vq
