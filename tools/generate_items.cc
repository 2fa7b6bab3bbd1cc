// generate_items: writes a raw item file simulated from a factor model, for
// trying the program and for tests. The same seed gives the same file on
// every machine (the program's own random generator, src/data/simulation.h).
//
// Usage:
//   generate_items --subjects N --items P --seed S --out PATH [options]
//
// Options:
//   --factors M              number of factors (default 1); item i loads on
//                            factor (i * M) / P (blocks of items)
//   --loading L              the loading of every item (default 0.6)
//   --loadings L1,L2,...     one loading per item (overrides --loading)
//   --factor-correlation F   correlation of every pair of factors (default 0)
//   --kind K                 continuous, dichotomous or ordered (default
//                            ordered)
//   --thresholds T1,T2,...   ascending thresholds of the latent response
//                            (defaults: 0 for dichotomous, -1.5,-0.5,0.5,1.5
//                            for ordered)
//   --spread D               shifts the thresholds of item i by an amount
//                            running evenly from -D (first item) to +D (last),
//                            so that items differ in difficulty (default 0)
//   --latent SHAPE           normal (default) or twopoint: each factor is a
//                            standardised two-point variable, which makes
//                            the latent responses clearly non-normal
//   --upper-share Q          share of the upper point under twopoint
//                            (default 0.15: a skewed mixture)
//   --guessing G1,G2,...     dichotomous items only: one chance per item that
//                            a subject who fails it guesses right (a 0
//                            becomes a 1), as in items with given answers;
//                            the guesses come from a stream of their own, so
//                            the file without them is unchanged
//   --first-score C          the score of the lowest category of ordered and
//                            dichotomous items (default 0), e.g. 1 for
//                            items scored 1 to 6
//   --id-width W             columns of the subject's number (default 6)
//   --field-width W          columns of each item (default 3, 8 for
//                            continuous scores); 1 packs one-digit scores
//   --help                   this text
//
// The file has one record per subject: the subject's number in columns 1-6,
// then one field per item (3 columns for categories 0, 1, ..., 8 columns
// with 3 decimals for continuous scores), unless the widths are given. The record format that reads
// it is printed on standard output, e.g. (F6.0,20F3.0).
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "data/simulation.h"

namespace {

constexpr const char* kUsage =
    "usage: generate_items --subjects N --items P --seed S --out PATH [options]\n"
    "\n"
    "Writes a raw item file simulated from a factor model and prints the record\n"
    "format that reads it.\n"
    "\n"
    "options:\n"
    "  --factors M              number of factors (default 1); item i loads on\n"
    "                           factor (i * M) / P\n"
    "  --loading L              loading of every item (default 0.6)\n"
    "  --loadings L1,L2,...     one loading per item\n"
    "  --factor-correlation F   correlation of every pair of factors (default 0)\n"
    "  --kind K                 continuous, dichotomous or ordered (default ordered)\n"
    "  --thresholds T1,T2,...   ascending latent thresholds (default 0 for\n"
    "                           dichotomous, -1.5,-0.5,0.5,1.5 for ordered)\n"
    "  --spread D               shift item thresholds evenly from -D to +D\n"
    "  --latent SHAPE           normal (default) or twopoint (non-normal factors)\n"
    "  --upper-share Q          share of the upper point under twopoint (0.15)\n"
    "  --guessing G1,G2,...     dichotomous only: per item, the chance that a\n"
    "                           subject who fails it guesses right\n"
    "  --first-score C          score of the lowest category (default 0)\n"
    "  --id-width W             columns of the subject's number (default 6)\n"
    "  --field-width W          columns of each item (default 3; 8 continuous)\n"
    "  --help                   this text\n";

bool ParseNumber(std::string_view text, double& value) {
  const std::string copy(text);
  char* end = nullptr;
  value = std::strtod(copy.c_str(), &end);
  return !copy.empty() && end == copy.c_str() + copy.size();
}

bool ParseList(std::string_view text, std::vector<double>& values) {
  values.clear();
  while (true) {
    const std::size_t comma = text.find(',');
    double value = 0.0;
    if (!ParseNumber(text.substr(0, comma), value)) return false;
    values.push_back(value);
    if (comma == std::string_view::npos) return true;
    text.remove_prefix(comma + 1);
  }
}

int Fail(const std::string& message) {
  std::fprintf(stderr, "generate_items: %s\n%s", message.c_str(), kUsage);
  return 2;
}

}  // namespace

