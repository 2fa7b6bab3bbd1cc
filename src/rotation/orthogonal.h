// The two orthogonal rotations of a run, Varimax and Weighted Varimax
// (Varimax on rows normalised, put on the positive side of the first factor
// and weighted by the method of Cureton and Mulaik), each with its section
// of the report: loading table, variance explained, objective function,
// hyperplane counts, pattern plots and the `fac` file.
#ifndef VELQUORIN_ROTATION_ORTHOGONAL_H_
#define VELQUORIN_ROTATION_ORTHOGONAL_H_

#include <string_view>
#include <vector>

#include "frame/output_file.h"
#include "kernels/matrix.h"
#include "options/run_options.h"
#include "rotation/rotation_results.h"

namespace vq {

// The Cureton-Mulaik weight of a row whose first (normalised, reflected)
// loading is x, for m factors: cosd(E)^2 + 0.001, highest (1.001) at
// x = sqrt(1/m), falling to 0.001 at x = 1 and x = 0. An x that rounding
// lifts above 1 counts as 1.
double CuretonMulaikWeight(double x, int m);

// Varimax of the p by m `loadings` (changed: left in the random orientation
// under `RandomStart` "T", normalised inside the rotation) and its section of
// the report. Fills `RotatedLoadings`, `ItemOrderLoadings`, `RotationMatrix`,
// `ItemLabels`, and under "SORT" `Order` and `SortedLabels`. A solution that
// is not a number stops the run (console, pause, report lines, plain stop);
// sweeps used up show "Rotation Failed to Converge" and the pause prompt.
void RunVarimax(const RunOptions& options,
                Matrix& loadings,
                int p,
                int m,
                RotationResults& results,
                OutputFile& report,
                std::string_view run_directory,
                std::string_view run_stem);

// Weighted Varimax, the same for "WVARIMAX". `loadings` ends normalised,
// reflected, weighted (and turned under a random start); `communalities`
// (p values) scale the rows. A communality of 0 or below leaves its row
// unscaled. Sweeps used up give only the trace line.
void RunWeightedVarimax(const RunOptions& options,
                        Matrix& loadings,
                        const std::vector<double>& communalities,
                        int p,
                        int m,
                        RotationResults& results,
                        OutputFile& report,
                        std::string_view run_directory,
                        std::string_view run_stem);

}  // namespace vq

#endif  // VELQUORIN_ROTATION_ORTHOGONAL_H_
