#include "correlation/tetrachoric.h"

#include <algorithm>
#include <cassert>
#include <chrono>
#include <climits>
#include <cmath>
#include <limits>
#include <string>

#include "correlation/bit_columns.h"
#include "correlation/pair_order.h"
#include "correlation/polychoric.h"
#include "correlation/variable_stop.h"
#include "frame/console.h"
#include "kernels/bivariate_normal.h"
#include "kernels/failure.h"
#include "kernels/normal.h"
#include "kernels/parallel.h"
#include "report/saved_files.h"
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
// Pairs of the frq file formatted at a time: enough for the threads to share,
// few enough for the console to move between blocks.
constexpr std::int64_t kTableBlock = 16384;

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

void OpenIfClosed(OutputFile& file,
                  int unit,
                  std::string_view run_directory,
                  std::string_view run_stem,
                  std::string_view extension) {
  if (!file.is_open()) OpenSavedFile(file, unit, run_directory, run_stem, extension);
}

// The console line of the iteration at the pair (i, j), 0-based.
void ShowTetrachoricPair(int i, int j) {
  ConsoleOverwrite(30,
                   "Computing tetrachoric correlation for varables " + FormatI(i + 1, 3) + " " +
                       FormatI(j + 1, 3));
}

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

std::string FrequencyTableText(int j,
                               int i,
                               double a,
                               double b,
                               double c,
                               double d,
                               double r,
                               double standard_error,
                               double phi) {
  return "Variables " + FormatI(j, 3) + " and " + FormatI(i, 3) + "\n" +
         "--------------------\n"
         "      0         1\n"
         "1 " +
         FormatF(a, 8, 2) + "  " + FormatF(b, 8, 2) + "  " + "     r(tet) = " + FormatF(r, 5, 3) +
         "     std err  " + FormatF(standard_error, 5, 3) + "\n" + "0 " + FormatF(c, 8, 2) + "  " +
         FormatF(d, 8, 2) + "  " + "     r(phi) = " + FormatF(phi, 5, 3) + "\n\n\n";
}

void WriteFrequencyTable(OutputFile& frq,
                         int j,
                         int i,
                         double a,
                         double b,
                         double c,
                         double d,
                         double r,
                         double standard_error,
                         double phi) {
  frq.WriteLines(FrequencyTableText(j, i, a, b, c, d, r, standard_error, phi));
}

void ComputeTetrachorics(const Matrix& item_data,
                         int n,
                         int p,
                         Matrix& result,
                         OutputFile& report,
                         std::string_view run_stem,
                         std::string_view run_directory,
                         int guessing_flag,
                         const std::vector<double>& guessing) {
  TetrachoricFiles files;
  ComputeTetrachorics(
      item_data, n, p, result, report, files, run_stem, run_directory, guessing_flag, guessing);
}

