#include "kernels/parallel.h"

namespace vq {
namespace {

std::atomic<int> g_thread_count{0};
// The calling thread's own count (ScopedThreadCount); 0: none.
thread_local int t_thread_count = 0;

}  // namespace

int ThreadCount() {
  if (t_thread_count > 0) return t_thread_count;
  const int set = g_thread_count.load();
  if (set > 0) return set;
  const unsigned cores = std::thread::hardware_concurrency();
  return cores == 0 ? 1 : static_cast<int>(cores);
}

void SetThreadCount(int count) { g_thread_count.store(count > 0 ? count : 0); }

ScopedThreadCount::ScopedThreadCount(int count) : previous_(t_thread_count) {
  if (count > 0) t_thread_count = count;
}

ScopedThreadCount::~ScopedThreadCount() { t_thread_count = previous_; }

}  // namespace vq
