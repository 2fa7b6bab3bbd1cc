#include "html/svg_charts.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <string>

#include "html/html_text.h"

namespace vq::html {
namespace {

struct Rgb {
  double r, g, b;
};

struct Anchor {
  double at;
  Rgb colour;
};

// ColorBrewer PuOr (orange half) and RdBu (blue half), meeting in a light grey.
constexpr std::array<Anchor, 9> kDiverging = {{
    {-1.00, {0xb3, 0x58, 0x06}},
    {-0.75, {0xe0, 0x82, 0x14}},
    {-0.50, {0xfd, 0xb8, 0x63}},
    {-0.25, {0xfe, 0xe0, 0xb6}},
    {0.00, {0xf7, 0xf7, 0xf7}},
    {0.25, {0xd1, 0xe5, 0xf0}},
    {0.50, {0x92, 0xc5, 0xde}},
    {0.75, {0x43, 0x93, 0xc3}},
    {1.00, {0x21, 0x66, 0xac}},
}};

// ColorBrewer YlOrBr, five classes.
constexpr std::array<Anchor, 5> kSequential = {{
    {0.00, {0xff, 0xff, 0xd4}},
    {0.25, {0xfe, 0xd9, 0x8e}},
    {0.50, {0xfe, 0x99, 0x29}},
    {0.75, {0xd9, 0x5f, 0x0e}},
    {1.00, {0x99, 0x34, 0x04}},
}};

// Okabe-Ito: observed data in blue, reference lines in the others.
constexpr char kObservedColour[] = "#0072B2";
constexpr std::array<const char*, 4> kReferenceColours = {
    "#D55E00", "#E69F00", "#009E73", "#CC79A7"};
constexpr std::array<const char*, 4> kReferenceDashes = {"7 4", "2 3", "10 3 2 3", "4 2"};

// Text width estimate at the page's 12 px plot font, for laying out labels.
constexpr double kCharWidth = 7.0;

std::string Hex(const Rgb& colour) {
  auto channel = [](double value) {
    return std::clamp(static_cast<int>(std::lround(value)), 0, 255);
  };
  char text[8];
  std::snprintf(
      text, sizeof text, "#%02x%02x%02x", channel(colour.r), channel(colour.g), channel(colour.b));
  return text;
}

template <std::size_t N>
std::string Interpolate(const std::array<Anchor, N>& anchors, double at) {
  at = std::clamp(at, anchors.front().at, anchors.back().at);
  for (std::size_t k = 1; k < N; ++k) {
    if (at <= anchors[k].at) {
      const Anchor& lo = anchors[k - 1];
      const Anchor& hi = anchors[k];
      const double t = (at - lo.at) / (hi.at - lo.at);
      return Hex({lo.colour.r + t * (hi.colour.r - lo.colour.r),
                  lo.colour.g + t * (hi.colour.g - lo.colour.g),
                  lo.colour.b + t * (hi.colour.b - lo.colour.b)});
    }
  }
  return Hex(anchors.back().colour);
}

// A coordinate with one decimal, independent of the locale.
std::string Num(double value) {
  if (!std::isfinite(value)) value = 0.0;
  value = std::round(value * 10.0) / 10.0;
  if (value == 0.0) value = 0.0;  // no "-0"
  char text[32];
  auto result = std::to_chars(text, text + sizeof text, value, std::chars_format::fixed, 1);
  std::string out(text, result.ptr);
  if (out.size() > 2 && out.compare(out.size() - 2, 2, ".0") == 0) out.resize(out.size() - 2);
  return out;
}

// A linear map from a data interval onto a pixel interval.
struct Scale {
  double d0, d1, p0, p1;
  double operator()(double value) const {
    if (d1 == d0) return (p0 + p1) / 2;
    return p0 + (value - d0) / (d1 - d0) * (p1 - p0);
  }
};

class Svg {
 public:
  Svg(double width, double height, std::string_view label) {
    out_ += "<svg class=\"plot\" width=\"" + Num(width) + "\" height=\"" + Num(height) +
            "\" viewBox=\"0 0 " + Num(width) + " " + Num(height) + "\" role=\"img\" aria-label=\"" +
            EscapeHtml(label) + "\">\n";
  }
  void Line(double x1, double y1, double x2, double y2, std::string_view cls) {
    out_ += "<line class=\"" + std::string(cls) + "\" x1=\"" + Num(x1) + "\" y1=\"" + Num(y1) +
            "\" x2=\"" + Num(x2) + "\" y2=\"" + Num(y2) + "\"/>\n";
  }
  void Text(double x,
            double y,
            std::string_view anchor,
            std::string_view cls,
            std::string_view text,
            std::string_view extra = {}) {
    out_ += "<text class=\"" + std::string(cls) + "\" x=\"" + Num(x) + "\" y=\"" + Num(y) +
            "\" text-anchor=\"" + std::string(anchor) + "\"";
    if (!extra.empty()) out_ += " " + std::string(extra);
    out_ += ">" + EscapeHtml(text) + "</text>\n";
  }
  void Raw(std::string_view text) { out_ += text; }
  std::string Finish() {
    out_ += "</svg>\n";
    return std::move(out_);
  }

