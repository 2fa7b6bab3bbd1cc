// The fast and threaded triplet test against a literal copy of the plain
// code it replaced: every probability, fit, derivative and statistic must be
// the same double, and whole runs must write the same report and console
// text whatever the thread count, up to a stop at the same triplet.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "correlation/triplet.h"
#include "correlation/variable_stop.h"
#include "data/simulation.h"
#include "frame/console.h"
#include "frame/progress.h"
#include "kernels/failure.h"
#include "kernels/normal.h"
#include "kernels/parallel.h"
#include "kernels/pd_inverse.h"
#include "report/run_outputs.h"
#include "text/edit_descriptors.h"
#include "writers/triplet_writer.h"

namespace vq {
namespace {

// --- The plain code, as it stood before the fast path ----------------------

namespace plain {

constexpr int kPatterns[kTripletPatterns][3] = {
    {1, 1, 1}, {1, 0, 1}, {1, 1, 0}, {1, 0, 0}, {0, 1, 1}, {0, 0, 1}, {0, 1, 0}, {0, 0, 0}};
constexpr double kGradientBound = static_cast<double>(0.00001f);
constexpr int kMaxIterations = 10;
constexpr int kMaxTries = 4;

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

void TripletPatternProbabilities(const TripletParameters& t,
                                 std::array<double, kTripletPatterns>& probabilities) {
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

void InvertWithFlag(const Matrix& a, Matrix& inverse) {
  ERSET(0, 0, 0);
  inverse.Reset(6, 6);
  if (!DLINDS(6, a, inverse)) inverse(0, 0) = kNotPositiveDefinite;
  ERSET(0, 0, 0);
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
  plain::InvertWithFlag(hessian, inverse_hessian);
}

// The iteration of the old TripletTest from its start values and table.
double Iterate(TripletParameters t, const TripletCounts& counts, int n) {
  std::array<double, kTripletPatterns> probabilities;
  TripletPatternProbabilities(t, probabilities);
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
    plain::TripletDerivatives(t, counts, n, gradient, inverse_hessian);
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
    f_old = f;
    t = candidate;
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
    if (proportion <= 0.0) StopOnVariable(numbers[item], " HAS NO SCORE OF 1 IN THE TRIPLET TEST");
    if (proportion >= 1.0) {
      StopOnVariable(numbers[item], " HAS ONLY SCORES OF 1 IN THE TRIPLET TEST");
    }
    const double root = std::sqrt(1.0 - loading[item] * loading[item]);
    t[item] = -z / root;
    t[3 + item] = loading[item] / root;
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
  const double f_old = Iterate(t, counts, n);
  report.Write(FormatI(a, 3) + " " + FormatI(b, 3) + " " + FormatI(c, 3) + " " + "  " +
               FormatF(f_old, 10, 4) + FormatA(TripletMark(f_old), 2));
  return f_old;
}

// The triplet loop of the old TestAllTriplets (head and summary are
// unchanged and left out).
std::vector<double> TestAllTriplets(
    const Matrix& item_data, int n, int p, const Matrix& correlations, OutputFile& report) {
  std::vector<double> chi_squares;
  ConsoleEmptyLines(1);
  for (const std::array<int, 3>& triplet : TripletList(p)) {
    const int a = triplet[0];
    const int b = triplet[1];
    const int c = triplet[2];
    ConsoleOverwrite(30,
                     "Computing Triplet Test for variables " + FormatI(a, 3) + " " + FormatI(b, 3) +
                         " " + FormatI(c, 3));
    chi_squares.push_back(plain::TripletTest(a,
                                             b,
                                             c,
                                             item_data.Column(a - 1),
                                             item_data.Column(b - 1),
                                             item_data.Column(c - 1),
                                             correlations(a - 1, b - 1),
                                             correlations(a - 1, c - 1),
                                             correlations(b - 1, c - 1),
                                             n,
                                             report));
  }
  return chi_squares;
}

}  // namespace plain

// --- Helpers -----------------------------------------------------------------

// Bits of a double, so that a failure shows which doubles differ.
#define EXPECT_SAME_DOUBLE(x, y)                                                        \
  do {                                                                                  \
    const double x_value = (x);                                                         \
    const double y_value = (y);                                                         \
    if (std::isnan(x_value) || std::isnan(y_value)) {                                   \
      EXPECT_EQ(std::isnan(x_value), std::isnan(y_value)) << x_value << " " << y_value; \
    } else {                                                                            \
      EXPECT_EQ(x_value, y_value) << std::hexfloat << x_value << " " << y_value;        \
    }                                                                                   \
  } while (0)

double Uniform(PortableRandom& random, double low, double high) {
  return low + (high - low) * NextUniform(random);
}

// Random parameters, now and then far out where pattern probabilities
// vanish and the Hessian is not positive definite.
TripletParameters RandomParameters(PortableRandom& random) {
  TripletParameters t;
  const bool extreme = NextUniform(random) < 0.2;
  for (int item = 0; item < 3; ++item) {
    t[item] = extreme ? Uniform(random, -40.0, 40.0) : Uniform(random, -2.5, 2.5);
    t[3 + item] = extreme ? Uniform(random, -60.0, 60.0) : Uniform(random, -3.0, 3.0);
  }
  return t;
}

// A random table with empty patterns now and then; returns n.
int RandomTable(PortableRandom& random, TripletCounts& counts) {
  int n = 0;
  for (int k = 0; k < kTripletPatterns; ++k) {
    counts[k] = NextUniform(random) < 0.15 ? 0 : static_cast<int>(Uniform(random, 1.0, 400.0));
    n += counts[k];
  }
  // Subjects with other scores count in n but in no pattern.
  return n + static_cast<int>(Uniform(random, 0.0, 5.0));
}

// A table near the model at `t` (so that the Hessian there is mostly
// positive definite): n P(k) with up to 10% noise; returns n.
int ModelTable(PortableRandom& random, const TripletParameters& t, TripletCounts& counts) {
  std::array<double, kTripletPatterns> probabilities;
  plain::TripletPatternProbabilities(t, probabilities);
  int n = 0;
  for (int k = 0; k < kTripletPatterns; ++k) {
    counts[k] = static_cast<int>(2000.0 * probabilities[k] * Uniform(random, 0.9, 1.1));
    n += counts[k];
  }
  if (n == 0) counts[7] = n = 1;
  return n;
}

// p dichotomous items, two correlated factors, a few subjects with scores
// other than 0 and 1, and their (rough) correlation matrix.
void RandomData(int p, int n, std::uint64_t seed, Matrix& scores, Matrix& correlations) {
  ItemModel model = SimpleStructureModel(p, 2, 0.65, {0.0});
  for (int item = 0; item < p; ++item) {
    model.loadings(item, (item * 2) / p) = 0.3 + 0.5 * item / p;
    model.thresholds[item] = {-1.2 + 2.4 * item / p};
  }
  model.factor_correlations(0, 1) = model.factor_correlations(1, 0) = 0.3;
  if (seed % 2 == 1) {
    model.latent = LatentShape::kTwoPoint;
    model.upper_share = 0.2;
  }
  ASSERT_TRUE(SimulateItemScores(model, n, seed, scores));
  scores(3, 0) = 2.0;
  scores(5, 1) = -0.0;
  scores(7, 2) = std::numeric_limits<double>::quiet_NaN();
  correlations.Reset(p, p);
  for (int i = 0; i < p; ++i) {
    for (int j = 0; j < p; ++j) correlations(i, j) = i == j ? 1.0 : LatentCorrelation(model, i, j);
  }
  // A zero and a negative correlation for the start loadings' odd cases.
  correlations(0, 2) = correlations(2, 0) = 0.0;
  correlations(1, 3) = correlations(3, 1) = -0.2;
}

// What a whole run of the triplet loop shows.
struct RunText {
  std::string report;
  std::string console;
  bool stopped = false;
};

RunText RunFast(const Matrix& scores, int n, int p, const Matrix& correlations, int threads) {
  ResetImslState();
  SetThreadCount(threads);
  RunText run;
  OutputFile report;
  report.OpenInMemory(11);
  {
    ConsoleCapture capture;
    // As the run does it: the section written from what was computed, up
    // to a stop.
    RunOutputs outputs(report, "", "t.in");
    TripletSummary summary;
    try {
      TestAllTriplets(scores, n, p, correlations, ConsoleProgress(), summary);
    } catch (const RunStopped&) {
      run.stopped = true;
    }
    WriteTripletReport(summary, outputs);
    run.console = capture.Out();
  }
  run.report = report.Text();
  SetThreadCount(0);
  ResetImslState();
  return run;
}

// The plain loop, with the head before and the stop as the fast one.
RunText RunPlain(const Matrix& scores, int n, int p, const Matrix& correlations) {
  ResetImslState();
  RunText run;
  OutputFile report;
  report.OpenInMemory(11);
  report.EmptyLines(2);
  report.Write("0==============Triplet Test of Multivariate Normality============0");
  report.EmptyLines(1);
  report.Write("   Triplet    LR Chi-Square");
  report.EmptyLines(1);
  {
    ConsoleCapture capture;
    try {
      plain::TestAllTriplets(scores, n, p, correlations, report);
    } catch (const RunStopped&) {
      run.stopped = true;
    }
    run.console = capture.Out();
  }
  run.report = report.Text();
  ResetImslState();
  return run;
}

// --- Same doubles --------------------------------------------------------------

TEST(TripletParallel, ProbabilitiesAndFitAreTheSameDoubles) {
  PortableRandom random;
  SeedRandom(random, 2024);
  int vanished = 0;
  for (int trial = 0; trial < 400; ++trial) {
    const TripletParameters t = RandomParameters(random);
    std::array<double, kTripletPatterns> fast;
    std::array<double, kTripletPatterns> reference;
    TripletPatternProbabilities(t, fast);
    plain::TripletPatternProbabilities(t, reference);
    for (int k = 0; k < kTripletPatterns; ++k) {
      EXPECT_SAME_DOUBLE(fast[k], reference[k]);
      vanished += reference[k] == 0.0 ? 1 : 0;
    }
    TripletCounts counts;
    const int n = RandomTable(random, counts);
    EXPECT_SAME_DOUBLE(TripletFit(t, counts, n), plain::TripletFit(t, counts, n));
  }
  EXPECT_GT(vanished, 0);  // the 1/n case was met
}

TEST(TripletParallel, DerivativesAreTheSameDoubles) {
  ResetImslState();
  PortableRandom random;
  SeedRandom(random, 77);
  int flagged = 0;
  for (int trial = 0; trial < 200; ++trial) {
    const TripletParameters t = RandomParameters(random);
    TripletCounts counts;
    const int n = trial % 2 == 0 ? RandomTable(random, counts) : ModelTable(random, t, counts);
    std::array<double, 6> gradient;
    std::array<double, 6> reference_gradient;
    Matrix inverse;
    Matrix reference_inverse;
    TripletDerivatives(t, counts, n, gradient, inverse);
    plain::TripletDerivatives(t, counts, n, reference_gradient, reference_inverse);
    for (int k = 0; k < 6; ++k) EXPECT_SAME_DOUBLE(gradient[k], reference_gradient[k]);
    ASSERT_EQ(inverse.rows, 6);
    ASSERT_EQ(inverse.cols, 6);
    for (int col = 0; col < 6; ++col) {
      for (int row = 0; row < 6; ++row) {
        EXPECT_SAME_DOUBLE(inverse(row, col), reference_inverse(row, col));
      }
    }
    flagged += reference_inverse(0, 0) == kNotPositiveDefinite ? 1 : 0;
  }
  EXPECT_GT(flagged, 0);         // Hessians that are not positive definite were met
  EXPECT_LT(flagged, 200 - 20);  // and many that are
  ResetImslState();
}

TEST(TripletParallel, StatisticIsTheSameDoubleAsThePlainIteration) {
  ResetImslState();
  ERSET(0, 0, 0);
  PortableRandom random;
  SeedRandom(random, 5);
  for (int trial = 0; trial < 60; ++trial) {
    // Half the tables come from a model near the start, so that the
    // iteration runs its course; half are arbitrary.
    TripletParameters start;
    TripletParameters truth;
    for (int item = 0; item < 3; ++item) {
      truth[item] = Uniform(random, -1.5, 1.5);
      truth[3 + item] = Uniform(random, -2.0, 2.0);
      start[item] = truth[item] + Uniform(random, -0.2, 0.2);
      start[3 + item] = truth[3 + item] + Uniform(random, -0.3, 0.3);
    }
    TripletCounts counts;
    const int n = trial % 2 == 0 ? RandomTable(random, counts) : ModelTable(random, truth, counts);
    EXPECT_SAME_DOUBLE(TripletStatistic(start, counts, n), plain::Iterate(start, counts, n));
  }
  ResetImslState();
}

TEST(TripletParallel, TripletTestWritesTheSameLine) {
  Matrix scores, correlations;
  RandomData(6, 700, 8, scores, correlations);
  for (const std::array<int, 3>& triplet : TripletList(6)) {
    const int a = triplet[0] - 1;
    const int b = triplet[1] - 1;
    const int c = triplet[2] - 1;
    OutputFile fast_report, plain_report;
    fast_report.OpenInMemory(11);
    plain_report.OpenInMemory(11);
    ResetImslState();
    const double fast = TripletTest(a + 1,
                                    b + 1,
                                    c + 1,
                                    scores.Column(a),
                                    scores.Column(b),
                                    scores.Column(c),
                                    correlations(a, b),
                                    correlations(a, c),
                                    correlations(b, c),
                                    700);
    fast_report.Write(TripletLine(a + 1, b + 1, c + 1, fast));
    ResetImslState();
    const double reference = plain::TripletTest(a + 1,
                                                b + 1,
                                                c + 1,
                                                scores.Column(a),
                                                scores.Column(b),
                                                scores.Column(c),
                                                correlations(a, b),
                                                correlations(a, c),
                                                correlations(b, c),
                                                700,
                                                plain_report);
    EXPECT_SAME_DOUBLE(fast, reference);
    EXPECT_EQ(fast_report.Text(), plain_report.Text());
  }
  ResetImslState();
}

// --- Whole runs over thread counts -------------------------------------------

TEST(TripletParallel, WholeRunsAreTheSameForOneTwoAndThreeThreads) {
  for (const std::uint64_t seed : {3u, 4u}) {
    const int p = 9;
    const int n = 450;
    Matrix scores, correlations;
    RandomData(p, n, seed, scores, correlations);
    const RunText reference = RunPlain(scores, n, p, correlations);
    ASSERT_FALSE(reference.stopped);
    for (int threads = 1; threads <= 3; ++threads) {
      SCOPED_TRACE(threads);
      const RunText run = RunFast(scores, n, p, correlations, threads);
      EXPECT_FALSE(run.stopped);
      // The plain loop's lines, then the count and the summary table.
      ASSERT_GE(run.report.size(), reference.report.size());
      EXPECT_EQ(run.report.substr(0, reference.report.size()), reference.report);
      EXPECT_EQ(run.report.substr(reference.report.size(), 38),
                "\nNumber of triplets tested =       84\n");
      // The last "+" record is the last triplet's line.
      EXPECT_EQ(run.console, reference.console);
      EXPECT_EQ(run.console,
                "\n" + std::string(28, ' ') + "Computing Triplet Test for variables   7   8   9\n");
    }
  }
}

TEST(TripletParallel, SummaryAndSavedFileAreTheSameForEveryThreadCount) {
  const int p = 8;
  const int n = 400;
  Matrix scores, correlations;
  RandomData(p, n, 11, scores, correlations);
  std::string first_report;
  std::string first_mvn;
  for (int threads = 1; threads <= 3; ++threads) {
    ResetImslState();
    SetThreadCount(threads);
    OutputFile report;
    report.OpenInMemory(11);
    ConsoleCapture capture;
    const TripletSummary summary = TestAllTriplets(scores, n, p, correlations, ConsoleProgress());
    SetThreadCount(0);
    RunOutputs outputs(report, "", "t.in");
    WriteTripletReport(summary, outputs);
    OutputFile mvn;
    mvn.OpenInMemory(22);
    WriteTripletFile(mvn, summary);
    ASSERT_EQ(summary.chi_squares.size(), 56u);
    int suspicious = 0;
    for (double statistic : summary.chi_squares) suspicious += statistic >= 6.635000228881836;
    int counted = 0;
    for (int count : summary.suspicious) counted += count;
    EXPECT_EQ(counted, 3 * suspicious);
    EXPECT_GT(suspicious, 0);  // the two-point factors make misfits
    if (threads == 1) {
      first_report = report.Text();
      first_mvn = mvn.Text();
    } else {
      EXPECT_EQ(report.Text(), first_report);
      EXPECT_EQ(mvn.Text(), first_mvn);
    }
  }
  ResetImslState();
}

TEST(TripletParallel, AVariableWithoutOnesStopsAtItsFirstTriplet) {
  const int p = 7;
  const int n = 300;
  Matrix scores, correlations;
  RandomData(p, n, 6, scores, correlations);
  for (int subject = 0; subject < n; ++subject) scores(subject, 4) = 0.0;
  const RunText reference = RunPlain(scores, n, p, correlations);
  ASSERT_TRUE(reference.stopped);
  for (int threads = 1; threads <= 3; ++threads) {
    SCOPED_TRACE(threads);
    const RunText run = RunFast(scores, n, p, correlations, threads);
    EXPECT_TRUE(run.stopped);
    EXPECT_EQ(run.report, reference.report);
    EXPECT_EQ(run.console, reference.console);
  }
  // (1,2,3) and (1,2,4) are written; the run stops at (1,2,5) with the
  // message, the errors of DNORIN having been switched off by the first
  // inversion.
  EXPECT_EQ(reference.console,
            "\n" + std::string(28, ' ') + "Computing Triplet Test for variables   1   2   5\n" +
                std::string(28, ' ') +
                "FATAL ERROR: VARIABLE   5 HAS NO SCORE OF 1 IN THE TRIPLET TEST\n\n\n\n"
                "Stop - Program terminated.\nProgram Terminated with exit code 0\n");
  EXPECT_NE(reference.report.find("  1   2   4   "), std::string::npos);
  EXPECT_EQ(reference.report.find("  1   2   5   "), std::string::npos);
}

TEST(TripletParallel, AVariableOfOnlyOnesInTheFirstTripletStopsThroughDnorin) {
  const int p = 6;
  const int n = 200;
  Matrix scores, correlations;
  RandomData(p, n, 2, scores, correlations);
  for (int subject = 0; subject < n; ++subject) scores(subject, 1) = 1.0;
  const RunText reference = RunPlain(scores, n, p, correlations);
  ASSERT_TRUE(reference.stopped);
  EXPECT_NE(reference.console.find("*** TERMINAL ERROR 1 from DNORIN."), std::string::npos);
  for (int threads = 1; threads <= 3; ++threads) {
    SCOPED_TRACE(threads);
    const RunText run = RunFast(scores, n, p, correlations, threads);
    EXPECT_TRUE(run.stopped);
    EXPECT_EQ(run.report, reference.report);
    EXPECT_EQ(run.console, reference.console);
  }
}

TEST(TripletParallel, ScoresOtherThanZeroAndOneFallInNoPattern) {
  // Item 2 holds 2.0 for a third of the subjects: they count in n but in no
  // pattern. The bit columns must give the plain loop's table.
  const int p = 4;
  const int n = 330;
  Matrix scores, correlations;
  RandomData(p, n, 12, scores, correlations);
  for (int subject = 0; subject < n; subject += 3) scores(subject, 1) = 2.0;
  scores(10, 3) = -0.0;  // counts as 0
  const RunText reference = RunPlain(scores, n, p, correlations);
  for (int threads = 1; threads <= 2; ++threads) {
    const RunText run = RunFast(scores, n, p, correlations, threads);
    EXPECT_EQ(run.report.substr(0, reference.report.size()), reference.report);
    EXPECT_EQ(run.console, reference.console);
  }
}

}  // namespace
}  // namespace vq
