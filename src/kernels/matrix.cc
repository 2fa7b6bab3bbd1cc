#include "kernels/matrix.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>

namespace vq {

void PrefaultForWriting(void* data, std::size_t bytes) {
#ifdef MADV_POPULATE_WRITE
  const long page = sysconf(_SC_PAGE_SIZE);
  if (page <= 0 || bytes == 0) return;
  const std::uintptr_t size = static_cast<std::uintptr_t>(page);
  const std::uintptr_t start = reinterpret_cast<std::uintptr_t>(data);
  const std::uintptr_t first = (start + size - 1) / size * size;
  const std::uintptr_t last = (start + bytes) / size * size;
  // Advice only: a kernel without it leaves the pages to their faults.
  if (last > first) madvise(reinterpret_cast<void*>(first), last - first, MADV_POPULATE_WRITE);
#else
  (void)data;
  (void)bytes;
#endif
}

bool FitsInMemory(double bytes) {
  const long pages = sysconf(_SC_PHYS_PAGES);
  const long page_size = sysconf(_SC_PAGE_SIZE);
  if (pages <= 0 || page_size <= 0) return true;
  return bytes <= static_cast<double>(pages) * static_cast<double>(page_size);
}

}  // namespace vq
