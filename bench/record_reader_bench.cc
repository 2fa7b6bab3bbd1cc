// Speed of the reading layer on inputs of the sizes researchers bring: raw
// data files of many subjects read by a record format, and a given
// correlation matrix read by list reads.
#include <benchmark/benchmark.h>

#include <string>
#include <vector>

#include "data/raw_data.h"
#include "data/record_reader.h"
#include "frame/console.h"

namespace vq {
namespace {

// N records of a five-column id, a blank and p one-digit scores.
std::string RawData(int subjects, int items) {
  std::string text;
  for (int subject = 0; subject < subjects; ++subject) {
    std::string id = std::to_string(subject + 1);
    text += std::string(5 - id.size(), ' ') + id + " ";
    for (int item = 0; item < items; ++item)
      text.push_back(static_cast<char>('0' + (subject * 7 + item * 3) % 5));
    text.push_back('\n');
  }
  return text;
}

void BM_ReadItemData(benchmark::State& state) {
  const int subjects = static_cast<int>(state.range(0));
  const int items = static_cast<int>(state.range(1));
  const std::string text = RawData(subjects, items);
  const std::string format = "(F5.0,1X," + std::to_string(items) + "F1.0)";
  Matrix data;
  std::vector<double> ids;
  ConsoleCapture capture;  // keeps "Reading Data" off the terminal
  for (auto _ : state) {
    RecordSource source;
    source.OpenText(10, "bench.dat", text);
    ReadItemData(source, format, subjects, items, data, ids);
    benchmark::DoNotOptimize(data.values.data());
  }
  state.SetItemsProcessed(state.iterations() * subjects * (items + 1));
  state.SetBytesProcessed(state.iterations() * static_cast<long long>(text.size()));
}
BENCHMARK(BM_ReadItemData)->Args({1000, 20})->Args({10000, 100})->Unit(benchmark::kMillisecond);

void BM_ReadCorrelationRows(benchmark::State& state) {
  const int p = static_cast<int>(state.range(0));
  std::string text;
  for (int i = 0; i < p; ++i) {
    for (int j = 0; j < p; ++j) text += i == j ? " 1.000000" : " 0.123456";
    text.push_back('\n');
  }
  std::vector<double> row(static_cast<std::size_t>(p));
  std::vector<ListItem> items;
  for (double& value : row) items.push_back(RealItem(value));
  for (auto _ : state) {
    RecordSource source;
    source.OpenText(10, "bench.cor", text);
    for (int i = 0; i < p; ++i) ReadList(source, items);
    benchmark::DoNotOptimize(row.data());
  }
  state.SetItemsProcessed(state.iterations() * p * p);
}
BENCHMARK(BM_ReadCorrelationRows)->Arg(100)->Arg(500)->Unit(benchmark::kMillisecond);

void BM_CompileFormat(benchmark::State& state) {
  const std::string text = "(F5.0,1X,20F1.0/2(T3,10F2.1,BZ,2P,E10.3E2),'ab',TL4)";
  for (auto _ : state) {
    CompiledFormatPtr format = CompileFormat(text, nullptr);
    benchmark::DoNotOptimize(format.get());
  }
}
BENCHMARK(BM_CompileFormat);

}  // namespace
}  // namespace vq
