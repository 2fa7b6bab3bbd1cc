// Pearson product-moment correlations of the columns of the item scores,
// with the means, standard deviations and sums of products that the later
// phases of a run keep. Used for the codings "CO" and "IP" and by the
// rotation's random starts.
#ifndef VELQUORIN_KERNELS_PEARSON_H_
#define VELQUORIN_KERNELS_PEARSON_H_

#include <vector>

#include "kernels/matrix.h"

namespace vq {

// Means, standard deviations (divisor n - 1), sums of products of deviations
// and correlations of the m columns of `x` (n by m, read only). `xbar` and
// `std_dev` are resized to m, `ssp` and `r` reshaped to m by m, both
// triangles and the diagonal filled. A column without variance gets a
// standard deviation of 0 and a row and column of 0 in `r`, diagonal
// included. IFAIL protocol under the name G02BAF: n below 2 is failure 1,
// m below 2 failure 2; nothing is computed then.
void G02BAF(int n,
            int m,
            const Matrix& x,
            std::vector<double>& xbar,
            std::vector<double>& std_dev,
            Matrix& ssp,
            Matrix& r,
            int& ifail);

}  // namespace vq

#endif  // VELQUORIN_KERNELS_PEARSON_H_
