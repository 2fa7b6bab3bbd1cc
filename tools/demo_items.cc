// demo_items: writes the data file of the bundled example, eight ordered
// items of five categories (scores 1 to 5) for 250 subjects, one record per
// subject in the layout (F4.0,8F1.0): the subject's number in columns 1-4,
// then one digit per item.
//
//   demo_items OUTPUT [SUBJECTS]
//
// The scores come from two correlated factors (0.3), items 1-4 loading 0.7
// on the first and items 5-8 on the second, cut at fixed thresholds. Only
// integer and basic IEEE arithmetic is used (a normal deviate is the sum of
// twelve uniforms less six), so the file is the same on every machine:
//
//   demo_items examples/demo/items.dat
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

constexpr int kItems = 8;

// Knuth's 64-bit linear congruential generator; the top 53 bits make a
// uniform number in [0, 1).
struct Generator {
  std::uint64_t state;
  double Uniform() {
    state = state * 6364136223846793005ULL + 1442695040888963407ULL;
    return static_cast<double>(state >> 11) * (1.0 / 9007199254740992.0);
  }
  double Normal() {
    double sum = 0.0;
    for (int k = 0; k < 12; ++k) sum += Uniform();
    return sum - 6.0;
  }
};

int Category(double latent, int item) {
  // Thresholds shift a little from item to item so that the items differ in
  // difficulty.
  const double shift = 0.15 * (item % 3 - 1);
  const double thresholds[] = {-1.2, -0.4, 0.4, 1.2};
  int score = 1;
  for (double threshold : thresholds) {
    if (latent > threshold + shift) ++score;
  }
  return score;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2 || argc > 3 || std::string(argv[1]) == "--help") {
    std::fprintf(stderr, "usage: demo_items OUTPUT [SUBJECTS]\n");
    return argc < 2 || argc > 3 ? 2 : 0;
  }
  int subjects = 250;
  if (argc == 3) {
    char* end = nullptr;
    const long value = std::strtol(argv[2], &end, 10);
    if (*end != '\0' || value < 1 || value > 9999) {
      std::fprintf(stderr, "demo_items: SUBJECTS must be a whole number from 1 to 9999\n");
      return 2;
    }
    subjects = static_cast<int>(value);
  }
  std::FILE* out = std::fopen(argv[1], "w");
  if (out == nullptr) {
    std::perror(argv[1]);
    return 1;
  }
  Generator generator{20240611ULL};
  const double factor_correlation = 0.3;
  const double loading = 0.7;
  const double second_factor_weight = std::sqrt(1.0 - factor_correlation * factor_correlation);
  const double unique_weight = std::sqrt(1.0 - loading * loading);
  for (int subject = 1; subject <= subjects; ++subject) {
    const double z1 = generator.Normal();
    const double z2 = generator.Normal();
    const double factors[2] = {z1, factor_correlation * z1 + second_factor_weight * z2};
    std::fprintf(out, "%4d", subject);
    for (int item = 0; item < kItems; ++item) {
      const double latent = loading * factors[item / 4] + unique_weight * generator.Normal();
      std::fprintf(out, "%d", Category(latent, item));
    }
    std::fputc('\n', out);
  }
  return std::fclose(out) == 0 ? 0 : 1;
}
