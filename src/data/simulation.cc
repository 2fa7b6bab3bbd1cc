#include "data/simulation.h"

#include <cmath>
#include <cstdio>

#include "text/edit_descriptors.h"

namespace vq {
namespace {

std::uint64_t SplitMix64(std::uint64_t& x) {
  x += 0x9e3779b97f4a7c15ULL;
  std::uint64_t z = x;
  z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9ULL;
  z = (z ^ (z >> 27)) * 0x94d049bb133111ebULL;
  return z ^ (z >> 31);
}

std::uint64_t RotateLeft(std::uint64_t x, int k) { return (x << k) | (x >> (64 - k)); }

// Lower Cholesky factor of the m by m `a` into `factor`; false when a pivot
// is not above 0.
bool CholeskyLower(const Matrix& a, int m, Matrix& factor) {
  factor.Reset(m, m);
  for (int j = 0; j < m; ++j) {
    double pivot = a(j, j);
    for (int k = 0; k < j; ++k) pivot -= factor(j, k) * factor(j, k);
    if (!(pivot > 0.0)) return false;
    factor(j, j) = std::sqrt(pivot);
    for (int i = j + 1; i < m; ++i) {
      double value = a(i, j);
      for (int k = 0; k < j; ++k) value -= factor(i, k) * factor(j, k);
      factor(i, j) = value / factor(j, j);
    }
  }
  return true;
}

}  // namespace

void SeedRandom(PortableRandom& random, std::uint64_t seed) {
  std::uint64_t x = seed;
  for (std::uint64_t& word : random.state) word = SplitMix64(x);
  random.has_spare = false;
  random.spare = 0.0;
}

std::uint64_t NextBits(PortableRandom& random) {
  std::uint64_t* s = random.state;
  const std::uint64_t result = RotateLeft(s[1] * 5, 7) * 9;
  const std::uint64_t t = s[1] << 17;
  s[2] ^= s[0];
  s[3] ^= s[1];
  s[1] ^= s[2];
  s[0] ^= s[3];
  s[2] ^= t;
  s[3] = RotateLeft(s[3], 45);
  return result;
}

double NextUniform(PortableRandom& random) {
  // 53 random bits, shifted half a grid step off 0 so that 0 never occurs.
  const std::uint64_t bits = NextBits(random) >> 11;
  return (static_cast<double>(bits) + 0.5) * 0x1.0p-53;
}

double PortableLog(double x) {
  int exponent = 0;
  double mantissa = std::frexp(x, &exponent);  // exact: x = mantissa 2^exponent
  if (mantissa < 0.70710678118654752) {
    mantissa *= 2.0;
    exponent -= 1;
  }
  // ln m = 2 atanh(s) with s = (m - 1) / (m + 1), |s| below 0.172.
  const double s = (mantissa - 1.0) / (mantissa + 1.0);
  const double s2 = s * s;
  double term = s;
  double sum = 0.0;
  for (int k = 0; k < 16; ++k) {
    sum += term / (2 * k + 1);
    term *= s2;
  }
  return 2.0 * sum + exponent * 0.69314718055994531;
}

double NextNormal(PortableRandom& random) {
  if (random.has_spare) {
    random.has_spare = false;
    return random.spare;
  }
  double u = 0.0;
  double v = 0.0;
  double s = 0.0;
  do {
    u = 2.0 * NextUniform(random) - 1.0;
    v = 2.0 * NextUniform(random) - 1.0;
    s = u * u + v * v;
  } while (s >= 1.0 || s == 0.0);
  const double scale = std::sqrt(-2.0 * PortableLog(s) / s);
  random.spare = v * scale;
  random.has_spare = true;
  return u * scale;
}

ItemModel SimpleStructureModel(int items,
                               int factors,
                               double loading,
                               const std::vector<double>& thresholds) {
  ItemModel model;
  model.items = items;
  model.factors = factors;
  model.loadings.Reset(items, factors);
  model.factor_correlations.Reset(factors, factors);
  for (int f = 0; f < factors; ++f) model.factor_correlations(f, f) = 1.0;
  for (int item = 0; item < items; ++item) {
    model.loadings(item, (item * factors) / items) = loading;
  }
  model.thresholds.assign(items, thresholds);
  return model;
}

double LatentCorrelation(const ItemModel& model, int i, int j) {
  if (i == j) return 1.0;
  double value = 0.0;
  for (int f = 0; f < model.factors; ++f) {
    for (int g = 0; g < model.factors; ++g) {
      value += model.loadings(i, f) * model.factor_correlations(f, g) * model.loadings(j, g);
    }
  }
  return value;
}

bool SimulateItemScores(const ItemModel& model, int n, std::uint64_t seed, Matrix& scores) {
  const int p = model.items;
  const int m = model.factors;
  scores = Matrix();
  Matrix factor;
  if (!CholeskyLower(model.factor_correlations, m, factor)) return false;
  std::vector<double> unique_sd(p);
  for (int item = 0; item < p; ++item) {
    double communality = 0.0;
    for (int f = 0; f < m; ++f) {
      for (int g = 0; g < m; ++g) {
        communality +=
            model.loadings(item, f) * model.factor_correlations(f, g) * model.loadings(item, g);
      }
    }
    if (communality > 1.0) return false;
    unique_sd[item] = std::sqrt(1.0 - communality);
  }
  // Points of the standardised two-point variable.
  const double share = model.upper_share;
  const double spread = std::sqrt(share * (1.0 - share));
  const double upper_point = (1.0 - share) / spread;
  const double lower_point = -share / spread;

  scores.Reset(n, p);
  PortableRandom random;
  SeedRandom(random, seed);
  std::vector<double> draws(m);
  std::vector<double> eta(m);
  for (int subject = 0; subject < n; ++subject) {
    for (int f = 0; f < m; ++f) {
      if (model.latent == LatentShape::kNormal) {
        draws[f] = NextNormal(random);
      } else {
        draws[f] = NextUniform(random) < share ? upper_point : lower_point;
      }
    }
    for (int f = 0; f < m; ++f) {
      eta[f] = 0.0;
      for (int g = 0; g <= f; ++g) eta[f] += factor(f, g) * draws[g];
    }
    for (int item = 0; item < p; ++item) {
      double latent = 0.0;
      for (int f = 0; f < m; ++f) latent += model.loadings(item, f) * eta[f];
      latent += unique_sd[item] * NextNormal(random);
      const std::vector<double>& cuts = model.thresholds[item];
      if (cuts.empty()) {
        scores(subject, item) = latent;
      } else {
        int category = 0;
        for (double cut : cuts) category += latent > cut ? 1 : 0;
        scores(subject, item) = category;
      }
    }
  }
  return true;
}

std::string ItemRecordFormat(const ItemFileLayout& layout, int p) {
  return "(F" + std::to_string(layout.id_width) + ".0," + std::to_string(p) + "F" +
         std::to_string(layout.field_width) + "." + std::to_string(layout.decimals) + ")";
}

bool WriteItemFile(const std::string& path,
                   const Matrix& scores,
                   const ItemFileLayout& layout,
                   std::string& error) {
  const std::string partial = path + ".partial";
  std::FILE* file = std::fopen(partial.c_str(), "w");
  if (file == nullptr) {
    error = "cannot open " + partial + " for writing";
    return false;
  }
  bool ok = true;
  // A field of asterisks would make the file unreadable as data, so a value
  // that does not fit its field ends the write like a failed one.
  std::string misfit;
  std::string record;
  for (int subject = 0; subject < scores.rows && ok; ++subject) {
    record = FormatI(subject + 1, layout.id_width);
    if (record.find('*') != std::string::npos || record.empty()) {
      misfit = "subject " + std::to_string(subject + 1) + " does not fit its field of " +
               std::to_string(layout.id_width) + " columns";
      break;
    }
    for (int item = 0; item < scores.cols && misfit.empty(); ++item) {
      const double value = scores(subject, item);
      const std::string field = layout.decimals == 0
                                    ? FormatI(std::llround(value), layout.field_width)
                                    : FormatF(value, layout.field_width, layout.decimals);
      if (field.find('*') != std::string::npos || field.empty()) {
        char shown[32];
        std::snprintf(shown, sizeof shown, "%g", value);
        misfit = "score " + std::string(shown) + " of subject " + std::to_string(subject + 1) +
                 ", item " + std::to_string(item + 1) + " does not fit its field of " +
                 std::to_string(layout.field_width) + " columns";
      }
      record += field;
    }
    if (!misfit.empty()) break;
    record += '\n';
    ok = std::fwrite(record.data(), 1, record.size(), file) == record.size();
  }
  ok = std::fclose(file) == 0 && ok;
  if (!ok || !misfit.empty()) {
    std::remove(partial.c_str());
    error = misfit.empty() ? "write to " + partial + " failed" : misfit;
    return false;
  }
  if (std::rename(partial.c_str(), path.c_str()) != 0) {
    std::remove(partial.c_str());
    error = "cannot rename " + partial + " to " + path;
    return false;
  }
  return true;
}

}  // namespace vq
