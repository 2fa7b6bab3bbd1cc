// The eigenvalue screen: before any factor is extracted, the report shows all
// eigenvalues of the correlation matrix as a table and as a scatter plot, so
// that the reader can judge the number of factors asked for. Nothing in the
// run depends on it; its only other product is the optional `eig` file.
#ifndef VELQUORIN_EXTRACTION_EIGENVALUE_SCREEN_H_
#define VELQUORIN_EXTRACTION_EIGENVALUE_SCREEN_H_

#include <string_view>

#include "frame/output_file.h"
#include "kernels/matrix.h"
#include "options/run_options.h"

namespace vq {

// The eigenvalues of `r` (p by p, read only; called while it still has its
// unit diagonal) on `report`: three empty lines, the table "Eigenvalues of
// Initial Correlation Matrix" (all p values by decreasing modulus, width 110
// when `page_width` is 120 or more, else `page_width`), an empty line,
// " Eigenvalue Plot", the scatter plot of the first min(p, 30) eigenvalues
// against their ranks, three empty lines. With "EIG" asked for (SaveResults
// and SaveCodes of `options`), the `eig` file beside the command file gets
// the p values as the plot left them: the plotted ones in descending order of
// value, the others in the order of the table.
void EigenvalueScreen(const Matrix& r,
                      int p,
                      OutputFile& report,
                      int page_width,
                      const RunOptions& options,
                      std::string_view run_directory,
                      std::string_view run_stem);

// Width of the tables of the correlation phase (correlation matrix, residual
// covariances, eigenvalues): 110 for a page of 120 or more, else the page.
int CappedTableWidth(int page_width);

}  // namespace vq

#endif  // VELQUORIN_EXTRACTION_EIGENVALUE_SCREEN_H_
