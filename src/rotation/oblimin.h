// Direct oblimin rotation by the pairwise method of Jennrich and Sampson:
// each step changes one factor of a pair so that the criterion falls as far
// as a cubic in one unknown allows, and keeps the factor correlations up to
// date. Delta (W) 0 gives direct quartimin; negative values make the factors
// less correlated.
#ifndef VELQUORIN_ROTATION_OBLIMIN_H_
#define VELQUORIN_ROTATION_OBLIMIN_H_

#include "kernels/matrix.h"
#include "rotation/rotation_results.h"

namespace vq {

// Rotates the nvar by nf loadings `a` (read only) to the pattern `b`
// (nvar by nf) and the factor correlations `fcor` (nf by nf). `nrm` 1
// normalises the rows for the rotation (a row of zeros stays zero). `w` is
// delta; at most `maxit` sweeps (0 means 30); `eps` is the relative stop
// value of the criterion (0 means 0.0001). ERSET protocol under the name
// DFDOBL: maxit or eps below 0 is a terminal error that ends the run, and
// sweeps used up give the warning "... iterations with no convergence.
// Convergence assumed." with the solution as it stands. `sweeps`, when not
// null, gets the sweeps run and whether the stop value was met.
void DFDOBL(int nvar,
            int nf,
            const Matrix& a,
            int nrm,
            double w,
            int maxit,
            double eps,
            Matrix& b,
            Matrix& fcor,
            RotationSweeps* sweeps = nullptr);

// The working form, with the defaults of maxit and eps already applied.
void DF2OBL(int nvar,
            int nf,
            const Matrix& a,
            int nrm,
            double w,
            int maxit,
            double eps,
            Matrix& b,
            Matrix& fcor,
            RotationSweeps* sweeps = nullptr);

// The root of x^3 + a x^2 + b x + d = 0 that a pair step takes: the one real
// root, or of three real roots the lower or higher one, whichever gives the
// smaller value of the quartic whose derivative is the cubic (the lower one
// on a tie).
double ObliminCubicRoot(double a, double b, double d);

}  // namespace vq

#endif  // VELQUORIN_ROTATION_OBLIMIN_H_
