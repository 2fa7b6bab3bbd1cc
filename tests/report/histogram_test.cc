#include "report/histogram.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "frame/console.h"
#include "kernels/failure.h"

namespace vq {
namespace {

// The class limits of the residual histogram: single-precision -0.975 and
// 0.975 held in double precision.
const double kLow = static_cast<float>(-0.975);
const double kHigh = static_cast<float>(0.975);
const char kTitle[] = "Distribution of Residuals:  R - R^hat";

std::vector<std::string> Lines(const std::string& text) {
  std::vector<std::string> lines;
  std::size_t start = 0;
  for (std::size_t end; (end = text.find('\n', start)) != std::string::npos; start = end + 1) {
    lines.push_back(text.substr(start, end - start));
  }
  return lines;
}

std::vector<std::string> Histogram(const std::vector<double>& counts) {
  OutputFile out;
  out.OpenInMemory(11);
  DVHSTP(static_cast<int>(counts.size()), counts, 1, kTitle, out);
  return Lines(out.Text());
}

// `text` with every run of blanks cut to one.
std::string SingleBlanks(const std::string& text) {
  std::string out;
  for (char c : text) {
    if (c == ' ' && !out.empty() && out.back() == ' ') continue;
    out += c;
  }
  return out;
}

// Console text with the line breaks and continuation marks of the ERSET
// protocol taken out, and runs of blanks cut to one, so that a message can
// be compared word for word however it was wrapped.
std::string Unwrapped(const std::string& console) {
  std::string text;
  for (const std::string& line : Lines(console)) {
    std::string part = line.rfind("***          ", 0) == 0 ? line.substr(13) : line;
    if (!text.empty()) text += ' ';
    text += part;
  }
  return SingleBlanks(text);
}

TEST(DOWFRQ, ClassesAndMidpoints) {
  std::vector<double> div;
  std::vector<double> table;
  const std::vector<double> x = {-0.975, -0.98, -5.0, 0.0, 0.026, 0.025, -0.025, 0.975, 0.976, 3.0};
  DOWFRQ(static_cast<int>(x.size()), x.data(), 41, 1, kLow, kHigh, div, table);
  ASSERT_EQ(table.size(), 41u);
  ASSERT_EQ(div.size(), 41u);
  std::vector<double> expected(41, 0.0);
  expected[0] = 2;   // -0.98 and -5.0: at or below the lower limit
  expected[1] = 1;   // -0.975 lies just above the single-precision limit
  expected[20] = 3;  // -0.025 and 0.025 (limits just above them), 0.0
  expected[21] = 1;  // 0.026
  expected[39] = 1;  // 0.975 is below the single-precision upper limit
  expected[40] = 2;  // 0.976 and 3.0
  EXPECT_EQ(table, expected);
  EXPECT_NEAR(div[0], -1.0, 1e-6);
  EXPECT_NEAR(div[1], -0.95, 1e-6);
  EXPECT_NEAR(div[20], 0.0, 1e-6);
  EXPECT_NEAR(div[39], 0.95, 1e-6);
  EXPECT_NEAR(div[40], 1.0, 1e-6);
  const double w = (kHigh - kLow) / 39;
  EXPECT_EQ(div[5], (6 - 2 + 0.5) * w + kLow);
}

TEST(DOWFRQ, EveryValueFallsInExactlyOneClass) {
  std::vector<double> x;
  for (int k = -1100; k <= 1100; ++k) x.push_back(k / 1000.0);
  std::vector<double> div;
  std::vector<double> table;
  DOWFRQ(static_cast<int>(x.size()), x.data(), 41, 1, kLow, kHigh, div, table);
  double total = 0;
  for (double count : table) total += count;
  EXPECT_EQ(total, static_cast<double>(x.size()));
  // Every inner class covers 0.05: 50 of the thousandths, ties at the top.
  for (int c = 2; c <= 40; ++c) EXPECT_NEAR(table[c - 1], 50.0, 1.0) << c;
}

TEST(DOWFRQ, NoObservationIsATerminalError) {
  ResetImslState();
  std::vector<double> div;
  std::vector<double> table;
  {
    ConsoleCapture capture;
    EXPECT_THROW(DOWFRQ(0, nullptr, 41, 1, kLow, kHigh, div, table), RunStopped);
    EXPECT_EQ(Unwrapped(capture.Out()),
              SingleBlanks("*** TERMINAL ERROR 1 from DOWFRQ.  NOBS = 0.  There must be at least "
                           "one observation. Stop - Program terminated. Program Terminated with "
                           "exit code 0"));
  }
  {
    // With stopping off the run goes on with empty classes, and the
    // histogram has nothing to draw.
    ConsoleCapture capture;
    ERSET(0, 1, 0);
    table.assign(41, 7.0);
    DOWFRQ(0, nullptr, 41, 1, kLow, kHigh, div, table);
    EXPECT_EQ(IERCD(), 1);
    EXPECT_EQ(table, std::vector<double>(41, 0.0));
    OutputFile out;
    out.OpenInMemory(11);
    DVHSTP(41, table, 1, kTitle, out);
    EXPECT_EQ(out.Text(), "");
    EXPECT_EQ(Unwrapped(capture.Out()),
              SingleBlanks("*** TERMINAL ERROR 1 from DOWFRQ.  NOBS = 0.  There must be at least "
                           "one observation. *** WARNING ERROR 1 from DVHSTP.  The maximum value "
                           "in the vector of frequencies (FRQ) is less than 1.0.  MAX(FRQ) = "
                           "0.000000E+00.  The body of the histogram will be blank."));
  }
  ResetImslState();
}

// Levels of the rows of a histogram, from the top.
std::vector<int> Levels(const std::vector<std::string>& lines) {
  std::vector<int> levels;
  for (std::size_t k = 3; k + 2 < lines.size(); ++k)
    levels.push_back(std::stoi(lines[k].substr(2, 4)));
  return levels;
}

TEST(DVHSTP, StepAndLevelsOfTheScale) {
  // One class holds `top`, every other class `rest`: the step, the top level
  // and the last level of the body.
  struct Case {
    int bar;
    double top, rest;
    std::size_t rows;
    int first, second, last;
  } cases[] = {
      {20, 50, 0, 50, 50, 49, 1},      // step 1 up to a spread of 50
      {20, 100, 0, 50, 100, 98, 2},    // step trunc(2.98001) = 2
      {20, 51, 0, 26, 52, 50, 2},      // 51 is odd with the step 2: top level 52
      {3, 103, 0, 35, 104, 101, 2},    // step 3, 103 mod 3 = 1: top level 104
      {0, 200, 40, 41, 200, 196, 40},  // step 4 over a large smallest count
  };
  for (const Case& c : cases) {
    std::vector<double> counts(41, c.rest);
    counts[c.bar] = c.top;
    std::vector<int> levels = Levels(Histogram(counts));
    ASSERT_EQ(levels.size(), c.rows) << c.top;
    EXPECT_EQ(levels[0], c.first) << c.top;
    EXPECT_EQ(levels[1], c.second) << c.top;
    EXPECT_EQ(levels.back(), c.last) << c.top;
  }
  // The bar of 51 grows from level 50 down, not from the top level 52.
  std::vector<double> counts(41, 0.0);
  counts[20] = 51;
  std::vector<std::string> lines = Histogram(counts);
  EXPECT_EQ(lines[3][2 * 21 + 10 - 1], ' ');
  EXPECT_EQ(lines[4][2 * 21 + 10 - 1], 'I');
}

TEST(DVHSTP, BodyEndsAtTheSmallestCount) {
  // Every class holds at least 2: no row for 1.
  std::vector<double> counts(41, 2.0);
  counts[10] = 4;
  std::vector<std::string> lines = Histogram(counts);
  EXPECT_EQ(Levels(lines), (std::vector<int>{4, 3, 2}));
  std::string bars;
  for (int k = 0; k < 41; ++k) bars += " I";
  EXPECT_EQ(lines[5], "     2  * " + bars + "   *");
}

TEST(DVHSTP, ClassNumbersUnderTheirBars) {
  std::vector<double> counts(41, 1.0);
  std::vector<std::string> lines = Histogram(counts);
  const std::string& classes = lines.back();
  for (int number = 5; number <= 40; number += 5) {
    EXPECT_EQ(classes[2 * number + 10 - 1], '0' + number % 10) << number;
  }
  EXPECT_EQ(lines[3].size(), 96u);
  EXPECT_EQ(lines[3][95], '*');
  EXPECT_EQ(lines[2].size(), 98u);
}

}  // namespace
}  // namespace vq
