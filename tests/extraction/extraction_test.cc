#include "extraction/extraction.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "correlation/pearson.h"
#include "data/simulation.h"
#include "extraction_test_support.h"
#include "frame/console.h"
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
const std::string kFailed = "**** Communalities Failed to Converge ****";
const std::string kError100 = "ERROR 100:  SERIOUS PROBLEMS OCCURED DURING ITERATION  1";

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
  bool Says(const std::string& text) const { return console.find(text) != std::string::npos; }
};

RunOptions Options(const char* model, int p, int m, const char* start = "ONE") {
  RunOptions options = ExtractionOptions(model, p, m);
  options.InitialCommunality = PadRight(start, kInitialCommunalityWidth);
  return options;
}

// Rotation and scores "NONE", the fac file asked for.
RunOptions Unrotated(RunOptions options) {
  options.Rotation = PadRight("NONE", kRotationWidth);
  options.RotationName = PadRight("None", kRotationNameWidth);
  options.ScoreMethod = PadRight("NONE", kScoreMethodWidth);
  options.SaveResults = "T";
  options.SaveCodes = {"FAC"};
  return options;
}

// Two factors with orthogonal columns of different size: principal axes of
// L L' are L's own columns. The second column has its largest loading
// positive but its signed squares negative, so the reflection turns it.
const Matrix kTwoFactors =
    FromLoadings({{0.8, 0.0}, {0.8, 0.0}, {0.7, 0.0}, {0.0, 0.7}, {0.0, -0.6}, {0.0, -0.6}});

TEST(RunExtraction, PrincipalFactorsWithSmcRecoverKnownLoadings) {
  RunOptions options = Options("PFA", 6, 2, "SMC");
  options.CommunalityEpsilon = 1e-12;
  options.CommunalityIterations = 5000;
  PhaseRun run(options, kTwoFactors);
  ASSERT_FALSE(run.stopped) << run.console;
  EXPECT_FALSE(run.ends);
  const double expected[12] = {0.8, 0.8, 0.7, 0, 0, 0, 0, 0, 0, -0.7, 0.6, 0.6};
  for (int k = 0; k < 12; ++k) EXPECT_NEAR(run.result.Loadings.values[k], expected[k], 1e-4);
  // The communalities are the diagonal of R and of L L'; the other elements
  // of R stay.
  const Matrix& l = run.result.Loadings;
  for (int i = 0; i < 6; ++i) {
    EXPECT_EQ(run.r(i, i), run.result.Communalities[i]);
    EXPECT_NEAR(l(i, 0) * l(i, 0) + l(i, 1) * l(i, 1), run.r(i, i), 1e-9);
    for (int j = 0; j < 6; ++j) {
      if (i != j) {
        EXPECT_EQ(run.r(i, j), kTwoFactors(i, j));
      }
    }
  }
  EXPECT_NEAR(run.result.EigenValues[1], 1.21, 1e-6);
  EXPECT_GT(run.result.IterationCount, 1);
  EXPECT_EQ(run.console.substr(0, 56), kColumn30 + "Performing factor analysis\n\n");
  EXPECT_FALSE(run.Says("Failed to Converge"));

  // Sections in their order, and the tables of the phase.
  const std::vector<std::string> lines = run.ReportLines();
  const int fit = FindLine(lines, "0=============Analysis of Model Fit============0");
  const int unrotated = FindLine(lines, " Unrotated Factor Loadings");
  EXPECT_EQ(FindLine(lines, " Eigenvalues of Initial Correlation Matrix"), 3);
  EXPECT_LT(3, fit);
  EXPECT_LT(fit, unrotated);
  EXPECT_EQ(lines[fit + 2],
            "Number of iterations during communality estimation: " +
                FormatI(run.result.IterationCount, 3));
  EXPECT_EQ(lines[fit + 3], "GFI = 1.0000");
  const std::vector<std::string> tables = {" Unrotated Factor Loadings",
                                           "          1       2",
                                           " 1    0.800   0.000",
                                           " 2    0.800   0.000",
                                           " 3    0.700   0.000",
                                           " 4    0.000  -0.700",
                                           " 5    0.000   0.600",
                                           " 6    0.000   0.600",
                                           "",
                                           " Variance explained by each factor",
                                           "           1         2",
                                           "       1.770     1.210",
                                           "",
                                           " Final communality estimates",
                                           "         1       2       3       4       5       6",
                                           "      0.64    0.64    0.49    0.49    0.36    0.36",
                                           ""};
  EXPECT_EQ(std::vector<std::string>(lines.begin() + unrotated, lines.end()), tables);
}

