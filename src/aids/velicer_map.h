// Velicer's minimum average partial (MAP) test of how many components to
// keep: after the first m principal components of the correlation matrix are
// partialled out, the remaining partial correlations are averaged; the m at
// which the average is smallest is the suggested count, the point where
// components stop taking out common variance and start taking out unique
// variance. Both the average of squared partial correlations (Velicer,
// 1976) and of their fourth powers (Velicer, Eaton and Fava, 2000) are
// given.
//
// Positions run over m = 0..p-1. At m = 0 the averages are of the observed
// correlations themselves, as in Velicer's original test, so that a count of
// 0 can be suggested; the peer package's `vss` map starts at m = 1 and
// otherwise computes the same numbers.
#ifndef VELQUORIN_AIDS_VELICER_MAP_H_
#define VELQUORIN_AIDS_VELICER_MAP_H_

#include <vector>

#include "kernels/matrix.h"

namespace vq {

struct MapResult {
  // Index m = 0..p-1: the average over the p(p-1) off-diagonal elements of
  // the squared (fourth-power) partial correlations with m components
  // removed. NaN from the first m at which a partial correlation is not
  // defined (a removed component with an eigenvalue not above 0, or a
  // residual variance not above 0).
  std::vector<double> squared;
  std::vector<double> fourth;
  // The m of the smallest finite average (the first on a tie).
  int suggested_squared = 0;
  int suggested_fourth = 0;
};

// MAP of the correlation matrix `r` (p by p, p >= 2, symmetric, unit
// diagonal). Throws std::invalid_argument for a matrix that is not square,
// smaller than 2, or not finite, and std::runtime_error when its
// eigensolution fails.
MapResult VelicerMap(const Matrix& r);

}  // namespace vq

#endif  // VELQUORIN_AIDS_VELICER_MAP_H_
