// The Python side of the engine: the extension `velquorin._core` behind the
// package's Python functions. It converts Python values to the facade's
// arguments (src/api) and its results to plain dicts; velquorin/__init__.py
// checks the arguments first and raises VelquorinError for an unfinished run.
//
// The interpreter's lock is released while the engine runs, so other Python
// threads go on; the facade takes one engine call at a time. A bad argument
// the facade refuses (std::invalid_argument) becomes a ValueError.
#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <algorithm>
#include <stdexcept>
#include <string>
#include <vector>

#include "api/analysis.h"
#include "api/factoring.h"
#include "api/host.h"

namespace py = pybind11;

namespace {

py::dict OutcomeDict(const vq::api::RunOutcome& outcome) {
  py::dict result;
  result["ending"] = vq::api::EndingName(outcome.ending);
  result["status"] = outcome.status;
  result["message"] = outcome.message;
  result["report"] = outcome.report.empty() ? py::object(py::none()) : py::str(outcome.report);
  result["saved_files"] = outcome.saved_files;
  result["console"] = outcome.console;
  result["errors"] = outcome.errors;
  return result;
}

py::dict RunFile(const std::string& path, int threads, py::object seed) {
  vq::api::RunSettings settings;
  settings.threads = threads;
  if (!seed.is_none()) {
    settings.has_seed = true;
    settings.seed = seed.cast<long>();
  }
  vq::api::RunOutcome outcome;
  {
    py::gil_scoped_release unlocked;
    outcome = vq::api::RunCommandFile(path, settings);
  }
  return OutcomeDict(outcome);
}

using ColumnMajor = py::array_t<double, py::array::f_style | py::array::forcecast>;

py::array_t<double> Square(const std::vector<double>& values, int items) {
  ColumnMajor matrix({items, items});
  std::copy(values.begin(), values.end(), matrix.mutable_data());
  return matrix;
}

// The correlations of the scores `x` (subjects by items, any layout; copied
// column-major) by the estimator `kind`: "pearson", "polychoric" or
// "tetrachoric".
vq::api::Scores ScoresOf(const ColumnMajor& x, const std::vector<std::string>& labels) {
  if (x.ndim() != 2)
    throw std::invalid_argument("the scores must be a 2-d array, subjects by items");
  vq::api::Scores scores;
  scores.subjects = static_cast<int>(x.shape(0));
  scores.items = static_cast<int>(x.shape(1));
  scores.values.assign(x.data(), x.data() + x.size());
  scores.labels = labels;
  return scores;
}

vq::api::CorrelationMatrix CorrelationsOf(const ColumnMajor& r,
                                          const std::vector<std::string>& labels) {
  if (r.ndim() != 2 || r.shape(0) != r.shape(1))
    throw std::invalid_argument("the correlation matrix must be a square 2-d array");
  return {static_cast<int>(r.shape(0)), std::vector<double>(r.data(), r.data() + r.size()), labels};
}

vq::api::RunSettings SettingsOf(int threads, const py::object& seed) {
  vq::api::RunSettings settings;
  settings.threads = threads;
  if (!seed.is_none()) {
    settings.has_seed = true;
    settings.seed = seed.cast<long>();
  }
  return settings;
}

// A p by (size / p) array, column-major; None when empty.
py::object Rectangle(const std::vector<double>& values, int rows) {
  if (values.empty() || rows == 0) return py::none();
  const int cols = static_cast<int>(values.size()) / rows;
  ColumnMajor matrix({rows, cols});
  std::copy(values.begin(), values.end(), matrix.mutable_data());
  return std::move(matrix);
}

py::array_t<double> Vector(const std::vector<double>& values) {
  return py::array_t<double>(values.size(), values.data());
}

py::dict StopDict(const vq::api::Stop& stop) {
  py::dict result;
  result["ending"] = vq::api::EndingName(stop.ending);
  result["status"] = stop.status;
  result["message"] = stop.message;
  return result;
}

vq::api::FactorSettings FactorSettingsOf(const py::dict& choices) {
  vq::api::FactorSettings settings;
  settings.method = choices["method"].cast<std::string>();
  settings.start = choices["start"].cast<std::string>();
  settings.factors = choices["factors"].cast<int>();
  settings.rotation = choices["rotation"].cast<std::string>();
  settings.promax_power = choices["promax_power"].cast<int>();
  settings.oblimin_delta = choices["oblimin_delta"].cast<double>();
  settings.harris_kaiser_parameter = choices["harris_kaiser_parameter"].cast<double>();
  settings.random_start = choices["random_start"].cast<bool>();
  settings.communality_epsilon = choices["communality_epsilon"].cast<double>();
  settings.communality_iterations = choices["communality_iterations"].cast<int>();
  settings.rotation_epsilon = choices["rotation_epsilon"].cast<double>();
  settings.rotation_iterations = choices["rotation_iterations"].cast<int>();
  settings.hyperplane_width = choices["hyperplane_width"].cast<double>();
  return settings;
}

py::dict FactorDict(const vq::api::FactorResult& result) {
  const int p = result.items;
  const int m = result.factors;
  py::dict fit;
  fit["gfi"] = result.gfi;
  fit["rmsr"] = result.rmsr;
  fit["residual_mean"] = result.residual_mean;
  fit["residual_sd"] = result.residual_sd;
  fit["residual_smallest"] = result.residual_smallest;
  fit["residual_largest"] = result.residual_largest;
  if (result.has_likelihood) {
    const vq::api::LikelihoodFigures& ml = result.likelihood;
    fit["objective"] = ml.objective;
    fit["chi_square"] = ml.chi_square;
    fit["df"] = ml.df;
    fit["p_value"] = ml.p_value;
    fit["rmsea"] = ml.rmsea;
    fit["rmsea_lower"] = ml.rmsea_lower;
    fit["rmsea_upper"] = ml.rmsea_upper;
    fit["tli"] = ml.tli;
    fit["bic"] = ml.bic;
  }
  py::dict outcome;
  outcome["stop"] = StopDict(result.stop);
  outcome["factors"] = m;
  outcome["initial_eigenvalues"] = Vector(result.initial_eigenvalues);
  outcome["eigenvalues"] = Vector(result.eigenvalues);
  outcome["starting_communalities"] = Vector(result.starting_communalities);
  outcome["communalities"] = Vector(result.communalities);
  outcome["iterations"] = result.iterations;
  outcome["converged"] = result.converged;
  outcome["unrotated"] = Rectangle(result.unrotated, p);
  outcome["loadings"] = Rectangle(result.loadings, p);
  outcome["structure"] = Rectangle(result.structure, p);
  outcome["phi"] = Rectangle(result.phi, m);
  outcome["rotation"] = result.rotation;
  outcome["oblique"] = result.oblique;
  outcome["rotation_sweeps"] = result.rotation_sweeps;
  outcome["rotation_converged"] = result.rotation_converged;
  outcome["fit"] = fit;
  outcome["residuals"] = Rectangle(result.residuals, p);
  outcome["warnings"] = result.warnings;
  return outcome;
}

py::dict FactorAnalysis(ColumnMajor r,
                        const std::vector<std::string>& labels,
                        int n,
                        const py::dict& choices,
                        int threads,
                        py::object seed) {
  const vq::api::CorrelationMatrix matrix = CorrelationsOf(r, labels);
  const vq::api::FactorSettings settings = FactorSettingsOf(choices);
  const vq::api::RunSettings run = SettingsOf(threads, seed);
  vq::api::FactorResult result;
  {
    py::gil_scoped_release unlocked;
    result = vq::api::FactorAnalysis(matrix, n, settings, run);
  }
  return FactorDict(result);
}

py::dict FactorScores(ColumnMajor x,
                      const std::vector<std::string>& labels,
                      const py::dict& choices,
                      const std::string& method,
                      int threads,
                      py::object seed) {
  const vq::api::Scores scores = ScoresOf(x, labels);
  const vq::api::FactorSettings settings = FactorSettingsOf(choices);
  const vq::api::RunSettings run = SettingsOf(threads, seed);
  vq::api::FactorScoreResult result;
  {
    py::gil_scoped_release unlocked;
    result = vq::api::FactorScores(scores, settings, method, run);
  }
  py::dict outcome;
  outcome["stop"] = StopDict(result.stop);
  outcome["fa"] = FactorDict(result.factors);
  outcome["scores"] = Rectangle(result.scores, scores.subjects);
  outcome["weights"] = Rectangle(result.weights, scores.items);
  outcome["validity"] = Vector(result.validity);
  outcome["notes"] = result.notes;
  return outcome;
}

py::dict Smooth(ColumnMajor r, int threads) {
  const vq::api::CorrelationMatrix matrix = CorrelationsOf(r, {});
  vq::api::CorrelationResult result;
  {
    py::gil_scoped_release unlocked;
    result = vq::api::Smooth(matrix, SettingsOf(threads, py::none()));
  }
  py::dict outcome;
  outcome["stop"] = StopDict(result.stop);
  outcome["r"] = Rectangle(result.values, result.items);
  return outcome;
}

py::dict Triplets(ColumnMajor x, ColumnMajor r, int threads) {
  const vq::api::Scores scores = ScoresOf(x, {});
  const vq::api::CorrelationMatrix matrix = CorrelationsOf(r, {});
  vq::api::TripletResult result;
  {
    py::gil_scoped_release unlocked;
    result = vq::api::TripletTest(scores, matrix, SettingsOf(threads, py::none()));
  }
  py::dict outcome;
  outcome["stop"] = StopDict(result.stop);
  outcome["triplets"] = result.triplets;
  outcome["chi_squares"] = Vector(result.chi_squares);
  outcome["suspicious"] = result.suspicious;
  outcome["percentages"] = Vector(result.percentages);
  return outcome;
}

py::dict Parallel(ColumnMajor x,
                  const std::string& kind,
                  bool smooth,
                  int data_sets,
                  double percentile,
                  int threads,
                  py::object seed) {
  const vq::api::Scores scores = ScoresOf(x, {});
  const vq::api::RunSettings run = SettingsOf(threads, seed);
  vq::api::ParallelResult result;
  {
    py::gil_scoped_release unlocked;
    result = vq::api::ParallelAnalysis(scores, kind, smooth, data_sets, percentile, run);
  }
  py::dict outcome;
  outcome["stop"] = StopDict(result.stop);
  outcome["seed"] = result.seed;
  outcome["observed_components"] = Vector(result.observed_components);
  outcome["mean_components"] = Vector(result.mean_components);
  outcome["percentile_components"] = Vector(result.percentile_components);
  outcome["suggested_components"] = result.suggested_components;
  outcome["observed_factors"] = Vector(result.observed_factors);
  outcome["mean_factors"] = Vector(result.mean_factors);
  outcome["percentile_factors"] = Vector(result.percentile_factors);
  outcome["suggested_factors"] = result.suggested_factors;
  return outcome;
}

py::dict Correlations(const std::string& kind,
                      ColumnMajor x,
                      const std::vector<std::string>& labels,
                      const std::vector<double>& guessing,
                      bool median_split,
                      double bound,
                      bool floor_likelihood,
                      int threads) {
  const vq::api::Scores scores = ScoresOf(x, labels);
  vq::api::PolychoricSettings search;
  search.bound = bound;
  search.floor_likelihood = floor_likelihood;
  vq::api::RunSettings settings;
  settings.threads = threads;
  vq::api::CorrelationResult result;
  {
    py::gil_scoped_release unlocked;
    if (kind == "pearson") {
      result = vq::api::Pearson(scores, settings);
    } else if (kind == "polychoric") {
      result = vq::api::Polychoric(scores, search, settings);
    } else {
      result = vq::api::Tetrachoric(scores, guessing, median_split, settings);
    }
  }
  py::dict outcome;
  outcome["ending"] = vq::api::EndingName(result.stop.ending);
  outcome["status"] = result.stop.status;
  outcome["message"] = result.stop.message;
  outcome["warnings"] = result.warnings;
  const bool finished = result.stop.ending == vq::api::Ending::kFinished;
  outcome["r"] =
      finished ? py::object(Square(result.values, result.items)) : py::object(py::none());
  outcome["se"] = result.standard_errors.empty()
                      ? py::object(py::none())
                      : py::object(Square(result.standard_errors, result.items));
  outcome["proportions"] =
      py::array_t<double>(result.proportions.size(), result.proportions.data());
  outcome["thresholds"] = result.thresholds;
  return outcome;
}

}  // namespace

