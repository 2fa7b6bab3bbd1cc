#include "kernels/pd_inverse.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <string>

#include "frame/console.h"
#include "kernels/failure.h"
#include "kernels/normal.h"

namespace vq {
namespace {

class PdInverseTest : public ::testing::Test {
 protected:
  void SetUp() override { ResetImslState(); }
  void TearDown() override { ResetImslState(); }
  Matrix inverse_;
};

Matrix Identity(int n) {
  Matrix m(n, n);
  for (int i = 0; i < n; ++i) m(i, i) = 1.0;
  return m;
}

// [[1, 0, 1], [0, 1, 1], [1, 1, 2], ...]: the third pivot is exactly 0.
Matrix ZeroThirdPivot(int n) {
  Matrix a = Identity(n);
  a(0, 2) = a(2, 0) = a(1, 2) = a(2, 1) = 1.0;
  a(2, 2) = 2.0;
  return a;
}

const std::string kNotPositiveDefinite =
    "*** FATAL    ERROR 2 from DLINDS.  The leading 3 by 3 submatrix of the input\n"
    "***          matrix is not positive definite.\n";

TEST_F(PdInverseTest, UnitAndRandomMatricesInBothTriangles) {
  ConsoleCapture capture;
  EXPECT_TRUE(DLINDS(4, Identity(4), inverse_));
  EXPECT_EQ(inverse_.values, Identity(4).values);
  EXPECT_EQ(InvertPositiveDefinite(Identity(3), 3, inverse_), 0);
  EXPECT_EQ(inverse_.values, Identity(3).values);
  EXPECT_EQ(capture.Out(), "");
  // B B' + n I for a random B: well conditioned and positive definite.
  std::mt19937 generator(99);
  std::uniform_real_distribution<double> uniform(-1.0, 1.0);
  for (int n : {1, 2, 5, 17, 40}) {
    Matrix b(n, n), a(n, n);
    for (double& value : b.values) value = uniform(generator);
    for (int i = 0; i < n; ++i) {
      for (int j = 0; j < n; ++j) {
        a(i, j) = i == j ? n : 0.0;
        for (int k = 0; k < n; ++k) a(i, j) += b(i, k) * b(j, k);
      }
    }
    ASSERT_TRUE(DLINDS(n, a, inverse_));
    EXPECT_EQ(IERCD(), 0);
    for (int i = 0; i < n; ++i) {
      for (int j = 0; j < n; ++j) {
        EXPECT_EQ(inverse_(i, j), inverse_(j, i));
        double sum = i == j ? -1.0 : 0.0;
        for (int k = 0; k < n; ++k) sum += a(i, k) * inverse_(k, j);
        EXPECT_NEAR(sum, 0.0, 1e-13) << n;
      }
    }
  }
}

TEST_F(PdInverseTest, ZeroPivotInRowThreeStopsDLINDSButNotTheInverse) {
  const std::string stop = "Stop - Program terminated.\nProgram Terminated with exit code 0\n";
  ConsoleCapture capture;
  EXPECT_THROW(DLINDS(4, ZeroThirdPivot(4), inverse_), RunStopped);
  EXPECT_EQ(InvertPositiveDefinite(ZeroThirdPivot(5), 5, inverse_), 3);
  EXPECT_EQ(IERCD(), 2);
  EXPECT_EQ(capture.Out(), kNotPositiveDefinite + stop + kNotPositiveDefinite);
  // The leading 2 by 2 block is the unit matrix, whose inverse stands; the
  // rest is the unit matrix.
  EXPECT_EQ(inverse_.values, Identity(5).values);
  // From then on, errors of the group print and do not stop.
  EXPECT_TRUE(std::isnan(DNORIN(0.0)));
  EXPECT_EQ(capture.Out().substr(2 * kNotPositiveDefinite.size() + stop.size(), 35),
            "*** TERMINAL ERROR 1 from DNORIN.  ");
}

}  // namespace
}  // namespace vq
