// Cost of the factor score estimators on a large sample: the regression and
// Bartlett methods for N subjects, p items and m factors, without progress
// lines.
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

#include "frame/progress.h"
#include "kernels/matrix.h"
#include "scores/score_phase.h"

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
  const std::vector<double> ids(N, 1.0);
  ScoreOptions options;
  options.estimate = true;
  options.method = kBartlett ? ScoreMethod::kBartlett : ScoreMethod::kRegression;
  options.model = Model::kPrincipalFactors;
  options.variable_count = p;
  options.subject_count = N;
  options.factor_count = m;
  const ScoreData data{sample.items, ids, sample.means, sample.deviations, sample.r};
  const ScoreLoadingChoice choice = ChooseScoreLoadings(options, sample.loadings, RotationResult());
  for (auto _ : state) {
    ScoreResult result;
    EstimateScores(data, choice, options, SilentProgress(), result);
    benchmark::DoNotOptimize(result.scores.values.data());
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
