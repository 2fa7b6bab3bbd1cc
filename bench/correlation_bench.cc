// Cost of the pairwise correlation estimators on simulated items: the
// polychoric matrix of 50 five-category items and the tetrachoric matrix of
// 100 dichotomous items, each over 10,000 subjects.
#include <benchmark/benchmark.h>

#include "correlation/polychoric.h"
#include "correlation/tetrachoric.h"
#include "data/simulation.h"
#include "frame/console.h"

namespace {

vq::Matrix Items(int p, int n, const std::vector<double>& thresholds) {
  vq::ItemModel model = vq::SimpleStructureModel(p, 2, 0.6, thresholds);
  vq::Matrix scores;
  vq::SimulateItemScores(model, n, 31, scores);
  return scores;
}

void BM_PolychoricMatrix(benchmark::State& state) {
  const int p = 50;
  const int n = 10000;
  const vq::Matrix scores = Items(p, n, {-1.5, -0.5, 0.5, 1.5});
  vq::ConsoleCapture capture;  // the progress line is not what is measured
  for (auto _ : state) {
    vq::Matrix r;
    vq::OutputFile report;
    report.OpenInMemory(11);
    vq::ComputePolychorics(scores, n, p, r, report);
    benchmark::DoNotOptimize(r.values.data());
  }
  state.counters["pairs"] = p * (p - 1) / 2;
}
BENCHMARK(BM_PolychoricMatrix)->Unit(benchmark::kMillisecond)->Iterations(3);

void BM_TetrachoricMatrix(benchmark::State& state) {
  const int p = 100;
  const int n = 10000;
  const vq::Matrix scores = Items(p, n, {0.3});
  vq::ConsoleCapture capture;
  for (auto _ : state) {
    vq::Matrix r;
    vq::OutputFile report;
    report.OpenInMemory(11);
    vq::TetrachoricFiles files;
    files.frq.OpenInMemory(23);
    files.dff.OpenInMemory(25);
    files.ser.OpenInMemory(24);
    vq::ComputeTetrachorics(scores, n, p, r, report, files, "bench", "", 0, {});
    benchmark::DoNotOptimize(r.values.data());
  }
  state.counters["pairs"] = p * (p - 1) / 2;
}
BENCHMARK(BM_TetrachoricMatrix)->Unit(benchmark::kMillisecond)->Iterations(3);

}  // namespace
