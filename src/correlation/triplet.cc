#include "correlation/triplet.h"

#include <bit>
#include <cmath>
#include <cstdint>
#include <string>

#include "correlation/variable_stop.h"
#include "kernels/failure.h"
#include "kernels/lapack.h"
#include "kernels/normal.h"
#include "kernels/parallel.h"
#include "kernels/pd_inverse.h"
#include "text/edit_descriptors.h"

namespace vq {
namespace {

// Upper half of the quadrature (rows 21 to 40), in single precision: nodes
// 8/39 apart up to 4, weights the normal density at the node over its sum
// over all nodes. Row 41-q has the node -x(q) and the same weight.
constexpr float kUpperNodes[20] = {
    0.102564096f, 0.307692289f, 0.512820482f, 0.717948675f, 0.923076928f, 1.12820506f, 1.33333325f,
    1.53846145f,  1.74358976f,  1.94871795f,  2.15384626f,  2.35897446f,  2.56410265f, 2.76923084f,
    2.97435904f,  3.17948723f,  3.38461542f,  3.58974361f,  3.79487181f,  4.0f};
constexpr float kUpperWeights[20] = {
    0.0814082474f,   0.078053847f,   0.071754016f,    0.0632446855f,   0.0534475483f,
    0.0433069393f,   0.0336444266f,  0.0250607859f,   0.0178979039f,   0.0122556305f,
    0.0080462778f,   0.00506501086f, 0.00305697322f,  0.00176900404f,  0.000981503748f,
    0.000522132905f, 0.00026631527f, 0.000130237793f, 0.000061066632f, 0.0000274534395f};

// Response patterns (first, second, third variable) in the order of k.
constexpr int kPatterns[kTripletPatterns][3] = {
    {1, 1, 1}, {1, 0, 1}, {1, 1, 0}, {1, 0, 0}, {0, 1, 1}, {0, 0, 1}, {0, 1, 0}, {0, 0, 0}};

// Cut-offs of chi-square with one degree of freedom, single precision.
constexpr double kFivePercent = static_cast<double>(3.841f);
constexpr double kOnePercent = static_cast<double>(6.635f);
// The iteration ends when the first gradient component is this small.
constexpr double kGradientBound = static_cast<double>(0.00001f);
// Start loadings are held inside the open interval (-1, 1), at the
// single-precision 0.99 widened to double, as in the tetrachoric density.
constexpr double kLoadingLimit = static_cast<double>(0.99f);
constexpr int kMaxIterations = 10;
constexpr int kMaxTries = 4;

// Nodes and weights of the quadrature as doubles, q = 1..40 stored 0..39.
struct Quadrature {
  double node[kTripletNodes];
  double weight[kTripletNodes];
};

const Quadrature& TheQuadrature() {
  static const Quadrature quadrature = [] {
    Quadrature table;
    for (int q = 1; q <= kTripletNodes; ++q) {
      table.node[q - 1] = TripletNode(q);
      table.weight[q - 1] = TripletWeight(q);
    }
    return table;
  }();
  return quadrature;
}

// One item's probability of a 1 at every node, c = Phi(-(a x + b)): rounded
// to single precision, the factor of a pattern with a 1 for the item, and
// 1 - c from the unrounded c, the factor of a pattern with a 0. A fit needs
// these once per item and node, whatever the pattern.
struct ItemCurve {
  double keyed[kTripletNodes];
  double not_keyed[kTripletNodes];
};

// The curve of an item with intercept `b` and slope `a`.
void FillItemCurve(double b, double a, ItemCurve& curve) {
  const Quadrature& quadrature = TheQuadrature();
  for (int q = 0; q < kTripletNodes; ++q) {
    const double y = a * quadrature.node[q] + b;
    const double c = DNORDF(-y);
    curve.keyed[q] = static_cast<double>(static_cast<float>(c));
    curve.not_keyed[q] = 1.0 - c;
  }
}

// P(k) of the 8 patterns from the curves of the three items: the sum over
// q, in the order of q, of ((1 * f1) f2) f3 times w(q), f being the item's
// factor for the pattern's score. The product of the first two factors is
// shared by the two patterns that differ only in the third item (and
// 1 * f1 is f1), so each product is the same double as when it is formed
// anew for each pattern.
void ProbabilitiesFromCurves(const ItemCurve& first,
                             const ItemCurve& second,
                             const ItemCurve& third,
                             std::array<double, kTripletPatterns>& probabilities) {
  const Quadrature& quadrature = TheQuadrature();
  double sums[kTripletPatterns] = {};
  for (int q = 0; q < kTripletNodes; ++q) {
    const double w = quadrature.weight[q];
    const double ones = first.keyed[q] * second.keyed[q];           // 1,1,.
    const double one_zero = first.keyed[q] * second.not_keyed[q];   // 1,0,.
    const double zero_one = first.not_keyed[q] * second.keyed[q];   // 0,1,.
    const double zeros = first.not_keyed[q] * second.not_keyed[q];  // 0,0,.
    const double third_one = third.keyed[q];
    const double third_zero = third.not_keyed[q];
    // Patterns 111, 101, 110, 100, 011, 001, 010, 000.
    sums[0] += ones * third_one * w;
    sums[1] += one_zero * third_one * w;
    sums[2] += ones * third_zero * w;
    sums[3] += one_zero * third_zero * w;
    sums[4] += zero_one * third_one * w;
    sums[5] += zeros * third_one * w;
    sums[6] += zero_one * third_zero * w;
    sums[7] += zeros * third_zero * w;
  }
  for (int k = 0; k < kTripletPatterns; ++k) probabilities[k] = sums[k];
}

// What every fit of one triplet shares: its table, n, and L2sum, the sum
// over the patterns with N(k) above 0 of N(k) ln(N(k)/n), which does not
// depend on the parameters.
struct TripletTable {
  TripletCounts counts;
  int n;
  double l2;
};

TripletTable MakeTable(const TripletCounts& counts, int n) {
  TripletTable table{counts, n, 0.0};
  for (int k = 0; k < kTripletPatterns; ++k) {
    if (counts[k] == 0) continue;
    table.l2 += counts[k] * std::log(static_cast<double>(counts[k]) / n);
  }
  return table;
}

// F from the curves of the three items: a model probability of exactly 0
// is taken as 1/n; F = -(L1sum - L2sum) times 2.
double FitFromCurves(const ItemCurve& first,
                     const ItemCurve& second,
                     const ItemCurve& third,
                     const TripletTable& table) {
  std::array<double, kTripletPatterns> probabilities;
  ProbabilitiesFromCurves(first, second, third, probabilities);
  double l1 = 0.0;
  for (int k = 0; k < kTripletPatterns; ++k) {
    if (table.counts[k] == 0) continue;
    const double probability = probabilities[k] == 0.0 ? 1.0 / table.n : probabilities[k];
    l1 += table.counts[k] * std::log(probability);
  }
  return -(l1 - table.l2) * 2.0;
}

// The curves of the three items at `t`.
void FillCurves(const TripletParameters& t, ItemCurve (&curves)[3]) {
  for (int item = 0; item < 3; ++item) FillItemCurve(t[item], t[3 + item], curves[item]);
}

// F with the curve of `item` replaced by `changed` (the other two at their
// curves in `curves`).
double FitWithItem(const ItemCurve (&curves)[3],
                   int item,
                   const ItemCurve& changed,
                   const TripletTable& table) {
  return FitFromCurves(item == 0 ? changed : curves[0],
                       item == 1 ? changed : curves[1],
                       item == 2 ? changed : curves[2],
                       table);
}

// The 6 by 6 Hessian and its inverse, by columns.
using Square6 = std::array<double, 36>;

// The inverse of the positive definite `a` (upper triangle read) by the
// same LAPACK steps as DLINDS, giving the same doubles, but without its
// error reporting: nothing global is read or written, so threads may call
// it side by side. Returns false when the factorisation breaks off;
// `inverse` then holds what DLINDS leaves there.
bool InvertQuietly(const Square6& a, Square6& inverse) {
  inverse.fill(0.0);
  for (int col = 0; col < 6; ++col) {
    for (int row = 0; row <= col; ++row) inverse[row + 6 * col] = a[row + 6 * col];
  }
  const char uplo = 'U';
  const int n = 6;
  int info = 0;
  dpotrf_(&uplo, &n, inverse.data(), &n, &info, 1);
  if (info < 0) LapackArgumentError("DPOTRF", info);
  if (info > 0) return false;
  dpotri_(&uplo, &n, inverse.data(), &n, &info, 1);
  if (info < 0) LapackArgumentError("DPOTRI", info);
  for (int col = 0; col < 6; ++col) {
    for (int row = col + 1; row < 6; ++row) inverse[row + 6 * col] = inverse[col + 6 * row];
  }
  return true;
}

// Gradient and Hessian of F at `t`, whose item curves are `curves`. The 34
// fits change one or two parameters, so at most one or two items differ
// from `curves`: per item there are only 7 other curves to compute, those
// of b + h, b - h, a + h, a - h, (b + h) + h, (a + h) + h and of b + h with
// a + h. Every parameter value is formed as in a fit of its own, so each F
// is the same double.
void DerivativesFromCurves(const TripletParameters& t,
                           const ItemCurve (&curves)[3],
                           const TripletTable& table,
                           std::array<double, 6>& gradient,
                           Square6& hessian) {
  std::array<double, 6> h;
  for (int k = 0; k < 6; ++k) h[k] = TripletStepSize(t, k);
  // Per item: the curves with the intercept (0) or slope (1) moved up,
  // down, and up twice; and with both moved up.
  ItemCurve up[3][2];
  ItemCurve down[3][2];
  ItemCurve twice[3][2];
  ItemCurve both_up[3];
  for (int item = 0; item < 3; ++item) {
    const double b = t[item];
    const double a = t[3 + item];
    const double hb = h[item];
    const double ha = h[3 + item];
    FillItemCurve(b + hb, a, up[item][0]);
    FillItemCurve(b - hb, a, down[item][0]);
    FillItemCurve((b + hb) + hb, a, twice[item][0]);
    FillItemCurve(b, a + ha, up[item][1]);
    FillItemCurve(b, a - ha, down[item][1]);
    FillItemCurve(b, (a + ha) + ha, twice[item][1]);
    FillItemCurve(b + hb, a + ha, both_up[item]);
  }

  const double f0 = FitFromCurves(curves[0], curves[1], curves[2], table);
  std::array<double, 6> f_plus;
  for (int k = 0; k < 6; ++k) {
    const int item = k % 3;
    const int kind = k / 3;
    f_plus[k] = FitWithItem(curves, item, up[item][kind], table);
    const double f_minus = FitWithItem(curves, item, down[item][kind], table);
    gradient[k] = (f_plus[k] - f_minus) / (2.0 * h[k]);
  }
  for (int k = 0; k < 6; ++k) {
    const double f2 = FitWithItem(curves, k % 3, twice[k % 3][k / 3], table);
    hessian[k + 6 * k] = (f2 - f_plus[k] - f_plus[k] + f0) / (h[k] * h[k]);
  }
  for (int k = 0; k < 6; ++k) {
    for (int l = 0; l < k; ++l) {
      const int item_k = k % 3;
      const int item_l = l % 3;
      double f_kl;
      if (item_k == item_l) {
        // The intercept and the slope of one item (k = l + 3).
        f_kl = FitWithItem(curves, item_k, both_up[item_k], table);
      } else {
        const ItemCurve* moved[3] = {&curves[0], &curves[1], &curves[2]};
        moved[item_k] = &up[item_k][k / 3];
        moved[item_l] = &up[item_l][l / 3];
        f_kl = FitFromCurves(*moved[0], *moved[1], *moved[2], table);
      }
      const double value = (f_kl - f_plus[l] - f_plus[k] + f0) / (h[k] * h[l]);
      hessian[k + 6 * l] = value;
      hessian[l + 6 * k] = value;
    }
  }
}

// The report line of a triplet: I3, 1X, I3, 1X, I3, 1X, 2X, F10.4, A2.
}  // namespace

std::string TripletLine(int a, int b, int c, double statistic) {
  return FormatI(a, 3) + " " + FormatI(b, 3) + " " + FormatI(c, 3) + " " + "  " +
         FormatF(statistic, 10, 4) + FormatA(TripletMark(statistic), 2);
}

namespace {

// The console line of the triplet being computed, from column 30.
void ShowTriplet(const std::array<int, 3>& triplet, Progress& progress) {
  progress.Overwrite(30,
                     "Computing Triplet Test for variables " + FormatI(triplet[0], 3) + " " +
                         FormatI(triplet[1], 3) + " " + FormatI(triplet[2], 3));
}

// Start parameters of a triplet from the quantiles z of its proportions
// and its start loadings: b = -z / sqrt(1 - L^2), a = L / sqrt(1 - L^2).
TripletParameters StartParameters(const std::array<double, 3>& quantiles,
                                  const std::array<double, 3>& loadings) {
  TripletParameters t;
  for (int item = 0; item < 3; ++item) {
    const double root = std::sqrt(1.0 - loadings[item] * loadings[item]);
    t[item] = -quantiles[item] / root;
    t[3 + item] = loadings[item] / root;
  }
  return t;
}

// The scores of each variable as bit columns, 64 subjects a word: one set
// for the scores of exactly 1.0, one for exactly 0.0 (any other score is in
// neither), so that a triplet's table is a few ANDs and popcounts a word.
struct ScoreBits {
  int words = 0;
  std::vector<std::uint64_t> ones;   // words by p
  std::vector<std::uint64_t> zeros;  // words by p
  std::vector<int> one_counts;       // p: subjects with the score 1.0
};

ScoreBits MakeScoreBits(const Matrix& item_data, int n, int p) {
  ScoreBits bits;
  bits.words = (n + 63) / 64;
  const std::size_t size = static_cast<std::size_t>(bits.words) * static_cast<std::size_t>(p);
  bits.ones.assign(size, 0);
  bits.zeros.assign(size, 0);
  bits.one_counts.assign(p, 0);
  for (int variable = 0; variable < p; ++variable) {
    const double* scores = item_data.Column(variable);
    std::uint64_t* ones = &bits.ones[static_cast<std::size_t>(variable) * bits.words];
    std::uint64_t* zeros = &bits.zeros[static_cast<std::size_t>(variable) * bits.words];
    int count = 0;
    for (int subject = 0; subject < n; ++subject) {
      const std::uint64_t bit = std::uint64_t{1} << (subject % 64);
      if (scores[subject] == 1.0) {
        ones[subject / 64] |= bit;
        ++count;
      } else if (scores[subject] == 0.0) {
        zeros[subject / 64] |= bit;
      }
    }
    bits.one_counts[variable] = count;
  }
  return bits;
}

// N(k) of the triplet (a, b, c) (0-based variables) from the bit columns.
TripletCounts CountFromBits(const ScoreBits& bits, int a, int b, int c) {
  const std::size_t words = static_cast<std::size_t>(bits.words);
  const std::uint64_t* ones_a = &bits.ones[a * words];
  const std::uint64_t* ones_b = &bits.ones[b * words];
  const std::uint64_t* ones_c = &bits.ones[c * words];
  const std::uint64_t* zeros_a = &bits.zeros[a * words];
  const std::uint64_t* zeros_b = &bits.zeros[b * words];
  const std::uint64_t* zeros_c = &bits.zeros[c * words];
  TripletCounts counts = {};
  for (std::size_t word = 0; word < words; ++word) {
    const std::uint64_t ones = ones_a[word] & ones_b[word];
    const std::uint64_t one_zero = ones_a[word] & zeros_b[word];
    const std::uint64_t zero_one = zeros_a[word] & ones_b[word];
    const std::uint64_t zeros = zeros_a[word] & zeros_b[word];
    // Patterns 111, 101, 110, 100, 011, 001, 010, 000.
    counts[0] += std::popcount(ones & ones_c[word]);
    counts[1] += std::popcount(one_zero & ones_c[word]);
    counts[2] += std::popcount(ones & zeros_c[word]);
    counts[3] += std::popcount(one_zero & zeros_c[word]);
    counts[4] += std::popcount(zero_one & ones_c[word]);
    counts[5] += std::popcount(zeros & ones_c[word]);
    counts[6] += std::popcount(zero_one & zeros_c[word]);
    counts[7] += std::popcount(zeros & zeros_c[word]);
  }
  return counts;
}

// Triplets handed to a thread at a time: each takes about a quarter of a
// millisecond at N = 2000, so chunks stay short enough to balance the end.
constexpr std::int64_t kTripletChunk = 4;

}  // namespace

double TripletNode(int q) {
  return q > 20 ? static_cast<double>(kUpperNodes[q - 21])
                : -static_cast<double>(kUpperNodes[20 - q]);
}

double TripletWeight(int q) {
  return static_cast<double>(q > 20 ? kUpperWeights[q - 21] : kUpperWeights[20 - q]);
}

int TripletPattern(int k, int item) { return kPatterns[k - 1][item]; }

void NextKSubset(int n, int k, std::vector<int>& subset, int& flag, KSubsetMemory& memory) {
  const bool restart = flag == 0 || memory.n != n || memory.k != k;
  memory.n = n;
  memory.k = k;
  flag = 1;
  if (!restart && static_cast<int>(subset.size()) == k) {
    // The rightmost element that can still grow grows by one; the ones
    // after it follow in steps of one.
    for (int place = k - 1; place >= 0; --place) {
      if (subset[place] < n - k + place + 1) {
        ++subset[place];
        for (int next = place + 1; next < k; ++next) subset[next] = subset[next - 1] + 1;
        return;
      }
    }
  }
  subset.resize(k);
  for (int place = 0; place < k; ++place) subset[place] = place + 1;
}

long long TripletCount(int p) {
  long long t = 1;
  for (int i = 1; i <= 3; ++i) t = ((p - i + 1) * t) / i;
  return t < 0 ? 0 : t;
}

std::vector<std::array<int, 3>> TripletList(int p) {
  const long long count = TripletCount(p);
  std::vector<std::array<int, 3>> list;
  list.reserve(static_cast<std::size_t>(count));
  std::vector<int> subset;
  int flag = 0;
  KSubsetMemory memory;
  for (long long t = 0; t < count; ++t) {
    NextKSubset(p, 3, subset, flag, memory);
    list.push_back({subset[0], subset[1], subset[2]});
  }
  return list;
}

void TripletPatternProbabilities(const TripletParameters& t,
                                 std::array<double, kTripletPatterns>& probabilities) {
  ItemCurve curves[3];
  FillCurves(t, curves);
  ProbabilitiesFromCurves(curves[0], curves[1], curves[2], probabilities);
}

double TripletFit(const TripletParameters& t, const TripletCounts& counts, int n) {
  ItemCurve curves[3];
  FillCurves(t, curves);
  return FitFromCurves(curves[0], curves[1], curves[2], MakeTable(counts, n));
}

double TripletStepSize(const TripletParameters& t, int k) {
  return (t[k] + static_cast<double>(0.01f)) - t[k];
}

void TripletDerivatives(const TripletParameters& t,
                        const TripletCounts& counts,
                        int n,
                        std::array<double, 6>& gradient,
                        Matrix& inverse_hessian) {
  ItemCurve curves[3];
  FillCurves(t, curves);
  Square6 hessian;
  DerivativesFromCurves(t, curves, MakeTable(counts, n), gradient, hessian);
  Matrix square(6, 6);
  for (int col = 0; col < 6; ++col) {
    for (int row = 0; row < 6; ++row) square(row, col) = hessian[row + 6 * col];
  }
  InvertWithFlag(square, inverse_hessian);
}

void InvertWithFlag(const Matrix& a, Matrix& inverse) {
  ERSET(0, 0, 0);
  inverse.Reset(6, 6);
  if (!DLINDS(6, a, inverse)) inverse(0, 0) = kNotPositiveDefinite;
  ERSET(0, 0, 0);
}

std::array<double, 3> TripletStartLoadings(double r12, double r13, double r23) {
  std::array<double, 3> loading = {0.0, 0.0, 0.0};
  const int zeros = (r12 == 0.0 ? 1 : 0) + (r13 == 0.0 ? 1 : 0) + (r23 == 0.0 ? 1 : 0);
  auto limit = [](double value) {
    return std::fabs(value) >= 1.0 ? std::copysign(kLoadingLimit, value) : value;
  };
  if (zeros == 0) {
    // Each product is formed first, then divided.
    const double ratio1 = r12 * r13 / r23;
    const double ratio2 = r12 * r23 / r13;
    const double ratio3 = r13 * r23 / r12;
    const double s1 = ratio1 <= 0.0 ? -1.0 : 1.0;
    const double s2 = ratio2 <= 0.0 ? -1.0 : 1.0;
    const double s3 = ratio3 <= 0.0 ? -1.0 : 1.0;
    loading[0] = limit(s1 * std::sqrt(std::fabs(ratio1)));
    loading[1] = limit(s2 * std::sqrt(std::fabs(ratio2)));
    loading[2] = limit(s3 * std::sqrt(std::fabs(ratio3)));
  } else if (zeros == 1) {
    // The limit of the formula: the ratio over the zero correlation grows
    // without bound, so the variable opposite it starts at 0.99 with the
    // sign of its two correlations' product; the other two ratios are 0.
    if (r23 == 0.0) loading[0] = std::copysign(kLoadingLimit, r12 * r13);
    if (r13 == 0.0) loading[1] = std::copysign(kLoadingLimit, r12 * r23);
    if (r12 == 0.0) loading[2] = std::copysign(kLoadingLimit, r13 * r23);
  } else if (zeros == 2) {
    // The formula has no value (0/0). The one variable pair that correlates
    // shares the factor, the third variable starts without a loading.
    const double r = r12 != 0.0 ? r12 : (r13 != 0.0 ? r13 : r23);
    const double size = limit(std::sqrt(std::fabs(r)));
    const double sign = r < 0.0 ? -1.0 : 1.0;
    if (r12 != 0.0) loading = {size, sign * size, 0.0};
    if (r13 != 0.0) loading = {size, 0.0, sign * size};
    if (r23 != 0.0) loading = {0.0, size, sign * size};
  }
  // Three zeros: independent items, all loadings 0.
  return loading;
}

std::string TripletMark(double statistic) {
  if (statistic >= kOnePercent) return "**";
  if (statistic >= kFivePercent) return "* ";
  return "  ";
}

double TripletStatistic(const TripletParameters& start, const TripletCounts& counts, int n) {
  TripletParameters t = start;
  ItemCurve curves[3];
  FillCurves(t, curves);
  std::array<double, kTripletPatterns> probabilities;
  ProbabilitiesFromCurves(curves[0], curves[1], curves[2], probabilities);

  // The first F skips patterns whose model probability is not above 0
  // (TripletFit takes them as 1/n instead).
  double l1 = 0.0;
  double l2 = 0.0;
  for (int k = 0; k < kTripletPatterns; ++k) {
    if (!(probabilities[k] > 0.0) || counts[k] == 0) continue;
    l1 += counts[k] * std::log(probabilities[k]);
    l2 += counts[k] * std::log(static_cast<double>(counts[k]) / n);
  }
  double f = -(l1 - l2) * 2.0;
  double f_old = f;

  const TripletTable table = MakeTable(counts, n);
  std::array<double, 6> gradient;
  Square6 hessian;
  Square6 inverse_hessian;
  ItemCurve candidate_curves[3];
  for (int iteration = 0; iteration < kMaxIterations; ++iteration) {
    DerivativesFromCurves(t, curves, table, gradient, hessian);
    if (!InvertQuietly(hessian, inverse_hessian)) inverse_hessian[0] = kNotPositiveDefinite;
    if (inverse_hessian[0] == kNotPositiveDefinite) break;
    std::array<double, 6> direction;
    for (int v = 0; v < 6; ++v) {
      double sum = 0.0;
      for (int u = 0; u < 6; ++u) sum += gradient[u] * inverse_hessian[u + 6 * v];
      direction[v] = sum;
    }
    double s = 1.0;
    TripletParameters candidate = t;
    for (int attempt = 0; attempt < kMaxTries; ++attempt) {
      for (int v = 0; v < 6; ++v) candidate[v] = t[v] - s * direction[v];
      FillCurves(candidate, candidate_curves);
      f = FitFromCurves(candidate_curves[0], candidate_curves[1], candidate_curves[2], table);
      if (f_old < f) s = s * 0.5;
      if (f < f_old) break;
    }
    // The last candidate is taken, better or not; its curves are those of
    // the next iteration.
    f_old = f;
    t = candidate;
    for (int item = 0; item < 3; ++item) curves[item] = candidate_curves[item];
    if (std::fabs(gradient[0]) <= kGradientBound) break;
  }
  return f_old;
}

double TripletTest(int a,
                   int b,
                   int c,
                   const double* scores_a,
                   const double* scores_b,
                   const double* scores_c,
                   double r12,
                   double r13,
                   double r23,
                   int n) {
  const std::array<double, 3> loading = TripletStartLoadings(r12, r13, r23);
  const double* columns[3] = {scores_a, scores_b, scores_c};
  const int numbers[3] = {a, b, c};

  std::array<double, 3> quantiles;
  for (int item = 0; item < 3; ++item) {
    int ones = 0;
    for (int subject = 0; subject < n; ++subject) ones += columns[item][subject] == 1.0 ? 1 : 0;
    const double proportion = static_cast<double>(ones) / n;
    quantiles[item] = DNORIN(proportion);
    // With the errors of DNORIN no longer stopping the run (after the first
    // inversion), a proportion without a quantile stops it here.
    if (proportion <= 0.0) StopOnVariable(numbers[item], " HAS NO SCORE OF 1 IN THE TRIPLET TEST");
    if (proportion >= 1.0) {
      StopOnVariable(numbers[item], " HAS ONLY SCORES OF 1 IN THE TRIPLET TEST");
    }
  }

  TripletCounts counts = {};
  for (int subject = 0; subject < n; ++subject) {
    for (int k = 0; k < kTripletPatterns; ++k) {
      if (columns[0][subject] == kPatterns[k][0] && columns[1][subject] == kPatterns[k][1] &&
          columns[2][subject] == kPatterns[k][2]) {
        ++counts[k];
      }
    }
  }

  // The switch that the first inversion of the Hessian makes: the errors of
  // the ERSET group neither print nor stop from here on, for the rest of the
  // run.
  ERSET(0, 0, 0);
  return TripletStatistic(StartParameters(quantiles, loading), counts, n);
}

void TestAllTriplets(const Matrix& item_data,
                     int n,
                     int p,
                     const Matrix& correlations,
                     Progress& progress,
                     TripletSummary& summary) {
  summary = TripletSummary();
  summary.triplet_count = TripletCount(p);
  summary.triplets = TripletList(p);
  const std::vector<std::array<int, 3>>& triplets = summary.triplets;
  progress.EmptyLines(1);
  summary.chi_squares.assign(triplets.size(), 0.0);

  // A variable whose proportion of 1.0 has no quantile (0 or 1, or no
  // subjects at all) stops the run, or with its errors switched off runs a
  // value that is not a number through the fit. The triplets before the
  // first one that holds such a variable are computed side by side; from
  // that one on they go one by one, as the stop must come at its triplet.
  const ScoreBits bits = MakeScoreBits(item_data, n, p);
  std::vector<double> quantiles(p, 0.0);
  std::vector<bool> usable(p, false);
  for (int variable = 0; variable < p; ++variable) {
    const double proportion = static_cast<double>(bits.one_counts[variable]) / n;
    usable[variable] = proportion > 0.0 && proportion < 1.0;
    if (usable[variable]) quantiles[variable] = DNORIN(proportion);
  }
  std::size_t parallel_end = 0;
  while (parallel_end < triplets.size()) {
    const std::array<int, 3>& triplet = triplets[parallel_end];
    if (!usable[triplet[0] - 1] || !usable[triplet[1] - 1] || !usable[triplet[2] - 1]) break;
    ++parallel_end;
  }

  if (parallel_end > 0) {
    // The first triplet's first inversion would switch the errors off;
    // switching here, once, keeps the threads from writing the setting.
    ERSET(0, 0, 0);
    // The node table is made here, before the threads read it, so that no
    // thread's first read has to wait on (or race with) its making.
    TheQuadrature();
    ParallelChunks(
        static_cast<std::int64_t>(parallel_end),
        kTripletChunk,
        [&](std::int64_t begin, std::int64_t end) {
          for (std::int64_t index = begin; index < end; ++index) {
            const std::array<int, 3>& triplet = triplets[index];
            const int a = triplet[0] - 1;
            const int b = triplet[1] - 1;
            const int c = triplet[2] - 1;
            const std::array<double, 3> loading =
                TripletStartLoadings(correlations(a, b), correlations(a, c), correlations(b, c));
            const TripletParameters start =
                StartParameters({quantiles[a], quantiles[b], quantiles[c]}, loading);
            summary.chi_squares[index] = TripletStatistic(start, CountFromBits(bits, a, b, c), n);
          }
        },
        [&](std::int64_t next) { ShowTriplet(triplets[next], progress); });
    ShowTriplet(triplets[parallel_end - 1], progress);
    summary.tested = parallel_end;
  }
  for (std::size_t index = parallel_end; index < triplets.size(); ++index) {
    const std::array<int, 3>& triplet = triplets[index];
    const int a = triplet[0];
    const int b = triplet[1];
    const int c = triplet[2];
    ShowTriplet(triplet, progress);
    summary.chi_squares[index] = TripletTest(a,
                                             b,
                                             c,
                                             item_data.Column(a - 1),
                                             item_data.Column(b - 1),
                                             item_data.Column(c - 1),
                                             correlations(a - 1, b - 1),
                                             correlations(a - 1, c - 1),
                                             correlations(b - 1, c - 1),
                                             n);
    summary.tested = index + 1;
  }
  summary.suspicious.assign(p, 0);
  for (std::size_t index = 0; index < triplets.size(); ++index) {
    if (TripletMark(summary.chi_squares[index]) == "**") {
      ++summary.suspicious[triplets[index][0] - 1];
      ++summary.suspicious[triplets[index][1] - 1];
      ++summary.suspicious[triplets[index][2] - 1];
    }
  }

  summary.percentages.assign(p, 0.0);
  // Every variable stands in (T 3) / p triplets; with none (p below 3) the
  // percentage is printed as 0.00.
  const long long holding = p > 0 ? (summary.triplet_count * 3) / p : 0;
  for (int variable = 0; variable < p; ++variable) {
    if (holding > 0) {
      summary.percentages[variable] =
          static_cast<double>(summary.suspicious[variable] * 100LL) / static_cast<double>(holding);
    }
  }
  summary.complete = true;
}

TripletSummary TestAllTriplets(
    const Matrix& item_data, int n, int p, const Matrix& correlations, Progress& progress) {
  TripletSummary summary;
  TestAllTriplets(item_data, n, p, correlations, progress, summary);
  return summary;
}

}  // namespace vq
