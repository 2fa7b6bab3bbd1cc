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
#include <stdexcept>
#include <string>
#include <vector>

#include "api/analysis.h"
#include "api/factoring.h"
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

Rcpp::NumericMatrix Rectangle(const std::vector<double>& values, int rows) {
  if (values.empty() || rows == 0) return Rcpp::NumericMatrix(0, 0);
  Rcpp::NumericMatrix matrix(rows, static_cast<int>(values.size()) / rows);
  std::copy(values.begin(), values.end(), matrix.begin());
  return matrix;
}

Rcpp::NumericVector Numbers(const std::vector<double>& values) {
  return Rcpp::NumericVector(values.begin(), values.end());
}

vq::api::Scores ScoresOf(SEXP x, SEXP labels) {
  const Rcpp::NumericMatrix data(x);
  vq::api::Scores scores;
  scores.subjects = data.nrow();
  scores.items = data.ncol();
  scores.values.assign(data.begin(), data.end());
  scores.labels = Rcpp::as<std::vector<std::string>>(labels);
  return scores;
}

vq::api::CorrelationMatrix CorrelationsOf(SEXP r, SEXP labels) {
  const Rcpp::NumericMatrix matrix(r);
  if (matrix.nrow() != matrix.ncol())
    throw std::invalid_argument("the correlation matrix must be square");
  return {matrix.nrow(),
          std::vector<double>(matrix.begin(), matrix.end()),
          Rcpp::as<std::vector<std::string>>(labels)};
}

// threads one integer; seed NULL or one whole number.
vq::api::RunSettings SettingsOf(SEXP threads, SEXP seed) {
  vq::api::RunSettings settings;
  settings.threads = Rcpp::as<int>(threads);
  if (!Rf_isNull(seed)) {
    settings.has_seed = true;
    settings.seed = static_cast<long>(Rcpp::as<double>(seed));
  }
  return settings;
}

// A named list of the R function's choices (R/factoring.R).
vq::api::FactorSettings FactorSettingsOf(SEXP list) {
  const Rcpp::List choices(list);
  vq::api::FactorSettings settings;
  settings.method = Rcpp::as<std::string>(choices["method"]);
  settings.start = Rcpp::as<std::string>(choices["start"]);
  settings.factors = Rcpp::as<int>(choices["factors"]);
  settings.rotation = Rcpp::as<std::string>(choices["rotation"]);
  settings.promax_power = Rcpp::as<int>(choices["promax_power"]);
  settings.oblimin_delta = Rcpp::as<double>(choices["oblimin_delta"]);
  settings.harris_kaiser_parameter = Rcpp::as<double>(choices["harris_kaiser_parameter"]);
  settings.random_start = Rcpp::as<bool>(choices["random_start"]);
  settings.communality_epsilon = Rcpp::as<double>(choices["communality_epsilon"]);
  settings.communality_iterations = Rcpp::as<int>(choices["communality_iterations"]);
  settings.rotation_epsilon = Rcpp::as<double>(choices["rotation_epsilon"]);
  settings.rotation_iterations = Rcpp::as<int>(choices["rotation_iterations"]);
  settings.hyperplane_width = Rcpp::as<double>(choices["hyperplane_width"]);
  return settings;
}

Rcpp::List StopList(const vq::api::Stop& stop) {
  return Rcpp::List::create(Rcpp::Named("ending") = vq::api::EndingName(stop.ending),
                            Rcpp::Named("status") = stop.status,
                            Rcpp::Named("message") = stop.message);
}

