#include "frame/output_file.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <string>

#include "frame/console.h"

namespace vq {
namespace {

// /dev/full takes every open and refuses every write, as a full disk does.
bool HaveFullDevice() { return access("/dev/full", W_OK) == 0; }

TEST(OutputFile, AReportThatCouldNotBeWrittenIsASevereErrorWhenClosed) {
  if (!HaveFullDevice()) GTEST_SKIP() << "no /dev/full";
  ConsoleCapture capture;
  OutputFile report;
  report.Open(11, "/dev/full");
  report.Write("0==================MODEL=======================0");
  try {
    report.Close();
    FAIL() << "a lost report was closed as if complete";
  } catch (const RunStopped& stop) {
    EXPECT_EQ(stop.kind, RunStopped::Kind::kSevere);
    EXPECT_EQ(stop.exit_code, 38);
  }
  EXPECT_EQ(capture.Err(), "severe (38): error during write, unit 11, file /dev/full\n");
  EXPECT_FALSE(report.is_open());
}

TEST(OutputFile, AFileDroppedWhileAStopUnwindsNeverStopsAgain) {
  if (!HaveFullDevice()) GTEST_SKIP() << "no /dev/full";
  ConsoleCapture capture;
  try {
    OutputFile saved;
    saved.Open(15, "/dev/full");
    saved.Write(" 1.000000000");
    PlainStop();
  } catch (const RunStopped& stop) {
    EXPECT_EQ(stop.kind, RunStopped::Kind::kPlainStop);
  }
  EXPECT_EQ(capture.Err(), "");
}

}  // namespace
}  // namespace vq
