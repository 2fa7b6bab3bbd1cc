#include "writers/correlation_writer.h"

#include <gtest/gtest.h>

#include <string>

#include "report/run_outputs.h"

namespace vq {
namespace {

TEST(CorrelationWriter, FallBackWarningNamesTheTwoVariableMatrix) {
  // The fall-back of the pair (5, 3) estimates a matrix of two variables.
  TetrachoricResult result;
  result.fall_backs = {{4, 2, true}, {6, 1, false}};
  OutputFile report;
  report.OpenInMemory(11);
  RunOutputs outputs(report, "", "t.in");
  WriteFallBackWarnings(result, outputs);
  EXPECT_EQ(report.Text(), "                !!!WARNING: CORRELATION   2   1    AT BOUNDARY!!!\n\n");
}

}  // namespace
}  // namespace vq
