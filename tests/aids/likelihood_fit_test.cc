#include "aids/likelihood_fit.h"

#include <gtest/gtest.h>

#include <cmath>
#include <stdexcept>
#include <vector>

#include "aids/lsat7.h"

namespace vq {
namespace {

Matrix FromColumns(int rows, int cols, const std::vector<double>& values) {
  Matrix m(rows, cols);
  m.values = values;
  return m;
}

// Correlations made exactly from loadings: L L' off the diagonal, 1 on it.
Matrix ExactCorrelations(const Matrix& loadings) {
  Matrix r(loadings.rows, loadings.rows);
  for (int i = 0; i < r.rows; ++i) {
    for (int j = 0; j < r.rows; ++j) {
      double sum = 0.0;
      for (int k = 0; k < loadings.cols; ++k) sum += loadings(i, k) * loadings(j, k);
      r(i, j) = i == j ? 1.0 : sum;
    }
  }
  return r;
}

// psych 2.2.9 on the tetrachorics of its five LSAT items (lsat7, 1000
// subjects): fa(r, 1, fm = "pa", n.obs = 1000).
TEST(LikelihoodFitTest, MatchesPeerOnLsatItems) {
  const Matrix r = Lsat7Tetrachorics();
  const Matrix loadings = FromColumns(5,
                                      1,
                                      {0.51992458060093494,
                                       0.51297704373849851,
                                       0.67507173805807463,
                                       0.44366750392513027,
                                       0.39494193551449047});
  const LikelihoodFit fit = FitLikelihood(r, loadings, 1000);
  EXPECT_NEAR(fit.objective, 0.055557496568471976, 1e-12);
  EXPECT_NEAR(fit.chi_square, 55.326006999436679, 1e-9);
  EXPECT_EQ(fit.df, 5);
  EXPECT_NEAR(fit.p_value / 1.1185427304737942e-10, 1.0, 1e-9);
  EXPECT_NEAR(fit.rmsea, 0.10032048843026201, 1e-12);
  // The peer solves the bounds to uniroot's default tolerance only.
  EXPECT_NEAR(fit.rmsea_lower, 0.077540355208440048, 1e-5);
  EXPECT_NEAR(fit.rmsea_upper, 0.12502141852764395, 1e-5);
  EXPECT_NEAR(fit.tli, 0.82181120595438939, 1e-12);
  EXPECT_NEAR(fit.bic, 20.787230604525995, 1e-9);
  EXPECT_NEAR(fit.null_chi_square, 575.24648216770754, 1e-9);
  EXPECT_EQ(fit.null_df, 10);
  EXPECT_NEAR(fit.variance.ss_loadings[0], 1.3420088549075846, 1e-12);
  EXPECT_NEAR(fit.variance.proportion[0], 0.26840177098151691, 1e-12);
  EXPECT_FALSE(fit.smoothed_correlations || fit.smoothed_model);
}

TEST(LikelihoodFitTest, ExactModelFitsPerfectly) {
  const Matrix loadings = FromColumns(6, 1, {0.8, 0.7, 0.6, 0.5, 0.4, 0.3});
  const LikelihoodFit fit = FitLikelihood(ExactCorrelations(loadings), loadings, 500);
  EXPECT_NEAR(fit.objective, 0.0, 1e-13);
  EXPECT_NEAR(fit.chi_square, 0.0, 1e-10);
  EXPECT_EQ(fit.df, 9);
  EXPECT_NEAR(fit.p_value, 1.0, 1e-10);
  EXPECT_EQ(fit.rmsea, 0.0);
  EXPECT_EQ(fit.rmsea_lower, 0.0);
  EXPECT_EQ(fit.rmsea_upper, 0.0);
  EXPECT_GT(fit.tli, 1.0);  // not capped: an exact fit lies above 1
  EXPECT_NEAR(fit.bic, -9 * std::log(500.0), 1e-8);
}

TEST(LikelihoodFitTest, FiguresNeedingDegreesOfFreedom) {
  // Three variables, one factor: df = 0, so no p-value, RMSEA, TLI or BIC.
  const Matrix loadings = FromColumns(3, 1, {0.7, 0.6, 0.5});
  const LikelihoodFit fit = FitLikelihood(ExactCorrelations(loadings), loadings, 100);
  EXPECT_EQ(fit.df, 0);
  EXPECT_TRUE(std::isnan(fit.p_value) && std::isnan(fit.rmsea) && std::isnan(fit.tli) &&
              std::isnan(fit.bic));
}

TEST(LikelihoodFitTest, HeywoodModelIsSmoothed) {
  // A loading above 1 makes L L' with a unit diagonal indefinite.
  const Matrix loadings = FromColumns(4, 1, {1.3, 0.9, 0.3, 0.2});
  Matrix r = ExactCorrelations(FromColumns(4, 1, {0.8, 0.7, 0.3, 0.2}));
  const LikelihoodFit fit = FitLikelihood(r, loadings, 200);
  EXPECT_TRUE(fit.smoothed_model);
  EXPECT_TRUE(std::isfinite(fit.objective));
  EXPECT_GT(fit.objective, 0.0);
}

}  // namespace
}  // namespace vq
