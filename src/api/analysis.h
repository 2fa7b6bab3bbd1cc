// The functions on matrices for the R package and the Python module: the
// correlation estimators of a run called on scores that the host holds, with
// no command file, no report and no saved file.
//
// Each call runs under a `QuietHost` (host.h) with the thread count of its
// `RunSettings`, shows no progress, and returns the estimator's numbers as
// the run computes them, bit for bit (the run's saved `cor` file prints them
// at nine decimals). A stop of the engine (a variable without variance, more
// than 14 categories, ...) is returned as an `Ending` with the program's own
// words, never thrown; arguments the engine cannot take (a missing score, a
// shape that does not fit) throw std::invalid_argument before it runs.
//
// Missing scores: the engine has one code for them, a score of 99 on an
// ordered item (polychoric: its highest place, counted in no category). A
// NaN (R's NA) is refused by every estimator with a message that says so.
#ifndef VELQUORIN_API_ANALYSIS_H_
#define VELQUORIN_API_ANALYSIS_H_

#include <string>
#include <vector>

#include "api/host.h"

namespace vq::api {

// N subjects by p items, by columns (column-major, as R matrices and numpy
// arrays in Fortran order hold them). `labels` is empty or has p names.
struct Scores {
  int subjects = 0;
  int items = 0;
  std::vector<double> values;
  std::vector<std::string> labels;
};

// How a call ended: kFinished with an empty message, else the program's
// words (StopMessage) and its exit status.
struct Stop {
  Ending ending = Ending::kFinished;
  int status = 0;
  std::string message;
};

// A correlation matrix and what its estimator learned on the way.
//   values:          items by items, both triangles, column-major; empty
//                    after a stop.
//   standard_errors: tetrachoric only: items by items, zero diagonal.
//   proportions:     tetrachoric only: each item's proportion of keyed
//                    subjects (the dff file).
//   warnings:        non-fatal messages in pair order (a polychoric pair on
//                    a bound of its search, a tetrachoric pair that fell
//                    back to the polychoric search); the polychoric ones
//                    also up to a stop.
struct CorrelationResult {
  int items = 0;
  std::vector<double> values;
  std::vector<double> standard_errors;
  std::vector<double> proportions;
  std::vector<std::string> labels;
  std::vector<std::string> warnings;
  Stop stop;
};

// Pearson correlations ("CO"): the columns' product-moment correlations
// (divisor n - 1). A column without variance has a row and column of 0.
// Needs at least 2 subjects and 2 items.
CorrelationResult Pearson(const Scores& scores, const RunSettings& settings);

// Polychoric correlations of ordered scores ("OR"): at most 14 categories an
// item, a score of 99 in an item's highest place counting as missing.
CorrelationResult Polychoric(const Scores& scores, const RunSettings& settings);

// Tetrachoric correlations of dichotomous scores ("DI"); the keyed score is
// the highest score of the first item. With `guessing` non-empty (one chance
// an item, from 0 to below 1) the tables are corrected for guessing ("DC");
// `median_split` first splits each item at its median ("CD").
CorrelationResult Tetrachoric(const Scores& scores,
                              const std::vector<double>& guessing,
                              bool median_split,
                              const RunSettings& settings);

}  // namespace vq::api

#endif  // VELQUORIN_API_ANALYSIS_H_
