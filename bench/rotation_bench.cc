// Costs of the rotations at the sizes of large questionnaire runs: a few
// hundred items and up to a dozen factors, from a random orientation of a
// clean simple structure so that every rotation has its full work to do.
#include <benchmark/benchmark.h>

#include <cmath>
#include <vector>

#include "kernels/matrix.h"
#include "rotation/harris_kaiser.h"
#include "rotation/oblimin.h"
#include "rotation/orthomax.h"
#include "rotation/promax.h"
#include "rotation/random_start.h"
#include "rotation/solution.h"

namespace vq {
namespace {

// p items in m equal groups, loading 0.4 to 0.8 on their own factor and
// 0.1 elsewhere, turned by one random orthogonal matrix (fixed seed).
Matrix TurnedSimpleStructure(int p, int m) {
  Matrix a(p, m, 0.1);
  for (int item = 0; item < p; ++item) a(item, item % m) = 0.4 + 0.4 * item / p;
  SetRandomSeed(271828);
  RandomOrientation(a, p, m);
  ResetRandomGenerator();
  return a;
}

void BM_G03BAF(benchmark::State& state) {
  const int p = static_cast<int>(state.range(0));
  const int m = static_cast<int>(state.range(1));
  const Matrix start = TurnedSimpleStructure(p, m);
  for (auto _ : state) {
    Matrix fl = start;
    Matrix flr;
    Matrix r;
    int iter = 0;
    int ifail = 0;
    G03BAF('S', 1.0, p, m, fl, flr, r, 0.0001, 200, iter, ifail);
    benchmark::DoNotOptimize(flr.data());
  }
}
BENCHMARK(BM_G03BAF)->Args({50, 3})->Args({300, 6})->Args({1000, 12});

void BM_DFDOBL(benchmark::State& state) {
  const int p = static_cast<int>(state.range(0));
  const int m = static_cast<int>(state.range(1));
  const Matrix start = TurnedSimpleStructure(p, m);
  for (auto _ : state) {
    Matrix b;
    Matrix fcor;
    DFDOBL(p, m, start, 1, 0.0, 30, 0.0001, b, fcor);
    benchmark::DoNotOptimize(b.data());
  }
}
BENCHMARK(BM_DFDOBL)->Args({50, 3})->Args({300, 6})->Args({1000, 12});

void BM_DFHARR(benchmark::State& state) {
  const int p = static_cast<int>(state.range(0));
  const int m = static_cast<int>(state.range(1));
  const Matrix start = TurnedSimpleStructure(p, m);
  std::vector<double> d(p);
  for (int item = 0; item < p; ++item) {
    double h2 = 0.0;
    for (int j = 0; j < m; ++j) h2 += start(item, j) * start(item, j);
    d[item] = 1.0 - h2;
  }
  for (auto _ : state) {
    Matrix b;
    Matrix fcor;
    DFHARR(p, m, start, 1, 200, 1.0, 0.0, 0.0001, d, b, fcor);
    benchmark::DoNotOptimize(b.data());
  }
}
BENCHMARK(BM_DFHARR)->Args({50, 3})->Args({300, 6})->Args({1000, 12});

void BM_PROMAX(benchmark::State& state) {
  const int p = static_cast<int>(state.range(0));
  const int m = static_cast<int>(state.range(1));
  Matrix fl = TurnedSimpleStructure(p, m);
  Matrix varimax;
  Matrix r;
  int iter = 0;
  int ifail = 0;
  G03BAF('S', 1.0, p, m, fl, varimax, r, 0.0001, 200, iter, ifail);
  for (auto _ : state) {
    Matrix pattern;
    Matrix phi;
    PROMAX(varimax, pattern, phi, p, m, 4);
    benchmark::DoNotOptimize(pattern.data());
  }
}
BENCHMARK(BM_PROMAX)->Args({50, 3})->Args({300, 6})->Args({1000, 12});

void BM_SortLoadings(benchmark::State& state) {
  const int p = static_cast<int>(state.range(0));
  const int m = static_cast<int>(state.range(1));
  const Matrix start = TurnedSimpleStructure(p, m);
  std::vector<int> order;
  for (auto _ : state) {
    Matrix a = start;
    SortLoadings(a, p, m, order);
    benchmark::DoNotOptimize(a.data());
  }
}
BENCHMARK(BM_SortLoadings)->Args({300, 6})->Args({1000, 12});

}  // namespace
}  // namespace vq
