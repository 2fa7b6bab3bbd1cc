// The building blocks of factor score estimation from raw item scores, by
// the regression method and the Bartlett method (scores/score_phase.h puts
// them together).
//
// Both estimators work on the items standardised by the means and standard
// deviations of the correlation step, weight them with a p by m matrix that
// follows from the chosen loadings, and standardise the resulting scores to
// mean 0 and standard deviation 1 (divisor N - 1). The blocks are public so
// that tests can check the weights against their defining identities.
//
// Matrices are `Matrix` (stored by columns). p items, m factors, N subjects.
// A fatal condition of the data (an item without variance, no unique
// variance under Bartlett, scores that cannot be standardised) prints
// "FATAL ERROR: ..." on the console and ends the run with the plain stop.
#ifndef VELQUORIN_SCORES_FACTOR_SCORES_H_
#define VELQUORIN_SCORES_FACTOR_SCORES_H_

#include <string>
#include <vector>

#include "kernels/matrix.h"
#include "options/run_options.h"

namespace vq {

// --- Checks run before anything is estimated or written --------------------

// Stops the run (message, plain stop) when an item has `Deviations`(j) not
// above 0: its standard scores would be undefined.
void CheckItemDeviations(const std::vector<double>& Deviations, int p);

// Stops the run when the Bartlett method has no unique variance to work
// with: under components ("PCA"), or where 1 - R(i,i) is exactly 0. `R` is read.
void CheckUniqueVariances(const Matrix& R, int p, Model model);

// --- Building blocks ---------------------------------------------------------

// Z(s,j) = (ItemData(s,j) - Means(j)) / Deviations(j); `StandardScores` is
// reset to N by p.
void StandardizeItems(const Matrix& ItemData,
                      const std::vector<double>& Means,
                      const std::vector<double>& Deviations,
                      int N,
                      int p,
                      Matrix& StandardScores);

// Regression weights: inverse of `R` (p by p, unit diagonal) times
// `ScoreLoadings` (p by m). `ScoreWeights` is reset to p by m. An R that is
// not positive definite is reported by InvertPositiveDefinite and the
// weights are what its stand-in inverse gives; returns what
// InvertPositiveDefinite returned (0 for the true inverse).
int RegressionWeights(
    const Matrix& R, int p, int m, const Matrix& ScoreLoadings, Matrix& ScoreWeights);

// Bartlett weights: with A = L' diag(u) (m by p) and K = A L, the weights
// are the transpose of K^-1 A. `u` holds the p inverse unique variances.
// `ScoreWeights` is reset to p by m. A K that is not positive definite (a
// communality above 1 makes its u negative) is handled and reported as in
// RegressionWeights, with the same return.
int BartlettWeights(
    const std::vector<double>& u, int p, int m, const Matrix& ScoreLoadings, Matrix& ScoreWeights);

// `FactorScores` (reset to N by m) = StandardScores (N by p) x ScoreWeights
// (p by m), each element summed over the items in item order.
void WeightScores(const Matrix& StandardScores,
                  const Matrix& ScoreWeights,
                  int N,
                  int p,
                  int m,
                  Matrix& FactorScores);

// Mean and standard deviation (divisor N - 1) of each column of the N by m
// scores: G02BAF for m of 2 or more, G01AAF for m = 1, both as hard
// failures (N below 2 stops the run). Then each column is standardised in
// place. `deviations` gets d(j), the standard deviations before that. Stops
// the run when a d(j) is 0 or not finite.
void StandardizeScores(Matrix& FactorScores, int N, int m, std::vector<double>& deviations);

// ScoreValidity(j) = (ScoreLoadings' x ScoreWeights)(j,j) / deviations(j).
std::vector<double> ScoreValidity(const Matrix& ScoreLoadings,
                                  const Matrix& ScoreWeights,
                                  const std::vector<double>& deviations,
                                  int p,
                                  int m);

}  // namespace vq

#endif  // VELQUORIN_SCORES_FACTOR_SCORES_H_
