#include "extraction/extraction.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <utility>

#include "extraction/communalities.h"
#include "frame/console.h"
#include "kernels/eigen.h"
#include "kernels/factor_order.h"
#include "kernels/failure.h"
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
  double change = 1.0;              // change of the sum in the last pass
};

// Words of the warning codes of the partial eigen solution.
void ReportEigenCode(int code, Progress& progress) {
  switch (code) {
    case 1:
      progress.FreeForm("The iteration for an eigenvalue failed to converge.");
      break;
    case 2:
      progress.FreeForm("inverse iteration did not converge. Eigenvector is not correct.");
      break;
    case 3:
      progress.FreeForm("The eigenvectors have lost orthogonality.");
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

std::vector<double> Diagonal(const Matrix& r) {
  std::vector<double> diagonal(r.rows);
  for (int i = 0; i < r.rows; ++i) diagonal[i] = r(i, i);
  return diagonal;
}

// One eigen solution of r with its current diagonal, the loadings, rhat and
// the new diagonal. Returns the trace of r afterwards.
double RunPass(Matrix& r, int p, int m, IterationState& state, Progress& progress) {
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
  ReportEigenCode(IERCD(), progress);
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
// not reached. The diagonal after each pass is kept in `history`.
void IterateCommunalities(const ExtractionOptions& options,
                          Matrix& r,
                          IterationState& state,
                          std::vector<std::vector<double>>& history,
                          Progress& progress) {
  const int p = r.rows;
  const int m = options.FactorCount;
  const bool single_pass = options.Method == ExtractionMethod::kPrincipalComponents;
  double communality_sum = p;
  state.change = 1.0;
  state.iteration = 1;
  // With a limit below 1 no pass runs; the results are then zeros.
  state.eigenvalues.assign(m, 0.0);
  state.loadings.Reset(p, m);
  state.rhat.Reset(p, p);
  history.clear();

  while (state.change > options.CommunalityEpsilon &&
         state.iteration <= options.CommunalityIterations) {
    // The text ends in a blank of its own, and one more blank stands
    // before the number.
    progress.Overwrite(kConsoleColumn, "Iteration: " + Blanks(1) + FormatI(state.iteration, 3));
    const double previous_sum = communality_sum;
    communality_sum = RunPass(r, p, m, state, progress);
    state.change = std::fabs(previous_sum - communality_sum);
    // The exact comparison with p: no tolerance for rounding.
    if (p < communality_sum || std::isnan(communality_sum)) {
      ConsoleLine(
          kConsoleColumn,
          "ERROR 100:  SERIOUS PROBLEMS OCCURED DURING ITERATION" + FormatI(state.iteration, 3));
      PauseAndStop();
    }
    history.push_back(Diagonal(r));
    if (single_pass) state.change = 0.0;
    ++state.iteration;
  }
}

}  // namespace

void AnnounceExtraction(const ExtractionOptions& options, Progress& progress) {
  switch (options.Method) {
    case ExtractionMethod::kPrincipalFactors:
      progress.Line(kConsoleColumn, "Performing factor analysis");
      progress.EmptyLines(1);
      break;
    case ExtractionMethod::kPrincipalComponents:
      progress.Line(kConsoleColumn, "Performing principal components analysis");
      progress.EmptyLines(1);
      break;
    case ExtractionMethod::kUnnamed:
      break;
  }
}

std::vector<double> ScreenEigenvalues(const Matrix& correlations) {
  const int p = correlations.rows;
  std::vector<double> eigenvalues;
  std::vector<double> imaginary_parts;
  DEVLRG(p, correlations, eigenvalues, imaginary_parts);
  // The plot of the screen sorts what it is given in place; a short answer
  // of the solver must not make it read past the end.
  eigenvalues.resize(std::max(p, 0), 0.0);
  return eigenvalues;
}

void ExtractFactors(const Matrix& correlations,
                    const ExtractionOptions& options,
                    Progress& progress,
                    ExtractionResult& result) {
  const int p = correlations.rows;
  const int m = options.FactorCount;
  const bool principal_factors = options.Method == ExtractionMethod::kPrincipalFactors;

  Matrix& r = result.WorkingMatrix;
  r = correlations;
  if (principal_factors) {
    if (options.InitialCommunality == InitialCommunality::kSmc) {
      // The screen has solved this very matrix already; where its solver
      // reported a failure, the solution is made again, and so is its
      // message.
      if (p >= 1 && result.InitialEigenvalues.size() == static_cast<std::size_t>(p) &&
          IERCD() == 0) {
        SmcCommunalities(r, p, result.InitialEigenvalues[p - 1]);
      } else {
        SmcCommunalities(r, p);
      }
    } else if (options.InitialCommunality == InitialCommunality::kHir) {
      HighestCorrelationCommunalities(r, p);
    }
  }
  result.StartingCommunalities = Diagonal(r);

  IterationState state;
  IterateCommunalities(options, r, state, result.CommunalityHistory, progress);

  ReflectFactors(state.loadings, p, m);
  result.IterationCount = state.iteration - 1;
  result.Converged = result.IterationCount > 0 && !(state.change > options.CommunalityEpsilon);
  // The count alone decides: a last allowed pass that met the epsilon still
  // shows the message.
  result.PassLimitReached =
      principal_factors && static_cast<long long>(state.iteration) ==
                               static_cast<long long>(options.CommunalityIterations) + 1;
  if (result.PassLimitReached) {
    progress.Line(kConsoleColumn, "**** Communalities Failed to Converge ****");
  }

  result.EigenValues = std::move(state.eigenvalues);
  result.Loadings = std::move(state.loadings);
  result.Reproduced = std::move(state.rhat);

  result.FactorVariance.assign(m, 0.0);
  for (int factor = 0; factor < m; ++factor) {
    double sum = 0.0;
    for (int i = 0; i < p; ++i) sum += result.Loadings(i, factor) * result.Loadings(i, factor);
    result.FactorVariance[factor] = sum;
  }
  result.Communalities = Diagonal(r);
  result.HeywoodCases = HeywoodFlags(result.Communalities);
}

void FitModel(const Matrix& correlations, ExtractionResult& result) {
  ComputeModelFit(correlations, result.Reproduced, result.Communalities, result.Fit);
}

ExtractionResult Extract(const Matrix& correlations,
                         const ExtractionOptions& options,
                         Progress& progress) {
  ExtractionResult result;
  AnnounceExtraction(options, progress);
  result.InitialEigenvalues = ScreenEigenvalues(correlations);
  ExtractFactors(correlations, options, progress, result);
  FitModel(correlations, result);
  return result;
}

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

std::vector<bool> HeywoodFlags(const std::vector<double>& communalities) {
  std::vector<bool> flags(communalities.size());
  for (std::size_t i = 0; i < communalities.size(); ++i) {
    flags[i] = communalities[i] > kHeywoodLimit;
  }
  return flags;
}

}  // namespace vq
