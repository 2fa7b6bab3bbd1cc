// The Python side of the engine: the extension `velquorin._core` behind the
// package's Python functions. It converts Python values to the facade's
// arguments (src/api) and its results to plain dicts; velquorin/__init__.py
// checks the arguments first and raises VelquorinError for an unfinished run.
//
// The interpreter's lock is released while the engine runs, so other Python
// threads go on; the facade takes one engine call at a time. A bad argument
// the facade refuses (std::invalid_argument) becomes a ValueError.
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <string>

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

}  // namespace

PYBIND11_MODULE(_core, module) {
  module.doc() = "The Velquorin engine (use the functions of the package velquorin).";
  module.def("run_file",
             &RunFile,
             py::arg("path"),
             py::arg("threads"),
             py::arg("seed"),
             "Runs a command file quietly; returns the outcome as a dict.");
}