int main(int argc, char** argv) {
  double subjects = 0, items = 0, seed = -1, factors = 1, loading = 0.6, factor_correlation = 0;
  double spread = 0, upper_share = 0.15, first_score = 0, id_width = 0, field_width = 0;
  std::string out, kind = "ordered", latent = "normal";
  std::vector<double> loadings, thresholds, guessing;
  bool have_thresholds = false;

  for (int k = 1; k < argc; ++k) {
    const std::string_view option = argv[k];
    if (option == "--help" || option == "-h") {
      std::fputs(kUsage, stdout);
      return 0;
    }
    if (k + 1 >= argc) return Fail("missing value after " + std::string(option));
    const std::string_view value = argv[++k];
    bool ok = true;
    if (option == "--subjects") {
      ok = ParseNumber(value, subjects);
    } else if (option == "--items") {
      ok = ParseNumber(value, items);
    } else if (option == "--seed") {
      ok = ParseNumber(value, seed);
    } else if (option == "--out") {
      out = value;
    } else if (option == "--factors") {
      ok = ParseNumber(value, factors);
    } else if (option == "--loading") {
      ok = ParseNumber(value, loading);
    } else if (option == "--loadings") {
      ok = ParseList(value, loadings);
    } else if (option == "--factor-correlation") {
      ok = ParseNumber(value, factor_correlation);
    } else if (option == "--kind") {
      kind = value;
    } else if (option == "--thresholds") {
      ok = ParseList(value, thresholds);
      have_thresholds = true;
    } else if (option == "--spread") {
      ok = ParseNumber(value, spread);
    } else if (option == "--latent") {
      latent = value;
    } else if (option == "--upper-share") {
      ok = ParseNumber(value, upper_share);
    } else if (option == "--first-score") {
      ok = ParseNumber(value, first_score);
    } else if (option == "--id-width") {
      ok = ParseNumber(value, id_width) && id_width >= 1 && id_width <= 20;
    } else if (option == "--field-width") {
      ok = ParseNumber(value, field_width) && field_width >= 1 && field_width <= 20;
    } else if (option == "--guessing") {
      ok = ParseList(value, guessing);
    } else {
      return Fail("unknown option " + std::string(option));
    }
    if (!ok) return Fail("bad value for " + std::string(option) + ": " + std::string(value));
  }

  if (subjects < 1 || items < 1 || seed < 0 || out.empty()) {
    return Fail("--subjects, --items, --seed (0 or more) and --out are required");
  }
  if (factors < 1 || factors > items) return Fail("--factors must lie between 1 and the items");
  if (kind != "continuous" && kind != "dichotomous" && kind != "ordered") {
    return Fail("--kind must be continuous, dichotomous or ordered");
  }
  if (latent != "normal" && latent != "twopoint")
    return Fail("--latent must be normal or twopoint");
  if (!(upper_share > 0.0 && upper_share < 1.0)) return Fail("--upper-share must lie in (0, 1)");
  const int p = static_cast<int>(items);
  const int m = static_cast<int>(factors);
  if (!loadings.empty() && static_cast<int>(loadings.size()) != p) {
    return Fail("--loadings needs one value per item");
  }
  if (!guessing.empty()) {
    if (kind != "dichotomous") return Fail("--guessing needs --kind dichotomous");
    if (static_cast<int>(guessing.size()) != p) return Fail("--guessing needs one value per item");
    for (double chance : guessing) {
      if (!(chance >= 0.0 && chance < 1.0)) return Fail("--guessing values must lie in [0, 1)");
    }
  }
  if (!have_thresholds) {
    if (kind == "dichotomous") thresholds = {0.0};
    if (kind == "ordered") thresholds = {-1.5, -0.5, 0.5, 1.5};
  }
  if (kind == "continuous") thresholds.clear();
  if (kind == "dichotomous" && thresholds.size() != 1) {
    return Fail("dichotomous items need exactly one threshold");
  }
  for (std::size_t t = 1; t < thresholds.size(); ++t) {
    if (!(thresholds[t] > thresholds[t - 1])) return Fail("thresholds must be ascending");
  }
  if (thresholds.size() > 13) return Fail("at most 13 thresholds (14 categories)");

  vq::ItemModel model = vq::SimpleStructureModel(p, m, loading, thresholds);
  for (int item = 0; item < p; ++item) {
    if (!loadings.empty()) model.loadings(item, (item * m) / p) = loadings[item];
    const double shift = p > 1 ? -spread + 2.0 * spread * item / (p - 1) : 0.0;
    for (double& cut : model.thresholds[item]) cut += shift;
  }
  for (int f = 0; f < m; ++f) {
    for (int g = 0; g < m; ++g) {
      if (f != g) model.factor_correlations(f, g) = factor_correlation;
    }
  }
  if (latent == "twopoint") model.latent = vq::LatentShape::kTwoPoint;
  model.upper_share = upper_share;

  const int n = static_cast<int>(subjects);
  vq::Matrix scores;
  if (!vq::SimulateItemScores(model, n, static_cast<std::uint64_t>(seed), scores)) {
    return Fail("the factor correlations are not positive definite or a loading is too large");
  }
  if (!guessing.empty()) {
    // One uniform deviate per score, drawn whether or not the score is a 0,
    // from a stream seeded apart from the one of the scores.
    vq::PortableRandom guesses;
    vq::SeedRandom(guesses, static_cast<std::uint64_t>(seed) ^ 0x9E3779B97F4A7C15ULL);
    for (int subject = 0; subject < n; ++subject) {
      for (int item = 0; item < p; ++item) {
        const bool guessed = vq::NextUniform(guesses) < guessing[item];
        if (scores(subject, item) == 0.0 && guessed) scores(subject, item) = 1.0;
      }
    }
  }
  if (kind != "continuous") {
    for (double& score : scores.values) score += first_score;
  }
  vq::ItemFileLayout layout;
  if (kind == "continuous") {
    layout.field_width = 8;
    layout.decimals = 3;
  }
  if (id_width > 0) layout.id_width = static_cast<int>(id_width);
  if (field_width > 0) layout.field_width = static_cast<int>(field_width);
  std::string error;
  if (!vq::WriteItemFile(out, scores, layout, error)) {
    std::fprintf(stderr, "generate_items: %s\n", error.c_str());
    return 1;
  }
  std::printf("%s\n", vq::ItemRecordFormat(layout, p).c_str());
  return 0;
}
