#include "aids/parallel_analysis.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <exception>
#include <limits>
#include <stdexcept>
#include <string>
#include <thread>

#include "aids/reduced_eigenvalues.h"

namespace vq {
namespace {

std::uint64_t SplitMix64(std::uint64_t x) {
  x += 0x9E3779B97F4A7C15ULL;
  x = (x ^ (x >> 30)) * 0xBF58476D1CE4E5B9ULL;
  x = (x ^ (x >> 27)) * 0x94D049BB133111EBULL;
  return x ^ (x >> 31);
}

// The two spectra of one correlation matrix: full, then SMC-reduced.
struct Spectra {
  std::vector<double> components;
  std::vector<double> factors;
};

bool SpectraOf(const Matrix& r, Spectra& spectra) {
  SymmetricSpectrum full;
  SymmetricSpectrum reduced;
  const std::vector<double> smc = SquaredMultipleCorrelations(r);
  if (smc.empty() || !DecreasingSpectrum(r, false, full) ||
      !DecreasingSpectrum(WithDiagonal(r, smc), false, reduced)) {
    return false;
  }
  spectra.components = std::move(full.values);
  spectra.factors = std::move(reduced.values);
  return true;
}

bool IsFiniteSquare(const Matrix& r, int p) {
  return r.rows == p && r.cols == p &&
         std::all_of(r.values.begin(), r.values.end(), [](double v) { return std::isfinite(v); });
}

// Mean and percentile per position over the data sets, in data set order.
void Summarise(const std::vector<std::vector<double>>& replicates,
               int p,
               double level,
               EigenvalueLines& lines) {
  lines.mean.assign(p, 0.0);
  lines.percentile.assign(p, 0.0);
  std::vector<double> column(replicates.size());
  for (int position = 0; position < p; ++position) {
    double sum = 0.0;
    for (std::size_t set = 0; set < replicates.size(); ++set) {
      column[set] = replicates[set][position];
      sum += column[set];
    }
    lines.mean[position] = sum / static_cast<double>(replicates.size());
    lines.percentile[position] = QuantileType7(column, level);
  }
  lines.suggested = LeadingCountAbove(lines.observed, lines.percentile);
}

}  // namespace

std::mt19937_64 DataSetGenerator(std::uint64_t seed, int index) {
  return std::mt19937_64(SplitMix64(SplitMix64(seed) + static_cast<std::uint64_t>(index)));
}

std::uint64_t UniformIndex(std::mt19937_64& generator, std::uint64_t bound) {
  const std::uint64_t range = bound + 1;
  if (range == 0) return generator();
  // 2^64 mod range: draws below it would make the low residues more likely.
  const std::uint64_t threshold = (0 - range) % range;
  std::uint64_t draw = generator();
  while (draw < threshold) draw = generator();
  return draw % range;
}

void PermuteColumns(Matrix& data, std::mt19937_64& generator) {
  for (int col = 0; col < data.cols; ++col) {
    double* column = data.Column(col);
    for (int row = data.rows - 1; row > 0; --row) {
      const auto other = static_cast<int>(UniformIndex(generator, static_cast<std::uint64_t>(row)));
      std::swap(column[row], column[other]);
    }
  }
}

void IpsatizeRows(Matrix& data) {
  const int p = data.cols;
  if (p < 1) return;
  for (int row = 0; row < data.rows; ++row) {
    double sum = 0.0;
    for (int col = 0; col < p; ++col) sum += data(row, col);
    const double mean = sum / p;
    double squares = 0.0;
    for (int col = 0; col < p; ++col) squares += (data(row, col) - mean) * (data(row, col) - mean);
    const double deviation = p > 1 ? std::sqrt(squares / (p - 1)) : 0.0;
    for (int col = 0; col < p; ++col) {
      data(row, col) =
          deviation > 0.0 ? (data(row, col) - mean) / deviation : data(row, col) - mean;
    }
  }
}

double QuantileType7(std::vector<double>& values, double level) {
  if (values.empty()) return std::numeric_limits<double>::quiet_NaN();
  std::sort(values.begin(), values.end());
  const double index = 1.0 + static_cast<double>(values.size() - 1) * level;
  const double lo = std::floor(index);
  const double hi = std::ceil(index);
  const double low_value = values[static_cast<std::size_t>(lo) - 1];
  const double high_value = values[static_cast<std::size_t>(hi) - 1];
  if (!(index > lo) || high_value == low_value) return low_value;
  const double h = index - lo;
  return (1.0 - h) * low_value + h * high_value;
}

int LeadingCountAbove(const std::vector<double>& observed, const std::vector<double>& threshold) {
  const std::size_t count = std::min(observed.size(), threshold.size());
  std::size_t leading = 0;
  while (leading < count && observed[leading] > threshold[leading]) ++leading;
  return static_cast<int>(leading);
}

ParallelAnalysisResult RunParallelAnalysis(const Matrix& data,
                                           const Matrix& observed,
                                           const CorrelationFunction& correlations,
                                           const ParallelAnalysisOptions& options,
                                           const ParallelAnalysisProgress& progress) {
  const int p = data.cols;
  if (p < 2 || data.rows < 2 || observed.rows != p || observed.cols != p) {
    throw std::invalid_argument("parallel analysis needs at least 2 subjects and 2 items, and an " +
                                std::to_string(p) + " by " + std::to_string(p) +
                                " observed correlation matrix");
  }
  if (options.data_sets < 1 || options.threads < 1 || !(options.percentile > 0.0) ||
      !(options.percentile < 1.0)) {
    throw std::invalid_argument(
        "parallel analysis needs at least one data set, one thread and a percentile in (0, 1)");
  }

  ParallelAnalysisResult result;
  result.variables = p;
  result.observations = data.rows;
  result.data_sets = options.data_sets;
  result.seed = options.seed;
  result.percentile = options.percentile;
  Spectra observed_spectra;
  if (!IsFiniteSquare(observed, p) || !SpectraOf(observed, observed_spectra)) {
    throw std::runtime_error(
        "parallel analysis: the eigenvalues of the observed correlation matrix cannot be found");
  }
  result.components.observed = observed_spectra.components;
  result.factors.observed = observed_spectra.factors;

  // Each data set fills its own slot; a failure is kept with its data set
  // so that the earliest one is reported, whichever thread met it.
  const int sets = options.data_sets;
  std::vector<Spectra> replicates(sets);
  std::vector<std::exception_ptr> errors(sets);
  std::atomic<int> next{0};
  std::atomic<int> done{0};
  std::atomic<bool> failed{false};
  auto work = [&](bool caller) {
    Matrix permuted;
    while (!failed.load(std::memory_order_relaxed)) {
      const int set = next.fetch_add(1);
      if (set >= sets) break;
      try {
        permuted = data;
        std::mt19937_64 generator = DataSetGenerator(options.seed, set);
        PermuteColumns(permuted, generator);
        const Matrix r = correlations(permuted);
        if (!IsFiniteSquare(r, p)) {
          throw std::runtime_error("parallel analysis: the correlations of permuted data set " +
                                   std::to_string(set + 1) + " are not a finite " +
                                   std::to_string(p) + " by " + std::to_string(p) + " matrix");
        }
        if (!SpectraOf(r, replicates[set])) {
          throw std::runtime_error("parallel analysis: the eigenvalues of permuted data set " +
                                   std::to_string(set + 1) + " cannot be found");
        }
      } catch (...) {
        errors[set] = std::current_exception();
        failed.store(true);
        break;
      }
      const int finished = done.fetch_add(1) + 1;
      if (caller && progress) progress(finished);
    }
  };
  const int threads = std::min(options.threads, sets);
  std::vector<std::thread> helpers;
  helpers.reserve(threads - 1);
  for (int thread = 1; thread < threads; ++thread) helpers.emplace_back(work, false);
  work(true);
  for (std::thread& helper : helpers) helper.join();
  for (const std::exception_ptr& error : errors) {
    if (error) std::rethrow_exception(error);
  }
  if (progress) progress(sets);

  std::vector<std::vector<double>> components(sets);
  std::vector<std::vector<double>> factors(sets);
  for (int set = 0; set < sets; ++set) {
    components[set] = std::move(replicates[set].components);
    factors[set] = std::move(replicates[set].factors);
  }
  Summarise(components, p, options.percentile, result.components);
  Summarise(factors, p, options.percentile, result.factors);
  return result;
}

}  // namespace vq
