#include "rotation/rotation.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "test_matrices.h"
#include "text/edit_descriptors.h"

namespace vq {
namespace {

using testing::FindLine;
using testing::FromRows;
using testing::Lines;
using testing::MaxAbsDifference;
using testing::Outer;
using testing::RowSumsOfSquares;

RunOptions WithItems(RunOptions options) {
  options.HasItemFile = true;
  for (int i = 0; i < options.VariableCount; ++i) {
    options.ItemTexts.push_back(PadRight("Text of item " + std::to_string(i + 1), kItemTextWidth));
  }
  return options;
}

std::string RotateToText(const RunOptions& options, RotationResults& results) {
  Matrix loadings = testing::ThreeFactorLoadings();
  const std::vector<double> h2 = RowSumsOfSquares(loadings);
  OutputFile report;
  report.OpenInMemory(11);
  RunRotation(options, loadings, h2, Matrix(), report, "", "run.in", results);
  return report.Text();
}

TEST(RunRotation, SortedItemsFollowTheLastSortedSolution) {
  for (const char* rotation : {"VARIMAX", "PROMAX", "WVARIMAX"}) {
    RotationResults results;
    const RunOptions options = WithItems(testing::SmallRunOptions(12, 3, rotation));
    const std::vector<std::string> lines = Lines(RotateToText(options, results));
    const int list = FindLine(lines, " SORTED ITEMS");
    ASSERT_NE(list, -1) << rotation;
    EXPECT_EQ(lines[list + 2], "FACTOR:    1");
    const Matrix& sorted = results.oblique ? results.FactorPattern : results.RotatedLoadings;
    const int first = results.Order[0];
    EXPECT_EQ(lines[list + 3],
              "TRUE" + FormatF(sorted(0, 0), 8, 3) +
                  "  ITEM: " + PadRight("Text of item " + std::to_string(first), 200))
        << rotation;
    // Three headers for the three groups, and two empty lines at the end.
    EXPECT_NE(FindLine(lines, "FACTOR:    3", list), -1);
    EXPECT_EQ(lines[lines.size() - 1], "");
    EXPECT_EQ(lines[lines.size() - 2], "");
  }
}

TEST(RunRotation, NoListWithoutSortOrItemsOrRotation) {
  RotationResults results;
  RunOptions options = testing::SmallRunOptions(12, 3, "VARIMAX");
  EXPECT_EQ(FindLine(Lines(RotateToText(options, results)), " SORTED ITEMS"), -1);
  options = WithItems(options);
  options.SortMode = ParseSortMode("NOSORT");
  EXPECT_EQ(FindLine(Lines(RotateToText(options, results)), " SORTED ITEMS"), -1);
  // One factor: the parser's "None" runs no rotation and prints nothing.
  options = WithItems(testing::SmallRunOptions(12, 1, "None"));
  Matrix one(12, 1, 0.5);
  OutputFile report;
  report.OpenInMemory(11);
  RunRotation(options, one, std::vector<double>(12, 0.25), Matrix(), report, "", "r.in", results);
  EXPECT_EQ(report.Text(), "");
  EXPECT_FALSE(results.orthogonal || results.oblique);
  EXPECT_EQ(results.Order, std::vector<int>(12, 0));
}

TEST(RunRotation, UnknownRotationWordRunsNothing) {
  RotationResults results;
  const RunOptions options = testing::SmallRunOptions(12, 3, "NONE");
  EXPECT_EQ(RotateToText(options, results), "");
}

TEST(RunRotation, PromaxStartsFromVarimaxInItemOrder) {
  RotationResults results;
  const RunOptions options = testing::SmallRunOptions(12, 3, "PROMAX");
  RotateToText(options, results);
  // The Varimax rows were sorted for print; the item-order copy is what
  // Promax rotated, so the pattern reproduces its inner products.
  EXPECT_LT(
      MaxAbsDifference(testing::Reproduced(results.ItemOrderPattern, results.FactorCorrelations),
                       Outer(results.ItemOrderLoadings)),
      1e-10);
}

TEST(PrepareGivenPattern, CommunalitiesAndVariancesOfThePattern) {
  RunOptions options = testing::SmallRunOptions(3, 2, "VARIMAX");
  options.Model = ParseModel("ROT");
  options.InputForm = ParseInputForm("FLD1");
  Matrix loadings = FromRows({{0.6, 0.2}, {0.1, 0.7}, {0.5, 0.5}});
  std::vector<double> h2, variance;
  PrepareGivenPattern(options, loadings, nullptr, 3, 2, h2, variance);
  EXPECT_DOUBLE_EQ(h2[0], 0.4);
  EXPECT_DOUBLE_EQ(h2[2], 0.5);
  EXPECT_DOUBLE_EQ(variance[0], 0.36 + 0.01 + 0.25);
  EXPECT_DOUBLE_EQ(variance[1], 0.04 + 0.49 + 0.25);
}

TEST(PrepareGivenPattern, IdentityCorrelationsKeepColumnsUpToOrderAndSign) {
  RunOptions options = testing::SmallRunOptions(3, 2, "VARIMAX");
  options.Model = ParseModel("ROT");
  options.InputForm = ParseInputForm("FLD2");
  const Matrix given = FromRows({{0.6, 0.2}, {0.1, 0.7}, {0.5, 0.5}});
  Matrix loadings = given;
  const Matrix phi = testing::Identity(2);
  std::vector<double> h2, variance;
  PrepareGivenPattern(options, loadings, &phi, 3, 2, h2, variance);
  // Column j is +-column k of the given pattern for some k.
  for (int j = 0; j < 2; ++j) {
    double closest = 1.0;
    for (int k = 0; k < 2; ++k) {
      for (double sign : {1.0, -1.0}) {
        double worst = 0.0;
        for (int i = 0; i < 3; ++i)
          worst = std::max(worst, std::fabs(loadings(i, j) - sign * given(i, k)));
        closest = std::min(closest, worst);
      }
    }
    EXPECT_LT(closest, 1e-15) << "column " << j;
  }
}

TEST(PrepareGivenPattern, CorrelatedFactorsTurnByTheirEigenvectors) {
  RunOptions options = testing::SmallRunOptions(3, 2, "VARIMAX");
  options.InputForm = ParseInputForm("FLD2");
  const Matrix given = FromRows({{0.6, 0.2}, {0.1, 0.7}, {0.5, 0.5}});
  Matrix loadings = given;
  const Matrix phi = FromRows({{1.0, 0.5}, {0.5, 1.0}});
  std::vector<double> h2, variance;
  PrepareGivenPattern(options, loadings, &phi, 3, 2, h2, variance);
  // Eigenvectors (1, 1) / sqrt 2 for 1.5, then (-1, 1) / sqrt 2 for 0.5,
  // the largest component positive: no scaling by the eigenvalues.
  const double k = 1.0 / std::sqrt(2.0);
  EXPECT_NEAR(loadings(0, 0), (0.6 + 0.2) * k, 1e-15);
  EXPECT_NEAR(std::fabs(loadings(0, 1)), std::fabs(0.2 - 0.6) * k, 1e-15);
  EXPECT_LT(MaxAbsDifference(Outer(loadings), Outer(given)), 1e-15);
  EXPECT_NEAR(h2[0], 0.4, 1e-15);
}

}  // namespace
}  // namespace vq
