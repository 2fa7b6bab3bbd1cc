// The R side of the engine: the .Call entry points behind the package's R
// functions. They convert R values to the facade's arguments (src/api) and
// its results back to plain R lists; the R functions in R/ check the
// arguments first and turn an unfinished run into an R error.
//
// Everything the engine prints is captured by the facade; an exception of
// the facade (a bad argument) becomes an R error through Rcpp.
#include <R_ext/Rdynload.h>
#include <Rcpp.h>

#include <cmath>
#include <string>

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

}  // namespace

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
    {nullptr, nullptr, 0},
};

extern "C" void R_init_velquorin(DllInfo* dll) {
  R_registerRoutines(dll, nullptr, kCallMethods, nullptr, nullptr);
  R_useDynamicSymbols(dll, FALSE);
}
