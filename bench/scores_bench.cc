// Cost of the factor score estimators on a large sample: the regression and
// Bartlett methods for N subjects, p items and m factors, with the report
// held in memory and the console captured.
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

#include "frame/console.h"
#include "frame/output_file.h"
#include "kernels/matrix.h"
#include "scores/factor_scores.h"

namespace vq {
namespace {

struct Sample {
  Matrix items;
  std::vector<double> means;
  std::vector<double> deviations;
  Matrix r;
  Matrix loadings;
};

// Items from m uncorrelated factors with loadings 0.6 on their own factor
// and unique variances 0.64; R is the model's matrix with communalities on
// the diagonal, which is what the estimators receive after extraction.
Sample MakeSample(int N, int p, int m) {
  Sample sample;
  std::uint64_t state = 12345;
  auto uniform = [&state] {
    state = state * 6364136223846793005ULL + 1442695040888963407ULL;
    return static_cast<double>(state >> 11) * (1.0 / 9007199254740992.0);
  };
  sample.loadings.Reset(p, m);
  for (int i = 0; i < p; ++i) sample.loadings(i, i % m) = 0.6;
  sample.items.Reset(N, p);
  std::vector<double> factors(m);
  for (int s = 0; s < N; ++s) {
    for (double& f : factors) f = uniform() - 0.5;
    for (int i = 0; i < p; ++i) {
      sample.items(s, i) = 0.6 * factors[i % m] + 0.8 * (uniform() - 0.5);
    }
  }
  sample.means.assign(p, 0.0);
  sample.deviations.assign(p, 0.0);
  for (int i = 0; i < p; ++i) {
    for (int s = 0; s < N; ++s) sample.means[i] += sample.items(s, i) / N;
    for (int s = 0; s < N; ++s) {
      const double d = sample.items(s, i) - sample.means[i];
      sample.deviations[i] += d * d;
    }
    sample.deviations[i] = std::sqrt(sample.deviations[i] / (N - 1));
  }
  sample.r.Reset(p, p);
  for (int i = 0; i < p; ++i) {
    for (int j = 0; j < p; ++j) {
      sample.r(i, j) = (i % m == j % m) ? 0.36 : 0.0;
    }
  }
  return sample;
}

template <bool kBartlett>
void BM_Scores(benchmark::State& state) {
  const int N = static_cast<int>(state.range(0));
  const int p = static_cast<int>(state.range(1));
  const int m = static_cast<int>(state.range(2));
  const Sample sample = MakeSample(N, p, m);
  const std::string model = "PFA ";
  ConsoleCapture capture;
  for (auto _ : state) {
    Matrix r = sample.r;
    Matrix scores;
    OutputFile report;
    report.OpenInMemory(11);
    if (kBartlett) {
      BartlettScores(sample.items,
                     sample.means,
                     sample.deviations,
                     p,
                     N,
                     m,
                     r,
                     sample.loadings,
                     scores,
                     130,
                     model,
                     report);
    } else {
      RegressionScores(sample.items,
                       sample.means,
                       sample.deviations,
                       p,
                       N,
                       m,
                       r,
                       sample.loadings,
                       scores,
                       130,
                       model,
                       report);
    }
    benchmark::DoNotOptimize(scores.values.data());
  }
  state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(N));
}

BENCHMARK_TEMPLATE(BM_Scores, false)
    ->Args({10000, 50, 5})
    ->Args({100000, 100, 5})
    ->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(BM_Scores, true)
    ->Args({10000, 50, 5})
    ->Args({100000, 100, 5})
    ->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace vq
