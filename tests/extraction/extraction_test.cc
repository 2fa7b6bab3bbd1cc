#include "extraction/extraction.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "correlation/pearson.h"
#include "data/simulation.h"
#include "extraction_test_support.h"
#include "frame/console.h"
#include "kernels/eigen.h"
#include "kernels/failure.h"
#include "report/edit_descriptors.h"

namespace vq {
namespace {

using testing_support::Equicorrelation;
using testing_support::ExtractionOptions;
using testing_support::FindLine;
using testing_support::FreshDirectory;
using testing_support::FromLoadings;
using testing_support::Lines;
using testing_support::ReadFile;

const std::string kColumn30 = Blanks(28);

// One run of the phase with the console captured.
struct PhaseRun {
  RunOptions options;
  Matrix r;
  ExtractionResult result;
  OutputFile report;
  std::string console;
  bool ends = false;
  bool stopped = false;

  PhaseRun(RunOptions run_options, Matrix matrix, const std::string& dir = "")
      : options(std::move(run_options)), r(std::move(matrix)) {
    ResetImslState();
    report.OpenInMemory(11);
    ConsoleCapture capture;
    try {
      ends = RunExtraction(options, r, result, report, dir, "case.in");
    } catch (const RunStopped&) {
      stopped = true;
    }
    console = capture.Out();
    ResetImslState();
  }
  std::vector<std::string> ReportLines() const { return Lines(report.Text()); }
};

// Two factors with orthogonal columns of different size: principal axes of
// L L' are L's own columns. The second column has its largest loading
// positive but its signed squares negative, so the reflection turns it.
const std::vector<std::vector<double>> kTwoFactorLoadings{
    {0.8, 0.0}, {0.8, 0.0}, {0.7, 0.0}, {0.0, 0.7}, {0.0, -0.6}, {0.0, -0.6}};

TEST(RunExtraction, PrincipalFactorsWithSmcRecoverKnownLoadings) {
  RunOptions options = ExtractionOptions("PFA", 6, 2);
  options.InitialCommunality = PadRight("SMC", kInitialCommunalityWidth);
  options.CommunalityEpsilon = 1e-12;
  options.CommunalityIterations = 5000;
  const Matrix r_in = FromLoadings(kTwoFactorLoadings);
  PhaseRun run(options, r_in);
  ASSERT_FALSE(run.stopped) << run.console;
  EXPECT_FALSE(run.ends);

  const Matrix& loadings = run.result.Loadings;
  ASSERT_EQ(loadings.rows, 6);
  ASSERT_EQ(loadings.cols, 2);
  const double expected[6][2] = {
      {0.8, 0.0}, {0.8, 0.0}, {0.7, 0.0}, {0.0, -0.7}, {0.0, 0.6}, {0.0, 0.6}};
  for (int i = 0; i < 6; ++i) {
    for (int k = 0; k < 2; ++k) EXPECT_NEAR(loadings(i, k), expected[i][k], 0.05);
  }
  // Communalities are the row sums of squares, and the diagonal of R.
  for (int i = 0; i < 6; ++i) {
    const double h2 = loadings(i, 0) * loadings(i, 0) + loadings(i, 1) * loadings(i, 1);
    EXPECT_NEAR(run.result.Communalities[i], h2, 1e-9);
    EXPECT_EQ(run.r(i, i), run.result.Communalities[i]);
    for (int j = 0; j < 6; ++j) {
      if (i != j) {
        EXPECT_EQ(run.r(i, j), r_in(i, j));
      }
    }
  }
  EXPECT_NEAR(run.result.FactorVariance[0], 1.77, 1e-6);
  EXPECT_NEAR(run.result.FactorVariance[1], 1.21, 1e-6);
  EXPECT_NEAR(run.result.EigenValues[0], 1.77, 1e-6);
  EXPECT_NEAR(run.result.EigenValues[1], 1.21, 1e-6);
  EXPECT_GT(run.result.IterationCount, 1);
  EXPECT_LT(run.result.IterationCount, 5000);

  EXPECT_EQ(run.console.substr(0, 56), kColumn30 + "Performing factor analysis\n\n");
  EXPECT_EQ(run.console.find("Failed to Converge"), std::string::npos);

  // Sections in their order.
  const std::vector<std::string> lines = run.ReportLines();
  const int screen = FindLine(lines, " Eigenvalues of Initial Correlation Matrix");
  const int fit = FindLine(lines, "0=============Analysis of Model Fit============0");
  const int unrotated = FindLine(lines, " Unrotated Factor Loadings");
  const int variance = FindLine(lines, " Variance explained by each factor");
  const int final_h2 = FindLine(lines, " Final communality estimates");
  EXPECT_EQ(screen, 3);
  EXPECT_LT(screen, fit);
  EXPECT_LT(fit, unrotated);
  EXPECT_LT(unrotated, variance);
  EXPECT_LT(variance, final_h2);
  EXPECT_EQ(lines[fit + 2],
            "Number of iterations during communality estimation: " +
                FormatI(run.result.IterationCount, 3));
  EXPECT_EQ(lines[fit + 3], "GFI = 1.0000");
  EXPECT_EQ(lines[unrotated + 1], "          1       2");
  EXPECT_EQ(lines[unrotated + 2], " 1    0.800   0.000");
  EXPECT_EQ(lines[unrotated + 4], " 3    0.700   0.000");
  EXPECT_EQ(lines[unrotated + 5], " 4    0.000  -0.700");
  EXPECT_EQ(lines[unrotated + 7], " 6    0.000   0.600");
  EXPECT_EQ(lines[unrotated + 8], "");
  EXPECT_EQ(lines[variance + 1], "           1         2");
  EXPECT_EQ(lines[variance + 2], "       1.770     1.210");
  EXPECT_EQ(lines[final_h2 - 1], "");
  EXPECT_EQ(lines[final_h2 + 1], "         1       2       3       4       5       6");
  EXPECT_EQ(lines[final_h2 + 2], "      0.64    0.64    0.49    0.49    0.36    0.36");
  EXPECT_EQ(lines[final_h2 + 3], "");
  EXPECT_EQ(static_cast<int>(lines.size()), final_h2 + 4);
}

TEST(RunExtraction, PrincipalFactorsRecoverTheLoadingsOfSimulatedScores) {
  // Ten continuous scores from two uncorrelated factors, items 1-5 on the
  // first, 6-10 on the second, and the stronger factor first: the principal
  // axes of the population matrix are the two blocks themselves. With
  // 20000 subjects the sampling error of a loading is near 0.005, so the
  // Pearson matrix, the "SMC" start and the iteration together must land
  // within 0.05 of every loading (cross-loadings 0 included).
  const double strengths[10] = {0.8, 0.75, 0.7, 0.65, 0.6, 0.6, 0.55, 0.5, 0.45, 0.4};
  ItemModel model = SimpleStructureModel(10, 2, 0.5, {});
  for (int i = 0; i < 10; ++i) {
    model.loadings(i, 0) = i < 5 ? strengths[i] : 0.0;
    model.loadings(i, 1) = i < 5 ? 0.0 : strengths[i];
  }
  Matrix scores;
  ASSERT_TRUE(SimulateItemScores(model, 20000, 11, scores));
  std::vector<double> means;
  std::vector<double> deviations;
  Matrix products;
  Matrix correlations;
  int ifail = 0;
  G02BAF(20000, 10, scores, means, deviations, products, correlations, ifail);
  ASSERT_EQ(ifail, 0);

  RunOptions options = ExtractionOptions("PFA", 10, 2);
  options.InitialCommunality = PadRight("SMC", kInitialCommunalityWidth);
  PhaseRun run(options, correlations);
  ASSERT_FALSE(run.stopped) << run.console;
  EXPECT_EQ(run.console.find("Failed to Converge"), std::string::npos);
  for (int i = 0; i < 10; ++i) {
    for (int k = 0; k < 2; ++k) {
      EXPECT_NEAR(run.result.Loadings(i, k), model.loadings(i, k), 0.05) << i << " " << k;
    }
  }
}

TEST(RunExtraction, PrincipalComponentsOfAnEquicorrelationMatrix) {
  // rho = 0.5, p = 4: first eigenvalue 2.5 with the vector (0.5, 0.5, 0.5,
  // 0.5), so every loading is 0.5 sqrt(2.5).
  RunOptions options = ExtractionOptions("PCA", 4, 1);
  options.InitialCommunality = PadRight("SMC", kInitialCommunalityWidth);  // no effect
  options.CommunalityIterations = 1;  // the one pass "PCA" makes anyway
  PhaseRun run(options, Equicorrelation(4, 0.5));
  ASSERT_FALSE(run.stopped) << run.console;
  for (int i = 0; i < 4; ++i) {
    EXPECT_NEAR(run.result.Loadings(i, 0), 0.5 * std::sqrt(2.5), 1e-12);
    EXPECT_NEAR(run.result.Communalities[i], 0.625, 1e-12);
  }
  EXPECT_EQ(run.result.IterationCount, 1);
  // The counter is the text "Iteration: ", one blank more, and the pass as I3.
  EXPECT_EQ(
      run.console,
      kColumn30 + "Performing principal components analysis\n\n" + kColumn30 + "Iteration:    1\n");
  const std::vector<std::string> lines = run.ReportLines();
  EXPECT_GE(FindLine(lines, "Number of iterations during communality estimation:   1"), 0);
  // "PCA" never fails to converge, whatever the limit of passes.
  EXPECT_EQ(FindLine(lines, " **** Communalities Failed to Converge ****"), -1);
  // The unit diagonal stays for "PCA": the start words have no effect, and
  // the final diagonal holds the one-pass communalities.
  EXPECT_NEAR(run.r(1, 1), 0.625, 1e-12);
}

// Variables 1 to 3 correlate 0.9, 0.9 and -0.9: eigenvalues 1.9, 1.9, 1 and
// -0.8 (trace 4).
Matrix Indefinite() {
  Matrix r = Equicorrelation(4, 0.0);
  r(0, 1) = r(1, 0) = 0.9;
  r(0, 2) = r(2, 0) = 0.9;
  r(1, 2) = r(2, 1) = -0.9;
  return r;
}

TEST(RunExtraction, NegativeEigenvalueAmongTheFactorsIsError100) {
  std::vector<double> re, im;
  DEVLRG(4, Indefinite(), re, im);
  ASSERT_NEAR(re[2], 1.0, 1e-12);
  ASSERT_NEAR(re[3], -0.8, 1e-12);

  for (const char* model : {"PCA", "PFA"}) {
    PhaseRun run(ExtractionOptions(model, 4, 4), Indefinite());
    EXPECT_TRUE(run.stopped) << model;
    EXPECT_NE(run.console.find("\n" + kColumn30 + "Iteration:    1\n" + kColumn30 +
                               "ERROR 100:  SERIOUS PROBLEMS OCCURED DURING ITERATION  1\n"),
              std::string::npos)
        << run.console;
    EXPECT_NE(run.console.find("Pause - Enter command<CR> or <CR> to continue."),
              std::string::npos);
    // Nothing of the iteration reaches the report: the screen stands alone.
    EXPECT_EQ(run.report.Text().find("Analysis of Model Fit"), std::string::npos);
    EXPECT_NE(run.report.Text().find("Eigenvalues of Initial Correlation Matrix"),
              std::string::npos);
  }
}

TEST(RunExtraction, SumOfCommunalitiesAbovePIsError100) {
  // The three positive eigenvalues sum to 4.8, above p = 4.
  PhaseRun run(ExtractionOptions("PCA", 4, 3), Indefinite());
  EXPECT_TRUE(run.stopped);
  EXPECT_NE(run.console.find("ERROR 100:  SERIOUS PROBLEMS OCCURED DURING ITERATION  1"),
            std::string::npos);
}

TEST(RunExtraction, MoreFactorsThanVariablesEndsTheRun) {
  // With the default error setting the eigen solution stops the run itself;
  // after the inverse of "SMC" has switched stopping off, the phase stops
  // after the solver's message all the same.
  for (const char* start : {"ONE", "SMC"}) {
    RunOptions options = ExtractionOptions("PFA", 4, 5);
    options.InitialCommunality = PadRight(start, kInitialCommunalityWidth);
    PhaseRun run(options, Equicorrelation(4, 0.3));
    EXPECT_TRUE(run.stopped) << start;
    EXPECT_NE(run.console.find("The argument NEVEC = 5."), std::string::npos) << run.console;
    EXPECT_NE(run.console.find("Stop - Program terminated."), std::string::npos);
    EXPECT_EQ(run.report.Text().find("Analysis of Model Fit"), std::string::npos);
  }
}

TEST(RunExtraction, LastAllowedPassGivesTheMessageEvenWhenItConverged) {
  // rho = 0.8, p = 5: the first pass gives the sum 4.2, a change of 0.8,
  // which meets an epsilon of 0.9. With a limit of 1 that pass is also the
  // last allowed one, and the count alone decides.
  RunOptions options = ExtractionOptions("PFA", 5, 1);
  options.CommunalityEpsilon = 0.9;
  options.CommunalityIterations = 1;
  PhaseRun run(options, Equicorrelation(5, 0.8));
  ASSERT_FALSE(run.stopped) << run.console;
  EXPECT_EQ(run.result.IterationCount, 1);
  EXPECT_NE(run.console.find("Iteration:    1\n" + kColumn30 +
                             "**** Communalities Failed to Converge ****\n"),
            std::string::npos)
      << run.console;
  const std::vector<std::string> lines = run.ReportLines();
  const int message = FindLine(lines, " **** Communalities Failed to Converge ****");
  ASSERT_GT(message, 0);
  EXPECT_EQ(lines[message + 4], "0=============Analysis of Model Fit============0");

  options.CommunalityIterations = 2;
  PhaseRun again(options, Equicorrelation(5, 0.8));
  EXPECT_EQ(again.result.IterationCount, 1);
  EXPECT_EQ(again.console.find("Failed to Converge"), std::string::npos);
}

TEST(RunExtraction, EpsilonOfOneOrMoreRunsNoPass) {
  // The change starts at 1.0, so the first test at the top of the loop
  // already fails.
  RunOptions options = ExtractionOptions("PFA", 5, 1);
  options.CommunalityEpsilon = 1.0;
  PhaseRun run(options, Equicorrelation(5, 0.8));
  ASSERT_FALSE(run.stopped);
  EXPECT_EQ(run.result.IterationCount, 0);
  EXPECT_EQ(run.console.find("Iteration:"), std::string::npos);
}

TEST(RunExtraction, ExhaustedLimitUsesTheLastPass) {
  RunOptions options = ExtractionOptions("PFA", 6, 2);
  options.CommunalityEpsilon = 0.0;
  options.CommunalityIterations = 3;
  PhaseRun run(options, FromLoadings(kTwoFactorLoadings));
  ASSERT_FALSE(run.stopped);
  EXPECT_EQ(run.result.IterationCount, 3);
  EXPECT_NE(run.console.find("Iteration:    3\n" + kColumn30 + "**** Communalities"),
            std::string::npos)
      << run.console;
}

TEST(RunExtraction, NoPassBelowALimitOfOne) {
  RunOptions options = ExtractionOptions("PFA", 5, 2);
  options.CommunalityIterations = 0;
  PhaseRun run(options, Equicorrelation(5, 0.4));
  ASSERT_FALSE(run.stopped) << run.console;
  EXPECT_EQ(run.result.IterationCount, 0);
  for (double value : run.result.Loadings.values) EXPECT_EQ(value, 0.0);
  EXPECT_EQ(run.result.EigenValues, (std::vector<double>{0.0, 0.0}));
  // The diagonal keeps its start; the residuals are the correlations.
  EXPECT_EQ(run.result.Communalities, (std::vector<double>(5, 1.0)));
  const std::vector<std::string> lines = run.ReportLines();
  EXPECT_GE(FindLine(lines, "Number of iterations during communality estimation:   0"), 0);
  EXPECT_GE(FindLine(lines, "Mean residual =   0.4000"), 0);
  // Iteration 1 equals the limit 0 plus 1.
  EXPECT_GE(FindLine(lines, " **** Communalities Failed to Converge ****"), 0);
}

TEST(RunExtraction, PrincipalComponentsWithAsManyComponentsAsVariablesMayStopOnRounding) {
  // m = p reproduces the matrix, and the sum of the communalities is p up to
  // rounding. Where rounding lifts it above p the exact test stops the run;
  // otherwise the fit is perfect.
  for (double rho : {0.1, 0.2, 0.3, 0.5, 0.6}) {
    PhaseRun run(ExtractionOptions("PCA", 5, 5), Equicorrelation(5, rho));
    if (run.stopped) {
      EXPECT_NE(run.console.find("ERROR 100:  SERIOUS PROBLEMS OCCURED DURING ITERATION  1"),
                std::string::npos);
    } else {
      EXPECT_GE(FindLine(run.ReportLines(), "GFI = 1.0000"), 0) << rho;
      for (double h2 : run.result.Communalities) EXPECT_NEAR(h2, 1.0, 1e-12);
    }
  }
}

TEST(RunExtraction, PrincipalComponentsWithAsManyComponentsAsVariables) {
  // The unit matrix: eigenvalues and vectors are exact, the sum is exactly p.
  PhaseRun run(ExtractionOptions("PCA", 5, 5), Equicorrelation(5, 0.0));
  ASSERT_FALSE(run.stopped) << run.console;
  const std::vector<std::string> lines = run.ReportLines();
  EXPECT_GE(FindLine(lines, "GFI = 1.0000"), 0);
  EXPECT_GE(FindLine(lines, "Mean squared residual   0.0000"), 0);
  for (int i = 0; i < 5; ++i) EXPECT_NEAR(run.result.Communalities[i], 1.0, 1e-12);
  double sum = 0.0;
  for (double value : run.result.FactorVariance) sum += value;
  EXPECT_NEAR(sum, 5.0, 1e-12);
}

TEST(RunExtraction, HeywoodCaseIsOnlyWarnedAbout) {
  // One factor with loadings 1.1, 0.8, 0.8, 0.5, 0.5: the communality of
  // variable 1 converges to 1.21 while the sum, 2.99, stays below p.
  const std::vector<std::vector<double>> loadings{{1.1}, {0.8}, {0.8}, {0.5}, {0.5}};
  RunOptions options = ExtractionOptions("PFA", 5, 1);
  options.CommunalityEpsilon = 1e-12;
  options.CommunalityIterations = 5000;
  PhaseRun run(options, FromLoadings(loadings));
  ASSERT_FALSE(run.stopped) << run.console;
  EXPECT_NEAR(run.result.Communalities[0], 1.21, 1e-6);
  EXPECT_NEAR(run.result.Loadings(0, 0), 1.1, 1e-6);
  const std::vector<std::string> lines = run.ReportLines();
  const int warning =
      FindLine(lines, "          ****WARNING !!! HEYWOOD CASE FOR VARIABLE     1 ****");
  ASSERT_GT(warning, 0);
  EXPECT_EQ(lines[warning - 1], "");
  EXPECT_EQ(lines[warning + 1], "");
  EXPECT_EQ(lines[warning + 2], " Final communality estimates");
  EXPECT_EQ(lines[warning + 4], "      1.21    0.64    0.64    0.25    0.25");
}

TEST(HeywoodCheck, StrictlyAboveTheLimit) {
  OutputFile report;
  report.OpenInMemory(11);
  HeywoodCheck({0.5, 1.2, 1.00000001, 1.0, 1.0000001}, 5, report);
  EXPECT_EQ(report.Text(),
            "\n"
            "          ****WARNING !!! HEYWOOD CASE FOR VARIABLE     2 ****\n"
            "\n"
            "          ****WARNING !!! HEYWOOD CASE FOR VARIABLE     5 ****\n");
}

TEST(BuildLoadings, ScalesByTheRootOfTheEigenvalue) {
  Matrix vectors(2, 2);
  vectors(0, 0) = 0.6;
  vectors(1, 0) = 0.8;
  vectors(0, 1) = -0.8;
  vectors(1, 1) = 0.6;
  Matrix loadings(2, 2);
  BuildLoadings({4.0, -1.0}, vectors, loadings, 2, 2);
  EXPECT_DOUBLE_EQ(loadings(0, 0), 1.2);
  EXPECT_DOUBLE_EQ(loadings(1, 0), 1.6);
  // A negative eigenvalue spoils its column.
  EXPECT_TRUE(std::isnan(loadings(0, 1)));
  EXPECT_TRUE(std::isnan(loadings(1, 1)));
}

TEST(RunExtraction, LabelsOnTheUnrotatedTableOnly) {
  RunOptions options = ExtractionOptions("PCA", 4, 1);
  options.LabelMode = PadRight("LABELS", kLabelModeWidth);
  options.Labels = {PadRight("Anxiety", 15),
                    PadRight("Mood", 15),
                    PadRight("Sleep", 15),
                    PadRight("Appetite", 15)};
  PhaseRun run(options, Equicorrelation(4, 0.5));
  const std::vector<std::string> lines = run.ReportLines();
  const int unrotated = FindLine(lines, " Unrotated Factor Loadings");
  ASSERT_GT(unrotated, 0);
  EXPECT_EQ(lines[unrotated + 1], Blanks(17) + "1");  // R = 9 for "Appetite"
  EXPECT_EQ(lines[unrotated + 2], "  Anxiety    0.791");
  EXPECT_EQ(lines[unrotated + 5], " Appetite    0.791");
  // The communality columns are numbered, never labelled.
  const int final_h2 = FindLine(lines, " Final communality estimates");
  EXPECT_EQ(lines[final_h2 + 1], "         1       2       3       4");
}

TEST(RunExtraction, AnyOtherLabelWordPrintsNoUnrotatedTable) {
  RunOptions options = ExtractionOptions("PCA", 4, 1);
  options.LabelMode = PadRight("NUMBERS", kLabelModeWidth);
  PhaseRun run(options, Equicorrelation(4, 0.5));
  const std::vector<std::string> lines = run.ReportLines();
  EXPECT_EQ(FindLine(lines, " Unrotated Factor Loadings"), -1);
  EXPECT_GT(FindLine(lines, " Variance explained by each factor"), 0);
}

TEST(RunExtraction, FacFileOnlyForUnrotatedPrincipalFactors) {
  RunOptions options = ExtractionOptions("PFA", 6, 2);
  options.CommunalityEpsilon = 1e-12;
  options.CommunalityIterations = 5000;
  options.Rotation = PadRight("NONE", kRotationWidth);
  options.RotationName = PadRight("None", kRotationNameWidth);
  options.ScoreMethod = PadRight("NONE", kScoreMethodWidth);
  options.SaveResults = "T";
  options.SaveCodes = {"FAC"};
  const std::string dir = FreshDirectory("fac_pfa");
  PhaseRun run(options, FromLoadings(kTwoFactorLoadings), dir);
  ASSERT_FALSE(run.stopped);
  EXPECT_TRUE(run.ends);
  EXPECT_EQ(ReadFile(dir + "case.fac"),
            "   1   0.8000  0.0000\n"
            "   2   0.8000  0.0000\n"
            "   3   0.7000  0.0000\n"
            "   4   0.0000 -0.7000\n"
            "   5   0.0000  0.6000\n"
            "   6   0.0000  0.6000\n");

  options.Model = PadRight("PCA", kModelWidth);
  const std::string pca_dir = FreshDirectory("fac_pca");
  PhaseRun pca(options, FromLoadings(kTwoFactorLoadings), pca_dir);
  EXPECT_TRUE(pca.ends);
  EXPECT_FALSE(std::filesystem::exists(pca_dir + "case.fac"));

  options.Model = PadRight("PFA", kModelWidth);
  options.Rotation = PadRight("VARIMAX", kRotationWidth);
  options.RotationName = PadRight("Varimax", kRotationNameWidth);
  const std::string varimax_dir = FreshDirectory("fac_varimax");
  PhaseRun varimax(options, FromLoadings(kTwoFactorLoadings), varimax_dir);
  EXPECT_FALSE(varimax.ends);
  EXPECT_FALSE(std::filesystem::exists(varimax_dir + "case.fac"));
}

TEST(RunExtraction, AnyOtherModelWordIteratesLikePrincipalFactorsFromTheUnitDiagonal) {
  // A model word outside the five is not refused: extraction runs as for
  // "PFA" but from the unit diagonal, with no console line of its own, no
  // message at the limit of passes and no fac file.
  RunOptions factors = ExtractionOptions("PFA", 6, 2);
  factors.CommunalityIterations = 6;
  factors.Rotation = PadRight("NONE", kRotationWidth);
  factors.RotationName = PadRight("None", kRotationNameWidth);
  factors.ScoreMethod = PadRight("NONE", kScoreMethodWidth);
  factors.SaveResults = "T";
  factors.SaveCodes = {"FAC"};
  PhaseRun reference(factors, FromLoadings(kTwoFactorLoadings), FreshDirectory("model_pfa"));
  ASSERT_FALSE(reference.stopped) << reference.console;
  ASSERT_EQ(reference.result.IterationCount, 6);

  RunOptions other = factors;
  other.Model = PadRight("FA", kModelWidth);
  other.InitialCommunality = PadRight("SMC", kInitialCommunalityWidth);
  const std::string dir = FreshDirectory("model_other");
  PhaseRun run(other, FromLoadings(kTwoFactorLoadings), dir);
  ASSERT_FALSE(run.stopped) << run.console;
  EXPECT_EQ(run.result.IterationCount, 6);
  EXPECT_EQ(run.result.Loadings.values, reference.result.Loadings.values);
  EXPECT_EQ(run.result.Communalities, reference.result.Communalities);
  EXPECT_EQ(run.console, kColumn30 + "Iteration:    6\n");
  EXPECT_EQ(run.report.Text().find("Failed to Converge"), std::string::npos);
  EXPECT_FALSE(std::filesystem::exists(dir + "case.fac"));
}

TEST(EndsAfterExtraction, NoRotationAndNoScores) {
  RunOptions options = ExtractionOptions("PFA", 6, 1);
  options.Rotation = PadRight("NONE", kRotationWidth);
  options.ScoreMethod = PadRight("NONE", kScoreMethodWidth);
  EXPECT_TRUE(EndsAfterExtraction(options));
  options.ScoreMethod = PadRight("NOSCORE", kScoreMethodWidth);
  EXPECT_FALSE(EndsAfterExtraction(options));
  // The mixed-case "None" of a one-factor run is not the word "NONE".
  options.Rotation = PadRight("None", kRotationWidth);
  options.ScoreMethod = PadRight("NONE", kScoreMethodWidth);
  EXPECT_FALSE(EndsAfterExtraction(options));
}

}  // namespace
}  // namespace vq
