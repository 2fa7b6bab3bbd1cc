#include "frame/console.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <thread>

namespace vq {
namespace {

TEST(Console, OffATerminalOnlyTheLastOverwriteOfARunIsWritten) {
  ConsoleCapture capture;
  ConsoleLine(2, "a");
  ConsoleOverwrite(2, "Iteration:   1");
  ConsoleOverwrite(2, "Iteration:   2");
  ConsoleLine(2, "b");
  ConsoleOverwrite(2, "x");
  EXPECT_EQ(capture.Out(), "a\nIteration:   2\nb\nx\n");
}

TEST(Console, OnATerminalOverwritesReturnAndClearTheLine) {
  ConsoleCapture capture("", true);
  ASSERT_TRUE(ConsoleIsTerminal());
  ConsoleLine(3, "a");
  ConsoleOverwrite(3, "Iteration:   1");
  ConsoleOverwrite(3, "Iteration:   2");
  ConsoleLine(3, "b");
  ConsoleFlush();
  EXPECT_EQ(capture.Out(), " a\r Iteration:   1\x1b[K\r Iteration:   2\x1b[K\n b\n");
}

TEST(Console, TheHeartbeatTimesALineThatStandsAndTheNextRecordTakesTheTimeAway) {
  EXPECT_EQ(HeartbeatText(2.5), "  2.5 s");
  ConsoleCapture capture("", true);
  const std::string line = std::string(28, ' ') + "Iteration:    1";
  std::string out;
  {
    ConsoleHeartbeat heartbeat;
    ConsoleOverwrite(30, "Iteration:    1");
    // The line stands half a second before its time shows; allow a slow
    // machine ten times that.
    for (int wait = 0; wait < 100 && out.find(" s\x1b[K") == std::string::npos; ++wait) {
      std::this_thread::sleep_for(std::chrono::milliseconds(50));
      out = capture.Out();
    }
    // A loaded machine may show a later time than the first beat's 0.5 s.
    ASSERT_EQ(out.rfind("\r" + line + "\x1b[K\r" + line + "  ", 0), 0u) << out;
    ASSERT_NE(out.find(" s\x1b[K"), std::string::npos) << out;
    ConsoleOverwrite(30, "Iteration:    2");
    out = capture.Out();
  }
  // The time is taken away by returning over the line as it was written.
  const std::string next =
      "\r" + line + "\x1b[K\r" + std::string(28, ' ') + "Iteration:    2\x1b[K";
  ASSERT_GE(out.size(), next.size());
  EXPECT_EQ(out.substr(out.size() - next.size()), next);
}

TEST(Console, OffATerminalTheHeartbeatAddsNothing) {
  ConsoleCapture capture;
  {
    ConsoleHeartbeat heartbeat;
    ConsoleOverwrite(30, "Iteration:    1");
    std::this_thread::sleep_for(std::chrono::milliseconds(800));
    ConsoleLine(30, "Finished");
  }
  EXPECT_EQ(capture.Out(),
            std::string(28, ' ') + "Iteration:    1\n" + std::string(28, ' ') + "Finished\n");
}

TEST(Console, PauseReadsUntilEmptyLineOrEnd) {
  {
    ConsoleCapture capture("dir\n\nnot read\n");
    Pause("n must be at least 2 in subroutine moment");
    EXPECT_EQ(capture.Out(),
              "n must be at least 2 in subroutine moment\n"
              "Pause - Enter command<CR> or <CR> to continue.\n"
              "Pause - Enter command<CR> or <CR> to continue.\n");
  }
  {
    ConsoleCapture capture("");
    EXPECT_THROW(PauseAndStop(), RunStopped);
    EXPECT_EQ(capture.Out(),
              "Pause - Enter command<CR> or <CR> to continue.\n"
              "Stop - Program terminated.\nProgram Terminated with exit code 0\n");
  }
}

TEST(Console, StopsTellWhetherTheyCameAfterThePauseOrAfterFinished) {
  ConsoleCapture capture("");
  try {
    PauseAndStop();
  } catch (const RunStopped& stop) {
    EXPECT_TRUE(stop.paused);
    EXPECT_FALSE(stop.after_finished);
  }
  ConsoleLine(30, "Finished");
  try {
    PlainStop();
  } catch (const RunStopped& stop) {
    EXPECT_FALSE(stop.paused);
    EXPECT_TRUE(stop.after_finished);
  }
  ConsoleLine(30, "Reading Data");
  try {
    StopWithText("text");
  } catch (const RunStopped& stop) {
    EXPECT_FALSE(stop.paused);
    EXPECT_FALSE(stop.after_finished);
  }
}

TEST(Console, TheExitWindowQuestion) {
  // Off a terminal the question is written and nothing is read.
  {
    ConsoleCapture capture("n\n");
    AskExitWindow();
    EXPECT_EQ(capture.Out(), "Exit Window?\n");
    std::string left;
    EXPECT_TRUE(ConsoleReadLine(left));
    EXPECT_EQ(left, "n");
  }
  // On a terminal: y or an empty answer closes; n keeps the window until
  // the next line; other answers ask again; the end of input closes.
  const std::pair<std::string, std::string> cases[] = {
      {"y\nafter\n", "after"},
      {"\nafter\n", "after"},
      {"n\nclose\nafter\n", "after"},
      {"maybe\nY\nafter\n", "after"},
  };
  for (const auto& [input, next] : cases) {
    ConsoleCapture capture(input, /*as_terminal=*/true);
    AskExitWindow();
    std::string left;
    EXPECT_TRUE(ConsoleReadLine(left)) << input;
    EXPECT_EQ(left, next) << input;
    const std::string out = capture.Out();
    const std::size_t asked = input.rfind("maybe", 0) == 0 ? 2 : 1;
    std::size_t count = 0;
    for (std::size_t at = out.find("Exit Window?"); at != std::string::npos;
         at = out.find("Exit Window?", at + 1)) {
      ++count;
    }
    EXPECT_EQ(count, asked) << input;
  }
  ConsoleCapture at_end("", /*as_terminal=*/true);
  AskExitWindow();
  EXPECT_NE(at_end.Out().find("Exit Window?"), std::string::npos);
}

}  // namespace
}  // namespace vq