TEST(RunExtraction, PrincipalFactorsRecoverTheLoadingsOfSimulatedScores) {
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
  PhaseRun run(Options("PFA", 10, 2, "SMC"), correlations);
  ASSERT_FALSE(run.stopped) << run.console;
  EXPECT_FALSE(run.Says("Failed to Converge"));
  for (int k = 0; k < 20; ++k) {
    EXPECT_NEAR(run.result.Loadings.values[k], model.loadings.values[k], 0.05) << k;
  }
}

TEST(RunExtraction, PrincipalComponentsMakeOnePassFromTheUnitDiagonal) {
  // rho = 0.5, p = 4: first eigenvalue 2.5 with the vector (0.5, 0.5, 0.5,
  // 0.5), so every loading is 0.5 sqrt(2.5). "SMC" has no effect, and one
  // allowed pass gives no message.
  RunOptions options = Options("PCA", 4, 1, "SMC");
  options.CommunalityIterations = 1;
  PhaseRun run(options, Equicorrelation(4, 0.5));
  ASSERT_FALSE(run.stopped) << run.console;
  for (int i = 0; i < 4; ++i) {
    EXPECT_NEAR(run.result.Loadings(i, 0), 0.5 * std::sqrt(2.5), 1e-12);
    EXPECT_NEAR(run.r(i, i), 0.625, 1e-12);
  }
  EXPECT_EQ(run.result.IterationCount, 1);
  // The counter is the text "Iteration: ", one blank more, and the pass as I3.
  EXPECT_EQ(
      run.console,
      kColumn30 + "Performing principal components analysis\n\n" + kColumn30 + "Iteration:    1\n");
  EXPECT_GE(FindLine(run.ReportLines(), "Number of iterations during communality estimation:   1"),
            0);
}

TEST(RunExtraction, PassesAndTheMessageAtTheLimit) {
  // rho = 0.8, p = 5, one factor: the first pass changes the sum by 0.8. The
  // count alone decides the message: a last allowed pass that meets the
  // tolerance gives it; a change that starts at 1.0 runs no pass under an
  // epsilon of 1; a limit of 0 runs none and still gives it.
  const struct {
    double epsilon;
    int limit, passes;
    bool message;
  } cases[] = {{0.9, 1, 1, true},
               {0.9, 2, 1, false},
               {0.0, 3, 3, true},
               {1.0, 50, 0, false},
               {1e-4, 0, 0, true}};
  for (const auto& c : cases) {
    RunOptions options = Options("PFA", 5, 1);
    options.CommunalityEpsilon = c.epsilon;
    options.CommunalityIterations = c.limit;
    PhaseRun run(options, Equicorrelation(5, 0.8));
    ASSERT_FALSE(run.stopped) << run.console;
    EXPECT_EQ(run.result.IterationCount, c.passes) << c.epsilon << " " << c.limit;
    EXPECT_EQ(run.console,
              kColumn30 + "Performing factor analysis\n\n" +
                  (c.passes ? kColumn30 + "Iteration: " + FormatI(c.passes, 4) + "\n" : "") +
                  (c.message ? kColumn30 + kFailed + "\n" : ""))
        << c.epsilon << " " << c.limit;
    const std::vector<std::string> lines = run.ReportLines();
    const int message = FindLine(lines, " " + kFailed);
    EXPECT_EQ(message >= 0, c.message);
    if (c.message) {
      EXPECT_EQ(lines[message + 4], "0=============Analysis of Model Fit============0");
    }
  }
  // With no pass nothing fills the loadings, and the diagonal keeps its
  // start: the residuals are the correlations.
  RunOptions options = Options("PFA", 5, 2);
  options.CommunalityIterations = 0;
  PhaseRun none(options, Equicorrelation(5, 0.4));
  EXPECT_EQ(none.result.Loadings.values, std::vector<double>(10, 0.0));
  EXPECT_EQ(none.result.Communalities, std::vector<double>(5, 1.0));
  EXPECT_GE(FindLine(none.ReportLines(), "Mean residual =   0.4000"), 0);
}

