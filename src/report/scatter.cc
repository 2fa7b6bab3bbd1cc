#include "report/scatter.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "kernels/failure.h"
#include "kernels/rank_sort.h"
#include "report/matrix_table.h"
#include "text/edit_descriptors.h"

namespace vq {
namespace {

// Machine precision e and the factors 1 + 2e and 1 - 2e that keep a
// quotient which should be whole from truncating to the number below it.
//
// All scale arithmetic is plain double precision, products included, so that
// the plot is the same on every machine. For a step with no exact double
// value (0.15, 0.05, 0.04) a quotient such as Start / Step can then land just
// below or just above a whole number where a wider intermediate precision
// would land on the other side; the start then moves by one step and the
// axis gets one more cell. Every point stays inside the grid either way.
constexpr double kScatterEpsilon = 1.1102230246251568E-16;
constexpr double kUp = 1.0 + 2.0 * kScatterEpsilon;
constexpr double kDown = 1.0 - 2.0 * kScatterEpsilon;

// Nice steps, as multiples of a power of ten.
constexpr double kNiceSteps[] = {0.1, 0.15, 0.2, 0.25, 0.4, 0.5, 0.6, 0.75, 0.8};

// A whole number held as a double, as an int; values far out of range (or
// not a number) are held at the limits so that no conversion overflows.
int ToInt(double value) {
  if (!(value == value)) return 0;
  return static_cast<int>(std::clamp(value, -1.0e9, 1.0e9));
}

// One axis of the grid. Cell k is centred on start + k * step; cells 0 and
// cells + 1 are the borders.
struct ScatterAxis {
  double start = 0.0;
  double step = 1.0;
  int cells = 0;
  int whole = 0;     // digits before the point of the labels
  int decimals = 0;  // digits after it
  int zero_cell = 0;
};

// Start, step and label digits for n cells that cover low..high.
void AxisScale(double low, double high, int n, ScatterAxis& axis) {
  double v = (high - low) / (n + 0.1);
  double s = 0.0;
  double step = 0.0;
  double span = 0.0;
  // The covering test widens v each time round; the bound only guards
  // against ranges that no double can cover.
  for (int attempt = 0; attempt < 2000; ++attempt) {
    double base = std::pow(10.0, std::trunc(std::log10(v) - 2.0));
    step = 0.0;
    for (int pass = 0; pass < 11 && step == 0.0; ++pass) {
      for (double nice : kNiceSteps) {
        if (nice * base >= v) {
          step = nice * base;
          break;
        }
      }
      if (step == 0.0) base *= 10.0;
    }
    if (step == 0.0) step = kNiceSteps[8] * base;
    s = std::trunc((low * kUp) / step) * step;
    while (low < s - 0.05 * step) {
      const double lower = s - step;
      if (lower == s) break;
      s = lower;
    }
    span = step * (n + 0.04);
    if (!(s + span < high)) break;
    v = v * 1.05;
  }

  const double top = std::fabs(s + span);
  const double bottom = std::fabs(s);
  axis.whole = std::max(0, ToInt(std::trunc(std::log10(std::max(top, bottom)) + 1.0)));
  const int exponent = ToInt(std::trunc(std::log10(step) - 2.5));
  axis.decimals = exponent > 0 ? 0 : -exponent;

  // Shorten the start: drop its decimals one at a time for as long as the
  // grid still reaches the high limit.
  if (axis.whole + axis.decimals < 10) {
    double t = s;
    for (int k = 1; k <= 10; ++k) {
      if (t + span < high) break;
      s = t;
      const double f = std::pow(10.0, axis.decimals - k + 1);
      double g = t * f;
      if (g < 0.0) g -= 1.0;
      t = std::trunc(g) / f;
    }
  }
  axis.start = s;
  axis.step = step;
  axis.cells = n;
}

// The scale of one axis, the cell added when the low limit would sit in
// the border cell, and the shift that puts a cell on the origin.
ScatterAxis BuildAxis(double low, double high, int cells) {
  ScatterAxis axis;
  AxisScale(low, high, cells, axis);

  double k = std::trunc(axis.start / axis.step * kUp);
  if (axis.start < 0.0 && axis.start * kDown < axis.step * k) k -= 1.0;
  if ((k + 0.5) * axis.step >= low) {
    ++axis.cells;
    axis.start -= axis.step;
  }

  if (axis.start != 0.0) {
    const double q = axis.start / axis.step;
    if (std::fabs(q - std::trunc(q)) >= 5E-05) {
      double r = std::fmod(axis.start, axis.step);
      if (r < 0.0) r += axis.step;
      if (r != 0.0) {
        ++axis.cells;
        axis.start -= r;
      }
    }
  }
  if (axis.start != 0.0) {
    const double half = axis.start < 0.0 ? -0.5 : 0.5;
    axis.zero_cell = -ToInt(std::trunc(axis.start / axis.step * kUp + half));
  }
  return axis;
}

// The cell of a value on an axis: 0 counts as 1; -1 for a value off the
// grid (only a value that is not a finite number can be).
int CellOf(const ScatterAxis& axis, double value, int last) {
  const double cell = std::trunc((value - axis.start) / axis.step * kUp + 0.5);
  if (!(cell >= 0.0 && cell <= last)) return -1;
  return cell == 0.0 ? 1 : static_cast<int>(cell);
}

bool DivisibleByFive(int value) { return value % 5 == 0; }

}  // namespace

void G01AGF(const double* x,
            double* y,
            int n,
            int* isort,
            int nstepx,
            int nstepy,
            int& ifail,
            OutputFile& out) {
  if (n < 1) {
    ifail = NagFailure("G01AGF", ifail, 1);
    return;
  }
  ifail = 0;

  // y in descending order of value; isort keeps each place's point.
  std::vector<int> rank(n);
  int rank_ifail = kIfailHard;
  M01DAF(y, 1, n, "D", rank.data(), rank_ifail);
  std::vector<double> sorted(n);
  for (int point = 0; point < n; ++point) {
    sorted[rank[point] - 1] = y[point];
    isort[rank[point] - 1] = point + 1;
  }
  std::copy(sorted.begin(), sorted.end(), y);

  // Limits over the points with two finite coordinates; a range of one value
  // is opened by 1 on either side.
  double limits[4] = {0.0, 0.0, 0.0, 0.0};  // x low, x high, y low, y high
  bool seen = false;
  for (int place = 0; place < n; ++place) {
    const double xv = x[isort[place] - 1];
    const double yv = y[place];
    if (!std::isfinite(xv) || !std::isfinite(yv)) continue;
    if (!seen) {
      limits[0] = limits[1] = xv;
      limits[2] = limits[3] = yv;
      seen = true;
    }
    limits[0] = std::min(limits[0], xv);
    limits[1] = std::max(limits[1], xv);
    limits[2] = std::min(limits[2], yv);
    limits[3] = std::max(limits[3], yv);
  }
  for (int axis = 0; axis < 2; ++axis) {
    if (limits[2 * axis] == limits[2 * axis + 1]) {
      limits[2 * axis] -= 1.0;
      limits[2 * axis + 1] += 1.0;
    }
  }

  const ScatterAxis ax = BuildAxis(limits[0], limits[1], std::clamp(nstepx, 10, 133));
  const ScatterAxis ay = BuildAxis(limits[2], limits[3], std::max(nstepy, 10));

  // Cells of the points, in sorted order.
  std::vector<int> point_row(n);
  std::vector<int> point_column(n);
  for (int place = 0; place < n; ++place) {
    point_row[place] = CellOf(ay, y[place], ay.cells);
    point_column[place] = CellOf(ax, x[isort[place] - 1], ax.cells);
  }

  std::string ticks;
  for (int k = 0; k <= ax.cells + 1; ++k) ticks += DivisibleByFive(ax.zero_cell - k) ? '+' : '.';

  const bool exponent_labels = ay.whole + 2 + ay.decimals >= 12;
  auto y_label = [&](double value) {
    return " " + (exponent_labels ? FormatE(value, 11, 3) : FormatF(value, 11, ay.decimals));
  };

  if (DivisibleByFive(ay.zero_cell - (ay.cells + 1))) {
    WriteTrimmedRecord(out, y_label((ay.cells + 1) * ay.step + ay.start) + ticks);
  } else {
    WriteTrimmedRecord(out, Blanks(12) + ticks);
  }

  std::vector<int> counts(ax.cells + 1);
  for (int row = ay.cells; row >= 1; --row) {
    std::fill(counts.begin(), counts.end(), 0);
    for (int place = 0; place < n; ++place) {
      if (point_row[place] == row && point_column[place] >= 1) ++counts[point_column[place]];
    }
    std::string cells(ax.cells, ' ');
    for (int column = 1; column <= ax.cells; ++column) {
      const int count = counts[column];
      char& cell = cells[column - 1];
      if (count >= 36) {
        cell = '*';
      } else if (count >= 10) {
        cell = static_cast<char>('A' + count - 10);
      } else if (count >= 1) {
        cell = static_cast<char>('0' + count);
      } else if (row == ay.zero_cell) {
        cell = DivisibleByFive(ax.zero_cell - column) ? '+' : '.';
      } else if (column == ax.zero_cell) {
        cell = DivisibleByFive(ay.zero_cell - row) ? '+' : '.';
      }
    }
    if (DivisibleByFive(ay.zero_cell - row)) {
      WriteTrimmedRecord(out, y_label(row * ay.step + ay.start) + "+" + cells + "+");
    } else {
      WriteTrimmedRecord(out, Blanks(12) + "." + cells + ".");
    }
  }

  if (DivisibleByFive(ay.zero_cell)) {
    WriteTrimmedRecord(out, y_label(ay.start) + ticks);
  } else {
    WriteTrimmedRecord(out, Blanks(12) + ticks);
  }

  // Two lines of x labels, alternating ticks, each decimal point under its
  // tick (or an exponent form for long labels).
  const int first_tick = ((ax.zero_cell % 5) + 5) % 5;
  const int field = ax.whole + 2 + ax.decimals;
  const bool wide = field >= 10;
  std::string lines[2] = {Blanks(11 + first_tick - (wide ? 0 : ax.whole)),
                          Blanks(16 + first_tick - (wide ? 0 : ax.whole))};
  int tick_number = 0;
  for (int k = 0; k <= ax.cells + 1; ++k) {
    if (!DivisibleByFive(ax.zero_cell - k)) continue;
    const double value = ax.start + k * ax.step;
    std::string& line = lines[tick_number % 2];
    line +=
        wide ? FormatE(value, 9, 2) + " " : FormatF(value, field, ax.decimals) + Blanks(10 - field);
    ++tick_number;
  }
  WriteTrimmedRecord(out, lines[0]);
  WriteTrimmedRecord(out, lines[1]);
}

}  // namespace vq
