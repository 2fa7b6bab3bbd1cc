// The triplet test of underlying multivariate normality for dichotomous
// items (model "TRP"). Every triplet of variables gives a table of 8
// response patterns; a one-factor normal-ogive model (3 thresholds, 3
// loadings: one degree of freedom left) is fitted to it by minimising the
// likelihood ratio chi-square against the saturated table, with a Newton
// iteration on numerical derivatives over a fixed 40-node quadrature. A
// triplet at or above 6.635 (the 0.01 point of chi-square with one degree of
// freedom) is suspicious; the report counts, per variable, how often it
// stands in a suspicious triplet.
//
// Each triplet is a pure function of its three score columns and three
// correlations.
#ifndef VELQUORIN_CORRELATION_TRIPLET_H_
#define VELQUORIN_CORRELATION_TRIPLET_H_

#include <array>
#include <cstddef>
#include <string>
#include <vector>

#include "frame/progress.h"
#include "kernels/matrix.h"

namespace vq {

// Number of quadrature nodes and of response patterns of a triplet.
constexpr int kTripletNodes = 40;
constexpr int kTripletPatterns = 8;

// Parameters of the one-factor model of a triplet, in this order:
// b1, b2, b3 (intercepts), a1, a2, a3 (slopes).
using TripletParameters = std::array<double, 6>;
// Subjects per response pattern, N(k) for k = 1..8 (stored 0..7).
using TripletCounts = std::array<int, kTripletPatterns>;

// Node x(q) and weight w(q) of the quadrature, q from 1 to 40: single-
// precision values widened to double, symmetric about 0.
double TripletNode(int q);
double TripletWeight(int q);

// Score (0 or 1) of variable `item` (0, 1, 2) in pattern k (1..8): the
// patterns are 111, 101, 110, 100, 011, 001, 010, 000.
int TripletPattern(int k, int item);

// What NextKSubset remembers between calls.
struct KSubsetMemory {
  int n = 0;
  int k = 0;
};

// Replaces `subset` (k values from 1 to n, ascending) by the next k-subset
// in lexicographic order. With `flag` 0 (the first call), or when n or k
// differ from those in `memory`, it gives 1, 2, ..., k; `flag` is then set
// to 1. After the last subset it starts again from 1, 2, ..., k.
void NextKSubset(int n, int k, std::vector<int>& subset, int& flag, KSubsetMemory& memory);

// T = p(p-1)(p-2)/6, by multiplying and dividing in turn; 0 for p below 3.
long long TripletCount(int p);

// All triplets a < b < c (1-based) in lexicographic order, from NextKSubset.
std::vector<std::array<int, 3>> TripletList(int p);

// Model probabilities of the 8 patterns at `t` by the quadrature.
void TripletPatternProbabilities(const TripletParameters& t,
                                 std::array<double, kTripletPatterns>& probabilities);

// The likelihood ratio chi-square of the model at `t` against the table
// `counts` of n subjects. A model probability of exactly 0 is taken as 1/n.
double TripletFit(const TripletParameters& t, const TripletCounts& counts, int n);

// h = (t[k] + 0.01) - t[k] with the single-precision 0.01, so that the step
// is exactly representable next to the parameter (k from 0 to 5).
double TripletStepSize(const TripletParameters& t, int k);

// Central-difference gradient and forward-difference Hessian of TripletFit
// at `t` (34 fits), and the Hessian's inverse from InvertWithFlag.
// `inverse_hessian` is reshaped to 6 by 6.
void TripletDerivatives(const TripletParameters& t,
                        const TripletCounts& counts,
                        int n,
                        std::array<double, 6>& gradient,
                        Matrix& inverse_hessian);

// The inverse of the 6 by 6 `a` through DLINDS, with the error printing and
// stopping of the ERSET group switched off (before and after, so they stay
// off for the rest of the run). When `a` is not positive definite, element
// (0, 0) of `inverse` is set to 123456.0.
void InvertWithFlag(const Matrix& a, Matrix& inverse);

// Flag value of InvertWithFlag.
constexpr double kNotPositiveDefinite = 123456.0;

// Start loadings of a triplet from its three correlations (see the
// implementation for a correlation of exactly 0).
std::array<double, 3> TripletStartLoadings(double r12, double r13, double r23);

// The mark behind a statistic: "**" at or above 6.635, "* " at or above
// 3.841 (single-precision cut-offs, widened), else two blanks. A triplet
// marked "**" is suspicious.
std::string TripletMark(double statistic);

// The Newton iteration of a triplet from the parameters `start` on the
// table `counts` of n subjects; returns the statistic (the last F).
// Writes nothing and reads or writes no global setting, so that triplets
// may run on several threads at once; the errors of the ERSET group must
// already be switched off (InvertWithFlag's setting).
double TripletStatistic(const TripletParameters& start, const TripletCounts& counts, int n);

// The test of the triplet (a, b, c) (1-based variable numbers) with the
// score columns (n subjects; only scores of exactly 0.0 and 1.0 count) and
// the correlations r12 = R(a, b), r13 = R(a, c), r23 = R(b, c). Writes the
// triplet's line to `report` and returns the statistic. A variable whose
// proportion of 1.0 is 0 or 1 stops the run: through DNORIN while its
// errors still stop, otherwise with "FATAL ERROR: VARIABLE" I4 and a reason.
double TripletTest(int a,
                   int b,
                   int c,
                   const double* scores_a,
                   const double* scores_b,
                   const double* scores_c,
                   double r12,
                   double r13,
                   double r23,
                   int n);

// The report line of a triplet: a, b, c (I3 each), the statistic (F10.4)
// and its mark.
std::string TripletLine(int a, int b, int c, double statistic);

// What the test of all triplets computes.
//   triplets:     a < b < c (1-based), in lexicographic order (TripletList).
//   chi_squares:  the statistic of each triplet; only the first `tested`
//                 are computed (all of them once `complete`).
//   suspicious:   p: triplets at or above 6.635 holding the variable.
//   percentages:  p: `suspicious` in percent of the triplets holding it.
// `suspicious` and `percentages` are filled once `complete`.
struct TripletSummary {
  long long triplet_count = 0;
  std::vector<std::array<int, 3>> triplets;
  std::vector<double> chi_squares;
  std::size_t tested = 0;
  std::vector<int> suspicious;
  std::vector<double> percentages;
  bool complete = false;
};

// The test of every triplet of the p variables of `item_data` (n by p) with
// the correlations `correlations` (p by p), into `summary`, with the triplet
// reached shown by `progress` (an empty line, then a "+" line from column
// 30). The triplets are computed on ThreadCount() threads; the result does
// not depend on their number. A variable whose proportion of 1.0 is 0 or 1
// stops the run at the first triplet that holds it, as TripletTest does,
// leaving `summary` with the triplets before it. Writes no report; switches
// the errors of the ERSET group off for the rest of the process.
void TestAllTriplets(const Matrix& item_data,
                     int n,
                     int p,
                     const Matrix& correlations,
                     Progress& progress,
                     TripletSummary& summary);

// The same, returning the summary.
TripletSummary TestAllTriplets(
    const Matrix& item_data, int n, int p, const Matrix& correlations, Progress& progress);

}  // namespace vq

#endif  // VELQUORIN_CORRELATION_TRIPLET_H_
