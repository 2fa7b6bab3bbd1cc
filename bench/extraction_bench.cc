// Cost of the extraction phase: a principal factor run with a fixed number
// of passes (each one partial eigen solution and a p by p by m product),
// with its report written to memory and its console captured.
#include <benchmark/benchmark.h>

#include <cmath>

#include "extraction/extraction.h"
#include "frame/console.h"
#include "kernels/failure.h"
#include "text/edit_descriptors.h"

namespace vq {
namespace {

// A p by p correlation matrix of m factors with loadings that vary smoothly
// over the items, unit diagonal.
Matrix FactorMatrix(int p, int m) {
  Matrix loadings(p, m);
  for (int i = 0; i < p; ++i) {
    for (int k = 0; k < m; ++k) loadings(i, k) = 0.3 + 0.4 * std::fabs(std::sin(1.0 + i * (k + 1)));
  }
  Matrix r(p, p);
  for (int i = 0; i < p; ++i) {
    for (int j = 0; j < p; ++j) {
      double sum = 0.0;
      for (int k = 0; k < m; ++k) sum += loadings(i, k) * loadings(j, k);
      r(i, j) = i == j ? 1.0 : sum / m;
    }
  }
  return r;
}

RunOptions Options(int p, int m, int passes) {
  RunOptions options;
  options.VariableCount = p;
  options.FactorCount = m;
  options.Model = ParseModel("PFA");
  options.Print_Verbosity = ParseVerbosity("SHORT");
  options.LabelMode = ParseLabelMode("NOLABELS");
  options.Rotation = ParseRotation("VARIMAX");
  options.RotationName = PadRight("Varimax", kRotationNameWidth);
  options.ScoreMethod = ParseScoreMethod("NOSCORE");
  options.InitialCommunality = ParseInitialCommunality("SMC");
  options.CommunalityEpsilon = 0.0;
  options.CommunalityIterations = passes;
  return options;
}

void BM_PrincipalFactors(benchmark::State& state) {
  const int p = static_cast<int>(state.range(0));
  const int m = 5;
  const int passes = 10;
  const Matrix correlations = FactorMatrix(p, m);
  const RunOptions options = Options(p, m, passes);
  ConsoleCapture capture;
  for (auto _ : state) {
    ResetImslState();
    Matrix r = correlations;
    ExtractionResult result;
    OutputFile report;
    report.OpenInMemory(11);
    RunExtraction(options, r, result, report, "", "bench.in");
    benchmark::DoNotOptimize(result.Loadings.values.data());
  }
  state.SetLabel("p=" + std::to_string(p) + " m=5, SMC + 10 passes");
}
BENCHMARK(BM_PrincipalFactors)->Arg(50)->Arg(100)->Arg(200)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace vq
