#include "rotation/orthogonal.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "frame/console.h"
#include "rotation/random_start.h"
#include "rotation/solution.h"
#include "test_matrices.h"
#include "text/edit_descriptors.h"

namespace vq {
namespace {

using testing::MaxAbsDifference;
using testing::Outer;
using testing::RowSumsOfSquares;
using testing::SmallRotationOptions;

TEST(CuretonMulaikWeight, HighestAtEqualLoadingsAndFloorAtTheEnds) {
  for (int m : {2, 3, 5}) {
    const double s = std::sqrt(1.0 / m);
    // Rounding may lift a normalised loading just above 1.
    for (double x : {0.0, 1.0, 1.0 + 4e-16}) EXPECT_DOUBLE_EQ(CuretonMulaikWeight(x, m), 0.001);
    EXPECT_DOUBLE_EQ(CuretonMulaikWeight(s, m), 1.001) << "m " << m;
    // Falling on both sides of s.
    for (double step : {0.1, -0.1}) {
      EXPECT_GT(CuretonMulaikWeight(s, m), CuretonMulaikWeight(s + step, m));
      EXPECT_GT(CuretonMulaikWeight(s + step, m), CuretonMulaikWeight(s + 2 * step, m));
    }
  }
  // m = 2: s = cos 45 degrees; x = cos 30 degrees gives E = 90 (45 - 30) /
  // 45 = 30 and the weight cos^2 30 + 0.001 = 0.751; x = cos 60 degrees
  // gives E = 90 (60 - 45) / 45 = 30 as well.
  EXPECT_NEAR(CuretonMulaikWeight(std::sqrt(3.0) / 2.0, 2), 0.751, 1e-13);
  EXPECT_NEAR(CuretonMulaikWeight(0.5, 2), 0.751, 1e-13);
}

class OrthogonalTest : public ::testing::Test {
 protected:
  void TearDown() override { ResetRandomGenerator(); }
};

TEST_F(OrthogonalTest, RandomAndUnrotatedStartsReachTheSameSolution) {
  RotationOptions options = SmallRotationOptions(12, Rotation::kVarimax);
  options.epsilon = 1e-10;
  const RotatedSolution fixed = Varimax(testing::ThreeFactorLoadings(), options, SilentProgress());
  for (long seed : {11L, 12345L, 999999L}) {
    SetRandomSeed(seed);
    options.random_start = RandomStart::kRandom;
    const RotatedSolution random =
        Varimax(testing::ThreeFactorLoadings(), options, SilentProgress());
    EXPECT_LT(MaxAbsDifference(random.loadings, fixed.loadings), 1e-6) << "seed " << seed;
    EXPECT_EQ(random.order, fixed.order) << "seed " << seed;
  }
}

TEST_F(OrthogonalTest, WeightedVarimaxKeepsCommunalitiesAndInnerProducts) {
  RotationOptions options = SmallRotationOptions(12, Rotation::kWeightedVarimax);
  options.sort_rows = false;
  Matrix start = testing::ThreeFactorLoadings();
  // A row with a negative first loading and equal loadings of opposite sign.
  start(2, 0) = -0.45;
  start(2, 1) = 0.45;
  start(2, 2) = 0.1;
  const std::vector<double> communalities = RowSumsOfSquares(start);
  const RotatedSolution solution = WeightedVarimax(start, communalities, options);
  const std::vector<double> after = RowSumsOfSquares(solution.loadings);
  for (int i = 0; i < 12; ++i) EXPECT_NEAR(after[i], communalities[i], 1e-12) << i;
  // Reflection and weights are undone: the solution is an orthogonal turn of
  // the input, the reflected row included.
  EXPECT_LT(MaxAbsDifference(Outer(solution.loadings), Outer(start)), 1e-12);
  // Weighted Varimax has no objective function of its own.
  EXPECT_EQ(solution.objective, 0.0);
}

TEST_F(OrthogonalTest, WeightedVarimaxRowWithoutCommunalityStaysZero) {
  const RotationOptions options = SmallRotationOptions(12, Rotation::kWeightedVarimax);
  Matrix loadings = testing::ThreeFactorLoadings();
  for (int j = 0; j < 3; ++j) loadings(6, j) = 0.0;
  const std::vector<double> communalities = RowSumsOfSquares(loadings);
  const RotatedSolution solution = WeightedVarimax(loadings, communalities, options);
  for (double value : solution.item_order_loadings.values) EXPECT_TRUE(std::isfinite(value));
  for (int j = 0; j < 3; ++j) EXPECT_EQ(solution.item_order_loadings(6, j), 0.0);
}

TEST_F(OrthogonalTest, NotANumberShowsTheFatalTextAndMarksTheSolution) {
  RotationOptions options = SmallRotationOptions(12, Rotation::kVarimax);
  options.max_iterations = 3;
  Matrix loadings = testing::ThreeFactorLoadings();
  loadings(0, 0) = std::numeric_limits<double>::quiet_NaN();
  ConsoleCapture capture("\n");
  const RotatedSolution solution = Varimax(loadings, options, ConsoleProgress());
  EXPECT_TRUE(solution.not_a_number);
  const std::string expected_console = std::string("roblem occured at line       1448\n") +
                                       "\n\n\n" + Blanks(28) +
                                       "Fatal Error: Serious problems occured during Varimax "
                                       "Rotation\n\n\n\n" +
                                       "Pause - Enter command<CR> or <CR> to continue.\n";
  EXPECT_EQ(capture.Out(), expected_console);
}

}  // namespace
}  // namespace vq
