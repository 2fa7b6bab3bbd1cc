// The fit analysis of an extracted solution: how well the m factors
// reproduce the correlations. It prints the number of iterations, the
// goodness-of-fit index, the residual matrix (under "LONG"), the moments and
// the five-point summary of the residuals, their histogram and class table,
// and saves the residual matrix in the `rsd` file when asked for. It runs
// once per extraction, between the communality iteration and the tables of
// unrotated loadings; rotation does not change the residuals.
#ifndef VELQUORIN_EXTRACTION_MODEL_FIT_H_
#define VELQUORIN_EXTRACTION_MODEL_FIT_H_

#include <string_view>
#include <vector>

#include "frame/output_file.h"
#include "kernels/matrix.h"
#include "options/run_options.h"

namespace vq {

// The fit section on `report`. `r0` (p by p) is the correlation matrix as it
// stood before extraction; `r` the working matrix (same off-diagonal
// elements, final communalities on its diagonal); `rhat` the reproduced
// matrix of the last pass, whose diagonal this overwrites (first with 1.0,
// then with the diagonal of `r`). `iteration` is the pass counter as the
// iteration left it: `iteration` - 1 is printed as the number of iterations.
// With p of 3 or less (fewer than 5 residuals) the five-point summary is a
// hard failure of G01ALF, which stops the run after the moments block.
void ModelFitAnalysis(const RunOptions& options,
                      const Matrix& r0,
                      const Matrix& r,
                      Matrix& rhat,
                      int p,
                      int iteration,
                      OutputFile& report,
                      std::string_view run_directory,
                      std::string_view run_stem);

// Under `verbosity` "LONG" only: three empty lines, the table "Residual
// Covariances (1-h^2 on diagonal)" of the p by p `residuals` with row and
// column numbers (width 110 for a page of 120 or more), three empty lines.
void ResidualTable(
    const Matrix& residuals, int p, Verbosity verbosity, int page_width, OutputFile& report);

// The k residuals tallied in 41 classes between the single-precision limits
// -0.975 and 0.975 (DOWFRQ), their vertical histogram (DVHSTP) and the class
// table with midpoints and counts, on `report`.
void ResidualDistribution(const std::vector<double>& residuals, int k, OutputFile& report);

// GFI = 1 - a / b with a and b the mean squares of all p^2 elements of
// `residuals` and of `r0`.
double GoodnessOfFit(const Matrix& residuals, const Matrix& r0, int p);

}  // namespace vq

#endif  // VELQUORIN_EXTRACTION_MODEL_FIT_H_
