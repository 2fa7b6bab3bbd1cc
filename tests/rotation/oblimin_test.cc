#include "rotation/oblimin.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "frame/console.h"
#include "kernels/failure.h"
#include "test_matrices.h"

namespace vq {
namespace {

using testing::FromRows;
using testing::Identity;
using testing::MaxAbsDifference;
using testing::Outer;
using testing::Reproduced;

TEST(ObliminCubicRoot, OneRootOrTheDeeperMinimumOfThree) {
  // x^3 = 1; (x - 2)(x^2 + 1); (x - 1)(x - 2)(x + 3), whose quartic is lower
  // at -3; (x + 1)(x + 2)(x - 3), lower at 3.
  EXPECT_DOUBLE_EQ(ObliminCubicRoot(0.0, 0.0, -1.0), 1.0);
  EXPECT_NEAR(ObliminCubicRoot(-2.0, 1.0, -2.0), 2.0, 1e-14);
  EXPECT_NEAR(ObliminCubicRoot(0.0, -7.0, 6.0), -3.0, 1e-8);
  EXPECT_NEAR(ObliminCubicRoot(0.0, -7.0, -6.0), 3.0, 1e-8);
}

class ObliminTest : public ::testing::Test {
 protected:
  void SetUp() override { ResetImslState(); }
  void TearDown() override { ResetImslState(); }
};

TEST_F(ObliminTest, PatternAndCorrelationsReproduceTheLoadings) {
  const Matrix a = testing::ThreeFactorLoadings();
  for (double delta : {0.0, -0.5, -2.0}) {
    Matrix b, fcor;
    ConsoleCapture capture;
    DFDOBL(12, 3, a, 1, delta, 200, 0.00001, b, fcor);
    EXPECT_EQ(capture.Out(), "") << "delta " << delta;
    EXPECT_LT(MaxAbsDifference(Reproduced(b, fcor), Outer(a)), 1e-8) << "delta " << delta;
    for (int j = 0; j < 3; ++j) {
      EXPECT_EQ(fcor(j, j), 1.0);
      for (int k = 0; k < 3; ++k) EXPECT_EQ(fcor(j, k), fcor(k, j));
    }
  }
}

TEST_F(ObliminTest, CriterionAtZeroOnTheFirstTestEndsWithoutASweep) {
  // Each item loads on one factor only: f = 0 at once, and the output is the
  // normalised start scaled back, that is A itself, with identity correlations.
  const Matrix a = FromRows({{0.7, 0.0}, {0.6, 0.0}, {0.0, 0.8}, {0.0, 0.5}});
  Matrix b, fcor;
  ConsoleCapture capture;
  DFDOBL(4, 2, a, 1, 0.0, 1, 0.0001, b, fcor);
  EXPECT_EQ(capture.Out(), "");  // no warning: it stopped with success
  EXPECT_LT(MaxAbsDifference(b, a), 1e-15);
  EXPECT_EQ(MaxAbsDifference(fcor, Identity(2)), 0.0);
}

TEST_F(ObliminTest, ZeroColumnOrRowLeavesASolutionThatStillReproduces) {
  for (bool row : {false, true}) {
    Matrix a = testing::ThreeFactorLoadings();
    for (int k = 0; k < (row ? 3 : 12); ++k) (row ? a(4, k) : a(k, 2)) = 0.0;
    Matrix b, fcor;
    DFDOBL(12, 3, a, 1, 0.0, 50, 0.0001, b, fcor);
    for (double value : b.values) EXPECT_TRUE(std::isfinite(value));
    if (row) {
      for (int j = 0; j < 3; ++j) EXPECT_EQ(b(4, j), 0.0);
    }
    EXPECT_LT(MaxAbsDifference(Reproduced(b, fcor), Outer(a)), 1e-8);
  }
}

TEST_F(ObliminTest, DefaultsOfZeroSweepsAndZeroEps) {
  const Matrix a = testing::ThreeFactorLoadings();
  Matrix b0, f0, b1, f1;
  DFDOBL(12, 3, a, 1, 0.0, 0, 0.0, b0, f0);
  DFDOBL(12, 3, a, 1, 0.0, 30, 0.0001, b1, f1);
  EXPECT_EQ(MaxAbsDifference(b0, b1), 0.0);
  EXPECT_EQ(MaxAbsDifference(f0, f1), 0.0);
}

TEST_F(ObliminTest, SweepsUsedUpGiveTheWarningAndTheSolutionStands) {
  const Matrix a = testing::ThreeFactorLoadings();
  Matrix b, fcor;
  ConsoleCapture capture;
  DFDOBL(12, 3, a, 1, 0.0, 1, 1e-300, b, fcor);
  const std::string out = capture.Out();
  EXPECT_NE(out.find("WARNING"), std::string::npos) << out;
  EXPECT_NE(out.find("from DFDOBL."), std::string::npos) << out;
  EXPECT_NE(out.find("1 iterations with no"), std::string::npos) << out;
  EXPECT_NE(out.find("Convergence assumed."), std::string::npos) << out;
  EXPECT_EQ(IERCD(), 3);
  EXPECT_LT(MaxAbsDifference(Reproduced(b, fcor), Outer(a)), 1e-8);
}

TEST_F(ObliminTest, PinnedBitsOfThreeSweeps) {
  // Eight items, three factors, delta -0.25, three sweeps. The sums of a
  // pair step take e(i) times u(i) squared and e(i) times v(i) squared: the
  // square first, then the product. The expected bits come from a separate
  // transcription of the rotation; they fail on any other order of these
  // products.
  const Matrix a = FromRows({{0.71, 0.22, -0.13},
                             {0.64, 0.31, 0.05},
                             {0.58, -0.12, 0.27},
                             {0.12, 0.69, 0.18},
                             {-0.21, 0.57, 0.33},
                             {0.25, 0.14, 0.61},
                             {0.33, -0.28, 0.52},
                             {0.47, 0.41, 0.09}});
  Matrix b, fcor;
  ConsoleCapture capture;
  DF2OBL(8, 3, a, 1, -0.25, 3, 1e-9, b, fcor);
  EXPECT_EQ(b(1, 0), 0x1.50fdfe7017db9p-1);
  EXPECT_EQ(b(3, 0), 0x1.9f0d332453f50p-3);
  EXPECT_EQ(b(7, 1), 0x1.1a45634e463a5p-2);
  EXPECT_EQ(b(5, 2), 0x1.30d0c4978f6e4p-1);
  EXPECT_EQ(fcor(1, 0), 0x1.75eb5061342f2p-3);
  EXPECT_EQ(fcor(2, 0), 0x1.22600ef1e0388p-2);
  EXPECT_EQ(fcor(2, 1), 0x1.99ed472120db0p-4);
  EXPECT_NE(capture.Out().find("3 iterations with no convergence."), std::string::npos);
}

TEST_F(ObliminTest, NegativeMaxitOrEpsStopsTheRunAlsoWithStoppingSwitchedOff) {
  const Matrix a = testing::ThreeFactorLoadings();
  Matrix b, fcor;
  ConsoleCapture capture;
  EXPECT_THROW(DFDOBL(12, 3, a, 1, 0.0, -1, 0.0001, b, fcor), RunStopped);
  ERSET(0, 1, 0);
  EXPECT_THROW(DFDOBL(12, 3, a, 1, 0.0, 10, -0.5, b, fcor), RunStopped);
  const std::string out = capture.Out();
  EXPECT_NE(out.find("TERMINAL ERROR 1 from DFDOBL.  MAXIT = -1.  MAXIT must be 0 or more."),
            std::string::npos)
      << out;
  EXPECT_NE(
      out.find("*** TERMINAL ERROR 2 from DFDOBL.  EPS = -5.000000E-01.  EPS must be greater\n"
               "***          than or equal to 0.\n"
               "Stop - Program terminated."),
      std::string::npos)
      << out;
}

}  // namespace
}  // namespace vq
