// The rotation phase of a run: the one entry that the driver calls after
// the unrotated solution (or the given pattern) is in. It runs the rotation
// that `Rotation` names, prints its section of the report and writes its
// saved files, then the list of sorted items; the results stay for the
// factor scores.
//
//   RotationResults rotation;
//   RunRotation(options, loadings, communalities, r, report, directory, stem,
//               rotation);
//   // scores: rotation.ItemOrderLoadings, or .ItemOrderStructure and
//   // .ItemOrderPattern after an oblique rotation
//
// With a given pattern ("ROT") the driver first calls PrepareGivenPattern.
#ifndef VELQUORIN_ROTATION_ROTATION_H_
#define VELQUORIN_ROTATION_ROTATION_H_

#include <string_view>
#include <vector>

#include "frame/output_file.h"
#include "kernels/matrix.h"
#include "options/run_options.h"
#include "rotation/rotation_results.h"

namespace vq {

// Runs, with p = `VariableCount` and m = `FactorCount`:
//   "WVARIMAX": Weighted Varimax and its section;
//   "VARIMAX":  Varimax and its section;
//   "PROMAX":   Varimax and its section, then Promax from it and its section;
//   "OBLIMIN":  direct oblimin; "HK": Harris-Kaiser;
// each only with m above 1 (the parser puts "None" in `Rotation` for one
// factor, and any other word runs nothing). Then, when the ">ITEMS:" line was
// given, `SortMode` is "SORT" and a rotation ran, the list of sorted items
// from the last sorted solution.
// `loadings` (p by m, unrotated) is used up: it ends in whatever orientation
// or scaling the rotation left it. `communalities` (p) serve Weighted Varimax
// and, under "ROT", Harris-Kaiser; `r` is the working correlation matrix
// (p by p) whose diagonal holds the final communalities, read only by
// Harris-Kaiser under "PFA" (it may be empty otherwise). `results` is filled
// (see RotationResults); `Order` is all 0 when no rows were sorted. Fatal
// conditions of the rotations stop the run (RunStopped).
void RunRotation(const RunOptions& options,
                 Matrix& loadings,
                 const std::vector<double>& communalities,
                 const Matrix& r,
                 OutputFile& report,
                 std::string_view run_directory,
                 std::string_view run_stem,
                 RotationResults& results);

// Prepares a given p by m pattern for the rotation ("ROT"). With
// `InputForm` "FLD2" and the m by m `given_correlations`, `loadings` is
// multiplied by the eigenvectors of the given correlations (DEVESF, all m,
// by decreasing modulus of their eigenvalues; the eigenvalues do not enter).
// Then `communalities` (p) get the row sums of squares and
// `factor_variance` (m) the column sums of squares. `given_correlations`
// may be null under "FLD1".
void PrepareGivenPattern(const RunOptions& options,
                         Matrix& loadings,
                         const Matrix* given_correlations,
                         int p,
                         int m,
                         std::vector<double>& communalities,
                         std::vector<double>& factor_variance);

}  // namespace vq

#endif  // VELQUORIN_ROTATION_ROTATION_H_
