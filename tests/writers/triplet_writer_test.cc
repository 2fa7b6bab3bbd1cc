#include "writers/triplet_writer.h"

#include <gtest/gtest.h>

#include <regex>
#include <string>

#include "data/simulation.h"
#include "frame/console.h"
#include "frame/progress.h"
#include "kernels/failure.h"
#include "report/run_outputs.h"
#include "text/edit_descriptors.h"

namespace vq {
namespace {

Matrix SimulatedItems(int p, int n, std::uint64_t seed) {
  ItemModel model = SimpleStructureModel(p, 1, 0.6, {0.0});
  for (int i = 0; i < p; ++i) model.thresholds[i] = {-0.5 + 0.3 * i};
  Matrix scores;
  SimulateItemScores(model, n, seed, scores);
  return scores;
}

Matrix EqualCorrelations(int p, double r) {
  Matrix m(p, p, r);
  for (int i = 0; i < p; ++i) m(i, i) = 1.0;
  return m;
}

TEST(TripletWriter, SectionOfOneTriplet) {
  ResetImslState();
  const Matrix scores = SimulatedItems(3, 600, 11);
  OutputFile report;
  report.OpenInMemory(11);
  ConsoleCapture capture;
  const TripletSummary summary =
      TestAllTriplets(scores, 600, 3, EqualCorrelations(3, 0.36), SilentProgress());
  RunOutputs outputs(report, "", "t.in");
  WriteTripletReport(summary, outputs);
  ASSERT_EQ(summary.chi_squares.size(), 1u);
  const std::string text = report.Text();
  const std::string head =
      "\n\n0==============Triplet Test of Multivariate Normality============0\n\n"
      "   Triplet    LR Chi-Square\n\n";
  ASSERT_EQ(text.substr(0, head.size()), head);
  const std::string line = text.substr(head.size(), text.find('\n', head.size()) - head.size());
  EXPECT_TRUE(
      std::regex_match(line, std::regex("  1   2   3   [ 0-9]{5}\\.[0-9]{4}(  |\\* |\\*\\*)")))
      << line;
  EXPECT_EQ(line.substr(14, 10), FormatF(summary.chi_squares[0], 10, 4));
  const bool suspicious = TripletMark(summary.chi_squares[0]) == "**";
  const std::string percent = suspicious ? "  100.00" : "    0.00";
  const std::string count = suspicious ? "       1" : "       0";
  EXPECT_EQ(text.substr(head.size() + line.size() + 1),
            "\nNumber of triplets tested =        1\n\n"
            "Variable         # of times                    % of times \n"
            "            in a suspicious triplet       in a suspicious triplet\n"
            "                                               (1.00 = 1%)            \n"
            "--------   ------------------------       ------------------------\n"
            "  1             " +
                count + std::string(23, ' ') + percent + "\n  2             " + count +
                std::string(23, ' ') + percent + "\n  3             " + count +
                std::string(23, ' ') + percent + "\n");
  ResetImslState();
}

TEST(TripletWriter, FewerThanThreeVariablesPrintZeroPercent) {
  const Matrix scores = SimulatedItems(2, 50, 3);
  OutputFile report;
  report.OpenInMemory(11);
  ConsoleCapture capture;
  const TripletSummary summary =
      TestAllTriplets(scores, 50, 2, EqualCorrelations(2, 0.3), SilentProgress());
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

TEST(TripletWriter, SavedFileLayout) {
  TripletSummary summary;
  summary.chi_squares = {1.23456, 12.5};
  summary.percentages = {100.0, 0.0, 50.0};
  OutputFile mvn;
  mvn.OpenInMemory(22);
  WriteTripletFile(mvn, summary);
  EXPECT_EQ(mvn.Text(), "    1.235     12.500\n  100.000      0.000     50.000\n");
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
