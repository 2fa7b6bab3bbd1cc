#include "extraction/model_fit.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

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
using testing_support::Lines;
using testing_support::ReadFile;

std::string Counts(const std::vector<int>& counts) {
  std::string line = "     Counts:  ";
  for (int count : counts) line += FormatF(count, 6, 0);
  return line;
}

// Four variables, r0 with 0.5 off the diagonal, communalities 0.6, and a
// reproduced matrix that leaves the residuals (1,2) -0.1234, (1,3) 0.05,
// (1,4) 0.2, (2,3) -0.3, (2,4) 0.1, (3,4) 0.
struct FourVariableFit {
  Matrix r0 = Equicorrelation(4, 0.5);
  Matrix r = Equicorrelation(4, 0.5);
  Matrix rhat = Equicorrelation(4, 0.5);
  FourVariableFit() {
    const double residual[4][4] = {
        {0, -0.1234, 0.05, 0.2}, {-0.1234, 0, -0.3, 0.1}, {0.05, -0.3, 0, 0.0}, {0.2, 0.1, 0.0, 0}};
    for (int i = 0; i < 4; ++i) {
      r(i, i) = 0.6;
      rhat(i, i) = 0.6;
      for (int j = 0; j < 4; ++j) {
        if (i != j) rhat(i, j) = 0.5 - residual[i][j];
      }
    }
  }
};

TEST(ModelFitAnalysis, PerfectFitGivesGfiOneAndAllResidualsInClass21) {
  // Eleven variables: 55 residuals of 0. The histogram's step is 2 (55 is
  // more than 50 above the smallest count), and 55 is odd: the top is 56.
  const int p = 11;
  Matrix r0 = Equicorrelation(p, 0.3), r = r0, rhat = r0;
  for (int i = 0; i < p; ++i) r(i, i) = rhat(i, i) = 0.3;
  RunOptions options = ExtractionOptions("PFA", p, 1);
  OutputFile report;
  report.OpenInMemory(11);
  ModelFitAnalysis(options, r0, r, rhat, p, 3, report, "", "fit.in");
  const std::vector<std::string> lines = Lines(report.Text());
  EXPECT_EQ(lines[6], "GFI = 1.0000");
  EXPECT_EQ(lines[8], "Mean squared residual   0.0000");
  EXPECT_EQ(lines[11], "Standard deviation of residuals =   0.0000");
  EXPECT_EQ(lines[19], "                    0.0000");
  EXPECT_EQ(lines[20], "          25%  0.0000     0.0000  75%");
  const int top = FindLine(lines, "    56  *" + Blanks(86) + "*");
  ASSERT_GT(top, 0);
  // Bar 21 stands in position 52 of a row; 55 reaches the level 54.
  EXPECT_EQ(lines[top + 1], "    54  *" + Blanks(42) + "I" + Blanks(43) + "*");
  EXPECT_EQ(lines[top + 27], "     2  *" + Blanks(42) + "I" + Blanks(43) + "*");
  EXPECT_EQ(lines[top + 28], "  " + std::string(96, '-'));
  const int counts = FindLine(lines, Counts({55, 0, 0, 0, 0, 0, 0, 0, 0, 0}));
  EXPECT_GT(counts, top);
}

TEST(ModelFitAnalysis, GivenMatrixDiagonalCountsInTheIndex) {
  // Perfect off-diagonal fit, but a diagonal of 0.9: a = 5 * 0.01 / 25,
  // b = (5 * 0.81 + 20 * 0.25) / 25, GFI = 1 - 0.05 / 9.05.
  const int p = 5;
  Matrix r0 = Equicorrelation(p, 0.5);
  for (int i = 0; i < p; ++i) r0(i, i) = 0.9;
  Matrix r = r0, rhat = r0;
  EXPECT_NEAR(GoodnessOfFit(r0, r0, p), 0.0, 1e-15);
  RunOptions options = ExtractionOptions("PCA", p, 1);
  OutputFile report;
  report.OpenInMemory(11);
  ModelFitAnalysis(options, r0, r, rhat, p, 2, report, "", "fit.in");
  EXPECT_EQ(Lines(report.Text())[6], "GFI = 0.9945");
}

TEST(ModelFitAnalysis, ThreeVariablesStopAtTheFivePointSummary) {
  const int p = 3;
  Matrix r0 = Equicorrelation(p, 0.4), r = r0, rhat = r0;
  RunOptions options = ExtractionOptions("PCA", p, 1);
  OutputFile report;
  report.OpenInMemory(11);
  ConsoleCapture capture;
  EXPECT_THROW(ModelFitAnalysis(options, r0, r, rhat, p, 2, report, "", "fit.in"), RunStopped);
  EXPECT_NE(capture.Out().find("** On entry N.lt.5 : N =                3\n"), std::string::npos);
  const std::vector<std::string> lines = Lines(report.Text());
  // The moments block stands, the summary does not.
  EXPECT_EQ(lines.back(), "");
  EXPECT_EQ(lines[lines.size() - 2], "Coefficient of kurtosis =   0.0000");
}

TEST(ResidualDistribution, TheHistogramExample) {
  // Counts per class as in the example with a largest count of 6; each value
  // stands on its class midpoint -1 + 0.05 (c - 1).
  const int counts[41] = {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 0, 1, 2, 3, 5, 6,
                          6, 4, 3, 2, 1, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
  std::vector<double> residuals;
  for (int c = 1; c <= 41; ++c) {
    for (int n = 0; n < counts[c - 1]; ++n) residuals.push_back(-1.0 + 0.05 * (c - 1));
  }
  OutputFile report;
  report.OpenInMemory(11);
  ResidualDistribution(residuals, static_cast<int>(residuals.size()), report);
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

TEST(ResidualDistribution, SinglePrecisionLimitsAndOpenEnds) {
  // -0.975 lies just above the lower limit: class 2. -0.98 is class 1; 0.975
  // is not above the upper limit: class 40; 0.98 and 1.5 are class 41.
  const std::vector<double> residuals{-0.975, -0.98, 0.975, 0.98, 1.5};
  OutputFile report;
  report.OpenInMemory(11);
  ResidualDistribution(residuals, 5, report);
  const std::vector<std::string> lines = Lines(report.Text());
  const int first = FindLine(
      lines, "     Class:       1     2     3     4     5     6     7     8     9    10    ");
  ASSERT_GT(first, 0);
  EXPECT_EQ(lines[first + 2], Counts({1, 1, 0, 0, 0, 0, 0, 0, 0, 0}));
  EXPECT_EQ(lines[first + 14], Counts({0, 0, 0, 0, 0, 0, 0, 0, 0, 1}));
  EXPECT_EQ(lines[first + 18], "     Counts:      2.");
}

}  // namespace
}  // namespace vq
