// The plots of the HTML report as inline SVG text: scree plot, heat map,
// histogram, scatter plot and the triplet matrix. Pure functions from data to
// text; the page's style sheet gives the classes they use (axis, grid, tick,
// ...) their look, so the plots follow the page in print as on screen.
//
// Colours are fixed constants chosen to stay apart for the common kinds of
// colour blindness: the diverging scale of the heat maps runs from orange
// (ColorBrewer PuOr: #b35806 #e08214 #fdb863 #fee0b6) through a light grey
// (#f7f7f7) to blue (ColorBrewer RdBu: #d1e5f0 #92c5de #4393c3 #2166ac); the
// counts of the triplet matrix use ColorBrewer YlOrBr (#ffffd4 #fed98e
// #fe9929 #d95f0e #993404); lines and points use the Okabe-Ito colours.
//
// Every plot has axis titles with their units. No element has an id, so any
// number of plots can stand on one page.
#ifndef VELQUORIN_HTML_SVG_CHARTS_H_
#define VELQUORIN_HTML_SVG_CHARTS_H_

#include <string>
#include <string_view>
#include <vector>

#include "html/html_report.h"
#include "kernels/matrix.h"

namespace vq::html {

// "#rrggbb" of the diverging scale for `value` in [-1, 1] (clamped): orange
// below zero, blue above, light grey at zero. NaN gives mid grey.
std::string DivergingColour(double value);

// "#rrggbb" of the sequential scale for `fraction` in [0, 1] (clamped).
std::string SequentialColour(double fraction);

// Observed eigenvalues against their rank as a line with markers, the
// reference lines dashed in other colours, with `unit_line` a dotted line at
// eigenvalue 1 (the variance of one item, which means nothing for a reduced
// matrix), and a legend. Empty text when `observed` is empty.
std::string ScreePlotSvg(const std::vector<double>& observed,
                         const std::vector<ReferenceLine>& reference,
                         bool unit_line = true);

// A shaded table: `values` (rows x cols) as cells coloured by the diverging
// scale with the value printed in each (`decimals` places), row labels at the
// left, column labels on top, and a colour key titled `key_title`.
// `faded`, when not empty, has rows * cols flags (index row * cols + col);
// flagged cells are drawn pale. `faded_key`, when not empty, explains them in
// the key. Row height shrinks for long tables but numbers stay readable.
std::string HeatMapSvg(const std::vector<std::string>& row_labels,
                       const std::vector<std::string>& column_labels,
                       const Matrix& values,
                       const std::vector<bool>& faded,
                       int decimals,
                       std::string_view column_title,
                       std::string_view key_title,
                       std::string_view faded_key);

// Bars of `counts` over classes with `edges` (counts.size() + 1 of them,
// increasing), a dashed line at zero when it lies inside, axis titles as
// given. Empty text when there are no classes.
std::string HistogramSvg(const std::vector<double>& edges,
                         const std::vector<long long>& counts,
                         std::string_view x_title,
                         std::string_view y_title);

// Points (x[k], y[k]) for k = 0, stride, 2 stride, ... on square axes
// symmetric about zero. Points with a non-finite coordinate are left out.
std::string ScatterSvg(const std::vector<double>& x,
                       const std::vector<double>& y,
                       int stride,
                       std::string_view x_title,
                       std::string_view y_title);

// The smallest stride that draws at most `max_points` of `count` points.
int ThinningStride(std::size_t count, int max_points);

// A square grid of counts coloured by the sequential scale (zero white),
// labels on both axes when the cells are large enough to carry them, the
// count printed in cells large enough for it. With `grey_diagonal` the
// diagonal is drawn grey (a pair of an item with itself has no count).
// `labels` may be empty.
std::string CountMatrixSvg(const std::vector<std::string>& labels,
                           const Matrix& counts,
                           bool grey_diagonal,
                           std::string_view axis_title);

// `counts` (p x p) summarised in blocks of `block` x `block` items (the last
// block may be smaller): each cell of the result holds the largest count of
// its block, the diagonal of `counts` left out.
Matrix BlockMaxima(const Matrix& counts, int block);

}  // namespace vq::html

#endif  // VELQUORIN_HTML_SVG_CHARTS_H_
