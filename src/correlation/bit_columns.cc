#include "correlation/bit_columns.h"

#include <bit>

namespace vq {

// The counts are exact integers whatever instructions compute them, so the
// popcount instruction is used where the processor has it; elsewhere the
// portable bit count runs.
#if defined(__x86_64__) && defined(__GNUC__) && !defined(__clang__)
#define VQ_POPCOUNT_CLONES __attribute__((target_clones("popcnt", "default")))
#else
#define VQ_POPCOUNT_CLONES
#endif

VQ_POPCOUNT_CLONES
std::int64_t CountInBoth(const std::uint64_t* first, const std::uint64_t* second, int words) {
  // Four running sums let the additions of successive words overlap.
  std::int64_t sum0 = 0, sum1 = 0, sum2 = 0, sum3 = 0;
  int word = 0;
  for (; word + 4 <= words; word += 4) {
    sum0 += std::popcount(first[word] & second[word]);
    sum1 += std::popcount(first[word + 1] & second[word + 1]);
    sum2 += std::popcount(first[word + 2] & second[word + 2]);
    sum3 += std::popcount(first[word + 3] & second[word + 3]);
  }
  for (; word < words; ++word) sum0 += std::popcount(first[word] & second[word]);
  return sum0 + sum1 + sum2 + sum3;
}

VQ_POPCOUNT_CLONES
std::int64_t CountSet(const std::uint64_t* column, int words) {
  std::int64_t sum = 0;
  for (int word = 0; word < words; ++word) sum += std::popcount(column[word]);
  return sum;
}

}  // namespace vq
