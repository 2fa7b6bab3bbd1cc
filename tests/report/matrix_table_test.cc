#include "report/matrix_table.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "frame/console.h"
#include "kernels/matrix.h"
#include "text/edit_descriptors.h"

namespace vq {
namespace {

// Runs X04CBF on `a` and returns the lines it wrote.
struct Table {
  Matrix a = {};
  std::string format = "F8.3";
  std::string title = "";
  char labrow = 'I';
  std::vector<std::string> rlabs = {};
  char labcol = 'I';
  std::vector<std::string> clabs = {};
  int ncols = 130;
  int indent = 0;

  // Prints the table on `out` with the failure protocol `ifail`.
  void Run(int& ifail, OutputFile& out) const {
    out.OpenInMemory(11);
    X04CBF('G',
           'N',
           a.rows,
           a.cols,
           a.data(),
           a.rows,
           format,
           title,
           labrow,
           &rlabs,
           labcol,
           &clabs,
           ncols,
           indent,
           ifail,
           out);
  }
  std::vector<std::string> Print() const {
    OutputFile out;
    int ifail = 0;
    Run(ifail, out);
    EXPECT_EQ(ifail, 0);
    std::vector<std::string> lines;
    std::string text = out.Text();
    std::size_t start = 0;
    for (std::size_t end; (end = text.find('\n', start)) != std::string::npos; start = end + 1) {
      lines.push_back(text.substr(start, end - start));
    }
    EXPECT_EQ(start, text.size()) << "every record ends with a line feed";
    return lines;
  }
};

Matrix Filled(int rows, int cols) {
  Matrix a(rows, cols);
  for (int j = 0; j < cols; ++j) {
    for (int i = 0; i < rows; ++i) a(i, j) = (i + 1) + (j + 1) / 100.0;
  }
  return a;
}

TEST(X04CBF, FifteenCharacterLabelsGiveFourteenColumnsABlock) {
  Table t{Filled(2, 15), "F8.3", "", 'C', {"ABCDEFGHIJKLMNO", "   short  "}};
  std::vector<std::string> lines = t.Print();
  // R = 16: the label in positions 2 to 16, position 17 blank, the first
  // field in positions 18 to 25; 14 columns in the first block.
  ASSERT_EQ(lines.size(), 3u + 1u + 3u);
  EXPECT_EQ(lines[0],
            std::string(24, ' ') +
                "1       2       3       4       5       6       7"
                "       8       9      10      11      12      13      14");
  EXPECT_EQ(lines[1].substr(0, 33), " ABCDEFGHIJKLMNO    1.010   1.020");
  EXPECT_EQ(lines[1].size(), 16u + 1u + 14u * 8u);
  EXPECT_EQ(lines[2].substr(0, 25), "           short    2.010");
  EXPECT_EQ(lines[3], " ");
  EXPECT_EQ(lines[4], std::string(23, ' ') + "15");
  EXPECT_EQ(lines[5], " ABCDEFGHIJKLMNO    1.150");
  EXPECT_EQ(lines[6], "           short    2.150");
}

TEST(X04CBF, RowNumberWidthsAndBlocks) {
  // p = 9 takes two positions, p = 10 three.
  Table t{Filled(9, 1)};
  std::vector<std::string> lines = t.Print();
  EXPECT_EQ(lines[0], "          1");
  EXPECT_EQ(lines[9], " 9    9.010");
  t.a = Filled(10, 16);
  lines = t.Print();
  ASSERT_EQ(lines.size(), 11u + 1u + 11u);
  EXPECT_EQ(lines[0].substr(0, 12), "           1");
  EXPECT_EQ(lines[1].size(), 3u + 1u + 15u * 8u);  // R = 3, C = 15
  EXPECT_EQ(lines[0].substr(lines[0].size() - 2), "15");
  EXPECT_EQ(lines[10].substr(0, 12), " 10   10.010");
  EXPECT_EQ(lines[11], " ");
  EXPECT_EQ(lines[12], "          16");
  EXPECT_EQ(lines[22], " 10   10.160");

  // N = C gives one block; N = C + 1 a second block of one column.
  t = Table{Filled(1, 15), "F8.3", "", 'N'};
  t.ncols = 3 + 15 * 8;  // C = (123 - 1 - 1) / 8 = 15
  EXPECT_EQ(t.Print().size(), 2u);
  t.a = Filled(1, 16);
  lines = t.Print();
  ASSERT_EQ(lines.size(), 5u);
  EXPECT_EQ(lines[2], " ");
  EXPECT_EQ(lines[3], "        16");
  EXPECT_EQ(lines[4], "     1.160");
}

TEST(X04CBF, CorrelationMatrixWidths) {
  // W = 110, F8.3, row numbers: 13 columns a block.
  Table narrow{Filled(20, 14), "F8.3", "", 'I', {}, 'I', {}, 110};
  std::vector<std::string> lines = narrow.Print();
  EXPECT_EQ(lines[1].size(), 3u + 1u + 13u * 8u);
  EXPECT_EQ(lines[21], " ");
  EXPECT_EQ(lines[22], "          14");

  // W = 110, F15.3, 15-character labels on rows and columns: 6 a block.
  Table wide{Filled(2, 7),
             "F15.3",
             "",
             'C',
             {"FIRST_ITEM_NAME", "SECOND"},
             'C',
             {"C1", "C2", "C3", "C4", "C5", "   C6   ", "SEVENTH_ITEM_XY"},
             110};
  lines = wide.Print();
  ASSERT_EQ(lines.size(), 7u);
  EXPECT_EQ(lines[0],
            Blanks(16 + 14) + "C1" + Blanks(13) + "C2" + Blanks(13) + "C3" + Blanks(13) + "C4" +
                Blanks(13) + "C5" + Blanks(13) + "C6");
  EXPECT_EQ(lines[1],
            " FIRST_ITEM_NAME" + Blanks(11) + "1.010" + Blanks(10) + "1.020" + Blanks(10) +
                "1.030" + Blanks(10) + "1.040" + Blanks(10) + "1.050" + Blanks(10) + "1.060");
  EXPECT_EQ(lines[3], " ");
  EXPECT_EQ(lines[4], Blanks(17) + "SEVENTH_ITEM_XY");
  EXPECT_EQ(lines[6], "          SECOND" + Blanks(11) + "2.070");
}

TEST(X04CBF, LabelWidthIsThatOfTheWholeTable) {
  Table t{Filled(2, 16), "F8.3", "", 'C', {"A", "LONGER"}};
  std::vector<std::string> lines = t.Print();
  // R = 7 in both blocks: C = (130 - 8) / 8 = 15.
  ASSERT_EQ(lines.size(), 7u);
  EXPECT_EQ(lines[1].substr(0, 16), "      A    1.010");
  EXPECT_EQ(lines[5], "      A    1.160");
  EXPECT_EQ(lines[6], " LONGER    2.160");
}

TEST(X04CBF, NarrowPageIsFailureSeven) {
  ConsoleCapture capture;
  Table t{Filled(2, 2), "F8.3", "A title", 'C', {"ABCDEFGHIJKLMNO", "B"}, 'I', {}, 24};
  OutputFile out;
  int ifail = 0;
  EXPECT_THROW(t.Run(ifail, out), RunStopped);
  EXPECT_EQ(out.Text(), "");
  EXPECT_EQ(capture.Out(),
            "** ABNORMAL EXIT from NAG Library routine X04CBF: IFAIL =     7\n"
            "** On entry, NCOLS-INDENT is not wide enough to hold at least one matrix\n"
            "   column: NCOLS =               24, INDENT =               0\n"
            "** NAG hard failure - execution terminated\n"
            "Stop - Program terminated.\n"
            "Program Terminated with exit code 0\n");

  // Quiet: failure 7 comes back, and nothing is printed anywhere.
  ifail = 1;
  t.Run(ifail, out);
  EXPECT_EQ(ifail, 7);
  EXPECT_EQ(out.Text(), "");

  // One position wider is enough: 25 - 16 - 1 = 8.
  t.title = "";
  t.labcol = 'N';
  t.ncols = 25;
  std::vector<std::string> expected = {" ABCDEFGHIJKLMNO    1.010",
                                       "               B    2.010",
                                       " ",
                                       " ABCDEFGHIJKLMNO    1.020",
                                       "               B    2.020"};
  EXPECT_EQ(t.Print(), expected);
}

TEST(X04CBF, PageWidthsOutsideTheRangeTakeEighty) {
  for (int ncols : {0, -5, 133, 500}) {
    Table t{Filled(1, 12), "F8.3", "", 'N', {}, 'I', {}, ncols};
    std::vector<std::string> lines = t.Print();
    // (80 - 1 - 1) / 8 = 9 columns, and every value is there.
    ASSERT_EQ(lines.size(), 5u) << ncols;
    EXPECT_EQ(lines[1].size(), 2u + 9u * 8u);
    EXPECT_EQ(lines[4], "     1.100   1.110   1.120");
  }
}

TEST(WriteTrimmedRecord, DropsTrailingBlanksKeepsOne) {
  OutputFile out;
  out.OpenInMemory(11);
  WriteTrimmedRecord(out, "  ab   ");
  WriteTrimmedRecord(out, "     ");
  WriteTrimmedRecord(out, "");
  EXPECT_EQ(out.Text(), "  ab\n \n \n");
}

}  // namespace
}  // namespace vq
