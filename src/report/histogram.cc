#include "report/histogram.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "frame/console.h"
#include "kernels/failure.h"
#include "report/matrix_table.h"
#include "text/edit_descriptors.h"

namespace vq {
namespace {

// Counts are tallies of at most this many values.
constexpr double kLargestCount = 2147483647.0;

// The class of one value among k classes: 1 for values at or below xlo, k
// above xhi, else the equal class whose upper limit (c - 1) * w it does not
// pass. The limits are the products (c - 2) * w and (c - 1) * w, so the
// class is found from a first guess and then moved until both hold. 0 for a
// value that is not a number (it falls in no class).
int ClassOf(double value, int k, double xlo, double xhi, double w) {
  if (value <= xlo) return 1;
  if (value > xhi) return k;
  const double offset = value - xlo;
  if (!(offset > 0.0)) return 0;
  double guess = std::floor(offset / w) + 2.0;
  int c = static_cast<int>(std::clamp(guess, 2.0, static_cast<double>(k - 1)));
  while (c > 2 && !((c - 2) * w < offset)) --c;
  while (c < k - 1 && offset > (c - 1) * w) ++c;
  return c;
}

}  // namespace

void DOWFRQ(int nobs,
            const double* x,
            int k,
            int iopt,
            double xlo,
            double xhi,
            std::vector<double>& div,
            std::vector<double>& table) {
  ImslClearCode();
  if (iopt != 1) InternalError("DOWFRQ", "only equal classes (IOPT 1) are drawn");
  if (k < 3 || !(xlo < xhi)) InternalError("DOWFRQ", "needs K >= 3 and XLO < XHI");

  div.assign(k, 0.0);
  table.assign(k, 0.0);
  const double w = (xhi - xlo) / (k - 2);
  div[0] = xlo - w / 2.0;
  div[k - 1] = xhi + w / 2.0;
  for (int c = 2; c <= k - 1; ++c) div[c - 1] = (c - 2 + 0.5) * w + xlo;

  if (nobs < 1) {
    ImslError(kImslTerminal,
              1,
              "DOWFRQ",
              "NOBS = " + std::to_string(nobs) + ".  There must be at least one observation.");
    return;
  }
  for (int obs = 0; obs < nobs; ++obs) {
    const int c = ClassOf(x[obs], k, xlo, xhi, w);
    if (c >= 1) table[c - 1] += 1.0;
  }
}

void DVHSTP(
    int nbar, const std::vector<double>& frq, int isp, std::string_view title, OutputFile& out) {
  ImslClearCode();
  if (nbar < 1 || static_cast<int>(frq.size()) < nbar) {
    InternalError("DVHSTP", "fewer counts than bars");
  }
  if (isp != 0 && isp != 1 && isp != 4) InternalError("DVHSTP", "ISP must be 0, 1 or 4");
  for (int bar = 0; bar < nbar; ++bar) {
    if (!(frq[bar] >= 0.0 && frq[bar] <= kLargestCount)) {
      InternalError("DVHSTP", "a count is negative, too large or not a number");
    }
  }
  double largest = frq[0];
  double smallest = frq[0];
  for (int bar = 1; bar < nbar; ++bar) {
    largest = std::max(largest, frq[bar]);
    smallest = std::min(smallest, frq[bar]);
  }
  if (!(largest >= 1.0)) {
    ImslError(
        kImslWarning,
        1,
        "DVHSTP",
        "The maximum value in the vector of frequencies (FRQ) is less than 1.0.  MAX(FRQ) = " +
            ImslReal(largest) + ".  The body of the histogram will be blank.");
    return;
  }

  const int body = (isp + 1) * nbar;  // W
  const int rule = body + 14;         // T
  const int length = static_cast<int>(title.size());

  WriteTrimmedRecord(out, "1");
  WriteTrimmedRecord(out, " " + Blanks(rule / 2 - length / 2 + 1) + std::string(title));
  WriteTrimmedRecord(out, "  Frequency" + std::string(std::max(rule - 9, 0), '-'));

  // The step between levels: 1 for a short scale, else about a fiftieth of
  // the largest count. The top level then need not be a multiple of it.
  double step = std::trunc(largest * 0.02 + 0.98001);
  if (step == 0.0 || largest - smallest <= 50.0) step = 1.0;
  if (std::fmod(std::trunc(largest), step) != 0.0) largest += std::fmod(largest, step);

  // The buffer is not cleared between levels: a bar, once started, runs on
  // down to the bottom.
  std::string buffer(body + 6, ' ');
  double level = largest;
  while (true) {
    const double v = std::trunc(level);
    for (int bar = 1; bar <= nbar; ++bar) {
      if (frq[bar - 1] >= v) buffer[isp + 3 + (bar - 1) * (isp + 1) - 1] = 'I';
    }
    buffer[0] = '*';
    buffer[1] = ' ';
    buffer[body + 5] = '*';
    WriteTrimmedRecord(out, "  " + FormatI(static_cast<long long>(v), 4) + "  " + buffer);
    if (std::trunc(smallest) >= v) break;
    level -= step;
    if (level < 1.0) break;
  }

  WriteTrimmedRecord(out, "  " + std::string(rule, '-'));
  std::string classes = "  Class   ";
  for (int number = 5; number <= (nbar / 5) * 5; number += 5) classes += FormatI(number, 10);
  WriteTrimmedRecord(out, classes);
}

}  // namespace vq
