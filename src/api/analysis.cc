#include "api/analysis.h"

#include <cmath>
#include <new>
#include <stdexcept>
#include <string>
#include <utility>

#include "correlation/polychoric.h"
#include "correlation/tetrachoric.h"
#include "frame/console.h"
#include "frame/progress.h"
#include "kernels/failure.h"
#include "kernels/matrix.h"
#include "kernels/pearson.h"
#include "run/driver.h"

namespace vq::api {
namespace {

std::string ItemName(const Scores& scores, int item) {
  if (static_cast<int>(scores.labels.size()) == scores.items) {
    return "'" + scores.labels[static_cast<std::size_t>(item)] + "'";
  }
  return std::to_string(item + 1);
}

// The checks every estimator makes before the engine sees the scores: the
// engine reads its scores from a file, so a shape that does not fit or a
// NaN never reaches it there.
void CheckScores(const Scores& scores, const RunSettings& settings) {
  if (settings.threads < 0 || settings.threads > 1024) {
    throw std::invalid_argument("threads needs a number from 1 to 1024");
  }
  if (scores.subjects < 2 || scores.items < 2) {
    throw std::invalid_argument("the scores need at least 2 subjects and 2 items");
  }
  if (scores.values.size() != static_cast<std::size_t>(scores.subjects) * scores.items) {
    throw std::invalid_argument("the scores hold " + std::to_string(scores.values.size()) +
                                " values, not subjects times items");
  }
  if (!scores.labels.empty() && static_cast<int>(scores.labels.size()) != scores.items) {
    throw std::invalid_argument("there must be one label an item");
  }
  for (std::size_t k = 0; k < scores.values.size(); ++k) {
    if (!std::isfinite(scores.values[k])) {
      const int item = static_cast<int>(k / static_cast<std::size_t>(scores.subjects));
      const int subject = static_cast<int>(k % static_cast<std::size_t>(scores.subjects));
      throw std::invalid_argument(
          "missing or infinite score (NA, NaN, Inf) of subject " + std::to_string(subject + 1) +
          " on item " + ItemName(scores, item) +
          ": the engine has no code for a missing score but 99 on an ordered item "
          "(polychoric); remove or recode such subjects");
    }
  }
}

Matrix ItemData(const Scores& scores) {
  Matrix data(scores.subjects, scores.items);
  data.values = scores.values;
  return data;
}

std::string PairName(const Scores& scores, int i, int j) {
  return "items " + ItemName(scores, j) + " and " + ItemName(scores, i);
}

// Runs `estimate` under `host` as the program's main runs a phase: the
// stops become a Stop with the program's words, memory that the machine
// cannot give stops as the driver's memory fault does.
template <typename Estimate>
Stop Guarded(const QuietHost& host, Estimate&& estimate) {
  Stop stop;
  std::string severe_text;
  try {
    try {
      estimate();
    } catch (const std::bad_alloc&) {
      OutOfMemory();
    } catch (const std::length_error&) {
      OutOfMemory();
    }
  } catch (const RunStopped& stopped) {
    stop.status = stopped.exit_code;
    switch (stopped.kind) {
      case RunStopped::Kind::kSevere:
        stop.ending = Ending::kSevere;
        severe_text = stopped.text;
        break;
      case RunStopped::Kind::kCancelled:
        stop.ending = Ending::kCancelled;
        break;
      case RunStopped::Kind::kPlainStop:
      case RunStopped::Kind::kTextStop:
        stop.ending = Ending::kStopped;
        break;
    }
    ConsoleFlush();
    stop.message = StopMessage(host.Console(), stop.ending, stop.status, severe_text);
  }
  return stop;
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

CorrelationResult Polychoric(const Scores& scores, const RunSettings& settings) {
  CheckScores(scores, settings);
  CorrelationResult result = Begin(scores);
  const Matrix data = ItemData(scores);
  QuietHost host(settings);
  PolychoricResult estimate;
  result.stop = Guarded(host, [&] {
    EstimatePolychorics(
        data, scores.subjects, scores.items, PolychoricSearch{}, SilentProgress(), estimate);
  });
  for (const BoundaryPair& pair : estimate.boundary) {
    result.warnings.push_back("the polychoric correlation of " + PairName(scores, pair.i, pair.j) +
                              " lies on a bound of the search (-0.9 or 0.9)");
  }
  if (result.stop.ending == Ending::kFinished) {
    result.values = std::move(estimate.correlations.values);
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
  }
  return result;
}

}  // namespace vq::api
