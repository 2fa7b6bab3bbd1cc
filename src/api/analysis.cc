#include "api/analysis.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>

#include "api/engine_call.h"
#include "correlation/polychoric.h"
#include "correlation/smoothing.h"
#include "correlation/tetrachoric.h"
#include "correlation/triplet.h"
#include "frame/console.h"
#include "frame/progress.h"
#include "kernels/failure.h"
#include "kernels/matrix.h"
#include "kernels/pearson.h"
#include "run/driver.h"

namespace vq::api {
namespace {

std::string PairName(const Scores& scores, int i, int j) {
  return "items " + ItemName(scores.labels, scores.items, j) + " and " +
         ItemName(scores.labels, scores.items, i);
}

// The step of the second difference: small beside the curvature's scale
// (1 - r^2), large beside the error of the bivariate probabilities.
double CurvatureStep(double r) { return std::min(0.005, (1.0 - std::fabs(r)) / 2.0); }

// The standard errors of the polychoric estimates: 1 / sqrt(-L'') at each
// pair's estimate, its thresholds held, L'' by a central second difference
// of the run's own log likelihood.
Matrix PolychoricStandardErrors(const Matrix& data, int n, int p, const Matrix& correlations) {
  PolychoricCategories categories;
  FindPolychoricCategories(data, n, p, categories);
  Matrix errors(p, p);
  PolychoricTable table;
  for (int i = 1; i < p; ++i) {
    for (int j = 0; j < i; ++j) {
      CountPolychoricTable(categories, i, j, table);
      const int k_i = categories.category_count[i];
      const int k_j = categories.category_count[j];
      const double* t = categories.thresholds.Column(j);
      const double* u = categories.thresholds.Column(i);
      const double r = correlations(i, j);
      const double h = CurvatureStep(r);
      const double middle = PolychoricLikelihood(r, k_i, k_j, t, u, table);
      const double above = PolychoricLikelihood(r + h, k_i, k_j, t, u, table);
      const double below = PolychoricLikelihood(r - h, k_i, k_j, t, u, table);
      const double curvature = (above - 2.0 * middle + below) / (h * h);
      const double error =
          curvature < 0.0 ? 1.0 / std::sqrt(-curvature) : std::numeric_limits<double>::quiet_NaN();
      errors(i, j) = error;
      errors(j, i) = error;
    }
  }
  return errors;
}

// A bound as the warnings show it: the run's -0.9 and 0.9, a wider one with
// the digits it was given.
std::string FormatBound(double bound) {
  std::ostringstream text;
  text << bound;
  return text.str();
}

CorrelationResult Begin(const Scores& scores) {
  CorrelationResult result;
  result.items = scores.items;
  result.labels = scores.labels;
  return result;
}

}  // namespace

CorrelationResult Pearson(const Scores& scores, const RunSettings& settings) {
  CheckScores(scores, settings);
  CorrelationResult result = Begin(scores);
  const Matrix data = ItemData(scores);
  QuietHost host(settings);
  Matrix r;
  result.stop = Guarded(host, [&] {
    std::vector<double> means;
    std::vector<double> deviations;
    Matrix ssp;
    int ifail = kIfailHard;
    G02BAF(scores.subjects, scores.items, data, means, deviations, ssp, r, ifail);
  });
  if (result.stop.ending == Ending::kFinished) result.values = std::move(r.values);
  return result;
}

CorrelationResult Polychoric(const Scores& scores,
                             const PolychoricSettings& search,
                             const RunSettings& settings) {
  CheckScores(scores, settings);
  if (!(search.bound >= 0.05 && search.bound <= 0.9999)) {
    throw std::invalid_argument("the bound of the polychoric search must lie in [0.05, 0.9999]");
  }
  CorrelationResult result = Begin(scores);
  const Matrix data = ItemData(scores);
  // The sweep starts one step below the lower bound, as the run's starts at
  // -0.95 for its bound of 0.9, so that its first point is the bound.
  PolychoricSearch engine_search;
  engine_search.lower_bound = -search.bound;
  engine_search.upper_bound = search.bound;
  engine_search.start = -search.bound - engine_search.first_step;
  engine_search.floor_likelihood = search.floor_likelihood;
  engine_search.strict_cells = search.bound != 0.9 || !search.floor_likelihood;
  QuietHost host(settings);
  PolychoricResult estimate;
  Matrix errors;
  result.stop = Guarded(host, [&] {
    EstimatePolychorics(
        data, scores.subjects, scores.items, engine_search, SilentProgress(), estimate);
    errors = PolychoricStandardErrors(data, scores.subjects, scores.items, estimate.correlations);
  });
  const std::string bounds = FormatBound(-search.bound) + " or " + FormatBound(search.bound);
  for (const BoundaryPair& pair : estimate.boundary) {
    result.warnings.push_back("the polychoric correlation of " + PairName(scores, pair.i, pair.j) +
                              " lies on a bound of the search (" + bounds + ")");
  }
  if (result.stop.ending == Ending::kFinished) {
    result.values = std::move(estimate.correlations.values);
    result.standard_errors = std::move(errors.values);
    for (int item = 0; item < scores.items; ++item) {
      const double* column = estimate.thresholds.Column(item);
      result.thresholds.emplace_back(column + 1, column + estimate.category_count[item]);
    }
  }
  return result;
}

CorrelationResult Tetrachoric(const Scores& scores,
                              const std::vector<double>& guessing,
                              bool median_split,
                              const RunSettings& settings) {
  CheckScores(scores, settings);
  if (!guessing.empty()) {
    if (static_cast<int>(guessing.size()) != scores.items) {
      throw std::invalid_argument("guessing needs one chance an item");
    }
    for (double chance : guessing) {
      if (!std::isfinite(chance) || chance < 0.0 || chance >= 1.0) {
        throw std::invalid_argument("a chance of guessing must lie in [0, 1)");
      }
    }
  }
  CorrelationResult result = Begin(scores);
  const Matrix data = ItemData(scores);
  TetrachoricOptions options;
  options.correct_for_guessing = !guessing.empty();
  options.median_split = median_split;
  QuietHost host(settings);
  TetrachoricResult estimate;
  result.stop = Guarded(host, [&] {
    estimate = EstimateTetrachorics(
        data, scores.subjects, scores.items, options, guessing, SilentProgress());
  });
  for (const TetrachoricFallBack& pair : estimate.fall_backs) {
    result.warnings.push_back("the tetrachoric iteration of " + PairName(scores, pair.i, pair.j) +
                              " did not settle: the polychoric search gave its correlation" +
                              (pair.at_boundary ? ", on a bound of the search" : ""));
  }
  if (result.stop.ending == Ending::kFinished) {
    result.values = std::move(estimate.correlations.values);
    result.standard_errors = std::move(estimate.standard_errors.values);
    result.proportions = std::move(estimate.items.proportions);
    for (double threshold : estimate.thresholds) result.thresholds.push_back({threshold});
  }
  return result;
}

CorrelationResult Smooth(const CorrelationMatrix& r, const RunSettings& settings) {
  CheckCorrelations(r, settings);
  CorrelationResult result;
  result.items = r.items;
  result.labels = r.labels;
  Matrix work = SquareMatrix(r);
  Matrix smoothed;
  QuietHost host(settings);
  result.stop = Guarded(host, [&] { SmoothCorrelations(work, r.items, smoothed); });
  if (result.stop.ending == Ending::kFinished) result.values = std::move(smoothed.values);
  return result;
}

TripletResult TripletTest(const Scores& scores,
                          const CorrelationMatrix& r,
                          const RunSettings& settings) {
  CheckScores(scores, settings);
  CheckCorrelations(r, settings);
  if (r.items != scores.items) {
    throw std::invalid_argument("the correlation matrix must have one row an item of the scores");
  }
  if (scores.items < 3) throw std::invalid_argument("the triplet test needs at least 3 items");
  TripletResult result;
  const Matrix data = ItemData(scores);
  const Matrix correlations = SquareMatrix(r);
  TripletSummary summary;
  QuietHost host(settings);
  result.stop = Guarded(host, [&] {
    TestAllTriplets(data, scores.subjects, scores.items, correlations, SilentProgress(), summary);
  });
  if (result.stop.ending != Ending::kFinished) return result;
  for (const std::array<int, 3>& triplet : summary.triplets) {
    result.triplets.insert(result.triplets.end(), triplet.begin(), triplet.end());
  }
  result.chi_squares = std::move(summary.chi_squares);
  result.suspicious = std::move(summary.suspicious);
  result.percentages = std::move(summary.percentages);
  return result;
}

}  // namespace vq::api
