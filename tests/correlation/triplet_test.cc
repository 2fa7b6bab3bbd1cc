#include "correlation/triplet.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <vector>

#include "data/simulation.h"
#include "frame/console.h"
#include "frame/progress.h"
#include "kernels/failure.h"
#include "kernels/normal.h"

namespace vq {
namespace {

Matrix SimulatedItems(int p, int n, std::uint64_t seed) {
  ItemModel model = SimpleStructureModel(p, 1, 0.6, {0.0});
  for (int i = 0; i < p; ++i) model.thresholds[i] = {-0.5 + 0.3 * i};
  Matrix scores;
  SimulateItemScores(model, n, seed, scores);
  return scores;
}

Matrix EqualCorrelations(int p, double r) {
  Matrix m(p, p, r);
  for (int i = 0; i < p; ++i) m(i, i) = 1.0;
  return m;
}

TEST(Triplet, NextKSubsetWalksInLexicographicOrderAndRestarts) {
  std::vector<int> subset;
  int flag = 0;
  KSubsetMemory memory;
  const std::vector<std::vector<int>> expected = {
      {1, 2, 3}, {1, 2, 4}, {1, 3, 4}, {2, 3, 4}, {1, 2, 3}};
  for (const auto& next : expected) {
    NextKSubset(4, 3, subset, flag, memory);
    EXPECT_EQ(subset, next);
    EXPECT_EQ(flag, 1);
  }
  NextKSubset(4, 3, subset, flag, memory);
  EXPECT_EQ(subset, (std::vector<int>{1, 2, 4}));
  NextKSubset(5, 3, subset, flag, memory);  // a new n restarts
  EXPECT_EQ(subset, (std::vector<int>{1, 2, 3}));
  NextKSubset(5, 2, subset, flag, memory);  // so does a new k
  EXPECT_EQ(subset, (std::vector<int>{1, 2}));
}

TEST(Triplet, FitIsNearZeroForATableFromTheModelAndSkipsEmptyPatterns) {
  const TripletParameters t = {0.2, -0.4, 0.1, 0.9, 0.7, 1.1};
  std::array<double, kTripletPatterns> probabilities;
  TripletPatternProbabilities(t, probabilities);
  double total = 0.0;
  TripletCounts counts;
  for (int k = 0; k < kTripletPatterns; ++k) {
    total += probabilities[k];
    counts[k] = static_cast<int>(std::lround(probabilities[k] * 1000000));
  }
  int n = 0;
  for (int count : counts) n += count;
  EXPECT_NEAR(total, 1.0, 1e-6);
  // Only the single-precision rounding of the model probabilities and the
  // rounding of the counts are left.
  EXPECT_LT(std::fabs(TripletFit(t, counts, n)), 0.1);
  // Swapping two patterns' counts is a gross misfit.
  TripletCounts swapped = counts;
  std::swap(swapped[1], swapped[2]);
  EXPECT_GT(TripletFit(t, swapped, n), 1000.0);
  // An empty pattern adds nothing: the fit equals the sum over the others.
  counts[3] = 0;
  n = 0;
  for (int count : counts) n += count;
  double expected = 0.0;
  for (int k = 0; k < kTripletPatterns; ++k) {
    if (counts[k] == 0) continue;
    expected +=
        counts[k] * (std::log(probabilities[k]) - std::log(static_cast<double>(counts[k]) / n));
  }
  EXPECT_NEAR(TripletFit(t, counts, n), -2.0 * expected, 1e-6);
}

TEST(Triplet, StopKeepsTheTripletsBeforeIt) {
  // Variable 4 has no score of 1: (1 2 3) is tested, and the run stops at
  // (1 2 4), the first triplet that holds it.
  ResetImslState();
  Matrix scores = SimulatedItems(4, 200, 9);
  for (int s = 0; s < 200; ++s) scores(s, 3) = 0.0;
  TripletSummary summary;
  {
    ConsoleCapture capture;
    EXPECT_THROW(
        TestAllTriplets(scores, 200, 4, EqualCorrelations(4, 0.3), SilentProgress(), summary),
        RunStopped);
  }
  EXPECT_FALSE(summary.complete);
  EXPECT_EQ(summary.tested, 1u);
  EXPECT_EQ(summary.triplets.size(), 4u);
  EXPECT_GT(summary.chi_squares[0], 0.0);
  ResetImslState();
}

TEST(Triplet, ProportionOfZeroStopsTheRun) {
  ResetImslState();
  Matrix scores = SimulatedItems(3, 40, 5);
  for (int s = 0; s < 40; ++s) scores(s, 1) = 0.0;
  {
    // Default ERSET setting: DNORIN's terminal error stops the run.
    ConsoleCapture capture;
    EXPECT_THROW(
        TripletTest(
            1, 2, 3, scores.Column(0), scores.Column(1), scores.Column(2), 0.3, 0.3, 0.3, 40),
        RunStopped);
    EXPECT_NE(capture.Out().find("TERMINAL ERROR 1 from DNORIN"), std::string::npos);
  }
  {
    // Errors switched off by an earlier inversion: the run stops all the same.
    ERSET(0, 0, 0);
    ConsoleCapture capture;
    EXPECT_THROW(
        TripletTest(
            1, 2, 3, scores.Column(0), scores.Column(1), scores.Column(2), 0.3, 0.3, 0.3, 40),
        RunStopped);
    EXPECT_EQ(capture.Out(),
              std::string(28, ' ') +
                  "FATAL ERROR: VARIABLE   2 HAS NO SCORE OF 1 IN THE TRIPLET TEST\n\n\n\n"
                  "Stop - Program terminated.\nProgram Terminated with exit code 0\n");
  }
  ResetImslState();
}

TEST(Triplet, NormalOgiveDataFitWhileTwoPointDataDoNot) {
  // A small version of the behaviour study in bench/triplet_bench.cc.
  ResetImslState();
  ItemModel model = SimpleStructureModel(3, 1, 0.8, {0.0});
  model.thresholds = {{-0.8}, {0.0}, {0.8}};
  Matrix normal_scores, mixed_scores;
  SimulateItemScores(model, 3000, 21, normal_scores);
  model.latent = LatentShape::kTwoPoint;
  model.upper_share = 0.15;
  SimulateItemScores(model, 3000, 21, mixed_scores);
  ConsoleCapture capture;
  const double r = 0.64;
  const double fits = TripletTest(1,
                                  2,
                                  3,
                                  normal_scores.Column(0),
                                  normal_scores.Column(1),
                                  normal_scores.Column(2),
                                  r,
                                  r,
                                  r,
                                  3000);
  const double misfits = TripletTest(1,
                                     2,
                                     3,
                                     mixed_scores.Column(0),
                                     mixed_scores.Column(1),
                                     mixed_scores.Column(2),
                                     r,
                                     r,
                                     r,
                                     3000);
  EXPECT_LT(fits, 6.635);
  EXPECT_GT(misfits, 6.635);
  ResetImslState();
}

}  // namespace
}  // namespace vq
