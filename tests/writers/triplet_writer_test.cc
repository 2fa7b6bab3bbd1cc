#include "writers/triplet_writer.h"

#include <gtest/gtest.h>

#include <string>

#include "frame/console.h"
#include "frame/progress.h"
#include "report/run_outputs.h"

namespace vq {
namespace {

TEST(TripletWriter, FewerThanThreeVariablesPrintZeroPercent) {
  // No triplet to test: the scores and correlations are never looked at.
  const Matrix scores(50, 2, 0.0);
  Matrix r(2, 2, 0.3);
  r(0, 0) = r(1, 1) = 1.0;
  OutputFile report;
  report.OpenInMemory(11);
  ConsoleCapture capture;
  const TripletSummary summary = TestAllTriplets(scores, 50, 2, r, SilentProgress());
  RunOutputs outputs(report, "", "t.in");
  WriteTripletReport(summary, outputs);
  EXPECT_EQ(summary.triplet_count, 0);
  const std::string text = report.Text();
  EXPECT_NE(text.find("Number of triplets tested =        0\n"), std::string::npos);
  EXPECT_NE(text.find("\n  1                    0                           0.00\n"
                      "  2                    0                           0.00\n"),
            std::string::npos);
  OutputFile mvn;
  mvn.OpenInMemory(22);
  WriteTripletFile(mvn, summary);
  EXPECT_EQ(mvn.Text(), "\n    0.000      0.000\n");
}

TEST(TripletWriter, StoppedTestKeepsTheHeadAndTheLinesBeforeTheStop) {
  TripletSummary summary;
  summary.triplets = {{1, 2, 3}, {1, 2, 4}, {1, 3, 4}, {2, 3, 4}};
  summary.chi_squares = {7.5, 0.0, 0.0, 0.0};
  summary.tested = 1;
  OutputFile report;
  report.OpenInMemory(11);
  RunOutputs outputs(report, "", "t.in");
  WriteTripletReport(summary, outputs);
  EXPECT_EQ(report.Text(),
            "\n\n0==============Triplet Test of Multivariate Normality============0\n\n"
            "   Triplet    LR Chi-Square\n\n"
            "  1   2   3       7.5000**\n");
}

}  // namespace
}  // namespace vq
