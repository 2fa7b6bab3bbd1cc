// Costs of the report's layouts at the sizes a large run gives them: the
// correlation matrix table of many items, the score plots of many subjects,
// the residual tally of all pairs.
#include <benchmark/benchmark.h>

#include <string>
#include <vector>

#include "kernels/matrix.h"
#include "report/histogram.h"
#include "report/matrix_table.h"
#include "report/plots.h"

namespace vq {
namespace {

// Deterministic values in -1..1.
double Pseudo(unsigned& state) {
  state = state * 1664525u + 1013904223u;
  return (state >> 8) / 8388608.0 - 1.0;
}

void BM_CorrelationTable(benchmark::State& state) {
  const int p = static_cast<int>(state.range(0));
  Matrix r(p, p);
  unsigned seed = 7;
  for (double& value : r.values) value = Pseudo(seed);
  std::vector<std::string> labels(p, "ITEM_LABEL_0001");
  for (auto _ : state) {
    OutputFile out;
    out.OpenInMemory(11);
    int ifail = 0;
    X04CBF('G',
           'N',
           p,
           p,
           r.data(),
           p,
           "F15.3",
           "CORRELATION MATRIX",
           'C',
           &labels,
           'C',
           &labels,
           110,
           0,
           ifail,
           out);
    benchmark::DoNotOptimize(out.Text().size());
  }
  state.SetItemsProcessed(state.iterations() * p * p);
}
BENCHMARK(BM_CorrelationTable)->Arg(100)->Arg(500);

void BM_ScorePlots(benchmark::State& state) {
  const int n = static_cast<int>(state.range(0));
  Matrix scores(n, 3);
  unsigned seed = 11;
  for (double& value : scores.values) value = 3.5 * Pseudo(seed);
  for (auto _ : state) {
    OutputFile out;
    out.OpenInMemory(11);
    FactorScorePlots(scores, n, 3, out);
    benchmark::DoNotOptimize(out.Text().size());
  }
  state.SetItemsProcessed(state.iterations() * n * 3);
}
BENCHMARK(BM_ScorePlots)->Arg(1000)->Arg(100000);

void BM_ResidualTally(benchmark::State& state) {
  const int p = static_cast<int>(state.range(0));
  const int k = p * (p - 1) / 2;
  std::vector<double> residuals(k);
  unsigned seed = 3;
  for (double& value : residuals) value = 0.2 * Pseudo(seed);
  const double low = static_cast<float>(-0.975);
  const double high = static_cast<float>(0.975);
  std::vector<double> div;
  std::vector<double> table;
  for (auto _ : state) {
    DOWFRQ(k, residuals.data(), 41, 1, low, high, div, table);
    benchmark::DoNotOptimize(table.data());
  }
  state.SetItemsProcessed(state.iterations() * k);
}
BENCHMARK(BM_ResidualTally)->Arg(100)->Arg(1000);

}  // namespace
}  // namespace vq
