#include "aids/parallel_analysis.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <vector>

#include "aids/reduced_eigenvalues.h"

namespace vq {
namespace {

// Pearson correlations of the columns of `data`.
Matrix Pearson(const Matrix& data) {
  const int n = data.rows;
  const int p = data.cols;
  Matrix centred = data;
  for (int j = 0; j < p; ++j) {
    double mean = 0.0;
    for (int i = 0; i < n; ++i) mean += data(i, j) / n;
    double ss = 0.0;
    for (int i = 0; i < n; ++i) ss += (data(i, j) - mean) * (data(i, j) - mean);
    for (int i = 0; i < n; ++i) centred(i, j) = (data(i, j) - mean) / std::sqrt(ss);
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

// Squared multiple correlations with known answers. A singular matrix keeps
// the ordinary values for items outside its null directions and gives 1 to
// the items that the others predict exactly (x3 = (x1 + x2) / sqrt 2 below;
// every item of ipsatized scores).
TEST(ParallelAnalysisTest, SquaredMultipleCorrelations) {
  const double a = std::sqrt(0.5);
  struct Case {
    int p;
    std::vector<double> upper;  // row by row, upper triangle without the diagonal
    std::vector<double> expected;
  };
  const std::vector<Case> cases = {
      {2, {0.5}, {0.25, 0.25}},
      {3, {0.0, 0.0, 0.0}, {0.0, 0.0, 0.0}},
      {3, {0.0, a, a}, {1.0, 1.0, 1.0}},
      {5, {0, a, 0, 0, a, 0, 0, 0, 0, 0.5}, {1.0, 1.0, 1.0, 0.25, 0.25}},
      // Four ipsatized items: equal correlations -1/3, rank 3.
      {4, {-1.0 / 3, -1.0 / 3, -1.0 / 3, -1.0 / 3, -1.0 / 3, -1.0 / 3}, {1.0, 1.0, 1.0, 1.0}},
  };
  for (const Case& c : cases) {
    Matrix r(c.p, c.p);
    std::size_t next = 0;
    for (int i = 0; i < c.p; ++i) {
      r(i, i) = 1.0;
      for (int j = i + 1; j < c.p; ++j) r(i, j) = r(j, i) = c.upper[next++];
    }
    const std::vector<double> smc = SquaredMultipleCorrelations(r);
    ASSERT_EQ(smc.size(), c.expected.size());
    for (std::size_t k = 0; k < smc.size(); ++k) {
      EXPECT_NEAR(smc[k], c.expected[k], 1e-12) << "p " << c.p << " item " << k + 1;
    }
  }
}

TEST(ParallelAnalysisTest, LeadingCount) {
  EXPECT_EQ(LeadingCountAbove({3, 2, 1}, {1, 1, 1}), 2);
  EXPECT_EQ(LeadingCountAbove({3, 2, 1}, {1, 1, 0.5}), 3);
  EXPECT_EQ(LeadingCountAbove({1, 2, 1}, {1, 1, 0.5}), 0);  // equal is not above
  EXPECT_EQ(LeadingCountAbove({3, 0.1, 2}, {1, 1, 1}), 1);  // only the leading run counts
}

// Two-factor data: two components and two factors suggested; the same
// figures, bit for bit, on 1, 2 and 3 threads; another seed differs.
TEST(ParallelAnalysisTest, TwoFactorDataOnAnyThreadCount) {
  const Matrix data = TwoFactorScores(500);
  const Matrix observed = Pearson(data);
  ParallelAnalysisOptions options;
  options.data_sets = 41;
  options.seed = 5;
  std::vector<int> progress;
  const ParallelAnalysisResult one = RunParallelAnalysis(
      data, observed, Pearson, options, [&](int done) { progress.push_back(done); });
  EXPECT_EQ(one.components.suggested, 2);
  EXPECT_EQ(one.factors.suggested, 2);
  EXPECT_LT(one.components.mean[0], 1.3);  // permuted: near 1, and near 0 reduced
  EXPECT_LT(one.factors.mean[0], 0.3);
  EXPECT_EQ(progress.back(), 41);
  EXPECT_TRUE(std::is_sorted(progress.begin(), progress.end()));
  for (int threads : {2, 3}) {
    options.threads = threads;
    const ParallelAnalysisResult many = RunParallelAnalysis(data, observed, Pearson, options);
    EXPECT_EQ(many.components.mean, one.components.mean);
    EXPECT_EQ(many.components.percentile, one.components.percentile);
    EXPECT_EQ(many.factors.mean, one.factors.mean);
    EXPECT_EQ(many.factors.percentile, one.factors.percentile);
  }
  options.seed = 6;
  EXPECT_NE(RunParallelAnalysis(data, observed, Pearson, options).factors.mean, one.factors.mean);
}

}  // namespace
}  // namespace vq
