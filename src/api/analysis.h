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
//
// Beyond the run, the polychoric estimator offers what a library user needs
// (PolychoricSettings): a wider search than the run's [-0.9, 0.9], a search
// without the run's floor on the log likelihood, and the standard errors of
// the estimates; its defaults are the run's exactly.
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

// A correlation matrix the host holds: items by items, column-major.
// `labels` is empty or has one name an item.
struct CorrelationMatrix {
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
//   standard_errors: polychoric and tetrachoric: items by items, zero
//                    diagonal. Polychoric: 1 / sqrt(-L''), the curvature of
//                    the pair's log likelihood at its estimate (thresholds
//                    held), by a central second difference; NaN where the
//                    curvature is not negative.
//   thresholds:      polychoric: each item's K - 1 thresholds on the normal
//                    scale between its K categories; tetrachoric: one an
//                    item, the lower threshold of the iteration (the normal
//                    quantile of its working proportion).
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
  std::vector<std::vector<double>> thresholds;
  std::vector<double> proportions;
  std::vector<std::string> labels;
  std::vector<std::string> warnings;
  Stop stop;
};

// Pearson correlations ("CO"): the columns' product-moment correlations
// (divisor n - 1). A column without variance has a row and column of 0.
// Needs at least 2 subjects and 2 items.
CorrelationResult Pearson(const Scores& scores, const RunSettings& settings);

// The polychoric search. The defaults are the run's.
//   bound:            the search runs over [-bound, bound], bound in
//                     [0.05, 0.9999]. The run's is 0.9; 0.999 lets strong
//                     associations through.
//   floor_likelihood: true (the run): the search starts from a best log
//                     likelihood of -999999, so that a pair whose likelihood
//                     is below it everywhere (N = 250,000 with ten
//                     categories) stays at r = 0; false: the best point of
//                     the grid always wins.
// A search that departs from the run's in either also takes a cell that
// holds subjects but has no model probability (it happens near r = +-1) as
// impossible, where the run's likelihood skips it.
struct PolychoricSettings {
  double bound = 0.9;
  bool floor_likelihood = true;
};

// Polychoric correlations of ordered scores ("OR"): at most 14 categories an
// item, a score of 99 in an item's highest place counting as missing.
CorrelationResult Polychoric(const Scores& scores,
                             const PolychoricSettings& search,
                             const RunSettings& settings);

// Tetrachoric correlations of dichotomous scores ("DI"); the keyed score is
// the highest score of the first item. With `guessing` non-empty (one chance
// an item, from 0 to below 1) the tables are corrected for guessing ("DC");
// `median_split` first splits each item at its median ("CD").
CorrelationResult Tetrachoric(const Scores& scores,
                              const std::vector<double>& guessing,
                              bool median_split,
                              const RunSettings& settings);

// The run's smoothing ("SM") of a correlation matrix estimated pair by
// pair: rebuilt from its eigenvalues at or above 0.005, scaled, brought back
// to a unit diagonal. The numbers of the saved `smo` file, bit for bit. A
// variable that loads only on dropped eigenvectors stops ("CANNOT BE
// SMOOTHED").
CorrelationResult Smooth(const CorrelationMatrix& r, const RunSettings& settings);

// The triplet test of multivariate normality ("TRP") of dichotomous scores
// (only scores of exactly 0 and 1 count) with the correlations `r` of the
// same items (the run takes their tetrachorics, smoothed where it smooths).
//   triplets:     a < b < c, 1-based, in lexicographic order, 3 a triplet.
//   chi_squares:  the statistic of each triplet (the `mvn` file's first
//                 line); at or above 6.635 a triplet is suspicious.
//   suspicious:   per item, the suspicious triplets that hold it.
//   percentages:  the same in percent of the triplets that hold it.
// Needs 3 items or more.
struct TripletResult {
  std::vector<int> triplets;
  std::vector<double> chi_squares;
  std::vector<int> suspicious;
  std::vector<double> percentages;
  Stop stop;
};
TripletResult TripletTest(const Scores& scores,
                          const CorrelationMatrix& r,
                          const RunSettings& settings);

}  // namespace vq::api

#endif  // VELQUORIN_API_ANALYSIS_H_
