// The three oblique rotations of a run, Promax, direct oblimin and
// Harris-Kaiser, each with its section of the report: reflection and order
// of the factors, the pattern table (sorted or in item order), the factor
// correlations, the `fac` and `phi` files, the structure matrix, the
// hyperplane counts and the pattern plots.
#ifndef VELQUORIN_ROTATION_OBLIQUE_H_
#define VELQUORIN_ROTATION_OBLIQUE_H_

#include <string_view>
#include <vector>

#include "frame/output_file.h"
#include "kernels/matrix.h"
#include "options/run_options.h"
#include "rotation/rotation_results.h"

namespace vq {

// Promax of power `PromaxPower` from `ItemOrderLoadings` (the Varimax
// solution in item order, which RunVarimax left), and its section. Fills the
// oblique members of `results`, and under "SORT" `Order` and `SortedLabels`.
void RunPromax(const RunOptions& options,
               int p,
               int m,
               RotationResults& results,
               OutputFile& report,
               std::string_view run_directory,
               std::string_view run_stem);

// Direct oblimin of the p by m `loadings` (turned in place first under a
// random start) with delta `ObliminDelta`, and its section.
void RunOblimin(const RunOptions& options,
                Matrix& loadings,
                int p,
                int m,
                RotationResults& results,
                OutputFile& report,
                std::string_view run_directory,
                std::string_view run_stem);

// Harris-Kaiser of the p by m `loadings` (turned in place first under a
// random start) with the parameter `HarrisKaiserParameter`, and its section.
// `unique_variances` holds the p values D of UniqueVariances.
void RunHarrisKaiser(const RunOptions& options,
                     Matrix& loadings,
                     const std::vector<double>& unique_variances,
                     int p,
                     int m,
                     RotationResults& results,
                     OutputFile& report,
                     std::string_view run_directory,
                     std::string_view run_stem);

// The unique variances D that Harris-Kaiser scales the items by: 1 for
// every item under "PCA"; 1 minus the final communality on the diagonal of
// the working matrix `r` (p by p) under "PFA"; under "ROT", and any other
// model, 1 minus the communality of the given pattern (`communalities`).
std::vector<double> UniqueVariances(const RunOptions& options,
                                    const std::vector<double>& communalities,
                                    const Matrix& r,
                                    int p);

}  // namespace vq

#endif  // VELQUORIN_ROTATION_OBLIQUE_H_
