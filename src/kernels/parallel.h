// Work spread over threads for the estimators that go pair by pair or
// triplet by triplet. Each unit of work is a pure function of its own data
// and writes only its own slot of a result array, so the results do not
// depend on how many threads there are or which thread took which unit;
// whatever must happen in order (report lines, console lines, a stop) is
// done by the caller afterwards, walking the results in order.
#ifndef VELQUORIN_KERNELS_PARALLEL_H_
#define VELQUORIN_KERNELS_PARALLEL_H_

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <exception>
#include <thread>
#include <vector>

namespace vq {

// Threads for parallel work: the calling thread's own count while a
// ScopedThreadCount holds one, else the count set by SetThreadCount
// (--threads), else the cores of the machine (at least 1).
int ThreadCount();

// Sets the thread count of the process; 0 or less goes back to the
// machine's cores.
void SetThreadCount(int count);

// Holds ThreadCount() of the calling thread at `count` while it lives (0 or
// less: leaves it as it is), then restores what it was. For a caller that
// runs estimators from several threads at once (one data set each) and
// wants each of them on one thread, without touching the process's count.
class ScopedThreadCount {
 public:
  explicit ScopedThreadCount(int count);
  ~ScopedThreadCount();
  ScopedThreadCount(const ScopedThreadCount&) = delete;
  ScopedThreadCount& operator=(const ScopedThreadCount&) = delete;

 private:
  int previous_;
};

// Runs `work(begin, end)` over [0, count) in chunks of `chunk` units (the
// last may be shorter), handed out in ascending order from a shared
// counter, on ThreadCount() threads, the calling thread being one of them.
// With one thread, or a single chunk, the chunks run in order on the
// calling thread alone.
//
// The calling thread calls `progress(next)` between its chunks, at most
// four times a second, with the first unit of the chunk handed out last:
// the caller can show where the work stands.
//
// An exception thrown by `work` stops the handing out of further chunks;
// once every thread has finished, the exception of the earliest chunk is
// rethrown, so that the run stops at the first failing unit in order.
// `work` must not write to the console or a report.
template <typename Work, typename Progress>
void ParallelChunks(std::int64_t count, std::int64_t chunk, Work&& work, Progress&& progress) {
  if (count <= 0) return;
  chunk = std::max<std::int64_t>(chunk, 1);
  const std::int64_t chunks = (count + chunk - 1) / chunk;
  const int threads = static_cast<int>(std::min<std::int64_t>(ThreadCount(), chunks));
  if (threads <= 1) {
    auto last = std::chrono::steady_clock::now();
    for (std::int64_t begin = 0; begin < count; begin += chunk) {
      const auto now = std::chrono::steady_clock::now();
      if (now - last >= std::chrono::milliseconds(250)) {
        progress(begin);
        last = now;
      }
      work(begin, std::min(count, begin + chunk));
    }
    return;
  }

  std::atomic<std::int64_t> next_chunk{0};
  std::atomic<bool> failed{false};
  // Per thread: the chunk that threw first on that thread, and its error.
  std::vector<std::int64_t> failed_chunk(threads, chunks);
  std::vector<std::exception_ptr> errors(threads);
  auto run = [&](int thread, bool caller) {
    auto last = std::chrono::steady_clock::now();
    while (!failed.load(std::memory_order_relaxed)) {
      const std::int64_t index = next_chunk.fetch_add(1);
      if (index >= chunks) break;
      const std::int64_t begin = index * chunk;
      if (caller) {
        const auto now = std::chrono::steady_clock::now();
        if (now - last >= std::chrono::milliseconds(250)) {
          progress(begin);
          last = now;
        }
      }
      try {
        work(begin, std::min(count, begin + chunk));
      } catch (...) {
        failed_chunk[thread] = index;
        errors[thread] = std::current_exception();
        failed.store(true);
        break;
      }
    }
  };
  std::vector<std::thread> helpers;
  helpers.reserve(threads - 1);
  for (int thread = 1; thread < threads; ++thread) helpers.emplace_back(run, thread, false);
  run(0, true);
  for (std::thread& helper : helpers) helper.join();
  if (failed.load()) {
    int first = 0;
    for (int thread = 1; thread < threads; ++thread) {
      if (failed_chunk[thread] < failed_chunk[first]) first = thread;
    }
    std::rethrow_exception(errors[first]);
  }
}

}  // namespace vq

#endif  // VELQUORIN_KERNELS_PARALLEL_H_
