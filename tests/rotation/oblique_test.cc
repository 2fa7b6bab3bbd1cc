#include "rotation/oblique.h"

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "frame/console.h"
#include "kernels/eigen.h"
#include "kernels/failure.h"
#include "kernels/pearson.h"
#include "report/saved_files.h"
#include "rotation/random_start.h"
#include "rotation/rotation.h"
#include "test_matrices.h"
#include "text/edit_descriptors.h"

namespace vq {
namespace {

using testing::FindLine;
using testing::Lines;
using testing::MaxAbsDifference;
using testing::Multiply;
using testing::Outer;
using testing::Reproduced;
using testing::RowSumsOfSquares;

// Principal factor loadings of a sample drawn from two correlated factors
// (correlation 0.4): items 1-5 load 0.75 .. 0.55 on the first factor only,
// items 6-10 the same on the second.
Matrix SimulatedTwoFactorLoadings() {
  const int n = 4000, p = 10;
  const double loading[5] = {0.75, 0.70, 0.65, 0.60, 0.55};
  SetRandomSeed(424242);
  Matrix data(n, p);
  for (int subject = 0; subject < n; ++subject) {
    const double f1 = NormalDeviate();
    const double f2 = 0.4 * f1 + std::sqrt(1.0 - 0.16) * NormalDeviate();
    for (int item = 0; item < p; ++item) {
      const double l = loading[item % 5];
      const double f = item < 5 ? f1 : f2;
      data(subject, item) = l * f + std::sqrt(1.0 - l * l) * NormalDeviate();
    }
  }
  ResetRandomGenerator();
  std::vector<double> means, deviations;
  Matrix products, r;
  int ifail = 0;
  G02BAF(n, p, data, means, deviations, products, r, ifail);

  // Principal factors with iterated communalities.
  Matrix loadings(p, 2);
  for (int pass = 0; pass < 200; ++pass) {
    std::vector<double> values;
    Matrix vectors;
    DEVESF(p, 2, r, false, values, vectors);
    for (int j = 0; j < 2; ++j) {
      for (int i = 0; i < p; ++i) loadings(i, j) = vectors(i, j) * std::sqrt(values[j]);
    }
    const std::vector<double> h2 = RowSumsOfSquares(loadings);
    for (int i = 0; i < p; ++i) r(i, i) = h2[i];
  }
  return loadings;
}

class ObliqueSectionTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ResetImslState();
    report_.OpenInMemory(11);
    loadings_ = testing::ThreeFactorLoadings();
    communalities_ = RowSumsOfSquares(loadings_);
    r_ = Matrix(12, 12);
    for (int i = 0; i < 12; ++i) r_(i, i) = communalities_[i];
  }
  void TearDown() override {
    ResetImslState();
    ResetRandomGenerator();
  }
  void Rotate(const RunOptions& options) {
    RunRotation(options, loadings_, communalities_, r_, report_, "", "run.in", results_);
    lines_ = Lines(report_.Text());
  }
  OutputFile report_;
  Matrix loadings_;
  std::vector<double> communalities_;
  Matrix r_;
  RotationResults results_;
  std::vector<std::string> lines_;
};

TEST_F(ObliqueSectionTest, PromaxFollowsVarimaxAndCountsBeforeItsStructure) {
  RunOptions options = testing::SmallRunOptions(12, 3, "PROMAX");
  options.SortMode = ParseSortMode("NOSORT");
  options.PlotMode = ParsePlotMode("LOADINGS");
  Rotate(options);
  const int varimax = FindLine(lines_, " Varimax Rotated Factor Loadings");
  const int varimax_plots =
      FindLine(lines_, PadRight("Factor Pattern Plots:  Varimax Rotation", 80));
  const int table = FindLine(lines_, " PROMAX Rotated Factor Loadings");
  const int phi = FindLine(lines_, " PROMAX: Inter-factor Correlations");
  const int banner = FindLine(lines_, "0===========HYPERPLANE COUNT====================0", table);
  const int closing = FindLine(lines_, "0==============================================0", table);
  const int structure = FindLine(lines_, " Promax Factor Structure Matrix");
  const int plots = FindLine(lines_, PadRight("Factor Pattern Plots:  Promax Rotation", 80));
  ASSERT_NE(varimax, -1);
  EXPECT_LT(varimax, varimax_plots);
  EXPECT_LT(varimax_plots, table);
  // 12 rows and the column line, then two empty lines.
  EXPECT_EQ(phi, table + 16);
  EXPECT_EQ(lines_[table + 14], "");
  EXPECT_EQ(lines_[table + 15], "");
  EXPECT_EQ(lines_[phi + 1], "          1       2       3");
  EXPECT_EQ(lines_[phi + 2].substr(0, 11), " 1    1.000");
  EXPECT_EQ(banner, phi + 7);
  EXPECT_EQ(structure, closing + 2);
  EXPECT_EQ(plots, structure + 14);
  EXPECT_TRUE(results_.orthogonal);
  EXPECT_TRUE(results_.oblique);
}

