// Factor extraction: principal components ("PCA") and principal factors with
// iterated communalities ("PFA") on one code path. The phase turns the
// correlation matrix into the unrotated loadings that every rotation starts
// from, and measures how well they reproduce the correlations.
//
// The phase only computes: the report sections and saved files are written
// from its result by writers/extraction_writer.h, and its console lines go
// through a Progress. A run takes it in four steps, so that the report holds
// at every stop what it held when computing and writing were one:
//
//   AnnounceExtraction(options, progress);
//   result.InitialEigenvalues = ScreenEigenvalues(correlations);
//   WriteEigenvalueScreen(result.InitialEigenvalues, write_options, outputs);
//   ExtractFactors(correlations, options, progress, result);  // "ERROR 100"
//   FitModel(correlations, result);  // stops with p of 3 or less; the part
//                                    // already computed is then written
//   WriteModelFit(result, write_options, outputs);
//   WriteUnrotatedResults(result, write_options, outputs);
//
// Extract does all of it at once for a caller that writes nothing (tests,
// bindings).
#ifndef VELQUORIN_EXTRACTION_EXTRACTION_H_
#define VELQUORIN_EXTRACTION_EXTRACTION_H_

#include <vector>

#include "extraction/model_fit.h"
#include "frame/progress.h"
#include "kernels/matrix.h"
#include "options/run_options.h"

namespace vq {

// How the factors are extracted. kUnnamed is a model word outside the known
// ones, which the parse lets through: it iterates like principal factors
// from the unit diagonal, with no console line of its own and no message at
// the limit of passes.
enum class ExtractionMethod { kPrincipalComponents, kPrincipalFactors, kUnnamed };

// What the phase decides on, made once from the command file
// (MakeExtractionOptions in run/phase_options.h) or filled in by hand.
struct ExtractionOptions {
  ExtractionMethod Method = ExtractionMethod::kPrincipalFactors;
  // Start of the diagonal for principal factors ("SMC", "HIR"; any other
  // word keeps the unit diagonal). Components always start from 1.
  vq::InitialCommunality InitialCommunality = vq::InitialCommunality::kOne;
  int FactorCount = 1;                 // m, 1 or more
  double CommunalityEpsilon = 0.0001;  // largest change of the sum that ends the passes
  int CommunalityIterations = 200;     // limit of passes; below 1 none runs
};

// Everything the phase computed, at full precision. p variables, m factors.
struct ExtractionResult {
  // The eigenvalue screen: all p eigenvalues of the correlation matrix by
  // decreasing modulus (zeros where the solver gave fewer).
  std::vector<double> InitialEigenvalues;

  // The diagonal the first pass starts from: 1, or the "SMC" or "HIR" values.
  std::vector<double> StartingCommunalities;  // p
  // The diagonal after each pass, in pass order (IterationCount rows of p).
  std::vector<std::vector<double>> CommunalityHistory;
  int IterationCount = 0;  // passes run (1 for "PCA")
  // The last change of the sum of the communalities was within the epsilon
  // (always so for the single pass of "PCA"; never when no pass ran).
  bool Converged = false;
  // Principal factors that used every allowed pass: the console and the
  // report say the communalities failed to converge, even when the last
  // pass met the epsilon.
  bool PassLimitReached = false;

  std::vector<double> EigenValues;     // m, eigenvalues of the last pass
  Matrix Loadings;                     // p by m, reflected; input of rotations
  Matrix Reproduced;                   // p by p, loadings times their transpose (last pass)
  std::vector<double> FactorVariance;  // m, column sums of squared loadings
  std::vector<double> Communalities;   // p, the final diagonal
  std::vector<bool> HeywoodCases;      // p, communality above 1.00000001

  // The correlation matrix with the final communalities on its diagonal:
  // the matrix the rotations and the factor scores work with.
  Matrix WorkingMatrix;  // p by p

  ModelFit Fit;  // filled by FitModel
};

// The console opening of the phase: "Performing factor analysis" or
// "Performing principal components analysis" from column 30 and an empty
// line; nothing for kUnnamed.
void AnnounceExtraction(const ExtractionOptions& options, Progress& progress);

// All eigenvalues of `correlations` (p by p, unit diagonal) by decreasing
// modulus; p of them even where the solver delivers fewer (zeros then).
std::vector<double> ScreenEigenvalues(const Matrix& correlations);

// The communality iteration and the unrotated solution: fills every field of
// `result` but InitialEigenvalues and Fit. result.InitialEigenvalues, when
// it holds p values, must be ScreenEigenvalues(correlations), called just
// before: "SMC" starts then take the smallest from it rather than solve the
// same matrix again (unless the screen's solver reported a failure).
// `correlations` (p by p) is not changed; the working copy with the final communalities on its
// diagonal is result.WorkingMatrix. Each pass shows "Iteration:" and its number on an overwriting
// line of `progress`, the warnings of a partial eigen solution as free-form lines; principal
// factors at the limit of passes add
// "**** Communalities Failed to Converge ****" from column 30.
// Stops the run on "ERROR 100" (a sum of communalities above p or not a
// number: pause and stop) and when the eigen solution cannot deliver m
// factors (m above p).
void ExtractFactors(const Matrix& correlations,
                    const ExtractionOptions& options,
                    Progress& progress,
                    ExtractionResult& result);

// result.Fit from `correlations` (as before extraction) and the solution in
// `result`, filled in the order the report shows it. With p of 3 or less
// (fewer than 5 residuals) the five-point summary is a hard failure of
// G01ALF, which stops the run: the fit then holds everything up to the
// moments, and HasFivePointSummary is false.
void FitModel(const Matrix& correlations, ExtractionResult& result);

// The eigenvalue screen, ExtractFactors and FitModel in one call, for
// callers that write no report. Stops as those do.
ExtractionResult Extract(const Matrix& correlations,
                         const ExtractionOptions& options,
                         Progress& progress);

// loadings(i,k) = eigenvectors(i,k) * sqrt(eigenvalues[k]) for the p by m
// loadings. A negative eigenvalue gives a column of not-a-number, which the
// iteration's stop test catches.
void BuildLoadings(const std::vector<double>& eigenvalues,
                   const Matrix& eigenvectors,
                   Matrix& loadings,
                   int p,
                   int m);

// Per variable: is its communality a Heywood case, strictly above
// 1.00000001?
std::vector<bool> HeywoodFlags(const std::vector<double>& communalities);

}  // namespace vq

#endif  // VELQUORIN_EXTRACTION_EXTRACTION_H_
