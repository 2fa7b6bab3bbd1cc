// Tetrachoric correlations of dichotomous item scores, by a moment fit pair
// by pair: the thresholds come from the item proportions, and r is the value
// at which the bivariate normal lower-orthant probability at the thresholds
// equals the pair's joint proportion. The root is found by a modified Newton
// iteration from Divgi's closed-form start, with the polychoric search as
// the fall-back for a pair on which the iteration does not settle. Serves
// the codings "DI", "DC" (tables corrected for guessing) and "CD".
//
// Besides the matrix the estimator returns what the run writes into three
// files beside the command file (writers/correlation_writer.h): the
// bias-corrected tables with both correlations (frq), the item proportions
// (dff) and the standard errors (ser).
//
// Everything of a pair is a function of its two columns and the item
// proportions, except one thing: the iteration's "previous r" is carried
// from the pair before, so the first step of a pair can see a small change
// by chance. That is how the estimates come out, and it is kept. It matters
// only to the test that ends the first pass, so each pair is iterated on its
// own (on several threads) both as if the first pass ended it and as if it
// did not; a walk in pair order then carries "previous r" and picks one.
#ifndef VELQUORIN_CORRELATION_TETRACHORIC_H_
#define VELQUORIN_CORRELATION_TETRACHORIC_H_

#include <cstdint>
#include <vector>

#include "correlation/polychoric.h"
#include "frame/progress.h"
#include "kernels/matrix.h"

