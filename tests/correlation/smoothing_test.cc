#include "correlation/smoothing.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "frame/console.h"
#include "kernels/eigen.h"
#include "kernels/failure.h"

namespace vq {
namespace {

Matrix Symmetric(int p, std::initializer_list<double> lower_by_rows) {
  Matrix a(p, p);
  auto it = lower_by_rows.begin();
  for (int i = 0; i < p; ++i) {
    for (int j = 0; j <= i; ++j) {
      a(i, j) = *it;
      a(j, i) = *it++;
    }
  }
  return a;
}

std::vector<double> Eigenvalues(Matrix a) {
  std::vector<double> w;
  int ifail = kIfailHard;
  F02FAF('N', 'U', a.rows, a, w, ifail);
  return w;
}

TEST(Smoothing, PositiveDefiniteMatrixComesBackToSinglePrecision) {
  const Matrix original = Symmetric(4, {1, 0.5, 1, 0.3, 0.4, 1, -0.2, 0.1, 0.35, 1});
  Matrix r = original;
  Matrix result;
  SmoothCorrelations(r, 4, result);
  for (int i = 0; i < 4; ++i) {
    for (int j = 0; j < 4; ++j) {
      EXPECT_NEAR(result(i, j), original(i, j), 2e-7) << i << "," << j;
      EXPECT_EQ(result(i, j), result(j, i));
    }
  }
}

TEST(Smoothing, IndefiniteMatrixBecomesSemidefiniteWithUnitDiagonal) {
  // Pairwise estimates that no joint distribution has: eigenvalue below 0.
  const Matrix original = Symmetric(3, {1, 0.9, 1, 0.9, -0.2, 1});
  ASSERT_LT(Eigenvalues(original)[0], 0.0);
  Matrix r = original;
  Matrix result;
  SmoothCorrelations(r, 3, result);
  for (int i = 0; i < 3; ++i) EXPECT_NEAR(result(i, i), 1.0, 1e-6);
  const std::vector<double> w = Eigenvalues(result);
  // The dropped eigenvalue leaves a zero one; none is negative beyond
  // single precision, and the kept ones are positive.
  EXPECT_GT(w[0], -1e-6);
  EXPECT_LT(w[0], 1e-6);
  EXPECT_GT(w[1], 0.1);
  // The smoothed correlations keep the pattern of the input.
  EXPECT_GT(result(1, 0), 0.5);
  EXPECT_LT(result(2, 1), result(2, 0));
}

TEST(Smoothing, EigenvalueOfExactlyTheBoundIsKept) {
  // A diagonal matrix has its diagonal as eigenvalues, exactly.
  Matrix r = Symmetric(2, {1.995, 0, 0.005});
  Matrix result;
  SmoothCorrelations(r, 2, result);
  EXPECT_NEAR(result(0, 0), 1.0, 1e-15);
  EXPECT_NEAR(result(1, 1), 1.0, 1e-15);
  EXPECT_EQ(result(1, 0), 0.0);
}

TEST(Smoothing, VariableOnlyOnDroppedEigenvectorsStops) {
  Matrix r = Symmetric(3, {1.5, 0.2, 1.5, 0, 0, 0.001});
  Matrix result;
  ConsoleCapture capture;
  EXPECT_THROW(SmoothCorrelations(r, 3, result), RunStopped);
  EXPECT_EQ(capture.Out(),
            std::string(28, ' ') +
                "FATAL ERROR: VARIABLE   3 CANNOT BE SMOOTHED\n\n\n\n"
                "Stop - Program terminated.\nProgram Terminated with exit code 0\n");
}

}  // namespace
}  // namespace vq
