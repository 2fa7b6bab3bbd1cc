#include "extraction/eigenvalue_screen.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <string>
#include <vector>

#include "extraction_test_support.h"
#include "text/edit_descriptors.h"

namespace vq {
namespace {

using testing_support::ExtractionOptions;
using testing_support::FreshDirectory;
using testing_support::Lines;
using testing_support::ReadFile;

Matrix Diagonal(const std::vector<double>& values) {
  const int n = static_cast<int>(values.size());
  Matrix a(n, n);
  for (int i = 0; i < n; ++i) a(i, i) = values[i];
  return a;
}

TEST(CappedTableWidth, OneHundredAndTenFromAPageOf120) {
  EXPECT_EQ(CappedTableWidth(120), 110);
  EXPECT_EQ(CappedTableWidth(119), 119);
}

TEST(EigenvalueScreen, TableByModulusFileByValue) {
  // Eigenvalues 5, 1 and -2: the table lists them by modulus, the file as
  // the plot left them, in descending order of value.
  RunOptions options = ExtractionOptions("PCA", 3, 1);
  options.SaveResults = true;
  options.SaveCodes = {SaveCode::kCor, SaveCode::kEig};
  const std::string dir = FreshDirectory("screen_small");
  OutputFile report;
  report.OpenInMemory(11);
  EigenvalueScreen(Diagonal({1.0, -2.0, 5.0}), 3, report, 130, options, dir, "small.in");
  const std::vector<std::string> lines = Lines(report.Text());
  ASSERT_GE(lines.size(), 12u);
  const std::vector<std::string> head = {"",
                                         "",
                                         "",
                                         " Eigenvalues of Initial Correlation Matrix",
                                         "         1       2       3",
                                         "     5.000  -2.000   1.000",
                                         "",
                                         " Eigenvalue Plot"};
  EXPECT_EQ(std::vector<std::string>(lines.begin(), lines.begin() + 8), head);
  EXPECT_NE(lines[8], "");  // the plot begins at once, and three empty lines end it
  const std::string text = report.Text();
  EXPECT_EQ(text.substr(text.size() - 4), "\n\n\n\n");
  EXPECT_NE(text[text.size() - 5], '\n');
  EXPECT_EQ(ReadFile(dir + "small.eig"), "  5.0000\n  1.0000\n -2.0000\n");
  // No file unless "T" is given.
  options.SaveResults = false;
  const std::string none = FreshDirectory("screen_none");
  EigenvalueScreen(Diagonal({1.0, 2.0}), 2, report, 130, options, none, "none.in");
  EXPECT_FALSE(std::filesystem::exists(none + "none.eig"));
}

TEST(EigenvalueScreen, MoreThanThirtyValues) {
  // 35 values of moduli 3.5, 3.4, ..., 0.1 with alternating signs. The plot
  // takes the first 30 ranks and sorts them by value; the last five stay in
  // the order of the table.
  std::vector<double> values;
  for (int i = 1; i <= 35; ++i) values.push_back((i % 2 == 1 ? 1 : -1) * (36 - i) / 10.0);
  const Matrix r = Diagonal(values);
  RunOptions options = ExtractionOptions("PFA", 35, 2);
  options.SaveResults = true;
  options.SaveCodes = {SaveCode::kEig};
  const std::string dir = FreshDirectory("screen_large");
  OutputFile report;
  report.OpenInMemory(11);
  EigenvalueScreen(r, 35, report, 130, options, dir, "large.in");

  std::vector<double> plotted(values.begin(), values.begin() + 30);
  std::sort(plotted.begin(), plotted.end(), std::greater<double>());
  std::string expected;
  for (double value : plotted) expected += FormatF(value, 8, 4) + "\n";
  for (int i = 30; i < 35; ++i) expected += FormatF(values[i], 8, 4) + "\n";
  EXPECT_EQ(ReadFile(dir + "large.eig"), expected);

  // Width 110: (110 - 1 - 1) / 8 = 13 columns a block, so three blocks.
  const std::vector<std::string> lines = Lines(report.Text());
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

}  // namespace
}  // namespace vq
