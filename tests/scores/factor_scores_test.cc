#include "scores/factor_scores.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

#include "frame/console.h"
#include "kernels/failure.h"
#include "kernels/matrix.h"
#include "kernels/pearson.h"

namespace vq {
namespace {

const Model kPfa = Model::kPrincipalFactors;
const std::string kColumn30 = std::string(28, ' ');
const std::string kStopLines = "Stop - Program terminated.\nProgram Terminated with exit code 0\n";

// A small portable generator for test data (same numbers on every machine).
struct TestRandom {
  std::uint64_t state;
  double Uniform() {
    state = state * 6364136223846793005ULL + 1442695040888963407ULL;
    return static_cast<double>(state >> 11) * (1.0 / 9007199254740992.0);
  }
};

Matrix SomeLoadings(int p, int m, std::uint64_t seed) {
  TestRandom random{seed};
  Matrix loadings(p, m);
  for (double& value : loadings.values) value = 0.9 * random.Uniform() - 0.2;
  return loadings;
}

// With R the sample correlations of the items, the covariance of each item's
// standard score with the raw estimate of factor j is the structure S(i,j):
// the prediction identity of least squares (R H = S), seen in the scores.
TEST(RegressionScores, ScoresReproduceTheStructureThroughTheirCovariances) {
  const int N = 250, p = 5, m = 2;
  TestRandom random{3};
  Matrix data(N, p);
  for (int s = 0; s < N; ++s) {
    // Two correlated latent factors.
    const double f1 = random.Uniform() - 0.5;
    const double f2 = random.Uniform() - 0.5 + 0.5 * f1;
    for (int j = 0; j < p; ++j) {
      const double loading = (j % 2 == 0) ? 1.0 : 0.3;
      data(s, j) = 3.0 + loading * f1 + (1.3 - loading) * f2 + 0.4 * (random.Uniform() - 0.5);
    }
  }
  std::vector<double> means, deviations;
  Matrix ssp, r, z, weights, scores;
  int ifail = kIfailHard;
  G02BAF(N, p, data, means, deviations, ssp, r, ifail);
  const Matrix structure = SomeLoadings(p, m, 9);
  StandardizeItems(data, means, deviations, N, p, z);
  RegressionWeights(r, p, m, structure, weights);
  WeightScores(z, weights, N, p, m, scores);
  for (int i = 0; i < p; ++i) {
    for (int j = 0; j < m; ++j) {
      double covariance = 0.0;
      for (int s = 0; s < N; ++s) covariance += z(s, i) * scores(s, j);
      EXPECT_NEAR(covariance / (N - 1), structure(i, j), 1e-10);
    }
  }
}

TEST(BartlettWeights, LoadingsTimesWeightsAreTheIdentity) {
  const int p = 7, m = 3;
  const Matrix loadings = SomeLoadings(p, m, 21);
  std::vector<double> u(p);
  for (int i = 0; i < p; ++i) u[i] = 1.0 / (0.2 + 0.1 * i);
  Matrix weights;
  BartlettWeights(u, p, m, loadings, weights);
  ASSERT_EQ(weights.rows, p);
  ASSERT_EQ(weights.cols, m);
  for (int a = 0; a < m; ++a) {
    for (int b = 0; b < m; ++b) {
      double product = 0.0;
      for (int i = 0; i < p; ++i) product += loadings(i, a) * weights(i, b);
      EXPECT_NEAR(product, a == b ? 1.0 : 0.0, 1e-12) << a << "," << b;
    }
  }
}

// Runs `body`, expects the plain stop, and returns the console text.
template <typename Body>
std::string StopText(Body body) {
  ConsoleCapture capture;
  try {
    body();
    ADD_FAILURE() << "no stop";
  } catch (const RunStopped& stop) {
    EXPECT_EQ(stop.kind, RunStopped::Kind::kPlainStop);
  }
  return capture.Out();
}

// Two lines of a fatal message from column 30, then the plain stop.
std::string Fatal(const std::string& first, const std::string& second) {
  return kColumn30 + first + "\n" + kColumn30 + second + "\n\n\n" + kStopLines;
}

TEST(StandardizeScores, OneFactorTakesTheMomentsRoutine) {
  // G02BAF refuses a single variable (failure 2), so one factor must take
  // the moments routine: it passes without any failure frame. Mean 4,
  // squares 4+0+0+4 = 8, d = sqrt(8/3).
  ConsoleCapture capture;
  Matrix scores(4, 1);
  scores.values = {2, 4, 4, 6};
  std::vector<double> d;
  StandardizeScores(scores, 4, 1, d);
  EXPECT_NEAR(d[0], std::sqrt(8.0 / 3.0), 1e-14);
  EXPECT_NEAR(scores(0, 0), -2.0 / std::sqrt(8.0 / 3.0), 1e-14);
  EXPECT_EQ(capture.Out(), "");
}

TEST(StandardizeScores, OneSubjectOrAConstantEstimateStops) {
  // One value is failure 2 of the moments routine, failure 1 of G02BAF; the
  // line is a console record whose first character is the control position.
  for (int m : {1, 2}) {
    Matrix scores(1, m, 0.5);
    std::vector<double> d;
    const std::string frame =
        m == 1 ? NagAbnormalExitLine("G01AAF", 2) : NagAbnormalExitLine("G02BAF", 1);
    EXPECT_NE(StopText([&] { StandardizeScores(scores, 1, m, d); }).find(frame.substr(1) + "\n"),
              std::string::npos);
  }
  Matrix scores(3, 2, 0.0);
  scores(0, 0) = 1.0;
  std::vector<double> d;
  EXPECT_EQ(StopText([&] { StandardizeScores(scores, 3, 2, d); }),
            Fatal("FATAL ERROR: The score estimates of factor   2 cannot be standardized:",
                  "their standard deviation is 0 or not a number."));
}

}  // namespace
}  // namespace vq
