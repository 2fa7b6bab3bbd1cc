#include "kernels/pd_inverse.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "frame/console.h"
#include "kernels/failure.h"
#include "kernels/normal.h"

namespace vq {
namespace {

class PdInverseTest : public ::testing::Test {
 protected:
  void SetUp() override { ResetImslState(); }
  void TearDown() override { ResetImslState(); }
};

Matrix Identity(int n) {
  Matrix m(n, n);
  for (int i = 0; i < n; ++i) m(i, i) = 1.0;
  return m;
}

// B B' + n I for a random B: well conditioned and positive definite.
Matrix RandomPositiveDefinite(int n, std::mt19937& generator) {
  std::uniform_real_distribution<double> uniform(-1.0, 1.0);
  Matrix b(n, n);
  for (double& value : b.values) value = uniform(generator);
  Matrix a(n, n);
  for (int i = 0; i < n; ++i) {
    for (int j = 0; j < n; ++j) {
      double sum = i == j ? n : 0.0;
      for (int k = 0; k < n; ++k) sum += b(i, k) * b(j, k);
      a(i, j) = sum;
    }
  }
  return a;
}

// [[1, 0, 1], [0, 1, 1], [1, 1, 2], ...]: the third pivot is exactly 0.
Matrix ZeroThirdPivot(int n) {
  Matrix a = Identity(n);
  a(0, 2) = a(2, 0) = 1.0;
  a(1, 2) = a(2, 1) = 1.0;
  a(2, 2) = 2.0;
  return a;
}

TEST_F(PdInverseTest, UnitMatrixComesBackAsUnitMatrix) {
  Matrix inverse;
  ConsoleCapture capture;
  EXPECT_TRUE(DLINDS(4, Identity(4), inverse));
  EXPECT_EQ(inverse.values, Identity(4).values);
  InvertPositiveDefinite(Identity(3), 3, inverse);
  EXPECT_EQ(inverse.values, Identity(3).values);
  EXPECT_EQ(capture.Out(), "");
}

TEST_F(PdInverseTest, RandomMatricesBothTriangles) {
  std::mt19937 generator(99);
  for (int n : {1, 2, 5, 17, 40}) {
    Matrix a = RandomPositiveDefinite(n, generator);
    Matrix inverse;
    ASSERT_TRUE(DLINDS(n, a, inverse));
    EXPECT_EQ(IERCD(), 0);
    for (int i = 0; i < n; ++i) {
      for (int j = 0; j < n; ++j) {
        EXPECT_EQ(inverse(i, j), inverse(j, i));
        double sum = 0.0;
        for (int k = 0; k < n; ++k) sum += a(i, k) * inverse(k, j);
        EXPECT_NEAR(sum, i == j ? 1.0 : 0.0, 1e-13) << n;
      }
    }
  }
}

TEST_F(PdInverseTest, ZeroPivotInRowThreeIsAFatalError) {
  Matrix inverse;
  ConsoleCapture capture;
  EXPECT_THROW(DLINDS(4, ZeroThirdPivot(4), inverse), RunStopped);
  EXPECT_EQ(capture.Out(),
            "*** FATAL    ERROR 2 from DLINDS.  The leading 3 by 3 submatrix of the input\n"
            "***          matrix is not positive definite.\n"
            "Stop - Program terminated.\nProgram Terminated with exit code 0\n");
}

TEST_F(PdInverseTest, InvertPositiveDefiniteReportsAndGoesOn) {
  Matrix inverse;
  ConsoleCapture capture;
  InvertPositiveDefinite(ZeroThirdPivot(5), 5, inverse);
  EXPECT_EQ(capture.Out(),
            "*** FATAL    ERROR 2 from DLINDS.  The leading 3 by 3 submatrix of the input\n"
            "***          matrix is not positive definite.\n");
  EXPECT_EQ(IERCD(), 2);
  // The leading 2 by 2 block is the unit matrix, whose inverse stands; the
  // rest is the unit matrix.
  EXPECT_EQ(inverse.values, Identity(5).values);
}

TEST_F(PdInverseTest, SafeResultHoldsTheInverseOfTheFinishedBlock) {
  Matrix a(4, 4);
  a(0, 0) = 4.0;
  a(1, 1) = 2.0;
  a(0, 1) = a(1, 0) = 1.0;  // leading block [[4, 1], [1, 2]], determinant 7
  a(2, 2) = -1.0;           // the third pivot is negative
  a(3, 3) = 5.0;
  a(0, 3) = a(3, 0) = 0.5;
  Matrix inverse;
  ConsoleCapture capture;
  InvertPositiveDefinite(a, 4, inverse);
  EXPECT_NEAR(inverse(0, 0), 2.0 / 7.0, 1e-15);
  EXPECT_NEAR(inverse(1, 1), 4.0 / 7.0, 1e-15);
  EXPECT_NEAR(inverse(0, 1), -1.0 / 7.0, 1e-15);
  EXPECT_EQ(inverse(1, 0), inverse(0, 1));
  EXPECT_EQ(inverse(2, 2), 1.0);
  EXPECT_EQ(inverse(3, 3), 1.0);
  EXPECT_EQ(inverse(0, 3), 0.0);
  EXPECT_EQ(inverse(3, 1), 0.0);
}

TEST_F(PdInverseTest, FailureAtTheFirstPivotGivesTheUnitMatrix) {
  Matrix a(3, 3, 0.5);
  a(0, 0) = 0.0;
  Matrix inverse;
  ConsoleCapture capture;
  InvertPositiveDefinite(a, 3, inverse);
  EXPECT_EQ(inverse.values, Identity(3).values);
  EXPECT_NE(capture.Out().find("The leading 1 by 1 submatrix"), std::string::npos);
  // The raw result of DLINDS: what the factorisation left.
  EXPECT_FALSE(DLINDS(3, a, inverse));
  EXPECT_EQ(inverse(0, 0), 0.0);
  EXPECT_EQ(inverse(0, 1), 0.5);
  EXPECT_EQ(inverse(1, 0), 0.0);
}

TEST_F(PdInverseTest, IllConditionedWarningKeepsTheInverse) {
  Matrix a = Identity(2);
  a(1, 1) = 1e-17;
  Matrix inverse;
  ConsoleCapture capture;
  EXPECT_TRUE(DLINDS(2, a, inverse));
  EXPECT_EQ(capture.Out(),
            "*** WARNING  ERROR 1 from DLINDS.  The matrix is too ill-conditioned. An\n"
            "***          estimate of the reciprocal of its L1 condition number is RCOND =\n"
            "***          1.000000E-17.  The inverse might not be accurate.\n");
  EXPECT_EQ(IERCD(), 1);
  EXPECT_DOUBLE_EQ(inverse(1, 1), 1e17);
  EXPECT_EQ(inverse(0, 0), 1.0);
}

TEST_F(PdInverseTest, LaterErrorsOfTheGroupPrintAndDoNotStop) {
  Matrix inverse;
  ConsoleCapture capture;
  InvertPositiveDefinite(Identity(2), 2, inverse);
  EXPECT_TRUE(std::isnan(DNORIN(0.0)));
  EXPECT_EQ(capture.Out().substr(0, 35), "*** TERMINAL ERROR 1 from DNORIN.  ");
  EXPECT_NO_THROW(DLINDS(3, ZeroThirdPivot(3), inverse));
}

}  // namespace
}  // namespace vq
