// Parallel analysis (Horn, 1965) by permutation: how many eigenvalues of the
// observed correlation matrix stand above those of data in which the items
// are unrelated but keep their own score distributions.
//
// Each permuted data set shuffles every item's column of the N x p scores on
// its own, which breaks the relations between items while keeping each
// item's categories and their proportions; the run's own correlation
// estimator is applied to it, so tetrachoric and polychoric matrices are
// compared with matrices of their own kind. Per data set two spectra are
// kept: of the full matrix (components) and of the matrix reduced by
// squared multiple correlations on the diagonal (factors). Per position the
// report gives the observed value, the mean over the data sets and their
// 95th percentile; the suggested count is the number of leading positions
// whose observed value exceeds the percentile.
//
// Data set k draws from its own generator, std::mt19937_64 seeded with a
// SplitMix64 mix of the seed and k, and shuffles by a Fisher-Yates pass with
// an index mapping written here (the standard library's distributions and
// std::shuffle differ between library vendors). The data sets are spread
// over threads, each writing only its own slot; means and percentiles are
// then formed in data set order. The result is therefore the same for any
// thread count and on any machine.
#ifndef VELQUORIN_AIDS_PARALLEL_ANALYSIS_H_
#define VELQUORIN_AIDS_PARALLEL_ANALYSIS_H_

#include <cstdint>
#include <functional>
#include <random>
#include <vector>

#include "kernels/matrix.h"

namespace vq {

// The run's correlation estimator: p by p correlations (unit diagonal) of
// the columns of an N x p score matrix. It is called from several threads at
// once and must be a pure function of its argument; one that spreads its
// own work over threads should run serially here, where the data sets are
// already spread. It may throw to stop the analysis.
using CorrelationFunction = std::function<Matrix(const Matrix& data)>;

// Called on the calling thread with the number of data sets finished so far
// (ending with the total), for a progress line. May be empty.
using ParallelAnalysisProgress = std::function<void(int done)>;

struct ParallelAnalysisOptions {
  int data_sets = 100;
  std::uint64_t seed = 0;
  // Data sets worked on at once (at least 1; the calling thread is one).
  int threads = 1;
  // Level of the percentile line, in (0, 1).
  double percentile = 0.95;
};

// One line of the scree: values by position 1..p (index 0..p-1).
struct EigenvalueLines {
  std::vector<double> observed;
  std::vector<double> mean;
  std::vector<double> percentile;
  // Leading positions whose observed value exceeds the percentile value.
  int suggested = 0;
};

struct ParallelAnalysisResult {
  int variables = 0;
  int observations = 0;
  int data_sets = 0;
  std::uint64_t seed = 0;
  double percentile = 0.95;
  EigenvalueLines components;  // full correlation matrix
  EigenvalueLines factors;     // SMC-reduced correlation matrix
};

// The generator of data set `index` under `seed`.
std::mt19937_64 DataSetGenerator(std::uint64_t seed, int index);

// A uniform integer in [0, bound] (bound >= 0) from `generator`, by
// rejection of the top partial range of 64-bit draws: exact and the same
// with every standard library.
std::uint64_t UniformIndex(std::mt19937_64& generator, std::uint64_t bound);

// Shuffles each column of `data` independently in place, columns in order,
// by Fisher-Yates from the last row down.
void PermuteColumns(Matrix& data, std::mt19937_64& generator);

// Ipsatizes each row of `data` (N x p) in place, as the run ipsatizes its
// scores: the row's mean taken off and the rest divided by the row's
// standard deviation (divisor p - 1). A row without variance is only
// centred. Permuting ipsatized columns breaks their sum to zero, so that the
// permuted data sets of an ipsatized run are ipsatized again: their
// correlation matrices are then singular like the observed one.
void IpsatizeRows(Matrix& data);

// The quantile of `values` at `level` by linear interpolation between order
// statistics, x[lo] + h (x[hi] - x[lo]) with position 1 + (n - 1) level:
// Hyndman and Fan's definition 7, the default of R's quantile(). `values`
// is sorted in place. NaN when empty.
double QuantileType7(std::vector<double>& values, double level);

// Leading positions where observed[k] > threshold[k]; all of them when every
// one exceeds.
int LeadingCountAbove(const std::vector<double>& observed, const std::vector<double>& threshold);

// Parallel analysis of `data` (N x p item scores, column-major, not changed)
// against the observed correlation matrix `observed` (p x p, the run's
// matrix). Throws std::invalid_argument for bad sizes or options, and
// std::runtime_error when an eigensolution fails or the estimator gives a
// matrix of the wrong size or with a value that is not finite (naming the
// first such data set); an exception of the estimator is passed on, the one
// of the earliest data set when several fail.
ParallelAnalysisResult RunParallelAnalysis(const Matrix& data,
                                           const Matrix& observed,
                                           const CorrelationFunction& correlations,
                                           const ParallelAnalysisOptions& options,
                                           const ParallelAnalysisProgress& progress = {});

}  // namespace vq

#endif  // VELQUORIN_AIDS_PARALLEL_ANALYSIS_H_
