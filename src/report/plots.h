// Character plots of the report: factor pattern plots and factor score plots,
// framed grids with fixed ranges drawn by DPLOTP.
#ifndef VELQUORIN_REPORT_PLOTS_H_
#define VELQUORIN_REPORT_PLOTS_H_

#include <string_view>

#include "frame/output_file.h"
#include "kernels/matrix.h"

namespace vq {

// One plot for each pair of factors (i < j: x = column i, y = column j) of
// the p by m pattern, range -1..1, symbol "X", each followed by its trailer
// line and 5 empty lines. With m = 1 nothing is printed.
void FactorPatternPlots(const Matrix& pattern, int p, int m, OutputFile& out);

// The same for the n by m factor scores, range -3.5..3.5, symbol ".".
void FactorScorePlots(const Matrix& scores, int n, int m, OutputFile& out);

}  // namespace vq

#endif  // VELQUORIN_REPORT_PLOTS_H_
