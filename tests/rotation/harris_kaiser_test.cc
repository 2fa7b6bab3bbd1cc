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