PYBIND11_MODULE(_core, module) {
  module.doc() = "The Velquorin engine (use the functions of the package velquorin).";
  module.def("run_file",
             &RunFile,
             py::arg("path"),
             py::arg("threads"),
             py::arg("seed"),
             "Runs a command file quietly; returns the outcome as a dict.");
  module.def("correlations",
             &Correlations,
             py::arg("kind"),
             py::arg("x"),
             py::arg("labels"),
             py::arg("guessing"),
             py::arg("median_split"),
             py::arg("bound"),
             py::arg("floor_likelihood"),
             py::arg("threads"),
             "Correlations of scores (subjects by items); returns the outcome as a dict.");
  module.def("factor_analysis",
             &FactorAnalysis,
             py::arg("r"),
             py::arg("labels"),
             py::arg("n"),
             py::arg("choices"),
             py::arg("threads"),
             py::arg("seed"),
             "Factor analysis of a correlation matrix; returns the outcome as a dict.");
  module.def("factor_scores",
             &FactorScores,
             py::arg("x"),
             py::arg("labels"),
             py::arg("choices"),
             py::arg("method"),
             py::arg("threads"),
             py::arg("seed"),
             "Factor analysis and factor scores of scores; returns the outcome as a dict.");
  module.def("smooth", &Smooth, py::arg("r"), py::arg("threads"), "Smooths a correlation matrix.");
  module.def("triplets",
             &Triplets,
             py::arg("x"),
             py::arg("r"),
             py::arg("threads"),
             "The triplet test of dichotomous scores with their correlations.");
  module.def("parallel",
             &Parallel,
             py::arg("x"),
             py::arg("kind"),
             py::arg("smooth"),
             py::arg("data_sets"),
             py::arg("percentile"),
             py::arg("threads"),
             py::arg("seed"),
             "Parallel analysis by permutation.");
}
