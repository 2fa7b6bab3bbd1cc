#include "rotation/random_start.h"

#include <algorithm>
#include <cmath>
#include <ctime>
#include <vector>

#include "frame/console.h"
#include "kernels/eigen.h"
#include "kernels/pearson.h"

namespace vq {
namespace {

constexpr long kModulus = 2147483647;  // 2^31 - 1
constexpr long kMultiplier = 16807;
constexpr long kSchrageQuotient = 127773;  // kModulus / kMultiplier
constexpr long kSchrageRemainder = 2836;   // kModulus % kMultiplier
constexpr double kUniformScale = 4.656612875245797e-10;
constexpr long kFallbackSeed = 123457;

// Rows of the table of deviates behind a random orientation: a fixed sample
// size, whatever the number of items.
constexpr int kOrientationSample = 15;

struct Generator {
  bool seeded = false;
  long state = 0;
};

Generator& TheGenerator() {
  static Generator generator;
  return generator;
}

// Brings a seed into 2 .. kModulus - 1; the generator must never hold 0.
long UsableSeed(long seed) {
  long value = seed % kModulus;
  if (value < 0) value += kModulus;
  if (value <= 1) value = kFallbackSeed;
  return value;
}

// The density difference of Kinderman and Ramage's acceptance tests.
double KrDensityGap(double x) {
  constexpr double kA = 2.216035867166471;
  constexpr double kC1 = 0.398942280401433;
  constexpr double kC2 = 0.180025191068563;
  return kC1 * std::exp(-x * x / 2.0) - kC2 * (kA - x);
}

}  // namespace

void SetRandomSeed(long seed) {
  Generator& generator = TheGenerator();
  generator.state = UsableSeed(seed);
  generator.seeded = true;
}

void ResetRandomGenerator() { TheGenerator() = Generator(); }

long ClockSeed() {
  const std::time_t now = std::time(nullptr);
  std::tm local{};
  localtime_r(&now, &local);
  const long seed = local.tm_hour * 10000L + local.tm_min * 100L + local.tm_sec + 1L;
  return seed > 1 ? seed : kFallbackSeed;
}

double UniformDeviate() {
  Generator& generator = TheGenerator();
  if (!generator.seeded) {
    generator.state = UsableSeed(ClockSeed());
    generator.seeded = true;
  }
  // Schrage's split keeps 16807 * x below 2^31 in every product.
  const long high = generator.state / kSchrageQuotient;
  const long low = generator.state % kSchrageQuotient;
  long next = kMultiplier * low - kSchrageRemainder * high;
  if (next <= 0) next += kModulus;
  generator.state = next;
  return static_cast<double>(next) * kUniformScale;
}

double NormalDeviate() {
  constexpr double kA = 2.216035867166471;
  const double u1 = UniformDeviate();
  if (u1 < 0.884070402298758) {
    // The central triangle: one more uniform number and no rejection.
    const double u2 = UniformDeviate();
    return kA * (1.131131635444180 * u1 + u2 - 1.0);
  }
  if (u1 >= 0.973310954173898) {
    // The tail beyond kA.
    for (;;) {
      const double u2 = UniformDeviate();
      const double u3 = UniformDeviate();
      const double tt = kA * kA - 2.0 * std::log(u3);
      if (u2 * u2 < kA * kA / tt) {
        return u1 < 0.986655477086949 ? std::sqrt(tt) : -std::sqrt(tt);
      }
    }
  }
  if (u1 >= 0.958720824790463) {
    for (;;) {
      const double u2 = UniformDeviate();
      const double u3 = UniformDeviate();
      const double tt = kA - 0.630834801921960 * std::min(u2, u3);
      if (std::max(u2, u3) <= 0.755591531667601 ||
          0.034240503750111 * std::fabs(u2 - u3) <= KrDensityGap(tt)) {
        return u2 < u3 ? tt : -tt;
      }
    }
  }
  if (u1 >= 0.911312780288703) {
    for (;;) {
      const double u2 = UniformDeviate();
      const double u3 = UniformDeviate();
      const double tt = 0.479727404222441 + 1.105473661022070 * std::min(u2, u3);
      if (std::max(u2, u3) <= 0.872834976671790 ||
          0.049264496342790 * std::fabs(u2 - u3) <= KrDensityGap(tt)) {
        return u2 < u3 ? tt : -tt;
      }
    }
  }
  // The region next to the centre. The published method lets tt fall below 0
  // here, which distorts the distribution near zero; such draws are rejected.
  for (;;) {
    const double u2 = UniformDeviate();
    const double u3 = UniformDeviate();
    const double tt = 0.479727404222441 - 0.595507138015940 * std::min(u2, u3);
    if (tt < 0.0) continue;
    if (std::max(u2, u3) <= 0.805577924423817 ||
        0.053377549506886 * std::fabs(u2 - u3) <= KrDensityGap(tt)) {
      return u2 < u3 ? tt : -tt;
    }
  }
}

void RandomOrientation(Matrix& loadings, int p, int m) {
  Matrix table(kOrientationSample, m);
  for (int column = 0; column < m; ++column) {
    for (int row = 0; row < kOrientationSample; ++row) table(row, column) = NormalDeviate();
  }

  std::vector<double> means;
  std::vector<double> deviations;
  Matrix products;
  Matrix correlations;
  int ifail = 0;
  G02BAF(kOrientationSample, m, table, means, deviations, products, correlations, ifail);
  TraceLine(ifail, 3918);

  std::vector<double> eigenvalues;
  Matrix vectors;
  ifail = 0;
  F02ABF(correlations, m, eigenvalues, vectors, ifail);
  TraceLine(ifail, 3923);

  Matrix turned(p, m);
  for (int factor = 0; factor < m; ++factor) {
    for (int item = 0; item < p; ++item) {
      double sum = 0.0;
      for (int k = 0; k < m; ++k) sum += loadings(item, k) * vectors(k, factor);
      turned(item, factor) = sum;
    }
  }
  loadings = turned;
}

}  // namespace vq