namespace vq {

// The score that counts as a 1: the highest score of variable 1 (column 0
// of the n by p `item_data`), truncated toward zero; -99 when every score
// is -99 or less.
int FindKeyedScore(const Matrix& item_data, int n);

// The bivariate normal density at (x, y) with correlation r, rounded to
// single precision. r of 1 or more is replaced by 0.99 (single precision,
// widened), r of -1 or less by -0.99, in the caller's variable.
float BivariateDensity(double x, double y, double& r);

// The cell proportions of one pair after the half-subject rules and the
// guessing correction, and the table's odds ratio. The first digit is the
// response on the earlier variable j, the second on the later variable i:
// c10 means j keyed and i not.
struct TetrachoricTable {
  double c11 = 0.0;
  double c10 = 0.0;
  double c01 = 0.0;
  double c00 = 0.0;
  double omega = 0.0;
};

// The table of a pair from the number of subjects keyed on both (`joint`),
// n and the uncorrected proportions p_i, p_j. With `guessing` the cells are
// corrected with the chances g_i, g_j of a correct guess. A corrected c10 or
// c01 of exactly 0 makes the odds ratio infinite: it is then taken as 10000,
// the mirror of the floor of 0.0001 (see the implementation).
TetrachoricTable BiasCorrectedTable(
    int joint, int n, double p_i, double p_j, bool guessing, double g_i, double g_j);

// Divgi's closed-form approximation of r from the upper thresholds z_i, z_j
// and the odds ratio omega (at least 0.0001).
double DivgiStart(double z_i, double z_j, double omega);

// The modified Newton iteration of one pair from the start value `r`, with
// the lower thresholds z_i, z_j and the joint proportion c11. `previous_r`
// is carried in and out. Returns the estimate; `settled` is false when the
// iteration reached 1000 passes, where the caller takes the polychoric
// fall-back. Orthant probabilities from G01HAF with the hard indicator.
double TetrachoricNewton(
    double r, double z_i, double z_j, double c11, double& previous_r, bool& settled);

// The Newton iteration of one pair taken apart at its first pass, under the
// quiet indicator. After the first pass the iteration ends exactly when
// neither |previous r - first_r| > 0.0001 nor first_dp > 0.00001; if it goes
// on, nothing after depends on the previous r it came in with, and it ends
// at full_r (full_settled false at 1000 passes). `first_failed`: a G01HAF
// call up to the end of the first pass failed; `rest_failed`: one after it.
struct TetrachoricSplit {
  double first_r = 0.0;
  double first_dp = 0.0;
  double full_r = 0.0;
  bool full_settled = true;
  bool first_failed = false;
  bool rest_failed = false;
};

// TetrachoricNewton from the start `r` without its previous r. A pure
// function of its arguments, safe to run on several threads at once.
TetrachoricSplit SplitTetrachoricNewton(double r, double z_i, double z_j, double c11);

// What TetrachoricNewton returns for the pair of `split` given the carried
// `previous_r` (updated as TetrachoricNewton updates it). Only for a split
// without a failure flag that counts (first_failed, or rest_failed when the
// first pass does not end the iteration): `usable` is false otherwise, and
// the caller runs TetrachoricNewton itself under the hard indicator.
double SettleTetrachoricNewton(const TetrachoricSplit& split,
                               double& previous_r,
                               bool& settled,
                               bool& usable);

// What the tetrachoric estimator is asked to do.
//   correct_for_guessing: "DC": the tables are corrected with the chances of
//                         a correct guess given beside the data (one a
//                         variable).
//   median_split:         "CD": the scores are first split at each
//                         variable's median (SplitAtMedians) on a copy; the
//                         run splits its own data instead, since the later
//                         phases read the split scores.
//   fall_back:            the search of the polychoric fall-back.
struct TetrachoricOptions {
  bool correct_for_guessing = false;
  bool median_split = false;
  PolychoricSearch fall_back;
};

// What the first step learns of the items: the keyed score, each
// variable's proportion of keyed subjects (the dff file) and its keyed
// subjects as a bit column (bit_columns.h, `words` words a variable).
struct TetrachoricItems {
  int keyed_score = -99;
  std::vector<double> proportions;
  int words = 0;
  std::vector<std::uint64_t> keyed_bits;
};

// The keyed subjects and proportions of the p columns of `item_data` (n by
// p), on ThreadCount() threads. Stops the run on the first variable with no
// keyed subject ("FATAL ERROR: VARIABLE" I4 " HAS NO VARIANCE").
TetrachoricItems FindTetrachoricItems(const Matrix& item_data, int n, int p);

// One table of the frq file: the frequencies a = n c10, b = n c11 (row "1")
// and c = n c00, d = n c01 (row "0") after the half-subject rules and the
// guessing correction, phi of that table, the standard error of r, and
// whether a cell holds 5 or fewer subjects ("Small cell frequencies").
struct TetrachoricPairTable {
  double a = 0.0;
  double b = 0.0;
  double c = 0.0;
  double d = 0.0;
  double phi = 0.0;
  double standard_error = 0.0;
  bool small_cells = false;
};

// A pair whose Newton iteration did not settle and was estimated by the
// polychoric search instead (i > j, 0-based), and whether that estimate lies
// on the search's bound.
struct TetrachoricFallBack {
  int i = 0;
  int j = 0;
  bool at_boundary = false;
};

// Everything the tetrachoric estimator computes.
//   correlations:     p by p, both triangles, unit diagonal.
//   thresholds:       the lower thresholds of the iteration (the normal
//                     quantiles of the working proportions).
//   tables:           the frq tables in pair order (PairAt, pair_order.h).
//   standard_errors:  p by p, both triangles, zero diagonal.
//   fall_backs:       in pair order, as far as the pairs got.
//   last_fell_back:   the last pair is one of them (its console line is the
//                     polychoric one).
//   complete:         every pair is estimated and the tables are made; only
//                     `fall_backs` is filled before (the report shows their
//                     warnings up to a stop).
struct TetrachoricResult {
  TetrachoricItems items;
  Matrix correlations;
  std::vector<double> thresholds;
  std::vector<TetrachoricPairTable> tables;
  Matrix standard_errors;
  std::vector<TetrachoricFallBack> fall_backs;
  bool last_fell_back = false;
  bool complete = false;
};

// The pairs of the tetrachoric matrix of the p columns of `item_data` (n
// by p, read only) from the `items` of FindTetrachoricItems, into `result`
// (its `items` is left as it is). With `options.correct_for_guessing`,
// `guessing` holds the p chances. `options.median_split` is not looked at
// here: `item_data` holds the scores as they are to be counted.
//
// The tables and iterations run on ThreadCount() threads while `progress`
// shows the pair reached ("+" line from column 30); the fall-backs, the
// stops and the last pair's line then follow in pair order. A stop (a
// proportion of 1, through G01FAF; a G01HAF failure; a stop of a fall-back)
// leaves `result` with the fall-backs up to it. Writes no file and no
// report. A variable's proportion of 0 or 1 shows the soft G01FAF message on
// the console (it is followed by the stop at its first pair).
void EstimateTetrachoricPairs(const Matrix& item_data,
                              int n,
                              const TetrachoricItems& items,
                              const TetrachoricOptions& options,
                              const std::vector<double>& guessing,
                              Progress& progress,
                              TetrachoricResult& result);

// The "+" console line of the iteration at the pair (i, j), 0-based:
// "Computing tetrachoric correlation for varables " I3 " " I3 from column 30.
void ShowTetrachoricPair(int i, int j, Progress& progress);

// Both steps: the quiet estimator for a caller outside the run (a binding,
// parallel analysis). Splits a copy of `item_data` at the medians first when
// `options.median_split` asks for it. Stops as the two steps do.
//
// It touches no global state but the console of the stops and of soft
// failures, and may be called from several threads at once, each call then
// spreading its own pairs over ThreadCount() threads of its own; a caller
// running many side by side holds each at one thread with ScopedThreadCount
// (kernels/parallel.h). The result does not depend on the count.
TetrachoricResult EstimateTetrachorics(const Matrix& item_data,
                                       int n,
                                       int p,
                                       const TetrachoricOptions& options,
                                       const std::vector<double>& guessing,
                                       Progress& progress);

}  // namespace vq

#endif  // VELQUORIN_CORRELATION_TETRACHORIC_H_
