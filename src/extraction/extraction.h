// Factor extraction: principal components ("PCA") and principal factors with
// iterated communalities ("PFA") on one code path. The phase turns the
// correlation matrix into the unrotated loadings that every rotation starts
// from, and writes its part of the report: the eigenvalue screen, the fit
// analysis and the unrotated tables.
//
// The driver calls RunExtraction once, with m = FactorCount above 0 and any
// Model but "ROT", "TRP" and "CMT"; the phase prints its own opening console
// line ("Performing factor analysis" or "Performing principal components
// analysis"), so the driver does not. A model word outside the known ones
// gets no such line and is extracted as "PFA" from the unit diagonal. With
// Rotation "NONE" and ScoreMethod "NONE" (EndsAfterExtraction) the run ends
// after this phase: the driver closes the data and report streams, shows
// "Finished" and makes the plain stop.
#ifndef VELQUORIN_EXTRACTION_EXTRACTION_H_
#define VELQUORIN_EXTRACTION_EXTRACTION_H_

#include <string_view>
#include <vector>

#include "frame/output_file.h"
#include "kernels/matrix.h"
#include "options/run_options.h"

namespace vq {

struct ExtractionResult {
  Matrix Loadings;                     // p by m, reflected; input of rotations
  std::vector<double> Communalities;   // p, the final diagonal of R
  std::vector<double> FactorVariance;  // m, column sums of squared loadings
  std::vector<double> EigenValues;     // m, eigenvalues of the last pass
  int IterationCount = 0;              // passes run (1 for "PCA")
};

// The whole phase. `r` (p by p, p = VariableCount) comes in as the
// correlation matrix and goes out with the final communalities on its
// diagonal; its off-diagonal elements are not changed. `result` is filled
// (m = FactorCount). Report sections go to `report`; the `eig`, `rsd` and
// `fac` files, when asked for, beside the command file (`run_directory`,
// `run_stem`). Whether the run ends after this phase is
// EndsAfterExtraction's to say (options/run_options.h).
// Stops the run on "ERROR 100" (pause and stop), on the five-point summary
// of fewer than 5 residuals (p of 3 or less), and when the eigen solution
// cannot deliver m factors (m above p).
void RunExtraction(const RunOptions& options,
                   Matrix& r,
                   ExtractionResult& result,
                   OutputFile& report,
                   std::string_view run_directory,
                   std::string_view run_stem);

// loadings(i,k) = eigenvectors(i,k) * sqrt(eigenvalues[k]) for the p by m
// loadings. A negative eigenvalue gives a column of not-a-number, which the
// iteration's stop test catches.
void BuildLoadings(const std::vector<double>& eigenvalues,
                   const Matrix& eigenvectors,
                   Matrix& loadings,
                   int p,
                   int m);

// For each variable whose communality is above 1.00000001, an empty line and
// "          ****WARNING !!! HEYWOOD CASE FOR VARIABLE  " I4 " ****" on
// `report`. Changes nothing.
void HeywoodCheck(const std::vector<double>& communalities, int p, OutputFile& report);

}  // namespace vq

#endif  // VELQUORIN_EXTRACTION_EXTRACTION_H_
