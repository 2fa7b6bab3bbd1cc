// The two orthogonal rotations of a run, Varimax and Weighted Varimax
// (Varimax on rows normalised, put on the positive side of the first factor
// and weighted by the method of Cureton and Mulaik), finished as their
// report section shows them: factors ordered and reflected, rows sorted
// under "SORT", variance explained, objective function and hyperplane counts.
#ifndef VELQUORIN_ROTATION_ORTHOGONAL_H_
#define VELQUORIN_ROTATION_ORTHOGONAL_H_

#include <vector>

#include "frame/progress.h"
#include "kernels/matrix.h"
#include "rotation/rotation.h"
#include "rotation/rotation_results.h"

namespace vq {

// The Cureton-Mulaik weight of a row whose first (normalised, reflected)
// loading is x, for m factors: cosd(E)^2 + 0.001, highest (1.001) at
// x = sqrt(1/m), falling to 0.001 at x = 1 and x = 0. An x that rounding
// lifts above 1 counts as 1.
double CuretonMulaikWeight(double x, int m);

// Varimax of the p by m `loadings` (a copy: turned first under a random
// start, normalised inside the rotation). Sweeps used up show "Rotation
// Failed to Converge" and the pause prompt. A solution that is not a number
// shows "Fatal Error: Serious problems occured during Varimax Rotation" and
// the pause, and comes back with only `not_a_number` set.
RotatedSolution Varimax(Matrix loadings, const RotationOptions& options, Progress& progress);

// Weighted Varimax ("WVARIMAX"). `communalities` (p values) scale the rows;
// a communality of 0 or below leaves its row unscaled. Sweeps used up give
// only the trace line.
RotatedSolution WeightedVarimax(Matrix loadings,
                                const std::vector<double>& communalities,
                                const RotationOptions& options);

}  // namespace vq

#endif  // VELQUORIN_ROTATION_ORTHOGONAL_H_
