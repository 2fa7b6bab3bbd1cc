// The fast pairwise estimators against plain, slow transcriptions of the
// same steps: categories found by sorting each column, tables counted
// subject by subject, four orthant probabilities per cell and evaluation,
// the Newton iteration run pair after pair with its carried "previous r",
// everything in one thread. On random inputs of several shapes the fast
// estimators, on 1, 2 and 3 threads, must give the same doubles bit for bit,
// the same report, saved files and console text, and the same stops.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "correlation/pair_order.h"
#include "correlation/polychoric.h"
#include "correlation/tetrachoric.h"
#include "correlation/variable_stop.h"
#include "frame/console.h"
#include "kernels/bivariate_normal.h"
#include "kernels/failure.h"
#include "kernels/normal.h"
#include "kernels/parallel.h"
#include "kernels/rank_sort.h"
#include "report/run_outputs.h"
#include "report/saved_files.h"
#include "text/edit_descriptors.h"
#include "writers/correlation_writer.h"

namespace vq {
namespace {

// ---------------------------------------------------------------------------
// Plain polychorics.

struct PlainCategories {
  std::vector<int> k;
  Matrix scores;      // rows 1..15
  Matrix thresholds;  // rows 0..K
};

void PlainFindCategories(const Matrix& x, int n, int p, PlainCategories& c) {
  c.k.assign(p, 0);
  c.scores.Reset(16, p, 99.0);
  c.thresholds.Reset(15, p, 0.0);
  Matrix counts(16, p, 0.0);
  for (int variable = 0; variable < p; ++variable) {
    std::vector<double> sorted(x.Column(variable), x.Column(variable) + n);
    int ifail = kIfailQuiet;
    M01CAF(sorted.data(), 1, n, 'A', ifail);
    std::vector<double> distinct;
    for (int s = 0; s < n; ++s) {
      if (s == 0 || sorted[s] != sorted[s - 1]) distinct.push_back(sorted[s]);
    }
    int k = static_cast<int>(distinct.size());
    if (k > 0 && distinct[k - 1] == 99.0) --k;
    if (k == 0) StopOnVariable(variable + 1, " HAS NO SCORE OTHER THAN 99");
    if (k > 14) StopOnVariable(variable + 1, " HAS MORE THAN 14 CATEGORIES");
    c.k[variable] = k;
    for (int row = 1; row <= k; ++row) c.scores(row, variable) = distinct[row - 1];
    for (int row = 1; row <= k; ++row) {
      for (int s = 0; s < n; ++s) {
        if (x(s, variable) == c.scores(row, variable)) counts(row, variable) += 1.0;
      }
    }
    for (int row = 2; row <= k - 1; ++row) counts(row, variable) += counts(row - 1, variable);
    c.thresholds(0, variable) = -999999.0;
    c.thresholds(k, variable) = 999999.0;
    for (int row = 1; row <= k - 1; ++row) {
      int hard = kIfailHard;
      c.thresholds(row, variable) = G01FAF("Lower-tail", counts(row, variable) / n, hard);
    }
  }
}

double PlainLikelihood(
    double r, int ki, int kj, const double* t, const double* u, int (*counts)[16]) {
  double likelihood = 0.0;
  for (int a = 1; a <= kj; ++a) {
    for (int b = 1; b <= ki; ++b) {
      int h = kIfailHard;
      const double first = G01HAF(t[a], u[b], r, h);
      const double second = G01HAF(t[a - 1], u[b], r, h);
      const double third = G01HAF(t[a], u[b - 1], r, h);
      const double fourth = G01HAF(t[a - 1], u[b - 1], r, h);
      const double cell = first - second - third + fourth;
      if (cell > 0.0) likelihood += counts[a][b] * std::log(cell);
    }
  }
  return likelihood;
}

double PlainSearch(int (*counts)[16], int ki, int kj, const double* ti, const double* tj) {
  double step = 0.05, r = -0.95, best_l = -999999.0, best_r = 0.0;
  int evaluations = 41;
  for (int pass = 1; pass <= 30; ++pass) {
    for (int e = 0; e < evaluations; ++e) {
      r = r + step;
      if (r >= 0.9) r = 0.9;
      if (r <= -0.9) r = -0.9;
      const double l = PlainLikelihood(r, ki, kj, tj, ti, counts);
      if (l > best_l) {
        best_l = l;
        best_r = r;
      }
    }
    if (step < static_cast<double>(0.000001f)) break;
    r = best_r - step;
    step = step / 2.0;
    evaluations = 5;
  }
  return best_r;
}

void PlainPolychorics(const Matrix& x, int n, int p, Matrix& result, OutputFile& report) {
  PlainCategories c;
  PlainFindCategories(x, n, p, c);
  result.Reset(p, p);
  for (int i = 1; i < p; ++i) {
    for (int j = 0; j < i; ++j) {
      ConsoleOverwrite(29,
                       " Computing polychoric correlations for variables: " + FormatI(i + 1, 3) +
                           " " + FormatI(j + 1, 3));
      int counts[16][16] = {};
      for (int a = 1; a <= c.k[j]; ++a) {
        for (int b = 1; b <= c.k[i]; ++b) {
          for (int s = 0; s < n; ++s) {
            if (x(s, j) == c.scores(a, j) && x(s, i) == c.scores(b, i)) ++counts[a][b];
          }
        }
      }
      const double best_r =
          PlainSearch(counts, c.k[i], c.k[j], c.thresholds.Column(i), c.thresholds.Column(j));
      if (best_r == 0.9 || best_r == -0.9) {
        report.Write(Blanks(16) + "!!!WARNING: CORRELATION " + FormatI(i + 1, 3) + " " +
                     FormatI(j + 1, 3) + FormatA("   AT BOUNDARY!!!", 18));
        report.EmptyLines(1);
      }
      result(i, j) = best_r;
    }
  }
  for (int i = 0; i < p; ++i) {
    result(i, i) = 1.0;
    for (int j = 0; j < i; ++j) result(j, i) = result(i, j);
  }
}

// ---------------------------------------------------------------------------
// Plain tetrachorics.

double PlainQuotient(double num, double den) {
  if (den != 0.0) return num / den;
  if (num == 0.0 || std::isnan(num)) return std::nan("");
  return std::copysign(INFINITY, num);
}
double PlainReciprocal(double x) { return x == 0.0 ? INFINITY : 1.0 / x; }

double PlainNewton(double r, double zi, double zj, double c11, double& previous_r, bool& settled) {
  settled = true;
  int hard = kIfailHard;
  double pm = G01HAF(zi, zj, r, hard);
  double dr = 1.0, dp = 1.0;
  int pass = 1;
  while (pass < 1000 && (dr > 0.0001 || dp > 0.00001)) {
    const double d1 = BivariateDensity(zi, zj, r);
    const double d2 = BivariateDensity(-1000.0, zj, r);
    const double d3 = BivariateDensity(zi, -1000.0, r);
    const double d4 = BivariateDensity(-1000.0, -1000.0, r);
    float slope = static_cast<float>(d1 - d2 - d3 + d4);
    hard = kIfailHard;
    pm = G01HAF(zi, zj, r, hard);
    dp = std::fabs(pm - c11);
    if (slope <= 0.02f) slope = slope * 5.5f;
    if (pm < 0.01 || c11 < 0.01) {
      dp = 0.0;
    } else {
      r = r - (pm - c11) / slope;
    }
    dr = std::fabs(previous_r - r);
    previous_r = r;
    pass = pass + 1;
    if (pass >= 1000) settled = false;
  }
  return r;
}

struct PlainFiles {
  OutputFile frq;
  OutputFile dff;
  OutputFile ser;
};

void PlainFrequencyTable(OutputFile& frq,
                         int j,
                         int i,
                         double a,
                         double b,
                         double c,
                         double d,
                         double r,
                         double standard_error,
                         double phi) {
  frq.Write("Variables " + FormatI(j, 3) + " and " + FormatI(i, 3));
  frq.Write("--------------------");
  frq.Write("      0         1");
  frq.Write("1 " + FormatF(a, 8, 2) + "  " + FormatF(b, 8, 2) + "  " +
            "     r(tet) = " + FormatF(r, 5, 3) + "     std err  " + FormatF(standard_error, 5, 3));
  frq.Write("0 " + FormatF(c, 8, 2) + "  " + FormatF(d, 8, 2) + "  " +
            "     r(phi) = " + FormatF(phi, 5, 3));
  frq.EmptyLines(2);
}

void PlainTetrachorics(const Matrix& x,
                       int n,
                       int p,
                       Matrix& result,
                       OutputFile& report,
                       PlainFiles& files,
                       int guessing_flag,
                       const std::vector<double>& g) {
  const bool corrected = guessing_flag == 1;
  result.Reset(p, p);
  const double keyed = FindKeyedScore(x, n);
  files.frq.EmptyLines(2);
  files.frq.Write("         Bias Corrected Cell Frequencies and Correlations");
  files.frq.EmptyLines(2);
  std::vector<double> prop(p);
  for (int v = 0; v < p; ++v) {
    int count = 0;
    for (int s = 0; s < n; ++s) count += x(s, v) == keyed ? 1 : 0;
    prop[v] = static_cast<double>(count) / n;
  }
  for (int v = 0; v < p; ++v) {
    if (prop[v] == 0.0) StopOnVariable(v + 1, " HAS NO VARIANCE");
  }
  for (int v = 0; v < p; ++v) files.dff.Write(FormatI(v + 1, 4) + "  " + FormatF(prop[v], 6, 4));
  std::vector<TetrachoricTable> tables(static_cast<std::size_t>(p) * p);
  for (int i = 1; i < p; ++i) {
    for (int j = 0; j < i; ++j) {
      int joint = 0;
      for (int s = 0; s < n; ++s) joint += (x(s, i) == keyed && x(s, j) == keyed) ? 1 : 0;
      tables[i + j * p] = BiasCorrectedTable(
          joint, n, prop[i], prop[j], corrected, corrected ? g[i] : 0.0, corrected ? g[j] : 0.0);
    }
  }
  if (corrected) {
    for (int v = 0; v < p; ++v) prop[v] = 1.0 - (1.0 - prop[v]) / (1.0 - g[v]);
  }
  std::vector<double> upper(p);
  for (int v = 0; v < p; ++v) {
    int soft = kIfailSoft;
    upper[v] = G01FAF("Lower-tail", 1.0 - prop[v], soft);
  }
  for (int i = 1; i < p; ++i) {
    for (int j = 0; j < i; ++j)
      result(i, j) = DivgiStart(upper[i], upper[j], tables[i + j * p].omega);
  }
  std::vector<double> lower(p, 0.0);
  double previous_r = 0.0;
  for (int i = 1; i < p; ++i) {
    for (int j = 0; j < i; ++j) {
      ConsoleOverwrite(30,
                       "Computing tetrachoric correlation for varables " + FormatI(i + 1, 3) + " " +
                           FormatI(j + 1, 3));
      int hard = kIfailHard;
      lower[i] = G01FAF("Lower-tail", prop[i], hard);
      hard = kIfailHard;
      lower[j] = G01FAF("Lower-tail", prop[j], hard);
      bool settled = true;
      double r =
          PlainNewton(result(i, j), lower[i], lower[j], tables[i + j * p].c11, previous_r, settled);
      if (!settled) {
        Matrix pair(n, 2);
        for (int s = 0; s < n; ++s) {
          pair(s, 0) = x(s, i);
          pair(s, 1) = x(s, j);
        }
        Matrix pair_result;
        PlainPolychorics(pair, n, 2, pair_result, report);
        r = pair_result(1, 0);
      }
      result(i, j) = r;
    }
  }
  Matrix se(p, p, 0.0);
  for (int i = 1; i < p; ++i) {
    for (int j = 0; j < i; ++j) {
      result(j, i) = result(i, j);
      const TetrachoricTable& t = tables[i + j * p];
      const double a = n * t.c10, b = n * t.c11, c = n * t.c00, d = n * t.c01;
      const double phi =
          PlainQuotient(b * c - a * d, std::sqrt((c + d) * (b + d) * (a + b) * (a + c)));
      double r = result(i, j);
      const double density = BivariateDensity(lower[i], lower[j], r);
      const double spread =
          PlainReciprocal(a) + PlainReciprocal(b) + PlainReciprocal(c) + PlainReciprocal(d);
      const double standard_error = PlainQuotient(1.0, n * density) * (1.0 / std::sqrt(spread));
      if (a <= 5.0 || b <= 5.0 || c <= 5.0 || d <= 5.0) {
        files.frq.Write("WARNING! Small cell frequencies. Tetrachoric r may be biased");
      }
      PlainFrequencyTable(files.frq, j + 1, i + 1, a, b, c, d, result(i, j), standard_error, phi);
      se(i, j) = standard_error;
      se(j, i) = standard_error;
    }
  }
  for (int v = 0; v < p; ++v) result(v, v) = 1.0;
  WriteMatrixRows(files.ser, se, 12, 9, 1, 999);
}

// ---------------------------------------------------------------------------
// Running both and comparing.

struct Outcome {
  Matrix r;
  std::string report;
  std::string frq, dff, ser;
  std::string console;
  bool stopped = false;
};

void ExpectSame(const Outcome& plain, const Outcome& fast, const std::string& what) {
  EXPECT_EQ(fast.stopped, plain.stopped) << what;
  EXPECT_EQ(fast.console, plain.console) << what;
  EXPECT_EQ(fast.report, plain.report) << what;
  EXPECT_EQ(fast.frq, plain.frq) << what;
  EXPECT_EQ(fast.dff, plain.dff) << what;
  EXPECT_EQ(fast.ser, plain.ser) << what;
  if (plain.stopped) return;
  ASSERT_EQ(fast.r.rows, plain.r.rows) << what;
  ASSERT_EQ(fast.r.cols, plain.r.cols) << what;
  for (int i = 0; i < plain.r.rows; ++i) {
    for (int j = 0; j < plain.r.cols; ++j) {
      // Bit for bit, NaN included.
      const double a = plain.r(i, j);
      const double b = fast.r(i, j);
      EXPECT_EQ(std::memcmp(&a, &b, sizeof a), 0)
          << what << " element " << i << "," << j << ": " << a << " vs " << b;
    }
  }
}

Outcome RunPolychorics(const Matrix& x, bool plain, int threads) {
  Outcome out;
  OutputFile report;
  report.OpenInMemory(11);
  SetThreadCount(threads);
  {
    ConsoleCapture capture;
    try {
      if (plain) {
        PlainPolychorics(x, x.rows, x.cols, out.r, report);
      } else {
        // As the run does it: the estimate, then the warnings (up to a stop).
        RunOutputs outputs(report, "", "t.in");
        PolychoricResult result;
        try {
          EstimatePolychorics(x, x.rows, x.cols, {}, ConsoleProgress(), result);
        } catch (const RunStopped&) {
          WriteBoundaryWarnings(result.boundary, outputs);
          throw;
        }
        WriteBoundaryWarnings(result.boundary, outputs);
        out.r = result.correlations;
      }
    } catch (const RunStopped&) {
      out.stopped = true;
    }
    out.console = capture.Out() + capture.Err();
  }
  SetThreadCount(0);
  out.report = report.Text();
  return out;
}

Outcome RunTetrachorics(
    const Matrix& x, bool plain, int threads, int guessing_flag = 0, std::vector<double> g = {}) {
  Outcome out;
  OutputFile report;
  report.OpenInMemory(11);
  PlainFiles plain_files;
  TetrachoricFiles files;
  for (OutputFile* frq : {&plain_files.frq, &files.frq}) frq->OpenInMemory(23);
  for (OutputFile* dff : {&plain_files.dff, &files.dff}) dff->OpenInMemory(25);
  for (OutputFile* ser : {&plain_files.ser, &files.ser}) ser->OpenInMemory(24);
  SetThreadCount(threads);
  {
    ConsoleCapture capture;
    try {
      if (plain) {
        PlainTetrachorics(x, x.rows, x.cols, out.r, report, plain_files, guessing_flag, g);
      } else {
        // As the run does it: each file written at its step, the warnings
        // up to a stop.
        RunOutputs outputs(report, "", "t.in");
        TetrachoricOptions options;
        options.correct_for_guessing = guessing_flag == 1;
        BeginFrequencyFile(files, outputs);
        TetrachoricResult result;
        result.items = FindTetrachoricItems(x, x.rows, x.cols);
        WriteItemProportions(result.items, files, outputs);
        try {
          EstimateTetrachoricPairs(x, x.rows, result.items, options, g, ConsoleProgress(), result);
        } catch (const RunStopped&) {
          WriteFallBackWarnings(result, outputs);
          throw;
        }
        WriteFallBackWarnings(result, outputs);
        WriteTetrachoricTables(result, files, outputs, ConsoleProgress());
        out.r = result.correlations;
      }
    } catch (const RunStopped&) {
      out.stopped = true;
    }
    out.console = capture.Out() + capture.Err();
  }
  SetThreadCount(0);
  out.report = report.Text();
  out.frq = plain ? plain_files.frq.Text() : files.frq.Text();
  out.dff = plain ? plain_files.dff.Text() : files.dff.Text();
  out.ser = plain ? plain_files.ser.Text() : files.ser.Text();
  return out;
}

// Compares the fast estimator on 1, 2 and 3 threads with the plain one and
// returns the plain outcome, for checks that the case is what it is meant
// to be.
Outcome ComparePolychorics(const Matrix& x, const std::string& what) {
  Outcome plain = RunPolychorics(x, true, 1);
  for (int threads = 1; threads <= 3; ++threads) {
    ExpectSame(
        plain, RunPolychorics(x, false, threads), what + " threads " + std::to_string(threads));
  }
  return plain;
}

Outcome CompareTetrachorics(const Matrix& x,
                            const std::string& what,
                            int guessing_flag = 0,
                            const std::vector<double>& g = {}) {
  Outcome plain = RunTetrachorics(x, true, 1, guessing_flag, g);
  for (int threads = 1; threads <= 3; ++threads) {
    ExpectSame(plain,
               RunTetrachorics(x, false, threads, guessing_flag, g),
               what + " threads " + std::to_string(threads));
  }
  return plain;
}

// Ordered scores: a latent normal per subject and item, loading `loading`
// on one common factor, cut at `cuts` (item v's cuts shifted by
// `shift * v`). A share `missing` of the scores becomes 99.
Matrix OrderedItems(std::mt19937& random,
                    int n,
                    int p,
                    const std::vector<double>& cuts,
                    double loading,
                    double shift,
                    double missing) {
  std::normal_distribution<double> normal;
  std::uniform_real_distribution<double> uniform;
  Matrix x(n, p);
  for (int s = 0; s < n; ++s) {
    const double factor = normal(random);
    for (int v = 0; v < p; ++v) {
      const double sign = v % 3 == 2 ? -1.0 : 1.0;
      const double latent =
          sign * loading * factor + std::sqrt(1.0 - loading * loading) * normal(random);
      int category = 0;
      for (double cut : cuts) category += latent > cut + shift * v ? 1 : 0;
      x(s, v) = uniform(random) < missing ? 99.0 : category;
    }
  }
  return x;
}

TEST(PairIdentity, PolychoricsOfRandomOrderedItems) {
  std::mt19937 random(20261123);
  struct Shape {
    int n, p;
    std::vector<double> cuts;
    double loading, shift, missing;
  };
  const std::vector<Shape> shapes = {
      {200, 6, {-1.0, 0.0, 1.0}, 0.6, 0.1, 0.0},
      {57, 5, {-0.5, 0.7}, 0.8, 0.2, 0.05},
      {300, 4, {-1.5, -0.5, 0.5, 1.5}, 0.95, 0.0, 0.02},  // near the bound
      {40, 7, {0.0}, 0.5, 0.3, 0.1},                      // dichotomous
      {120, 3, {-2.0, -1.0, -0.3, 0.2, 0.8, 1.3, 2.0}, 0.7, 0.0, 0.0},
      {1, 3, {0.0}, 0.5, 0.0, 0.0},
      {90, 1, {0.0, 1.0}, 0.5, 0.0, 0.0},
  };
  for (std::size_t shape = 0; shape < shapes.size(); ++shape) {
    const Shape& s = shapes[shape];
    const Matrix x = OrderedItems(random, s.n, s.p, s.cuts, s.loading, s.shift, s.missing);
    const Outcome plain = ComparePolychorics(x, "shape " + std::to_string(shape));
    EXPECT_FALSE(plain.stopped) << shape;
    if (shape == 2) {
      EXPECT_NE(plain.report, "");  // boundary warnings
    }
  }
}

TEST(PairIdentity, PolychoricsOfOddScores) {
  // Non-integer and negative scores, a 99 below a higher score, a 99 on top,
  // a one-category item, negative zeros among zeros, and two items in
  // perfect agreement (the upper bound) and disagreement.
  std::mt19937 random(7);
  std::uniform_int_distribution<int> pick(0, 3);
  const int n = 80;
  Matrix x(n, 8);
  for (int s = 0; s < n; ++s) {
    const int c = pick(random);
    x(s, 0) = -1.25 + 0.5 * c;
    x(s, 1) = c == 3 ? 99.0 : (c == 0 ? 150.0 : c);
    x(s, 2) = c == 3 ? 99.0 : c;
    x(s, 3) = 4.0;
    x(s, 4) = (c == 0) ? (s % 2 ? -0.0 : 0.0) : c;
    x(s, 5) = c;
    x(s, 6) = 3 - c;
    const double beyond[4] = {-7.0, 2.5, 300.0, 1000.5};  // around the whole scores
    x(s, 7) = beyond[(c + s) % 4];
  }
  const Outcome plain = ComparePolychorics(x, "odd scores");
  EXPECT_FALSE(plain.stopped);
  EXPECT_NE(plain.report.find("CORRELATION   7   6"), std::string::npos);
}

TEST(PairIdentity, PolychoricStopsComeAtTheSameVariable) {
  std::mt19937 random(3);
  Matrix x = OrderedItems(random, 60, 5, {-0.5, 0.5}, 0.6, 0.0, 0.0);
  Matrix too_many = x;
  for (int s = 0; s < 60; ++s) too_many(s, 3) = s % 16;
  for (int s = 0; s < 60; ++s) too_many(s, 4) = 99.0;  // later: not reached
  ComparePolychorics(too_many, "more than 14 categories");
  Matrix too_many_mixed = x;  // whole and other scores, fifteen with a 99 on top
  for (int s = 0; s < 60; ++s) too_many_mixed(s, 1) = s % 15 < 8 ? s % 15 : 0.5 + s % 15;
  for (int s = 0; s < 4; ++s) too_many_mixed(s, 1) = 99.0;
  ComparePolychorics(too_many_mixed, "fifteen mixed scores");
  Matrix only_99 = x;
  for (int s = 0; s < 60; ++s) only_99(s, 2) = 99.0;
  ComparePolychorics(only_99, "only 99");
  Matrix fifteen = x;  // fourteen scores and a 99 on top fit
  for (int s = 0; s < 60; ++s) fifteen(s, 1) = s % 15 == 14 ? 99.0 : s % 15;
  ComparePolychorics(fifteen, "fourteen and 99");
  const Outcome stopped = RunPolychorics(too_many, false, 2);
  EXPECT_TRUE(stopped.stopped);
  EXPECT_NE(stopped.console.find("FATAL ERROR: VARIABLE   4 HAS MORE THAN 14 CATEGORIES"),
            std::string::npos);
}

TEST(PairIdentity, SearchOnThresholdsWithoutInfiniteEnds) {
  // Thresholds whose end rows are finite: every corner of the grid is then
  // computed at every point of the search.
  const double t_i[4] = {-3.0, -0.4, 0.5, 2.5};
  const double t_j[3] = {-999999.0, 0.1, 4.0};
  PolychoricTable table;
  int counts[16][16] = {};
  std::mt19937 random(1);
  std::uniform_int_distribution<int> count(0, 40);
  for (int a = 1; a <= 2; ++a) {
    for (int b = 1; b <= 3; ++b) table.counts[a][b] = counts[a][b] = count(random);
  }
  const PolychoricEstimate estimate = SearchPolychoricPair(table, 3, 2, t_i, t_j, kIfailHard);
  const double plain = PlainSearch(counts, 3, 2, t_i, t_j);
  EXPECT_EQ(std::memcmp(&estimate.r, &plain, sizeof plain), 0) << estimate.r << " " << plain;
  EXPECT_FALSE(estimate.failed);
}

// Dichotomous scores with proportions varying by item.
Matrix DichotomousItems(std::mt19937& random, int n, int p, double loading, double spread) {
  std::vector<double> cuts(p);
  for (int v = 0; v < p; ++v) cuts[v] = p > 1 ? -spread + 2.0 * spread * v / (p - 1) : 0.0;
  return [&] {
    std::normal_distribution<double> normal;
    Matrix x(n, p);
    for (int s = 0; s < n; ++s) {
      const double factor = normal(random);
      for (int v = 0; v < p; ++v) {
        const double latent =
            loading * factor + std::sqrt(1.0 - loading * loading) * normal(random);
        x(s, v) = latent > cuts[v] ? 1.0 : 0.0;
      }
    }
    return x;
  }();
}

TEST(PairIdentity, TetrachoricsOfRandomDichotomousItems) {
  std::mt19937 random(11);
  struct Shape {
    int n, p;
    double loading, spread;
  };
  const std::vector<Shape> shapes = {{500, 8, 0.6, 1.0},
                                     {41, 6, 0.3, 0.5},
                                     {64, 9, 0.9, 1.5},
                                     {130, 5, 0.0, 0.0},
                                     {3000, 4, 0.7, 2.0}};
  for (std::size_t shape = 0; shape < shapes.size(); ++shape) {
    const Shape& s = shapes[shape];
    Matrix x = DichotomousItems(random, s.n, s.p, s.loading, s.spread);
    // Keep every item's proportion strictly between 0 and 1.
    for (int v = 0; v < s.p; ++v) {
      x(0, v) = 1.0;
      x(1, v) = 0.0;
    }
    const Outcome plain = CompareTetrachorics(x, "shape " + std::to_string(shape));
    EXPECT_FALSE(plain.stopped) << shape;
  }
}

TEST(PairIdentity, TetrachoricChainFallBackAndTies) {
  // Items 1 and 2 form a table whose iteration does not settle (the
  // fall-back, with its boundary warning), items 3 and 4 are identical and
  // 5 their copy, so that "previous r" can end a first pass; item 6 is
  // never keyed together with item 1; a score other than 0 or 1 counts as
  // not keyed.
  const int n = 41;
  Matrix x(n, 8, 0.0);
  for (int s = 0; s < n; ++s) {
    x(s, 0) = s < 25 ? 1.0 : 0.0;
    x(s, 1) = (s == 0 || s >= 25) ? 1.0 : 0.0;
    x(s, 2) = (s * 5 + 3) % 11 < 5 ? 1.0 : 0.0;
    x(s, 3) = (s < 12 || (s >= 25 && s < 33)) ? 1.0 : 0.0;
    x(s, 4) = x(s, 3);
    x(s, 5) = s >= 25 ? 1.0 : 0.0;
    x(s, 6) = s % 2 == 0 ? 1.0 : (s % 5 == 0 ? 7.0 : 0.0);
    x(s, 7) = x(s, 6);
  }
  const Outcome chain = CompareTetrachorics(x, "chain");
  EXPECT_FALSE(chain.stopped);
  EXPECT_NE(chain.report.find("CORRELATION   2   1"), std::string::npos);
  const Outcome guessed =
      CompareTetrachorics(x, "chain, guessing", 1, {0.05, 0.1, 0.15, 0.2, 0.25, 0.0, 0.3, 0.1});
  EXPECT_FALSE(guessed.stopped);
  // The same chains once more, with the unsettled pair last.
  Matrix late(n, 4, 0.0);
  for (int s = 0; s < n; ++s) {
    late(s, 0) = x(s, 3);
    late(s, 1) = x(s, 4);
    late(s, 2) = x(s, 0);
    late(s, 3) = x(s, 1);
  }
  const Outcome late_chain = CompareTetrachorics(late, "fall-back late");
  EXPECT_FALSE(late_chain.stopped);
  // The fall-back's own line follows the last pair's line.
  EXPECT_EQ(late_chain.console,
            std::string(27, ' ') + " Computing polychoric correlations for variables:   2   1\n");
}

TEST(PairIdentity, TetrachoricsCorrectedForGuessing) {
  std::mt19937 random(5);
  Matrix x = DichotomousItems(random, 400, 7, 0.6, 1.2);
  for (int v = 0; v < 7; ++v) {
    x(0, v) = 1.0;
    x(1, v) = 0.0;
  }
  const Outcome plain = CompareTetrachorics(x, "guessing", 1, {0.0, 0.1, 0.2, 0.25, 0.3, 0.2, 0.1});
  EXPECT_FALSE(plain.stopped);
}

TEST(PairIdentity, TetrachoricStopsComeAtTheSamePlace) {
  std::mt19937 random(9);
  Matrix x = DichotomousItems(random, 100, 6, 0.5, 0.5);
  for (int v = 0; v < 6; ++v) {
    x(0, v) = 1.0;
    x(1, v) = 0.0;
  }
  Matrix no_variance = x;
  for (int s = 0; s < 100; ++s) no_variance(s, 4) = 0.0;
  CompareTetrachorics(no_variance, "no variance");
  Matrix all_keyed = x;  // a proportion of 1: soft, then hard G01FAF
  for (int s = 0; s < 100; ++s) all_keyed(s, 3) = 1.0;
  CompareTetrachorics(all_keyed, "all keyed");
  Matrix first_all_keyed = x;
  for (int s = 0; s < 100; ++s) first_all_keyed(s, 0) = 1.0;
  CompareTetrachorics(first_all_keyed, "first all keyed");
  // A chance of guessing of 1 leaves the corrected proportion undefined.
  CompareTetrachorics(x, "certain guess", 1, {0.1, 0.2, 1.0, 0.0, 0.1, 0.1});
  const Outcome stopped = RunTetrachorics(all_keyed, false, 3);
  EXPECT_TRUE(stopped.stopped);
  EXPECT_NE(stopped.console.find("Computing tetrachoric correlation for varables   4   1\n"),
            std::string::npos);
}

TEST(PairOrder, NumbersFollowTheWalk) {
  std::int64_t q = 0;
  for (int i = 1; i < 300; ++i) {
    for (int j = 0; j < i; ++j, ++q) {
      const PairPosition at = PairAt(q);
      ASSERT_EQ(at.i, i);
      ASSERT_EQ(at.j, j);
      if (q > 0) {
        const PairPosition before = PairAt(q - 1);
        const PairPosition next = NextPair(before);
        ASSERT_EQ(next.i, i);
        ASSERT_EQ(next.j, j);
      }
    }
  }
  EXPECT_EQ(PairCount(300), q);
  EXPECT_EQ(PairCount(1), 0);
  const PairPosition far = PairAt(PairCount(100000) - 1);
  EXPECT_EQ(far.i, 99999);
  EXPECT_EQ(far.j, 99998);
}

}  // namespace
}  // namespace vq
