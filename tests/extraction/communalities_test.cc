#include "extraction/communalities.h"

#include <gtest/gtest.h>

#include <string>

#include "extraction_test_support.h"
#include "frame/console.h"
#include "kernels/failure.h"

namespace vq {
namespace {

using testing_support::Equicorrelation;

TEST(SmcCommunalities, KnownValuesAndUntouchedCorrelations) {
  // Equicorrelation: rho^2 (p - 1) / (1 + (p - 2) rho), 1/3 for p = 3 and
  // rho = 0.5, rho^2 for p = 2. All ones (eigenvalues 3, 0, 0): the constant
  // c = 1 / (2 * 100000) is added, and the inverse of J + cI has the
  // diagonal (2 + c) / (c (3 + c)).
  const double c = 1.0 / 200000.0;
  const struct {
    int p;
    double rho, expected, tolerance;
  } cases[] = {{3, 0.5, 1.0 / 3.0, 1e-14},
               {2, -0.6, 0.36, 1e-14},
               {3, 1.0, 1.0 - c * (3.0 + c) / (2.0 + c), 1e-9}};
  for (const auto& t : cases) {
    ResetImslState();
    ConsoleCapture capture;
    Matrix r = Equicorrelation(t.p, t.rho);
    SmcCommunalities(r, t.p);
    for (int i = 0; i < t.p; ++i) {
      EXPECT_NEAR(r(i, i), t.expected, t.tolerance) << t.p << " " << t.rho;
      for (int j = 0; j < t.p; ++j) {
        if (i != j) {
          EXPECT_EQ(r(i, j), t.rho);
        }
      }
    }
    EXPECT_EQ(capture.Out(), "");
  }
  ResetImslState();
}

TEST(SmcCommunalities, NotPositiveDefiniteIsReportedAndTheRunGoesOn) {
  // Variables 1 and 2 correlate 0.9, variable 3 correlates 0.9 with 1 and
  // -0.9 with 2: not positive definite at the leading 3 by 3 block, far
  // beyond what the added constant can repair.
  ResetImslState();
  ConsoleCapture capture;
  Matrix r = Equicorrelation(4, 0.0);
  r(0, 1) = r(1, 0) = r(0, 2) = r(2, 0) = 0.9;
  r(1, 2) = r(2, 1) = -0.9;
  SmcCommunalities(r, 4);
  EXPECT_NE(capture.Out().find("*** FATAL    ERROR 2 from DLINDS.  The leading 3 by 3 submatrix"),
            std::string::npos);
  // Variables 1 and 2 (the block that did factorise) predict each other.
  EXPECT_NEAR(r(0, 0), 0.81, 1e-4);
  EXPECT_NEAR(r(1, 1), 0.81, 1e-4);
  EXPECT_EQ(r(2, 2), 0.0);
  EXPECT_EQ(r(3, 3), 0.0);

  // A single variable: 0, also when its one "eigenvalue" is not positive
  // (the constant then uses the divisor 1, and the inverse reports).
  Matrix one(1, 1, 1.0), negative(1, 1, -0.5);
  SmcCommunalities(one, 1);
  SmcCommunalities(negative, 1);
  EXPECT_EQ(one(0, 0), 0.0);
  EXPECT_EQ(negative(0, 0), 0.0);
  EXPECT_NE(capture.Out().find("The leading 1 by 1 submatrix"), std::string::npos);
  ResetImslState();
}

}  // namespace
}  // namespace vq
