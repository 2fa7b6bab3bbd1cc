// Harris-Kaiser (orthoblique) rotation: the columns of the unrotated
// loadings are rescaled by a power C of their sums of squares (after the
// items are divided by the square roots of their unique variances), an
// orthomax rotation runs on the rescaled matrix, and an oblique pattern with
// its factor correlations is read off the result. C = 1 gives an orthogonal
// rotation; C = 0 the independent cluster solution.
#ifndef VELQUORIN_ROTATION_HARRIS_KAISER_H_
#define VELQUORIN_ROTATION_HARRIS_KAISER_H_

#include <vector>

#include "kernels/matrix.h"
#include "rotation/rotation_results.h"

namespace vq {

// Rotates the nvar by nf loadings `a` (read only) to the pattern `b` (nvar
// by nf) and the factor correlations `fcor` (nf by nf), with b fcor b' equal
// to a a' up to rounding. `d` holds nvar unique variances; an item's scale
// is the square root of its value, but at least 0.000001 (also for a value
// of 0 or below). `nrm` 1 normalises rows inside the orthomax step, `w` is
// its criterion parameter (1 for varimax), `maxit` its sweep limit (at least
// 1), `eps` its stop value (0 or below means 0.0001). ERSET protocol under
// the name DFHARR: c outside 0 to 1 or maxit below 1 is a terminal error
// that ends the run; sweeps used up give the warning "... iterations without
// convergence.  Convergence assumed." with the solution as it stands.
// `sweeps`, when not null, gets the sweeps run and whether the rotation
// stopped before the limit.
void DFHARR(int nvar,
            int nf,
            const Matrix& a,
            int nrm,
            int maxit,
            double w,
            double c,
            double eps,
            const std::vector<double>& d,
            Matrix& b,
            Matrix& fcor,
            RotationSweeps* sweeps = nullptr);

// The working form of DFHARR, after the argument checks.
void DF2ARR(int nvar,
            int nf,
            const Matrix& a,
            int nrm,
            int maxit,
            double w,
            double c,
            double eps,
            const std::vector<double>& d,
            Matrix& b,
            Matrix& fcor,
            RotationSweeps* sweeps = nullptr);

// The orthomax rotation inside it, by plane turns with arc-tangent angles:
// `a` (nvar by nf, read only) is rotated to `b`, and `t` (nf by nf) gets the
// product of the plane turns, so that b = a t. Stops on the second sweep
// whose gain is not above eps times the criterion, or when nf (nf - 1) / 2
// pairs in a row were too small to turn; the warning as DFHARR otherwise.
void DF2OTA(int nvar,
            int nf,
            const Matrix& a,
            int nrm,
            int maxit,
            double w,
            double eps,
            Matrix& b,
            Matrix& t,
            RotationSweeps* sweeps = nullptr);

}  // namespace vq

#endif  // VELQUORIN_ROTATION_HARRIS_KAISER_H_
