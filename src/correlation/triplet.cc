#include "correlation/triplet.h"

#include <cmath>
#include <string>

#include "correlation/variable_stop.h"
#include "frame/console.h"
#include "kernels/failure.h"
#include "kernels/normal.h"
#include "kernels/pd_inverse.h"
#include "report/edit_descriptors.h"
#include "report/saved_files.h"

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

// L1sum - L2sum over the patterns with N(k) above 0.
double LogLikelihoodDifference(const std::array<double, kTripletPatterns>& probabilities,
                               const TripletCounts& counts,
                               int n) {
  double l1 = 0.0;
  double l2 = 0.0;
  for (int k = 0; k < kTripletPatterns; ++k) {
    if (counts[k] == 0) continue;
    l1 += counts[k] * std::log(probabilities[k]);
    l2 += counts[k] * std::log(static_cast<double>(counts[k]) / n);
  }
  return l1 - l2;
}

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
  // The probability of a 1 at each node, once per item and node: rounded to
  // single precision where the pattern has a 1, unrounded in 1 - c where it
  // has a 0. These are the same values as computing them for every pattern.
  double keyed[3][kTripletNodes];
  double not_keyed[3][kTripletNodes];
  for (int item = 0; item < 3; ++item) {
    for (int q = 1; q <= kTripletNodes; ++q) {
      const double y = t[3 + item] * TripletNode(q) + t[item];
      const double c = DNORDF(-y);
      keyed[item][q - 1] = static_cast<double>(static_cast<float>(c));
      not_keyed[item][q - 1] = 1.0 - c;
    }
  }
  for (int k = 0; k < kTripletPatterns; ++k) {
    double sum = 0.0;
    for (int q = 0; q < kTripletNodes; ++q) {
      double product = 1.0;
      for (int item = 0; item < 3; ++item) {
        product = product * (kPatterns[k][item] == 1 ? keyed[item][q] : not_keyed[item][q]);
      }
      sum += product * TripletWeight(q + 1);
    }
    probabilities[k] = sum;
  }
}

double TripletFit(const TripletParameters& t, const TripletCounts& counts, int n) {
  std::array<double, kTripletPatterns> probabilities;
  TripletPatternProbabilities(t, probabilities);
  for (double& probability : probabilities) {
    if (probability == 0.0) probability = 1.0 / n;
  }
  return -LogLikelihoodDifference(probabilities, counts, n) * 2.0;
}

double TripletStepSize(const TripletParameters& t, int k) {
  return (t[k] + static_cast<double>(0.01f)) - t[k];
}