Rcpp::List FactorList(const vq::api::FactorResult& result) {
  const int p = result.items;
  const int m = result.factors;
  Rcpp::List fit = Rcpp::List::create(Rcpp::Named("gfi") = result.gfi,
                                      Rcpp::Named("rmsr") = result.rmsr,
                                      Rcpp::Named("residual_mean") = result.residual_mean,
                                      Rcpp::Named("residual_sd") = result.residual_sd,
                                      Rcpp::Named("residual_smallest") = result.residual_smallest,
                                      Rcpp::Named("residual_largest") = result.residual_largest);
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
  Rcpp::List list;
  list["stop"] = StopList(result.stop);
  list["factors"] = m;
  list["initial_eigenvalues"] = Numbers(result.initial_eigenvalues);
  list["eigenvalues"] = Numbers(result.eigenvalues);
  list["starting_communalities"] = Numbers(result.starting_communalities);
  list["communalities"] = Numbers(result.communalities);
  list["iterations"] = result.iterations;
  list["converged"] = result.converged;
  list["unrotated"] = Rectangle(result.unrotated, p);
  list["loadings"] = Rectangle(result.loadings, p);
  list["structure"] = result.structure.empty() ? Rcpp::RObject(R_NilValue)
                                               : Rcpp::RObject(Rectangle(result.structure, p));
  list["phi"] =
      result.phi.empty() ? Rcpp::RObject(R_NilValue) : Rcpp::RObject(Rectangle(result.phi, m));
  list["rotation"] = result.rotation;
  list["oblique"] = result.oblique;
  list["rotation_sweeps"] = result.rotation_sweeps;
  list["rotation_converged"] = result.rotation_converged;
  list["fit"] = fit;
  list["residuals"] = Rectangle(result.residuals, p);
  list["warnings"] = Strings(result.warnings);
  return list;
}

}  // namespace

// velquorin_correlations(kind, x, labels, guessing, median_split, bound,
// floor_likelihood, threads): `kind` "pearson", "polychoric" or
// "tetrachoric"; `x` a double matrix, subjects by items; `labels` a
// character vector (may be empty); `guessing` a double vector (empty: no
// correction); `bound` and `floor_likelihood` the polychoric search;
// `threads` one integer.
extern "C" SEXP velquorin_correlations(SEXP kind,
                                       SEXP x,
                                       SEXP labels,
                                       SEXP guessing,
                                       SEXP median_split,
                                       SEXP bound,
                                       SEXP floor_likelihood,
                                       SEXP threads) {
  BEGIN_RCPP
  const vq::api::Scores scores = ScoresOf(x, labels);
  vq::api::RunSettings settings;
  settings.threads = Rcpp::as<int>(threads);
  const std::string estimator = Rcpp::as<std::string>(kind);
  vq::api::CorrelationResult result;
  if (estimator == "pearson") {
    result = vq::api::Pearson(scores, settings);
  } else if (estimator == "polychoric") {
    vq::api::PolychoricSettings search;
    search.bound = Rcpp::as<double>(bound);
    search.floor_likelihood = Rcpp::as<bool>(floor_likelihood);
    result = vq::api::Polychoric(scores, search, settings);
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
      Rcpp::Named("thresholds") = Rcpp::wrap(result.thresholds),
      Rcpp::Named("warnings") = Strings(result.warnings));
  END_RCPP
}

// velquorin_smooth(r, labels, threads): the smoothed matrix.
extern "C" SEXP velquorin_smooth(SEXP r, SEXP labels, SEXP threads) {
  BEGIN_RCPP
  const vq::api::CorrelationResult result =
      vq::api::Smooth(CorrelationsOf(r, labels), SettingsOf(threads, R_NilValue));
  return Rcpp::List::create(Rcpp::Named("stop") = StopList(result.stop),
                            Rcpp::Named("r") = Rectangle(result.values, result.items));
  END_RCPP
}

// velquorin_triplets(x, r, threads): the triplet test of the scores `x`
// with their correlations `r`.
extern "C" SEXP velquorin_triplets(SEXP x, SEXP r, SEXP threads) {
  BEGIN_RCPP
  const vq::api::TripletResult result =
      vq::api::TripletTest(ScoresOf(x, Rcpp::CharacterVector(0)),
                           CorrelationsOf(r, Rcpp::CharacterVector(0)),
                           SettingsOf(threads, R_NilValue));
  return Rcpp::List::create(
      Rcpp::Named("stop") = StopList(result.stop),
      Rcpp::Named("triplets") = Rcpp::IntegerVector(result.triplets.begin(), result.triplets.end()),
      Rcpp::Named("chi_squares") = Numbers(result.chi_squares),
      Rcpp::Named("suspicious") =
          Rcpp::IntegerVector(result.suspicious.begin(), result.suspicious.end()),
      Rcpp::Named("percentages") = Numbers(result.percentages));
  END_RCPP
}

