#include <gtest/gtest.h>

#include "frame/console.h"
#include "run/program.h"

namespace vq {
namespace {

// Each way a run ends and the status --strict gives it.
TEST(StrictExitStatus, OneStatusPerWayOfEnding) {
  using Kind = RunStopped::Kind;
  struct Case {
    RunStopped stop;
    int status;
  } cases[] = {
      {{Kind::kPlainStop, 0, "Stop - Program terminated.", true, false}, kStrictFatalStop},
      {{Kind::kPlainStop, 0, "Stop - Program terminated.", false, false}, kStrictOtherStop},
      {{Kind::kPlainStop, 0, "Stop - Program terminated.", false, true}, 0},
      {{Kind::kTextStop, 0, "*********FATAL ERROR: x*********", false, false}, kStrictOtherStop},
      {{Kind::kSevere, 24, "end-of-file during read", false, false}, 24},
      {{Kind::kCancelled, 1, "cancelled", false, false}, 1},
  };
  for (const Case& c : cases) EXPECT_EQ(StrictExitStatus(c.stop), c.status) << c.stop.text;
}

TEST(ProgramArguments, StrictStandsBeforeOrAfterTheCommandFile) {
  for (const bool before : {true, false}) {
    ProgramArguments arguments;
    char program[] = "velquorin";
    char strict[] = "--strict";
    char file[] = "run.in";
    char* argv[] = {program, before ? strict : file, before ? file : strict};
    EXPECT_EQ(ParseProgramArguments(3, argv, arguments), -1);
    EXPECT_TRUE(arguments.strict);
    EXPECT_EQ(arguments.command_file, "run.in");
  }
  ProgramArguments plain;
  char program[] = "velquorin";
  char file[] = "run.in";
  char* argv[] = {program, file};
  EXPECT_EQ(ParseProgramArguments(2, argv, plain), -1);
  EXPECT_FALSE(plain.strict);
}

}  // namespace
}  // namespace vq
