#include "json/run_json.h"

#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <system_error>

#include "json/sha256.h"
#include "text/edit_descriptors.h"

namespace vq {
namespace {

using nlohmann::json;

// A double as JSON: the number itself, or null where it is not finite
// (JSON has no NaN or infinity).
json Number(double value) { return std::isfinite(value) ? json(value) : json(nullptr); }

json Numbers(const std::vector<double>& values) {
  json array = json::array();
  for (double value : values) array.push_back(Number(value));
  return array;
}

// A matrix as an array of its rows.
json Rows(const Matrix& matrix) {
  json rows = json::array();
  for (int i = 0; i < matrix.rows; ++i) {
    json row = json::array();
    for (int j = 0; j < matrix.cols; ++j) row.push_back(Number(matrix(i, j)));
    rows.push_back(std::move(row));
  }
  return rows;
}

json Texts(const std::vector<std::string>& texts) {
  json array = json::array();
  for (const std::string& text : texts) array.push_back(std::string(TrimRight(text)));
  return array;
}

// Item numbers in the document count from 1, as in the report.
json ItemPair(int i, int j) { return json::array({i + 1, j + 1}); }

json Settings(const RunOptions& options) {
  return json{
      {"title", std::string(TrimRight(options.Title))},
      {"data_file", std::string(TrimRight(options.DataFile))},
      {"report_file", std::string(TrimRight(options.OutFile))},
      {"variables", options.VariableCount},
      {"subjects", options.SubjectCount},
      {"coding", CodingWord(options.Coding)},
      {"input_form", InputFormWord(options.InputForm)},
      {"smoothing", SmoothingWord(options.Smoothing)},
      {"model", ModelWord(options.Model)},
      {"factors", options.FactorCount},
      {"labels", options.LabelMode == LabelMode::kLabels},
      {"sort", options.SortMode == SortMode::kSort},
      {"rotation", RotationWord(options.Rotation)},
      {"rotation_asked", RotationWord(options.RotationAsked)},
      {"rotation_name", std::string(TrimRight(options.RotationName))},
      {"oblimin_delta", Number(options.ObliminDelta)},
      {"promax_power", options.PromaxPower},
      {"harris_kaiser_parameter", Number(options.HarrisKaiserParameter)},
      {"score_method", ScoreMethodWord(options.ScoreMethod)},
      {"communality_epsilon", Number(options.CommunalityEpsilon)},
      {"communality_iterations", options.CommunalityIterations},
      {"rotation_epsilon", Number(options.RotationEpsilon)},
      {"rotation_iterations", options.RotationIterations},
      {"random_start", options.RandomStart == RandomStart::kRandom},
      {"hyperplane_width", Number(options.HyperplaneWidth)},
      {"initial_communality", InitialCommunalityWord(options.InitialCommunality)},
      {"page_width", options.PageWidth},
      {"save_results", options.SaveResults},
      {"record_format", std::string(TrimRight(options.RecordFormat))},
      {"item_file", options.HasItemFile ? json(std::string(TrimRight(options.ItemFile))) : json()},
      {"guess_file",
       options.HasGuessFile ? json(std::string(TrimRight(options.GuessFile))) : json()},
      {"phi_file", options.HasPhiFile ? json(std::string(TrimRight(options.PhiFile))) : json()},
  };
}

json Items(const RunRecord& record) {
  json items = json::object();
  items["labels"] = Texts(record.labels);
  if (!record.means.empty()) {
    items["means"] = Numbers(record.means);
    items["standard_deviations"] = Numbers(record.standard_deviations);
  }
  if (record.tetrachoric) {
    items["proportions"] = Numbers(record.proportions);
    items["thresholds"] = Numbers(record.tetrachoric_thresholds);
  }
  if (record.polychoric) {
    items["category_counts"] = record.category_counts;
    // One row per item: its thresholds between categories, without the
    // stand-ins for minus and plus infinity at the ends.
    json thresholds = json::array();
    const Matrix& table = record.polychoric_thresholds;
    for (int v = 0; v < table.cols; ++v) {
      json row = json::array();
      const int k = v < static_cast<int>(record.category_counts.size())
                        ? record.category_counts[static_cast<std::size_t>(v)]
                        : 0;
      for (int t = 1; t < k && t < table.rows; ++t) row.push_back(Number(table(t, v)));
      thresholds.push_back(std::move(row));
    }
    items["thresholds"] = std::move(thresholds);
  }
  return items;
}

json Correlations(const RunRecord& record) {
  json section = json::object();
  const char* kind = "given";
  if (record.tetrachoric) {
    kind = "tetrachoric";
  } else if (record.polychoric) {
    kind = "polychoric";
  } else if (!record.means.empty()) {
    kind = "pearson";
  }
  section["kind"] = kind;
  section["matrix"] = Rows(record.correlations);
  section["smoothed"] = record.smoothed;
  if (record.smoothed) section["unsmoothed_matrix"] = Rows(record.raw_correlations);
  json warnings = json::array();
  for (const BoundaryPair& pair : record.boundary) {
    warnings.push_back({{"kind", "boundary"}, {"items", ItemPair(pair.i, pair.j)}});
  }
  for (const TetrachoricFallBack& fall_back : record.fall_backs) {
    warnings.push_back({{"kind", fall_back.at_boundary ? "fall back at boundary" : "fall back"},
                        {"items", ItemPair(fall_back.i, fall_back.j)}});
  }
  for (const std::array<int, 2>& pair : record.small_cell_pairs) {
    warnings.push_back({{"kind", "small cells"}, {"items", ItemPair(pair[0], pair[1])}});
  }
  section["warnings"] = std::move(warnings);
  return section;
}

json Triplets(const TripletSummary& summary) {
  json tested = json::array();
  for (std::size_t k = 0; k < summary.tested && k < summary.triplets.size(); ++k) {
    const std::array<int, 3>& t = summary.triplets[k];
    tested.push_back({{"items", json::array({t[0], t[1], t[2]})},
                      {"chi_square", Number(summary.chi_squares[k])}});
  }
  return json{{"count", summary.triplet_count},
              {"complete", summary.complete},
              {"triplets", std::move(tested)},
              {"suspicious", summary.suspicious},
              {"percentages", Numbers(summary.percentages)}};
}

json Fit(const ModelFit& fit) {
  json section{{"gfi", Number(fit.Gfi)},
               {"residuals", Rows(fit.Residuals)},
               {"mean_squared_residual", Number(fit.MeanSquaredResidual)},
               {"rmsr", Number(fit.Rmsr)},
               {"mean", Number(fit.Mean)},
               {"standard_deviation", Number(fit.StandardDeviation)},
               {"skewness", Number(fit.Skewness)},
               {"kurtosis", Number(fit.Kurtosis)},
               {"smallest", Number(fit.Smallest)},
               {"largest", Number(fit.Largest)},
               {"class_midpoints", Numbers(fit.ClassMidpoints)},
               {"class_counts", Numbers(fit.ClassCounts)}};
  section["five_point_summary"] =
      fit.HasFivePointSummary
          ? Numbers(std::vector<double>(fit.FivePointSummary.begin(), fit.FivePointSummary.end()))
          : json();
  return section;
}

json Extraction(const ExtractionResult& result, bool given) {
  json section = json::object();
  section["given_pattern"] = given;
  if (!given) {
    section["initial_eigenvalues"] = Numbers(result.InitialEigenvalues);
    section["starting_communalities"] = Numbers(result.StartingCommunalities);
    json history = json::array();
    for (const std::vector<double>& pass : result.CommunalityHistory) {
      history.push_back(Numbers(pass));
    }
    section["communality_history"] = std::move(history);
    section["iterations"] = result.IterationCount;
    section["converged"] = result.Converged;
    section["pass_limit_reached"] = result.PassLimitReached;
    section["eigenvalues"] = Numbers(result.EigenValues);
  }
  section["loadings"] = Rows(result.Loadings);
  section["factor_variance"] = Numbers(result.FactorVariance);
  section["communalities"] = Numbers(result.Communalities);
  json heywood = json::array();
  for (std::size_t i = 0; i < result.HeywoodCases.size(); ++i) {
    if (result.HeywoodCases[i]) heywood.push_back(static_cast<int>(i) + 1);
  }
  section["heywood_items"] = std::move(heywood);
  // The fit exists once FitModel has filled it: its residual matrix is p by p.
  section["fit"] = result.Fit.Residuals.empty() ? json() : Fit(result.Fit);
  return section;
}

json Solution(const RotatedSolution& solution) {
  json section{{"method", RotationWord(solution.method)},
               {"oblique", solution.oblique},
               {"not_a_number", solution.not_a_number},
               {"loadings", Rows(solution.item_order_loadings)},
               {"hyperplane_counts", solution.hyperplane_counts},
               {"sweeps", solution.sweeps.sweeps},
               {"converged", solution.sweeps.converged},
               {"sort_order", solution.order}};
  if (solution.oblique) {
    section["structure"] = Rows(solution.item_order_structure);
    section["factor_correlations"] = Rows(solution.factor_correlations);
  } else {
    section["rotation_matrix"] = Rows(solution.rotation_matrix);
    section["variance_explained"] = Numbers(solution.variance_explained);
    section["objective"] = Number(solution.objective);
  }
  return section;
}

json Scores(const ScoreResult& result, const std::string& file) {
  return json{{"estimated", result.estimated},
              {"method", ScoreMethodWord(result.method)},
              {"loadings_used", ScoreSourceWord(result.source)},
              {"rotation", RotationWord(result.rotation)},
              {"weights", Rows(result.weights)},
              {"score_deviations", Numbers(result.score_deviations)},
              {"validity", Numbers(result.validity)},
              {"file", file.empty() ? json() : json(file)},
              {"notes", result.notes}};
}

json Lines(const EigenvalueLines& lines) {
  return json{{"observed", Numbers(lines.observed)},
              {"mean", Numbers(lines.mean)},
              {"percentile", Numbers(lines.percentile)},
              {"suggested", lines.suggested}};
}

json ParallelAnalysis(const ParallelAnalysisResult& parallel) {
  return json{{"data_sets", parallel.data_sets},
              {"seed", parallel.seed},
              {"subjects", parallel.observations},
              {"variables", parallel.variables},
              {"percentile_level", Number(parallel.percentile)},
              {"components", Lines(parallel.components)},
              {"factors", Lines(parallel.factors)}};
}

json Map(const MapResult& map) {
  return json{{"squared", Numbers(map.squared)},
              {"fourth_power", Numbers(map.fourth)},
              {"suggested_squared", map.suggested_squared},
              {"suggested_fourth_power", map.suggested_fourth}};
}

json LikelihoodFitSection(const LikelihoodFit& fit) {
  const FactorVariance& variance = fit.variance;
  return json{{"variables", fit.variables},
              {"factors", fit.factors},
              {"subjects", fit.observations},
              {"smoothed_correlations", fit.smoothed_correlations},
              {"smoothed_model", fit.smoothed_model},
              {"objective", Number(fit.objective)},
              {"chi_square", Number(fit.chi_square)},
              {"df", fit.df},
              {"p_value", Number(fit.p_value)},
              {"rmsea", Number(fit.rmsea)},
              {"rmsea_lower", Number(fit.rmsea_lower)},
              {"rmsea_upper", Number(fit.rmsea_upper)},
              {"tli", Number(fit.tli)},
              {"bic", Number(fit.bic)},
              {"null_objective", Number(fit.null_objective)},
              {"null_chi_square", Number(fit.null_chi_square)},
              {"null_df", fit.null_df},
              {"variance",
               {{"ss_loadings", Numbers(variance.ss_loadings)},
                {"proportion", Numbers(variance.proportion)},
                {"cumulative", Numbers(variance.cumulative)},
                {"proportion_explained", Numbers(variance.proportion_explained)},
                {"cumulative_explained", Numbers(variance.cumulative_explained)}}}};
}

// The aids as computed; a part the run could not compute is null.
json Aids(const AidsFigures& aids) {
  return json{
      {"parallel_analysis", aids.parallel ? ParallelAnalysis(*aids.parallel) : json()},
      {"map", aids.map ? Map(*aids.map) : json()},
      {"likelihood_fit", aids.fit ? LikelihoodFitSection(*aids.fit) : json()},
  };
}

}  // namespace

json RunRecordToJson(const RunRecord& record, const std::string& program_version) {
  json document = json::object();
  document["format"] = kRunJsonFormat;
  document["program"] = {{"name", "velquorin"}, {"version", program_version}};
  document["command_line"] = {{"seed", record.seed_fixed ? json(record.seed) : json()},
                              {"threads", record.threads},
                              {"command_file", record.command_file}};
  json inputs = json::array();
  for (const std::string& path : record.input_files) {
    const std::optional<std::string> digest = Sha256OfFile(path);
    inputs.push_back({{"path", path}, {"sha256", digest ? json(*digest) : json()}});
  }
  document["inputs"] = std::move(inputs);
  document["settings"] = record.parsed ? Settings(record.options) : json();
  document["items"] = Items(record);
  document["correlations"] = record.has_correlations ? Correlations(record) : json();
  document["triplet_test"] = record.has_triplets ? Triplets(record.triplets) : json();
  const bool given = record.parsed && record.options.Model == Model::kRotate;
  document["extraction"] = record.has_extraction ? Extraction(record.extraction, given) : json();
  json solutions = json::array();
  for (const RotatedSolution& solution : record.rotation.solutions) {
    solutions.push_back(Solution(solution));
  }
  document["rotations"] = std::move(solutions);
  document["scores"] = record.scores.estimated || !record.scores.notes.empty()
                           ? Scores(record.scores, record.score_file)
                           : json();
  // Only under --aids, so that a document without them stays as it was.
  if (record.aids) document["aids"] = Aids(*record.aids);
  document["stop"] = record.stop.stopped ? json{{"kind", record.stop.kind},
                                                {"message", record.stop.message},
                                                {"exit_status", record.stop.exit_status},
                                                {"after_finished", record.stop.after_finished}}
                                         : json();
  return document;
}

std::string WriteFileWhole(const std::string& path, const std::string& text) {
  const std::string temporary = path + ".tmp" + std::to_string(static_cast<long>(getpid()));
  {
    std::ofstream out(temporary, std::ios::binary | std::ios::trunc);
    if (!out) return "cannot write " + temporary;
    out.write(text.data(), static_cast<std::streamsize>(text.size()));
    out.close();
    if (!out) {
      std::remove(temporary.c_str());
      return "cannot write " + temporary;
    }
  }
  std::error_code error;
  std::filesystem::rename(temporary, path, error);
  if (error) {
    std::remove(temporary.c_str());
    return "cannot write " + path + ": " + error.message();
  }
  return {};
}

}  // namespace vq
