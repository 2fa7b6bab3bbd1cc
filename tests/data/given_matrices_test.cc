#include "data/given_matrices.h"

#include <gtest/gtest.h>

#include <string>

#include "data/temp_files.h"
#include "frame/console.h"

namespace vq {
namespace {

const std::string kReadingCorrelations = std::string(28, ' ') + "Reading Correlations\n";
const std::string kPauseAndStop =
    "Pause - Enter command<CR> or <CR> to continue.\n"
    "Stop - Program terminated.\n"
    "Program Terminated with exit code 0\n";

// Runs `read` and returns the exit code of its stop, or -1 when it returns.
template <typename Read>
int StopCode(Read read) {
  try {
    read();
  } catch (const RunStopped& stop) {
    return stop.exit_code;
  }
  return -1;
}

TEST(ReadCorrelations, EmptyValuesAndASlashLeaveElementsAsTheyWere) {
  // The elements are the items of the list reads: two commas or a slash
  // leave an element with the value it had before the read.
  ScratchFile file("cor_nulls.dat", "1,,.25\n.5 1 /\n.25 .125 1\n");
  ConsoleCapture capture;
  RecordSource source;
  Matrix r(3, 3, -7.0);
  ReadCorrelations(source, file.path(), ParseCoding("CO"), 3, r);
  EXPECT_EQ(r(0, 0), 1.0);
  EXPECT_EQ(r(0, 1), -7.0);
  EXPECT_EQ(r(0, 2), 0.25);
  EXPECT_EQ(r(1, 1), 1.0);
  EXPECT_EQ(r(1, 2), -7.0);
  EXPECT_EQ(r(2, 1), 0.125);
}

TEST(ReadCorrelations, ALowerTriangleRunsOutOfValues) {
  ScratchFile file("cor_lower.dat", "1\n.5 1\n.3 .2 1\n");
  ConsoleCapture capture;
  RecordSource source;
  Matrix r;
  EXPECT_EQ(StopCode([&] { ReadCorrelations(source, file.path(), ParseCoding("CO"), 3, r); }), 24);
  EXPECT_EQ(capture.Err(),
            "severe (24): end-of-file during read, unit 10, file " + file.path() + "\n");
}

TEST(ReadCorrelations, ATokenThatIsNoNumber) {
  ScratchFile file("cor_bad.dat", "1 x\n");
  ConsoleCapture capture;
  RecordSource source;
  Matrix r;
  EXPECT_EQ(StopCode([&] { ReadCorrelations(source, file.path(), ParseCoding("CO"), 2, r); }), 59);
}

TEST(ReadCorrelations, WarnsAboutAnUnusualMatrixAndKeepsIt) {
  ScratchFile file("cor_odd.dat", "1 .5 .2\n.4 1 .1\n.2 .1 .9\n");
  ConsoleCapture capture;
  RecordSource source;
  Matrix r;
  ReadCorrelations(source, file.path(), ParseCoding("CO"), 3, r);
  EXPECT_EQ(r(1, 0), 0.4);
  EXPECT_EQ(r(2, 2), 0.9);
  EXPECT_EQ(capture.Out(),
            kReadingCorrelations + std::string(28, ' ') +
                "WARNING: Input correlation matrix is not symmetric, first at row     2, column"
                "     1\n" +
                std::string(28, ' ') +
                "WARNING: Input correlation matrix has a diagonal element other than 1 in row"
                "     3\n\n\n");
}

TEST(WarnAboutGivenCorrelations, ToleranceAndOrderOfPairs) {
  ConsoleCapture capture;
  Matrix r(3, 3, 0.0);
  for (int i = 0; i < 3; ++i) r(i, i) = 1.0 + 0.9e-6;
  r(0, 1) = 0.3;
  r(1, 0) = 0.3 + 0.9e-6;
  EXPECT_TRUE(WarnAboutGivenCorrelations(r, 3));
  EXPECT_EQ(capture.Out(), "");
  r(2, 0) = 0.1;  // pair (3, 1) comes before (3, 2) and after (2, 1)
  r(1, 2) = 0.1;
  EXPECT_FALSE(WarnAboutGivenCorrelations(r, 3));
  EXPECT_NE(capture.Out().find("first at row     3, column     1"), std::string::npos);
}

}  // namespace
}  // namespace vq
