#include "writers/extraction_writer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <string>
#include <vector>

#include "extraction/extraction_test_support.h"
#include "text/edit_descriptors.h"

namespace vq {
namespace {

using testing_support::FindLine;
using testing_support::FourVariableFit;
using testing_support::FreshDirectory;
using testing_support::Lines;
using testing_support::ReadFile;

// A report in memory and the saved files of the run "case.in" in `dir`.
struct Outputs {
  OutputFile report;
  RunOutputs outputs;
  explicit Outputs(const std::string& dir = "") : outputs(report, dir, "case.in") {
    report.OpenInMemory(11);
  }
  std::vector<std::string> ReportLines() const { return Lines(report.Text()); }
};

// Lines from `first` on, `count` of them.
std::vector<std::string> Slice(const std::vector<std::string>& lines, int first, int count) {
  if (first < 0 || first + count > static_cast<int>(lines.size())) return {};
  return std::vector<std::string>(lines.begin() + first, lines.begin() + first + count);
}

std::string Counts(const std::vector<int>& counts) {
  std::string line = "     Counts:  ";
  for (int count : counts) line += FormatF(count, 6, 0);
  return line;
}

TEST(CappedTableWidth, OneHundredAndTenFromAPageOf120) {
  EXPECT_EQ(CappedTableWidth(120), 110);
  EXPECT_EQ(CappedTableWidth(119), 119);
}

TEST(WriteEigenvalueScreen, TableByModulusFileByValue) {
  // Eigenvalues 5, -2 and 1: the table lists them as given, by modulus, the
  // file as the plot left them, in descending order of value.
  ExtractionWriteOptions options;
  options.SaveEigenvalues = true;
  const std::string dir = FreshDirectory("screen_small");
  Outputs out(dir);
  WriteEigenvalueScreen({5.0, -2.0, 1.0}, options, out.outputs);
  const std::vector<std::string> lines = out.ReportLines();
  ASSERT_GE(lines.size(), 12u);
  EXPECT_EQ(Slice(lines, 0, 8),
            (std::vector<std::string>{"",
                                      "",
                                      "",
                                      " Eigenvalues of Initial Correlation Matrix",
                                      "         1       2       3",
                                      "     5.000  -2.000   1.000",
                                      "",
                                      " Eigenvalue Plot"}));
  EXPECT_NE(lines[8], "");  // the plot begins at once, and three empty lines end it
  const std::string text = out.report.Text();
  EXPECT_EQ(text.substr(text.size() - 4), "\n\n\n\n");
  EXPECT_NE(text[text.size() - 5], '\n');
  EXPECT_EQ(ReadFile(dir + "case.eig"), "  5.0000\n  1.0000\n -2.0000\n");
  // No file unless asked for.
  options.SaveEigenvalues = false;
  const std::string none = FreshDirectory("screen_none");
  Outputs quiet(none);
  WriteEigenvalueScreen({2.0, 1.0}, options, quiet.outputs);
  EXPECT_FALSE(std::filesystem::exists(none + "case.eig"));
}

TEST(WriteEigenvalueScreen, MoreThanThirtyValues) {
  // 35 values of moduli 3.5, 3.4, ..., 0.1 with alternating signs. The plot
  // takes the first 30 ranks and sorts them by value; the last five stay in
  // the order of the table.
  std::vector<double> values;
  for (int i = 1; i <= 35; ++i) values.push_back((i % 2 == 1 ? 1 : -1) * (36 - i) / 10.0);
  ExtractionWriteOptions options;
  options.SaveEigenvalues = true;
  const std::string dir = FreshDirectory("screen_large");
  Outputs out(dir);
  WriteEigenvalueScreen(values, options, out.outputs);

  std::vector<double> plotted(values.begin(), values.begin() + 30);
  std::sort(plotted.begin(), plotted.end(), std::greater<double>());
  std::string expected;
  for (double value : plotted) expected += FormatF(value, 8, 4) + "\n";
  for (int i = 30; i < 35; ++i) expected += FormatF(values[i], 8, 4) + "\n";
  EXPECT_EQ(ReadFile(dir + "case.eig"), expected);

  // Width 110: (110 - 1 - 1) / 8 = 13 columns a block, so three blocks.
  const std::vector<std::string> lines = out.ReportLines();
  EXPECT_EQ(lines[5],
            "     3.500  -3.400   3.300  -3.200   3.100  -3.000   2.900  -2.800   2.700  "
            "-2.600   2.500  -2.400   2.300");
  EXPECT_EQ(lines[6], " ");
  EXPECT_EQ(lines[7],
            "        14      15      16      17      18      19      20      21      22     "
            " 23      24      25      26");

  // The plot shows the first 30 ranks only: 30 points, each alone in its
  // column, in the grid between the two tick lines.
  int plot = 0;
  while (plot < static_cast<int>(lines.size()) && lines[plot] != " Eigenvalue Plot") ++plot;
  ASSERT_LT(plot + 1, static_cast<int>(lines.size()));
  // The tick string; the bottom line repeats it, with a label or without.
  const std::string ticks = lines[plot + 1].substr(12);
  int points = 0;
  int row = plot + 2;
  for (; row < static_cast<int>(lines.size()) && lines[row].substr(12) != ticks; ++row) {
    const std::string cells = lines[row].substr(13, lines[row].size() - 14);
    for (char cell : cells) {
      ASSERT_TRUE(cell == ' ' || cell == '.' || cell == '+' || cell == '1') << lines[row];
      if (cell == '1') ++points;
    }
  }
  EXPECT_LT(row, static_cast<int>(lines.size()));
  EXPECT_EQ(points, 30);
}

// The fit of FourVariableFit after `passes` passes.
ExtractionResult FourVariableResult(int passes) {
  const FourVariableFit four;
  ExtractionResult result;
  result.IterationCount = passes;
  ComputeModelFit(four.r0, four.rhat, four.communalities, result.Fit);
  return result;
}

TEST(WriteModelFit, HeadGfiMomentsAndSummary) {
  ExtractionWriteOptions options;
  options.SaveResiduals = true;
  const std::string dir = FreshDirectory("fit_short");
  Outputs out(dir);
  WriteModelFit(FourVariableResult(7), options, out.outputs);
  // Without "LONG" neither the residual table nor the rsd file.
  EXPECT_FALSE(std::filesystem::exists(dir + "case.rsd"));
  const std::vector<std::string> lines = out.ReportLines();
  EXPECT_EQ(Slice(lines, 0, 7),
            (std::vector<std::string>{"",
                                      "",
                                      "",
                                      "0=============Analysis of Model Fit============0",
                                      "",
                                      "Number of iterations during communality estimation:   7",
                                      "GFI = 0.9549"}));
  EXPECT_EQ(Slice(lines, 7, 8),
            (std::vector<std::string>{
                "",
                "Mean squared residual   0.0263",
                "Root Mean Squared Residual (RMSR) =   0.1621",
                "Mean residual =  -0.0122",
                "Standard deviation of residuals =   0.1771",
                "Coefficient of skewness =  -0.5036",
                "Coefficient of kurtosis =  -1.1272",
                "",
            }));
  EXPECT_EQ(Slice(lines, 15, 13),
            (std::vector<std::string>{
                "",
                "          Five point summary of residuals ",
                "",
                "                    Median",
                "                    0.0250",
                "          25%  -.1234     0.1000  75%",
                "          MIN  -.3000     0.2000  MAX",
                "",
                "0=============================================0",
                "",
                "",
                "",
                "",
            }));
  EXPECT_EQ(lines[28], "1");  // the histogram follows
}

TEST(WriteModelFit, ClassTableOfTheResiduals) {
  Outputs out;
  WriteModelFit(FourVariableResult(1), ExtractionWriteOptions(), out.outputs);
  const std::vector<std::string> lines = out.ReportLines();
  const int first = FindLine(
      lines, "     Class:       1     2     3     4     5     6     7     8     9    10    ");
  ASSERT_GT(first, 0);
  EXPECT_EQ(Slice(lines, first, 24),
            (std::vector<std::string>{
                "     Class:       1     2     3     4     5     6     7     8     9    10    ",
                "  Midpoints:   -1.00 -0.95 -0.90 -0.85 -0.80 -0.75 -0.70 -0.65 -0.60 -0.55",
                Counts({0, 0, 0, 0, 0, 0, 0, 0, 0, 0}),
                "",
                "     Class:      11    12    13    14    15    16    17    18    19    20    ",
                "  Midpoints:   -0.50 -0.45 -0.40 -0.35 -0.30 -0.25 -0.20 -0.15 -0.10 -0.05",
                Counts({0, 0, 0, 0, 1, 0, 0, 0, 1, 0}),
                "",
                "     Class:      21    22    23    24    25    26    27    28    29    30    ",
                "  Midpoints:    0.00  0.05  0.10  0.15  0.20  0.25  0.30  0.35  0.40  0.45",
                Counts({1, 1, 1, 0, 1, 0, 0, 0, 0, 0}),
                "",
                "     Class:      31    32    33    34    35    36    37    38    39    40    ",
                "  Midpoints:    0.50  0.55  0.60  0.65  0.70  0.75  0.80  0.85  0.90  0.95",
                Counts({0, 0, 0, 0, 0, 0, 0, 0, 0, 0}),
                "",
                "     Class:      41    ",
                "  Midpoints:    1.00",
                "     Counts:      0.",
                "",
                "0=============================================0",
                "",
                "",
                "",
            }));
  EXPECT_EQ(static_cast<int>(lines.size()), first + 24);
  EXPECT_EQ(Counts({0, 1}), "     Counts:      0.    1.");
}

TEST(WriteModelFit, LongGivesTheResidualTableAndTheFile) {
  ExtractionWriteOptions options;
  options.LongListing = true;
  options.SaveResiduals = true;
  options.PageWidth = 80;
  const std::string dir = FreshDirectory("fit_long");
  Outputs out(dir);
  WriteModelFit(FourVariableResult(1), options, out.outputs);
  const std::vector<std::string> lines = out.ReportLines();
  EXPECT_EQ(Slice(lines, 7, 11),
            (std::vector<std::string>{
                "",
                "",
                "",
                " Residual Covariances (1-h^2 on diagonal)",
                "          1       2       3       4",
                " 1    0.400  -0.123   0.050   0.200",
                " 2   -0.123   0.400  -0.300   0.100",
                " 3    0.050  -0.300   0.400   0.000",
                " 4    0.200   0.100   0.000   0.400",
                "",
                "",
            }));
  EXPECT_EQ(lines[18], "");
  EXPECT_EQ(lines[19], "");
  EXPECT_EQ(lines[20], "Mean squared residual   0.0263");
  EXPECT_EQ(ReadFile(dir + "case.rsd"),
            " 0.400000000 -0.123400000  0.050000000  0.200000000\n"
            "-0.123400000  0.400000000 -0.300000000  0.100000000\n"
            " 0.050000000 -0.300000000  0.400000000  0.000000000\n"
            " 0.200000000  0.100000000  0.000000000  0.400000000\n");
}

TEST(WriteModelFit, TheMessageAtTheLimitOpensTheSection) {
  ExtractionResult result = FourVariableResult(200);
  result.PassLimitReached = true;
  Outputs out;
  WriteModelFit(result, ExtractionWriteOptions(), out.outputs);
  EXPECT_EQ(Slice(out.ReportLines(), 0, 6),
            (std::vector<std::string>{" **** Communalities Failed to Converge ****",
                                      "",
                                      "",
                                      "",
                                      "0=============Analysis of Model Fit============0",
                                      ""}));
}

TEST(WriteModelFit, AFitStoppedAtTheSummaryEndsAfterTheMoments) {
  ExtractionResult result = FourVariableResult(2);
  result.Fit.HasFivePointSummary = false;
  ExtractionWriteOptions options;
  options.LongListing = true;
  options.SaveResiduals = true;
  const std::string dir = FreshDirectory("fit_stopped");
  Outputs out(dir);
  WriteModelFit(result, options, out.outputs);
  const std::vector<std::string> lines = out.ReportLines();
  EXPECT_EQ(Slice(lines, lines.size() - 3, 3),
            (std::vector<std::string>{
                "Coefficient of skewness =  -0.5036", "Coefficient of kurtosis =  -1.1272", ""}));
  EXPECT_FALSE(std::filesystem::exists(dir + "case.rsd"));
}

TEST(WriteResidualDistribution, TheHistogramExample) {
  // Counts per class as in the example with a largest count of 6; each value
  // stands on its class midpoint -1 + 0.05 (c - 1).
  const int counts[41] = {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 0, 1, 2, 3, 5, 6,
                          6, 4, 3, 2, 1, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
  std::vector<double> residuals;
  for (int c = 1; c <= 41; ++c) {
    for (int n = 0; n < counts[c - 1]; ++n) residuals.push_back(-1.0 + 0.05 * (c - 1));
  }
  std::vector<double> midpoints, classes;
  ClassifyResiduals(residuals, static_cast<int>(residuals.size()), midpoints, classes);
  OutputFile report;
  report.OpenInMemory(11);
  WriteResidualDistribution(midpoints, classes, report);
  // The histogram and the three empty lines after it.
  const std::string expected = R"(1
                                Distribution of Residuals:  R - R^hat
  Frequency---------------------------------------------------------------------------------------
     6  *                                          I I                                         *
     5  *                                        I I I                                         *
     4  *                                        I I I I                                       *
     3  *                                      I I I I I I                                     *
     2  *                                    I I I I I I I I                                   *
     1  *                              I   I I I I I I I I I I   I                             *
  ------------------------------------------------------------------------------------------------
  Class            5        10        15        20        25        30        35        40
)";
  EXPECT_EQ(report.Text().substr(0, expected.size() + 3), expected + "\n\n\n");
}

// The solution of two factors with orthogonal columns: loadings 0.8, 0.8,
// 0.7 on the first, -0.7, 0.6, 0.6 on the second.
ExtractionResult TwoFactorResult() {
  ExtractionResult result;
  result.Loadings = Matrix(6, 2);
  result.Loadings.values = {0.8, 0.8, 0.7, 0, 0, 0, 0, 0, 0, -0.7, 0.6, 0.6};
  result.FactorVariance = {1.77, 1.21};
  result.Communalities = {0.64, 0.64, 0.49, 0.49, 0.36, 0.36};
  result.HeywoodCases = std::vector<bool>(6, false);
  return result;
}

TEST(WriteUnrotatedResults, LoadingsVariancesAndCommunalities) {
  Outputs out;
  WriteUnrotatedResults(TwoFactorResult(), ExtractionWriteOptions(), out.outputs);
  EXPECT_EQ(out.ReportLines(),
            (std::vector<std::string>{" Unrotated Factor Loadings",
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
                                      ""}));
}

TEST(WriteUnrotatedResults, HeywoodWarningsBeforeTheCommunalities) {
  ExtractionResult result = TwoFactorResult();
  result.HeywoodCases = {false, true, false, false, false, true};
  Outputs out;
  WriteUnrotatedResults(result, ExtractionWriteOptions(), out.outputs);
  const std::vector<std::string> lines = out.ReportLines();
  const int warning =
      FindLine(lines, "          ****WARNING !!! HEYWOOD CASE FOR VARIABLE     2 ****");
  ASSERT_GT(warning, 0);
  EXPECT_EQ(
      Slice(lines, warning - 1, 6),
      (std::vector<std::string>{"",
                                "          ****WARNING !!! HEYWOOD CASE FOR VARIABLE     2 ****",
                                "",
                                "          ****WARNING !!! HEYWOOD CASE FOR VARIABLE     6 ****",
                                "",
                                " Final communality estimates"}));
}

TEST(WriteUnrotatedResults, LabelsOnTheLoadingsOnly) {
  ExtractionResult result;
  result.Loadings = Matrix(4, 1, 0.5 * std::sqrt(2.5));
  result.FactorVariance = {2.5};
  result.Communalities = std::vector<double>(4, 0.625);
  result.HeywoodCases = std::vector<bool>(4, false);
  ExtractionWriteOptions options;
  options.LabelMode = LabelMode::kLabels;
  for (const char* label : {"Anxiety", "Mood", "Sleep", "Appetite"}) {
    options.Labels.push_back(PadRight(label, 15));
  }
  Outputs out;
  WriteUnrotatedResults(result, options, out.outputs);
  const std::vector<std::string> lines = out.ReportLines();
  const int unrotated = FindLine(lines, " Unrotated Factor Loadings");
  ASSERT_EQ(unrotated, 0);
  EXPECT_EQ(lines[unrotated + 1], Blanks(17) + "1");  // R = 9 for "Appetite"
  EXPECT_EQ(lines[unrotated + 2], "  Anxiety    0.791");
  EXPECT_EQ(lines[unrotated + 5], " Appetite    0.791");
  // The communality columns are numbered, never labelled.
  const int final_h2 = FindLine(lines, " Final communality estimates");
  EXPECT_EQ(lines[final_h2 + 1], "         1       2       3       4");
  // Any other label word prints no table of loadings.
  options.LabelMode = LabelMode::kOther;
  Outputs other;
  WriteUnrotatedResults(result, options, other.outputs);
  EXPECT_EQ(other.report.Text().find("Unrotated Factor Loadings"), std::string::npos);
  EXPECT_EQ(other.ReportLines()[1], " Variance explained by each factor");
}

TEST(WriteUnrotatedResults, TheFacFileWhenAskedFor) {
  ExtractionWriteOptions options;
  options.SaveUnrotatedLoadings = true;
  const std::string dir = FreshDirectory("fac_saved");
  Outputs out(dir);
  WriteUnrotatedResults(TwoFactorResult(), options, out.outputs);
  EXPECT_EQ(ReadFile(dir + "case.fac"),
            "   1   0.8000  0.0000\n"
            "   2   0.8000  0.0000\n"
            "   3   0.7000  0.0000\n"
            "   4   0.0000 -0.7000\n"
            "   5   0.0000  0.6000\n"
            "   6   0.0000  0.6000\n");
  options.SaveUnrotatedLoadings = false;
  const std::string none = FreshDirectory("fac_none");
  Outputs quiet(none);
  WriteUnrotatedResults(TwoFactorResult(), options, quiet.outputs);
  EXPECT_FALSE(std::filesystem::exists(none + "case.fac"));
}

}  // namespace
}  // namespace vq
