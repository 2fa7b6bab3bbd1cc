#include "kernels/factor_order.h"

#include <gtest/gtest.h>

#include <vector>

#include "frame/console.h"
#include "kernels/matrix.h"

namespace vq {
namespace {

using Columns = std::vector<std::vector<double>>;

// A p by m matrix from its columns.
Matrix FromColumns(const Columns& columns) {
  Matrix a(columns.empty() ? 3 : static_cast<int>(columns[0].size()),
           static_cast<int>(columns.size()));
  for (int j = 0; j < a.cols; ++j) {
    for (int i = 0; i < a.rows; ++i) a(i, j) = columns[j][i];
  }
  return a;
}

TEST(ReflectAndOrderFactors, Table) {
  const struct {
    bool reflect;
    Columns before, after;
  } cases[] = {
      // The signed squares decide, not the plain sum: -0.81 + 0.75 < 0.
      {true,
       {{-0.9, 0.5, 0.5, 0.5}, {0.9, -0.5, -0.5, -0.5}},
       {{0.9, -0.5, -0.5, -0.5}, {0.9, -0.5, -0.5, -0.5}}},
      // A negative majority turns; a zero column and signed squares of
      // exactly 0 stay.
      {true,
       {{-0.7, -0.6, 0.2}, {0.0, 0.0, 0.0}, {0.5, -0.5, 0.0}},
       {{0.7, 0.6, -0.2}, {0.0, 0.0, 0.0}, {0.5, -0.5, 0.0}}},
      // Descending sums of squares.
      {false, {{0.1, 0.2}, {0.9, 0.1}, {-0.5, 0.5}}, {{0.9, 0.1}, {-0.5, 0.5}, {0.1, 0.2}}},
      // Equal sums keep their order.
      {false,
       {{0.5, 0.5}, {1.0, 0.0}, {-0.5, -0.5}, {0.5, -0.5}},
       {{1.0, 0.0}, {0.5, 0.5}, {-0.5, -0.5}, {0.5, -0.5}}},
      // No factors: nothing to do.
      {false, {}, {}},
  };
  for (const auto& c : cases) {
    Matrix a = FromColumns(c.before);
    ConsoleCapture capture;
    if (c.reflect) {
      ReflectFactors(a, a.rows, a.cols);
    } else {
      OrderFactors(a, a.rows, a.cols);
    }
    EXPECT_EQ(a.values, FromColumns(c.after).values);
    EXPECT_EQ(capture.Out(), "");  // no trace line after a good rank sort
  }
}

TEST(OrderFactors, OrderThenReflectGivesTheSameAsReflectThenOrder) {
  Matrix a = FromColumns({{-0.3, -0.4, 0.1}, {0.8, -0.7, 0.6}, {-0.2, 0.1, -0.9}});
  Matrix b = a;
  OrderFactors(a, 3, 3);
  ReflectFactors(a, 3, 3);
  ReflectFactors(b, 3, 3);
  OrderFactors(b, 3, 3);
  EXPECT_EQ(a.values, b.values);
  EXPECT_EQ(a.values, FromColumns({{0.8, -0.7, 0.6}, {0.2, -0.1, 0.9}, {0.3, 0.4, -0.1}}).values);
}

TEST(ReflectObliqueFactors, PhiFollowsTheReflectedFactors) {
  // Factors 0 and 2 are reflected, factor 1 is not. The diagonal of phi
  // stands; the element between two reflected factors is changed back;
  // elements between a reflected and a kept factor change sign.
  Matrix pattern = FromColumns({{-0.8, 0.1}, {0.6, 0.3}, {-0.2, -0.9}});
  Matrix phi = FromColumns({{1.0, 0.2, 0.3}, {0.2, 1.0, 0.4}, {0.3, 0.4, 1.0}});
  ReflectObliqueFactors(pattern, phi, 2, 3);
  EXPECT_EQ(pattern.values, FromColumns({{0.8, -0.1}, {0.6, 0.3}, {0.2, 0.9}}).values);
  EXPECT_EQ(phi.values,
            FromColumns({{1.0, -0.2, 0.3}, {-0.2, 1.0, -0.4}, {0.3, -0.4, 1.0}}).values);
  // A zero column stays, and phi is untouched.
  Matrix zero = FromColumns({{0.0, 0.0}, {0.4, 0.5}});
  Matrix small_phi = FromColumns({{1.0, 0.25}, {0.25, 1.0}});
  ReflectObliqueFactors(zero, small_phi, 2, 2);
  EXPECT_EQ(zero.values, (std::vector<double>{0.0, 0.0, 0.4, 0.5}));
  EXPECT_EQ(small_phi.values, (std::vector<double>{1.0, 0.25, 0.25, 1.0}));
}

TEST(OrderObliqueFactors, PhiRowsAndColumnsMoveWithTheFactors) {
  // Sums of squares 0.01, 0.64, 0.25: ranks 3, 1, 2; the new factor order
  // (old numbers) is 1, 2, 0.
  Matrix pattern = FromColumns({{0.1}, {0.8}, {0.5}});
  Matrix phi = FromColumns({{1.0, 0.12, 0.13}, {0.12, 1.0, 0.23}, {0.13, 0.23, 1.0}});
  OrderObliqueFactors(pattern, 1, 3, phi);
  EXPECT_EQ(pattern.values, (std::vector<double>{0.8, 0.5, 0.1}));
  EXPECT_EQ(phi.values,
            FromColumns({{1.0, 0.23, 0.12}, {0.23, 1.0, 0.13}, {0.12, 0.13, 1.0}}).values);
  // An asymmetric phi shows the two-step move: phi_new = P phi P', element
  // (rank(i), rank(j)) = phi(i, j).
  Matrix two = FromColumns({{0.2}, {0.9}});
  Matrix asymmetric = FromColumns({{1.0, 2.0}, {3.0, 4.0}});  // phi(1,0) = 2, phi(0,1) = 3
  OrderObliqueFactors(two, 1, 2, asymmetric);
  EXPECT_EQ(asymmetric.values, (std::vector<double>{4.0, 3.0, 2.0, 1.0}));
}

}  // namespace
}  // namespace vq
