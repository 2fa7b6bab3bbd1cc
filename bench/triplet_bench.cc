// The triplet test: the cost of one triplet at N = 2000, of the whole test
// for p = 20 and p = 40 items at N = 2000 on 1 and 2 threads (wall time),
// and its behaviour, reported as counters:
//   BM_TripletBehaviour/0: 30 items from a true normal-ogive one-factor
//     model; the share of triplets at or above 6.635 should be near 1%.
//   BM_TripletBehaviour/1: the same items over a two-point (skewed mixture)
//     latent factor; the share should be many times higher.
// Run: build/bench/triplet_bench (or --benchmark_filter=Behaviour).
// The machine is shared: compare runs with --benchmark_repetitions or by
// instruction counts under callgrind.
#include <benchmark/benchmark.h>

#include "correlation/tetrachoric.h"
#include "correlation/triplet.h"
#include "data/simulation.h"
#include "frame/console.h"
#include "frame/progress.h"
#include "kernels/failure.h"
#include "kernels/parallel.h"

namespace {

// p dichotomous items with loadings from 0.4 to 0.8 and thresholds from -1
// to 1, and their tetrachoric matrix.
void Simulate(int p, int n, bool two_point, vq::Matrix& scores, vq::Matrix& r) {
  vq::ItemModel model = vq::SimpleStructureModel(p, 1, 0.6, {0.0});
  for (int item = 0; item < p; ++item) {
    model.loadings(item, 0) = 0.4 + 0.4 * item / (p - 1);
    model.thresholds[item] = {-1.0 + 2.0 * item / (p - 1)};
  }
  if (two_point) {
    model.latent = vq::LatentShape::kTwoPoint;
    model.upper_share = 0.15;
  }
  vq::SimulateItemScores(model, n, 77, scores);
  r = vq::EstimateTetrachorics(scores, n, p, {}, {}, vq::SilentProgress()).correlations;
}

// One triplet, the first three items (loadings .4 to .8 over p = 40).
void BM_OneTriplet(benchmark::State& state) {
  const int p = 40;
  const int n = 2000;
  vq::ConsoleCapture capture;
  vq::Matrix scores, r;
  Simulate(p, n, false, scores, r);
  vq::ResetImslState();
  for (auto _ : state) {
    const double statistic = vq::TripletTest(1,
                                             20,
                                             40,
                                             scores.Column(0),
                                             scores.Column(19),
                                             scores.Column(39),
                                             r(0, 19),
                                             r(0, 39),
                                             r(19, 39),
                                             n);
    benchmark::DoNotOptimize(statistic);
  }
  vq::ResetImslState();
}
BENCHMARK(BM_OneTriplet)->Unit(benchmark::kMicrosecond);

// The whole test: Args(p, threads).
void BM_TripletTest(benchmark::State& state) {
  const int p = static_cast<int>(state.range(0));
  const int n = 2000;
  vq::ConsoleCapture capture;
  vq::Matrix scores, r;
  Simulate(p, n, false, scores, r);
  vq::SetThreadCount(static_cast<int>(state.range(1)));
  for (auto _ : state) {
    vq::ResetImslState();
    const vq::TripletSummary summary = vq::TestAllTriplets(scores, n, p, r, vq::ConsoleProgress());
    benchmark::DoNotOptimize(summary.chi_squares.data());
  }
  vq::SetThreadCount(0);
  vq::ResetImslState();
  state.counters["triplets"] = static_cast<double>(vq::TripletCount(p));
}
BENCHMARK(BM_TripletTest)
    ->ArgNames({"p", "threads"})
    ->Args({20, 1})
    ->Args({20, 2})
    ->Args({40, 1})
    ->Args({40, 2})
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->Iterations(1);

void BM_TripletBehaviour(benchmark::State& state) {
  const bool two_point = state.range(0) == 1;
  const int p = 30;
  const int n = 2000;
  vq::ConsoleCapture capture;
  vq::Matrix scores, r;
  Simulate(p, n, two_point, scores, r);
  vq::TripletSummary summary;
  for (auto _ : state) {
    vq::ResetImslState();
    summary = vq::TestAllTriplets(scores, n, p, r, vq::ConsoleProgress());
  }
  vq::ResetImslState();
  double at_one_percent = 0, at_five_percent = 0, sum = 0;
  for (double statistic : summary.chi_squares) {
    at_one_percent += vq::TripletMark(statistic) == "**" ? 1 : 0;
    at_five_percent += vq::TripletMark(statistic) != "  " ? 1 : 0;
    sum += statistic;
  }
  const double count = static_cast<double>(summary.chi_squares.size());
  state.counters["share_at_6.635"] = at_one_percent / count;
  state.counters["share_at_3.841"] = at_five_percent / count;
  state.counters["mean_chi_square"] = sum / count;
}
BENCHMARK(BM_TripletBehaviour)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond)->Iterations(1);

}  // namespace
