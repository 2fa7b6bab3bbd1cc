#include "html/html_report.h"

#include <algorithm>
#include <cmath>
#include <string>

#include "html/html_text.h"
#include "html/svg_charts.h"
#include "text/edit_descriptors.h"

namespace vq::html {
namespace {

// Light theme for screen and paper. Fonts are the reader's own system fonts:
// the page loads nothing. Presentation attributes of single SVG elements
// (font-size of long heat maps) must win over these rules, so sizes are set
// on the <svg> and inherited rather than set on every <text>.
constexpr char kStyle[] = R"css(
:root { color-scheme: light; }
body { margin: 0; background: #ffffff; color: #1a1a1a;
  font: 15px/1.45 system-ui, -apple-system, "Segoe UI", Roboto, "Helvetica Neue", Arial, sans-serif; }
main { max-width: 1200px; margin: 0 auto; padding: 20px 32px 48px; }
header { border-bottom: 1px solid #d0d0d0; padding-bottom: 12px; }
h1 { font-size: 26px; margin: 4px 0 2px; }
h2 { font-size: 20px; margin: 0 0 10px; padding-bottom: 4px; border-bottom: 2px solid #0072B2; }
h3 { font-size: 16px; margin: 16px 0 6px; }
.subtitle { color: #505050; margin: 0 0 8px; }
nav { display: flex; flex-wrap: wrap; gap: 6px 14px; font-size: 14px; }
a { color: #0b5394; }
nav a { color: #0b5394; text-decoration: none; border-bottom: 1px dotted #0b5394; }
.summary { margin: 8px 0 0; font-size: 14px; color: #333; }
section { margin: 30px 0; }
table { border-collapse: collapse; font-variant-numeric: tabular-nums; margin: 6px 0 10px; }
th, td { padding: 3px 12px 3px 8px; border-bottom: 1px solid #e4e4e4; text-align: left; vertical-align: top; }
th { background: #f3f5f7; font-weight: 600; }
td.num, th.num { text-align: right; }
table.wide td.num { min-width: 3.5em; }
figure { margin: 8px 0 14px; }
figcaption { font-size: 13px; color: #444; margin-top: 4px; max-width: 760px; }
svg.plot { display: block; max-width: 100%; height: auto; font-size: 12px; }
svg.plot text { fill: #1a1a1a; font-family: inherit; }
.grid { stroke: #e6e6e6; stroke-width: 1; }
.frame { fill: none; stroke: #606060; stroke-width: 1; }
text.tick { fill: #404040; }
text.axis-title, text.col-head { font-weight: 600; }
.series { fill: none; stroke-width: 2.5; stroke-linejoin: round; }
.unit-line { stroke: #7a7a7a; stroke-width: 1.5; stroke-dasharray: 1 4; }
.legend { fill: #ffffff; fill-opacity: 0.92; stroke: #b8b8b8; }
.zero-line { stroke: #505050; stroke-width: 1; stroke-dasharray: 4 3; }
.bar { fill: #0072B2; stroke: #ffffff; stroke-width: 0.5; }
.cell { stroke: #ffffff; stroke-width: 1; }
.cell.faded { fill-opacity: 0.3; }
svg.plot text.value { fill: #1a1a1a; }
svg.plot text.value.on-dark { fill: #ffffff; }
svg.plot text.value.faded { fill: #8c8c8c; }
.points circle { fill-opacity: 0.45; }
.count-cell { stroke: #dddddd; stroke-width: 0.5; }
.columns { display: flex; flex-wrap: wrap; gap: 0 40px; align-items: flex-start; }
details summary { cursor: pointer; color: #0b5394; margin: 6px 0; }
.plots { display: flex; flex-wrap: wrap; gap: 10px 24px; }
.stop { border-left: 6px solid #D55E00; background: #fff3ea; padding: 10px 18px; }
.stop h2 { border-bottom-color: #D55E00; }
.message { white-space: pre-wrap; font-family: ui-monospace, "DejaVu Sans Mono", Menlo, Consolas, monospace; font-size: 14px; }
ol.notes { padding-left: 1.6em; }
ol.notes li { margin: 4px 0; }
.badge { display: inline-block; min-width: 5.5em; font-size: 12px; font-weight: 700;
  padding: 0 6px; margin-right: 6px; border-radius: 3px; text-align: center; border: 1px solid; }
.badge.note { color: #0b5394; border-color: #0b5394; background: #eef5fb; }
.badge.warning { color: #8a4b00; border-color: #b35806; background: #fff3e0; }
.badge.error { color: #ffffff; border-color: #b33c00; background: #b33c00; }
.where { color: #666666; font-size: 13px; margin-right: 6px; }
.note-text { white-space: pre-wrap; }
.meter { display: inline-block; height: 10px; background: #d95f0e; vertical-align: middle; }
footer { margin-top: 36px; border-top: 1px solid #d0d0d0; padding-top: 8px; font-size: 12px; color: #666; }
@media print {
  body { font-size: 10.5pt; }
  main { max-width: none; padding: 0; }
  nav { display: none; }
  section { margin: 18px 0; }
  figure, table, .stop { break-inside: avoid; }
  h2, h3 { break-after: avoid; }
  * { -webkit-print-color-adjust: exact; print-color-adjust: exact; }
}
)css";

std::string Esc(std::string_view text) { return EscapeHtml(text); }

std::string Cell(std::string_view text, bool numeric) {
  return std::string(numeric ? "<td class=\"num\">" : "<td>") + Esc(text) + "</td>";
}

// Rows of (name, value) as a two-column table.
std::string NameValueTable(const std::vector<NamedText>& rows,
                           std::string_view name_head,
                           std::string_view value_head) {
  std::string out = "<table><thead><tr><th>" + Esc(name_head) + "</th><th>" + Esc(value_head) +
                    "</th></tr></thead><tbody>\n";
  for (const NamedText& row : rows) {
    out += "<tr>" + Cell(row.name, false) + Cell(row.value, false) + "</tr>\n";
  }
  return out + "</tbody></table>\n";
}

// A long row of numbers (one per rank or factor) cut into tables of at most
// `per_table` columns so that the page never scrolls sideways.
struct NumberRow {
  std::string name;
  std::vector<std::string> cells;
};
std::string WrappedTable(std::string_view head_name,
                         const std::vector<std::string>& heads,
                         const std::vector<NumberRow>& rows,
                         std::size_t per_table) {
  std::string out;
  for (std::size_t start = 0; start < heads.size(); start += per_table) {
    const std::size_t end = std::min(heads.size(), start + per_table);
    out += "<table class=\"wide\"><thead><tr><th>" + Esc(head_name) + "</th>";
    for (std::size_t k = start; k < end; ++k) out += "<th class=\"num\">" + Esc(heads[k]) + "</th>";
    out += "</tr></thead><tbody>\n";
    for (const NumberRow& row : rows) {
      out += "<tr><th>" + Esc(row.name) + "</th>";
      for (std::size_t k = start; k < end; ++k) {
        out += Cell(k < row.cells.size() ? row.cells[k] : std::string(), true);
      }
      out += "</tr>\n";
    }
    out += "</tbody></table>\n";
  }
  return out;
}

std::string Figure(const std::string& svg, std::string_view caption) {
  std::string out = "<figure>\n" + svg;
  if (!caption.empty()) out += "<figcaption>" + Esc(caption) + "</figcaption>\n";
  return out + "</figure>\n";
}

std::string Plural(long long count, std::string_view one, std::string_view many) {
  return FormatCount(count) + " " + std::string(count == 1 ? one : many);
}

std::string FactorName(const std::vector<std::string>& names, int factor) {
  if (factor >= 0 && factor < static_cast<int>(names.size()) && !names[factor].empty()) {
    return "Factor " + names[factor];
  }
  return "Factor " + FormatCount(factor + 1);
}

bool HasScree(const HtmlReportModel& m) {
  return m.eigenvalues && !m.eigenvalues->observed.empty();
}
bool HasTable(const std::optional<LoadingTable>& t) { return t && !t->rows.empty(); }
bool HasPhi(const HtmlReportModel& m) {
  return m.factor_correlations && m.factor_correlations->values.rows > 0 &&
         m.factor_correlations->values.rows == m.factor_correlations->values.cols;
}
bool HasResiduals(const HtmlReportModel& m) {
  return m.residuals && (!m.residuals->class_counts.empty() || !m.residuals->fit.empty());
}
bool HasAids(const HtmlReportModel& m) {
  return m.aids && (!m.aids->summary.empty() || !m.aids->tables.empty() ||
                    (m.aids->factor_scree && !m.aids->factor_scree->observed.empty()));
}
bool HasScores(const HtmlReportModel& m) { return m.scores && !m.scores->plots.empty(); }
bool HasTriplets(const HtmlReportModel& m) {
  return m.triplets && (!m.triplets->item_labels.empty() || m.triplets->pair_counts.rows > 0 ||
                        !m.triplets->item_counts.empty());
}

std::string SectionOpen(std::string_view id, std::string_view heading, std::string_view cls = {}) {
  std::string out = "<section id=\"" + std::string(id) + "\"";
  if (!cls.empty()) out += " class=\"" + std::string(cls) + "\"";
  return out + ">\n<h2>" + Esc(heading) + "</h2>\n";
}

std::string RenderStop(const StopData& stop) {
  std::string out = SectionOpen("stop", "The run stopped", "stop");
  out += "<p><strong>" + Esc(stop.kind.empty() ? std::string("Stop") : stop.kind) +
         "</strong> (exit status " + FormatCount(stop.exit_status) + ")</p>\n";
  if (!stop.message.empty()) out += "<p class=\"message\">" + Esc(stop.message) + "</p>\n";
  out += "<p>The sections below show what the run had computed before it stopped.</p>\n";
  return out + "</section>\n";
}

std::string RenderSettings(const HtmlReportModel& model) {
  std::string out = SectionOpen("settings", "Settings");
  std::vector<NamedText> rows;
  if (!model.title.empty()) rows.push_back({"Title", model.title});
  if (!model.program_version.empty()) rows.push_back({"Program", model.program_version});
  rows.insert(rows.end(), model.settings.begin(), model.settings.end());
  out += "<div class=\"columns\">\n<div>\n" + NameValueTable(rows, "Setting", "Value") + "</div>\n";
  if (!model.files.empty()) {
    out += "<div>\n" + NameValueTable(model.files, "File", "Path") + "</div>\n";
  }
  return out + "</div>\n</section>\n";
}

// Beyond this many eigenvalues the first ones, which decide the number of
// factors, get a plot of their own, and the table of all of them is folded.
constexpr std::size_t kScreeZoom = 30;
constexpr std::size_t kOpenEigenvalueTable = 45;

std::vector<double> Head(const std::vector<double>& values, std::size_t count) {
  return {values.begin(), values.begin() + std::min(count, values.size())};
}

std::string RenderScree(const ScreeData& scree) {
  std::string out = SectionOpen("scree", "Eigenvalues");
  const std::size_t n = scree.observed.size();
  std::string reference_note;
  if (!scree.reference.empty()) {
    reference_note =
        " Dashed lines: eigenvalues of random data of the same size (parallel analysis);"
        " observed eigenvalues above them mark factors worth keeping.";
  }
  if (n > kScreeZoom + 10) {
    std::vector<ReferenceLine> reference = scree.reference;
    for (ReferenceLine& line : reference) line.values = Head(line.values, kScreeZoom);
    out += Figure(ScreePlotSvg(Head(scree.observed, kScreeZoom), reference),
                  "Scree plot: the first " + FormatCount(kScreeZoom) + " of " + FormatCount(n) +
                      " eigenvalues (" + scree.title + ")." + reference_note);
  }
  out += Figure(ScreePlotSvg(scree.observed, scree.reference),
                "Scree plot: " + scree.title + ", " + Plural(n, "eigenvalue", "eigenvalues") +
                    ", largest first." + reference_note);
  std::vector<std::string> heads;
  NumberRow observed{"Observed", {}};
  for (std::size_t k = 0; k < n; ++k) {
    heads.push_back(FormatCount(static_cast<long long>(k + 1)));
    observed.cells.push_back(FormatFixed(scree.observed[k], 3));
  }
  std::vector<NumberRow> rows = {observed};
  for (const ReferenceLine& line : scree.reference) {
    NumberRow row{line.label, {}};
    for (double value : line.values) row.cells.push_back(FormatFixed(value, 3));
    rows.push_back(row);
  }
  const std::string table = WrappedTable("Rank", heads, rows, 15);
  if (n > kOpenEigenvalueTable) {
    out += "<details><summary>Table of all " + FormatCount(n) + " eigenvalues</summary>\n" + table +
           "</details>\n";
  } else {
    out += table;
  }
  return out + "</section>\n";
}

// The hyperplane count of one factor as the text report gives it: the
// number of entries in the hyperplane and their share of the items.
std::string HyperplaneShare(long long count, std::size_t items) {
  const double share = items == 0 ? 0.0 : static_cast<double>(count) / static_cast<double>(items);
  return FormatCount(count) + " (" + std::string(Trim(FormatF(share, 3, 2))) + ")";
}

std::string RenderLoadingTable(const LoadingTable& table,
                               std::string_view id,
                               std::string_view heading,
                               std::string_view key_title) {
  std::string out = SectionOpen(id, heading);
  std::size_t factors = table.factor_names.size();
  for (const LoadingRow& row : table.rows) factors = std::max(factors, row.values.size());
  std::vector<std::string> labels, heads;
  for (std::size_t f = 0; f < factors; ++f) {
    heads.push_back(f < table.factor_names.size() ? table.factor_names[f] : FormatCount(f + 1));
  }
  Matrix values(static_cast<int>(table.rows.size()), static_cast<int>(factors), NAN);
  std::vector<bool> faded(table.rows.size() * factors, false);
  std::vector<long long> in_plane(factors, 0);
  bool any_flag = false;
  for (std::size_t item = 0; item < table.rows.size(); ++item) {
    const LoadingRow& row = table.rows[item];
    labels.push_back(row.label);
    for (std::size_t f = 0; f < factors && f < row.values.size(); ++f) {
      values(static_cast<int>(item), static_cast<int>(f)) = row.values[f];
      if (f < row.in_hyperplane.size() && row.in_hyperplane[f]) {
        faded[item * factors + f] = true;
        ++in_plane[f];
        any_flag = true;
      }
    }
  }
  if (!table.title.empty()) out += "<h3>" + Esc(table.title) + "</h3>\n";
  std::string faded_key;
  if (any_flag) {
    faded_key = table.hyperplane_width > 0
                    ? "|value| < " + FormatFixed(table.hyperplane_width, 3) + " (hyperplane)"
                    : "in the hyperplane";
  }
  std::string caption = Plural(static_cast<long long>(table.rows.size()), "item", "items") +
                        " (rows, in the order of the report) by " +
                        Plural(static_cast<long long>(factors), "factor", "factors") +
                        ". Blue: positive, orange: negative; darker is larger in size.";
  if (any_flag) caption += " Pale entries lie in the hyperplane.";
  out += Figure(HeatMapSvg(labels,
                           heads,
                           values,
                           any_flag ? faded : std::vector<bool>{},
                           3,
                           "Factor",
                           key_title,
                           faded_key),
                caption);
  std::vector<NumberRow> rows;
  if (!table.variance_explained.empty()) {
    NumberRow row{"Variance explained", {}};
    for (double value : table.variance_explained) row.cells.push_back(FormatFixed(value, 3));
    rows.push_back(row);
  }
  if (any_flag || table.hyperplane_width > 0) {
    NumberRow row{"Hyperplane count (share)", {}};
    for (long long count : in_plane) row.cells.push_back(HyperplaneShare(count, table.rows.size()));
    rows.push_back(row);
  }
  if (!rows.empty()) out += WrappedTable("Factor", heads, rows, 12);
  return out + "</section>\n";
}

std::string RenderFactorCorrelations(const FactorCorrelations& phi) {
  std::string out = SectionOpen("factor-correlations", "Factor correlations");
  if (!phi.title.empty()) out += "<h3>" + Esc(phi.title) + "</h3>\n";
  std::vector<std::string> names;
  for (int f = 0; f < phi.values.rows; ++f) {
    names.push_back(f < static_cast<int>(phi.factor_names.size()) ? phi.factor_names[f]
                                                                  : FormatCount(f + 1));
  }
  out += Figure(HeatMapSvg(names, names, phi.values, {}, 3, "Factor", "Correlation", ""),
                "Correlations between the rotated factors.");
  return out + "</section>\n";
}

std::string RenderResiduals(const ResidualData& residuals) {
  std::string out = SectionOpen("residuals", "Residuals and fit");
  const auto& counts = residuals.class_counts;
  const auto& edges = residuals.class_edges;
  if (!counts.empty() && edges.size() == counts.size() + 1) {
    // Residuals of a fitting model crowd round zero: the plot shows the
    // classes that hold residuals (and zero), two empty classes either side.
    std::size_t first = counts.size(), last = 0;
    for (std::size_t k = 0; k < counts.size(); ++k) {
      if (counts[k] > 0) {
        first = std::min(first, k);
        last = k;
      }
    }
    if (first == counts.size()) first = 0, last = counts.size() - 1;
    for (std::size_t k = 0; k < counts.size(); ++k) {
      if (edges[k] <= 0.0 && edges[k + 1] > 0.0)
        first = std::min(first, k), last = std::max(last, k);
    }
    first = first >= 2 ? first - 2 : 0;
    last = std::min(counts.size() - 1, last + 2);
    std::vector<double> shown_edges(edges.begin() + first, edges.begin() + last + 2);
    std::vector<long long> shown_counts(counts.begin() + first, counts.begin() + last + 1);
    long long total = 0;
    for (long long count : counts) total += count;
    std::string caption =
        "Distribution of the residuals r - r\u0302 (observed minus reproduced"
        " correlation) of " +
        Plural(total, "item pair", "item pairs") + ".";
    if (first > 0 || last + 1 < counts.size()) {
      caption += " Shown: " + FormatFixed(shown_edges.front(), 3) + " to " +
                 FormatFixed(shown_edges.back(), 3) + "; the classes outside are empty.";
    }
    out += Figure(
        HistogramSvg(
            shown_edges, shown_counts, "Residual (correlation units)", "Number of item pairs"),
        caption);
  }
  if (!residuals.fit.empty()) {
    out +=
        "<h3>Fit</h3>\n<table><thead><tr><th>Figure</th><th "
        "class=\"num\">Value</th></tr></thead><tbody>\n";
    for (const NamedFigure& figure : residuals.fit) {
      out += "<tr>" + Cell(figure.name, false) +
             Cell(FormatFixed(figure.value, figure.decimals), true) + "</tr>\n";
    }
    out += "</tbody></table>\n";
  }
  return out + "</section>\n";
}

std::string RenderTextTable(const TextTable& table) {
  std::string out;
  if (!table.title.empty()) out += "<h3>" + Esc(table.title) + "</h3>\n";
  out += "<table><thead><tr>";
  for (std::size_t k = 0; k < table.heads.size(); ++k) {
    out += k == 0 ? "<th>" + Esc(table.heads[k]) + "</th>"
                  : "<th class=\"num\">" + Esc(table.heads[k]) + "</th>";
  }
  out += "</tr></thead><tbody>\n";
  for (const std::vector<std::string>& row : table.rows) {
    out += "<tr>";
    for (std::size_t k = 0; k < row.size(); ++k) out += Cell(row[k], k > 0);
    out += "</tr>\n";
  }
  return out + "</tbody></table>\n";
}

std::string RenderAids(const AidsData& aids) {
  std::string out = SectionOpen("aids", "Number of factors and likelihood fit");
  for (const std::string& line : aids.summary) out += "<p>" + Esc(line) + "</p>\n";
  if (aids.factor_scree && !aids.factor_scree->observed.empty()) {
    const ScreeData& scree = *aids.factor_scree;
    out += Figure(
        ScreePlotSvg(scree.observed, scree.reference, false),
        "Scree plot: " + scree.title + ", " +
            Plural(static_cast<long long>(scree.observed.size()), "eigenvalue", "eigenvalues") +
            ", largest first. Dashed lines: the same of permuted data"
            " (parallel analysis).");
  }
  for (const TextTable& table : aids.tables) out += RenderTextTable(table);
  return out + "</section>\n";
}

std::string RenderScores(const ScoreData& scores) {
  std::string out = SectionOpen("scores", "Factor scores");
  if (!scores.method.empty()) out += "<p>Method: " + Esc(scores.method) + "</p>\n";
  out += "<div class=\"plots\">\n";
  for (const ScatterPlot& plot : scores.plots) {
    const std::size_t count = std::min(plot.x.size(), plot.y.size());
    const int stride = ThinningStride(count, kMaxScatterPoints);
    const std::string x_name = FactorName(scores.factor_names, plot.factor_x);
    const std::string y_name = FactorName(scores.factor_names, plot.factor_y);
    std::string caption = y_name + " against " + x_name + ", " +
                          Plural(static_cast<long long>(count), "subject", "subjects") + ".";
    if (stride > 1) {
      caption += " Every " + FormatCount(stride) + "th subject shown (" +
                 FormatCount(static_cast<long long>((count + stride - 1) / stride)) + " points).";
    }
    out += Figure(ScatterSvg(plot.x,
                             plot.y,
                             stride,
                             x_name + " score (score units)",
                             y_name + " score (score units)"),
                  caption);
  }
  return out + "</div>\n</section>\n";
}

std::string RenderTriplets(const TripletData& triplets) {
  std::string out = SectionOpen("triplets", "Triplet test of multivariate normality");
  out += "<p>" + Plural(triplets.triplets_tested, "triplet", "triplets") + " tested, " +
         FormatCount(triplets.triplets_suspicious) + " suspicious";
  if (!triplets.criterion.empty()) out += " (" + Esc(triplets.criterion) + ")";
  out += ".</p>\n";
  const Matrix& pairs = triplets.pair_counts;
  const int p = std::min(pairs.rows, pairs.cols);
  if (p > 0) {
    // Up to 150 items each pair has its own cell; beyond, blocks of items
    // keep the picture at a size a browser draws quickly.
    constexpr int kMaxCells = 150;
    const int block = (p + kMaxCells - 1) / kMaxCells;
    std::string caption =
        "Number of suspicious triplets that contain each pair of items (row and column).";
    if (block > 1) {
      caption += " Each cell stands for a block of " + FormatCount(block) + " x " +
                 FormatCount(block) + " items and shows the largest count in it.";
      out += Figure(CountMatrixSvg({}, BlockMaxima(pairs, block), false, "Item block"), caption);
    } else {
      out += Figure(CountMatrixSvg(triplets.item_labels, pairs, true, "Item"), caption);
    }
  }
  const std::size_t items = std::max(triplets.item_counts.size(), triplets.item_percent.size());
  if (items > 0) {
    out +=
        "<h3>Items in suspicious triplets</h3>\n<table><thead><tr><th>Item</th>"
        "<th class=\"num\">Times in a suspicious triplet</th><th class=\"num\">% of its triplets"
        "</th><th></th></tr></thead><tbody>\n";
    for (std::size_t item = 0; item < items; ++item) {
      const std::string label = item < triplets.item_labels.size()
                                    ? triplets.item_labels[item]
                                    : FormatCount(static_cast<long long>(item + 1));
      const std::string count =
          item < triplets.item_counts.size() ? FormatCount(triplets.item_counts[item]) : "";
      std::string percent, meter;
      if (item < triplets.item_percent.size() && std::isfinite(triplets.item_percent[item])) {
        const double value = triplets.item_percent[item];
        percent = FormatFixed(value, 2);
        meter = "<span class=\"meter\" style=\"width:" +
                FormatFixed(std::clamp(value, 0.0, 100.0) * 1.5, 1) + "px\"></span>";
      }
      out += "<tr>" + Cell(label, false) + Cell(count, true) + Cell(percent, true) + "<td>" +
             meter + "</td></tr>\n";
    }
    out += "</tbody></table>\n";
  }
  return out + "</section>\n";
}

const char* SeverityName(Severity severity) {
  switch (severity) {
    case Severity::kError:
      return "error";
    case Severity::kWarning:
      return "warning";
    case Severity::kNote:
      break;
  }
  return "note";
}

std::string RenderNotes(const std::vector<Note>& notes) {
  std::string out = SectionOpen("notes", "Notes and warnings");
  if (notes.empty()) return out + "<p>The run gave no notes or warnings.</p>\n</section>\n";
  out += "<ol class=\"notes\">\n";
  for (const Note& note : notes) {
    const std::string name = SeverityName(note.severity);
    std::string shown = name;
    shown[0] = static_cast<char>(shown[0] - 'a' + 'A');
    out += "<li class=\"" + name + "\"><span class=\"badge " + name + "\">" + shown + "</span>";
    if (!note.where.empty()) out += "<span class=\"where\">[" + Esc(note.where) + "]</span>";
    out += "<span class=\"note-text\">" + Esc(note.text) + "</span></li>\n";
  }
  return out + "</ol>\n</section>\n";
}

}  // namespace

std::string RenderHtml(const HtmlReportModel& model) {
  struct Link {
    const char* id;
    const char* name;
    bool present;
  };
  const Link links[] = {
      {"stop", "Stop", model.stop.has_value()},
      {"settings", "Settings", true},
      {"scree", "Eigenvalues", HasScree(model)},
      {"loadings", "Loadings", HasTable(model.loadings)},
      {"factor-correlations", "Factor correlations", HasPhi(model)},
      {"structure", "Structure", HasTable(model.structure)},
      {"residuals", "Residuals", HasResiduals(model)},
      {"aids", "Aids", HasAids(model)},
      {"scores", "Scores", HasScores(model)},
      {"triplets", "Triplet test", HasTriplets(model)},
      {"notes", "Notes", true},
  };
  const std::string title = model.title.empty() ? std::string("Factor analysis") : model.title;
  std::string page;
  page.reserve(1 << 16);
  page +=
      "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\"/>\n"
      "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\"/>\n";
  page += "<title>" + Esc(title) + "</title>\n<style>" + std::string(kStyle) + "</style>\n";
  page += "</head>\n<body>\n<main>\n<header>\n<h1>" + Esc(title) + "</h1>\n";
  page += "<p class=\"subtitle\">" +
          Esc(model.program_version.empty() ? std::string("Report") : model.program_version) +
          " &#8212; report of the run</p>\n<nav>\n";
  for (const Link& link : links) {
    if (link.present) {
      page += "<a href=\"#" + std::string(link.id) + "\">" + link.name + "</a>\n";
    }
  }
  page += "</nav>\n";
  long long warnings = 0, errors = 0;
  for (const Note& note : model.notes) {
    warnings += note.severity == Severity::kWarning;
    errors += note.severity == Severity::kError;
  }
  page += "<p class=\"summary\">" + Plural(errors, "error", "errors") + ", " +
          Plural(warnings, "warning", "warnings") + ", " +
          Plural(static_cast<long long>(model.notes.size()) - warnings - errors, "note", "notes") +
          " (listed under <a href=\"#notes\">Notes</a>).</p>\n</header>\n";

  if (model.stop) page += RenderStop(*model.stop);
  page += RenderSettings(model);
  if (HasScree(model)) page += RenderScree(*model.eigenvalues);
  if (HasTable(model.loadings)) {
    page += RenderLoadingTable(*model.loadings, "loadings", "Factor loadings", "Loading");
  }
  if (HasPhi(model)) page += RenderFactorCorrelations(*model.factor_correlations);
  if (HasTable(model.structure)) {
    page += RenderLoadingTable(
        *model.structure, "structure", "Factor structure", "Item-factor correlation");
  }
  if (HasResiduals(model)) page += RenderResiduals(*model.residuals);
  if (HasAids(model)) page += RenderAids(*model.aids);
  if (HasScores(model)) page += RenderScores(*model.scores);
  if (HasTriplets(model)) page += RenderTriplets(*model.triplets);
  page += RenderNotes(model.notes);
  page += "<footer>Written by " +
          Esc(model.program_version.empty() ? std::string("the program") : model.program_version) +
          ". The page is self-contained: no scripts, nothing loaded from elsewhere.</footer>\n";
  page += "</main>\n</body>\n</html>\n";
  return page;
}

}  // namespace vq::html
