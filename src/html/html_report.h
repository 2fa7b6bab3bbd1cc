// The HTML report of a run: one self-contained page (inline CSS and SVG, no
// scripts, no references outside the file) that shows what the text report
// shows, as plots and shaded tables, and every note and warning of the run in
// one list.
//
// The page is rendered from a plain view model, HtmlReportModel, that the run
// fills from its results. Every part of the model is optional, so that a run
// that only computes correlations, one that rotates a given matrix, a triplet
// test, or a run that stopped early renders the parts it has; the page then
// has a section for each part that is present and none for the others.
//
//   HtmlReportModel model;
//   model.title = "Reasoning items";
//   model.eigenvalues = ScreeData{.observed = {2.907, 2.320, 0.587}};
//   std::string page = RenderHtml(model);
//
// Numbers are printed with the decimals of the text report (loadings and
// correlations 3, eigenvalues 3, fit figures as each says), rounded as the
// report rounds them.
#ifndef VELQUORIN_HTML_HTML_REPORT_H_
#define VELQUORIN_HTML_HTML_REPORT_H_

#include <optional>
#include <string>
#include <vector>

#include "kernels/matrix.h"

namespace vq::html {

// A named value shown as one row of a two-column table.
struct NamedText {
  std::string name;
  std::string value;
};

// A figure printed with a fixed number of decimals, as the text report
// prints it (GFI with 4, RMSR with 4, ...).
struct NamedFigure {
  std::string name;
  double value = 0.0;
  int decimals = 3;
};

// A reference line of the scree plot, e.g. the mean or the 95th percentile
// of the eigenvalues of random data of the same size (parallel analysis),
// for components or for factors. `values[k]` belongs to eigenvalue k + 1; the
// line may be shorter than the observed eigenvalues.
struct ReferenceLine {
  std::string label;
  std::vector<double> values;
};

struct ScreeData {
  std::string title = "Eigenvalues of the initial correlation matrix";
  std::vector<double> observed;          // in decreasing order, as printed
  std::vector<ReferenceLine> reference;  // parallel-analysis lines, if any
};

// One row of a loading table: the item's label and its values, one per
// factor. `in_hyperplane`, when not empty, has one flag per value: the entry
// lies within the hyperplane width and is shown faded.
struct LoadingRow {
  std::string label;
  std::vector<double> values;
  std::vector<bool> in_hyperplane;
};

// A p x m table of loadings (pattern or structure) in the report's row order
// (sorted when the report sorts them).
struct LoadingTable {
  std::string title;                      // e.g. "PROMAX Sorted Factor Loadings"
  std::vector<std::string> factor_names;  // column heads, e.g. "1", "2"
  std::vector<LoadingRow> rows;
  std::vector<double> variance_explained;  // per factor, empty when not shown
  double hyperplane_width = 0.0;           // > 0: hyperplane counts are shown
};

struct FactorCorrelations {
  std::string title;  // e.g. "PROMAX: Inter-factor Correlations"
  std::vector<std::string> factor_names;
  Matrix values;  // m x m
};

// Residuals of the fitted model: a histogram of the off-diagonal residuals
// (class edges, one more than the counts) and the fit figures.
struct ResidualData {
  std::vector<double> class_edges;
  std::vector<long long> class_counts;
  std::vector<NamedFigure> fit;
};

struct ScatterPlot {
  int factor_x = 0;  // 0-based factor indices
  int factor_y = 1;
  std::vector<double> x;  // one point per subject, x.size() == y.size()
  std::vector<double> y;
};

struct ScoreData {
  std::string method;  // e.g. "Regression Method"
  std::vector<std::string> factor_names;
  std::vector<ScatterPlot> plots;
};

// The triplet test of multivariate normality, summarised per pair and per
// item: pair_counts(i, j) is the number of suspicious triplets that contain
// items i and j (symmetric, diagonal ignored); item_counts and item_percent
// are the report's per-item columns.
struct TripletData {
  std::vector<std::string> item_labels;
  Matrix pair_counts;  // p x p
  std::vector<long long> item_counts;
  std::vector<double> item_percent;  // 1.00 = 1%
  long long triplets_tested = 0;
  long long triplets_suspicious = 0;
  std::string criterion;  // how a triplet is called suspicious
};

// A table of cells already written as text (the figures of the aids with
// the decimals of the aids file, "--" where one is not defined). The first
// column is a name, the others numbers.
struct TextTable {
  std::string title;
  std::vector<std::string> heads;
  std::vector<std::vector<std::string>> rows;
};

// The aids to the number of factors and the fit (--aids): what was computed
// and suggested, in sentences; the scree of the SMC-reduced matrix with its
// parallel-analysis lines; the tables of figures.
struct AidsData {
  std::vector<std::string> summary;
  std::optional<ScreeData> factor_scree;
  std::vector<TextTable> tables;
};

enum class Severity { kNote, kWarning, kError };

// A message of the run: what it said and where it said it ("report",
// "console", ...), so that messages that only reached the console are on
// the page too.
struct Note {
  Severity severity = Severity::kNote;
  std::string text;
  std::string where;
};

struct StopData {
  std::string kind;  // e.g. "Fatal error", "Input error"
  std::string message;
  int exit_status = 0;
};

struct HtmlReportModel {
  std::string title;
  std::string program_version;      // e.g. "Velquorin 2.0"
  std::vector<NamedText> files;     // (role, path), e.g. ("Command file", "demo.in")
  std::vector<NamedText> settings;  // (setting, value) as the run used them
  std::optional<ScreeData> eigenvalues;
  std::optional<LoadingTable> loadings;  // rotated, or unrotated when not rotated
  std::optional<FactorCorrelations> factor_correlations;
  std::optional<LoadingTable> structure;
  std::optional<ResidualData> residuals;
  std::optional<AidsData> aids;
  std::optional<ScoreData> scores;
  std::optional<TripletData> triplets;
  std::vector<Note> notes;
  std::optional<StopData> stop;
};

// Scatter plots show at most this many points each; above it every k-th
// subject is drawn (k the smallest that fits) and the page says so.
inline constexpr int kMaxScatterPoints = 2000;

// The page for `model`: a complete HTML5 document, UTF-8, that is also
// well-formed XML (every element closed, attributes quoted, only the five
// XML entities and numeric ones). It has no <script>, no style or image
// loaded from elsewhere and no URL with a scheme; links are to its own
// sections only. Sections, each with a heading and a stable id, in order:
//   "stop"                 when model.stop is set
//   "settings"             always (title, version, files, settings)
//   "scree"                when model.eigenvalues has observed values
//   "loadings"             when model.loadings has rows
//   "factor-correlations"  when model.factor_correlations is m x m, m > 0
//   "structure"            when model.structure has rows
//   "residuals"            when model.residuals has classes or fit figures
//   "aids"                 when model.aids has a summary, a plot or a table
//   "scores"               when model.scores has plots
//   "triplets"             when model.triplets has items
//   "notes"                always (says "none" when the run had none)
// All user text is escaped. Inconsistent sizes (a row shorter than the
// factor names, x and y of different lengths) are drawn as far as both go.
std::string RenderHtml(const HtmlReportModel& model);

}  // namespace vq::html

#endif  // VELQUORIN_HTML_HTML_REPORT_H_
