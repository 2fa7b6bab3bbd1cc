// Promax: an oblique solution from an orthogonal one. The row-normalised
// loadings, raised to a power with their signs kept, form a target; the
// least-squares transformation of the loadings towards the target, with its
// columns scaled so that the factors have unit variance, gives the pattern
// and the factor correlations.
#ifndef VELQUORIN_ROTATION_PROMAX_H_
#define VELQUORIN_ROTATION_PROMAX_H_

#include "kernels/matrix.h"

namespace vq {

// The two exponents (n, d) of the target for the power k: the target of an
// element t is t^n / |t|^d. k = 2..6 keep the sign of t; any other k gives
// (k, 0).
struct PromaxExponents {
  int n;
  int d;
};
PromaxExponents PromaxExponentsFor(int k);

// The target element for the power k: t^n / |t|^d, integer powers by repeated
// multiplication (a power of 0 gives 1, a negative one the reciprocal). An
// element of exactly 0 has the target 0 wherever the ratio has no value.
double PromaxTarget(double t, int k);

// From the p by m orthogonal loadings `a` (read only, rows in item order),
// computes the p by m `pattern` and the m by m `factor_correlations`, and
// `transformation` (m by m) with pattern = a transformation. Prints nothing
// itself; a G or K that is not positive definite is reported by
// InvertPositiveDefinite and the run goes on, and a transformation that the
// refined solve cannot invert stops the run (F04AEF). A row of `a` of zeros
// gets a target of zeros.
void PROMAX(const Matrix& a,
            Matrix& pattern,
            Matrix& factor_correlations,
            int p,
            int m,
            int power,
            Matrix* transformation = nullptr);

}  // namespace vq

#endif  // VELQUORIN_ROTATION_PROMAX_H_
