#include "html/run_html.h"

#include <cmath>
#include <string>
#include <utility>
#include <vector>

#include "html/html_text.h"
#include "run/program.h"
#include "text/edit_descriptors.h"

namespace vq {
namespace {

using html::HtmlReportModel;
using html::LoadingRow;
using html::LoadingTable;
using html::NamedText;
using html::Note;
using html::Severity;

// The chi-square at which the triplet test calls a triplet suspicious (the
// 0.01 point with one degree of freedom), as the report marks it.
constexpr double kSuspiciousChiSquare = 6.635;

// The item's label, or its number where the run has no labels.
std::string ItemName(const std::vector<std::string>& labels, int item) {
  if (item < static_cast<int>(labels.size())) {
    const std::string_view label = TrimRight(labels[static_cast<std::size_t>(item)]);
    std::size_t first = label.find_first_not_of(' ');
    if (first != std::string_view::npos) return std::string(label.substr(first));
  }
  return "Item " + std::to_string(item + 1);
}

std::vector<std::string> FactorNames(int m) {
  std::vector<std::string> names;
  for (int k = 1; k <= m; ++k) names.push_back(std::to_string(k));
  return names;
}

// A table of `matrix` (p by m, rows as printed), the row of item
// `order[r] - 1` at r when `order` is given.
LoadingTable Table(std::string title,
                   const Matrix& matrix,
                   const std::vector<int>& order,
                   const std::vector<std::string>& labels,
                   double hyperplane_width) {
  LoadingTable table;
  table.title = std::move(title);
  table.factor_names = FactorNames(matrix.cols);
  table.hyperplane_width = hyperplane_width;
  for (int r = 0; r < matrix.rows; ++r) {
    const int item =
        r < static_cast<int>(order.size()) ? order[static_cast<std::size_t>(r)] - 1 : r;
    LoadingRow row;
    row.label = ItemName(labels, item);
    for (int j = 0; j < matrix.cols; ++j) {
      row.values.push_back(matrix(r, j));
      if (hyperplane_width > 0.0)
        row.in_hyperplane.push_back(std::abs(matrix(r, j)) <= hyperplane_width);
    }
    table.rows.push_back(std::move(row));
  }
  return table;
}

void AddSettings(const RunRecord& record, HtmlReportModel& model) {
  model.files.push_back({"Command file", record.command_file});
  if (!record.parsed) return;
  const RunOptions& o = record.options;
  model.title = std::string(TrimRight(o.Title));
  if (!TrimRight(o.DataFile).empty())
    model.files.push_back({"Data", std::string(TrimRight(o.DataFile))});
  if (o.HasItemFile) model.files.push_back({"Item texts", std::string(TrimRight(o.ItemFile))});
  if (o.HasGuessFile) model.files.push_back({"Guessing", std::string(TrimRight(o.GuessFile))});
  if (o.HasPhiFile)
    model.files.push_back({"Factor correlations", std::string(TrimRight(o.PhiFile))});
  model.files.push_back({"Report", std::string(TrimRight(o.OutFile))});
  if (!record.score_file.empty()) model.files.push_back({"Factor scores", record.score_file});
  auto add = [&](std::string name, std::string value) {
    model.settings.push_back(NamedText{std::move(name), std::move(value)});
  };
  add("Variables", std::to_string(o.VariableCount));
  add("Subjects", std::to_string(o.SubjectCount));
  add("Input", InputFormWord(o.InputForm));
  add("Coding", CodingWord(o.Coding));
  add("Smoothing", SmoothingWord(o.Smoothing));
  add("Model", ModelWord(o.Model));
  add("Factors", std::to_string(o.FactorCount));
  add("Initial communalities", InitialCommunalityWord(o.InitialCommunality));
  add("Rotation", std::string(TrimRight(o.RotationName)));
  add("Factor scores", ScoreMethodWord(o.ScoreMethod));
  add("Seed", record.seed_fixed ? std::to_string(record.seed) : "from the clock");
  add("Threads", std::to_string(record.threads));
}

void AddCorrelationNotes(const RunRecord& record, HtmlReportModel& model) {
  auto pair = [](int i, int j) { return std::to_string(i + 1) + " and " + std::to_string(j + 1); };
  for (const BoundaryPair& p : record.boundary) {
    model.notes.push_back({Severity::kWarning,
                           "Correlation of items " + pair(p.i, p.j) + " at the boundary",
                           "report"});
  }
  for (const TetrachoricFallBack& f : record.fall_backs) {
    model.notes.push_back({Severity::kWarning,
                           "Tetrachoric of items " + pair(f.i, f.j) +
                               " estimated by the fall-back search" +
                               (f.at_boundary ? ", at the boundary" : ""),
                           "report"});
  }
  for (const std::array<int, 2>& p : record.small_cell_pairs) {
    model.notes.push_back(
        {Severity::kNote, "Small cells in the table of items " + pair(p[0], p[1]), "frq file"});
  }
}

void AddExtraction(const RunRecord& record, HtmlReportModel& model) {
  const ExtractionResult& e = record.extraction;
  if (!e.InitialEigenvalues.empty())
    model.eigenvalues = html::ScreeData{.observed = e.InitialEigenvalues, .reference = {}};
  if (!e.CommunalityHistory.empty() && e.PassLimitReached) {
    model.notes.push_back({Severity::kWarning, "Communalities failed to converge", "report"});
  }
  for (std::size_t i = 0; i < e.HeywoodCases.size(); ++i) {
    if (e.HeywoodCases[i]) {
      model.notes.push_back(
          {Severity::kWarning,
           "Communality of item " + std::to_string(i + 1) + " above 1 (Heywood case)",
           "report"});
    }
  }
  const ModelFit& fit = e.Fit;
  if (fit.Residuals.empty()) return;
  html::ResidualData residuals;
  const std::vector<double>& mid = fit.ClassMidpoints;
  if (!mid.empty()) {
    const double width = mid.size() > 1 ? mid[1] - mid[0] : 0.1;
    for (double m : mid) residuals.class_edges.push_back(m - width / 2.0);
    residuals.class_edges.push_back(mid.back() + width / 2.0);
    for (double c : fit.ClassCounts) residuals.class_counts.push_back(std::llround(c));
  }
  // The decimals of the report's lines.
  residuals.fit = {{"GFI", fit.Gfi, 4},
                   {"Mean squared residual", fit.MeanSquaredResidual, 4},
                   {"RMSR", fit.Rmsr, 4},
                   {"Mean residual", fit.Mean, 4},
                   {"SD of residuals", fit.StandardDeviation, 4},
                   {"Skewness", fit.Skewness, 4},
                   {"Kurtosis", fit.Kurtosis, 4},
                   {"Smallest residual", fit.Smallest, 4},
                   {"Largest residual", fit.Largest, 4}};
  model.residuals = std::move(residuals);
}

void AddLoadings(const RunRecord& record, HtmlReportModel& model) {
  const std::vector<std::string>& labels = record.labels;
  const RotatedSolution* solution = record.rotation.final_solution();
  if (solution == nullptr || solution->not_a_number) {
    if (record.has_extraction && !record.extraction.Loadings.empty()) {
      const bool given = record.parsed && record.options.Model == Model::kRotate;
      model.loadings = Table(given ? "Given Factor Pattern" : "Unrotated Factor Loadings",
                             record.extraction.Loadings,
                             {},
                             labels,
                             0.0);
      model.loadings->variance_explained = record.extraction.FactorVariance;
    }
    return;
  }
  const std::string name = record.parsed ? std::string(TrimRight(record.options.RotationName)) : "";
  const double width = record.parsed ? record.options.HyperplaneWidth : 0.0;
  const std::string sorted = solution->sorted() ? " Sorted" : "";
  model.loadings =
      Table(name + sorted + (solution->oblique ? " Factor Pattern" : " Factor Loadings"),
            solution->loadings,
            solution->order,
            labels,
            width);
  if (!solution->oblique) {
    model.loadings->variance_explained = solution->variance_explained;
    return;
  }
  model.factor_correlations =
      html::FactorCorrelations{name + ": Inter-factor Correlations",
                               FactorNames(solution->factor_correlations.cols),
                               solution->factor_correlations};
  model.structure =
      Table(name + sorted + " Factor Structure", solution->structure, solution->order, labels, 0.0);
}

// A figure of the aids as the aids file prints it: `decimals` places, "--"
// where it is not defined.
std::string AidsFigure(double value, int decimals) {
  return std::isnan(value) ? std::string("--") : html::FormatFixed(value, decimals);
}

std::vector<html::ReferenceLine> ParallelLines(const EigenvalueLines& lines, int data_sets) {
  return {{"Mean of " + std::to_string(data_sets) + " permuted data sets", lines.mean},
          {"95th percentile of the permuted data sets", lines.percentile}};
}

void AddParallelAnalysis(const ParallelAnalysisResult& parallel,
                         HtmlReportModel& model,
                         html::AidsData& aids) {
  // The report's scree is of the same matrix as the components line.
  if (!model.eigenvalues) {
    model.eigenvalues = html::ScreeData{.title = "Eigenvalues of the correlation matrix",
                                        .observed = parallel.components.observed,
                                        .reference = {}};
  }
  model.eigenvalues->reference = ParallelLines(parallel.components, parallel.data_sets);
  aids.factor_scree =
      html::ScreeData{.title = "Eigenvalues of the SMC-reduced correlation matrix",
                      .observed = parallel.factors.observed,
                      .reference = ParallelLines(parallel.factors, parallel.data_sets)};
  aids.summary.push_back(
      "Parallel analysis (Horn, 1965): " + std::to_string(parallel.data_sets) +
      " data sets of permuted item scores (" + std::to_string(parallel.observations) +
      " subjects, " + std::to_string(parallel.variables) + " variables), seed " +
      std::to_string(parallel.seed) +
      ". Suggested: " + std::to_string(parallel.components.suggested) + " components, " +
      std::to_string(parallel.factors.suggested) + " factors.");
  html::TextTable table{"Parallel analysis",
                        {"Position",
                         "Components: observed",
                         "mean",
                         "95th percentile",
                         "Factors: observed",
                         "mean",
                         "95th percentile"},
                        {}};
  for (int k = 0; k < parallel.variables; ++k) {
    const auto at = [k](const std::vector<double>& values) {
      return k < static_cast<int>(values.size()) ? AidsFigure(values[k], 4) : std::string("--");
    };
    table.rows.push_back({std::to_string(k + 1),
                          at(parallel.components.observed),
                          at(parallel.components.mean),
                          at(parallel.components.percentile),
                          at(parallel.factors.observed),
                          at(parallel.factors.mean),
                          at(parallel.factors.percentile)});
  }
  aids.tables.push_back(std::move(table));
}

void AddMap(const MapResult& map, html::AidsData& aids) {
  aids.summary.push_back("Velicer's MAP test: " + std::to_string(map.suggested_squared) +
                         " components by the squared partial correlations (Velicer, 1976), " +
                         std::to_string(map.suggested_fourth) +
                         " by their fourth powers (Velicer, Eaton and Fava, 2000).");
  html::TextTable table{"Minimum average partial (MAP) test",
                        {"Components removed (m)", "Mean r\u00b2", "Mean r\u2074"},
                        {}};
  for (std::size_t m = 0; m < map.squared.size() && m < map.fourth.size(); ++m) {
    table.rows.push_back(
        {std::to_string(m), AidsFigure(map.squared[m], 6), AidsFigure(map.fourth[m], 6)});
  }
  aids.tables.push_back(std::move(table));
}

void AddLikelihoodFit(const LikelihoodFit& fit, html::AidsData& aids) {
  std::string smoothed;
  if (fit.smoothed_correlations)
    smoothed += " The correlation matrix was smoothed to be positive definite.";
  if (fit.smoothed_model)
    smoothed += " The reproduced matrix was smoothed to be positive definite.";
  aids.summary.push_back(
      "Likelihood fit of the unrotated solution: " + std::to_string(fit.factors) + " factors, " +
      std::to_string(fit.variables) + " variables, " + std::to_string(fit.observations) +
      " subjects." + smoothed);
  const std::string p_value = !std::isnan(fit.p_value) && fit.p_value < 0.00005
                                  ? std::string("< 0.0001")
                                  : AidsFigure(fit.p_value, 4);
  aids.tables.push_back({"Likelihood fit",
                         {"Figure", "Value", "df", "p-value"},
                         {{"Discrepancy F", AidsFigure(fit.objective, 5), "", ""},
                          {"Chi-square (Bartlett corrected)",
                           AidsFigure(fit.chi_square, 3),
                           std::to_string(fit.df),
                           p_value},
                          {"Null model chi-square",
                           AidsFigure(fit.null_chi_square, 3),
                           std::to_string(fit.null_df),
                           ""},
                          {"RMSEA", AidsFigure(fit.rmsea, 4), "", ""},
                          {"RMSEA 90% interval, lower", AidsFigure(fit.rmsea_lower, 4), "", ""},
                          {"RMSEA 90% interval, upper", AidsFigure(fit.rmsea_upper, 4), "", ""},
                          {"Tucker-Lewis index", AidsFigure(fit.tli, 4), "", ""},
                          {"BIC", AidsFigure(fit.bic, 3), "", ""}}});
  html::TextTable variance{
      "Variance accounted for",
      {"Factor", "SS loadings", "Proportion", "Cumulative", "Explained", "Cumulative"},
      {}};
  const FactorVariance& v = fit.variance;
  for (std::size_t k = 0; k < v.ss_loadings.size(); ++k) {
    const auto at = [k](const std::vector<double>& values) {
      return k < values.size() ? AidsFigure(values[k], 4) : std::string("--");
    };
    variance.rows.push_back({std::to_string(k + 1),
                             at(v.ss_loadings),
                             at(v.proportion),
                             at(v.cumulative),
                             at(v.proportion_explained),
                             at(v.cumulative_explained)});
  }
  aids.tables.push_back(std::move(variance));
}

void AddAids(const RunRecord& record, HtmlReportModel& model) {
  if (!record.aids) return;
  const AidsFigures& figures = *record.aids;
  html::AidsData aids;
  if (figures.parallel) AddParallelAnalysis(*figures.parallel, model, aids);
  if (figures.map) AddMap(*figures.map, aids);
  if (figures.fit) AddLikelihoodFit(*figures.fit, aids);
  model.aids = std::move(aids);
}

void AddScores(const RunRecord& record, HtmlReportModel& model) {
  const ScoreResult& s = record.scores;
  for (const std::string& note : s.notes) model.notes.push_back({Severity::kNote, note, "report"});
  if (!s.estimated || s.scores.cols < 2) return;
  html::ScoreData data;
  data.method = s.method == ScoreMethod::kBartlett ? "Bartlett Method" : "Regression Method";
  data.factor_names = FactorNames(s.scores.cols);
  for (int a = 0; a < s.scores.cols; ++a) {
    for (int b = a + 1; b < s.scores.cols; ++b) {
      html::ScatterPlot plot;
      plot.factor_x = a;
      plot.factor_y = b;
      plot.x.assign(s.scores.Column(a), s.scores.Column(a) + s.scores.rows);
      plot.y.assign(s.scores.Column(b), s.scores.Column(b) + s.scores.rows);
      data.plots.push_back(std::move(plot));
    }
  }
  model.scores = std::move(data);
}

void AddTriplets(const RunRecord& record, HtmlReportModel& model) {
  if (!record.has_triplets) return;
  const TripletSummary& t = record.triplets;
  const int p =
      record.parsed ? record.options.VariableCount : static_cast<int>(t.suspicious.size());
  html::TripletData data;
  for (int i = 0; i < p; ++i) data.item_labels.push_back(ItemName(record.labels, i));
  data.pair_counts = Matrix(p, p);
  for (std::size_t k = 0; k < t.tested && k < t.triplets.size(); ++k) {
    if (!(t.chi_squares[k] >= kSuspiciousChiSquare)) continue;
    ++data.triplets_suspicious;
    const std::array<int, 3>& items = t.triplets[k];
    for (int a = 0; a < 3; ++a) {
      for (int b = 0; b < 3; ++b) {
        if (a != b && items[a] - 1 < p && items[b] - 1 < p)
          data.pair_counts(items[a] - 1, items[b] - 1) += 1.0;
      }
    }
  }
  for (int count : t.suspicious) data.item_counts.push_back(count);
  data.item_percent = t.percentages;
  data.triplets_tested = static_cast<long long>(t.tested);
  data.criterion = "chi-square at or above 6.635 (1 degree of freedom, 0.01)";
  if (!t.complete)
    model.notes.push_back({Severity::kWarning, "The triplet test did not finish", "report"});
  model.triplets = std::move(data);
}

}  // namespace

html::HtmlReportModel MakeRunHtmlModel(const RunRecord& record) {
  HtmlReportModel model;
  model.program_version = std::string("Velquorin ") + ProgramVersion();
  AddSettings(record, model);
  AddCorrelationNotes(record, model);
  if (record.has_extraction) AddExtraction(record, model);
  AddLoadings(record, model);
  AddAids(record, model);
  AddScores(record, model);
  AddTriplets(record, model);
  if (record.stop.stopped) {
    std::string kind = record.stop.kind == "severe"      ? "Severe error"
                       : record.stop.kind == "cancelled" ? "Cancelled"
                       : record.stop.after_finished      ? "End of run"
                                                         : "Stop";
    model.stop = html::StopData{kind, record.stop.message, record.stop.exit_status};
  }
  return model;
}

std::string RenderRunHtml(const RunRecord& record) {
  return html::RenderHtml(MakeRunHtmlModel(record));
}

}  // namespace vq
