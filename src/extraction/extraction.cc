#include "extraction/extraction.h"

#include <cmath>
#include <string>

#include "extraction/communalities.h"
#include "extraction/eigenvalue_screen.h"
#include "extraction/model_fit.h"
#include "frame/console.h"
#include "kernels/eigen.h"
#include "kernels/factor_order.h"
#include "kernels/failure.h"
#include "report/matrix_table.h"
#include "report/saved_files.h"
#include "text/edit_descriptors.h"

namespace vq {

namespace {

constexpr int kConsoleColumn = 30;
// A communality counts as a Heywood case strictly above this value.
constexpr double kHeywoodLimit = 1.00000001;

// The work arrays of the communality iteration, as the last pass left them.
struct IterationState {
  std::vector<double> eigenvalues;  // m
  Matrix eigenvectors;              // p by m
  Matrix loadings;                  // p by m
  Matrix rhat;                      // p by p, loadings times their transpose
  int iteration = 1;                // number of the next pass
};

// Console words of the warning codes of the partial eigen solution.
void ReportEigenCode(int code) {
  switch (code) {
    case 1:
      ConsoleFreeForm("The iteration for an eigenvalue failed to converge.");
      break;
    case 2:
      ConsoleFreeForm("inverse iteration did not converge. Eigenvector is not correct.");
      break;
    case 3:
      ConsoleFreeForm("The eigenvectors have lost orthogonality.");
      break;
    default:
      break;
  }
}

// rhat = loadings times their transpose. Each element sums over the factors
// in order; the upper triangle is a copy of the lower one, which is the same
// sum with the factors of each product swapped.
void Reproduce(const Matrix& loadings, int p, int m, Matrix& rhat) {
  for (int j = 0; j < p; ++j) {
    for (int i = j; i < p; ++i) {
      double sum = 0.0;
      for (int k = 0; k < m; ++k) sum += loadings(i, k) * loadings(j, k);
      rhat(i, j) = sum;
      rhat(j, i) = sum;
    }
  }
}

// One eigen solution of r with its current diagonal, the loadings, rhat and
// the new diagonal. Returns the trace of r afterwards.
double RunPass(Matrix& r, int p, int m, IterationState& state) {
  state.eigenvalues.assign(m, 0.0);
  state.eigenvectors.Reset(p, m);
  state.loadings.Reset(p, m);

  DEVESF(p, m, r, false, state.eigenvalues, state.eigenvectors);
  if (m > p) {
    // The solver has refused the count with its terminal error. Where the
    // error settings let the run go on (after an inverse of "SMC"), there
    // would be no factors to iterate on: the run ends as the error asks.
    PlainStop();
  }
  ReportEigenCode(IERCD());
  // Keep the shapes the rest of the pass relies on, whatever the solver left.
  state.eigenvalues.resize(m, 0.0);
  if (state.eigenvectors.rows != p || state.eigenvectors.cols != m) state.eigenvectors.Reset(p, m);

  BuildLoadings(state.eigenvalues, state.eigenvectors, state.loadings, p, m);
  Reproduce(state.loadings, p, m, state.rhat);
  for (int i = 0; i < p; ++i) r(i, i) = state.rhat(i, i);

  double trace = 0.0;
  for (int i = 0; i < p; ++i) trace += r(i, i);
  return trace;
}

// The communality iteration. "PCA" stops after its first pass; "PFA" (and a
// model word outside the known ones) goes on while the sum of the
// communalities moves by more than the epsilon and the limit of passes is
// not reached.
void IterateCommunalities(
    const RunOptions& options, Matrix& r, int p, int m, bool single_pass, IterationState& state) {
  double change = 1.0;
  double communality_sum = p;
  state.iteration = 1;
  // With a limit below 1 no pass runs; the results are then zeros.
  state.eigenvalues.assign(m, 0.0);
  state.loadings.Reset(p, m);
  state.rhat.Reset(p, p);

  while (change > options.CommunalityEpsilon && state.iteration <= options.CommunalityIterations) {
    // The text ends in a blank of its own, and one more blank stands
    // before the number.
    ConsoleOverwrite(kConsoleColumn, "Iteration: " + Blanks(1) + FormatI(state.iteration, 3));
    const double previous_sum = communality_sum;
    communality_sum = RunPass(r, p, m, state);
    change = std::fabs(previous_sum - communality_sum);
    // The exact comparison with p: no tolerance for rounding.
    if (p < communality_sum || std::isnan(communality_sum)) {
      ConsoleLine(
          kConsoleColumn,
          "ERROR 100:  SERIOUS PROBLEMS OCCURED DURING ITERATION" + FormatI(state.iteration, 3));
      PauseAndStop();
    }
    if (single_pass) change = 0.0;
    ++state.iteration;
  }
}

// The tables after the fit analysis, and the `fac` file of an unrotated
// principal factor solution.
void WriteUnrotatedResults(const RunOptions& options,
                           const Matrix& r,
                           int p,
                           int m,
                           bool principal_factors,
                           ExtractionResult& result,
                           OutputFile& report,
                           std::string_view run_directory,
                           std::string_view run_stem) {
  if (options.RotationAsked == Rotation::kNone && principal_factors &&
      Saves(options, SaveCode::kFac)) {
    OutputFile file;
    OpenSavedFile(file, kLoadingUnit, run_directory, run_stem, "fac");
    WriteLoadingRows(file, result.Loadings);
    file.Close();
  }

  int ifail = kIfailHard;
  if (options.LabelMode == LabelMode::kLabels) {
    std::vector<std::string> labels = options.Labels;
    labels.resize(p, std::string(kLabelWidth, ' '));
    X04CBF('G',
           'N',
           p,
           m,
           result.Loadings.data(),
           p,
           "F8.3",
           "Unrotated Factor Loadings",
           'C',
           &labels,
           'I',
           nullptr,
           options.PageWidth,
           0,
           ifail,
           report);
  } else if (options.LabelMode == LabelMode::kNoLabels) {
    X04CBF('G',
           'N',
           p,
           m,
           result.Loadings.data(),
           p,
           "F8.3",
           "Unrotated Factor Loadings",
           'I',
           nullptr,
           'I',
           nullptr,
           options.PageWidth,
           0,
           ifail,
           report);
  }

  result.FactorVariance.assign(m, 0.0);
  for (int factor = 0; factor < m; ++factor) {
    double sum = 0.0;
    for (int i = 0; i < p; ++i) sum += result.Loadings(i, factor) * result.Loadings(i, factor);
    result.FactorVariance[factor] = sum;
  }
  report.EmptyLines(1);
  ifail = kIfailHard;
  X04CBF('G',
         'N',
         1,
         m,
         result.FactorVariance.data(),
         1,
         "F10.3",
         "Variance explained by each factor",
         'N',
         nullptr,
         'I',
         nullptr,
         options.PageWidth,
         0,
         ifail,
         report);

  result.Communalities.assign(p, 0.0);
  for (int i = 0; i < p; ++i) result.Communalities[i] = r(i, i);
  HeywoodCheck(result.Communalities, p, report);

  report.EmptyLines(1);
  ifail = kIfailHard;
  X04CBF('G',
         'N',
         1,
         p,
         result.Communalities.data(),
         1,
         "F8.2",
         "Final communality estimates",
         'N',
         nullptr,
         'I',
         nullptr,
         options.PageWidth,
         0,
         ifail,
         report);
  report.EmptyLines(1);
}

}  // namespace

void BuildLoadings(const std::vector<double>& eigenvalues,
                   const Matrix& eigenvectors,
                   Matrix& loadings,
                   int p,
                   int m) {
  for (int k = 0; k < m; ++k) {
    const double scale = std::sqrt(eigenvalues[k]);
    for (int i = 0; i < p; ++i) loadings(i, k) = eigenvectors(i, k) * scale;
  }
}

void HeywoodCheck(const std::vector<double>& communalities, int p, OutputFile& report) {
  for (int i = 0; i < p; ++i) {
    if (communalities[i] > kHeywoodLimit) {
      report.EmptyLines(1);
      report.Write(Blanks(10) + "****WARNING !!! HEYWOOD CASE FOR VARIABLE  " + FormatI(i + 1, 4) +
                   " ****");
    }
  }
}

void RunExtraction(const RunOptions& options,
                   Matrix& r,
                   ExtractionResult& result,
                   OutputFile& report,
                   std::string_view run_directory,
                   std::string_view run_stem) {
  const int p = options.VariableCount;
  const int m = options.FactorCount;
  const bool principal_factors = options.Model == Model::kPrincipalFactors;
  const bool components = options.Model == Model::kComponents;

  // A model word outside the known ones was let through by the parse; it
  // gets no console line and is extracted as principal factors from the
  // unit diagonal.
  if (principal_factors || components) {
    ConsoleLine(kConsoleColumn,
                principal_factors ? "Performing factor analysis"
                                  : "Performing principal components analysis");
    ConsoleEmptyLines(1);
  }

  Matrix r0 = r;
  EigenvalueScreen(r, p, report, options.PageWidth, options, run_directory, run_stem);

  if (principal_factors) {
    if (options.InitialCommunality == InitialCommunality::kSmc) {
      SmcCommunalities(r, p);
    } else if (options.InitialCommunality == InitialCommunality::kHir) {
      HighestCorrelationCommunalities(r, p);
    }
  }

  IterationState state;
  IterateCommunalities(options, r, p, m, components, state);

  ReflectFactors(state.loadings, p, m);
  // The count alone decides: a last allowed pass that met the epsilon still
  // shows the message.
  if (principal_factors && static_cast<long long>(state.iteration) ==
                               static_cast<long long>(options.CommunalityIterations) + 1) {
    ConsoleLine(kConsoleColumn, "**** Communalities Failed to Converge ****");
    report.Write(" **** Communalities Failed to Converge ****");
  }

  ModelFitAnalysis(options, r0, r, state.rhat, p, state.iteration, report, run_directory, run_stem);
  r0 = Matrix();

  result.Loadings = state.loadings;
  result.EigenValues = state.eigenvalues;
  result.IterationCount = state.iteration - 1;
  WriteUnrotatedResults(
      options, r, p, m, principal_factors, result, report, run_directory, run_stem);
}

}  // namespace vq