// Variables 1 to 3 correlate 0.9, 0.9 and -0.9: eigenvalues 1.9, 1.9, 1 and
// -0.8 (trace 4).
Matrix Indefinite() {
  Matrix r = Equicorrelation(4, 0.0);
  r(0, 1) = r(1, 0) = r(0, 2) = r(2, 0) = 0.9;
  r(1, 2) = r(2, 1) = -0.9;
  return r;
}

TEST(RunExtraction, NegativeEigenvalueOrSumAbovePIsError100) {
  // m = 4 takes -0.8 in (not a number); m = 3 sums 4.8, above p = 4.
  const std::pair<const char*, int> cases[] = {{"PCA", 4}, {"PFA", 4}, {"PCA", 3}};
  for (const auto& [model, m] : cases) {
    PhaseRun run(Options(model, 4, m), Indefinite());
    EXPECT_TRUE(run.stopped) << model << m;
    EXPECT_TRUE(run.Says("\n" + kColumn30 + "Iteration:    1\n" + kColumn30 + kError100 + "\n"))
        << run.console;
    EXPECT_TRUE(run.Says("Pause - Enter command<CR> or <CR> to continue."));
    // Nothing of the iteration reaches the report: the screen stands alone.
    EXPECT_EQ(run.report.Text().find("Analysis of Model Fit"), std::string::npos);
    EXPECT_NE(run.report.Text().find("Eigenvalues of Initial"), std::string::npos);
  }
}

TEST(RunExtraction, MoreFactorsThanVariablesEndsTheRun) {
  // With the default error setting the eigen solution stops the run itself;
  // after the inverse of "SMC" has switched stopping off, the phase stops
  // after the solver's message all the same.
  for (const char* start : {"ONE", "SMC"}) {
    PhaseRun run(Options("PFA", 4, 5, start), Equicorrelation(4, 0.3));
    EXPECT_TRUE(run.stopped) << start;
    EXPECT_TRUE(run.Says("The argument NEVEC = 5.")) << run.console;
    EXPECT_TRUE(run.Says("Stop - Program terminated."));
    EXPECT_EQ(run.report.Text().find("Analysis of Model Fit"), std::string::npos);
  }
}

TEST(RunExtraction, AsManyComponentsAsVariablesStopOnlyWhenRoundingLiftsTheSum) {
  // m = p reproduces the matrix: a perfect fit, unless rounding lifts the
  // sum of the communalities above p, which the exact test stops. The unit
  // matrix is exact.
  for (double rho : {0.0, 0.1, 0.2, 0.3, 0.5, 0.6}) {
    PhaseRun run(ExtractionOptions("PCA", 5, 5), Equicorrelation(5, rho));
    if (rho == 0.0) {
      ASSERT_FALSE(run.stopped) << run.console;
    }
    if (run.stopped) {
      EXPECT_TRUE(run.Says(kError100)) << rho;
      continue;
    }
    EXPECT_GE(FindLine(run.ReportLines(), "GFI = 1.0000"), 0) << rho;
    EXPECT_GE(FindLine(run.ReportLines(), "Mean squared residual   0.0000"), 0) << rho;
    for (double h2 : run.result.Communalities) EXPECT_NEAR(h2, 1.0, 1e-12);
  }
}

