// The driver's small decisions that no golden case reaches at their edges:
// the table width at the page limit, which codings smooth and save the
// smoothed matrix, and the stem of a numbered command file. Whole runs are
// golden cases (tests/golden).
#include "run/driver.h"

#include <gtest/gtest.h>

#include "run/saved_matrices.h"

namespace vq {
namespace {

TEST(DriverPieces, CorrelationTableWidth) {
  EXPECT_EQ(CorrelationTableWidth(130), 110);
  EXPECT_EQ(CorrelationTableWidth(120), 110);
  EXPECT_EQ(CorrelationTableWidth(119), 119);
  EXPECT_EQ(CorrelationTableWidth(60), 60);
}

TEST(DriverPieces, SmoothingRunsAndIsSavedByTheTable) {
  RunOptions options;
  options.Smoothing = "SM";
  struct Row {
    const char* form;
    const char* coding;
    bool runs;
    bool saved;
  };
  const Row rows[] = {{"RAW ", "DI", true, true},
                      {"RAW ", "DC", true, true},
                      {"RAW ", "OR", true, true},
                      {"RAW ", "CD", true, true},
                      {"RAW ", "CO", false, false},
                      {"RAW ", "IP", false, false},
                      {"COR ", "DI", true, true},
                      {"COR ", "OR", true, true},
                      {"COR ", "CO", true, false},
                      {"FLD1", "CO", false, false}};
  for (const Row& row : rows) {
    options.InputForm = row.form;
    options.Coding = row.coding;
    EXPECT_EQ(SmoothingRuns(options), row.runs) << row.form << row.coding;
    EXPECT_EQ(SavesSmoothedMatrix(options), row.saved) << row.form << row.coding;
  }
  options.InputForm = "RAW ";
  options.Coding = "OR";
  options.Smoothing = "PS";  // shown as smoothed, never smoothed
  EXPECT_FALSE(SmoothingRuns(options));
}

TEST(DriverPieces, TheSeedAndTheNamesReachTheRun) {
  ProgramArguments arguments;
  arguments.has_seed = true;
  arguments.seed = 4711;
  RunContext context = MakeRunContext(arguments, "/data/wave1/reasoning_items_1.in");
  EXPECT_TRUE(context.Seed.fixed);
  EXPECT_EQ(context.Seed.value, 4711);
  EXPECT_EQ(context.RunStem, "reasoning_items");
  EXPECT_EQ(context.RunDirectory, "/data/wave1/");
  context = MakeRunContext(ProgramArguments{}, "run.in");
  EXPECT_FALSE(context.Seed.fixed);
}

}  // namespace
}  // namespace vq
