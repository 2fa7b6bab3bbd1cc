// Costs of the numerical kernels in the places where the run calls them
// most: the quantile and the bivariate normal in the inner loops of the
// tetrachoric and polychoric estimators, the partial eigen solution once per
// communality pass, the inverse and the refined solve in the rotations.
#include <benchmark/benchmark.h>

#include <random>
#include <vector>

#include "kernels/bivariate_normal.h"
#include "kernels/eigen.h"
#include "kernels/matrix.h"
#include "kernels/normal.h"
#include "kernels/pd_inverse.h"
#include "kernels/refined_solve.h"

namespace vq {
namespace {

// A correlation matrix of one common factor with loadings 0.3 to 0.8.
Matrix OneFactorCorrelations(int p) {
  Matrix r(p, p);
  std::vector<double> loading(static_cast<std::size_t>(p));
  for (int i = 0; i < p; ++i) loading[i] = 0.3 + 0.5 * i / p;
  for (int i = 0; i < p; ++i) {
    for (int j = 0; j < p; ++j) r(i, j) = i == j ? 1.0 : loading[i] * loading[j];
  }
  return r;
}

void BM_G01FAF(benchmark::State& state) {
  std::vector<double> ps;
  for (int k = 1; k < 1000; ++k) ps.push_back(k / 1000.0);
  for (auto _ : state) {
    double sum = 0.0;
    for (double p : ps) {
      int ifail = 0;
      sum += G01FAF("Lower-tail", p, ifail);
    }
    benchmark::DoNotOptimize(sum);
  }
  state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(ps.size()));
}
BENCHMARK(BM_G01FAF);

void BM_G01HAF(benchmark::State& state) {
  std::vector<double> thresholds = {-999999.0, -1.2, -0.4, 0.3, 1.1, 999999.0};
  for (auto _ : state) {
    double sum = 0.0;
    for (double x : thresholds) {
      for (double y : thresholds) {
        int ifail = 0;
        sum += G01HAF(x, y, 0.37, ifail);
      }
    }
    benchmark::DoNotOptimize(sum);
  }
  state.SetItemsProcessed(state.iterations() * 36);
}
BENCHMARK(BM_G01HAF);

void BM_DEVESF(benchmark::State& state) {
  const int p = static_cast<int>(state.range(0));
  Matrix r = OneFactorCorrelations(p);
  std::vector<double> values;
  Matrix vectors;
  for (auto _ : state) {
    DEVESF(p, 3, r, false, values, vectors);
    benchmark::DoNotOptimize(values.data());
  }
}
BENCHMARK(BM_DEVESF)->Arg(20)->Arg(100)->Arg(300);

void BM_DEVLRG(benchmark::State& state) {
  const int p = static_cast<int>(state.range(0));
  Matrix r = OneFactorCorrelations(p);
  std::vector<double> real, imaginary;
  for (auto _ : state) {
    DEVLRG(p, r, real, imaginary);
    benchmark::DoNotOptimize(real.data());
  }
}
BENCHMARK(BM_DEVLRG)->Arg(100)->Arg(300);

void BM_DLINDS(benchmark::State& state) {
  const int p = static_cast<int>(state.range(0));
  Matrix r = OneFactorCorrelations(p);
  Matrix inverse;
  for (auto _ : state) {
    DLINDS(p, r, inverse);
    benchmark::DoNotOptimize(inverse.data());
  }
}
BENCHMARK(BM_DLINDS)->Arg(100)->Arg(300);

void BM_F04AEF(benchmark::State& state) {
  const int m = static_cast<int>(state.range(0));
  std::mt19937 generator(5);
  std::normal_distribution<double> normal;
  Matrix t(m, m);
  for (double& value : t.values) value = normal(generator);
  Matrix identity(m, m);
  for (int i = 0; i < m; ++i) identity(i, i) = 1.0;
  Matrix c;
  for (auto _ : state) {
    int ifail = 0;
    F04AEF(t, identity, m, m, c, ifail);
    benchmark::DoNotOptimize(c.data());
  }
}
BENCHMARK(BM_F04AEF)->Arg(3)->Arg(10);

}  // namespace
}  // namespace vq
