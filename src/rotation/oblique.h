// The three oblique rotations of a run, Promax, direct oblimin and
// Harris-Kaiser, finished as their report section shows them: factors
// reflected and ordered, rows sorted under "SORT", the structure matrix and
// the hyperplane counts of the pattern.
#ifndef VELQUORIN_ROTATION_OBLIQUE_H_
#define VELQUORIN_ROTATION_OBLIQUE_H_

#include <vector>

#include "kernels/matrix.h"
#include "rotation/rotation.h"
#include "rotation/rotation_results.h"

namespace vq {

// Promax of power `promax_power` from the item-order loadings of `varimax`.
RotatedSolution Promax(const RotatedSolution& varimax, const RotationOptions& options);

// Direct oblimin of the p by m `loadings` (a copy, turned first under a
// random start) with delta `oblimin_delta`.
RotatedSolution Oblimin(Matrix loadings, const RotationOptions& options);

// Harris-Kaiser of the p by m `loadings` (a copy, turned first under a
// random start) with the parameter `harris_kaiser_parameter`.
// `unique_variances` holds the p values D of UniqueVariances.
RotatedSolution HarrisKaiser(Matrix loadings,
                             const std::vector<double>& unique_variances,
                             const RotationOptions& options);

// The unique variances D that Harris-Kaiser scales the items by: 1 for
// every item under "PCA"; 1 minus the final communality on the diagonal of
// the working matrix `r` (p by p) under "PFA"; under "ROT", and any other
// model, 1 minus the communality of the given pattern (`communalities`).
std::vector<double> UniqueVariances(Model model,
                                    const std::vector<double>& communalities,
                                    const Matrix& r,
                                    int p);

}  // namespace vq

#endif  // VELQUORIN_ROTATION_OBLIQUE_H_
