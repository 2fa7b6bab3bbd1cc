#include "report/plots.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "kernels/matrix.h"
#include "text/edit_descriptors.h"

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

Matrix Columns(const std::vector<std::vector<double>>& columns) {
  Matrix a(static_cast<int>(columns[0].size()), static_cast<int>(columns.size()));
  for (int j = 0; j < a.cols; ++j) {
    for (int i = 0; i < a.rows; ++i) a(i, j) = columns[j][i];
  }
  return a;
}

std::vector<std::string> PatternPlot(const std::vector<double>& x, const std::vector<double>& y) {
  OutputFile out;
  out.OpenInMemory(11);
  FactorPatternPlots(Columns({x, y}), static_cast<int>(x.size()), 2, out);
  return Lines(out.Text());
}

std::vector<std::string> ScorePlot(const std::vector<double>& x, const std::vector<double>& y) {
  OutputFile out;
  out.OpenInMemory(11);
  FactorScorePlots(Columns({x, y}), static_cast<int>(x.size()), 2, out);
  return Lines(out.Text());
}

// Line index of grid row `row` (1 at the top): "1", title, 2 empty lines.
constexpr int kFirstGridLine = 4;

// The character of grid column `column` on grid row `row`.
char Cell(const std::vector<std::string>& lines, int row, int column) {
  const std::string& line = lines[kFirstGridLine + row - 1];
  const std::size_t position = 14 + column;  // 1-based
  return position <= line.size() ? line[position - 1] : ' ';
}

TEST(FactorPatternPlots, BordersAndMarks) {
  std::vector<std::string> lines = PatternPlot({0.0}, {-2.0});
  // The y labels of all nine marks, and nothing else in the margin but the
  // y title.
  const char* marks[] = {
      "1.00", "0.75", "0.50", "0.25", "0.00", "-0.25", "-0.50", "-0.75", "-1.00"};
  for (int k = 0; k < 9; ++k) {
    const std::string& line = lines[kFirstGridLine + 5 * k];
    EXPECT_EQ(line.substr(3, 10), std::string(10 - std::string(marks[k]).size(), ' ') + marks[k]);
    EXPECT_EQ(line[13], ' ');
  }
  std::string title;
  for (int row = 1; row <= 41; ++row) title += lines[kFirstGridLine + row - 1][1];
  EXPECT_EQ(title, std::string(16, ' ') + "Factor Y" + std::string(17, ' '));
}

TEST(FactorPatternPlots, ValuesAtAndPastTheEdge) {
  std::vector<std::string> lines = PatternPlot({1.0}, {1.0});
  EXPECT_EQ(Cell(lines, 1, 61), 'X');
  EXPECT_EQ(Cell(lines, 1, 60), ':');

  lines = PatternPlot({1.01}, {0.5});
  EXPECT_EQ(Cell(lines, 11, 61), 'X');  // on the right border

  lines = PatternPlot({1.02, -1.02}, {0.5, -1.02});
  // Column 62 and row 42: neither is drawn, and nothing tells.
  EXPECT_EQ(lines[kFirstGridLine + 10],
            "         0.50 +                             I                             +");
  EXPECT_EQ(lines[kFirstGridLine + 40],
            "        -1.00 +::::::::::::::+::::::::::::::+::::::::::::::+::::::::::::::+");

  lines = PatternPlot({-1.01, 0.0}, {0.0, -1.0});
  EXPECT_EQ(Cell(lines, 21, 1), 'X');
  EXPECT_EQ(Cell(lines, 41, 31), 'X');

  // Coinciding points show as one symbol; halves of a column round away
  // from the nearest mark: 0.5 + 0.5 / 15 * 0.5 lies half way between
  // columns 46 and 47.
  lines = PatternPlot({0.25, 0.25, 0.5 + 1.0 / 60.0}, {0.25, 0.25, 0.0});
  EXPECT_EQ(Cell(lines, 16, 39), 'X');
  EXPECT_EQ(Cell(lines, 21, 47), 'X');
  EXPECT_EQ(Cell(lines, 21, 46), '-');
}

TEST(FactorPatternPlots, PairsInOrder) {
  OutputFile out;
  out.OpenInMemory(11);
  FactorPatternPlots(Columns({{0.1}, {0.2}, {0.3}}), 1, 3, out);
  std::vector<std::string> trailers;
  for (const std::string& line : Lines(out.Text())) {
    if (line.rfind("Factor X =", 0) == 0) trailers.push_back(line);
  }
  std::vector<std::string> expected = {"Factor X =   1   Factor Y =  2",
                                       "Factor X =   1   Factor Y =  3",
                                       "Factor X =   2   Factor Y =  3"};
  EXPECT_EQ(trailers, expected);

  out.OpenInMemory(11);
  FactorPatternPlots(Columns({{0.1, 0.2}}), 2, 1, out);
  EXPECT_EQ(out.Text(), "");
}

TEST(FactorScorePlots, FrameRunsPastTheMarks) {
  std::vector<std::string> lines = ScorePlot({3.4, 0.0, -3.5}, {0.0, 3.4, 0.0});
  ASSERT_EQ(lines.size(), 4u + 35u + 1u + 2u + 1u + 1u + 5u);
  EXPECT_EQ(lines[1], std::string(33, ' ') + " Factor Score Plot");
  // The point (0, 3.4) stands on the top frame, over the middle x mark.
  EXPECT_EQ(lines[kFirstGridLine],
            "              ::::+:::::::::::+:::::::::::.:::::::::::+:::::::::::+::::");
  EXPECT_EQ(lines[kFirstGridLine + 1].substr(0, 15), "         3.20 +");
  EXPECT_EQ(lines[kFirstGridLine + 2].substr(0, 15), "              .");
  EXPECT_EQ(lines[kFirstGridLine + 33].substr(0, 15), "        -3.20 +");
  EXPECT_EQ(lines[kFirstGridLine + 34],
            "              ::::+:::::::::::+:::::::::::+:::::::::::+:::::::::::+::::");
  // 3.4 lies beyond the last x mark, inside the frame (column 53 + 3), and
  // rounds to the top frame row on the y axis.
  // -3.5 lands on the left frame: 5 - ANINT(0.5 / 1.5 * 12) = 1.
  EXPECT_EQ(lines[kFirstGridLine + 17],
            " o       0.00 .------------------------------------------------------.+");
  EXPECT_EQ(lines[kFirstGridLine + 18],
            " r            .                           I                           .");
  std::string title;
  for (int row = 1; row <= 35; ++row) title += lines[kFirstGridLine + row - 1][1];
  EXPECT_EQ(title, std::string(13, ' ') + "Factor Y" + std::string(14, ' '));
  EXPECT_EQ(lines[39], "                -3.00       -1.50       0.00        1.50        3.00");
  EXPECT_EQ(lines[42], std::string(38, ' ') + "Factor X");
  EXPECT_EQ(lines[43], "Factor X =   1   Factor Y =  2");
}

}  // namespace
}  // namespace vq
