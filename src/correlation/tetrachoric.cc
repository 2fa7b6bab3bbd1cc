#include "correlation/tetrachoric.h"

#include <algorithm>
#include <cassert>
#include <climits>
#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "correlation/bit_columns.h"
#include "correlation/pair_order.h"
#include "correlation/polychoric.h"
#include "correlation/variable_stop.h"
#include "data/raw_data.h"
#include "kernels/bivariate_normal.h"
#include "kernels/failure.h"
#include "kernels/normal.h"
#include "kernels/parallel.h"
#include "text/edit_descriptors.h"

namespace vq {
namespace {

// The clip of r in the density: the single-precision 0.99, widened.
constexpr double kDensityClip = static_cast<double>(0.99f);
// Bounds of the odds ratio. The floor keeps the logarithm of Divgi's start
// finite for a table with an empty c11 or c00; the ceiling does the same
// for an empty c10 or c01 under the guessing correction (its mirror image on
// the log scale), where the ratio has no finite value.
constexpr double kOmegaFloor = 0.0001;
constexpr double kOmegaCeiling = 10000.0;
// The iteration ends after this many passes have been started.
constexpr int kPassLimit = 1000;

const double kInfinity = std::numeric_limits<double>::infinity();

// num / den with the result IEEE arithmetic gives for a zero den (which
// here is never negative): not a number for 0/0, an infinity otherwise.
double Quotient(double num, double den) {
  if (den != 0.0) return num / den;
  if (num == 0.0 || std::isnan(num)) return std::numeric_limits<double>::quiet_NaN();
  return std::copysign(kInfinity, num);
}

// 1/x for the cell frequencies in the standard error, infinite for x = 0.
double Reciprocal(double x) { return x == 0.0 ? kInfinity : 1.0 / x; }

}  // namespace

int FindKeyedScore(const Matrix& item_data, int n) {
  int keyed = -99;
  const double* column = item_data.Column(0);
  for (int subject = 0; subject < n; ++subject) {
    if (column[subject] > keyed) {
      // Truncated toward zero; scores beyond the range of an integer keep
      // the largest one rather than overflow.
      const double truncated = std::trunc(column[subject]);
      keyed = truncated >= static_cast<double>(INT_MAX) ? INT_MAX : static_cast<int>(truncated);
    }
  }
  return keyed;
}

float BivariateDensity(double x, double y, double& r) {
  if (r >= 1.0) r = kDensityClip;
  if (r <= -1.0) r = -kDensityClip;
  const double q = (x * x + y * y - 2.0 * r * x * y) / (2.0 * (1.0 - r * r));
  return static_cast<float>(std::exp(-q) / (6.283185308 * std::sqrt(1.0 - r * r)));
}

TetrachoricTable BiasCorrectedTable(
    int joint, int n, double p_i, double p_j, bool guessing, double g_i, double g_j) {
  const double half = (1.0 / n) * 0.5;  // half a subject as a proportion
  TetrachoricTable t;
  const double both = joint == 0 ? 0.5 : static_cast<double>(joint);
  t.c11 = both / n;
  t.c10 = p_j - t.c11;
  t.c01 = p_i - t.c11;
  // Exact comparisons of the stored doubles: an empty cell takes half a
  // subject from c11.
  if (t.c01 == 0.0) {
    t.c01 = half;
    t.c11 = t.c11 - half;
    t.c10 = t.c10 + half;
  }
  if (t.c10 == 0.0) {
    t.c10 = half;
    t.c11 = t.c11 - half;
    t.c01 = t.c01 + half;
  }
  t.c00 = 1.0 - t.c11 - t.c01 - t.c10;
  if (t.c00 <= 0.0) {
    t.c00 = half;
    t.c10 = t.c10 - half;
    t.c01 = t.c01 - half;
    t.c11 = t.c11 + half;
  }
  if (guessing) {
    const double u = 1.0 - g_i;
    const double v = 1.0 - g_j;
    const double e00 = t.c00 / (v * u);
    double e01 = (u * t.c01 - g_i * t.c00) / (v * u);
    if (e01 < 0.0) e01 = 0.0;
    double e10 = (v * t.c10 - g_j * t.c00) / (v * u);
    if (e10 < 0.0) e10 = 0.0;
    double e11 = 1.0 - e00 - e01 - e10;
    if (e11 < 0.0) e11 = 0.0;
    t.c00 = e00;
    t.c01 = e01;
    t.c10 = e10;
    t.c11 = e11;
  }
  const double concordant = t.c11 * t.c00;
  const double discordant = t.c10 * t.c01;
  if (discordant != 0.0) {
    t.omega = concordant / discordant;
  } else {
    // Only the guessing correction can empty c10 or c01. With c11 or c00
    // empty as well the ratio is taken as 0, as for any empty concordant
    // cell; otherwise it is infinite and held at the ceiling.
    t.omega = concordant == 0.0 ? 0.0 : kOmegaCeiling;
  }
  if (t.omega < kOmegaFloor) t.omega = kOmegaFloor;
  return t;
}

double DivgiStart(double z_i, double z_j, double omega) {
  const double abs_i = std::fabs(z_i);
  const double abs_j = std::fabs(z_j);
  const double h = std::max(abs_i, abs_j);
  const double k = std::min(abs_i, abs_j);
  const double si = z_i < 0.0 ? -1.0 : 1.0;
  const double sj = z_j < 0.0 ? -1.0 : 1.0;
  double alpha = 0.5;
  if (!(h == 0.0 && k == 0.0)) {
    const double d = h * h + k * k;
    const double root = std::sqrt(d);
    const double a0 = 0.5 / (1.0 + d * (0.12454 - 0.27102 * (1.0 - h / root)));
    const double a1 = 0.5 / (1.0 + d * (0.82281 - 1.03514 * (k / root)));
    const double a2 = 0.07557 * h + (h - k) * (h - k) * (0.51141 / (h + 2.05793) - 0.07557 / h);
    const double a3 = si * sj * k * (0.79289 + 4.28981 / (1.0 + 3.30231 * h));
    const double log_offset = std::log(omega) - a3;
    alpha = a0 + a1 * (1.0 / (1.0 + a2 * (log_offset * log_offset)) - 1.0);
  }
  return std::cos(3.141592654 / (1.0 + std::pow(omega, alpha)));
}

namespace {

// One Newton pass from r (updated): the slope from the density, the model
// probability, its distance dp from c11 (returned) and the step. A failure
// of G01HAF under `ifail` sets `failed`.
double NewtonPass(double& r, double z_i, double z_j, double c11, int ifail, bool& failed) {
  // The slope is the density at the thresholds; the three other terms
  // vanish. Each call may clip r, so they are made one after the other.
  const double at_both = BivariateDensity(z_i, z_j, r);
  const double at_j = BivariateDensity(-1000.0, z_j, r);
  const double at_i = BivariateDensity(z_i, -1000.0, r);
  const double at_none = BivariateDensity(-1000.0, -1000.0, r);
  float slope = static_cast<float>(at_both - at_j - at_i + at_none);
  int status = ifail;
  const double pm = G01HAF(z_i, z_j, r, status);
  if (status != 0) failed = true;
  double dp = std::fabs(pm - c11);
  // A small density gives a long step: shorten it.
  if (slope <= 0.02f) slope = slope * 5.5f;
  if (pm < 0.01 || c11 < 0.01) {
    dp = 0.0;
  } else {
    r = r - (pm - c11) / slope;
  }
  return dp;
}

// The test that ends the iteration after a pass.
bool GoesOn(int pass, double dr, double dp) {
  return pass < kPassLimit && (dr > 0.0001 || dp > 0.00001);
}

}  // namespace

double TetrachoricNewton(
    double r, double z_i, double z_j, double c11, double& previous_r, bool& settled) {
  settled = true;
  int hard = kIfailHard;
  G01HAF(z_i, z_j, r, hard);  // the model probability at the start
  bool failed = false;
  double dr = 1.0;
  double dp = 1.0;
  int pass = 1;
  while (GoesOn(pass, dr, dp)) {
    dp = NewtonPass(r, z_i, z_j, c11, kIfailHard, failed);
    dr = std::fabs(previous_r - r);
    previous_r = r;
    pass = pass + 1;
    if (pass >= kPassLimit) settled = false;
  }
  return r;
}

TetrachoricSplit SplitTetrachoricNewton(double r, double z_i, double z_j, double c11) {
  TetrachoricSplit split;
  int quiet = kIfailQuiet;
  G01HAF(z_i, z_j, r, quiet);
  split.first_failed = quiet != 0;
  split.first_dp = NewtonPass(r, z_i, z_j, c11, kIfailQuiet, split.first_failed);
  split.first_r = r;
  // The iteration as it goes on after a first pass that did not end it.
  double previous_r = r;
  int pass = 2;
  double dr;
  double dp;
  do {
    dp = NewtonPass(r, z_i, z_j, c11, kIfailQuiet, split.rest_failed);
    dr = std::fabs(previous_r - r);
    previous_r = r;
    pass = pass + 1;
    if (pass >= kPassLimit) split.full_settled = false;
  } while (GoesOn(pass, dr, dp));
  split.full_r = r;
  return split;
}

double SettleTetrachoricNewton(const TetrachoricSplit& split,
                               double& previous_r,
                               bool& settled,
                               bool& usable) {
  // The same test as the loop's after pass 1 (pass 2 is below the limit).
  const bool ends_at_first = !GoesOn(2, std::fabs(previous_r - split.first_r), split.first_dp);
  usable = !split.first_failed && (ends_at_first || !split.rest_failed);
  if (!usable) return 0.0;
  const double r = ends_at_first ? split.first_r : split.full_r;
  settled = ends_at_first || split.full_settled;
  previous_r = r;
  return r;
}

void ShowTetrachoricPair(int i, int j, Progress& progress) {
  progress.Overwrite(30,
                     "Computing tetrachoric correlation for varables " + FormatI(i + 1, 3) + " " +
                         FormatI(j + 1, 3));
}

TetrachoricItems FindTetrachoricItems(const Matrix& item_data, int n, int p) {
  // The keyed score and the item proportions. Each variable's keyed
  // subjects are kept as a bit column for the joint counts of the pairs.
  TetrachoricItems items;
  items.keyed_score = FindKeyedScore(item_data, n);
  const double keyed = items.keyed_score;
  items.words = BitColumnWords(n);
  const int words = items.words;
  items.keyed_bits.assign(static_cast<std::size_t>(words) * p, 0);
  items.proportions.assign(p, 0.0);
  ParallelChunks(
      p,
      8,
      [&](std::int64_t begin, std::int64_t end) {
        for (std::int64_t variable = begin; variable < end; ++variable) {
          std::uint64_t* bits = items.keyed_bits.data() + variable * words;
          SetBitsWhereEqual(item_data.Column(static_cast<int>(variable)), n, keyed, bits);
          items.proportions[variable] = static_cast<double>(CountSet(bits, words)) / n;
        }
      },
      [](std::int64_t) {});
  for (int variable = 0; variable < p; ++variable) {
    if (items.proportions[variable] == 0.0) StopOnVariable(variable + 1, " HAS NO VARIANCE");
  }
  return items;
}

void EstimateTetrachoricPairs(const Matrix& item_data,
                              int n,
                              const TetrachoricItems& items,
                              const TetrachoricOptions& options,
                              const std::vector<double>& guessing,
                              Progress& progress,
                              TetrachoricResult& result) {
  const int p = static_cast<int>(items.proportions.size());
  const bool corrected = options.correct_for_guessing;
  assert(!corrected || static_cast<int>(guessing.size()) >= p);
  result.complete = false;
  result.fall_backs.clear();
  result.last_fell_back = false;
  Matrix& correlations = result.correlations;
  if (correlations.rows != p || correlations.cols != p) correlations.Reset(p, p);
  const std::vector<double>& proportion = items.proportions;
  const int words = items.words;

  // The proportions corrected for guessing, made before the tables are
  // formed, though the tables themselves take the uncorrected ones.
  std::vector<double> working(proportion);
  if (corrected) {
    for (int variable = 0; variable < p; ++variable) {
      working[variable] = 1.0 - (1.0 - proportion[variable]) / (1.0 - guessing[variable]);
    }
  }

  // The upper thresholds for Divgi's start (soft failures show here,
  // in variable order), and the lower thresholds of the iteration, computed
  // quietly once: a variable whose threshold fails is reported at its first
  // pair below.
  std::vector<double> upper(p);
  for (int variable = 0; variable < p; ++variable) {
    int soft = kIfailSoft;
    upper[variable] = G01FAF("Lower-tail", 1.0 - working[variable], soft);
  }
  std::vector<double>& lower = result.thresholds;
  lower.assign(p, 0.0);
  std::vector<char> lower_failed(p, 0);
  for (int variable = 0; variable < p; ++variable) {
    int quiet = kIfailQuiet;
    lower[variable] = G01FAF("Lower-tail", working[variable], quiet);
    lower_failed[variable] = quiet != 0;
  }

  // Every pair on its own, on all threads: the table from the joint count,
  // Divgi's start, and the iteration taken apart at its first pass.
  struct PairSlot {
    TetrachoricTable table;
    double start = 0.0;
    TetrachoricSplit split;
  };
  const std::int64_t pairs = PairCount(p);
  std::vector<PairSlot> slots(static_cast<std::size_t>(pairs));
  ParallelChunks(
      pairs,
      64,
      [&](std::int64_t begin, std::int64_t end) {
        PairPosition pair = PairAt(begin);
        for (std::int64_t q = begin; q < end; ++q, pair = NextPair(pair)) {
          const int i = pair.i;
          const int j = pair.j;
          PairSlot& slot = slots[q];
          const std::int64_t joint =
              CountInBoth(items.keyed_bits.data() + static_cast<std::int64_t>(i) * words,
                          items.keyed_bits.data() + static_cast<std::int64_t>(j) * words,
                          words);
          slot.table = BiasCorrectedTable(static_cast<int>(joint),
                                          n,
                                          proportion[i],
                                          proportion[j],
                                          corrected,
                                          corrected ? guessing[i] : 0.0,
                                          corrected ? guessing[j] : 0.0);
          slot.start = DivgiStart(upper[i], upper[j], slot.table.omega);
          if (!lower_failed[i] && !lower_failed[j]) {
            slot.split = SplitTetrachoricNewton(slot.start, lower[i], lower[j], slot.table.c11);
          }
        }
      },
      [&](std::int64_t next) {
        const PairPosition pair = PairAt(next);
        ShowTetrachoricPair(pair.i, pair.j, progress);
      });

  // The iterations settled in pair order: "previous r" carried from pair to
  // pair settles each iteration; a pair with a failure runs the iteration
  // itself under the hard indicator, behind its console line, to report and
  // stop where it would have; an unsettled pair takes the polychoric
  // fall-back, whose console line lands in order. The last pair's line
  // stays.
  double previous_r = 0.0;
  std::int64_t q = 0;
  for (int i = 1; i < p; ++i) {
    for (int j = 0; j < i; ++j, ++q) {
      const PairSlot& slot = slots[q];
      const bool literal = lower_failed[i] || lower_failed[j];
      bool settled = true;
      bool usable = false;
      double r = 0.0;
      if (!literal) r = SettleTetrachoricNewton(slot.split, previous_r, settled, usable);
      const bool redo = literal || !usable;
      if (redo || !settled || q == pairs - 1) ShowTetrachoricPair(i, j, progress);
      if (redo) {
        int hard = kIfailHard;
        lower[i] = G01FAF("Lower-tail", working[i], hard);
        hard = kIfailHard;
        lower[j] = G01FAF("Lower-tail", working[j], hard);
        r = TetrachoricNewton(slot.start, lower[i], lower[j], slot.table.c11, previous_r, settled);
      }
      if (!settled) {
        result.last_fell_back = q == pairs - 1;
        Matrix pair(n, 2);
        std::copy(item_data.Column(i), item_data.Column(i) + n, pair.Column(0));
        std::copy(item_data.Column(j), item_data.Column(j) + n, pair.Column(1));
        const PolychoricResult fall_back =
            EstimatePolychorics(pair, n, 2, options.fall_back, progress);
        r = fall_back.correlations(1, 0);
        result.fall_backs.push_back({i, j, !fall_back.boundary.empty()});
      }
      correlations(i, j) = r;
    }
  }

  // The frq tables, standard errors and the upper triangle, worked out on
  // all threads, each pair into its slot.
  result.tables.assign(static_cast<std::size_t>(pairs), TetrachoricPairTable());
  Matrix& standard_errors = result.standard_errors;
  standard_errors.Reset(p, p, 0.0);
  ParallelChunks(
      pairs,
      256,
      [&](std::int64_t begin, std::int64_t end) {
        PairPosition pair = PairAt(begin);
        for (std::int64_t slot = begin; slot < end; ++slot, pair = NextPair(pair)) {
          const int i = pair.i;
          const int j = pair.j;
          correlations(j, i) = correlations(i, j);
          const TetrachoricTable& t = slots[slot].table;
          TetrachoricPairTable& table = result.tables[slot];
          const double a = n * t.c10;
          const double b = n * t.c11;
          const double c = n * t.c00;
          const double d = n * t.c01;
          table.a = a;
          table.b = b;
          table.c = c;
          table.d = d;
          table.phi = Quotient(b * c - a * d, std::sqrt((c + d) * (b + d) * (a + b) * (a + c)));
          // A copy of r: a clip inside the density must not touch the matrix.
          double r = correlations(i, j);
          const double density = BivariateDensity(lower[i], lower[j], r);
          const double spread = Reciprocal(a) + Reciprocal(b) + Reciprocal(c) + Reciprocal(d);
          table.standard_error = Quotient(1.0, n * density) * (1.0 / std::sqrt(spread));
          table.small_cells = a <= 5.0 || b <= 5.0 || c <= 5.0 || d <= 5.0;
          standard_errors(i, j) = table.standard_error;
          standard_errors(j, i) = table.standard_error;
        }
      },
      [](std::int64_t) {});
  for (int variable = 0; variable < p; ++variable) {
    correlations(variable, variable) = 1.0;
    standard_errors(variable, variable) = 0.0;
  }
  result.complete = true;
}

TetrachoricResult EstimateTetrachorics(const Matrix& item_data,
                                       int n,
                                       int p,
                                       const TetrachoricOptions& options,
                                       const std::vector<double>& guessing,
                                       Progress& progress) {
  TetrachoricResult result;
  if (options.median_split) {
    Matrix split = item_data;
    SplitAtMedians(split, n, p);
    result.items = FindTetrachoricItems(split, n, p);
    EstimateTetrachoricPairs(split, n, result.items, options, guessing, progress, result);
  } else {
    result.items = FindTetrachoricItems(item_data, n, p);
    EstimateTetrachoricPairs(item_data, n, result.items, options, guessing, progress, result);
  }
  return result;
}

}  // namespace vq