void ComputeTetrachorics(const Matrix& item_data,
                         int n,
                         int p,
                         Matrix& result,
                         OutputFile& report,
                         TetrachoricFiles& files,
                         std::string_view run_stem,
                         std::string_view run_directory,
                         int guessing_flag,
                         const std::vector<double>& guessing) {
  const bool corrected = guessing_flag == 1;
  assert(!corrected || static_cast<int>(guessing.size()) >= p);
  if (result.rows != p || result.cols != p) result.Reset(p, p);

  // The keyed score and the item proportions. Each variable's keyed
  // subjects are kept as a bit column for the joint counts of the pairs.
  const int keyed_score = FindKeyedScore(item_data, n);
  const double keyed = keyed_score;
  OpenIfClosed(files.frq, kFrequencyUnit, run_directory, run_stem, "frq");
  files.frq.EmptyLines(2);
  files.frq.Write("         Bias Corrected Cell Frequencies and Correlations");
  files.frq.EmptyLines(2);
  const int words = BitColumnWords(n);
  std::vector<std::uint64_t> keyed_bits(static_cast<std::size_t>(words) * p, 0);
  std::vector<double> proportion(p);
  ParallelChunks(
      p,
      8,
      [&](std::int64_t begin, std::int64_t end) {
        for (std::int64_t variable = begin; variable < end; ++variable) {
          std::uint64_t* bits = keyed_bits.data() + variable * words;
          SetBitsWhereEqual(item_data.Column(static_cast<int>(variable)), n, keyed, bits);
          proportion[variable] = static_cast<double>(CountSet(bits, words)) / n;
        }
      },
      [](std::int64_t) {});
  for (int variable = 0; variable < p; ++variable) {
    if (proportion[variable] == 0.0) StopOnVariable(variable + 1, " HAS NO VARIANCE");
  }
  OpenIfClosed(files.dff, kProportionUnit, run_directory, run_stem, "dff");
  for (int variable = 0; variable < p; ++variable) {
    files.dff.Write(FormatI(variable + 1, 4) + "  " + FormatF(proportion[variable], 6, 4));
  }

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
  std::vector<double> lower(p, 0.0);
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
              CountInBoth(keyed_bits.data() + static_cast<std::int64_t>(i) * words,
                          keyed_bits.data() + static_cast<std::int64_t>(j) * words,
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
        ShowTetrachoricPair(pair.i, pair.j);
      });

  // The iterations settled in pair order: "previous r" carried from pair to pair settles each
  // iteration; a pair with a failure runs the iteration itself under the
  // hard indicator, behind its console line, to report and stop where it
  // would have; an unsettled pair takes the polychoric fall-back, whose
  // console line and warning land in order. The last pair's line stays.
  double previous_r = 0.0;
  bool last_fell_back = false;
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
      if (redo || !settled || q == pairs - 1) ShowTetrachoricPair(i, j);
      if (redo) {
        int hard = kIfailHard;
        lower[i] = G01FAF("Lower-tail", working[i], hard);
        hard = kIfailHard;
        lower[j] = G01FAF("Lower-tail", working[j], hard);
        r = TetrachoricNewton(slot.start, lower[i], lower[j], slot.table.c11, previous_r, settled);
      }
      if (!settled) {
        last_fell_back = q == pairs - 1;
        Matrix pair(n, 2);
        std::copy(item_data.Column(i), item_data.Column(i) + n, pair.Column(0));
        std::copy(item_data.Column(j), item_data.Column(j) + n, pair.Column(1));
        Matrix pair_result(2, 2, 0.0);
        ComputePolychorics(pair, n, 2, pair_result, report);
        r = pair_result(1, 0);
      }
      result(i, j) = r;
    }
  }

  // The frq tables, standard errors and the upper triangle. The
  // tables of a block of pairs are worked out and formatted on all threads,
  // then written in pair order. Between blocks the console shows the pair
  // reached, and at the end the line that stood last is shown once more, so
  // that the last line is as it was.
  Matrix standard_errors(p, p, 0.0);
  std::vector<std::string> texts;
  auto last_shown = std::chrono::steady_clock::now();
  bool shown = false;
  for (std::int64_t block = 0; block < pairs; block += kTableBlock) {
    const std::int64_t block_end = std::min(pairs, block + kTableBlock);
    texts.assign(static_cast<std::size_t>(block_end - block), std::string());
    ParallelChunks(
        block_end - block,
        256,
        [&](std::int64_t begin, std::int64_t end) {
          PairPosition pair = PairAt(block + begin);
          for (std::int64_t slot = begin; slot < end; ++slot, pair = NextPair(pair)) {
            const int i = pair.i;
            const int j = pair.j;
            result(j, i) = result(i, j);
            const TetrachoricTable& t = slots[block + slot].table;
            const double a = n * t.c10;
            const double b = n * t.c11;
            const double c = n * t.c00;
            const double d = n * t.c01;
            const double phi =
                Quotient(b * c - a * d, std::sqrt((c + d) * (b + d) * (a + b) * (a + c)));
            // A copy of r: a clip inside the density must not touch the matrix.
            double r = result(i, j);
            const double density = BivariateDensity(lower[i], lower[j], r);
            const double spread = Reciprocal(a) + Reciprocal(b) + Reciprocal(c) + Reciprocal(d);
            const double standard_error = Quotient(1.0, n * density) * (1.0 / std::sqrt(spread));
            std::string& text = texts[slot];
            if (a <= 5.0 || b <= 5.0 || c <= 5.0 || d <= 5.0) {
              text = "WARNING! Small cell frequencies. Tetrachoric r may be biased\n";
            }
            text += FrequencyTableText(j + 1, i + 1, a, b, c, d, result(i, j), standard_error, phi);
            standard_errors(i, j) = standard_error;
            standard_errors(j, i) = standard_error;
          }
        },
        [](std::int64_t) {});
    for (const std::string& text : texts) files.frq.WriteLines(text);
    const auto now = std::chrono::steady_clock::now();
    if (block_end < pairs && now - last_shown >= std::chrono::milliseconds(250)) {
      const PairPosition pair = PairAt(block_end);
      ShowTetrachoricPair(pair.i, pair.j);
      last_shown = now;
      shown = true;
    }
  }
  if (shown) {
    if (last_fell_back) {
      ShowPolychoricPair(1, 0);
    } else {
      ShowTetrachoricPair(p - 1, p - 2);
    }
  }
  for (int variable = 0; variable < p; ++variable) {
    result(variable, variable) = 1.0;
    standard_errors(variable, variable) = 0.0;
  }
  OpenIfClosed(files.ser, kStandardErrorUnit, run_directory, run_stem, "ser");
  WriteMatrixRows(files.ser, standard_errors, 12, 9, 1, 999);
  files.frq.Close();
  files.ser.Close();
  files.dff.Close();
}

}  // namespace vq
