// What every facade function of analysis.cc and factoring.cc shares: the
// checks of the host's arguments before the engine sees them, and the call
// of a phase under a QuietHost with its stops turned into a Stop value.
// Internal to src/api: the bindings include analysis.h and factoring.h.
#ifndef VELQUORIN_API_ENGINE_CALL_H_
#define VELQUORIN_API_ENGINE_CALL_H_

#include <new>
#include <stdexcept>
#include <string>

#include "api/analysis.h"
#include "api/host.h"
#include "frame/console.h"
#include "kernels/matrix.h"
#include "run/driver.h"

namespace vq::api {

// The item's label in quotes, or its number from 1.
std::string ItemName(const std::vector<std::string>& labels, int items, int item);

// Throws std::invalid_argument for a thread count outside 0 to 1024.
void CheckThreads(const RunSettings& settings);

// The checks every estimator makes before the engine sees the scores: the
// engine reads its scores from a file, so a shape that does not fit or a
// NaN never reaches it there. Throws std::invalid_argument.
void CheckScores(const Scores& scores, const RunSettings& settings);

// The same for a correlation matrix: p of 2 or more, p * p finite values,
// no label or one an item.
void CheckCorrelations(const CorrelationMatrix& r, const RunSettings& settings);

// The scores as the engine's N by p matrix.
Matrix ItemData(const Scores& scores);

// The values as the engine's p by p matrix.
Matrix SquareMatrix(const CorrelationMatrix& r);

// The stop of `stopped` in the program's words, from what `host` captured.
Stop StopOf(const QuietHost& host, const RunStopped& stopped);

// Runs `compute` under `host` as the program's main runs a phase: the stops
// become a Stop with the program's words, memory that the machine cannot
// give stops as the driver's memory fault does.
template <typename Compute>
Stop Guarded(const QuietHost& host, Compute&& compute) {
  try {
    try {
      compute();
    } catch (const std::bad_alloc&) {
      OutOfMemory();
    } catch (const std::length_error&) {
      OutOfMemory();
    }
  } catch (const RunStopped& stopped) {
    return StopOf(host, stopped);
  }
  return Stop{};
}

}  // namespace vq::api

#endif  // VELQUORIN_API_ENGINE_CALL_H_
