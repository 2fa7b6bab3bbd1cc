#include "report/scatter.h"

#include <gtest/gtest.h>

#include <limits>
#include <map>
#include <string>
#include <vector>

#include "frame/console.h"

namespace vq {
namespace {

std::vector<std::string> Lines(const std::string& text) {
  std::vector<std::string> lines;
  std::size_t start = 0;
  for (std::size_t end; (end = text.find('\n', start)) != std::string::npos; start = end + 1) {
    lines.push_back(text.substr(start, end - start));
  }
  return lines;
}

// The eigenvalue plot: x the ranks 1..n, 65 cells across and 20 down.
std::vector<std::string> EigenvaluePlot(std::vector<double>& y, std::vector<int>* isort = nullptr) {
  const int n = static_cast<int>(y.size());
  std::vector<double> x(n);
  for (int k = 0; k < n; ++k) x[k] = k + 1;
  std::vector<int> order(n);
  OutputFile out;
  out.OpenInMemory(11);
  int ifail = 0;
  G01AGF(x.data(), y.data(), n, order.data(), 65, 20, ifail, out);
  EXPECT_EQ(ifail, 0);
  if (isort != nullptr) *isort = order;
  return Lines(out.Text());
}

// Compares a plot line by line with `marked`, which holds the lines that
// carry a label, a tick or a point; every other line must be an empty grid
// row, a "." at both ends of the cells.
void ExpectPlot(const std::vector<std::string>& lines,
                std::size_t count,
                const std::map<std::size_t, std::string>& marked) {
  ASSERT_EQ(lines.size(), count);
  const std::string empty =
      std::string(12, ' ') + "." + std::string(lines[0].size() - 14, ' ') + ".";
  for (std::size_t k = 0; k < count; ++k) {
    auto line = marked.find(k);
    EXPECT_EQ(lines[k], line == marked.end() ? empty : line->second) << "line " << k;
  }
}

TEST(G01AGF, SortsYDescendingInPlace) {
  std::vector<double> y = {1.0, 5.0, -2.0, 1.0};
  std::vector<int> isort;
  EigenvaluePlot(y, &isort);
  std::vector<double> sorted = {5.0, 1.0, 1.0, -2.0};
  std::vector<int> places = {2, 1, 4, 3};
  EXPECT_EQ(y, sorted);
  EXPECT_EQ(isort, places);
}

TEST(G01AGF, AllEqualValuesOpenTheRangeByOne) {
  // y limits 0 and 2: step 0.1, one cell added below (start -0.1), the
  // zero row one up. x over 1..5: step 0.075 from 0.9, zero 12 cells to
  // the left of the grid, so the ticks stand at cells 3, 8, 13, ...
  std::vector<double> y(5, 1.0);
  const std::map<std::size_t, std::string> marked = {
      {0, "            ....+....+....+....+....+....+....+....+....+....+....+....+....+..."},
      {1, "       2.000+                                                                  +"},
      {6, "       1.500+                                                                  +"},
      {11, "       1.000+ 1             1            1            1             1          +"},
      {16, "       0.500+                                                                  +"},
      {21, "       0.000+...+....+....+....+....+....+....+....+....+....+....+....+....+..+"},
      {22, "            ....+....+....+....+....+....+....+....+....+....+....+....+....+..."},
      {23, "               1.125     1.875     2.625     3.375     4.125     4.875     5.625"},
      {24, "                    1.500     2.250     3.000     3.750     4.500     5.250"},
  };
  ExpectPlot(EigenvaluePlot(y), 25u, marked);
}

TEST(G01AGF, NegativeValueBelowTheZeroRow) {
  // y from -2 to 5: step 0.4, the start shortened to -3 and moved to -3.2
  // so that a cell lies on 0 (8 cells up, 21 cells). The bottom line is 8
  // rows below the zero row and has no label; the labels stand 5 rows
  // apart from the zero row. x over 1..3: step 0.04 from 0.96.
  std::vector<double> y = {5.0, 1.0, -2.0};
  const std::map<std::size_t, std::string> marked = {
      {0, "            ..+....+....+....+....+....+....+....+....+....+....+....+....+....+."},
      {1, "            . 1                                                                 ."},
      {4, "        4.00+                                                                   +"},
      {9, "        2.00+                                                                   +"},
      {11, "            .                          1                                        ."},
      {14, "        0.00+.+....+....+....+....+....+....+....+....+....+....+....+....+....++"},
      {19, "       -2.00+                                                   1               +"},
      {22, "            ..+....+....+....+....+....+....+....+....+....+....+....+....+....+."},
      {23, "             1.000     1.400     1.800     2.200     2.600     3.000     3.400"},
      {24, "                  1.200     1.600     2.000     2.400     2.800     3.200     3.600"},
  };
  ExpectPlot(EigenvaluePlot(y), 25u, marked);
  std::vector<double> sorted = {5.0, 1.0, -2.0};
  EXPECT_EQ(y, sorted);
}

TEST(G01AGF, LongLabelsTakeTheExponentForm) {
  // y: step 1E-09 gives 11 decimals, so the labels are E11.3; x: step 4E+07
  // with 10 whole digits, so the x labels are E9.2, from 12 + 1 blanks.
  std::vector<double> x = {1e9, 2e9, 3e9};
  std::vector<double> y = {3e-8, 2e-8, 1e-8};
  std::vector<int> isort(3);
  OutputFile out;
  out.OpenInMemory(11);
  int ifail = 0;
  G01AGF(x.data(), y.data(), 3, isort.data(), 65, 20, ifail, out);
  const std::map<std::size_t, std::string> marked = {
      {0, "            .+....+....+....+....+....+....+....+....+....+....+....+....+....+."},
      {1, "   0.300E-07+1                                                                 +"},
      {6, "   0.250E-07+                                                                  +"},
      {11, "   0.200E-07+                         1                                        +"},
      {16, "   0.150E-07+                                                                  +"},
      {21, "   0.100E-07+                                                  1               +"},
      {22, "            .+....+....+....+....+....+....+....+....+....+....+....+....+....+."},
      {23, "             0.10E+10  0.14E+10  0.18E+10  0.22E+10  0.26E+10  0.30E+10  0.34E+10"},
      {24,
       "                  0.12E+10  0.16E+10  0.20E+10  0.24E+10  0.28E+10  0.32E+10  0.36E+10"},
  };
  ExpectPlot(Lines(out.Text()), 25u, marked);
}

TEST(G01AGF, CountsShowAsDigitsLettersAndStars) {
  // 40 points on one cell, 12 on another, 3 on a third.
  std::vector<double> x;
  std::vector<double> y;
  for (int k = 0; k < 40; ++k) x.push_back(1.0), y.push_back(1.0);
  for (int k = 0; k < 12; ++k) x.push_back(5.0), y.push_back(1.0);
  for (int k = 0; k < 3; ++k) x.push_back(9.0), y.push_back(1.0);
  x.push_back(10.0), y.push_back(3.0);
  std::vector<int> isort(x.size());
  OutputFile out;
  out.OpenInMemory(11);
  int ifail = 0;
  G01AGF(x.data(), y.data(), static_cast<int>(x.size()), isort.data(), 65, 20, ifail, out);
  std::string row;
  for (const std::string& line : Lines(out.Text())) {
    if (line.find('*') != std::string::npos) row = line;
  }
  ASSERT_FALSE(row.empty());
  std::string marks;
  for (char c : row.substr(13)) {
    if (c != ' ' && c != '.' && c != '+') marks += c;
  }
  EXPECT_EQ(marks, "*C3");
}

TEST(G01AGF, PointsThatAreNotNumbersAreLeftOut) {
  const double inf = std::numeric_limits<double>::infinity();
  const double nan = std::numeric_limits<double>::quiet_NaN();
  std::vector<double> x_all = {1.0, 2.0, 3.0, 2.5};
  std::vector<double> y_all = {2.0, inf, 1.0, nan};
  std::vector<double> x_finite = {1.0, 3.0};
  std::vector<double> y_finite = {2.0, 1.0};
  std::vector<int> isort(4);
  OutputFile all;
  all.OpenInMemory(11);
  OutputFile finite;
  finite.OpenInMemory(11);
  int ifail = 0;
  G01AGF(x_all.data(), y_all.data(), 4, isort.data(), 65, 20, ifail, all);
  G01AGF(x_finite.data(), y_finite.data(), 2, isort.data(), 65, 20, ifail, finite);
  EXPECT_EQ(all.Text(), finite.Text());
}

TEST(G01AGF, NoPointIsFailureOne) {
  ConsoleCapture capture;
  OutputFile out;
  out.OpenInMemory(11);
  int ifail = 1;
  G01AGF(nullptr, nullptr, 0, nullptr, 65, 20, ifail, out);
  EXPECT_EQ(ifail, 1);
  EXPECT_EQ(out.Text(), "");
  ifail = 0;
  EXPECT_THROW(G01AGF(nullptr, nullptr, 0, nullptr, 65, 20, ifail, out), RunStopped);
  EXPECT_EQ(capture.Out().substr(0, 64),
            "** ABNORMAL EXIT from NAG Library routine G01AGF: IFAIL =     1\n");
}

}  // namespace
}  // namespace vq
