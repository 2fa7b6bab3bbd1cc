// Polychoric correlations of ordered item scores: two-step maximum
// likelihood. The thresholds of each variable come once from its cumulative
// proportions; each pair's correlation is then the value in [-0.9, 0.9] that
// maximises the multinomial log likelihood of the pair's contingency table
// under the bivariate normal model, found by a grid sweep and interval
// halving. Serves the coding "OR" and the tetrachoric estimator's fall-back
// for a single pair.
//
// Each pair's estimate is a pure function of its two variables' category
// bit columns and thresholds: only that pair's table exists while it is
// worked on, and no table is kept for all pairs. The pairs are therefore
// spread over threads, each result going into its own slot; the console
// line, the boundary pairs and any stop are then produced in pair order by
// the calling thread, so the output is the same for every thread count.
#ifndef VELQUORIN_CORRELATION_POLYCHORIC_H_
#define VELQUORIN_CORRELATION_POLYCHORIC_H_

#include <cstdint>
#include <vector>

#include "frame/progress.h"
#include "kernels/matrix.h"

namespace vq {

// Most categories a variable may have; the threshold table has rows 0 to 14.
constexpr int kMaxCategories = 14;
// Rows of the category tables (one more than kMaxCategories, so that a
// score of 99 in the highest place still has its row).
constexpr int kCategoryRows = 15;

// The contingency table of one pair and its model cell probabilities. The
// first index is the category of the earlier variable j, the second that of
// the later variable i, both from 1 (row and column 0 are unused).
struct PolychoricTable {
  int counts[kCategoryRows + 1][kCategoryRows + 1] = {};
  double probabilities[kCategoryRows + 1][kCategoryRows + 1] = {};
};

// What the categories step learns of the variables.
//   scores(row, v):     distinct scores of variable v in ascending order,
//                       rows 1 to 15; 99.0 marks a row without a category.
//   category_count[v]:  K, the number of categories.
//   counts(row, v):     subjects per category, then running sums in rows
//                       2 to K-1.
//   thresholds(t, v):   t = 0..K; row 0 is -999999, row K +999999.
//   bits:               one bit column (bit_columns.h) of `words` words per
//                       category: the column of category c (1..K) of
//                       variable v starts at word
//                       (first_bit_column[v] + c - 1) * words.
//   column_count[first_bit_column[v] + c - 1]: subjects in category c of v.
//   all_coded[v]:       1 when every subject is in a category of v (no 99
//                       in the highest place), else 0.
struct PolychoricCategories {
  Matrix scores;
  std::vector<int> category_count;
  Matrix counts;
  Matrix thresholds;
  int words = 0;
  std::vector<std::int64_t> first_bit_column;
  std::vector<std::uint64_t> bits;
  std::vector<std::int64_t> column_count;
  std::vector<unsigned char> all_coded;
};

// Categories, counts, bit columns and thresholds of the p columns of
// `item_data` (n by p). The variables are scanned on ThreadCount() threads;
// then, in variable order, the run stops ("FATAL ERROR: VARIABLE" I4 ...) at
// the first variable with more than 14 categories or with no score other
// than 99, and the thresholds come from G01FAF with the hard indicator.
void FindPolychoricCategories(const Matrix& item_data,
                              int n,
                              int p,
                              PolychoricCategories& categories);

// Fills `table.probabilities` for categories 1..k_j by 1..k_i at
// correlation r and returns the log likelihood of `table.counts` (without
// the multinomial constant; cells whose probability is not above 0 are
// skipped). `t` holds the thresholds of variable j (rows 0..k_j), `u` those
// of variable i (rows 0..k_i). Bivariate probabilities from G01HAF, hard.
double PolychoricLikelihood(
    double r, int k_i, int k_j, const double* t, const double* u, PolychoricTable& table);

// The table of the pair (i, j) (0-based variables) from the bit columns of
// `categories`: cell (a, b) counts the subjects in category a of j and b of
// i. Cells outside 1..K are left as they were. The columns are read a block
// of subjects at a time, a block that stays in the first-level cache while
// all its cells are counted; where every subject is in a category of both
// variables, the last row and column are the category counts less the
// other cells.
void CountPolychoricTable(const PolychoricCategories& categories,
                          int i,
                          int j,
                          PolychoricTable& table);

// The search of a pair's r: a sweep of 41 points from `start` + `first_step`
// up, each clipped to [lower_bound, upper_bound], then passes of 5 points at
// half the step before. The defaults are the run's.
//
// The run starts each search from a best log likelihood of -999999, so a
// pair whose likelihood is below that everywhere (a large N with many
// categories) keeps r = 0. `floor_likelihood` false starts from minus
// infinity instead, so that the best point of the grid always wins.
//
// The run's likelihood skips a cell whose model probability is not above 0
// even where the cell holds subjects; near r = +-1 (beyond the run's bounds)
// such cells appear and the skipped terms would make a wrong r look best.
// `strict_cells` makes a cell with subjects and no probability give a log
// likelihood of minus infinity. The bindings set both for a search wider
// than the run's; the run never does.
struct PolychoricSearch {
  double lower_bound = -0.9;
  double upper_bound = 0.9;
  double start = -0.95;
  double first_step = 0.05;
  bool floor_likelihood = true;
  bool strict_cells = false;
};

// The search's result for one pair. `failed`: a G01HAF call under the quiet
// indicator failed, so `r` is not to be used (the caller searches again
// with the hard indicator, which reports and stops). `points`: the values
// of r whose likelihood was computed; `evaluations`: the G01HAF calls the
// search made (what a profile of the estimator counts; nothing reads them
// in a run).
struct PolychoricEstimate {
  double r = 0.0;
  bool at_boundary = false;
  bool failed = false;
  int points = 0;
  int evaluations = 0;
};

// The grid sweep and interval halving of one pair on its table (`counts`
// read; `probabilities` left as they are) with k_i, k_j categories and
// thresholds of variables i and j (rows 0..K). Bivariate probabilities are
// G01HAF's under `ifail` (kIfailHard or kIfailQuiet): the inner points of
// the grid once per value of r, as one set (BivariateNormalCorners, the same
// doubles), and those on the border of -999999 and +999999 once per pair.
// `at_boundary`: r is one of the bounds of `search`. A pure function of its
// arguments, safe to run on several threads at once.
PolychoricEstimate SearchPolychoricPair(const PolychoricTable& table,
                                        int k_i,
                                        int k_j,
                                        const double* thresholds_i,
                                        const double* thresholds_j,
                                        int ifail,
                                        const PolychoricSearch& search = {});

// The "+" console line of the search at the pair (i, j), 0-based: " Computing
// polychoric correlations for variables: " I3 " " I3 from column 29.
void ShowPolychoricPair(int i, int j, Progress& progress);

// A pair (i > j, 0-based) whose estimate lies on a bound of the search.
struct BoundaryPair {
  int i = 0;
  int j = 0;
};

// Everything the polychoric estimator computes.
//   correlations:    p by p, both triangles, unit diagonal.
//   category_count:  K of each variable; thresholds(t, v) as in
//                    PolychoricCategories (rows 0..K, +-999999 at the ends).
//   boundary:        the pairs on a bound, in pair order, as far as the
//                    pairs got (the report warns of each, up to a stop).
//   complete:        every pair is estimated.
struct PolychoricResult {
  Matrix correlations;
  std::vector<int> category_count;
  Matrix thresholds;
  std::vector<BoundaryPair> boundary;
  bool complete = false;
};

// The pass of EstimatePolychorics after the pairs' quiet searches
// (`estimates`, pair order, one per pair of the p variables): in pair order a
// failed search runs again under the hard indicator behind its console line,
// so that a stop comes where it comes with one thread; the pairs on a bound
// go to `result.boundary`; the estimates fill `result.correlations` (p by
// p, already sized), with 1 on the diagonal; `result.complete` is set.
void FinishPolychoricMatrix(const PolychoricCategories& categories,
                            int p,
                            const PolychoricSearch& search,
                            Progress& progress,
                            std::vector<PolychoricEstimate>& estimates,
                            PolychoricResult& result);

// The polychoric correlation matrix of the p columns of `item_data` (n by p,
// read only) into `result`. The pairs run on ThreadCount() threads while
// `progress` shows the pair reached ("+" line); a failed quiet search is
// run again under the hard indicator in pair order, so that a stop comes
// where it comes with one thread, and the line of the last pair stays. Stops
// as FindPolychoricCategories does; a stop leaves `result.boundary` filled
// up to it. Writes no file and no report.
//
// It touches no global state but the console of the stops, and may be
// called from several threads at once, each call then spreading its pairs
// over ThreadCount() threads of its own (ScopedThreadCount in
// kernels/parallel.h holds a calling thread's count, e.g. at 1); the result
// does not depend on the count.
void EstimatePolychorics(const Matrix& item_data,
                         int n,
                         int p,
                         const PolychoricSearch& search,
                         Progress& progress,
                         PolychoricResult& result);

// The same, returning the result: for a caller that has nothing to write
// at a stop.
PolychoricResult EstimatePolychorics(
    const Matrix& item_data, int n, int p, const PolychoricSearch& search, Progress& progress);

}  // namespace vq

#endif  // VELQUORIN_CORRELATION_POLYCHORIC_H_