// velquorin_fa(r, labels, n, settings, threads, seed): the factor analysis
// of the correlation matrix `r` of `n` subjects (0: not known).
extern "C" SEXP velquorin_fa(SEXP r, SEXP labels, SEXP n, SEXP settings, SEXP threads, SEXP seed) {
  BEGIN_RCPP
  return FactorList(vq::api::FactorAnalysis(CorrelationsOf(r, labels),
                                            Rcpp::as<int>(n),
                                            FactorSettingsOf(settings),
                                            SettingsOf(threads, seed)));
  END_RCPP
}

// velquorin_scores(x, labels, settings, method, threads, seed): the factor
// analysis of the Pearson correlations of `x` and its factor scores.
extern "C" SEXP velquorin_scores(
    SEXP x, SEXP labels, SEXP settings, SEXP method, SEXP threads, SEXP seed) {
  BEGIN_RCPP
  const vq::api::Scores scores = ScoresOf(x, labels);
  const vq::api::FactorScoreResult result = vq::api::FactorScores(
      scores, FactorSettingsOf(settings), Rcpp::as<std::string>(method), SettingsOf(threads, seed));
  return Rcpp::List::create(Rcpp::Named("stop") = StopList(result.stop),
                            Rcpp::Named("fa") = FactorList(result.factors),
                            Rcpp::Named("scores") = Rectangle(result.scores, scores.subjects),
                            Rcpp::Named("weights") = Rectangle(result.weights, scores.items),
                            Rcpp::Named("validity") = Numbers(result.validity),
                            Rcpp::Named("notes") = Strings(result.notes));
  END_RCPP
}

// velquorin_parallel(x, kind, smooth, sets, percentile, threads, seed).
extern "C" SEXP velquorin_parallel(
    SEXP x, SEXP kind, SEXP smooth, SEXP sets, SEXP percentile, SEXP threads, SEXP seed) {
  BEGIN_RCPP
  const vq::api::ParallelResult result =
      vq::api::ParallelAnalysis(ScoresOf(x, Rcpp::CharacterVector(0)),
                                Rcpp::as<std::string>(kind),
                                Rcpp::as<bool>(smooth),
                                Rcpp::as<int>(sets),
                                Rcpp::as<double>(percentile),
                                SettingsOf(threads, seed));
  return Rcpp::List::create(
      Rcpp::Named("stop") = StopList(result.stop),
      Rcpp::Named("seed") = static_cast<double>(result.seed),
      Rcpp::Named("observed_components") = Numbers(result.observed_components),
      Rcpp::Named("mean_components") = Numbers(result.mean_components),
      Rcpp::Named("percentile_components") = Numbers(result.percentile_components),
      Rcpp::Named("suggested_components") = result.suggested_components,
      Rcpp::Named("observed_factors") = Numbers(result.observed_factors),
      Rcpp::Named("mean_factors") = Numbers(result.mean_factors),
      Rcpp::Named("percentile_factors") = Numbers(result.percentile_factors),
      Rcpp::Named("suggested_factors") = result.suggested_factors);
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
    {"velquorin_correlations", reinterpret_cast<DL_FUNC>(&velquorin_correlations), 8},
    {"velquorin_smooth", reinterpret_cast<DL_FUNC>(&velquorin_smooth), 3},
    {"velquorin_triplets", reinterpret_cast<DL_FUNC>(&velquorin_triplets), 3},
    {"velquorin_fa", reinterpret_cast<DL_FUNC>(&velquorin_fa), 6},
    {"velquorin_scores", reinterpret_cast<DL_FUNC>(&velquorin_scores), 6},
    {"velquorin_parallel", reinterpret_cast<DL_FUNC>(&velquorin_parallel), 7},
    {nullptr, nullptr, 0},
};

extern "C" void R_init_velquorin(DllInfo* dll) {
  R_registerRoutines(dll, nullptr, kCallMethods, nullptr, nullptr);
  R_useDynamicSymbols(dll, FALSE);
}
