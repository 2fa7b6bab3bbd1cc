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

}  // namespace
}  // namespace vq
