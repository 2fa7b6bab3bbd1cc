#include "kernels/parallel.h"

namespace vq {
namespace {

std::atomic<int> g_thread_count{0};

}  // namespace

int ThreadCount() {
  const int set = g_thread_count.load();
  if (set > 0) return set;
  const unsigned cores = std::thread::hardware_concurrency();
  return cores == 0 ? 1 : static_cast<int>(cores);
}

void SetThreadCount(int count) { g_thread_count.store(count > 0 ? count : 0); }

}  // namespace vq
