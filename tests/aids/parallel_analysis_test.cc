#include "aids/parallel_analysis.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <vector>

namespace vq {
namespace {

// Pearson correlations of the columns of `data`.
Matrix Pearson(const Matrix& data) {
  const int n = data.rows;
  const int p = data.cols;
  Matrix centred = data;
  for (int j = 0; j < p; ++j) {
    double mean = 0.0;
    for (int i = 0; i < n; ++i) mean += data(i, j);
    mean /= n;
    double ss = 0.0;
    for (int i = 0; i < n; ++i) ss += (centred(i, j) -= mean) * centred(i, j);
    for (int i = 0; i < n; ++i) centred(i, j) /= std::sqrt(ss);
  }
  Matrix r(p, p);
  for (int a = 0; a < p; ++a) {
    for (int b = 0; b < p; ++b) {
      double sum = 0.0;
      for (int i = 0; i < n; ++i) sum += centred(i, a) * centred(i, b);
      r(a, b) = a == b ? 1.0 : sum;
    }
  }
  return r;
}

// N subjects on 8 items, two independent factors (items 1-4 and 5-8, loadings
// .7), scores rounded to five categories so that ties occur.
Matrix TwoFactorScores(int n) {
  std::mt19937_64 generator(20240611);
  auto normal = [&]() {
    const double u1 = (static_cast<double>(generator() >> 11) + 0.5) * 0x1.0p-53;
    const double u2 = (static_cast<double>(generator() >> 11) + 0.5) * 0x1.0p-53;
    return std::sqrt(-2.0 * std::log(u1)) * std::cos(6.283185307179586 * u2);
  };
  Matrix data(n, 8);
  for (int i = 0; i < n; ++i) {
    const double f[2] = {normal(), normal()};
    for (int j = 0; j < 8; ++j) {
      const double score = 0.7 * f[j / 4] + std::sqrt(1 - 0.49) * normal();
      data(i, j) = std::clamp(std::round(score), -2.0, 2.0);
    }
  }
  return data;
}

TEST(ParallelAnalysisTest, QuantileIsTypeSeven) {
  // Values of R's quantile(x, level) (type 7, its default).
  struct Case {
    std::vector<double> values;
    double level, expected;
  };
  std::vector<Case> cases = {
      {{20, 19, 18, 17, 16, 15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1}, 0.95, 19.05},
      {{3, 1, 2}, 0.95, 2.9},
      {{1, 2}, 0.5, 1.5},
      {{5}, 0.95, 5},
      {{4, 4, 4, 9}, 0.5, 4},
  };
  for (Case& c : cases) EXPECT_DOUBLE_EQ(QuantileType7(c.values, c.level), c.expected);
  std::vector<double> empty;
  EXPECT_TRUE(std::isnan(QuantileType7(empty, 0.95)));
}

TEST(ParallelAnalysisTest, LeadingCount) {
  EXPECT_EQ(LeadingCountAbove({3, 2, 1}, {1, 1, 1}), 2);
  EXPECT_EQ(LeadingCountAbove({3, 2, 1}, {1, 1, 0.5}), 3);
  EXPECT_EQ(LeadingCountAbove({1, 2, 1}, {1, 1, 0.5}), 0);  // equal is not above
  EXPECT_EQ(LeadingCountAbove({3, 0.1, 2}, {1, 1, 1}), 1);  // only the leading run counts
}

TEST(ParallelAnalysisTest, PermutationKeepsEachColumnsValues) {
  Matrix data(50, 3);
  for (int i = 0; i < 50; ++i) {
    data(i, 0) = i;
    data(i, 1) = i % 4;
    data(i, 2) = -i;
  }
  Matrix permuted = data;
  std::mt19937_64 generator = DataSetGenerator(7, 0);
  PermuteColumns(permuted, generator);
  EXPECT_NE(permuted.values, data.values);
  for (int j = 0; j < 3; ++j) {
    std::vector<double> before(data.Column(j), data.Column(j) + 50);
    std::vector<double> after(permuted.Column(j), permuted.Column(j) + 50);
    EXPECT_TRUE(std::is_permutation(before.begin(), before.end(), after.begin()));
  }
  // The streams are part of the results: this permutation must not change
  // between versions or standard libraries.
  Matrix small(8, 1);
  for (int i = 0; i < 8; ++i) small(i, 0) = i;
  std::mt19937_64 pinned = DataSetGenerator(12345, 3);
  PermuteColumns(small, pinned);
  EXPECT_EQ(small.values, (std::vector<double>{3, 2, 0, 5, 6, 7, 1, 4}));
}

TEST(ParallelAnalysisTest, UniformIndexCoversItsRange) {
  std::mt19937_64 generator = DataSetGenerator(1, 1);
  std::vector<int> counts(3, 0);
  for (int draw = 0; draw < 3000; ++draw) ++counts[UniformIndex(generator, 2)];
  for (int count : counts) EXPECT_GT(count, 900);
  EXPECT_EQ(UniformIndex(generator, 0), 0u);
}

TEST(ParallelAnalysisTest, SameResultForAnyThreadCount) {
  const Matrix data = TwoFactorScores(300);
  const Matrix observed = Pearson(data);
  ParallelAnalysisOptions options;
  options.data_sets = 23;
  options.seed = 99;
  options.threads = 1;
  const ParallelAnalysisResult one = RunParallelAnalysis(data, observed, Pearson, options);
  for (int threads : {2, 3}) {
    options.threads = threads;
    const ParallelAnalysisResult many = RunParallelAnalysis(data, observed, Pearson, options);
    EXPECT_EQ(many.components.mean, one.components.mean);
    EXPECT_EQ(many.components.percentile, one.components.percentile);
    EXPECT_EQ(many.factors.mean, one.factors.mean);
    EXPECT_EQ(many.factors.percentile, one.factors.percentile);
  }
  options.seed = 100;
  EXPECT_NE(RunParallelAnalysis(data, observed, Pearson, options).components.mean,
            one.components.mean);
}

TEST(ParallelAnalysisTest, TwoFactorDataSuggestTwo) {
  const Matrix data = TwoFactorScores(500);
  ParallelAnalysisOptions options;
  options.data_sets = 60;
  options.seed = 5;
  options.threads = 2;
  std::vector<int> progress;
  const ParallelAnalysisResult result = RunParallelAnalysis(
      data, Pearson(data), Pearson, options, [&](int done) { progress.push_back(done); });
  EXPECT_EQ(result.components.suggested, 2);
  EXPECT_EQ(result.factors.suggested, 2);
  // Permuted data: component eigenvalues near 1 and summing to p, reduced
  // ones near 0.
  double sum = 0.0;
  for (double value : result.components.mean) sum += value;
  EXPECT_NEAR(sum, 8.0, 1e-12);
  EXPECT_LT(result.components.mean[0], 1.3);
  EXPECT_LT(result.factors.mean[0], 0.3);
  ASSERT_FALSE(progress.empty());
  EXPECT_EQ(progress.back(), 60);
  EXPECT_TRUE(std::is_sorted(progress.begin(), progress.end()));
}

TEST(ParallelAnalysisTest, EstimatorFailuresStopTheAnalysis) {
  const Matrix data = TwoFactorScores(50);
  const Matrix observed = Pearson(data);
  ParallelAnalysisOptions options;
  options.data_sets = 10;
  options.threads = 3;
  try {
    RunParallelAnalysis(
        data, observed, [](const Matrix&) { return Matrix(2, 2); }, options);
    FAIL() << "no exception";
  } catch (const std::runtime_error& error) {
    EXPECT_STREQ(error.what(),
                 "parallel analysis: the correlations of permuted data set 1 are not a finite 8 "
                 "by 8 matrix");
  }
  struct Stop {};
  EXPECT_THROW(RunParallelAnalysis(
                   data, observed, [](const Matrix&) -> Matrix { throw Stop(); }, options),
               Stop);
  options.data_sets = 0;
  EXPECT_THROW(RunParallelAnalysis(data, observed, Pearson, options), std::invalid_argument);
}

}  // namespace
}  // namespace vq
