#include "kernels/refined_solve.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

#include "frame/console.h"
#include "kernels/failure.h"

namespace vq {
namespace {

constexpr double kEpsilon = 2.220446049250313e-16;

Matrix Identity(int n) {
  Matrix m(n, n);
  for (int i = 0; i < n; ++i) m(i, i) = 1.0;
  return m;
}

// An n by n matrix from its rows.
Matrix FromRows(int n, const std::vector<double>& rows) {
  Matrix m(n, n);
  for (int k = 0; k < n * n; ++k) m(k / n, k % n) = rows[k];
  return m;
}

TEST(F04AEF, RecoversExactSolutionsToTenEpsilons) {
  std::mt19937 generator(4242);
  std::uniform_int_distribution<int> entry(-60, 60);
  std::uniform_int_distribution<int> numerator(-4096, 4096);
  for (int trial = 0; trial < 30; ++trial) {
    const int n = 1 + trial % 10;
    const int m = 1 + trial % 3;
    // Small integers and dyadic solutions: B = A X is exact in double
    // precision, so X is the exact solution.
    Matrix a(n, n), x(n, m), b(n, m), c;
    for (double& value : a.values) value = entry(generator);
    for (int i = 0; i < n; ++i) a(i, i) += (a(i, i) < 0 ? -1 : 1) * 61.0 * n;
    for (double& value : x.values) value = numerator(generator) / 1024.0;
    for (int i = 0; i < n; ++i) {
      for (int j = 0; j < m; ++j) {
        for (int k = 0; k < n; ++k) b(i, j) += a(i, k) * x(k, j);
      }
    }
    int ifail = 0;
    F04AEF(a, b, n, m, c, ifail);
    ASSERT_EQ(ifail, 0);
    for (int j = 0; j < m; ++j) {
      double xmax = 0.0;
      for (int i = 0; i < n; ++i) xmax = std::max(xmax, std::fabs(x(i, j)));
      for (int i = 0; i < n; ++i) {
        EXPECT_LE(std::fabs(c(i, j) - x(i, j)), 10.0 * kEpsilon * xmax) << trial;
      }
    }
  }
  // Condition near 4e9, B = A X exact: the residuals in more than double
  // precision give X to full accuracy.
  const double tiny = std::ldexp(1.0, -30);
  Matrix b(2, 1), c, aa, bb;
  b(0, 0) = 0.25;
  b(1, 0) = 0.25 - 0.5 * tiny;
  int ifail = 0;
  EXPECT_GE(RefinedSolve(FromRows(2, {1.0, 1.0, 1.0, 1.0 + tiny}), b, 2, 1, c, aa, bb, ifail), 2);
  EXPECT_EQ(ifail, 0);
  EXPECT_NEAR(c(0, 0), 0.75, 10 * kEpsilon);
  EXPECT_NEAR(c(1, 0), -0.5, 10 * kEpsilon);
}

TEST(F04AEF, SingularMatrixOrZeroRowIsFailureOne) {
  const Matrix singular[] = {FromRows(3, {1, 2, 3, 2, 4, 6, 1, 0, 1}),
                             FromRows(3, {1, 0, 0, 0, 0, 0, 0, 0, 1})};
  for (const Matrix& a : singular) {
    Matrix c;
    ConsoleCapture capture;
    int ifail = kIfailQuiet;
    F04AEF(a, Identity(3), 3, 3, c, ifail);
    EXPECT_EQ(ifail, 1);
    EXPECT_EQ(capture.Out(), "");
    ifail = 0;
    EXPECT_THROW(F04AEF(a, Identity(3), 3, 3, c, ifail), RunStopped);
    EXPECT_EQ(capture.Out(),
              "** ABNORMAL EXIT from NAG Library routine F04AEF: IFAIL =     1\n"
              "** Matrix A is approximately singular.\n"
              "** NAG hard failure - execution terminated\n"
              "Stop - Program terminated.\nProgram Terminated with exit code 0\n");
  }
}

TEST(F04AEF, IllConditionedMatrixIsFailureTwo) {
  // The Hilbert matrix of order 13 has a condition near 1e18: its scaled
  // pivots stay above the limit, but the refinement cannot converge.
  const int n = 13;
  Matrix hilbert(n, n), c;
  for (int i = 0; i < n; ++i) {
    for (int j = 0; j < n; ++j) hilbert(i, j) = 1.0 / (i + j + 1);
  }
  ConsoleCapture capture;
  int ifail = kIfailSoft;
  F04AEF(hilbert, Identity(n), n, n, c, ifail);
  EXPECT_EQ(ifail, 2);
  EXPECT_EQ(capture.Out(),
            "** ABNORMAL EXIT from NAG Library routine F04AEF: IFAIL =     2\n"
            "** Matrix A is too ill-conditioned.\n"
            "** NAG soft failure - control returned\n");
}

}  // namespace
}  // namespace vq