TEST_F(ObliqueSectionTest, HarrisKaiserPrintsItsStructureBeforeTheCounts) {
  RunOptions options = testing::SmallRunOptions(12, 3, "HK");
  options.HarrisKaiserParameter = 0.5;
  options.PlotMode = ParsePlotMode("ALL");
  Rotate(options);
  EXPECT_EQ(lines_[0], " Harris-Kaiser Sorted Factor Loadings");
  EXPECT_EQ(lines_[1], "             1       2       3");
  EXPECT_EQ(lines_[2].substr(0, 4), " V00");
  EXPECT_EQ(lines_[14], "");
  EXPECT_EQ(lines_[15], "");
  EXPECT_EQ(lines_[16], " Hairrs-Kaiser: Inter-factor Correlations");
  EXPECT_EQ(lines_[21], "");
  EXPECT_EQ(lines_[22], "");
  EXPECT_EQ(lines_[23], " Harris-Kaiser Factor Structure Matrix");
  EXPECT_EQ(lines_[39], "0===========HYPERPLANE COUNT====================0");
  EXPECT_EQ(lines_[48], PadRight("Factor Pattern Plots:  Harris-Kaiser Rotation", 80));
  EXPECT_FALSE(results_.orthogonal);
}

TEST_F(ObliqueSectionTest, ObliminTitlesWithLabelsInItemOrder) {
  RunOptions options = testing::SmallRunOptions(12, 3, "OBLIMIN");
  options.SortMode = ParseSortMode("NOSORT");
  options.LabelMode = ParseLabelMode("LABELS");
  for (int i = 0; i < 12; ++i)
    options.Labels.push_back(PadRight("Item" + std::to_string(i + 1), 15));
  Rotate(options);
  EXPECT_EQ(lines_[0], " Oblimin Rotated Factor Loadings");
  // Labels stand right-aligned in the width of the longest one.
  EXPECT_EQ(lines_[2].substr(0, 8), "  Item1 ");
  EXPECT_EQ(lines_[13].substr(0, 8), " Item12 ");
  EXPECT_EQ(lines_[16], " Oblimin: Inter-factor Correlations");
  EXPECT_EQ(lines_[23], " Oblimin Factor Structure Matrix");
  EXPECT_EQ(lines_[25].substr(0, 8), "  Item1 ");
  // Without rows sorted the item-order copies are the printed matrices.
  EXPECT_EQ(MaxAbsDifference(results_.ItemOrderPattern, results_.FactorPattern), 0.0);
  EXPECT_EQ(MaxAbsDifference(results_.ItemOrderStructure, results_.FactorStructure), 0.0);
  EXPECT_EQ(results_.Order, std::vector<int>(12, 0));
}

TEST_F(ObliqueSectionTest, ItemOrderCopiesUnderSort) {
  for (const char* rotation : {"PROMAX", "OBLIMIN", "HK"}) {
    OutputFile report;
    report.OpenInMemory(11);
    RunOptions options = testing::SmallRunOptions(12, 3, rotation);
    Matrix loadings = testing::ThreeFactorLoadings();
    RotationResults results;
    RunRotation(options, loadings, communalities_, r_, report, "", "run.in", results);
    EXPECT_LT(MaxAbsDifference(Multiply(results.FactorPattern, results.FactorCorrelations),
                               results.FactorStructure),
              1e-15);
    EXPECT_LT(MaxAbsDifference(Multiply(results.ItemOrderPattern, results.FactorCorrelations),
                               results.ItemOrderStructure),
              1e-15);
    for (int place = 0; place < 12; ++place) {
      const int item = results.Order[place] - 1;
      for (int j = 0; j < 3; ++j) {
        EXPECT_EQ(results.FactorPattern(place, j), results.ItemOrderPattern(item, j)) << rotation;
        EXPECT_EQ(results.FactorStructure(place, j), results.ItemOrderStructure(item, j))
            << rotation;
      }
    }
    // The oblique solution reproduces the loadings it started from.
    EXPECT_LT(MaxAbsDifference(Reproduced(results.ItemOrderPattern, results.FactorCorrelations),
                               Outer(testing::ThreeFactorLoadings())),
              1e-8)
        << rotation;
    for (int j = 0; j < 3; ++j) EXPECT_NEAR(results.FactorCorrelations(j, j), 1.0, 1e-12);
  }
}

