#include "rotation/factor_order.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <vector>

#include "frame/console.h"
#include "kernels/matrix.h"

namespace vq {
namespace {

// A p by m matrix from its columns.
Matrix FromColumns(std::initializer_list<std::vector<double>> columns) {
  const int m = static_cast<int>(columns.size());
  const int p = static_cast<int>(columns.begin()->size());
  Matrix a(p, m);
  int j = 0;
  for (const std::vector<double>& column : columns) {
    for (int i = 0; i < p; ++i) a(i, j) = column[i];
    ++j;
  }
  return a;
}

std::vector<double> Column(const Matrix& a, int j) {
  return std::vector<double>(a.Column(j), a.Column(j) + a.rows);
}

TEST(ReflectFactors, LooksAtSignedSquaresNotAtThePlainSum) {
  // Plain sum 0.6 is positive, signed squares -0.81 + 0.75 are negative.
  Matrix a = FromColumns({{-0.9, 0.5, 0.5, 0.5}, {0.9, -0.5, -0.5, -0.5}});
  ReflectFactors(a, 4, 2);
  EXPECT_EQ(Column(a, 0), (std::vector<double>{0.9, -0.5, -0.5, -0.5}));
  EXPECT_EQ(Column(a, 1), (std::vector<double>{0.9, -0.5, -0.5, -0.5}));
}

TEST(ReflectFactors, NegativeMajorityIsReflectedAndZeroColumnStays) {
  Matrix a = FromColumns({{-0.7, -0.6, 0.2}, {0.0, 0.0, 0.0}, {0.5, -0.5, 0.0}});
  ReflectFactors(a, 3, 3);
  EXPECT_EQ(Column(a, 0), (std::vector<double>{0.7, 0.6, -0.2}));
  EXPECT_EQ(Column(a, 1), (std::vector<double>{0.0, 0.0, 0.0}));
  // Signed squares exactly 0: the column stays as it is.
  EXPECT_EQ(Column(a, 2), (std::vector<double>{0.5, -0.5, 0.0}));
}

TEST(OrderFactors, DescendingSumsOfSquares) {
  Matrix a = FromColumns({{0.1, 0.2}, {0.9, 0.1}, {-0.5, 0.5}});
  OrderFactors(a, 2, 3);
  EXPECT_EQ(Column(a, 0), (std::vector<double>{0.9, 0.1}));
  EXPECT_EQ(Column(a, 1), (std::vector<double>{-0.5, 0.5}));
  EXPECT_EQ(Column(a, 2), (std::vector<double>{0.1, 0.2}));
}

TEST(OrderFactors, EqualSumsKeepTheirOrder) {
  // Columns 0 and 2 have the same sum of squares (0.5); column 1 is larger.
  Matrix a = FromColumns({{0.5, 0.5}, {1.0, 0.0}, {-0.5, -0.5}, {0.5, -0.5}});
  {
    ConsoleCapture capture;
    OrderFactors(a, 2, 4);
    EXPECT_EQ(capture.Out(), "");  // no trace line after a good rank sort
  }
  EXPECT_EQ(Column(a, 0), (std::vector<double>{1.0, 0.0}));
  EXPECT_EQ(Column(a, 1), (std::vector<double>{0.5, 0.5}));
  EXPECT_EQ(Column(a, 2), (std::vector<double>{-0.5, -0.5}));
  EXPECT_EQ(Column(a, 3), (std::vector<double>{0.5, -0.5}));
}

TEST(OrderFactors, OrderThenReflectGivesTheSameAsReflectThenOrder) {
  Matrix a = FromColumns({{-0.3, -0.4, 0.1}, {0.8, -0.7, 0.6}, {-0.2, 0.1, -0.9}});
  Matrix b = a;
  OrderFactors(a, 3, 3);
  ReflectFactors(a, 3, 3);
  ReflectFactors(b, 3, 3);
  OrderFactors(b, 3, 3);
  EXPECT_EQ(a.values, b.values);
  EXPECT_EQ(Column(a, 0), (std::vector<double>{0.8, -0.7, 0.6}));
  EXPECT_EQ(Column(a, 1), (std::vector<double>{0.2, -0.1, 0.9}));
  EXPECT_EQ(Column(a, 2), (std::vector<double>{0.3, 0.4, -0.1}));
}

TEST(OrderFactors, NoFactorsDoesNothing) {
  Matrix a(3, 0);
  ConsoleCapture capture;
  OrderFactors(a, 3, 0);
  EXPECT_EQ(capture.Out(), "");
}

TEST(ReflectObliqueFactors, PhiFollowsTheReflectedFactors) {
  // Factors 0 and 2 are reflected, factor 1 is not.
  Matrix pattern = FromColumns({{-0.8, 0.1}, {0.6, 0.3}, {-0.2, -0.9}});
  Matrix phi = FromColumns({{1.0, 0.2, 0.3}, {0.2, 1.0, 0.4}, {0.3, 0.4, 1.0}});
  ReflectObliqueFactors(pattern, phi, 2, 3);
  EXPECT_EQ(Column(pattern, 0), (std::vector<double>{0.8, -0.1}));
  EXPECT_EQ(Column(pattern, 1), (std::vector<double>{0.6, 0.3}));
  EXPECT_EQ(Column(pattern, 2), (std::vector<double>{0.2, 0.9}));
  // Diagonal stands; the element between two reflected factors is changed
  // back; elements between a reflected and a kept factor change sign.
  EXPECT_EQ(Column(phi, 0), (std::vector<double>{1.0, -0.2, 0.3}));
  EXPECT_EQ(Column(phi, 1), (std::vector<double>{-0.2, 1.0, -0.4}));
  EXPECT_EQ(Column(phi, 2), (std::vector<double>{0.3, -0.4, 1.0}));
}

TEST(ReflectObliqueFactors, ZeroColumnStaysAndPhiIsUntouched) {
  Matrix pattern = FromColumns({{0.0, 0.0}, {0.4, 0.5}});
  Matrix phi = FromColumns({{1.0, 0.25}, {0.25, 1.0}});
  const Matrix phi_before = phi;
  ReflectObliqueFactors(pattern, phi, 2, 2);
  EXPECT_EQ(Column(pattern, 0), (std::vector<double>{0.0, 0.0}));
  EXPECT_EQ(phi.values, phi_before.values);
}

TEST(OrderObliqueFactors, PhiRowsAndColumnsMoveWithTheFactors) {
  // Sums of squares 0.01, 0.64, 0.25: ranks 3, 1, 2.
  Matrix pattern = FromColumns({{0.1}, {0.8}, {0.5}});
  Matrix phi = FromColumns({{1.0, 0.12, 0.13}, {0.12, 1.0, 0.23}, {0.13, 0.23, 1.0}});
  OrderObliqueFactors(pattern, 1, 3, phi);
  EXPECT_EQ(Column(pattern, 0), (std::vector<double>{0.8}));
  EXPECT_EQ(Column(pattern, 1), (std::vector<double>{0.5}));
  EXPECT_EQ(Column(pattern, 2), (std::vector<double>{0.1}));
  // New factor order (old numbers): 1, 2, 0.
  EXPECT_EQ(Column(phi, 0), (std::vector<double>{1.0, 0.23, 0.12}));
  EXPECT_EQ(Column(phi, 1), (std::vector<double>{0.23, 1.0, 0.13}));
  EXPECT_EQ(Column(phi, 2), (std::vector<double>{0.12, 0.13, 1.0}));
}

TEST(OrderObliqueFactors, AsymmetricPhiShowsTheTwoStepMove) {
  // phi_new = P phi P', element (rank(i), rank(j)) = phi(i, j).
  Matrix pattern = FromColumns({{0.2}, {0.9}});
  Matrix phi = FromColumns({{1.0, 2.0}, {3.0, 4.0}});  // phi(1,0) = 2, phi(0,1) = 3
  OrderObliqueFactors(pattern, 1, 2, phi);
  EXPECT_EQ(phi(0, 0), 4.0);
  EXPECT_EQ(phi(1, 1), 1.0);
  EXPECT_EQ(phi(0, 1), 2.0);
  EXPECT_EQ(phi(1, 0), 3.0);
}

}  // namespace
}  // namespace vq
