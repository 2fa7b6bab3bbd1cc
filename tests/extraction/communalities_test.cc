#include "extraction/communalities.h"

#include <gtest/gtest.h>

#include <string>

#include "extraction_test_support.h"
#include "frame/console.h"
#include "kernels/failure.h"

namespace vq {
namespace {

using testing_support::Equicorrelation;

TEST(SmcCommunalities, EquicorrelationKnownValue) {
  // For p = 3 and rho = 0.5 the squared multiple correlation is
  // rho^2 (p - 1) / (1 + (p - 2) rho) = 1/3.
  ResetImslState();
  Matrix r = Equicorrelation(3, 0.5);
  SmcCommunalities(r, 3);
  for (int i = 0; i < 3; ++i) EXPECT_NEAR(r(i, i), 1.0 / 3.0, 1e-14);
  for (int i = 0; i < 3; ++i) {
    for (int j = 0; j < 3; ++j) {
      if (i != j) {
        EXPECT_EQ(r(i, j), 0.5);
      }
    }
  }
}

TEST(SmcCommunalities, TwoVariablesGiveTheSquaredCorrelation) {
  ResetImslState();
  Matrix r = Equicorrelation(2, -0.6);
  SmcCommunalities(r, 2);
  EXPECT_NEAR(r(0, 0), 0.36, 1e-14);
  EXPECT_NEAR(r(1, 1), 0.36, 1e-14);
  EXPECT_EQ(r(0, 1), -0.6);
}

TEST(SmcCommunalities, SingularMatrixGetsTheAddedConstant) {
  // All ones: eigenvalues 3, 0, 0. c = 1 / (2 * 100000) is added, and the
  // inverse of J + cI has the diagonal (2 + c) / (c (3 + c)).
  ResetImslState();
  ConsoleCapture capture;
  Matrix r = Equicorrelation(3, 1.0);
  SmcCommunalities(r, 3);
  const double c = 1.0 / 200000.0;
  const double expected = 1.0 - c * (3.0 + c) / (2.0 + c);
  for (int i = 0; i < 3; ++i) EXPECT_NEAR(r(i, i), expected, 1e-9);
  EXPECT_EQ(r(0, 1), 1.0);
  EXPECT_EQ(r(2, 1), 1.0);
}

TEST(SmcCommunalities, NotPositiveDefiniteIsReportedAndTheRunGoesOn) {
  // Variables 1 and 2 correlate 0.9, variable 3 correlates 0.9 with 1 and
  // -0.9 with 2: not positive definite at the leading 3 by 3 block, far
  // beyond what the added constant can repair.
  ResetImslState();
  ConsoleCapture capture;
  Matrix r = Equicorrelation(4, 0.0);
  r(0, 1) = r(1, 0) = 0.9;
  r(0, 2) = r(2, 0) = 0.9;
  r(1, 2) = r(2, 1) = -0.9;
  SmcCommunalities(r, 4);
  EXPECT_NE(capture.Out().find("*** FATAL    ERROR 2 from DLINDS.  The leading 3 by 3 submatrix"),
            std::string::npos);
  // Variables 1 and 2 (the block that did factorise) predict each other.
  EXPECT_NEAR(r(0, 0), 0.81, 1e-4);
  EXPECT_NEAR(r(1, 1), 0.81, 1e-4);
  EXPECT_EQ(r(2, 2), 0.0);
  EXPECT_EQ(r(3, 3), 0.0);
  ResetImslState();
}

TEST(SmcCommunalities, SingleVariable) {
  ResetImslState();
  Matrix one(1, 1, 1.0);
  SmcCommunalities(one, 1);
  EXPECT_EQ(one(0, 0), 0.0);
  // A single non-positive "eigenvalue": the constant uses the divisor 1, so
  // no division by zero; the inverse then reports and the run goes on, and
  // the variable, outside any block that factorised, starts from 0.
  ConsoleCapture capture;
  Matrix negative(1, 1, -0.5);
  SmcCommunalities(negative, 1);
  EXPECT_NE(capture.Out().find("The leading 1 by 1 submatrix"), std::string::npos);
  EXPECT_EQ(negative(0, 0), 0.0);
  ResetImslState();
}

TEST(HighestCorrelationCommunalities, LargestAbsoluteValueOfTheRow) {
  Matrix r = Equicorrelation(4, 0.0);
  r(0, 1) = r(1, 0) = 0.3;
  r(0, 2) = r(2, 0) = -0.7;
  r(1, 2) = r(2, 1) = 0.3;
  // Row 4 is all zeros.
  HighestCorrelationCommunalities(r, 4);
  EXPECT_EQ(r(0, 0), 0.7);
  EXPECT_EQ(r(1, 1), 0.3);
  EXPECT_EQ(r(2, 2), 0.7);
  EXPECT_EQ(r(3, 3), 0.0);
  EXPECT_EQ(r(0, 2), -0.7);
}

TEST(HighestCorrelationCommunalities, DiagonalValuesDoNotMatter) {
  Matrix r = Equicorrelation(2, 0.4);
  r(0, 0) = 5.0;
  r(1, 1) = -5.0;
  HighestCorrelationCommunalities(r, 2);
  EXPECT_EQ(r(0, 0), 0.4);
  EXPECT_EQ(r(1, 1), 0.4);
}

}  // namespace
}  // namespace vq
