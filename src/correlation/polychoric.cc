#include "correlation/polychoric.h"

#include <algorithm>
#include <cmath>
#include <string>

#include "correlation/variable_stop.h"
#include "frame/console.h"
#include "kernels/bivariate_normal.h"
#include "kernels/failure.h"
#include "kernels/normal.h"
#include "kernels/rank_sort.h"
#include "report/edit_descriptors.h"

namespace vq {
namespace {

// Marks a row of the category table that holds no category.
constexpr double kNoCategory = 99.0;
// Thresholds that stand for minus and plus infinity.
constexpr double kLowestThreshold = -999999.0;
constexpr double kHighestThreshold = 999999.0;
// Bounds of the search.
constexpr double kUpperBound = 0.9;
constexpr double kLowerBound = -0.9;
// The search ends once its step falls below the single-precision 1E-6.
constexpr double kSmallestStep = static_cast<double>(0.000001f);
// Start of the best log likelihood; an L at or below it never wins.
constexpr double kNoLikelihood = -999999.0;

}  // namespace

void FindPolychoricCategories(const Matrix& item_data,
                              int n,
                              int p,
                              PolychoricCategories& categories) {
  categories.scores.Reset(kCategoryRows + 1, p, kNoCategory);
  categories.category_count.assign(p, 0);
  categories.counts.Reset(kCategoryRows + 1, p, 0.0);
  categories.thresholds.Reset(kCategoryRows, p, 0.0);
  categories.codes.assign(static_cast<std::size_t>(n) * p, 0);

  std::vector<double> sorted(n);
  for (int variable = 0; variable < p; ++variable) {
    const double* column = item_data.Column(variable);
    std::copy(column, column + n, sorted.begin());
    int ifail = kIfailQuiet;
    M01CAF(sorted.data(), 1, n, 'A', ifail);

    // Distinct scores in ascending order; exact comparisons.
    std::vector<double> distinct;
    for (int subject = 0; subject < n; ++subject) {
      if (subject == 0 || sorted[subject] != sorted[subject - 1])
        distinct.push_back(sorted[subject]);
    }
    // A score of 99 in the highest place is no category: its subjects fall
    // into no cell and no count, while they still count in n.
    int k = static_cast<int>(distinct.size());
    if (k > 0 && distinct[k - 1] == kNoCategory) --k;
    if (k == 0) StopOnVariable(variable + 1, " HAS NO SCORE OTHER THAN 99");
    if (k > kMaxCategories) StopOnVariable(variable + 1, " HAS MORE THAN 14 CATEGORIES");
    categories.category_count[variable] = k;
    for (int row = 1; row <= k; ++row) categories.scores(row, variable) = distinct[row - 1];

    // Category codes and counts.
    unsigned char* codes = categories.codes.data() + static_cast<std::size_t>(variable) * n;
    const auto first = distinct.begin();
    const auto last = distinct.begin() + k;
    for (int subject = 0; subject < n; ++subject) {
      const auto place = std::lower_bound(first, last, column[subject]);
      if (place != last && *place == column[subject]) {
        const int category = static_cast<int>(place - first) + 1;
        codes[subject] = static_cast<unsigned char>(category);
        categories.counts(category, variable) += 1.0;
      }
    }

    // Running sums and thresholds at the cumulative proportions.
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

double EstimatePolychoricPair(const unsigned char* codes_i,
                              const unsigned char* codes_j,
                              int n,
                              int k_i,
                              int k_j,
                              const double* thresholds_i,
                              const double* thresholds_j,
                              bool& at_boundary) {
  PolychoricTable table;
  for (int subject = 0; subject < n; ++subject) {
    // Code 0 (no category) lands in row or column 0, which no sum reads.
    ++table.counts[codes_j[subject]][codes_i[subject]];
  }

  // A sweep of 41 points from the lower bound up, then passes of 5 points,
  // each half its predecessor's step apart, from half a step below the best.
  double step = 0.05;
  double r = -0.95;
  double best_likelihood = kNoLikelihood;
  double best_r = 0.0;
  int evaluations = 41;
  for (int pass = 1; pass <= 30; ++pass) {
    for (int evaluation = 0; evaluation < evaluations; ++evaluation) {
      r = r + step;
      if (r >= kUpperBound) r = kUpperBound;
      if (r <= kLowerBound) r = kLowerBound;
      const double likelihood =
          PolychoricLikelihood(r, k_i, k_j, thresholds_j, thresholds_i, table);
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
  at_boundary = best_r == kUpperBound || best_r == kLowerBound;
  return best_r;
}

void ComputePolychorics(const Matrix& item_data, int n, int p, Matrix& result, OutputFile& report) {
  PolychoricCategories categories;
  FindPolychoricCategories(item_data, n, p, categories);
  if (result.rows != p || result.cols != p) result.Reset(p, p);

  for (int i = 1; i < p; ++i) {
    for (int j = 0; j < i; ++j) {
      ConsoleOverwrite(29,
                       " Computing polychoric correlations for variables: " + FormatI(i + 1, 3) +
                           " " + FormatI(j + 1, 3));
      bool at_boundary = false;
      const double r =
          EstimatePolychoricPair(categories.codes.data() + static_cast<std::size_t>(i) * n,
                                 categories.codes.data() + static_cast<std::size_t>(j) * n,
                                 n,
                                 categories.category_count[i],
                                 categories.category_count[j],
                                 categories.thresholds.Column(i),
                                 categories.thresholds.Column(j),
                                 at_boundary);
      if (at_boundary) {
        report.Write(Blanks(16) + "!!!WARNING: CORRELATION " + FormatI(i + 1, 3) + " " +
                     FormatI(j + 1, 3) + FormatA("   AT BOUNDARY!!!", 18));
        report.EmptyLines(1);
      }
      result(i, j) = r;
    }
  }
  for (int i = 0; i < p; ++i) {
    result(i, i) = 1.0;
    for (int j = 0; j < i; ++j) result(j, i) = result(i, j);
  }
}

}  // namespace vq