TEST_F(ObliqueSectionTest, FacAndPhiHoldTheSortedPattern) {
  const std::string directory = ::testing::TempDir();
  RunOptions options = testing::SmallRunOptions(12, 3, "OBLIMIN");
  options.SaveResults = true;
  options.SaveCodes = {SaveCode::kFac};
  RunRotation(options, loadings_, communalities_, r_, report_, directory, "oblq.in", results_);
  OutputFile expected_fac;
  expected_fac.OpenInMemory(26);
  WriteLoadingRows(expected_fac, results_.FactorPattern);
  std::stringstream text;
  text << std::ifstream(directory + "oblq.fac").rdbuf();
  EXPECT_EQ(text.str(), expected_fac.Text());
  EXPECT_TRUE(std::filesystem::exists(directory + "oblq.phi"));
  std::filesystem::remove(directory + "oblq.fac");
  std::filesystem::remove(directory + "oblq.phi");
}

TEST_F(ObliqueSectionTest, RandomAndUnrotatedStartsGiveTheSameOblimin) {
  RunOptions options = testing::SmallRunOptions(12, 3, "OBLIMIN");
  options.RotationEpsilon = 1e-12;
  options.RotationIterations = 500;
  Rotate(options);
  const std::string fixed_text = report_.Text();
  for (long seed : {5L, 67890L}) {
    SetRandomSeed(seed);
    options.RandomStart = ParseRandomStart("T");
    OutputFile report;
    report.OpenInMemory(11);
    Matrix loadings = testing::ThreeFactorLoadings();
    RotationResults results;
    RunRotation(options, loadings, communalities_, r_, report, "", "run.in", results);
    EXPECT_LT(MaxAbsDifference(results.FactorPattern, results_.FactorPattern), 1e-6);
    EXPECT_EQ(report.Text(), fixed_text);
  }
}

TEST(Recovery, ObliminAndPromaxFindTheFactorCorrelation) {
  const Matrix start = SimulatedTwoFactorLoadings();
  const std::vector<double> h2 = RowSumsOfSquares(start);
  const Matrix r;
  for (const char* rotation : {"OBLIMIN", "PROMAX"}) {
    RunOptions options = testing::SmallRunOptions(10, 2, rotation);
    options.PromaxPower = 4;
    options.ObliminDelta = 0.0;
    OutputFile report;
    report.OpenInMemory(11);
    Matrix loadings = start;
    RotationResults results;
    RunRotation(options, loadings, h2, r, report, "", "run.in", results);
    EXPECT_NEAR(results.FactorCorrelations(0, 1), 0.4, 0.05) << rotation;
    // Each item finds its own factor, with a loading near its true value.
    const double loading[5] = {0.75, 0.70, 0.65, 0.60, 0.55};
    const int own_first = std::fabs(results.ItemOrderPattern(0, 0)) > 0.5 ? 0 : 1;
    for (int item = 0; item < 10; ++item) {
      const int own = item < 5 ? own_first : 1 - own_first;
      EXPECT_NEAR(results.ItemOrderPattern(item, own), loading[item % 5], 0.08)
          << rotation << " item " << item;
      EXPECT_NEAR(results.ItemOrderPattern(item, 1 - own), 0.0, 0.08)
          << rotation << " item " << item;
    }
  }
}

TEST(UniqueVariances, ByModel) {
  RunOptions options = testing::SmallRunOptions(3, 2, "HK");
  const std::vector<double> h2 = {0.5, 0.25, 1.2};
  Matrix r = testing::Identity(3);
  r(0, 0) = 0.4;
  r(1, 1) = 0.3;
  r(2, 2) = 0.2;
  EXPECT_EQ(UniqueVariances(options, h2, r, 3), (std::vector<double>{0.6, 0.7, 0.8}));
  options.Model = ParseModel("PCA");
  EXPECT_EQ(UniqueVariances(options, h2, r, 3), (std::vector<double>{1.0, 1.0, 1.0}));
  options.Model = ParseModel("ROT");
  const std::vector<double> d = UniqueVariances(options, h2, Matrix(), 3);
  EXPECT_DOUBLE_EQ(d[0], 0.5);
  EXPECT_DOUBLE_EQ(d[1], 0.75);
  EXPECT_DOUBLE_EQ(d[2], 1.0 - 1.2);
}

}  // namespace
}  // namespace vq
