#include "scores/factor_scores.h"

#include <cmath>
#include <string>
#include <vector>

#include "frame/console.h"
#include "kernels/failure.h"
#include "kernels/moments.h"
#include "kernels/pd_inverse.h"
#include "kernels/pearson.h"
#include "options/run_options.h"
#include "report/matrix_table.h"
#include "scores/score_messages.h"
#include "text/edit_descriptors.h"

namespace vq {
namespace {

constexpr char kWeightsTitle[] = "Standardized regression weights for estimating the factors";
constexpr char kValidityTitle[] = "Correlations of Factors with Factor Score Estimates";
constexpr char kBartlettLine[] = "Bartlett method, Maximum Likelihood, and Weighted Least Squares";

// The progress line names components for "PCA" and factors for "PFA"; other
// model words have no line of their own.
void ShowProgressLine(Model model) {
  if (model == Model::kPrincipalFactors) {
    ConsoleLine(30, "Computing factor scores");
    ConsoleEmptyLines(1);
  } else if (model == Model::kComponents) {
    ConsoleLine(30, "Computing component scores");
    ConsoleEmptyLines(1);
  }
}

// The weights table: p rows with row numbers under every label mode, since
// the weights stand in item order even when the loading tables were sorted.
void PrintWeights(const Matrix& ScoreWeights, int p, int m, int PageWidth, OutputFile& report) {
  int ifail = kIfailHard;
  X04CBF('G',
         'N',
         p,
         m,
         ScoreWeights.data(),
         p > 0 ? p : 1,
         "F8.3",
         kWeightsTitle,
         'I',
         nullptr,
         'I',
         nullptr,
         PageWidth,
         0,
         ifail,
         report);
}

// The validity row carries one blank row label, which moves its fields one
// position to the right of a table without row labels.
void PrintValidity(const std::vector<double>& validity, int m, int PageWidth, OutputFile& report) {
  const std::vector<std::string> blank_label(1, std::string(15, ' '));
  int ifail = kIfailHard;
  X04CBF('G',
         'N',
         1,
         m,
         validity.data(),
         1,
         "F8.3",
         kValidityTitle,
         'C',
         &blank_label,
         'I',
         nullptr,
         PageWidth,
         0,
         ifail,
         report);
}

// What both estimators do once the raw scores stand in `FactorScores`: the
// weights table, standardisation of the scores, the validity row.
void FinishScores(const Matrix& ScoreLoadings,
                  const Matrix& ScoreWeights,
                  int p,
                  int N,
                  int m,
                  Matrix& FactorScores,
                  int PageWidth,
                  OutputFile& report) {
  PrintWeights(ScoreWeights, p, m, PageWidth, report);
  std::vector<double> deviations;
  StandardizeScores(FactorScores, N, m, deviations);
  const std::vector<double> validity = ScoreValidity(ScoreLoadings, ScoreWeights, deviations, p, m);
  report.EmptyLines(2);
  PrintValidity(validity, m, PageWidth, report);
}

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

void RegressionWeights(
    const Matrix& R, int p, int m, const Matrix& ScoreLoadings, Matrix& ScoreWeights) {
  Matrix H(p, p);
  InvertPositiveDefinite(R, p, H);
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
}

void BartlettWeights(
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
  InvertPositiveDefinite(K, m, H);
  // G = H A, m by p; the weights are its transpose.
  ScoreWeights.Reset(p, m);
  for (int item = 0; item < p; ++item) {
    for (int factor = 0; factor < m; ++factor) {
      double sum = 0.0;
      for (int k = 0; k < m; ++k) sum += H(factor, k) * A(k, item);
      ScoreWeights(item, factor) = sum;
    }
  }
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

void RegressionScores(const Matrix& ItemData,
                      const std::vector<double>& Means,
                      const std::vector<double>& Deviations,
                      int p,
                      int N,
                      int m,
                      Matrix& R,
                      const Matrix& ScoreLoadings,
                      Matrix& FactorScores,
                      int PageWidth,
                      Model model,
                      OutputFile& report) {
  CheckItemDeviations(Deviations, p);
  ShowProgressLine(model);
  for (int item = 0; item < p; ++item) R(item, item) = 1.0;

  Matrix StandardScores;
  StandardizeItems(ItemData, Means, Deviations, N, p, StandardScores);
  Matrix ScoreWeights;
  RegressionWeights(R, p, m, ScoreLoadings, ScoreWeights);
  WeightScores(StandardScores, ScoreWeights, N, p, m, FactorScores);

  report.EmptyLines(2);
  FinishScores(ScoreLoadings, ScoreWeights, p, N, m, FactorScores, PageWidth, report);
}

void BartlettScores(const Matrix& ItemData,
                    const std::vector<double>& Means,
                    const std::vector<double>& Deviations,
                    int p,
                    int N,
                    int m,
                    Matrix& R,
                    const Matrix& ScoreLoadings,
                    Matrix& FactorScores,
                    int PageWidth,
                    Model model,
                    OutputFile& report) {
  CheckItemDeviations(Deviations, p);
  CheckUniqueVariances(R, p, model);
  ShowProgressLine(model);
  // u holds the inverse unique variances of the final solution.
  std::vector<double> u(p, 0.0);
  for (int item = 0; item < p; ++item) {
    u[item] = 1.0 / (1.0 - R(item, item));
    R(item, item) = 1.0;
  }

  Matrix StandardScores;
  StandardizeItems(ItemData, Means, Deviations, N, p, StandardScores);
  Matrix ScoreWeights;
  BartlettWeights(u, p, m, ScoreLoadings, ScoreWeights);
  WeightScores(StandardScores, ScoreWeights, N, p, m, FactorScores);

  report.EmptyLines(2);
  report.Write(kBartlettLine);
  report.EmptyLines(2);
  FinishScores(ScoreLoadings, ScoreWeights, p, N, m, FactorScores, PageWidth, report);
}

}  // namespace vq
