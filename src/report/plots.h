// Character plots of the report: factor pattern plots and factor score plots,
// framed grids with fixed ranges drawn by DPLOTP.
//
// DPLOTP draws on a page of 80 print positions by 50 lines (set by PGOPT),
// with one of two fixed frames chosen by the range: -1..1 on both axes (the
// pattern plot, 61 by 41 grid cells) or -3.5..3.5 (the score plot, 57 by
// 35). A point is its symbol; points on one cell show as one symbol, and
// points that fall off the grid are left out without a word. Lines go out
// without trailing blanks; the empty lines around a plot are empty records.
#ifndef VELQUORIN_REPORT_PLOTS_H_
#define VELQUORIN_REPORT_PLOTS_H_

#include <string_view>

#include "frame/output_file.h"
#include "kernels/matrix.h"

namespace vq {

// Sets the plot page: iopt -1 the page width (40 to 132 print positions),
// -2 the page length (20 to 120 lines). Other values of iopt, and widths or
// lengths outside those limits, leave the page as it was.
void PGOPT(int iopt, int ipage);

// Draws the ndata points (x[i * inc], a[i * inc + f * lda]) of each of the
// nfun functions f with the character symbol[f] (or symbol[0]) on `out`.
// range: x low, x high, y low, y high; it must be one of the two frames
// above, on an 80 by 50 page (anything else is a programming error). Texts
// are written as given; titles are centred over the grid.
void DPLOTP(int ndata,
            int nfun,
            const double* x,
            const double* a,
            int lda,
            int inc,
            const double range[4],
            std::string_view symbol,
            std::string_view xtitle,
            std::string_view ytitle,
            std::string_view title,
            OutputFile& out);

// One plot for each pair of factors (i < j: x = column i, y = column j) of
// the p by m pattern, range -1..1, symbol "X", each followed by its trailer
// line and 5 empty lines. With m = 1 nothing is printed.
void FactorPatternPlots(const Matrix& pattern, int p, int m, OutputFile& out);

// The same for the n by m factor scores, range -3.5..3.5, symbol ".".
void FactorScorePlots(const Matrix& scores, int n, int m, OutputFile& out);

}  // namespace vq

#endif  // VELQUORIN_REPORT_PLOTS_H_
