#include "report/saved_files.h"

#include <gtest/gtest.h>

namespace vq {
namespace {

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

}  // namespace
}  // namespace vq
