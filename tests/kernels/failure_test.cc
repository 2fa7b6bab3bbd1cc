#include "kernels/failure.h"

#include <gtest/gtest.h>

#include "frame/console.h"

namespace vq {
namespace {

TEST(NagFailure, SoftPrintsFrameAndReturns) {
  ConsoleCapture capture;
  int code = NagFailure("G01FAF", kIfailSoft, 2, {" ** On entry, P.le.0.0 or P.ge.1.0 : P =   0.00000E+00"});
  EXPECT_EQ(code, 2);
  EXPECT_EQ(capture.Out(),
            "** On entry, P.le.0.0 or P.ge.1.0 : P =   0.00000E+00\n"
            "** ABNORMAL EXIT from NAG Library routine G01FAF: IFAIL =     2\n"
            "** NAG soft failure - control returned\n");
}

TEST(NagFailure, HardStopsQuietIsSilent) {
  ConsoleCapture capture;
  EXPECT_EQ(NagFailure("G02BAF", kIfailQuiet, 1), 1);
  EXPECT_EQ(capture.Out(), "");
  EXPECT_THROW(NagFailure("G02BAF", kIfailHard, 1), RunStopped);
  EXPECT_EQ(capture.Out(),
            "** ABNORMAL EXIT from NAG Library routine G02BAF: IFAIL =     1\n"
            "** NAG hard failure - execution terminated\n"
            "Stop - Program terminated.\nProgram Terminated with exit code 0\n");
}

TEST(Erset, DefaultTerminalErrorPrintsAndStops) {
  ResetImslState();
  ConsoleCapture capture;
  EXPECT_THROW(ImslError(kImslTerminal, 1, "DNORIN", "The argument."), RunStopped);
  EXPECT_EQ(capture.Out().substr(0, 41), "*** TERMINAL ERROR 1 from DNORIN.  The ar");
  EXPECT_EQ(IERCD(), 1);
}

TEST(Erset, SwitchedOffIsSilentAndGoesOn) {
  ResetImslState();
  ConsoleCapture capture;
  ERSET(0, 0, 0);
  ImslError(kImslTerminal, 1, "DNORIN", "The argument.");
  EXPECT_EQ(capture.Out(), "");
  ERSET(0, 1, 0);
  ImslError(kImslFatal, 2, "DLINDS",
            "The leading 3 by 3 submatrix of the input matrix is not positive definite.");
  EXPECT_EQ(capture.Out(),
            "*** FATAL    ERROR 2 from DLINDS.  The leading 3 by 3 submatrix of the input\n"
            "***          matrix is not positive definite.\n");
  ResetImslState();
}

TEST(Erset, KeepsTwoBlanksAfterAFullStop) {
  ResetImslState();
  ConsoleCapture capture;
  ERSET(0, 1, 0);
  ImslError(kImslTerminal,
            2,
            "DEVESF",
            "The argument NEVEC = 4.  The number of largest/smallest eigenvalues to be "
            "calculated must be greater than 0 and less than or equal to N = 3.");
  EXPECT_EQ(capture.Out(),
            "*** TERMINAL ERROR 2 from DEVESF.  The argument NEVEC = 4.  The number of\n"
            "***          largest/smallest eigenvalues to be calculated must be greater\n"
            "***          than 0 and less than or equal to N = 3.\n");
  ResetImslState();
}

}  // namespace
}  // namespace vq
