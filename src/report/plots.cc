#include "report/plots.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "frame/console.h"
#include "report/matrix_table.h"
#include "text/edit_descriptors.h"

namespace vq {
namespace {

// Machine precision of the tolerances that put a value on a mark.
constexpr double kPlotEpsilon = 2.220446049250313E-16;

// Every grid line has a margin of this many positions before column 1.
constexpr int kMargin = 14;

// The frames are laid out for this page.
constexpr int kPageWidth = 80;
constexpr int kPageLength = 50;

struct PlotPage {
  int width = kPageWidth;
  int length = kPageLength;
};

PlotPage& Page() {
  static PlotPage page;
  return page;
}

// One fixed frame: the grid, its marks and its zero lines. Grid columns and
// rows count from 1, row 1 at the top.
struct PlotLayout {
  double range[4];        // x low, x high, y low, y high
  int width;              // grid columns
  int height;             // grid rows
  int mark_columns;       // columns between x marks
  int mark_rows;          // rows between y marks
  int first_mark_column;  // grid column of the lowest x mark
  double x_marks[5];      // ascending
  int first_mark_row;     // grid row of the highest y mark
  double y_marks[9];      // descending
  double x_step;          // value between x marks
  double y_step;          // value between y marks
  int zero_column;
  int zero_row;
};

constexpr PlotLayout kPatternLayout = {
    {-1.0, 1.0, -1.0, 1.0},
    61,
    41,
    15,
    5,
    1,
    {-1.0, -0.5, 0.0, 0.5, 1.0},
    1,
    {1.0, 0.75, 0.5, 0.25, 0.0, -0.25, -0.5, -0.75, -1.0},
    0.5,
    0.25,
    31,
    21,
};

constexpr PlotLayout kScoreLayout = {
    {-3.5, 3.5, -3.5, 3.5},
    57,
    35,
    12,
    4,
    5,
    {-3.0, -1.5, 0.0, 1.5, 3.0},
    2,
    {3.2, 2.4, 1.6, 0.8, 0.0, -0.8, -1.6, -2.4, -3.2},
    1.5,
    0.8,
    29,
    18,
};

const PlotLayout& LayoutFor(const double range[4]) {
  if (Page().width != kPageWidth || Page().length != kPageLength) {
    InternalError("DPLOTP", "the frames are laid out for a page of 80 by 50");
  }
  for (const PlotLayout* layout : {&kPatternLayout, &kScoreLayout}) {
    bool same = true;
    for (int k = 0; k < 4; ++k) same = same && range[k] == layout->range[k];
    if (same) return *layout;
  }
  char text[160];
  std::snprintf(text,
                sizeof text,
                "no frame for the range %g %g %g %g",
                range[0],
                range[1],
                range[2],
                range[3]);
  InternalError("DPLOTP", text);
}

// ANINT: nearest whole number, halves away from zero.
double Anint(double value) { return std::round(value); }

// Grid column of x, as a real number so that a value far off the page (or
// not a number) is simply off the grid.
double GridColumn(const PlotLayout& layout, double x) {
  const double tol = layout.x_step * 10.0 * kPlotEpsilon;
  const double* marks = layout.x_marks;
  int t = 1;  // first mark at or above x, 6 if none
  while (t <= 5 && !(x < marks[t - 1] || std::fabs(x - marks[t - 1]) < tol)) ++t;
  if (t <= 5 && std::fabs(x - marks[t - 1]) < tol) {
    return (t - 1) * layout.mark_columns + layout.first_mark_column;
  }
  if (t == 1) {
    return layout.first_mark_column - Anint((marks[0] - x) / layout.x_step * layout.mark_columns);
  }
  return (t - 2) * layout.mark_columns + layout.first_mark_column +
         Anint((x - marks[t - 2]) / layout.x_step * layout.mark_columns);
}

// Grid row of y, counted from the top, the same way down the y marks.
double GridRow(const PlotLayout& layout, double y) {
  const double tol = 10.0 * kPlotEpsilon;
  const double* marks = layout.y_marks;
  int t = 1;  // first mark at or below y, 10 if none
  while (t <= 9 && !(y > marks[t - 1] || std::fabs(y - marks[t - 1]) < tol)) ++t;
  if (t <= 9 && std::fabs(y - marks[t - 1]) < tol) {
    return (t - 1) * layout.mark_rows + layout.first_mark_row;
  }
  if (t == 1) {
    return layout.first_mark_row - Anint((y - marks[0]) / layout.y_step * layout.mark_rows);
  }
  return (t - 2) * layout.mark_rows + layout.first_mark_row +
         Anint((marks[t - 2] - y) / layout.y_step * layout.mark_rows);
}

bool IsXMarkColumn(const PlotLayout& layout, int column) {
  return column >= layout.first_mark_column &&
         (column - layout.first_mark_column) % layout.mark_columns == 0 &&
         (column - layout.first_mark_column) / layout.mark_columns < 5;
}

bool IsYMarkRow(const PlotLayout& layout, int row) {
  return row >= layout.first_mark_row && (row - layout.first_mark_row) % layout.mark_rows == 0 &&
         (row - layout.first_mark_row) / layout.mark_rows < 9;
}

// Blanks ahead of a text of `length` characters centred over the grid,
// behind the line's first blank.
int CentringPad(const PlotLayout& layout, int length) {
  int pad = kMargin + layout.width / 2 - length / 2 - 1;
  return pad > 0 ? pad : 0;
}

// The plots of every pair of columns of `values` (rows by m).
void PairPlots(const Matrix& values,
               int rows,
               int m,
               const double range[4],
               std::string_view symbol,
               std::string_view title,
               OutputFile& out) {
  PGOPT(-1, kPageWidth);
  PGOPT(-2, kPageLength);
  for (int first = 0; first + 1 < m; ++first) {
    for (int second = first + 1; second < m; ++second) {
      DPLOTP(rows,
             1,
             values.Column(first),
             values.Column(second),
             values.rows,
             1,
             range,
             symbol,
             "Factor X",
             "Factor Y",
             title,
             out);
      out.Write("Factor X = " + FormatI(first + 1, 3) + "   Factor Y =" + FormatI(second + 1, 3));
      out.EmptyLines(5);
    }
  }
}

}  // namespace

void PGOPT(int iopt, int ipage) {
  if (iopt == -1 && ipage >= 40 && ipage <= 132) Page().width = ipage;
  if (iopt == -2 && ipage >= 20 && ipage <= 120) Page().length = ipage;
}

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
            OutputFile& out) {
  const PlotLayout& layout = LayoutFor(range);
  const int width = layout.width;
  const int height = layout.height;

  // The frame, then the points over it. grid[row - 1][column - 1].
  std::vector<std::string> grid(height, std::string(width, ' '));
  for (int row = 1; row <= height; ++row) {
    std::string& line = grid[row - 1];
    if (row == 1 || row == height) {
      for (int column = 1; column <= width; ++column) {
        line[column - 1] = IsXMarkColumn(layout, column) ? '+' : ':';
      }
      continue;
    }
    const char border = IsYMarkRow(layout, row) ? '+' : '.';
    line[0] = border;
    line[width - 1] = border;
    line[layout.zero_column - 1] = 'I';
    if (row == layout.zero_row) {
      for (int column = 2; column <= width - 1; ++column) line[column - 1] = '-';
    }
  }
  for (int function = 0; function < nfun; ++function) {
    const char mark = static_cast<std::size_t>(function) < symbol.size() ? symbol[function]
                      : symbol.empty()                                   ? ' '
                                                                         : symbol[0];
    for (int point = 0; point < ndata; ++point) {
      const std::size_t at = static_cast<std::size_t>(point) * inc;
      const double column = GridColumn(layout, x[at]);
      const double row = GridRow(layout, a[at + static_cast<std::size_t>(function) * lda]);
      if (!(column >= 1 && column <= width && row >= 1 && row <= height)) continue;
      grid[static_cast<int>(row) - 1][static_cast<int>(column) - 1] = mark;
    }
  }

  WriteTrimmedRecord(out, "1");
  WriteTrimmedRecord(
      out, " " + Blanks(CentringPad(layout, static_cast<int>(title.size()))) + std::string(title));
  out.EmptyLines(2);

  // The y title runs down the margin one character a row, centred on the
  // grid's height.
  const int title_length = static_cast<int>(ytitle.size());
  const int first_title_row = (height - title_length) / 2 + 1;
  for (int row = 1; row <= height; ++row) {
    const int title_index = row - first_title_row;
    const bool has_title = title_index >= 0 && title_index < title_length;
    std::string margin;
    if (IsYMarkRow(layout, row)) {
      std::string value =
          FormatF(layout.y_marks[(row - layout.first_mark_row) / layout.mark_rows], 10, 2);
      margin = has_title ? " " + std::string(1, ytitle[title_index]) + " " + value + " "
                         : "   " + value + " ";
    } else {
      margin = has_title ? " " + std::string(1, ytitle[title_index]) + Blanks(12) : Blanks(kMargin);
    }
    WriteTrimmedRecord(out, margin + grid[row - 1]);
  }

  // The x scale: each label's middle character under its mark.
  std::string scale(kMargin + width + kMargin, ' ');
  for (int k = 0; k < 5; ++k) {
    std::string label(Trim(FormatF(layout.x_marks[k], 10, 2)));
    const int column = layout.first_mark_column + k * layout.mark_columns;
    const int start = kMargin + column - static_cast<int>(label.size()) / 2;  // 1-based
    scale.replace(start - 1, label.size(), label);
  }
  WriteTrimmedRecord(out, scale);
  out.EmptyLines(2);
  WriteTrimmedRecord(
      out,
      " " + Blanks(CentringPad(layout, static_cast<int>(xtitle.size()))) + std::string(xtitle));
}

void FactorPatternPlots(const Matrix& pattern, int p, int m, OutputFile& out) {
  const double range[4] = {-1.0, 1.0, -1.0, 1.0};
  PairPlots(pattern, p, m, range, "X", " Factor Pattern Plot", out);
}

void FactorScorePlots(const Matrix& scores, int n, int m, OutputFile& out) {
  const double range[4] = {-3.5, 3.5, -3.5, 3.5};
  PairPlots(scores, n, m, range, ".", " Factor Score Plot", out);
}

}  // namespace vq