void TripletDerivatives(const TripletParameters& t,
                        const TripletCounts& counts,
                        int n,
                        std::array<double, 6>& gradient,
                        Matrix& inverse_hessian) {
  std::array<double, 6> h;
  for (int k = 0; k < 6; ++k) h[k] = TripletStepSize(t, k);
  const double f0 = TripletFit(t, counts, n);
  std::array<double, 6> f_plus;
  std::array<double, 6> f_minus;
  for (int k = 0; k < 6; ++k) {
    TripletParameters up = t;
    up[k] = t[k] + h[k];
    f_plus[k] = TripletFit(up, counts, n);
    TripletParameters down = t;
    down[k] = t[k] - h[k];
    f_minus[k] = TripletFit(down, counts, n);
    gradient[k] = (f_plus[k] - f_minus[k]) / (2.0 * h[k]);
  }
  Matrix hessian(6, 6);
  for (int k = 0; k < 6; ++k) {
    TripletParameters twice = t;
    twice[k] = (t[k] + h[k]) + h[k];
    const double f2 = TripletFit(twice, counts, n);
    hessian(k, k) = (f2 - f_plus[k] - f_plus[k] + f0) / (h[k] * h[k]);
  }
  for (int k = 0; k < 6; ++k) {
    for (int l = 0; l < k; ++l) {
      TripletParameters both = t;
      both[k] = t[k] + h[k];
      both[l] = t[l] + h[l];
      const double f_kl = TripletFit(both, counts, n);
      const double value = (f_kl - f_plus[l] - f_plus[k] + f0) / (h[k] * h[l]);
      hessian(k, l) = value;
      hessian(l, k) = value;
    }
  }
  InvertWithFlag(hessian, inverse_hessian);
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

double TripletTest(int a,
                   int b,
                   int c,
                   const double* scores_a,
                   const double* scores_b,
                   const double* scores_c,
                   double r12,
                   double r13,
                   double r23,
                   int n,
                   OutputFile& report) {
  const std::array<double, 3> loading = TripletStartLoadings(r12, r13, r23);
  const double* columns[3] = {scores_a, scores_b, scores_c};
  const int numbers[3] = {a, b, c};

  TripletParameters t;
  for (int item = 0; item < 3; ++item) {
    int ones = 0;
    for (int subject = 0; subject < n; ++subject) ones += columns[item][subject] == 1.0 ? 1 : 0;
    const double proportion = static_cast<double>(ones) / n;
    const double z = DNORIN(proportion);
    // With the errors of DNORIN no longer stopping the run (after the first
    // inversion), a proportion without a quantile stops it here.
    if (proportion <= 0.0) StopOnVariable(numbers[item], " HAS NO SCORE OF 1 IN THE TRIPLET TEST");
    if (proportion >= 1.0) {
      StopOnVariable(numbers[item], " HAS ONLY SCORES OF 1 IN THE TRIPLET TEST");
    }
    const double root = std::sqrt(1.0 - loading[item] * loading[item]);
    t[item] = -z / root;
    t[3 + item] = loading[item] / root;
  }

  std::array<double, kTripletPatterns> probabilities;
  TripletPatternProbabilities(t, probabilities);

  TripletCounts counts = {};
  for (int subject = 0; subject < n; ++subject) {
    for (int k = 0; k < kTripletPatterns; ++k) {
      if (columns[0][subject] == kPatterns[k][0] && columns[1][subject] == kPatterns[k][1] &&
          columns[2][subject] == kPatterns[k][2]) {
        ++counts[k];
      }
    }
  }

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

  std::array<double, 6> gradient;
  Matrix inverse_hessian;
  for (int iteration = 0; iteration < kMaxIterations; ++iteration) {
    TripletDerivatives(t, counts, n, gradient, inverse_hessian);
    if (inverse_hessian(0, 0) == kNotPositiveDefinite) break;
    std::array<double, 6> direction;
    for (int v = 0; v < 6; ++v) {
      double sum = 0.0;
      for (int u = 0; u < 6; ++u) sum += gradient[u] * inverse_hessian(u, v);
      direction[v] = sum;
    }
    double s = 1.0;
    TripletParameters candidate = t;
    for (int attempt = 0; attempt < kMaxTries; ++attempt) {
      for (int v = 0; v < 6; ++v) candidate[v] = t[v] - s * direction[v];
      f = TripletFit(candidate, counts, n);
      if (f_old < f) s = s * 0.5;
      if (f < f_old) break;
    }
    // The last candidate is taken, better or not.
    f_old = f;
    t = candidate;
    if (std::fabs(gradient[0]) <= kGradientBound) break;
  }

  report.Write(FormatI(a, 3) + " " + FormatI(b, 3) + " " + FormatI(c, 3) + " " + "  " +
               FormatF(f_old, 10, 4) + FormatA(TripletMark(f_old), 2));
  return f_old;
}

TripletSummary TestAllTriplets(
    const Matrix& item_data, int n, int p, const Matrix& correlations, OutputFile& report) {
  report.EmptyLines(2);
  report.Write("0==============Triplet Test of Multivariate Normality============0");
  report.EmptyLines(1);
  report.Write("   Triplet    LR Chi-Square");
  report.EmptyLines(1);

  TripletSummary summary;
  summary.triplet_count = TripletCount(p);
  const std::vector<std::array<int, 3>> triplets = TripletList(p);
  summary.suspicious.assign(p, 0);
  ConsoleEmptyLines(1);
  summary.chi_squares.reserve(triplets.size());
  for (const std::array<int, 3>& triplet : triplets) {
    const int a = triplet[0];
    const int b = triplet[1];
    const int c = triplet[2];
    ConsoleOverwrite(30,
                     "Computing Triplet Test for variables " + FormatI(a, 3) + " " + FormatI(b, 3) +
                         " " + FormatI(c, 3));
    const double statistic = TripletTest(a,
                                         b,
                                         c,
                                         item_data.Column(a - 1),
                                         item_data.Column(b - 1),
                                         item_data.Column(c - 1),
                                         correlations(a - 1, b - 1),
                                         correlations(a - 1, c - 1),
                                         correlations(b - 1, c - 1),
                                         n,
                                         report);
    summary.chi_squares.push_back(statistic);
    if (TripletMark(statistic) == "**") {
      ++summary.suspicious[a - 1];
      ++summary.suspicious[b - 1];
      ++summary.suspicious[c - 1];
    }
  }

  report.EmptyLines(1);
  report.Write("Number of triplets tested = " + FormatI(summary.triplet_count, 8));
  report.EmptyLines(1);
  report.Write("Variable         # of times                    % of times ");
  report.Write("            in a suspicious triplet       in a suspicious triplet");
  report.Write("                                               (1.00 = 1%)            ");
  report.Write("--------   ------------------------       ------------------------");
  summary.percentages.assign(p, 0.0);
  // Every variable stands in (T 3) / p triplets; with none (p below 3) the
  // percentage is printed as 0.00.
  const long long holding = p > 0 ? (summary.triplet_count * 3) / p : 0;
  for (int variable = 0; variable < p; ++variable) {
    if (holding > 0) {
      summary.percentages[variable] =
          static_cast<double>(summary.suspicious[variable] * 100LL) / static_cast<double>(holding);
    }
    report.Write(FormatI(variable + 1, 3) + Blanks(13) + FormatI(summary.suspicious[variable], 8) +
                 Blanks(23) + FormatF(summary.percentages[variable], 8, 2));
  }
  return summary;
}

void WriteTripletFile(OutputFile& mvn, const TripletSummary& summary) {
  Matrix chi_squares(1, static_cast<int>(summary.chi_squares.size()));
  for (std::size_t t = 0; t < summary.chi_squares.size(); ++t) {
    chi_squares(0, static_cast<int>(t)) = summary.chi_squares[t];
  }
  WriteMatrixRows(mvn, chi_squares, 9, 3, 2, 9999);
  Matrix percentages(1, static_cast<int>(summary.percentages.size()));
  for (std::size_t i = 0; i < summary.percentages.size(); ++i) {
    percentages(0, static_cast<int>(i)) = summary.percentages[i];
  }
  WriteMatrixRows(mvn, percentages, 9, 3, 2, 9999);
}

void RunTripletTest(const RunOptions& options,
                    const Matrix& item_data,
                    int n,
                    int p,
                    const Matrix& correlations,
                    OutputFile& report,
                    std::string_view run_stem,
                    std::string_view run_directory) {
  const TripletSummary summary = TestAllTriplets(item_data, n, p, correlations, report);
  if (WantsCode(options, "MVN")) {
    OutputFile mvn;
    OpenSavedFile(mvn, kTripletUnit, run_directory, run_stem, "mvn");
    WriteTripletFile(mvn, summary);
    mvn.Close();
  }
}

}  // namespace vq