TEST(RunExtraction, HeywoodCaseIsOnlyWarnedAbout) {
  // One factor with loadings 1.1, 0.8, 0.8, 0.5, 0.5: the communality of
  // variable 1 converges to 1.21 while the sum, 2.99, stays below p.
  RunOptions options = Options("PFA", 5, 1);
  options.CommunalityEpsilon = 1e-12;
  options.CommunalityIterations = 5000;
  PhaseRun run(options, FromLoadings({{1.1}, {0.8}, {0.8}, {0.5}, {0.5}}));
  ASSERT_FALSE(run.stopped) << run.console;
  EXPECT_NEAR(run.result.Loadings(0, 0), 1.1, 1e-6);
  const std::vector<std::string> lines = run.ReportLines();
  const int warning =
      FindLine(lines, "          ****WARNING !!! HEYWOOD CASE FOR VARIABLE     1 ****");
  ASSERT_GT(warning, 0);
  EXPECT_EQ(lines[warning - 1], "");
  EXPECT_EQ(lines[warning + 1], "");
  EXPECT_EQ(lines[warning + 2], " Final communality estimates");
  EXPECT_EQ(lines[warning + 4], "      1.21    0.64    0.64    0.25    0.25");
  // The limit is strictly above 1.00000001.
  OutputFile report;
  report.OpenInMemory(11);
  HeywoodCheck({0.5, 1.2, 1.00000001, 1.0, 1.0000001}, 5, report);
  EXPECT_EQ(report.Text(),
            "\n          ****WARNING !!! HEYWOOD CASE FOR VARIABLE     2 ****\n"
            "\n          ****WARNING !!! HEYWOOD CASE FOR VARIABLE     5 ****\n");
}

TEST(BuildLoadings, ScalesByTheRootOfTheEigenvalue) {
  Matrix vectors(2, 2), loadings(2, 2);
  vectors.values = {0.6, 0.8, -0.8, 0.6};
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
  for (const char* label : {"Anxiety", "Mood", "Sleep", "Appetite"}) {
    options.Labels.push_back(PadRight(label, 15));
  }
  const std::vector<std::string> lines = PhaseRun(options, Equicorrelation(4, 0.5)).ReportLines();
  const int unrotated = FindLine(lines, " Unrotated Factor Loadings");
  ASSERT_GT(unrotated, 0);
  EXPECT_EQ(lines[unrotated + 1], Blanks(17) + "1");  // R = 9 for "Appetite"
  EXPECT_EQ(lines[unrotated + 2], "  Anxiety    0.791");
  EXPECT_EQ(lines[unrotated + 5], " Appetite    0.791");
  // The communality columns are numbered, never labelled.
  const int final_h2 = FindLine(lines, " Final communality estimates");
  EXPECT_EQ(lines[final_h2 + 1], "         1       2       3       4");
  // Any other label word prints no unrotated table.
  options.LabelMode = PadRight("NUMBERS", kLabelModeWidth);
  const std::string text = PhaseRun(options, Equicorrelation(4, 0.5)).report.Text();
  EXPECT_EQ(text.find("Unrotated Factor Loadings"), std::string::npos);
  EXPECT_NE(text.find("Variance explained by each factor"), std::string::npos);
}

TEST(RunExtraction, FacFileOnlyForUnrotatedPrincipalFactors) {
  RunOptions options = Unrotated(Options("PFA", 6, 2));
  options.CommunalityEpsilon = 1e-12;
  options.CommunalityIterations = 5000;
  const std::string dir = FreshDirectory("fac_pfa");
  EXPECT_TRUE(PhaseRun(options, kTwoFactors, dir).ends);
  EXPECT_EQ(ReadFile(dir + "case.fac"),
            "   1   0.8000  0.0000\n"
            "   2   0.8000  0.0000\n"
            "   3   0.7000  0.0000\n"
            "   4   0.0000 -0.7000\n"
            "   5   0.0000  0.6000\n"
            "   6   0.0000  0.6000\n");
  // Neither for "PCA" nor for a rotated solution.
  RunOptions pca = options;
  pca.Model = PadRight("PCA", kModelWidth);
  const std::string pca_dir = FreshDirectory("fac_pca");
  EXPECT_TRUE(PhaseRun(pca, kTwoFactors, pca_dir).ends);
  RunOptions varimax = options;
  varimax.Rotation = PadRight("VARIMAX", kRotationWidth);
  varimax.RotationName = PadRight("Varimax", kRotationNameWidth);
  const std::string varimax_dir = FreshDirectory("fac_varimax");
  EXPECT_FALSE(PhaseRun(varimax, kTwoFactors, varimax_dir).ends);
  EXPECT_FALSE(std::filesystem::exists(pca_dir + "case.fac"));
  EXPECT_FALSE(std::filesystem::exists(varimax_dir + "case.fac"));
}

TEST(EndsAfterExtraction, NoRotationAndNoScores) {
  RunOptions options = Unrotated(ExtractionOptions("PFA", 6, 1));
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
