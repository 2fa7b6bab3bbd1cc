// The R side of the engine: the .Call entry points behind the package's R
// functions. They convert R values to the facade's arguments (src/api) and
// its results back to plain R lists; the R functions in R/ check the
// arguments first and turn an unfinished run into an R error.
//
// Everything the engine prints is captured by the facade; an exception of
// the facade (a bad argument) becomes an R error through Rcpp.
#include <R_ext/Rdynload.h>
#include <Rcpp.h>

#include <algorithm>
#include <cmath>
#include <string>

#include "api/analysis.h"
#include "api/host.h"

namespace {

Rcpp::CharacterVector Strings(const std::vector<std::string>& texts) {
  Rcpp::CharacterVector result(texts.size());
  for (std::size_t i = 0; i < texts.size(); ++i) result[i] = texts[i];
  return result;
}

Rcpp::List OutcomeList(const vq::api::RunOutcome& outcome) {
  return Rcpp::List::create(Rcpp::Named("ending") = vq::api::EndingName(outcome.ending),
                            Rcpp::Named("status") = outcome.status,
                            Rcpp::Named("message") = outcome.message,
                            Rcpp::Named("report") = outcome.report.empty()
                                                        ? Rcpp::CharacterVector(0)
                                                        : Rcpp::CharacterVector(1, outcome.report),
                            Rcpp::Named("files") = Strings(outcome.saved_files),
                            Rcpp::Named("console") = outcome.console,
                            Rcpp::Named("errors") = outcome.errors);
}

Rcpp::NumericMatrix Square(const std::vector<double>& values, int items) {
  Rcpp::NumericMatrix matrix(items, items);
  std::copy(values.begin(), values.end(), matrix.begin());
  return matrix;
}

}  // namespace

// velquorin_correlations(kind, x, labels, guessing, median_split, threads):
// `kind` "pearson", "polychoric" or "tetrachoric"; `x` a double matrix,
// subjects by items; `labels` a character vector (may be empty); `guessing`
// a double vector (empty: no correction); `threads` one integer.
extern "C" SEXP velquorin_correlations(
    SEXP kind, SEXP x, SEXP labels, SEXP guessing, SEXP median_split, SEXP threads) {
  BEGIN_RCPP
  const Rcpp::NumericMatrix data(x);
  vq::api::Scores scores;
  scores.subjects = data.nrow();
  scores.items = data.ncol();
  scores.values.assign(data.begin(), data.end());
  scores.labels = Rcpp::as<std::vector<std::string>>(labels);
  vq::api::RunSettings settings;
  settings.threads = Rcpp::as<int>(threads);
  const std::string estimator = Rcpp::as<std::string>(kind);
  vq::api::CorrelationResult result;
  if (estimator == "pearson") {
    result = vq::api::Pearson(scores, settings);
  } else if (estimator == "polychoric") {
    result = vq::api::Polychoric(scores, settings);
  } else {
    result = vq::api::Tetrachoric(
        scores, Rcpp::as<std::vector<double>>(guessing), Rcpp::as<bool>(median_split), settings);
  }
  const bool finished = result.stop.ending == vq::api::Ending::kFinished;
  return Rcpp::List::create(
      Rcpp::Named("ending") = vq::api::EndingName(result.stop.ending),
      Rcpp::Named("status") = result.stop.status,
      Rcpp::Named("message") = result.stop.message,
      Rcpp::Named("r") =
          finished ? Rcpp::RObject(Square(result.values, result.items)) : Rcpp::RObject(R_NilValue),
      Rcpp::Named("se") = result.standard_errors.empty()
                              ? Rcpp::RObject(R_NilValue)
                              : Rcpp::RObject(Square(result.standard_errors, result.items)),
      Rcpp::Named("proportions") =
          Rcpp::NumericVector(result.proportions.begin(), result.proportions.end()),
      Rcpp::Named("warnings") = Strings(result.warnings));
  END_RCPP
}

// velquorin_run_file(file, threads, seed): `file` one string, `threads` one
// integer (0: every core), `seed` NULL or one whole number.
extern "C" SEXP velquorin_run_file(SEXP file, SEXP threads, SEXP seed) {
  BEGIN_RCPP
  vq::api::RunSettings settings;
  settings.threads = Rcpp::as<int>(threads);
  if (!Rf_isNull(seed)) {
    const double value = Rcpp::as<double>(seed);
    settings.has_seed = true;
    settings.seed = static_cast<long>(value);
  }
  const std::string path = Rcpp::as<std::string>(file);
  return OutcomeList(vq::api::RunCommandFile(path, settings));
  END_RCPP
}

static const R_CallMethodDef kCallMethods[] = {
    {"velquorin_run_file", reinterpret_cast<DL_FUNC>(&velquorin_run_file), 3},
    {"velquorin_correlations", reinterpret_cast<DL_FUNC>(&velquorin_correlations), 6},
    {nullptr, nullptr, 0},
};

extern "C" void R_init_velquorin(DllInfo* dll) {
  R_registerRoutines(dll, nullptr, kCallMethods, nullptr, nullptr);
  R_useDynamicSymbols(dll, FALSE);
}