 private:
  std::string out_;
};

struct Frame {
  double left, top, width, height;
  double right() const { return left + width; }
  double bottom() const { return top + height; }
};

// A tick label: whole numbers without a point, others with the step's decimals.
std::string TickLabel(double value, int decimals) {
  if (decimals == 0) return FormatCount(std::llround(value));
  return FormatFixed(value, decimals);
}

// Grid lines, tick labels and axis titles around `frame`.
void DrawAxes(Svg& svg,
              const Frame& frame,
              const Ticks& x_ticks,
              const Scale& x,
              const Ticks& y_ticks,
              const Scale& y,
              std::string_view x_title,
              std::string_view y_title) {
  for (double value : y_ticks.values) {
    const double py = y(value);
    if (py < frame.top - 0.5 || py > frame.bottom() + 0.5) continue;
    svg.Line(frame.left, py, frame.right(), py, "grid");
    svg.Text(frame.left - 6, py + 4, "end", "tick", TickLabel(value, y_ticks.decimals));
  }
  for (double value : x_ticks.values) {
    const double px = x(value);
    if (px < frame.left - 0.5 || px > frame.right() + 0.5) continue;
    svg.Line(px, frame.top, px, frame.bottom(), "grid");
    svg.Text(px, frame.bottom() + 16, "middle", "tick", TickLabel(value, x_ticks.decimals));
  }
  svg.Raw("<rect class=\"frame\" x=\"" + Num(frame.left) + "\" y=\"" + Num(frame.top) +
          "\" width=\"" + Num(frame.width) + "\" height=\"" + Num(frame.height) + "\"/>\n");
  svg.Text(frame.left + frame.width / 2, frame.bottom() + 38, "middle", "axis-title", x_title);
  const double ty = frame.top + frame.height / 2;
  svg.Text(frame.left - 46,
           ty,
           "middle",
           "axis-title",
           y_title,
           "transform=\"rotate(-90 " + Num(frame.left - 46) + " " + Num(ty) + ")\"");
}

std::string Polyline(const std::vector<double>& values, const Scale& x, const Scale& y) {
  std::string points;
  for (std::size_t k = 0; k < values.size(); ++k) {
    if (!std::isfinite(values[k])) continue;
    if (!points.empty()) points += ' ';
    points += Num(x(static_cast<double>(k + 1))) + "," + Num(y(values[k]));
  }
  return points;
}

}  // namespace

std::string DivergingColour(double value) {
  if (std::isnan(value)) return "#bdbdbd";
  return Interpolate(kDiverging, value);
}

std::string SequentialColour(double fraction) {
  if (std::isnan(fraction)) fraction = 0.0;
  return Interpolate(kSequential, fraction);
}

std::string ScreePlotSvg(const std::vector<double>& observed,
                         const std::vector<ReferenceLine>& reference,
                         bool unit_line) {
  if (observed.empty()) return {};
  const double width = 760, height = 400;
  const Frame frame{70, 16, width - 70 - 20, height - 16 - 58};
  const double n = static_cast<double>(observed.size());

  double low = 0.0, high = 1.0;
  auto widen = [&](const std::vector<double>& values) {
    for (double v : values) {
      if (!std::isfinite(v)) continue;
      low = std::min(low, v);
      high = std::max(high, v);
    }
  };
  widen(observed);
  for (const ReferenceLine& line : reference) widen(line.values);
  const Ticks y_ticks = NiceTicks(low, high, 6);
  const Scale y{y_ticks.values.front(), y_ticks.values.back(), frame.bottom(), frame.top};
  Ticks x_ticks = NiceTicks(1.0, n, std::min(10, static_cast<int>(n)));
  if (x_ticks.step < 1.0) x_ticks = NiceTicks(1.0, n + 1e-9, static_cast<int>(n));
  x_ticks.values.erase(
      std::remove_if(
          x_ticks.values.begin(), x_ticks.values.end(), [&](double v) { return v < 1.0 || v > n; }),
      x_ticks.values.end());
  if (x_ticks.values.empty() || x_ticks.values.front() != 1.0) {
    x_ticks.values.insert(x_ticks.values.begin(), 1.0);
  }
  x_ticks.decimals = 0;
  const double pad = std::max(0.5, n * 0.02);
  const Scale x{1.0 - pad, n + pad, frame.left, frame.right()};

  Svg svg(width, height, "Scree plot of the eigenvalues");
  DrawAxes(svg,
           frame,
           x_ticks,
           x,
           y_ticks,
           y,
           "Eigenvalue number (rank)",
           "Eigenvalue (variance; one item = 1)");
  unit_line = unit_line && y.d0 < 1.0 && y.d1 > 1.0;
  if (unit_line) svg.Line(frame.left, y(1.0), frame.right(), y(1.0), "unit-line");

  for (std::size_t k = 0; k < reference.size(); ++k) {
    const std::string points = Polyline(reference[k].values, x, y);
    if (points.empty()) continue;
    svg.Raw("<polyline class=\"series\" stroke=\"" +
            std::string(kReferenceColours[k % kReferenceColours.size()]) +
            "\" stroke-dasharray=\"" + kReferenceDashes[k % kReferenceDashes.size()] +
            "\" points=\"" + points + "\"/>\n");
  }
  svg.Raw("<polyline class=\"series observed\" stroke=\"" + std::string(kObservedColour) +
          "\" points=\"" + Polyline(observed, x, y) + "\"/>\n");
  if (observed.size() <= 60) {
    for (std::size_t k = 0; k < observed.size(); ++k) {
      if (!std::isfinite(observed[k])) continue;
      svg.Raw("<circle class=\"marker\" fill=\"" + std::string(kObservedColour) + "\" cx=\"" +
              Num(x(static_cast<double>(k + 1))) + "\" cy=\"" + Num(y(observed[k])) +
              "\" r=\"4\"><title>" + FormatCount(static_cast<long long>(k + 1)) + ": " +
              FormatFixed(observed[k], 3) + "</title></circle>\n");
    }
  }

  // Legend in the upper right corner, where eigenvalues are small.
  struct Entry {
    std::string label, colour, dash, cls;
  };
  std::vector<Entry> entries = {{"Observed", kObservedColour, "", "series observed"}};
  for (std::size_t k = 0; k < reference.size(); ++k) {
    entries.push_back({reference[k].label,
                       kReferenceColours[k % kReferenceColours.size()],
                       kReferenceDashes[k % kReferenceDashes.size()],
                       "series"});
  }
  if (unit_line) entries.push_back({"Eigenvalue 1", "", "", "unit-line"});
  std::size_t longest = 0;
  for (const Entry& entry : entries) {
    longest = std::max(longest, static_cast<std::size_t>(CharCount(entry.label)));
  }
  const double box_width =
      48 + kCharWidth * static_cast<double>(std::min<std::size_t>(longest, 48));
  const double box_height = 10 + 20 * static_cast<double>(entries.size());
  const double bx = frame.right() - box_width - 10, by = frame.top + 10;
  svg.Raw("<rect class=\"legend\" x=\"" + Num(bx) + "\" y=\"" + Num(by) + "\" width=\"" +
          Num(box_width) + "\" height=\"" + Num(box_height) + "\"/>\n");
  for (std::size_t k = 0; k < entries.size(); ++k) {
    const double ly = by + 15 + 20 * static_cast<double>(k);
    const Entry& entry = entries[k];
    std::string line = "<line class=\"" + entry.cls + "\" x1=\"" + Num(bx + 8) + "\" y1=\"" +
                       Num(ly) + "\" x2=\"" + Num(bx + 36) + "\" y2=\"" + Num(ly) + "\"";
    if (!entry.colour.empty()) line += " stroke=\"" + entry.colour + "\"";
    if (!entry.dash.empty()) line += " stroke-dasharray=\"" + entry.dash + "\"";
    svg.Raw(line + "/>\n");
    svg.Text(bx + 42, ly + 4, "start", "legend-text", Shorten(entry.label, 48));
  }
  return svg.Finish();
}

std::string HeatMapSvg(const std::vector<std::string>& row_labels,
                       const std::vector<std::string>& column_labels,
                       const Matrix& values,
                       const std::vector<bool>& faded,
                       int decimals,
                       std::string_view column_title,
                       std::string_view key_title,
                       std::string_view faded_key) {
  const int rows = values.rows, cols = values.cols;
  if (rows == 0 || cols == 0) return {};
  // Long tables get lower rows; the numbers stay at a readable size.
  const double row_height = rows <= 40 ? 26 : (rows <= 150 ? 22 : (rows <= 400 ? 16 : 13));
  const double font = rows <= 40 ? 13 : (rows <= 150 ? 12 : (rows <= 400 ? 10.5 : 9.5));
  const double cell_width = rows <= 40 ? 76 : 66;
  constexpr int kMaxLabelChars = 32;
  int label_chars = 4;
  for (const std::string& label : row_labels) {
    label_chars = std::max(label_chars, std::min(kMaxLabelChars, CharCount(label)));
  }
  const double label_width = kCharWidth * label_chars + 16;
  const double table_width = cell_width * cols;

  // The colour key runs across the top, so that it is at hand however long
  // the table: eleven swatches from -1 to 1, then the sample of a faded cell.
  const double key_top = 22, swatch_width = 28, swatch_height = 14;
  const double key_right = label_width + 11 * swatch_width;
  const double faded_left = key_right + 24;
  const double faded_right =
      faded_key.empty() ? key_right : faded_left + 32 + kCharWidth * CharCount(faded_key);
  const double top = 100;
  const double width = std::max(label_width + table_width, faded_right) + 12;
  const double height = top + row_height * rows + 4;

  Svg svg(width, height, "Heat map: " + std::string(key_title));
  svg.Text(label_width, 14, "start", "axis-title", key_title);
  for (int k = 0; k <= 10; ++k) {
    const double value = -1.0 + 0.2 * k;
    const double x = label_width + swatch_width * k;
    svg.Raw("<rect class=\"swatch\" x=\"" + Num(x) + "\" y=\"" + Num(key_top) + "\" width=\"" +
            Num(swatch_width) + "\" height=\"" + Num(swatch_height) + "\" fill=\"" +
            DivergingColour(value) + "\"/>\n");
    if (k % 5 == 0) {
      svg.Text(x + swatch_width / 2,
               key_top + swatch_height + 13,
               "middle",
               "tick",
               FormatFixed(value, 1));
    }
  }
  if (!faded_key.empty()) {
    svg.Raw("<rect class=\"cell faded\" x=\"" + Num(faded_left) + "\" y=\"" + Num(key_top) +
            "\" width=\"" + Num(swatch_width) + "\" height=\"" + Num(swatch_height) + "\" fill=\"" +
            DivergingColour(0.7) + "\"/>\n");
    svg.Text(faded_left + 34, key_top + swatch_height - 2, "start", "tick", faded_key);
  }

  svg.Text(label_width + table_width / 2, top - 28, "middle", "axis-title", column_title);
  for (int col = 0; col < cols; ++col) {
    const std::string head = col < static_cast<int>(column_labels.size())
                                 ? Shorten(column_labels[col], 9)
                                 : FormatCount(col + 1);
    svg.Text(label_width + cell_width * (col + 0.5), top - 8, "middle", "col-head", head);
  }
  const std::string font_attr = "font-size=\"" + Num(font) + "\"";
  for (int row = 0; row < rows; ++row) {
    const double y = top + row_height * row;
    const std::string label =
        row < static_cast<int>(row_labels.size()) ? row_labels[row] : FormatCount(row + 1);
    svg.Raw("<g>");
    if (CharCount(label) > kMaxLabelChars) svg.Raw("<title>" + EscapeHtml(label) + "</title>");
    svg.Text(label_width - 8,
             y + row_height / 2 + font * 0.35,
             "end",
             "row-head",
             Shorten(label, kMaxLabelChars),
             font_attr);
    svg.Raw("</g>\n");
    for (int col = 0; col < cols; ++col) {
      const double value = values(row, col);
      const std::size_t flag = static_cast<std::size_t>(row) * cols + col;
      const bool pale = flag < faded.size() && faded[flag];
      const double x = label_width + cell_width * col;
      svg.Raw("<rect class=\"" + std::string(pale ? "cell faded" : "cell") + "\" x=\"" + Num(x) +
              "\" y=\"" + Num(y) + "\" width=\"" + Num(cell_width) + "\" height=\"" +
              Num(row_height) + "\" fill=\"" + DivergingColour(value) + "\"/>");
      const bool dark = !pale && std::isfinite(value) && std::fabs(value) >= 0.6;
      svg.Text(x + cell_width / 2,
               y + row_height / 2 + font * 0.35,
               "middle",
               pale ? "value faded" : (dark ? "value on-dark" : "value"),
               FormatFixed(value, decimals),
               font_attr);
    }
  }
  return svg.Finish();
}

std::string HistogramSvg(const std::vector<double>& edges,
                         const std::vector<long long>& counts,
                         std::string_view x_title,
                         std::string_view y_title) {
  if (counts.empty() || edges.size() != counts.size() + 1) return {};
  const double width = 760, height = 360;
  const Frame frame{70, 16, width - 70 - 20, height - 16 - 58};
  long long most = 1;
  for (long long count : counts) most = std::max(most, count);
  Ticks y_ticks = NiceTicks(0.0, static_cast<double>(most), 6);
  if (y_ticks.step < 1.0)
    y_ticks = NiceTicks(0.0, static_cast<double>(most), static_cast<int>(most));
  y_ticks.decimals = 0;
  const Scale y{0.0, y_ticks.values.back(), frame.bottom(), frame.top};
  const Ticks x_ticks = NiceTicks(edges.front(), edges.back(), 8);
  const Scale x{edges.front(), edges.back(), frame.left, frame.right()};

  Svg svg(width, height, "Histogram of the residuals");
  DrawAxes(svg, frame, x_ticks, x, y_ticks, y, x_title, y_title);
  for (std::size_t k = 0; k < counts.size(); ++k) {
    if (counts[k] <= 0) continue;
    const double x0 = x(edges[k]), x1 = x(edges[k + 1]);
    const double y0 = y(static_cast<double>(counts[k]));
    svg.Raw("<rect class=\"bar\" x=\"" + Num(x0) + "\" y=\"" + Num(y0) + "\" width=\"" +
            Num(std::max(0.5, x1 - x0)) + "\" height=\"" + Num(frame.bottom() - y0) + "\"><title>" +
            FormatFixed(edges[k], 3) + " to " + FormatFixed(edges[k + 1], 3) + ": " +
            FormatCount(counts[k]) + "</title></rect>\n");
  }
  if (edges.front() < 0.0 && edges.back() > 0.0) {
    svg.Line(x(0.0), frame.top, x(0.0), frame.bottom(), "zero-line");
  }
  return svg.Finish();
}

int ThinningStride(std::size_t count, int max_points) {
  if (max_points <= 0) return 1;
  return static_cast<int>(std::max<std::size_t>(1, (count + max_points - 1) / max_points));
}

std::string ScatterSvg(const std::vector<double>& x_values,
                       const std::vector<double>& y_values,
                       int stride,
                       std::string_view x_title,
                       std::string_view y_title) {
  const std::size_t count = std::min(x_values.size(), y_values.size());
  stride = std::max(stride, 1);
  double extent = 1.0;
  for (std::size_t k = 0; k < count; ++k) {
    if (std::isfinite(x_values[k])) extent = std::max(extent, std::fabs(x_values[k]));
    if (std::isfinite(y_values[k])) extent = std::max(extent, std::fabs(y_values[k]));
  }
  const double size = 400;
  const Frame frame{66, 14, size - 66 - 14, size - 14 - 56};
  const Ticks ticks = NiceTicks(-extent, extent, 6);
  const Scale x{ticks.values.front(), ticks.values.back(), frame.left, frame.right()};
  const Scale y{ticks.values.front(), ticks.values.back(), frame.bottom(), frame.top};

  Svg svg(size, size, std::string(y_title) + " against " + std::string(x_title));
  DrawAxes(svg, frame, ticks, x, ticks, y, x_title, y_title);
  svg.Line(x(0.0), frame.top, x(0.0), frame.bottom(), "zero-line");
  svg.Line(frame.left, y(0.0), frame.right(), y(0.0), "zero-line");
  svg.Raw("<g class=\"points\" fill=\"" + std::string(kObservedColour) + "\">\n");
  for (std::size_t k = 0; k < count; k += static_cast<std::size_t>(stride)) {
    if (!std::isfinite(x_values[k]) || !std::isfinite(y_values[k])) continue;
    svg.Raw("<circle cx=\"" + Num(x(x_values[k])) + "\" cy=\"" + Num(y(y_values[k])) +
            "\" r=\"2.5\"/>\n");
  }
  svg.Raw("</g>\n");
  return svg.Finish();
}

Matrix BlockMaxima(const Matrix& counts, int block) {
  block = std::max(block, 1);
  const int p = counts.rows;
  const int blocks = (p + block - 1) / block;
  Matrix result(blocks, blocks, 0.0);
  for (int col = 0; col < p; ++col) {
    for (int row = 0; row < p; ++row) {
      if (row == col) continue;
      double& cell = result(row / block, col / block);
      cell = std::max(cell, counts(row, col));
    }
  }
  return result;
}

std::string CountMatrixSvg(const std::vector<std::string>& labels,
                           const Matrix& counts,
                           bool grey_diagonal,
                           std::string_view axis_title) {
  const int n = std::min(counts.rows, counts.cols);
  if (n == 0) return {};
  const double cell = std::clamp(600.0 / n, 3.0, 34.0);
  const bool with_labels = !labels.empty() && cell >= 12;
  const bool with_numbers = cell >= 22;
  int label_chars = 0;
  if (with_labels) {
    for (const std::string& label : labels)
      label_chars = std::max(label_chars, std::min(12, CharCount(label)));
  }
  const double margin = with_labels ? kCharWidth * label_chars + 14 : 24;
  const double left = margin + 24, top = margin + 24;
  const double grid = cell * n;
  const double key_left = left + grid + 28;
  const double width = key_left + 170;
  const double height = std::max(top + grid + 12, top + 170);
  double most = 0.0;
  for (int col = 0; col < n; ++col) {
    for (int row = 0; row < n; ++row) {
      if (!(grey_diagonal && row == col)) most = std::max(most, counts(row, col));
    }
  }

  Svg svg(width, height, "Matrix: " + std::string(axis_title));
  svg.Text(left + grid / 2, 14, "middle", "axis-title", axis_title);
  svg.Text(12,
           top + grid / 2,
           "middle",
           "axis-title",
           axis_title,
           "transform=\"rotate(-90 12 " + Num(top + grid / 2) + ")\"");
  if (with_labels) {
    for (int k = 0; k < n && k < static_cast<int>(labels.size()); ++k) {
      const double centre = cell * (k + 0.5);
      const std::string label = Shorten(labels[k], 12);
      svg.Text(left - 6, top + centre + 4, "end", "row-head", label);
      svg.Text(left + centre + 4,
               top - 6,
               "start",
               "col-head",
               label,
               "transform=\"rotate(-90 " + Num(left + centre + 4) + " " + Num(top - 6) + ")\"");
    }
  }
  for (int col = 0; col < n; ++col) {
    for (int row = 0; row < n; ++row) {
      const double value = counts(row, col);
      const bool diagonal = grey_diagonal && row == col;
      std::string fill = diagonal
                             ? "#d9d9d9"
                             : (value > 0 && most > 0 ? SequentialColour(value / most) : "#ffffff");
      svg.Raw("<rect class=\"count-cell\" x=\"" + Num(left + cell * col) + "\" y=\"" +
              Num(top + cell * row) + "\" width=\"" + Num(cell) + "\" height=\"" + Num(cell) +
              "\" fill=\"" + fill + "\"/>");
      if (with_numbers && !diagonal && value > 0) {
        svg.Text(left + cell * (col + 0.5),
                 top + cell * (row + 0.5) + 4,
                 "middle",
                 value / most > 0.6 ? "value on-dark" : "value",
                 FormatCount(static_cast<long long>(value)));
      }
    }
    svg.Raw("\n");
  }
  // Key: white for none, then five steps up to the largest count.
  svg.Text(key_left, top - 6, "start", "axis-title", "Suspicious triplets");
  const long long largest = static_cast<long long>(most);
  std::vector<std::pair<std::string, std::string>> keys = {{"#ffffff", "0"}};
  for (int k = 1; k <= 5 && largest > 0; ++k) {
    const double value = std::max(1.0, std::round(most * k / 5.0));
    if (!keys.empty() && keys.back().second == FormatCount(static_cast<long long>(value))) continue;
    keys.push_back({SequentialColour(value / most), FormatCount(static_cast<long long>(value))});
  }
  if (grey_diagonal) keys.push_back({"#d9d9d9", "item with itself"});
  for (std::size_t k = 0; k < keys.size(); ++k) {
    const double y = top + 22 * static_cast<double>(k);
    svg.Raw("<rect class=\"count-cell\" x=\"" + Num(key_left) + "\" y=\"" + Num(y) +
            "\" width=\"18\" height=\"18\" fill=\"" + keys[k].first + "\"/>\n");
    svg.Text(key_left + 26, y + 13, "start", "tick", keys[k].second);
  }
  return svg.Finish();
}

}  // namespace vq::html
