#include "report/saved_files.h"

#include <gtest/gtest.h>

namespace vq {
namespace {

TEST(BuildResultName, StemsWithAndWithoutDots) {
  EXPECT_EQ(BuildResultName("run12.in", "cor"), "run12.cor");
  EXPECT_EQ(BuildResultName("my.data.in", "fac"), "my.data.fac");
  EXPECT_EQ(BuildResultName("abcdefghijklm", "eig"), "abcdefgh.eig");
  EXPECT_EQ(BuildResultName("  items.in   ", "smo"), "items.smo");
  // Dot at position 14 of a 15-character stem: the extension is cut to one letter.
  EXPECT_EQ(BuildResultName("abcdefghijklm.i", "cor"), "abcdefghijklm.c");
}

TEST(SavedFilePath, DirectoryAndName) {
  EXPECT_EQ(SavedFilePath("/home/a/runs/", "items.in", "cor"), "/home/a/runs/items.cor");
  EXPECT_EQ(SavedFilePath("", "items.in", "cor"), "items.cor");
}

TEST(Saves, NeedsSaveResultsAndTheCode) {
  RunOptions options;
  options.SaveResults = true;
  options.SaveCodes = {SaveCode::kCor, SaveCode::kFac, SaveCode::kOther};
  EXPECT_TRUE(Saves(options, SaveCode::kCor));
  EXPECT_TRUE(Saves(options, SaveCode::kFac));
  EXPECT_FALSE(Saves(options, SaveCode::kEig));
  options.SaveResults = false;
  EXPECT_FALSE(Saves(options, SaveCode::kCor));
}

TEST(WriteMatrixRows, Layouts) {
  OutputFile file;
  file.OpenInMemory(15);
  Matrix a(2, 2);
  a(0, 0) = 1.0;
  a(0, 1) = -0.25;
  a(1, 0) = -0.25;
  a(1, 1) = 1.0;
  WriteMatrixRows(file, a, 12, 9, 1);
  // "999( F12.9 1X )": the 1X behind the last value of a record transmits
  // nothing, so a record ends on its last digit.
  EXPECT_EQ(file.Text(),
            " 1.000000000 -0.250000000\n"
            "-0.250000000  1.000000000\n");
}

TEST(WriteMatrixRows, GapsStandBetweenValuesNeverAtTheEndOfARecord) {
  OutputFile file;
  file.OpenInMemory(22);
  Matrix a(1, 5, 1.5);
  // "9999( F9.3 2X )" cut at a ceiling of 3 values a record.
  WriteMatrixRows(file, a, 9, 3, 2, 3);
  EXPECT_EQ(file.Text(),
            "    1.500      1.500      1.500\n"
            "    1.500      1.500\n");
}

TEST(WriteMatrixRows, RowsLongerThanTheRepeatGoOnInAFurtherRecord) {
  OutputFile file;
  file.OpenInMemory(15);
  Matrix a(1, 3, 0.5);
  WriteMatrixRows(file, a, 8, 3, 0, 2);
  EXPECT_EQ(file.Text(), "   0.500   0.500\n   0.500\n");
}

TEST(WriteLoadingRows, NumberThenLoadings) {
  OutputFile file;
  file.OpenInMemory(26);
  Matrix a(2, 2);
  a(0, 0) = 0.71234;
  a(0, 1) = -0.1;
  a(1, 0) = 1000.0;
  a(1, 1) = 0.0;
  WriteLoadingRows(file, a);
  EXPECT_EQ(file.Text(), "   1   0.7123 -0.1000\n   2 ********  0.0000\n");
}

}  // namespace
}  // namespace vq
