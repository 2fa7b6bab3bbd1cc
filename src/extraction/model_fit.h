// The fit of an extracted solution: how well the m factors reproduce the
// correlations. The goodness-of-fit index, the residual matrix, the moments
// and the five-point summary of the off-diagonal residuals and their
// distribution in 41 classes. Rotation does not change the residuals, so
// the fit is computed once per extraction (FitModel, extraction/extraction.h)
// and written by writers/extraction_writer.h.
#ifndef VELQUORIN_EXTRACTION_MODEL_FIT_H_
#define VELQUORIN_EXTRACTION_MODEL_FIT_H_

#include <array>
#include <vector>

#include "kernels/matrix.h"

namespace vq {

// Classes of the residual histogram: 39 of width 0.05 between the limits and
// one open class on either side.
constexpr int kResidualClasses = 41;

struct ModelFit {
  // 1 - a / b, a and b the mean squares of all p^2 elements of the residuals
  // (against a unit diagonal) and of the correlation matrix.
  double Gfi = 0.0;
  // p by p: correlations minus reproduced, uniqueness 1 - h^2 on the diagonal.
  Matrix Residuals;
  // The k = p (p - 1) / 2 off-diagonal residuals, upper triangle by rows:
  // (1,2), (1,3), ..., (2,3), ...
  std::vector<double> OffDiagonalResiduals;

  // Moments of the off-diagonal residuals. With k of 0 the mean square is
  // not a number; with k below 2 the other moments stay 0.
  double MeanSquaredResidual = 0.0;
  double Rmsr = 0.0;  // root of the mean square
  double Mean = 0.0;
  double StandardDeviation = 0.0;
  double Skewness = 0.0;
  double Kurtosis = 0.0;
  double Smallest = 0.0;
  double Largest = 0.0;

  // Minimum, lower hinge, median, upper hinge, maximum; present with 5
  // residuals or more.
  bool HasFivePointSummary = false;
  std::array<double, 5> FivePointSummary = {0.0, 0.0, 0.0, 0.0, 0.0};

  // The residuals tallied in kResidualClasses classes between the
  // single-precision limits -0.975 and 0.975: midpoints and counts.
  std::vector<double> ClassMidpoints;
  std::vector<double> ClassCounts;
};

// GFI = 1 - a / b with a and b the mean squares of all p^2 elements of
// `residuals` and of `r0`.
double GoodnessOfFit(const Matrix& residuals, const Matrix& r0, int p);

// The first k `residuals` tallied in kResidualClasses classes (DOWFRQ):
// `midpoints` and `counts` get kResidualClasses values each.
void ClassifyResiduals(const std::vector<double>& residuals,
                       int k,
                       std::vector<double>& midpoints,
                       std::vector<double>& counts);

// The fit of the reproduced matrix `rhat` (p by p, its diagonal not read)
// to `r0`, the correlation matrix as it stood before extraction, with the
// final `communalities` (p). Fills `fit` in order: index, residual matrix,
// moments, five-point summary, classes. A stop in the five-point summary
// (fewer than 5 residuals) leaves `fit` holding everything before it.
void ComputeModelFit(const Matrix& r0,
                     const Matrix& rhat,
                     const std::vector<double>& communalities,
                     ModelFit& fit);

}  // namespace vq

#endif  // VELQUORIN_EXTRACTION_MODEL_FIT_H_
