#include "extraction/extraction.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "data/simulation.h"
#include "extraction/communalities.h"
#include "extraction_test_support.h"
#include "frame/console.h"
#include "kernels/failure.h"
#include "kernels/pearson.h"
#include "text/edit_descriptors.h"

namespace vq {
namespace {

using testing_support::Equicorrelation;
using testing_support::FromLoadings;

const std::string kColumn30 = Blanks(28);
const std::string kFailed = "**** Communalities Failed to Converge ****";
const std::string kError100 = "ERROR 100:  SERIOUS PROBLEMS OCCURED DURING ITERATION  1";

constexpr ExtractionMethod kPfa = ExtractionMethod::kPrincipalFactors;
constexpr ExtractionMethod kPca = ExtractionMethod::kPrincipalComponents;

ExtractionOptions Options(ExtractionMethod method,
                          int m,
                          InitialCommunality start = InitialCommunality::kOne) {
  ExtractionOptions options;
  options.Method = method;
  options.FactorCount = m;
  options.InitialCommunality = start;
  return options;
}

// One run of the phase (Extract) with the console captured.
struct PhaseRun {
  Matrix correlations;
  ExtractionResult result;
  std::string console;
  bool stopped = false;

  PhaseRun(const ExtractionOptions& options, Matrix matrix) : correlations(std::move(matrix)) {
    ResetImslState();
    ConsoleCapture capture;
    try {
      result = Extract(correlations, options, ConsoleProgress());
    } catch (const RunStopped&) {
      stopped = true;
    }
    console = capture.Out();
    ResetImslState();
  }
  bool Says(const std::string& text) const { return console.find(text) != std::string::npos; }
};

// Two factors with orthogonal columns of different size: principal axes of
// L L' are L's own columns. The second column has its largest loading
// positive but its signed squares negative, so the reflection turns it.
const Matrix kTwoFactors =
    FromLoadings({{0.8, 0.0}, {0.8, 0.0}, {0.7, 0.0}, {0.0, 0.7}, {0.0, -0.6}, {0.0, -0.6}});

TEST(Extract, PrincipalFactorsWithSmcRecoverKnownLoadings) {
  ExtractionOptions options = Options(kPfa, 2, InitialCommunality::kSmc);
  options.CommunalityEpsilon = 1e-12;
  options.CommunalityIterations = 5000;
  PhaseRun run(options, kTwoFactors);
  ASSERT_FALSE(run.stopped) << run.console;
  const ExtractionResult& result = run.result;
  const double expected[12] = {0.8, 0.8, 0.7, 0, 0, 0, 0, 0, 0, -0.7, 0.6, 0.6};
  for (int k = 0; k < 12; ++k) EXPECT_NEAR(result.Loadings.values[k], expected[k], 1e-4);
  EXPECT_NEAR(result.EigenValues[0], 1.77, 1e-6);
  EXPECT_NEAR(result.EigenValues[1], 1.21, 1e-6);
  EXPECT_NEAR(result.FactorVariance[0], 1.77, 1e-6);
  EXPECT_NEAR(result.FactorVariance[1], 1.21, 1e-6);

  // The input stays; the working matrix has the communalities (the diagonal
  // of L L') on its diagonal and the correlations elsewhere.
  EXPECT_EQ(run.correlations.values, kTwoFactors.values);
  const Matrix& l = result.Loadings;
  for (int i = 0; i < 6; ++i) {
    EXPECT_EQ(result.WorkingMatrix(i, i), result.Communalities[i]);
    EXPECT_EQ(result.Reproduced(i, i), result.Communalities[i]);
    EXPECT_NEAR(l(i, 0) * l(i, 0) + l(i, 1) * l(i, 1), result.Communalities[i], 1e-9);
    for (int j = 0; j < 6; ++j) {
      if (i != j) {
        EXPECT_EQ(result.WorkingMatrix(i, j), kTwoFactors(i, j));
      }
    }
  }

  // The start is the squared multiple correlation; each pass leaves its
  // diagonal in the history, the last one the final communalities.
  Matrix smc = kTwoFactors;
  SmcCommunalities(smc, 6);
  for (int i = 0; i < 6; ++i) EXPECT_EQ(result.StartingCommunalities[i], smc(i, i));
  EXPECT_GT(result.IterationCount, 1);
  ASSERT_EQ(static_cast<int>(result.CommunalityHistory.size()), result.IterationCount);
  EXPECT_EQ(result.CommunalityHistory.back(), result.Communalities);
  EXPECT_NE(result.CommunalityHistory.front(), result.Communalities);
  EXPECT_TRUE(result.Converged);
  EXPECT_FALSE(result.PassLimitReached);
  EXPECT_EQ(result.HeywoodCases, std::vector<bool>(6, false));

  // The screen is taken from the unit diagonal, before the start replaces
  // it: its eigenvalues sum to p.
  EXPECT_EQ(result.InitialEigenvalues, ScreenEigenvalues(kTwoFactors));
  double trace = 0.0;
  for (double eigenvalue : result.InitialEigenvalues) trace += eigenvalue;
  EXPECT_NEAR(trace, 6.0, 1e-12);
  EXPECT_NEAR(result.Fit.Gfi, 1.0, 1e-9);
  EXPECT_NEAR(result.Fit.Rmsr, 0.0, 1e-9);

  EXPECT_EQ(run.console.substr(0, 56), kColumn30 + "Performing factor analysis\n\n");
  EXPECT_FALSE(run.Says("Failed to Converge"));
}

TEST(Extract, PrincipalFactorsRecoverTheLoadingsOfSimulatedScores) {
  // Ten continuous scores from two uncorrelated factors, items 1-5 on the
  // first, 6-10 on the second, the stronger factor first. With 20000
  // subjects the sampling error of a loading is near 0.005, so the Pearson
  // matrix, the "SMC" start and the iteration must land within 0.05 of
  // every loading (cross-loadings 0 included).
  const double strengths[10] = {0.8, 0.75, 0.7, 0.65, 0.6, 0.6, 0.55, 0.5, 0.45, 0.4};
  ItemModel model = SimpleStructureModel(10, 2, 0.5, {});
  for (int i = 0; i < 10; ++i) {
    model.loadings(i, 0) = i < 5 ? strengths[i] : 0.0;
    model.loadings(i, 1) = i < 5 ? 0.0 : strengths[i];
  }
  Matrix scores, products, correlations;
  std::vector<double> means, deviations;
  ASSERT_TRUE(SimulateItemScores(model, 20000, 11, scores));
  int ifail = 0;
  G02BAF(20000, 10, scores, means, deviations, products, correlations, ifail);
  PhaseRun run(Options(kPfa, 2, InitialCommunality::kSmc), correlations);
  ASSERT_FALSE(run.stopped) << run.console;
  EXPECT_FALSE(run.Says("Failed to Converge"));
  EXPECT_TRUE(run.result.Converged);
  for (int k = 0; k < 20; ++k) {
    EXPECT_NEAR(run.result.Loadings.values[k], model.loadings.values[k], 0.05) << k;
  }
}

TEST(Extract, PrincipalComponentsMakeOnePassFromTheUnitDiagonal) {
  // rho = 0.5, p = 4: first eigenvalue 2.5 with the vector (0.5, 0.5, 0.5,
  // 0.5), so every loading is 0.5 sqrt(2.5). "SMC" has no effect, and one
  // allowed pass gives no message.
  ExtractionOptions options = Options(kPca, 1, InitialCommunality::kSmc);
  options.CommunalityIterations = 1;
  PhaseRun run(options, Equicorrelation(4, 0.5));
  ASSERT_FALSE(run.stopped) << run.console;
  for (int i = 0; i < 4; ++i) {
    EXPECT_NEAR(run.result.Loadings(i, 0), 0.5 * std::sqrt(2.5), 1e-12);
    EXPECT_NEAR(run.result.WorkingMatrix(i, i), 0.625, 1e-12);
  }
  EXPECT_EQ(run.result.StartingCommunalities, std::vector<double>(4, 1.0));
  EXPECT_EQ(run.result.IterationCount, 1);
  EXPECT_TRUE(run.result.Converged);
  EXPECT_FALSE(run.result.PassLimitReached);
  // The counter is the text "Iteration: ", one blank more, and the pass as I3.
  EXPECT_EQ(
      run.console,
      kColumn30 + "Performing principal components analysis\n\n" + kColumn30 + "Iteration:    1\n");
}

TEST(Extract, HeywoodCaseIsOnlyFlagged) {
  // One factor with loadings 1.1, 0.8, 0.8, 0.5, 0.5: the communality of
  // variable 1 converges to 1.21 while the sum, 2.99, stays below p.
  ExtractionOptions options = Options(kPfa, 1);
  options.CommunalityEpsilon = 1e-12;
  options.CommunalityIterations = 5000;
  PhaseRun run(options, FromLoadings({{1.1}, {0.8}, {0.8}, {0.5}, {0.5}}));
  ASSERT_FALSE(run.stopped) << run.console;
  EXPECT_NEAR(run.result.Loadings(0, 0), 1.1, 1e-6);
  EXPECT_NEAR(run.result.Communalities[0], 1.21, 1e-9);
  EXPECT_EQ(run.result.HeywoodCases, (std::vector<bool>{true, false, false, false, false}));
}

TEST(HeywoodFlags, StrictlyAboveTheLimit) {
  EXPECT_EQ(HeywoodFlags({0.5, 1.2, 1.00000001, 1.0, 1.0000001}),
            (std::vector<bool>{false, true, false, false, true}));
  EXPECT_TRUE(HeywoodFlags({}).empty());
}

Matrix Diagonal(const std::vector<double>& values) {
  const int n = static_cast<int>(values.size());
  Matrix a(n, n);
  for (int i = 0; i < n; ++i) a(i, i) = values[i];
  return a;
}

TEST(ScreenEigenvalues, AllOfThemByDecreasingModulus) {
  EXPECT_EQ(ScreenEigenvalues(Diagonal({1.0, -2.0, 5.0})), (std::vector<double>{5.0, -2.0, 1.0}));
  const std::vector<double> pair = ScreenEigenvalues(Equicorrelation(2, 0.5));
  ASSERT_EQ(pair.size(), 2u);
  EXPECT_NEAR(pair[0], 1.5, 1e-15);
  EXPECT_NEAR(pair[1], 0.5, 1e-15);
}

}  // namespace
}  // namespace vq
