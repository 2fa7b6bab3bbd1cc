#include "correlation/polychoric.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>

#include "correlation/bit_columns.h"
#include "correlation/pair_order.h"
#include "correlation/variable_stop.h"
#include "frame/console.h"
#include "kernels/bivariate_normal.h"
#include "kernels/failure.h"
#include "kernels/normal.h"
#include "kernels/parallel.h"
#include "kernels/rank_sort.h"
#include "text/edit_descriptors.h"

namespace vq {
namespace {

// Marks a row of the category table that holds no category.
constexpr double kNoCategory = 99.0;
// Thresholds that stand for minus and plus infinity.
constexpr double kLowestThreshold = -999999.0;
constexpr double kHighestThreshold = 999999.0;
// The search ends once its step falls below the single-precision 1E-6.
constexpr double kSmallestStep = static_cast<double>(0.000001f);
// Start of the best log likelihood; an L at or below it never wins.
constexpr double kNoLikelihood = -999999.0;
// Distinct scores looked for before a variable is known to have too many
// categories: 14, a 99 on top, and one more.
constexpr int kDistinctLimit = kCategoryRows + 1;
// Points of the search: 41 in the sweep and 5 in each of at most 29 passes.
constexpr int kSearchPoints = 41 + 29 * 5;
// Words of a bit column counted at a time for a pair's table: 2 KiB of each
// column, so that the columns of two five-category variables (16 KiB) stay
// in the first-level cache while each cell of the block is counted.
constexpr int kTableBlockWords = 256;
// Pairs handed to a thread at a time: a pair costs a few hundred
// microseconds at least, so a chunk is short enough for the console to move.
constexpr int kPairChunk = 16;

// What the scan of one variable finds, before anything is decided in order:
// its distinct scores in ascending order (at most kDistinctLimit; that many
// means as many or more) and K, once a 99 on top is left out.
struct VariableScan {
  double distinct[kDistinctLimit];
  int found = 0;
  int k = 0;
};

// Scores that are whole numbers from 0 to kLargestWhole are handled through
// tables indexed by the number: the usual item scores never need a search.
constexpr int kLargestWhole = 255;

// The table index of a whole score from 0 to kLargestWhole, else -1. A
// negative zero is not taken (see ScanDistinctScores).
int WholeIndex(double value) {
  if (!(value >= 0.0 && value <= kLargestWhole)) return -1;
  const int whole = static_cast<int>(value);
  if (whole != value || (whole == 0 && std::signbit(value))) return -1;
  return whole;
}

// The distinct scores of `column` in ascending order, by exact comparison,
// as sorting and dropping repeats would give them. Whole scores are marked
// in a bit table; other values are kept in a small sorted list while fewer
// than kDistinctLimit are found. A NaN or a negative zero (whose place
// among equal zeros the sort decides) sends the column to the sort itself.
void ScanDistinctScores(const double* column, int n, VariableScan& scan) {
  std::uint64_t whole_seen[(kLargestWhole + 64) / 64] = {};
  double others[kDistinctLimit];
  int other_count = 0;
  bool sort_instead = false;
  for (int subject = 0; subject < n; ++subject) {
    const double value = column[subject];
    const int whole = WholeIndex(value);
    if (whole >= 0) {
      whole_seen[whole / 64] |= std::uint64_t{1} << (whole % 64);
      continue;
    }
    if (std::isnan(value) || (value == 0.0 && std::signbit(value))) {
      sort_instead = true;
      break;
    }
    double* place = std::lower_bound(others, others + other_count, value);
    if (place != others + other_count && *place == value) continue;
    if (other_count == kDistinctLimit) continue;  // too many already
    std::copy_backward(place, others + other_count, others + other_count + 1);
    *place = value;
    ++other_count;
  }

  double* distinct = scan.distinct;
  int found = 0;
  if (!sort_instead) {
    // Merge the whole scores with the others, in ascending order, up to
    // kDistinctLimit values (as many means as many or more).
    int other = 0;
    for (int whole = 0; whole <= kLargestWhole + 1 && found < kDistinctLimit; ++whole) {
      const bool marked =
          whole <= kLargestWhole && (whole_seen[whole / 64] >> (whole % 64) & 1) != 0;
      if (!marked && whole <= kLargestWhole) continue;
      const double value = whole <= kLargestWhole ? whole : HUGE_VAL;
      while (other < other_count && others[other] < value && found < kDistinctLimit) {
        distinct[found++] = others[other++];
      }
      if (marked && found < kDistinctLimit) distinct[found++] = value;
    }
    // Any of the others beyond the largest whole score (including +inf).
    while (other < other_count && found < kDistinctLimit) distinct[found++] = others[other++];
  } else {
    std::vector<double> sorted(column, column + n);
    int ifail = kIfailQuiet;
    M01CAF(sorted.data(), 1, n, 'A', ifail);
    for (int subject = 0; subject < n && found < kDistinctLimit; ++subject) {
      if (subject == 0 || sorted[subject] != sorted[subject - 1])
        distinct[found++] = sorted[subject];
    }
  }
  scan.found = found;
  // A score of 99 in the highest place is no category: its subjects fall
  // into no cell and no count, while they still count in n.
  int k = found;
  if (k > 0 && k < kDistinctLimit && distinct[k - 1] == kNoCategory) --k;
  scan.k = k;
}

// Category scores, counts and bit columns of a variable whose scan
// found 1 to 14 categories.
void CodeVariable(const Matrix& item_data,
                  int n,
                  int variable,
                  const VariableScan& scan,
                  PolychoricCategories& categories) {
  const int k = scan.k;
  const double* distinct = scan.distinct;
  for (int row = 1; row <= k; ++row) categories.scores(row, variable) = distinct[row - 1];
  // The category of each whole score (0: none).
  unsigned char whole_category[kLargestWhole + 1] = {};
  for (int row = 1; row <= k; ++row) {
    const int whole = WholeIndex(distinct[row - 1]);
    if (whole >= 0) whole_category[whole] = static_cast<unsigned char>(row);
  }
  const double* column = item_data.Column(variable);
  std::uint64_t* bits =
      categories.bits.data() + categories.first_bit_column[variable] * categories.words;
  std::int64_t tally[kCategoryRows + 1] = {};
  // 64 subjects at a time, each category's word built up before it is
  // stored.
  for (int first = 0; first < n; first += 64) {
    std::uint64_t word[kCategoryRows + 1] = {};
    const int last = std::min(n, first + 64);
    for (int subject = first; subject < last; ++subject) {
      const double value = column[subject];
      const int whole = WholeIndex(value);
      int category = 0;
      if (whole >= 0) {
        category = whole_category[whole];
      } else {
        const double* place = std::lower_bound(distinct, distinct + k, value);
        if (place != distinct + k && *place == value) {
          category = static_cast<int>(place - distinct) + 1;
        }
      }
      ++tally[category];
      word[category] |= std::uint64_t{1} << (subject - first);
    }
    for (int category = 1; category <= k; ++category) {
      bits[static_cast<std::int64_t>(category - 1) * categories.words + first / 64] =
          word[category];
    }
  }
  for (int row = 1; row <= k; ++row) {
    categories.counts(row, variable) = static_cast<double>(tally[row]);
    categories.column_count[categories.first_bit_column[variable] + row - 1] = tally[row];
  }
  categories.all_coded[variable] = tally[0] == 0 ? 1 : 0;
}

// The orthant probabilities of a pair's grid that lie on its border (a
// threshold of +-999999 on either side). With the other threshold finite or
// infinite and |r| at most 0.9 they depend on r only through whether it is
// below, at or above 0 (the limits of G01HAF past the underflow of the
// density), so each is computed once per pair for each of the three cases.
// Only thresholds whose first and last rows are exactly -999999 and
// +999999 (as the categories step makes them) are taken this way; for any
// other grid `cached` is false and every corner is computed.
struct BorderCorners {
  bool cached = false;
  double value[3][kCategoryRows + 1][kCategoryRows + 1];
};

int SignCase(double r) { return r < 0.0 ? 0 : (r == 0.0 ? 1 : 2); }

// Fills the border corners of a k_j + 1 by k_i + 1 grid; false when a
// G01HAF call failed.
bool FillBorderCorners(
    int k_i, int k_j, const double* t, const double* u, int ifail, BorderCorners& border) {
  border.cached = t[0] == kLowestThreshold && t[k_j] == kHighestThreshold &&
                  u[0] == kLowestThreshold && u[k_i] == kHighestThreshold;
  if (!border.cached) return true;
  const double representative[3] = {-0.5, 0.0, 0.5};
  bool ok = true;
  for (int sign_case = 0; sign_case < 3; ++sign_case) {
    const double r = representative[sign_case];
    for (int a = 0; a <= k_j; ++a) {
      for (int b = 0; b <= k_i; ++b) {
        if (a != 0 && a != k_j && b != 0 && b != k_i) continue;
        int status = ifail;
        border.value[sign_case][a][b] = G01HAF(t[a], u[b], r, status);
        ok = ok && status == 0;
      }
    }
  }
  return ok;
}

// The inner corners of a pair's grid (rows 1 .. k_j - 1 by columns 1 ..
// k_i - 1, row by row), whose probabilities change with every r, set up
// once per pair.
void AddInnerCorners(
    int k_i, int k_j, const double* t, const double* u, BivariateNormalCorners& inner) {
  inner.Clear();
  for (int a = 1; a < k_j; ++a) {
    for (int b = 1; b < k_i; ++b) inner.Add(t[a], u[b]);
  }
}

// The log likelihood of the pair's counts at r, as PolychoricLikelihood
// gives it, taking the border corners from `border` and the inner ones from
// `inner` (all corners by G01HAF where the border is not cached), and
// skipping empty cells (a 0 count adds an exact zero). `failed` is set when
// G01HAF fails.
double GridLikelihood(double r,
                      int k_i,
                      int k_j,
                      const double* t,
                      const double* u,
                      const BorderCorners& border,
                      const BivariateNormalCorners& inner,
                      const PolychoricTable& table,
                      int ifail,
                      bool strict_cells,
                      bool& failed) {
  double corner[kCategoryRows + 1][kCategoryRows + 1];
  if (border.cached) {
    const int sign_case = SignCase(r);
    double inner_value[BivariateNormalCorners::kCapacity];
    int status = ifail;
    inner.Evaluate(r, status, inner_value);
    if (status != 0) failed = true;
    int next = 0;
    for (int a = 0; a <= k_j; ++a) {
      const bool border_row = a == 0 || a == k_j;
      for (int b = 0; b <= k_i; ++b) {
        corner[a][b] = (border_row || b == 0 || b == k_i) ? border.value[sign_case][a][b]
                                                          : inner_value[next++];
      }
    }
  } else {
    for (int a = 0; a <= k_j; ++a) {
      for (int b = 0; b <= k_i; ++b) {
        int status = ifail;
        corner[a][b] = G01HAF(t[a], u[b], r, status);
        if (status != 0) failed = true;
      }
    }
  }
  double likelihood = 0.0;
  for (int a = 1; a <= k_j; ++a) {
    for (int b = 1; b <= k_i; ++b) {
      if (table.counts[a][b] == 0) continue;
      const double cell = corner[a][b] - corner[a - 1][b] - corner[a][b - 1] + corner[a - 1][b - 1];
      if (cell > 0.0) {
        likelihood += table.counts[a][b] * std::log(cell);
      } else if (strict_cells) {
        return -std::numeric_limits<double>::infinity();
      }
    }
  }
  return likelihood;
}

}  // namespace

void ShowPolychoricPair(int i, int j, Progress& progress) {
  progress.Overwrite(29,
                     " Computing polychoric correlations for variables: " + FormatI(i + 1, 3) +
                         " " + FormatI(j + 1, 3));
}

void FindPolychoricCategories(const Matrix& item_data,
                              int n,
                              int p,
                              PolychoricCategories& categories) {
  categories.scores.Reset(kCategoryRows + 1, p, kNoCategory);
  categories.category_count.assign(p, 0);
  categories.counts.Reset(kCategoryRows + 1, p, 0.0);
  categories.thresholds.Reset(kCategoryRows, p, 0.0);
  categories.words = BitColumnWords(n);

  // The scans are independent, so they run on all threads; nothing is
  // decided until the walk in variable order below.
  std::vector<VariableScan> scans(p);
  ParallelChunks(
      p,
      4,
      [&](std::int64_t begin, std::int64_t end) {
        for (std::int64_t variable = begin; variable < end; ++variable) {
          ScanDistinctScores(item_data.Column(static_cast<int>(variable)), n, scans[variable]);
        }
      },
      [](std::int64_t) {});
  categories.first_bit_column.assign(static_cast<std::size_t>(p) + 1, 0);
  for (int variable = 0; variable < p; ++variable) {
    const int k = scans[variable].k;
    const int columns = (k >= 1 && k <= kMaxCategories) ? k : 0;
    categories.first_bit_column[variable + 1] = categories.first_bit_column[variable] + columns;
  }
  categories.bits.assign(
      static_cast<std::size_t>(categories.first_bit_column[p]) * categories.words, 0);
  categories.column_count.assign(static_cast<std::size_t>(categories.first_bit_column[p]), 0);
  categories.all_coded.assign(static_cast<std::size_t>(p), 0);
  ParallelChunks(
      p,
      4,
      [&](std::int64_t begin, std::int64_t end) {
        for (std::int64_t variable = begin; variable < end; ++variable) {
          const VariableScan& scan = scans[variable];
          if (scan.k >= 1 && scan.k <= kMaxCategories) {
            CodeVariable(item_data, n, static_cast<int>(variable), scan, categories);
          }
        }
      },
      [](std::int64_t) {});

  // In variable order: the stops, then the running sums and thresholds.
  for (int variable = 0; variable < p; ++variable) {
    const int k = scans[variable].k;
    if (k == 0) StopOnVariable(variable + 1, " HAS NO SCORE OTHER THAN 99");
    if (k > kMaxCategories) StopOnVariable(variable + 1, " HAS MORE THAN 14 CATEGORIES");
    categories.category_count[variable] = k;
    for (int row = 2; row <= k - 1; ++row) {
      categories.counts(row, variable) += categories.counts(row - 1, variable);
    }
    categories.thresholds(0, variable) = kLowestThreshold;
    categories.thresholds(k, variable) = kHighestThreshold;
    for (int row = 1; row <= k - 1; ++row) {
      int hard = kIfailHard;
      categories.thresholds(row, variable) =
          G01FAF("Lower-tail", categories.counts(row, variable) / n, hard);
    }
  }
}

double PolychoricLikelihood(
    double r, int k_i, int k_j, const double* t, const double* u, PolychoricTable& table) {
  // Each orthant probability of the grid is computed once; a cell combines
  // its four corners in the fixed order (first - second - third + fourth),
  // which gives the same double as four separate calls per cell.
  double corner[kCategoryRows + 1][kCategoryRows + 1];
  for (int a = 0; a <= k_j; ++a) {
    for (int b = 0; b <= k_i; ++b) {
      int hard = kIfailHard;
      corner[a][b] = G01HAF(t[a], u[b], r, hard);
    }
  }
  double likelihood = 0.0;
  for (int a = 1; a <= k_j; ++a) {
    for (int b = 1; b <= k_i; ++b) {
      const double cell = corner[a][b] - corner[a - 1][b] - corner[a][b - 1] + corner[a - 1][b - 1];
      table.probabilities[a][b] = cell;
      if (cell > 0.0) likelihood += table.counts[a][b] * std::log(cell);
    }
  }
  return likelihood;
}

void CountPolychoricTable(const PolychoricCategories& categories,
                          int i,
                          int j,
                          PolychoricTable& table) {
  const int words = categories.words;
  const int k_i = categories.category_count[i];
  const int k_j = categories.category_count[j];
  const std::int64_t first_i = categories.first_bit_column[i];
  const std::int64_t first_j = categories.first_bit_column[j];
  const std::uint64_t* bits_i = categories.bits.data() + first_i * words;
  const std::uint64_t* bits_j = categories.bits.data() + first_j * words;
  // The counts are whole numbers, so the table is the same whichever cells
  // are counted and whichever are worked out from the others.
  const bool derive_last = categories.all_coded[i] != 0 && categories.all_coded[j] != 0;
  const int rows = derive_last ? k_j - 1 : k_j;
  const int cols = derive_last ? k_i - 1 : k_i;
  std::int64_t sums[kCategoryRows + 1][kCategoryRows + 1];
  for (int a = 1; a <= rows; ++a) {
    for (int b = 1; b <= cols; ++b) sums[a][b] = 0;
  }
  for (int begin = 0; begin < words; begin += kTableBlockWords) {
    const int length = std::min(kTableBlockWords, words - begin);
    int a = 1;
    if (cols == 4) {
      // Four columns of i to count (five categories each side, all coded,
      // is the usual case): two rows of four cells at a time, each word of
      // the six columns loaded once.
      const std::uint64_t* columns_i[4];
      for (int b = 1; b <= 4; ++b) {
        columns_i[b - 1] = bits_i + static_cast<std::int64_t>(b - 1) * words + begin;
      }
      for (; a + 1 <= rows; a += 2) {
        const std::uint64_t* columns_j[2] = {
            bits_j + static_cast<std::int64_t>(a - 1) * words + begin,
            bits_j + static_cast<std::int64_t>(a) * words + begin};
        std::int64_t two_rows[2][4] = {};
        CountTwoByFour(columns_j, columns_i, length, two_rows);
        for (int b = 1; b <= 4; ++b) {
          sums[a][b] += two_rows[0][b - 1];
          sums[a + 1][b] += two_rows[1][b - 1];
        }
      }
    }
    for (; a <= rows; ++a) {
      const std::uint64_t* column_j = bits_j + static_cast<std::int64_t>(a - 1) * words + begin;
      for (int b = 1; b <= cols; ++b) {
        const std::uint64_t* column_i = bits_i + static_cast<std::int64_t>(b - 1) * words + begin;
        sums[a][b] += CountInBoth(column_j, column_i, length);
      }
    }
  }
  for (int a = 1; a <= rows; ++a) {
    for (int b = 1; b <= cols; ++b) table.counts[a][b] = static_cast<int>(sums[a][b]);
  }
  if (!derive_last) return;
  // Every subject of category a of j is in some category of i, and every
  // subject of category b of i in some category of j.
  for (int a = 1; a < k_j; ++a) {
    std::int64_t rest = categories.column_count[first_j + a - 1];
    for (int b = 1; b < k_i; ++b) rest -= table.counts[a][b];
    table.counts[a][k_i] = static_cast<int>(rest);
  }
  for (int b = 1; b <= k_i; ++b) {
    std::int64_t rest = categories.column_count[first_i + b - 1];
    for (int a = 1; a < k_j; ++a) rest -= table.counts[a][b];
    table.counts[k_j][b] = static_cast<int>(rest);
  }
}

PolychoricEstimate SearchPolychoricPair(const PolychoricTable& table,
                                        int k_i,
                                        int k_j,
                                        const double* thresholds_i,
                                        const double* thresholds_j,
                                        int ifail,
                                        const PolychoricSearch& search) {
  PolychoricEstimate estimate;
  BorderCorners border;
  estimate.failed = !FillBorderCorners(k_i, k_j, thresholds_j, thresholds_i, ifail, border);
  BivariateNormalCorners inner;
  if (border.cached) AddInnerCorners(k_i, k_j, thresholds_j, thresholds_i, inner);

  // A sweep of 41 points from the lower bound up, then passes of 5 points,
  // each half its predecessor's step apart, from half a step below the best.
  double step = search.first_step;
  double r = search.start;
  double best_likelihood =
      search.floor_likelihood ? kNoLikelihood : -std::numeric_limits<double>::infinity();
  double best_r = 0.0;
  int evaluations = 41;
  // The points already evaluated. A point met again (the clipped bound at
  // the end of the sweep, a best point that a later pass steps onto once
  // more) has the same L, which cannot be strictly above the best L, so it
  // is not evaluated again.
  double seen[kSearchPoints];
  int seen_count = 0;
  for (int pass = 1; pass <= 30; ++pass) {
    for (int evaluation = 0; evaluation < evaluations; ++evaluation) {
      r = r + step;
      if (r >= search.upper_bound) r = search.upper_bound;
      if (r <= search.lower_bound) r = search.lower_bound;
      if (std::find(seen, seen + seen_count, r) != seen + seen_count) continue;
      if (seen_count < kSearchPoints) seen[seen_count++] = r;
      const double likelihood = GridLikelihood(r,
                                               k_i,
                                               k_j,
                                               thresholds_j,
                                               thresholds_i,
                                               border,
                                               inner,
                                               table,
                                               ifail,
                                               search.strict_cells,
                                               estimate.failed);
      // Strictly above: on a tie the earlier r stays.
      if (likelihood > best_likelihood) {
        best_likelihood = likelihood;
        best_r = r;
      }
    }
    if (step < kSmallestStep) break;
    r = best_r - step;
    step = step / 2.0;
    evaluations = 5;
  }
  estimate.points = seen_count;
  const int grid_corners = (k_j + 1) * (k_i + 1);
  const int inner_corners = (k_j - 1) * (k_i - 1);
  estimate.evaluations = border.cached
                             ? 3 * (grid_corners - inner_corners) + seen_count * inner_corners
                             : seen_count * grid_corners;
  estimate.r = best_r;
  estimate.at_boundary = best_r == search.upper_bound || best_r == search.lower_bound;
  return estimate;
}

void EstimatePolychorics(const Matrix& item_data,
                         int n,
                         int p,
                         const PolychoricSearch& search,
                         Progress& progress,
                         PolychoricResult& result) {
  result.complete = false;
  result.boundary.clear();
  PolychoricCategories categories;
  FindPolychoricCategories(item_data, n, p, categories);
  result.category_count = categories.category_count;
  result.thresholds = categories.thresholds;
  Matrix& correlations = result.correlations;
  if (correlations.rows != p || correlations.cols != p) correlations.Reset(p, p);

  // The pairs, each into its own slot, under the quiet indicator: a failure
  // is only noted here and dealt with below, in order.
  const std::int64_t pairs = PairCount(p);
  std::vector<PolychoricEstimate> estimates(static_cast<std::size_t>(pairs));
  ParallelChunks(
      pairs,
      kPairChunk,
      [&](std::int64_t begin, std::int64_t end) {
        PairPosition pair = PairAt(begin);
        PolychoricTable table;
        for (std::int64_t q = begin; q < end; ++q, pair = NextPair(pair)) {
          CountPolychoricTable(categories, pair.i, pair.j, table);
          estimates[q] = SearchPolychoricPair(table,
                                              categories.category_count[pair.i],
                                              categories.category_count[pair.j],
                                              categories.thresholds.Column(pair.i),
                                              categories.thresholds.Column(pair.j),
                                              kIfailQuiet,
                                              search);
        }
      },
      [&](std::int64_t next) {
        const PairPosition pair = PairAt(next);
        ShowPolychoricPair(pair.i, pair.j, progress);
      });

  FinishPolychoricMatrix(categories, p, search, progress, estimates, result);
}

void FinishPolychoricMatrix(const PolychoricCategories& categories,
                            int p,
                            const PolychoricSearch& search,
                            Progress& progress,
                            std::vector<PolychoricEstimate>& estimates,
                            PolychoricResult& result) {
  Matrix& correlations = result.correlations;
  const std::int64_t pairs = PairCount(p);
  // In pair order: a failed search runs again under the hard indicator,
  // behind its console line, to report and stop where it would have; the
  // pairs on a bound are noted; the last pair's line stays.
  std::int64_t q = 0;
  for (int i = 1; i < p; ++i) {
    for (int j = 0; j < i; ++j, ++q) {
      PolychoricEstimate& estimate = estimates[q];
      if (estimate.failed) {
        ShowPolychoricPair(i, j, progress);
        PolychoricTable table;
        CountPolychoricTable(categories, i, j, table);
        estimate = SearchPolychoricPair(table,
                                        categories.category_count[i],
                                        categories.category_count[j],
                                        categories.thresholds.Column(i),
                                        categories.thresholds.Column(j),
                                        kIfailHard,
                                        search);
      }
      if (q == pairs - 1) ShowPolychoricPair(i, j, progress);
      if (estimate.at_boundary) result.boundary.push_back({i, j});
      correlations(i, j) = estimate.r;
    }
  }
  for (int i = 0; i < p; ++i) {
    correlations(i, i) = 1.0;
    for (int j = 0; j < i; ++j) correlations(j, i) = correlations(i, j);
  }
  result.complete = true;
}

PolychoricResult EstimatePolychorics(
    const Matrix& item_data, int n, int p, const PolychoricSearch& search, Progress& progress) {
  PolychoricResult result;
  EstimatePolychorics(item_data, n, p, search, progress, result);
  return result;
}

}  // namespace vq
