// Cost of the extraction phase: a principal factor run with a fixed number
// of passes (each one partial eigen solution and a p by p by m product),
// with its report written to memory and its console captured.
#include <benchmark/benchmark.h>

#include <cmath>

#include "extraction/extraction.h"
#include "frame/console.h"
#include "kernels/failure.h"
#include "report/run_outputs.h"
#include "writers/extraction_writer.h"

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

ExtractionOptions Options(int m, int passes) {
  ExtractionOptions options;
  options.Method = ExtractionMethod::kPrincipalFactors;
  options.FactorCount = m;
  options.InitialCommunality = InitialCommunality::kSmc;
  options.CommunalityEpsilon = 0.0;
  options.CommunalityIterations = passes;
  return options;
}

void BM_PrincipalFactors(benchmark::State& state) {
  const int p = static_cast<int>(state.range(0));
  const int m = 5;
  const int passes = 10;
  const Matrix correlations = FactorMatrix(p, m);
  const ExtractionOptions options = Options(m, passes);
  const ExtractionWriteOptions write_options;
  ConsoleCapture capture;
  for (auto _ : state) {
    ResetImslState();
    OutputFile report;
    report.OpenInMemory(11);
    RunOutputs outputs(report, "", "bench.in");
    const ExtractionResult result = Extract(correlations, options, ConsoleProgress());
    WriteEigenvalueScreen(result.InitialEigenvalues, write_options, outputs);
    WriteModelFit(result, write_options, outputs);
    WriteUnrotatedResults(result, write_options, outputs);
    benchmark::DoNotOptimize(result.Loadings.values.data());
  }
  state.SetLabel("p=" + std::to_string(p) + " m=5, SMC + 10 passes");
}
BENCHMARK(BM_PrincipalFactors)->Arg(50)->Arg(100)->Arg(200)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace vq
