// The estimators that share their pairs or triplets among threads give the
// same doubles bit for bit, the same report, files and console text, and stop
// at the same place, whatever the thread count. The golden cases compare one
// thread with two on the examples; these add three threads, random shapes,
// the tetrachoric fall-back and "previous r" chains, and the stops.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "correlation/pair_order.h"
#include "correlation/polychoric.h"
#include "correlation/tetrachoric.h"
#include "correlation/triplet.h"
#include "data/simulation.h"
#include "frame/console.h"
#include "frame/progress.h"
#include "kernels/failure.h"
#include "kernels/parallel.h"

namespace vq {
namespace {

// Everything an estimator leaves: the matrix, its by-products and the
// console text as one string, whether it stopped.
struct Outcome {
  Matrix r;
  std::string texts;
  bool stopped = false;
};

// `estimate` fills r and returns its by-products written out as text.
using Estimator = std::function<std::string(Matrix& r)>;

std::string Number(double value) {
  char text[40];
  std::snprintf(text, sizeof text, "%a ", value);
  return text;
}

Outcome RunOn(int threads, const Estimator& estimate) {
  ResetImslState();
  SetThreadCount(threads);
  Outcome outcome;
  std::string products;
  {
    ConsoleCapture capture;
    try {
      products = estimate(outcome.r);
    } catch (const RunStopped&) {
      outcome.stopped = true;
    }
    outcome.texts = capture.Out() + "|" + capture.Err() + "|" + products;
  }
  SetThreadCount(0);
  ResetImslState();
  return outcome;
}

// Runs `estimate` on 1, 2 and 3 threads and expects the same outcome;
// returns the outcome of one thread.
Outcome ExpectSameOnEveryThreadCount(const Estimator& estimate, const std::string& what) {
  const Outcome first = RunOn(1, estimate);
  for (int threads = 2; threads <= 3; ++threads) {
    const Outcome other = RunOn(threads, estimate);
    EXPECT_EQ(other.stopped, first.stopped) << what << ", threads " << threads;
    EXPECT_EQ(other.texts, first.texts) << what << ", threads " << threads;
    if (first.stopped) continue;
    EXPECT_EQ(other.r.rows, first.r.rows) << what;
    EXPECT_EQ(other.r.cols, first.r.cols) << what;
    if (other.r.values.size() != first.r.values.size()) continue;
    const std::size_t bytes = sizeof(double) * first.r.values.size();
    EXPECT_EQ(std::memcmp(other.r.data(), first.r.data(), bytes), 0) << what << ", " << threads;
  }
  return first;
}

Estimator Polychorics(const Matrix& x) {
  return [x](Matrix& r) {
    PolychoricResult result;
    std::string products;
    try {
      EstimatePolychorics(x, x.rows, x.cols, PolychoricSearch{}, SilentProgress(), result);
    } catch (const RunStopped&) {
      for (const BoundaryPair& pair : result.boundary)
        products += "boundary " + std::to_string(pair.i) + " " + std::to_string(pair.j) + "\n";
      throw;
    }
    r = result.correlations;
    for (const BoundaryPair& pair : result.boundary) {
      products += "boundary " + std::to_string(pair.i) + " " + std::to_string(pair.j) + "\n";
    }
    for (double threshold : result.thresholds.values) products += Number(threshold);
    return products;
  };
}

Estimator Tetrachorics(const Matrix& x, const std::vector<double>& guessing = {}) {
  return [x, guessing](Matrix& r) {
    TetrachoricOptions options;
    options.correct_for_guessing = !guessing.empty();
    const TetrachoricResult result =
        EstimateTetrachorics(x, x.rows, x.cols, options, guessing, SilentProgress());
    r = result.correlations;
    std::string products;
    for (const TetrachoricPairTable& table : result.tables) {
      products += Number(table.a) + Number(table.b) + Number(table.c) + Number(table.d) +
                  Number(table.phi) + Number(table.standard_error) +
                  (table.small_cells ? "small\n" : "\n");
    }
    for (const TetrachoricFallBack& fall_back : result.fall_backs) {
      products += "fall-back " + std::to_string(fall_back.i) + " " + std::to_string(fall_back.j) +
                  (fall_back.at_boundary ? " at boundary\n" : "\n");
    }
    return products;
  };
}

// Ordered scores on one factor: item v cut at `cuts` shifted by 0.1 v, every
// third item keyed negatively, a share `missing` of the scores 99.
Matrix OrderedItems(int n, int p, const std::vector<double>& cuts, double missing, unsigned seed) {
  std::mt19937 random(seed);
  std::normal_distribution<double> normal;
  std::uniform_real_distribution<double> uniform;
  Matrix x(n, p);
  for (int s = 0; s < n; ++s) {
    const double factor = normal(random);
    for (int v = 0; v < p; ++v) {
      const double latent = (v % 3 == 2 ? -0.7 : 0.7) * factor + 0.71 * normal(random);
      int category = 0;
      for (double cut : cuts) category += latent > cut + 0.1 * v ? 1 : 0;
      x(s, v) = uniform(random) < missing ? 99.0 : category;
    }
  }
  return x;
}

TEST(ThreadInvariance, Polychorics) {
  ExpectSameOnEveryThreadCount(Polychorics(OrderedItems(200, 7, {-1, 0, 1}, 0.03, 1)), "three");
  ExpectSameOnEveryThreadCount(Polychorics(OrderedItems(57, 5, {-0.5}, 0.1, 2)), "dichotomous");
  // More than 14 categories in item 4 and only 99 in item 5: the stop
  // comes at item 4.
  Matrix x = OrderedItems(60, 5, {-0.5, 0.5}, 0.0, 3);
  for (int s = 0; s < 60; ++s) {
    x(s, 3) = s % 16;
    x(s, 4) = 99.0;
  }
  const Outcome stopped = ExpectSameOnEveryThreadCount(Polychorics(x), "stops");
  EXPECT_TRUE(stopped.stopped);
  EXPECT_NE(stopped.texts.find("VARIABLE   4 HAS MORE THAN 14 CATEGORIES"), std::string::npos);
}

TEST(ThreadInvariance, Tetrachorics) {
  ExpectSameOnEveryThreadCount(Tetrachorics(OrderedItems(300, 8, {0.3}, 0.0, 4)), "random");
  // Items 1 and 2 do not settle (the fall-back with its warning), items 4
  // and 5 are identical so that "previous r" can end a first pass, item 6
  // never keyed together with item 1, a score of 7 counts as not keyed.
  const int n = 41;
  Matrix x(n, 8, 0.0);
  for (int s = 0; s < n; ++s) {
    x(s, 0) = s < 25 ? 1.0 : 0.0;
    x(s, 1) = (s == 0 || s >= 25) ? 1.0 : 0.0;
    x(s, 2) = (s * 5 + 3) % 11 < 5 ? 1.0 : 0.0;
    x(s, 3) = (s < 12 || (s >= 25 && s < 33)) ? 1.0 : 0.0;
    x(s, 4) = x(s, 3);
    x(s, 5) = s >= 25 ? 1.0 : 0.0;
    x(s, 6) = s % 2 == 0 ? 1.0 : (s % 5 == 0 ? 7.0 : 0.0);
    x(s, 7) = x(s, 6);
  }
  const Outcome chain = ExpectSameOnEveryThreadCount(Tetrachorics(x), "chain");
  EXPECT_NE(chain.texts.find(" at boundary"), std::string::npos);
  ExpectSameOnEveryThreadCount(Tetrachorics(x, {0.05, 0.1, 0.15, 0.2, 0.25, 0.0, 0.3, 0.1}),
                               "chain, guessing");
  // A proportion of 1 in item 4 stops through G01FAF.
  for (int s = 0; s < n; ++s) x(s, 3) = 1.0;
  EXPECT_TRUE(ExpectSameOnEveryThreadCount(Tetrachorics(x), "all keyed").stopped);
}

}  // namespace
}  // namespace vq
