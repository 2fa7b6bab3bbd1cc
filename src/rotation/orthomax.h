// G03BAF: the orthomax rotation of a loading matrix, by plane turns of pairs
// of columns in sweeps, with the orthogonal matrix taken afterwards from one
// singular value decomposition. With the criterion parameter g = 1 it is the
// varimax rotation that the Varimax, Weighted Varimax and Promax branches use.
#ifndef VELQUORIN_ROTATION_ORTHOMAX_H_
#define VELQUORIN_ROTATION_ORTHOMAX_H_

#include "kernels/matrix.h"

namespace vq {

// Rotates the nvar by k loadings `fl` (k at least 2, nvar at least k).
// `stand` 'S' normalises the rows (Kaiser) during the rotation, 'U' uses
// them as they are; `fl` comes back as it came in, up to rounding. `flr`
// (nvar by k) gets the rotated loadings and `r` (k by k) the orthogonal
// matrix with flr = fl r. The sweeps stop when the criterion changes by no
// more than acc (or the machine precision when acc is not in (e, 1)) times
// the larger of its last value and 1; at most maxit + 1 sweeps run. `iter`
// gets the sweeps used. IFAIL protocol: failure 1 for bad arguments,
// failure 2 " ** SVD failed to converge", and 3 when the sweeps were used
// up, which is never printed and always returns, with the result of the
// closing step. A row of zeros under 'S' stays a row of zeros. Loadings
// that are not a number give `flr` and `r` all not a number.
void G03BAF(char stand,
            double g,
            int nvar,
            int k,
            Matrix& fl,
            Matrix& flr,
            Matrix& r,
            double acc,
            int maxit,
            int& iter,
            int& ifail);

}  // namespace vq

#endif  // VELQUORIN_ROTATION_ORTHOMAX_H_
