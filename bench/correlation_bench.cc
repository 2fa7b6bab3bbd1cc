// Cost of the pairwise correlation estimators on simulated items: one
// polychoric pair of 5 x 5 categories over 10,000 subjects, the polychoric
// matrix of 50 five-category items and the tetrachoric matrix of 100
// dichotomous items, each over 10,000 subjects, on 1 and 2 threads.
//
// With `--profile RUN.in [--threads N] [--seed N]` the program runs no
// benchmark: it makes the run of the command file phase by phase and prints
// the time of each phase (run_profile.h).
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include "correlation/polychoric.h"
#include "correlation/tetrachoric.h"
#include "data/simulation.h"
#include "frame/console.h"
#include "frame/progress.h"
#include "kernels/failure.h"
#include "kernels/parallel.h"
#include "report/run_outputs.h"
#include "run_profile.h"
#include "writers/correlation_writer.h"

namespace {

vq::Matrix Items(int p, int n, const std::vector<double>& thresholds) {
  vq::ItemModel model = vq::SimpleStructureModel(p, 2, 0.6, thresholds);
  vq::Matrix scores;
  vq::SimulateItemScores(model, n, 31, scores);
  return scores;
}

// The same pair as the matrix works it: the table from the bit columns,
// then the search.
void BM_PolychoricPairFromBitColumns(benchmark::State& state) {
  const int n = 10000;
  const vq::Matrix scores = Items(2, n, {-1.5, -0.5, 0.5, 1.5});
  vq::PolychoricCategories categories;
  vq::FindPolychoricCategories(scores, n, 2, categories);
  for (auto _ : state) {
    vq::PolychoricTable table;
    vq::CountPolychoricTable(categories, 1, 0, table);
    const vq::PolychoricEstimate estimate =
        vq::SearchPolychoricPair(table,
                                 categories.category_count[1],
                                 categories.category_count[0],
                                 categories.thresholds.Column(1),
                                 categories.thresholds.Column(0),
                                 vq::kIfailQuiet);
    benchmark::DoNotOptimize(estimate.r);
  }
}
BENCHMARK(BM_PolychoricPairFromBitColumns)->Unit(benchmark::kMicrosecond);

// Only the table of the pair, from the bit columns.
void BM_PolychoricPairTable(benchmark::State& state) {
  const int n = 10000;
  const vq::Matrix scores = Items(2, n, {-1.5, -0.5, 0.5, 1.5});
  vq::PolychoricCategories categories;
  vq::FindPolychoricCategories(scores, n, 2, categories);
  for (auto _ : state) {
    vq::PolychoricTable table;
    vq::CountPolychoricTable(categories, 1, 0, table);
    benchmark::DoNotOptimize(table.counts[1][1]);
  }
}
BENCHMARK(BM_PolychoricPairTable)->Unit(benchmark::kMicrosecond);

// Categories, codes, bit columns and thresholds of 100 items over 100,000
// subjects: the step ahead of the pairs, which grows with n times p.
void BM_PolychoricCategories(benchmark::State& state) {
  const int p = 100;
  const int n = 100000;
  const vq::Matrix scores = Items(p, n, {-1.5, -0.5, 0.5, 1.5});
  vq::SetThreadCount(static_cast<int>(state.range(0)));
  for (auto _ : state) {
    vq::PolychoricCategories categories;
    vq::FindPolychoricCategories(scores, n, p, categories);
    benchmark::DoNotOptimize(categories.bits.data());
  }
  vq::SetThreadCount(0);
}
BENCHMARK(BM_PolychoricCategories)
    ->ArgName("threads")
    ->Arg(1)
    ->Arg(2)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

void BM_PolychoricMatrix(benchmark::State& state) {
  const int p = 50;
  const int n = 10000;
  const vq::Matrix scores = Items(p, n, {-1.5, -0.5, 0.5, 1.5});
  vq::SetThreadCount(static_cast<int>(state.range(0)));
  vq::ConsoleCapture capture;  // the progress line is not what is measured
  for (auto _ : state) {
    const vq::PolychoricResult result =
        vq::EstimatePolychorics(scores, n, p, {}, vq::ConsoleProgress());
    benchmark::DoNotOptimize(result.correlations.values.data());
  }
  vq::SetThreadCount(0);
  state.counters["pairs"] = p * (p - 1) / 2;
}
BENCHMARK(BM_PolychoricMatrix)
    ->ArgName("threads")
    ->Arg(1)
    ->Arg(2)
    ->Unit(benchmark::kMillisecond)
    ->Iterations(3)
    ->UseRealTime();

void BM_TetrachoricMatrix(benchmark::State& state) {
  const int p = 100;
  const int n = 10000;
  const vq::Matrix scores = Items(p, n, {0.3});
  vq::SetThreadCount(static_cast<int>(state.range(0)));
  vq::ConsoleCapture capture;
  for (auto _ : state) {
    // The estimate and its files, as a run makes them.
    vq::OutputFile report;
    report.OpenInMemory(11);
    vq::RunOutputs outputs(report, "", "bench");
    vq::TetrachoricFiles files;
    files.frq.OpenInMemory(23);
    files.dff.OpenInMemory(25);
    files.ser.OpenInMemory(24);
    vq::BeginFrequencyFile(files, outputs);
    const vq::TetrachoricResult result =
        vq::EstimateTetrachorics(scores, n, p, {}, {}, vq::ConsoleProgress());
    vq::WriteItemProportions(result.items, files, outputs);
    vq::WriteFallBackWarnings(result, outputs);
    vq::WriteTetrachoricTables(result, files, outputs, vq::ConsoleProgress());
    benchmark::DoNotOptimize(result.correlations.values.data());
  }
  vq::SetThreadCount(0);
  state.counters["pairs"] = p * (p - 1) / 2;
}
BENCHMARK(BM_TetrachoricMatrix)
    ->ArgName("threads")
    ->Arg(1)
    ->Arg(2)
    ->Unit(benchmark::kMillisecond)
    ->Iterations(3)
    ->UseRealTime();

}  // namespace

// The profile's options, when the first argument asks for it: true with
// `request` filled; false for a benchmark run.
bool ProfileArguments(int argc, char** argv, vq::ProfileRequest& request, bool& bad) {
  bad = false;
  bool asked = false;
  for (int k = 1; k < argc; ++k) {
    const std::string_view argument = argv[k];
    auto value = [&](std::string_view name, std::string& out) {
      if (argument.substr(0, name.size() + 1) == std::string(name) + "=") {
        out = std::string(argument.substr(name.size() + 1));
        return true;
      }
      if (argument == name && k + 1 < argc) {
        out = argv[++k];
        return true;
      }
      return false;
    };
    std::string text;
    if (value("--profile", text)) {
      request.command_file = text;
      asked = true;
    } else if (value("--threads", text)) {
      request.threads = std::atoi(text.c_str());
    } else if (value("--seed", text)) {
      request.has_seed = true;
      request.seed = std::atol(text.c_str());
    } else if (asked) {
      bad = true;
    }
  }
  return asked;
}

int main(int argc, char** argv) {
  vq::ProfileRequest request;
  bool bad = false;
  if (ProfileArguments(argc, argv, request, bad)) {
    if (bad || request.command_file.empty()) {
      std::fprintf(stderr, "usage: correlation_bench --profile RUN.in [--threads N] [--seed N]\n");
      return 2;
    }
    return vq::RunProfile(request);
  }
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
