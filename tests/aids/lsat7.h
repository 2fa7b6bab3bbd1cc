// psych 2.2.9's tetrachoric correlations of its five LSAT items (lsat7, 1000
// subjects): the matrix the peer figures pinned in these tests were found on.
#ifndef VELQUORIN_TESTS_AIDS_LSAT7_H_
#define VELQUORIN_TESTS_AIDS_LSAT7_H_

#include "kernels/matrix.h"

namespace vq {

inline Matrix Lsat7Tetrachorics() {
  Matrix r(5, 5, 1.0);
  const double lower[] = {0.22656564010849142,
                          0.29063093472388968,
                          0.29613769031747489,
                          0.28618033166839085,
                          0.43210294959191564,
                          0.20357710589539346,
                          0.13565109722838067,
                          0.27586765684499415,
                          0.2649365541521515,
                          0.16025393257328333};
  int next = 0;
  for (int j = 0; j < 5; ++j) {
    for (int i = j + 1; i < 5; ++i) r(i, j) = r(j, i) = lower[next++];
  }
  return r;
}

}  // namespace vq

#endif  // VELQUORIN_TESTS_AIDS_LSAT7_H_
