#include "rotation/harris_kaiser.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "frame/console.h"
#include "kernels/failure.h"
#include "test_matrices.h"

namespace vq {
namespace {

using testing::Identity;
using testing::MaxAbsDifference;
using testing::Multiply;
using testing::Outer;
using testing::Reproduced;
using testing::RowSumsOfSquares;
using testing::Transpose;

class HarrisKaiserTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ResetImslState();
    a_ = testing::ThreeFactorLoadings();
    const std::vector<double> h2 = RowSumsOfSquares(a_);
    for (double value : h2) d_.push_back(1.0 - value);
  }
  void TearDown() override { ResetImslState(); }
  Matrix a_;
  std::vector<double> d_;
};

TEST_F(HarrisKaiserTest, PatternAndCorrelationsReproduceTheLoadingsForAnyC) {
  for (double c : {0.0, 0.25, 0.5, 0.75, 1.0}) {
    Matrix b, fcor;
    DFHARR(12, 3, a_, 1, 200, 1.0, c, 0.0001, d_, b, fcor);
    EXPECT_LT(MaxAbsDifference(Reproduced(b, fcor), Outer(a_)), 1e-8) << "C " << c;
    for (int j = 0; j < 3; ++j) {
      EXPECT_NEAR(fcor(j, j), 1.0, 1e-15) << "C " << c;
      for (int k = 0; k < 3; ++k) EXPECT_EQ(fcor(j, k), fcor(k, j));
    }
    // C of 1 gives an orthogonal rotation.
    if (c == 1.0) {
      EXPECT_LT(MaxAbsDifference(fcor, Identity(3)), 1e-12);
      EXPECT_LT(MaxAbsDifference(Outer(b), Outer(a_)), 1e-12);
    }
  }
}

TEST_F(HarrisKaiserTest, UniqueVarianceOfZeroOrBelowGetsTheSmallestScale) {
  std::vector<double> zero = d_, negative = d_;
  zero[3] = 0.0;
  negative[3] = -0.2;
  Matrix b0, f0, b1, f1;
  DFHARR(12, 3, a_, 1, 200, 1.0, 0.5, 0.0001, zero, b0, f0);
  DFHARR(12, 3, a_, 1, 200, 1.0, 0.5, 0.0001, negative, b1, f1);
  EXPECT_EQ(MaxAbsDifference(b0, b1), 0.0);
  EXPECT_EQ(MaxAbsDifference(f0, f1), 0.0);
  for (double value : b0.values) EXPECT_TRUE(std::isfinite(value));
  EXPECT_LT(MaxAbsDifference(Reproduced(b0, f0), Outer(a_)), 1e-8);
}

TEST_F(HarrisKaiserTest, OrthomaxStepGivesTheProductOfItsPlaneTurns) {
  Matrix b, t;
  DF2OTA(12, 3, a_, 1, 200, 1.0, 0.0001, b, t);
  EXPECT_LT(MaxAbsDifference(Multiply(Transpose(t), t), Identity(3)), 1e-14);
  EXPECT_LT(MaxAbsDifference(Multiply(a_, t), b), 1e-14);
}

TEST_F(HarrisKaiserTest, BadArgumentsStopTheRun) {
  Matrix b, fcor;
  ConsoleCapture capture;
  EXPECT_THROW(DFHARR(12, 3, a_, 1, 200, 1.0, 1.5, 0.0001, d_, b, fcor), RunStopped);
  EXPECT_THROW(DFHARR(12, 3, a_, 1, 0, 1.0, 0.5, 0.0001, d_, b, fcor), RunStopped);
  const std::string out = capture.Out();
  EXPECT_NE(
      out.find("*** TERMINAL ERROR 1 from DFHARR.  C = 1.500000E+00.  C must be greater than\n"
               "***          or equal 0.0 and less than or equal to 1.0.\n"),
      std::string::npos)
      << out;
  EXPECT_NE(out.find("TERMINAL ERROR 2 from DFHARR.  MAXIT = 0.  MAXIT must be 1 or more."),
            std::string::npos)
      << out;
}

TEST_F(HarrisKaiserTest, SweepsUsedUpGiveTheWarningAndTheSolutionStands) {
  Matrix b, fcor;
  ConsoleCapture capture;
  DFHARR(12, 3, a_, 1, 1, 1.0, 0.5, 1e-12, d_, b, fcor);
  const std::string out = capture.Out();
  for (const char* text :
       {"WARNING", "1 iterations without convergence.", "Convergence assumed."}) {
    EXPECT_NE(out.find(text), std::string::npos) << out;
  }
  EXPECT_LT(MaxAbsDifference(Reproduced(b, fcor), Outer(a_)), 1e-8);
}

}  // namespace
}  // namespace vq
