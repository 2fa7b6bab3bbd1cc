// The rotation phase of a run: the rotation that the command file names,
// computed in one or two stages from the unrotated solution (or the given
// pattern), each stage giving a RotatedSolution (rotation/rotation_results.h).
// Nothing here writes the report or a saved file: writers/rotation_writer.h
// puts a solution into its section of the report, the `fac` and `phi` files
// and the list of sorted items.
//
//   const RotationOptions options = ...;  // made once by the driver
//   for (Rotation stage : RotationStages(options.rotation, m)) {
//     RotatedSolution solution = RotateStage(stage, loadings, communalities, r,
//                                            previous, options, progress);
//     ... write it; a Varimax solution that is not a number ends the run
//   }
//
// With a given pattern ("ROT") the driver first calls PrepareGivenPattern.
#ifndef VELQUORIN_ROTATION_ROTATION_H_
#define VELQUORIN_ROTATION_ROTATION_H_

#include <string>
#include <vector>

#include "frame/progress.h"
#include "kernels/matrix.h"
#include "options/run_options.h"
#include "rotation/rotation_results.h"

namespace vq {

// What the rotations decide on.
struct RotationOptions {
  Rotation rotation = Rotation::kNone;
  // Chooses the unique variances of Harris-Kaiser (see UniqueVariances).
  Model model = Model::kPrincipalFactors;
  // kRandom turns the start by one random orthogonal matrix.
  RandomStart random_start = RandomStart::kUnrotated;
  double epsilon = 0.0001;   // stop value of the iterative rotations
  int max_iterations = 200;  // their sweep limit
  int promax_power = 4;
  double oblimin_delta = 0.0;
  double harris_kaiser_parameter = 0.0;
  double hyperplane_width = 0.2;
  bool sort_rows = false;  // "SORT": rows grouped by their main factor
  // p labels of 15 characters (ItemLabelsFor), kept with each solution.
  std::vector<std::string> item_labels;
};

// The stages that `rotation` runs for m factors, in order: nothing for one
// factor or a word that rotates nothing; {kVarimax, kPromax} for Promax; the
// rotation itself otherwise.
std::vector<Rotation> RotationStages(Rotation rotation, int m);

// Computes one stage from the p by m unrotated `loadings` (read only; the
// stage works on its own copy). `communalities` (p) serve Weighted Varimax
// and, under "ROT", Harris-Kaiser; `r` is the working correlation matrix
// (p by p, final communalities on its diagonal), read only by Harris-Kaiser
// under "PFA" (it may be empty otherwise). Promax is computed from
// `varimax`, the Varimax solution of the stage before (required for it).
// Progress shows the trace lines of the orthomax routine and, for Varimax,
// "Rotation Failed to Converge" with the pause prompt. A Varimax solution
// that is not a number shows its fatal message on the console and the pause,
// and comes back with `not_a_number` set: the caller writes its failure to
// the report and ends the run. Other fatal conditions of the rotations stop
// the run (RunStopped).
RotatedSolution RotateStage(Rotation stage,
                            const Matrix& loadings,
                            const std::vector<double>& communalities,
                            const Matrix& r,
                            const RotatedSolution* varimax,
                            const RotationOptions& options,
                            Progress& progress);

// Every stage of `options.rotation`, one after the other, for callers that
// write nothing between them (tests, bindings). Stops after a solution that
// is not a number.
RotationResult Rotate(const Matrix& loadings,
                      const std::vector<double>& communalities,
                      const Matrix& r,
                      const RotationOptions& options,
                      Progress& progress);

// Prepares a given p by m pattern for the rotation ("ROT"). With the m by m
// `given_correlations` ("FLD2"), `loadings` is multiplied by the
// eigenvectors of the given correlations (DEVESF, all m, by decreasing
// modulus of their eigenvalues; the eigenvalues do not enter); null under
// "FLD1". Then `communalities` (p) get the row sums of squares and
// `factor_variance` (m) the column sums of squares.
void PrepareGivenPattern(const Matrix* given_correlations,
                         Matrix& loadings,
                         std::vector<double>& communalities,
                         std::vector<double>& factor_variance);

}  // namespace vq

#endif  // VELQUORIN_ROTATION_ROTATION_H_
