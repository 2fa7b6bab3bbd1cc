#include "correlation/polychoric.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <iomanip>

#include "data/simulation.h"
#include "frame/console.h"
#include "frame/progress.h"
#include "kernels/bivariate_normal.h"
#include "kernels/failure.h"
#include "kernels/normal.h"

namespace vq {
namespace {

// n subjects with the given pairs of scores repeated by their counts.
Matrix PairData(std::initializer_list<std::array<double, 3>> rows) {
  int n = 0;
  for (const auto& row : rows) n += static_cast<int>(row[2]);
  Matrix x(n, 2);
  int s = 0;
  for (const auto& row : rows) {
    for (int c = 0; c < static_cast<int>(row[2]); ++c, ++s) {
      x(s, 0) = row[0];
      x(s, 1) = row[1];
    }
  }
  return x;
}

TEST(Polychoric, RecoversLatentCorrelationsOfSimulatedOrderedItems) {
  ItemModel model = SimpleStructureModel(4, 1, 0.0, {-1.2, -0.3, 0.4, 1.1});
  model.loadings(0, 0) = 0.85;
  model.loadings(1, 0) = 0.7;
  model.loadings(2, 0) = -0.55;
  model.loadings(3, 0) = 0.3;
  model.thresholds[3] = {0.6};  // one dichotomous item with a skewed split
  Matrix scores;
  ASSERT_TRUE(SimulateItemScores(model, 20000, 1001, scores));
  ConsoleCapture capture;
  const PolychoricResult result = EstimatePolychorics(scores, 20000, 4, {}, ConsoleProgress());
  const Matrix& r = result.correlations;
  for (int i = 1; i < 4; ++i) {
    for (int j = 0; j < i; ++j) {
      EXPECT_NEAR(r(i, j), LatentCorrelation(model, i, j), 0.02) << i << "," << j;
      EXPECT_EQ(r(j, i), r(i, j));
    }
    EXPECT_EQ(r(i, i), 1.0);
  }
  EXPECT_TRUE(result.boundary.empty());
  // Off a terminal only the last overwriting line stays.
  EXPECT_EQ(capture.Out(),
            std::string(27, ' ') + " Computing polychoric correlations for variables:   4   3\n");
}

TEST(Polychoric, DichotomousPairSolvesTheOrthantEquation) {
  // 2 x 2 table: (0,0) 40, (0,1) 10, (1,0) 15, (1,1) 35.
  Matrix x = PairData({{0, 0, 40}, {0, 1, 10}, {1, 0, 15}, {1, 1, 35}});
  ConsoleCapture capture;
  const PolychoricResult result = EstimatePolychorics(x, 100, 2, {}, ConsoleProgress());
  const Matrix& r = result.correlations;
  int hard = kIfailHard;
  const double z1 = G01FAF("Lower-tail", 0.5, hard);
  const double z2 = G01FAF("Lower-tail", 0.55, hard);
  // P(both in the low category) = 40/100 at the estimate.
  EXPECT_NEAR(G01HAF(z1, z2, r(1, 0), hard), 0.40, 2e-6);
  EXPECT_GT(r(1, 0), 0.5);
}

TEST(Polychoric, AssociationAboveTheBoundEndsThereWithTheWarning) {
  // Two items in perfect agreement: the likelihood rises up to r = 1.
  Matrix x = PairData({{0, 0, 20}, {1, 1, 20}});
  ConsoleCapture capture;
  const PolychoricResult result = EstimatePolychorics(x, 40, 2, {}, ConsoleProgress());
  const Matrix& r = result.correlations;
  EXPECT_EQ(r(1, 0), 0.9) << std::setprecision(17) << r(1, 0);
  ASSERT_EQ(result.boundary.size(), 1u);
  EXPECT_EQ(result.boundary[0].i, 1);
  EXPECT_EQ(result.boundary[0].j, 0);
}

// The category (1..K) of `score` on variable v, 0 for none (a 99 in the
// highest place), found in the table of scores.
int CategoryOf(const PolychoricCategories& c, int v, double score) {
  for (int row = 1; row <= c.category_count[v]; ++row) {
    if (c.scores(row, v) == score) return row;
  }
  return 0;
}

TEST(PolychoricCategories, ScoreOf99AtTheTopIsNoCategory) {
  Matrix x(6, 2);
  const double first[6] = {1, 2, 99, 2, 1, 99};
  const double second[6] = {1, 99, 100, 1, 99, 100};
  for (int s = 0; s < 6; ++s) {
    x(s, 0) = first[s];
    x(s, 1) = second[s];
  }
  PolychoricCategories c;
  FindPolychoricCategories(x, 6, 2, c);
  EXPECT_EQ(c.category_count[0], 2);
  EXPECT_EQ(c.category_count[1], 3);  // 99 below a higher score stays
  EXPECT_EQ(c.scores(3, 0), 99.0);
  EXPECT_EQ(CategoryOf(c, 0, 99.0), 0);
  EXPECT_EQ(CategoryOf(c, 1, 99.0), 2);
  EXPECT_EQ(c.counts(1, 0), 2.0);
  EXPECT_EQ(c.counts(2, 0), 2.0);  // row K keeps its own count
  EXPECT_EQ(c.counts(1, 1), 2.0);
  EXPECT_EQ(c.counts(2, 1), 4.0);  // running sum
  int hard = kIfailHard;
  EXPECT_EQ(c.thresholds(0, 0), -999999.0);
  EXPECT_EQ(c.thresholds(2, 0), 999999.0);
  EXPECT_EQ(c.thresholds(1, 0), G01FAF("Lower-tail", 2.0 / 6.0, hard));  // n counts all
  EXPECT_EQ(c.thresholds(2, 1), G01FAF("Lower-tail", 4.0 / 6.0, hard));
}

// The table from the bit columns against a count subject by subject, over
// more subjects than one block of the count holds and a last word that is
// not full: variables with every subject in a category (whose last row and
// column are worked out from the category counts), with a 99 on top that
// leaves subjects out, with one category and with many.
TEST(PolychoricCategories, TableFromBitColumnsCountsEverySubject) {
  const int n = 2 * 256 * 64 + 37;
  const int p = 5;
  Matrix x(n, p);
  std::uint64_t state = 12345;
  auto next = [&state](int range) {
    state = state * 6364136223846793005ULL + 1442695040888963407ULL;
    return static_cast<int>((state >> 33) % static_cast<std::uint64_t>(range));
  };
  for (int s = 0; s < n; ++s) {
    const int base = next(5);
    x(s, 0) = base;                                          // 5 categories
    x(s, 1) = std::min(4, std::max(0, base + next(3) - 1));  // 5, correlated
    x(s, 2) = next(7) == 0 ? 99 : next(4);                   // 4 and a 99 on top
    x(s, 3) = 7;                                             // one category
    x(s, 4) = next(12);                                      // 12 categories
  }
  PolychoricCategories c;
  FindPolychoricCategories(x, n, p, c);
  EXPECT_EQ(c.all_coded[0], 1);
  EXPECT_EQ(c.all_coded[2], 0);
  for (int i = 1; i < p; ++i) {
    for (int j = 0; j < i; ++j) {
      int expected[kCategoryRows + 1][kCategoryRows + 1] = {};
      for (int s = 0; s < n; ++s) {
        ++expected[CategoryOf(c, j, x(s, j))][CategoryOf(c, i, x(s, i))];
      }
      PolychoricTable table;
      CountPolychoricTable(c, i, j, table);
      for (int a = 1; a <= c.category_count[j]; ++a) {
        for (int b = 1; b <= c.category_count[i]; ++b) {
          EXPECT_EQ(table.counts[a][b], expected[a][b])
              << "pair " << i << " " << j << " cell " << a << " " << b;
        }
      }
    }
  }
}

TEST(PolychoricCategories, TooManyCategoriesStops) {
  Matrix x(15, 2);
  for (int s = 0; s < 15; ++s) {
    x(s, 0) = s % 2;
    x(s, 1) = 0.5 * s;
  }
  PolychoricCategories c;
  ConsoleCapture capture;
  EXPECT_THROW(FindPolychoricCategories(x, 15, 2, c), RunStopped);
  EXPECT_EQ(capture.Out(),
            std::string(28, ' ') +
                "FATAL ERROR: VARIABLE   2 HAS MORE THAN 14 CATEGORIES\n\n\n\n"
                "Stop - Program terminated.\nProgram Terminated with exit code 0\n");
  // Fourteen scores and a 99 on top fit.
  x(14, 1) = 99.0;
  FindPolychoricCategories(x, 15, 2, c);
  EXPECT_EQ(c.category_count[1], 14);
}

TEST(PolychoricCategories, VariableOfOnly99Stops) {
  Matrix x(3, 2, 99.0);
  x(0, 0) = 1.0;
  PolychoricCategories c;
  ConsoleCapture capture;
  EXPECT_THROW(FindPolychoricCategories(x, 3, 2, c), RunStopped);
  EXPECT_NE(capture.Out().find("FATAL ERROR: VARIABLE   2 HAS NO SCORE OTHER THAN 99\n"),
            std::string::npos);
}

TEST(PolychoricLikelihood, CellsSumToOneAndSkipEmptyCells) {
  const double t[4] = {-999999.0, -0.5, 0.7, 999999.0};
  const double u[3] = {-999999.0, 0.2, 999999.0};
  PolychoricTable table;
  table.counts[1][1] = 3;
  table.counts[3][2] = 2;
  const double likelihood = PolychoricLikelihood(0.35, 2, 3, t, u, table);
  double sum = 0.0;
  for (int a = 1; a <= 3; ++a)
    for (int b = 1; b <= 2; ++b) sum += table.probabilities[a][b];
  EXPECT_NEAR(sum, 1.0, 1e-12);
  EXPECT_DOUBLE_EQ(
      likelihood,
      3 * std::log(table.probabilities[1][1]) + 2 * std::log(table.probabilities[3][2]));
  int hard = kIfailHard;
  EXPECT_DOUBLE_EQ(table.probabilities[1][1], G01HAF(-0.5, 0.2, 0.35, hard));
}

}  // namespace
}  // namespace vq
