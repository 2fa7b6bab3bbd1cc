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
void CountTwoByFour(const std::uint64_t* const first[2],
                    const std::uint64_t* const second[4],
                    int words,
                    std::int64_t sums[2][4]) {
  const std::uint64_t* a0 = first[0];
  const std::uint64_t* a1 = first[1];
  const std::uint64_t* b0 = second[0];
  const std::uint64_t* b1 = second[1];
  const std::uint64_t* b2 = second[2];
  const std::uint64_t* b3 = second[3];
  std::int64_t s00 = 0, s01 = 0, s02 = 0, s03 = 0, s10 = 0, s11 = 0, s12 = 0, s13 = 0;
  for (int word = 0; word < words; ++word) {
    const std::uint64_t x0 = a0[word], x1 = a1[word];
    const std::uint64_t y0 = b0[word], y1 = b1[word], y2 = b2[word], y3 = b3[word];
    s00 += std::popcount(x0 & y0);
    s01 += std::popcount(x0 & y1);
    s02 += std::popcount(x0 & y2);
    s03 += std::popcount(x0 & y3);
    s10 += std::popcount(x1 & y0);
    s11 += std::popcount(x1 & y1);
    s12 += std::popcount(x1 & y2);
    s13 += std::popcount(x1 & y3);
  }
  sums[0][0] += s00;
  sums[0][1] += s01;
  sums[0][2] += s02;
  sums[0][3] += s03;
  sums[1][0] += s10;
  sums[1][1] += s11;
  sums[1][2] += s12;
  sums[1][3] += s13;
}

VQ_POPCOUNT_CLONES
std::int64_t CountSet(const std::uint64_t* column, int words) {
  std::int64_t sum = 0;
  for (int word = 0; word < words; ++word) sum += std::popcount(column[word]);
  return sum;
}

}  // namespace vq
