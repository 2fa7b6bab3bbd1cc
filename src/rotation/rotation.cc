#include "rotation/rotation.h"

#include <utility>

#include "frame/console.h"
#include "kernels/eigen.h"
#include "rotation/oblique.h"
#include "rotation/orthogonal.h"

namespace vq {

std::vector<Rotation> RotationStages(Rotation rotation, int m) {
  if (m < 2) return {};
  switch (rotation) {
    case Rotation::kVarimax:
    case Rotation::kWeightedVarimax:
    case Rotation::kOblimin:
    case Rotation::kHarrisKaiser:
      return {rotation};
    case Rotation::kPromax:
      return {Rotation::kVarimax, Rotation::kPromax};
    default:
      return {};
  }
}

RotatedSolution RotateStage(Rotation stage,
                            const Matrix& loadings,
                            const std::vector<double>& communalities,
                            const Matrix& r,
                            const RotatedSolution* varimax,
                            const RotationOptions& options,
                            Progress& progress) {
  switch (stage) {
    case Rotation::kVarimax:
      return Varimax(loadings, options, progress);
    case Rotation::kWeightedVarimax:
      return WeightedVarimax(loadings, communalities, options);
    case Rotation::kPromax:
      if (varimax == nullptr || varimax->method != Rotation::kVarimax) {
        InternalError("RotateStage", "Promax without its Varimax stage");
      }
      return Promax(*varimax, options);
    case Rotation::kOblimin:
      return Oblimin(loadings, options);
    case Rotation::kHarrisKaiser:
      return HarrisKaiser(
          loadings, UniqueVariances(options.model, communalities, r, loadings.rows), options);
    default:
      InternalError("RotateStage", "not a rotation stage");
  }
}

RotationResult Rotate(const Matrix& loadings,
                      const std::vector<double>& communalities,
                      const Matrix& r,
                      const RotationOptions& options,
                      Progress& progress) {
  RotationResult result;
  for (Rotation stage : RotationStages(options.rotation, loadings.cols)) {
    const RotatedSolution* previous = result.final_solution();
    RotatedSolution solution =
        RotateStage(stage, loadings, communalities, r, previous, options, progress);
    result.solutions.push_back(std::move(solution));
    if (result.solutions.back().not_a_number) break;
  }
  return result;
}

void PrepareGivenPattern(const Matrix* given_correlations,
                         Matrix& loadings,
                         std::vector<double>& communalities,
                         std::vector<double>& factor_variance) {
  const int p = loadings.rows;
  const int m = loadings.cols;
  if (given_correlations != nullptr) {
    Matrix phi = *given_correlations;
    std::vector<double> eigenvalues;
    Matrix vectors;
    DEVESF(m, m, phi, false, eigenvalues, vectors);
    Matrix turned(p, m);
    for (int factor = 0; factor < m; ++factor) {
      for (int item = 0; item < p; ++item) {
        double sum = 0.0;
        for (int k = 0; k < m; ++k) sum += loadings(item, k) * vectors(k, factor);
        turned(item, factor) = sum;
      }
    }
    loadings = turned;
  }
  communalities.assign(p, 0.0);
  factor_variance.assign(m, 0.0);
  for (int item = 0; item < p; ++item) {
    for (int factor = 0; factor < m; ++factor) {
      communalities[item] += loadings(item, factor) * loadings(item, factor);
    }
  }
  for (int factor = 0; factor < m; ++factor) {
    for (int item = 0; item < p; ++item) {
      factor_variance[factor] += loadings(item, factor) * loadings(item, factor);
    }
  }
}

}  // namespace vq
