// Stable ranks and sorts of real vectors.
#ifndef VELQUORIN_KERNELS_RANK_SORT_H_
#define VELQUORIN_KERNELS_RANK_SORT_H_

#include <string_view>
#include <vector>

namespace vq {

// Ranks of rv[m1-1 .. m2-1] (1-based positions m1..m2), ascending for an
// order word beginning with "A"/"a", descending for "D"/"d". irank[i-1] gets
// the place of element i in the sorted order, counted from m1. Stable in
// both orders: equal values keep their relative positions (descending is not
// the reverse of ascending). `irank` must have at least m2 elements.
// IFAIL protocol: failure 1 for bad m1/m2, 2 for a bad order word.
void M01DAF(const double* rv, int m1, int m2, std::string_view order, int* irank, int& ifail);

// Sorts rv[m1-1 .. m2-1] in place, 'A' ascending or 'D' descending.
// IFAIL protocol as M01DAF.
void M01CAF(double* rv, int m1, int m2, char order, int& ifail);

}  // namespace vq

#endif  // VELQUORIN_KERNELS_RANK_SORT_H_
