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
py::dict Correlations(const std::string& kind,
                      ColumnMajor x,
                      const std::vector<std::string>& labels,
                      const std::vector<double>& guessing,
                      bool median_split,
                      int threads) {
  if (x.ndim() != 2)
    throw std::invalid_argument("the scores must be a 2-d array, subjects by items");
  vq::api::Scores scores;
  scores.subjects = static_cast<int>(x.shape(0));
  scores.items = static_cast<int>(x.shape(1));
  scores.values.assign(x.data(), x.data() + x.size());
  scores.labels = labels;
  vq::api::RunSettings settings;
  settings.threads = threads;
  vq::api::CorrelationResult result;
  {
    py::gil_scoped_release unlocked;
    if (kind == "pearson") {
      result = vq::api::Pearson(scores, settings);
    } else if (kind == "polychoric") {
      result = vq::api::Polychoric(scores, settings);
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
             py::arg("threads"),
             "Correlations of scores (subjects by items); returns the outcome as a dict.");
}
