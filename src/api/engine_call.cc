#include "api/engine_call.h"

#include <cmath>
#include <string>
#include <vector>

namespace vq::api {

std::string ItemName(const std::vector<std::string>& labels, int items, int item) {
  if (static_cast<int>(labels.size()) == items) {
    return "'" + labels[static_cast<std::size_t>(item)] + "'";
  }
  return std::to_string(item + 1);
}

void CheckThreads(const RunSettings& settings) {
  if (settings.threads < 0 || settings.threads > 1024) {
    throw std::invalid_argument("threads needs a number from 1 to 1024");
  }
}

void CheckScores(const Scores& scores, const RunSettings& settings) {
  CheckThreads(settings);
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
          " on item " + ItemName(scores.labels, scores.items, item) +
          ": the engine has no code for a missing score but 99 on an ordered item "
          "(polychoric); remove or recode such subjects");
    }
  }
}

void CheckCorrelations(const CorrelationMatrix& r, const RunSettings& settings) {
  CheckThreads(settings);
  if (r.items < 2) throw std::invalid_argument("the correlation matrix needs at least 2 items");
  if (r.values.size() != static_cast<std::size_t>(r.items) * r.items) {
    throw std::invalid_argument("the correlation matrix must be square, items by items");
  }
  if (!r.labels.empty() && static_cast<int>(r.labels.size()) != r.items) {
    throw std::invalid_argument("there must be one label an item");
  }
  for (double value : r.values) {
    if (!std::isfinite(value)) {
      throw std::invalid_argument("the correlation matrix holds a value that is not finite");
    }
  }
}

Matrix ItemData(const Scores& scores) {
  Matrix data(scores.subjects, scores.items);
  data.values = scores.values;
  return data;
}

Matrix SquareMatrix(const CorrelationMatrix& r) {
  Matrix matrix(r.items, r.items);
  matrix.values = r.values;
  return matrix;
}

Stop StopOf(const QuietHost& host, const RunStopped& stopped) {
  Stop stop;
  std::string severe_text;
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
  return stop;
}

}  // namespace vq::api
