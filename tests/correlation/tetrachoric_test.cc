#include "correlation/tetrachoric.h"

#include <gtest/gtest.h>

#include <cmath>
#include <thread>
#include <vector>

#include "correlation/polychoric.h"
#include "data/raw_data.h"
#include "data/simulation.h"
#include "frame/console.h"
#include "frame/progress.h"
#include "kernels/bivariate_normal.h"
#include "kernels/failure.h"
#include "kernels/normal.h"
#include "kernels/parallel.h"
#include "report/saved_files.h"
#include "text/edit_descriptors.h"

namespace vq {
namespace {

// Two 0/1 items with the four cell counts of the table (j, i):
// n11 both keyed, n10 only j, n01 only i, n00 neither.
Matrix TwoItems(int n11, int n10, int n01, int n00) {
  Matrix x(n11 + n10 + n01 + n00, 2, 0.0);
  int s = 0;
  for (int k = 0; k < n11; ++k, ++s) x(s, 0) = x(s, 1) = 1.0;
  for (int k = 0; k < n10; ++k, ++s) x(s, 0) = 1.0;
  for (int k = 0; k < n01; ++k, ++s) x(s, 1) = 1.0;
  return x;
}

struct TetrachoricRun {
  TetrachoricResult result;
  Matrix r;
  std::string console;
};

void RunTetrachorics(const Matrix& x,
                     TetrachoricRun& run,
                     bool correct_for_guessing = false,
                     const std::vector<double>& guessing = {}) {
  ConsoleCapture capture;
  TetrachoricOptions options;
  options.correct_for_guessing = correct_for_guessing;
  run.result = EstimateTetrachorics(x, x.rows, x.cols, options, guessing, ConsoleProgress());
  run.r = run.result.correlations;
  run.console = capture.Out();
}

// The standard errors in the layout of the ser file.
std::string StandardErrorRows(const TetrachoricResult& result) {
  OutputFile ser;
  ser.OpenInMemory(24);
  WriteMatrixRows(ser, result.standard_errors, 12, 9, 1, 999);
  return ser.Text();
}

TEST(Tetrachoric, RecoversLatentCorrelationsOfSimulatedItems) {
  ItemModel model = SimpleStructureModel(4, 1, 0.0, {0.0});
  const double loadings[4] = {0.8, 0.7, -0.6, 0.5};
  const double cuts[4] = {-0.5, 0.0, 0.4, -0.2};
  for (int item = 0; item < 4; ++item) {
    model.loadings(item, 0) = loadings[item];
    model.thresholds[item] = {cuts[item]};
  }
  Matrix scores;
  ASSERT_TRUE(SimulateItemScores(model, 20000, 100, scores));
  TetrachoricRun run;
  RunTetrachorics(scores, run);
  for (int i = 1; i < 4; ++i) {
    for (int j = 0; j < i; ++j) {
      EXPECT_NEAR(run.r(i, j), LatentCorrelation(model, i, j), 0.02) << i << "," << j;
      EXPECT_EQ(run.r(j, i), run.r(i, j));
    }
    EXPECT_EQ(run.r(i, i), 1.0);
  }
  EXPECT_TRUE(run.result.fall_backs.empty());
  EXPECT_TRUE(run.result.complete);
  EXPECT_EQ(run.console,
            std::string(28, ' ') + "Computing tetrachoric correlation for varables   4   3\n");
}

TEST(Tetrachoric, IdenticalItemsTakeHalfASubjectFromTheJointCell) {
  // 40 of 100 keyed on both items, nobody on one only.
  const TetrachoricTable t = BiasCorrectedTable(40, 100, 0.4, 0.4, false, 0.0, 0.0);
  const double half = (1.0 / 100) * 0.5;
  EXPECT_EQ(t.c01, half);
  EXPECT_EQ(t.c10, 0.0 + half);  // from item 3; item 4 then finds it above 0
  EXPECT_EQ(t.c11, 0.4 - half);
  EXPECT_EQ(t.c00, 1.0 - t.c11 - t.c01 - t.c10);
  EXPECT_EQ(t.omega, (t.c11 * t.c00) / (t.c10 * t.c01));
}

TEST(Tetrachoric, AllKeyedOnISubsetOfJMovesHalfASubject) {
  // c01 = 0: every subject keyed on i is keyed on j.
  const TetrachoricTable t = BiasCorrectedTable(30, 100, 0.3, 0.5, false, 0.0, 0.0);
  const double half = 0.005;
  EXPECT_EQ(t.c01, half);
  EXPECT_EQ(t.c11, 0.3 - half);
  EXPECT_EQ(t.c10, (0.5 - 0.3) + half);
}

TEST(Tetrachoric, EmptyNeitherCellTakesHalfASubjectFromBothMargins) {
  // Everybody keyed on at least one item: c00 = 0.
  // n = 64 keeps every proportion exact: c00 = 1 - 0.25 - 0.375 - 0.375 = 0.
  const TetrachoricTable t = BiasCorrectedTable(16, 64, 0.625, 0.625, false, 0.0, 0.0);
  const double half = (1.0 / 64) * 0.5;
  EXPECT_EQ(t.c00, half);
  EXPECT_EQ(t.c11, 0.25 + half);
  EXPECT_EQ(t.c10, 0.375 - half);
  EXPECT_EQ(t.c01, 0.375 - half);
}

TEST(Tetrachoric, NeverBothKeyedKeepsTheStartValue) {
  TetrachoricRun run;
  Matrix x = TwoItems(0, 30, 40, 30);
  RunTetrachorics(x, run);
  const TetrachoricTable t = BiasCorrectedTable(0, 100, 0.4, 0.3, false, 0.0, 0.0);
  EXPECT_EQ(t.c11, 0.5 / 100);
  int soft = kIfailSoft;
  const double zi = G01FAF("Lower-tail", 1.0 - 0.4, soft);
  const double zj = G01FAF("Lower-tail", 1.0 - 0.3, soft);
  EXPECT_EQ(run.r(1, 0), DivgiStart(zi, zj, t.omega));
  EXPECT_LT(run.r(1, 0), -0.5);
}

TEST(Tetrachoric, DivgiStartAtHalfProportionsUsesAlphaOneHalf) {
  EXPECT_EQ(DivgiStart(0.0, 0.0, 4.0), std::cos(3.141592654 / (1.0 + 2.0)));
  EXPECT_EQ(DivgiStart(0.0, -0.0, 1.0), std::cos(3.141592654 / 2.0));
  // Equal absolute thresholds: h = k, and the start is near the solution.
  const double start = DivgiStart(0.5, -0.5, 2.0);
  EXPECT_GT(start, 0.0);
  EXPECT_LT(start, 0.5);
}

TEST(Tetrachoric, FrequencyFileTextWithTheWarningAtExactlyFive) {
  // n = 64: j keyed 16 (a = 5 only-j subjects), i keyed 31, both 11.
  TetrachoricRun run;
  Matrix x = TwoItems(11, 5, 20, 28);
  RunTetrachorics(x, run);
  const double r = run.r(1, 0);
  // The estimate solves the orthant equation for the joint proportion.
  int hard = kIfailHard;
  const double zi = G01FAF("Lower-tail", 31.0 / 64, hard);
  const double zj = G01FAF("Lower-tail", 16.0 / 64, hard);
  EXPECT_NEAR(G01HAF(zi, zj, r, hard), 11.0 / 64, 0.00001);
  ASSERT_EQ(run.result.tables.size(), 1u);
  const TetrachoricPairTable& t = run.result.tables[0];
  EXPECT_EQ(FormatF(t.a, 8, 2), "    5.00");
  EXPECT_EQ(FormatF(t.b, 8, 2), "   11.00");
  EXPECT_EQ(FormatF(t.c, 8, 2), "   28.00");
  EXPECT_EQ(FormatF(t.d, 8, 2), "   20.00");
  EXPECT_TRUE(t.small_cells);  // a cell of exactly 5
  EXPECT_EQ(FormatF(t.phi, 5, 3), "0.235");
  EXPECT_EQ(FormatF(r, 5, 3), "0.393");
  EXPECT_EQ(FormatF((11.0 * 28 - 5.0 * 20) / std::sqrt(48.0 * 31 * 16 * 33), 5, 3), "0.235");
  EXPECT_EQ(run.result.items.proportions, (std::vector<double>{0.25, 31.0 / 64}));
  EXPECT_EQ(StandardErrorRows(run.result),
            " 0.000000000  0.190330855\n 0.190330855  0.000000000\n");
}

TEST(Tetrachoric, VariableWithoutKeyedSubjectStops) {
  Matrix x(4, 3, 0.0);
  x(0, 0) = 1.0;
  x(1, 2) = 1.0;
  TetrachoricRun run;
  EXPECT_THROW(RunTetrachorics(x, run), RunStopped);
  ConsoleCapture capture;
  try {
    FindTetrachoricItems(x, 4, 3);
  } catch (const RunStopped&) {
  }
  EXPECT_EQ(capture.Out(),
            std::string(28, ' ') +
                "FATAL ERROR: VARIABLE   2 HAS NO VARIANCE\n\n\n\n"
                "Stop - Program terminated.\n"
                "Program Terminated with exit code 0\n");
}

TEST(Tetrachoric, SingleVariableGivesUnitMatrixAndEmptyTables) {
  Matrix x(3, 1, 1.0);
  x(0, 0) = 0.0;
  TetrachoricRun run;
  RunTetrachorics(x, run);
  EXPECT_EQ(run.r.rows, 1);
  EXPECT_EQ(run.r(0, 0), 1.0);
  EXPECT_TRUE(run.result.tables.empty());
  EXPECT_EQ(StandardErrorRows(run.result), " 0.000000000\n");
}

TEST(Tetrachoric, GuessingCorrectionClampsCellsAtZero) {
  // 40 both, 20 only j, 5 only i, 35 neither; chances .25 on i, .2 on j.
  const TetrachoricTable plain = BiasCorrectedTable(40, 100, 0.45, 0.6, false, 0.0, 0.0);
  const TetrachoricTable t = BiasCorrectedTable(40, 100, 0.45, 0.6, true, 0.25, 0.2);
  const double u = 0.75, v = 0.8;
  EXPECT_EQ(t.c00, plain.c00 / (v * u));
  EXPECT_EQ(t.c01, 0.0);  // u c01 - g(i) c00 is below 0
  EXPECT_EQ(t.c10, (v * plain.c10 - 0.2 * plain.c00) / (v * u));
  EXPECT_EQ(t.c11, 1.0 - t.c00 - 0.0 - t.c10);
  // An empty discordant cell with filled concordant cells: the ceiling.
  EXPECT_EQ(t.omega, 10000.0);
  // Empty on both sides: the floor.
  const TetrachoricTable none = BiasCorrectedTable(10, 100, 0.2, 0.2, true, 0.9, 0.9);
  EXPECT_EQ(none.c11, 0.0);
  EXPECT_EQ(none.omega, 0.0001);
}

TEST(Tetrachoric, UnsettledIterationFallsBackToThePolychoricSearch) {
  // n = 41: j keyed 25, i keyed 17, both 1. The Newton passes run past -1
  // and do not settle within 1000 passes.
  TetrachoricRun run;
  Matrix x = TwoItems(1, 24, 16, 0);
  RunTetrachorics(x, run);
  Matrix swapped(41, 2);
  for (int s = 0; s < 41; ++s) {
    swapped(s, 0) = x(s, 1);
    swapped(s, 1) = x(s, 0);
  }
  ConsoleCapture capture;
  const PolychoricResult expected = EstimatePolychorics(swapped, 41, 2, {}, SilentProgress());
  EXPECT_EQ(run.r(1, 0), expected.correlations(1, 0));
  ASSERT_EQ(run.result.fall_backs.size(), 1u);
  EXPECT_EQ(run.result.fall_backs[0].i, 1);
  EXPECT_EQ(run.result.fall_backs[0].j, 0);
  EXPECT_EQ(run.result.fall_backs[0].at_boundary, expected.boundary.size() == 1);
  EXPECT_TRUE(run.result.last_fell_back);
  EXPECT_LE(run.r(1, 0), -0.89);
  EXPECT_EQ(run.console,
            std::string(27, ' ') + " Computing polychoric correlations for variables:   2   1\n");
}

TEST(Tetrachoric, PreviousRCarriedFromThePairBeforeCanEndTheFirstPass) {
  // Items 2 and 3 are identical, so the pairs (2, 1) and (3, 1) have the same
  // table, proportions of one half and Divgi's start, which is then already
  // the root. Pair (2, 1) starts against a previous r of 0 and takes a
  // second pass that lands on 0.5; pair (3, 1) starts against that 0.5, its
  // first pass changes r by less than the bound, and it ends one pass
  // earlier, a few units in the last place away.
  Matrix x(48, 4, 0.0);
  for (int s = 0; s < 48; ++s) {
    x(s, 0) = s < 24 ? 1.0 : 0.0;
    x(s, 1) = (s < 16 || (s >= 24 && s < 32)) ? 1.0 : 0.0;
    x(s, 2) = x(s, 1);
    x(s, 3) = s % 2 == 0 ? 1.0 : 0.0;
  }
  TetrachoricRun run;
  RunTetrachorics(x, run);
  EXPECT_EQ(run.r(1, 0), 0.5);
  EXPECT_EQ(run.r(2, 0), 0x1.ffffffffffffbp-2);
  EXPECT_EQ(run.r(2, 1), 0x1.fee75d62a9c46p-1);
}

// Where the density at the thresholds is at most 0.02, each Newton step is
// cut to 1 / 5.5 of its length, so that the error shrinks by a factor of
// about 1 - 1 / 5.5 a pass and the iteration stops at the first change of r
// of at most 0.0001. It then ends on the side of the root it came from, at
// between 4.5 (1 - 1 / 5.5) and 4.5 times 0.0001 from the root, which a
// bisection of G01HAF finds. Where the density is larger (about 0.026 at
// 0.75), the steps are whole and the iteration ends at the root.
TEST(Tetrachoric, ShortenedNewtonStepsEndAtAKnownDistanceFromTheRoot) {
  for (const double truth : {0.3, 0.6, 0.75}) {
    for (const double start : {0.0, 0.5, 0.95}) {
      int ifail = kIfailHard;
      const double c11 = G01HAF(1.9, 2.1, truth, ifail);
      double low = -0.999, high = 0.999;
      for (int step = 0; step < 100; ++step) {
        const double middle = 0.5 * (low + high);
        (G01HAF(1.9, 2.1, middle, ifail) < c11 ? low : high) = middle;
      }
      const double root = 0.5 * (low + high);
      double previous_r = 0.0;
      bool settled = false;
      const double r = TetrachoricNewton(start, 1.9, 2.1, c11, previous_r, settled);
      EXPECT_TRUE(settled);
      if (truth == 0.75) {
        EXPECT_NEAR(r, root, 1e-7) << "from " << start;
        continue;
      }
      EXPECT_EQ(r < root, start < root) << truth << " from " << start;
      EXPECT_GT(std::fabs(r - root), 3.6e-4) << truth << " from " << start;
      EXPECT_LT(std::fabs(r - root), 4.6e-4) << truth << " from " << start;
    }
  }
}

}  // namespace
}  // namespace vq
