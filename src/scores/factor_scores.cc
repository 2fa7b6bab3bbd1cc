#include "scores/factor_scores.h"

#include <cmath>
#include <string>
#include <vector>

#include "frame/console.h"
#include "kernels/failure.h"
#include "kernels/moments.h"
#include "kernels/pd_inverse.h"
#include "kernels/pearson.h"
#include "scores/score_messages.h"
#include "text/edit_descriptors.h"

namespace vq {
namespace {

// Mean and standard deviation (divisor N - 1) of a single column, by the
// moments routine; a hard failure for fewer than two values.
void SingleColumnMoments(const Matrix& FactorScores, int N, double& mean, double& deviation) {
  double skewness = 0.0;
  double kurtosis = 0.0;
  double smallest = 0.0;
  double largest = 0.0;
  int ifail = kIfailHard;
  G01AAF(N, FactorScores.data(), mean, deviation, skewness, kurtosis, smallest, largest, ifail);
}

}  // namespace

void CheckItemDeviations(const std::vector<double>& Deviations, int p) {
  for (int item = 0; item < p; ++item) {
    if (!(Deviations[item] > 0.0) || !std::isfinite(Deviations[item])) {
      ScoreFatalError("FATAL ERROR: Variable" + FormatI(item + 1, 4) + " has no variance;",
                      "its standard scores and the factor scores are not defined.");
    }
  }
}

void CheckUniqueVariances(const Matrix& R, int p, Model model) {
  if (model == Model::kComponents) {
    ScoreFatalError("FATAL ERROR: Bartlett scores need unique variances, and principal",
                    "components have none. Use >SCORE: REG for component scores.");
  }
  for (int item = 0; item < p; ++item) {
    if (1.0 - R(item, item) == 0.0) {
      ScoreFatalError("FATAL ERROR: Variable" + FormatI(item + 1, 4) +
                          " has a communality of 1 and no unique variance;",
                      "Bartlett scores are not defined for this solution.");
    }
  }
}

void StandardizeItems(const Matrix& ItemData,
                      const std::vector<double>& Means,
                      const std::vector<double>& Deviations,
                      int N,
                      int p,
                      Matrix& StandardScores) {
  StandardScores.Reset(N, p);
  for (int item = 0; item < p; ++item) {
    for (int subject = 0; subject < N; ++subject) {
      StandardScores(subject, item) = (ItemData(subject, item) - Means[item]) / Deviations[item];
    }
  }
}

int RegressionWeights(
    const Matrix& R, int p, int m, const Matrix& ScoreLoadings, Matrix& ScoreWeights) {
  Matrix H(p, p);
  const int inverse = InvertPositiveDefinite(R, p, H);
  // Column by column, adding the terms of each element in the order of k,
  // so that every weight is the plain sum of H(i,k) L(k,j) over k = 1..p.
  ScoreWeights.Reset(p, m);
  for (int factor = 0; factor < m; ++factor) {
    double* weights = ScoreWeights.Column(factor);
    for (int k = 0; k < p; ++k) {
      const double loading = ScoreLoadings(k, factor);
      const double* h = H.Column(k);
      for (int i = 0; i < p; ++i) weights[i] += h[i] * loading;
    }
  }
  return inverse;
}

int BartlettWeights(
    const std::vector<double>& u, int p, int m, const Matrix& ScoreLoadings, Matrix& ScoreWeights) {
  // A = L' diag(u), m by p.
  Matrix A(m, p);
  for (int item = 0; item < p; ++item) {
    for (int factor = 0; factor < m; ++factor) {
      A(factor, item) = ScoreLoadings(item, factor) * u[item];
    }
  }
  // K = A L, m by m.
  Matrix K(m, m);
  for (int col = 0; col < m; ++col) {
    for (int row = 0; row < m; ++row) {
      double sum = 0.0;
      for (int item = 0; item < p; ++item) sum += A(row, item) * ScoreLoadings(item, col);
      K(row, col) = sum;
    }
  }
  Matrix H(m, m);
  const int inverse = InvertPositiveDefinite(K, m, H);
  // G = H A, m by p; the weights are its transpose.
  ScoreWeights.Reset(p, m);
  for (int item = 0; item < p; ++item) {
    for (int factor = 0; factor < m; ++factor) {
      double sum = 0.0;
      for (int k = 0; k < m; ++k) sum += H(factor, k) * A(k, item);
      ScoreWeights(item, factor) = sum;
    }
  }
  return inverse;
}

void WeightScores(const Matrix& StandardScores,
                  const Matrix& ScoreWeights,
                  int N,
                  int p,
                  int m,
                  Matrix& FactorScores) {
  // Accumulated column by column in the order of the items, which gives each
  // score the plain sum of Z(s,k) W(k,j) over k = 1..p while walking the
  // columns of Z in storage order.
  FactorScores.Reset(N, m);
  for (int factor = 0; factor < m; ++factor) {
    double* scores = FactorScores.Column(factor);
    for (int item = 0; item < p; ++item) {
      const double weight = ScoreWeights(item, factor);
      const double* z = StandardScores.Column(item);
      for (int subject = 0; subject < N; ++subject) scores[subject] += z[subject] * weight;
    }
  }
}

void StandardizeScores(Matrix& FactorScores, int N, int m, std::vector<double>& deviations) {
  std::vector<double> means(m, 0.0);
  deviations.assign(m, 0.0);
  if (m == 1) {
    SingleColumnMoments(FactorScores, N, means[0], deviations[0]);
  } else if (m >= 2) {
    Matrix ssp(m, m);
    Matrix correlations(m, m);
    int ifail = kIfailHard;
    G02BAF(N, m, FactorScores, means, deviations, ssp, correlations, ifail);
  }
  for (int factor = 0; factor < m; ++factor) {
    const double d = deviations[factor];
    if (!(d > 0.0) || !std::isfinite(d) || !std::isfinite(means[factor])) {
      ScoreFatalError("FATAL ERROR: The score estimates of factor" + FormatI(factor + 1, 4) +
                          " cannot be standardized:",
                      "their standard deviation is 0 or not a number.");
    }
  }
  for (int factor = 0; factor < m; ++factor) {
    double* scores = FactorScores.Column(factor);
    for (int subject = 0; subject < N; ++subject) {
      scores[subject] = (scores[subject] - means[factor]) / deviations[factor];
    }
  }
}

std::vector<double> ScoreValidity(const Matrix& ScoreLoadings,
                                  const Matrix& ScoreWeights,
                                  const std::vector<double>& deviations,
                                  int p,
                                  int m) {
  std::vector<double> validity(m, 0.0);
  for (int factor = 0; factor < m; ++factor) {
    double diagonal = 0.0;
    for (int item = 0; item < p; ++item) {
      diagonal += ScoreLoadings(item, factor) * ScoreWeights(item, factor);
    }
    validity[factor] = diagonal / deviations[factor];
  }
  return validity;
}

}  // namespace vq
