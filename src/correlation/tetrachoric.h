// Tetrachoric correlations of dichotomous item scores, by a moment fit pair
// by pair: the thresholds come from the item proportions, and r is the value
// at which the bivariate normal lower-orthant probability at the thresholds
// equals the pair's joint proportion. The root is found by a modified Newton
// iteration from Divgi's closed-form start, with the polychoric search as
// the fall-back for a pair on which the iteration does not settle. Serves
// the codings "DI", "DC" (tables corrected for guessing) and "CD".
//
// Besides the matrix the estimator always leaves three files beside the
// command file: the bias-corrected tables with both correlations (frq), the
// item proportions (dff) and the standard errors (ser).
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

#include <string>
#include <string_view>
#include <vector>

#include "frame/output_file.h"
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

// The text of one table of the frq file, each record ending in a newline
// (the arguments of WriteFrequencyTable).
std::string FrequencyTableText(int j,
                               int i,
                               double a,
                               double b,
                               double c,
                               double d,
                               double r,
                               double standard_error,
                               double phi);

// One table of the frq file: variable numbers j then i (1-based), the
// frequencies a = n c10, b = n c11 (row "1") and c = n c00, d = n c01 (row
// "0"), the tetrachoric r with its standard error, and phi.
void WriteFrequencyTable(OutputFile& frq,
                         int j,
                         int i,
                         double a,
                         double b,
                         double c,
                         double d,
                         double r,
                         double standard_error,
                         double phi);

// The three files the estimator writes: frq (stream 23), dff (25), ser (24).
struct TetrachoricFiles {
  OutputFile frq;
  OutputFile dff;
  OutputFile ser;
};

// The tetrachoric correlation matrix of the p columns of `item_data` (n by
// p, read only). `result` is reshaped to p by p, both triangles and a unit
// diagonal. `guessing_flag` 1 ("DC") corrects the tables with `guessing`
// (p chances). The tables and iterations of the pairs run on ThreadCount()
// threads while the "+" console line shows the pair reached; the fall-backs,
// warnings, stops and the last pair's line then follow in pair order. Writes the frq, dff and ser
// files named from `run_stem` and `run_directory`, each opened at its step and closed at the end
// (the dff file is complete once the proportions are written); the report only gets the fall-back's
// boundary warnings. Stops the run on a variable with no keyed subject ("FATAL ERROR: VARIABLE" I4
// " HAS NO VARIANCE"); a proportion of 1 stops through G01FAF.
void ComputeTetrachorics(const Matrix& item_data,
                         int n,
                         int p,
                         Matrix& result,
                         OutputFile& report,
                         std::string_view run_stem,
                         std::string_view run_directory,
                         int guessing_flag,
                         const std::vector<double>& guessing);

// The same with the files given: a file of `files` that is already open
// (tests open them in memory) is written as it is; the others are opened
// beside the command file at their step. All three are closed at the end.
void ComputeTetrachorics(const Matrix& item_data,
                         int n,
                         int p,
                         Matrix& result,
                         OutputFile& report,
                         TetrachoricFiles& files,
                         std::string_view run_stem,
                         std::string_view run_directory,
                         int guessing_flag,
                         const std::vector<double>& guessing);

}  // namespace vq

#endif  // VELQUORIN_CORRELATION_TETRACHORIC_H_
