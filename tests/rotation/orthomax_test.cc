#include "rotation/orthomax.h"

#include <gtest/gtest.h>

#include <cmath>

#include "frame/console.h"
#include "test_matrices.h"

namespace vq {
namespace {

using testing::FromRows;
using testing::Identity;
using testing::MaxAbsDifference;
using testing::Multiply;
using testing::RowSumsOfSquares;
using testing::Transpose;

struct Rotated {
  Matrix flr;
  Matrix r;
  int iter = 0;
  int ifail = 0;
};

Rotated Orthomax(Matrix& fl, char stand, double acc = 0.0001, int maxit = 200) {
  Rotated out;
  G03BAF(stand, 1.0, fl.rows, fl.cols, fl, out.flr, out.r, acc, maxit, out.iter, out.ifail);
  return out;
}

TEST(G03BAF, KeepsCommunalitiesAndGivesAnOrthogonalMatrix) {
  const Matrix start = testing::ThreeFactorLoadings();
  for (char stand : {'S', 'U'}) {
    Matrix fl = start;
    const Rotated out = Orthomax(fl, stand);
    EXPECT_EQ(out.ifail, 0);
    EXPECT_LT(MaxAbsDifference(Multiply(Transpose(out.r), out.r), Identity(3)), 1e-13);
    EXPECT_LT(MaxAbsDifference(Multiply(start, out.r), out.flr), 1e-13);
    const std::vector<double> before = RowSumsOfSquares(start);
    const std::vector<double> after = RowSumsOfSquares(out.flr);
    for (int i = 0; i < 12; ++i) EXPECT_NEAR(after[i], before[i], 1e-13);
    // The input comes back as it went in, up to rounding, also under "S".
    EXPECT_LT(MaxAbsDifference(fl, start), 1e-15);
  }
}

TEST(G03BAF, FindsTheSimpleStructure) {
  Matrix fl = testing::ThreeFactorLoadings();
  const Rotated out = Orthomax(fl, 'S');
  // Every item has one loading above 0.55 in size and two below 0.2.
  for (int i = 0; i < 12; ++i) {
    int high = 0;
    int low = 0;
    for (int j = 0; j < 3; ++j) {
      if (std::fabs(out.flr(i, j)) > 0.55) ++high;
      if (std::fabs(out.flr(i, j)) < 0.2) ++low;
    }
    EXPECT_EQ(high, 1) << "item " << i;
    EXPECT_EQ(low, 2) << "item " << i;
  }
}

TEST(G03BAF, PairWithZeroNumeratorAndPositiveDenominatorStays) {
  // Rows (1, 0), (0, 1): A = 0, B = 0, D = 0, so num = 0, and den = 2.
  Matrix fl = FromRows({{1.0, 0.0}, {0.0, 1.0}});
  const Rotated out = Orthomax(fl, 'U');
  EXPECT_EQ(out.ifail, 0);
  EXPECT_EQ(out.iter, 2);  // the second test sees no change
  EXPECT_LT(MaxAbsDifference(out.flr, fl), 1e-15);
}

TEST(G03BAF, PairWithZeroNumeratorAndNegativeDenominatorTurnsBy45Degrees) {
  // Rows (k, k), (k, -k): u = 0 and v = +-1, so num = +0 and den = -2. The
  // sign bit of num is clear: cos = sin = 1 / sqrt(2).
  const double k = 1.0 / std::sqrt(2.0);
  Matrix fl = FromRows({{k, k}, {k, -k}});
  const Rotated out = Orthomax(fl, 'U');
  EXPECT_EQ(out.ifail, 0);
  EXPECT_NEAR(out.flr(0, 0), 1.0, 1e-15);
  EXPECT_NEAR(out.flr(0, 1), 0.0, 1e-15);
  EXPECT_NEAR(out.flr(1, 0), 0.0, 1e-15);
  EXPECT_NEAR(out.flr(1, 1), -1.0, 1e-15);
  EXPECT_NEAR(out.r(0, 0), k, 1e-15);
  EXPECT_NEAR(out.r(1, 0), k, 1e-15);
}

TEST(G03BAF, OneIterationAllowsTwoSweeps) {
  const Matrix start = testing::ThreeFactorLoadings();
  Matrix fl = start;
  // acc of 0 makes the tolerance the machine precision: no early stop.
  Rotated out = Orthomax(fl, 'S', 0.0, 1);
  EXPECT_EQ(out.iter, 2);
  EXPECT_EQ(out.ifail, 3);
  // The closing step still runs and gives an orthogonal matrix.
  EXPECT_LT(MaxAbsDifference(Multiply(Transpose(out.r), out.r), Identity(3)), 1e-13);
  fl = start;
  out = Orthomax(fl, 'S', 0.0, 0);
  EXPECT_EQ(out.iter, 1);
  EXPECT_EQ(out.ifail, 3);
}

TEST(G03BAF, AccuracyOutsideTheOpenUnitIntervalMeansMachinePrecision) {
  const Matrix start = testing::ThreeFactorLoadings();
  Matrix fl = start;
  const Rotated coarse = Orthomax(fl, 'S', 0.5, 200);
  fl = start;
  const Rotated one = Orthomax(fl, 'S', 1.0, 200);
  fl = start;
  const Rotated tiny = Orthomax(fl, 'S', 1e-17, 200);
  EXPECT_LE(coarse.iter, 3);
  EXPECT_GT(one.iter, coarse.iter);
  EXPECT_EQ(one.iter, tiny.iter);
  EXPECT_EQ(MaxAbsDifference(one.flr, tiny.flr), 0.0);
}

TEST(G03BAF, RowOfZerosStaysZeroUnderNormalisation) {
  Matrix fl = testing::ThreeFactorLoadings();
  for (int j = 0; j < 3; ++j) fl(5, j) = 0.0;
  const Rotated out = Orthomax(fl, 'S');
  EXPECT_EQ(out.ifail, 0);
  for (int j = 0; j < 3; ++j) {
    EXPECT_EQ(out.flr(5, j), 0.0);
    EXPECT_FALSE(std::isnan(out.flr(0, j)));
  }
}

TEST(G03BAF, NotANumberInTheLoadingsGivesNotANumberAsAWhole) {
  Matrix fl = testing::ThreeFactorLoadings();
  fl(0, 0) = std::nan("");
  const Rotated out = Orthomax(fl, 'S', 0.0001, 5);
  EXPECT_EQ(out.ifail, 3);
  for (double value : out.flr.values) EXPECT_TRUE(std::isnan(value));
  for (double value : out.r.values) EXPECT_TRUE(std::isnan(value));
}

TEST(G03BAF, BadArgumentsAreFailureOne) {
  ConsoleCapture capture;
  Matrix fl = FromRows({{1.0, 0.0}, {0.0, 1.0}});
  Matrix flr;
  Matrix r;
  int iter = 0;
  int ifail = 1;
  G03BAF('X', 1.0, 2, 2, fl, flr, r, 0.0001, 10, iter, ifail);
  EXPECT_EQ(ifail, 1);
  ifail = 1;
  G03BAF('S', 1.0, 1, 2, fl, flr, r, 0.0001, 10, iter, ifail);
  EXPECT_EQ(ifail, 1);
  EXPECT_EQ(capture.Out(), "");
}

}  // namespace
}  // namespace vq
