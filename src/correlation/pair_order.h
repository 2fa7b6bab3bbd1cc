// The numbering of the pairs of variables that the pairwise estimators walk:
// the later variable i (0-based, 1 to p-1) outer, the earlier variable j (0
// to i-1) inner, numbered q = i (i - 1) / 2 + j from 0. The estimators hand
// out pair numbers to threads and keep one result slot per number.
#ifndef VELQUORIN_CORRELATION_PAIR_ORDER_H_
#define VELQUORIN_CORRELATION_PAIR_ORDER_H_

#include <cmath>
#include <cstdint>

namespace vq {

struct PairPosition {
  int i = 1;
  int j = 0;
};

// Number of pairs of p variables.
inline std::int64_t PairCount(int p) {
  return p < 2 ? 0 : static_cast<std::int64_t>(p) * (p - 1) / 2;
}

// The pair numbered q (q >= 0).
inline PairPosition PairAt(std::int64_t q) {
  // The root gives i to within one; the loops settle it exactly.
  std::int64_t i =
      static_cast<std::int64_t>((1.0 + std::sqrt(1.0 + 8.0 * static_cast<double>(q))) / 2.0);
  if (i < 1) i = 1;
  while (i * (i - 1) / 2 > q) --i;
  while ((i + 1) * i / 2 <= q) ++i;
  return {static_cast<int>(i), static_cast<int>(q - i * (i - 1) / 2)};
}

// The pair after `pair` in the walk.
inline PairPosition NextPair(PairPosition pair) {
  if (++pair.j == pair.i) {
    ++pair.i;
    pair.j = 0;
  }
  return pair;
}

}  // namespace vq

#endif  // VELQUORIN_CORRELATION_PAIR_ORDER_H_
