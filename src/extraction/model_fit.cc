#include "extraction/model_fit.h"

#include <cmath>

#include "kernels/failure.h"
#include "kernels/moments.h"
#include "report/histogram.h"

namespace vq {

namespace {

// residuals = r0 - rhat, all p by p elements.
void Subtract(const Matrix& r0, const Matrix& rhat, int p, Matrix& residuals) {
  for (int j = 0; j < p; ++j) {
    for (int i = 0; i < p; ++i) residuals(i, j) = r0(i, j) - rhat(i, j);
  }
}

// Mean of the squares of all p^2 elements, row by row.
double MeanSquare(const Matrix& a, int p) {
  double sum = 0.0;
  for (int i = 0; i < p; ++i) {
    for (int j = 0; j < p; ++j) sum += a(i, j) * a(i, j);
  }
  const double elements = static_cast<double>(p) * p;
  return sum / elements;
}

}  // namespace

double GoodnessOfFit(const Matrix& residuals, const Matrix& r0, int p) {
  const double a = MeanSquare(residuals, p);
  const double b = MeanSquare(r0, p);
  return 1.0 - a / b;
}

void ClassifyResiduals(const std::vector<double>& residuals,
                       int k,
                       std::vector<double>& midpoints,
                       std::vector<double>& counts) {
  // The class limits are single-precision values held in double precision,
  // so -0.975 itself lies just above the lower limit and counts in class 2.
  const double lower_limit = static_cast<double>(static_cast<float>(-0.975));
  const double upper_limit = static_cast<double>(static_cast<float>(0.975));
  DOWFRQ(k, residuals.data(), kResidualClasses, 1, lower_limit, upper_limit, midpoints, counts);
  midpoints.resize(kResidualClasses, 0.0);
  counts.resize(kResidualClasses, 0.0);
}

void ComputeModelFit(const Matrix& r0,
                     const Matrix& rhat,
                     const std::vector<double>& communalities,
                     ModelFit& fit) {
  const int p = r0.rows;

  // Off-diagonal residuals, upper triangle by rows: (1,2), (1,3), ..., (2,3).
  const int k = p * (p - 1) / 2;
  fit.OffDiagonalResiduals.clear();
  fit.OffDiagonalResiduals.reserve(k);
  double squared_residual_sum = 0.0;
  for (int i = 0; i < p; ++i) {
    for (int j = i + 1; j < p; ++j) {
      const double residual = r0(i, j) - rhat(i, j);
      fit.OffDiagonalResiduals.push_back(residual);
      squared_residual_sum += residual * residual;
    }
  }

  // The index compares with a unit diagonal: only the off-diagonal misfit
  // (and a given matrix's own departure from 1) counts.
  Matrix reproduced = rhat;
  fit.Residuals.Reset(p, p);
  for (int i = 0; i < p; ++i) reproduced(i, i) = 1.0;
  Subtract(r0, reproduced, p, fit.Residuals);
  fit.Gfi = GoodnessOfFit(fit.Residuals, r0, p);

  // From here on the diagonal shows the uniqueness 1 - h^2.
  for (int i = 0; i < p; ++i) reproduced(i, i) = communalities[i];
  Subtract(r0, reproduced, p, fit.Residuals);

  fit.MeanSquaredResidual = squared_residual_sum / k;
  fit.Rmsr = std::sqrt(fit.MeanSquaredResidual);
  fit.Mean = fit.StandardDeviation = fit.Skewness = fit.Kurtosis = 0.0;
  fit.Smallest = fit.Largest = 0.0;
  // Quiet: with fewer than two residuals the failure number is not read and
  // the moments stay as G01AAF left them.
  int ifail = kIfailQuiet;
  G01AAF(k,
         fit.OffDiagonalResiduals.data(),
         fit.Mean,
         fit.StandardDeviation,
         fit.Skewness,
         fit.Kurtosis,
         fit.Smallest,
         fit.Largest,
         ifail);

  fit.HasFivePointSummary = false;
  fit.FivePointSummary = {0.0, 0.0, 0.0, 0.0, 0.0};
  ifail = kIfailHard;
  G01ALF(k, fit.OffDiagonalResiduals.data(), fit.FivePointSummary.data(), ifail);
  fit.HasFivePointSummary = true;

  ClassifyResiduals(fit.OffDiagonalResiduals, k, fit.ClassMidpoints, fit.ClassCounts);
}

}  // namespace vq
