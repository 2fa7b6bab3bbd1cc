#include "rotation/oblimin.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "frame/console.h"
#include "kernels/failure.h"

namespace vq {
namespace {

constexpr int kDefaultSweeps = 30;
constexpr double kDefaultEps = 0.0001;
constexpr double kStartCriterion = 1e30;

// A pair whose factors have drifted to a correlation of +-1 leaves
// (c + x) x + 1 at or near 0, and the scale s of the new factor with it;
// such a pair is not turned, so that the pattern and the correlations stay
// finite.
constexpr double kSmallestPairScale = 1e-12;

// Error codes of DFDOBL.
constexpr int kBadMaxit = 1;
constexpr int kBadEps = 2;
constexpr int kNoConvergence = 3;

// A cube root that keeps the sign bit of its argument.
double SignedCubeRoot(double y) {
  const double root = std::cbrt(std::fabs(y));
  return std::signbit(y) ? -root : root;
}

// The quartic whose derivative is the cubic x^3 + a x^2 + b x + d.
double Quartic(double r, double a, double b, double d) {
  return (((r / 4.0 + a / 3.0) * r + b / 2.0) * r + d) * r;
}

}  // namespace

double ObliminCubicRoot(double a, double b, double d) {
  const double pp = (3.0 * b - a * a) / 3.0;
  const double qq = (2.0 * a * a - 9.0 * b) * a / 27.0 + d;
  const double disc = qq * qq / 4.0 + pp * pp * pp / 27.0;
  if (disc >= 0.0) {
    const double rt = std::sqrt(disc);
    const double y1 = rt - qq / 2.0;
    const double y2 = -(qq + y1);
    return SignedCubeRoot(y1) + SignedCubeRoot(y2) - a / 3.0;
  }
  // Three real roots. Rounding may push the cosine argument a hair past
  // +-1, where the arc cosine has no value.
  double argument = -qq / (2.0 * std::sqrt(-pp * pp * pp / 27.0));
  argument = std::clamp(argument, -1.0, 1.0);
  const double h = std::acos(argument) / 3.0;
  const double m2 = 2.0 * std::sqrt(-pp / 3.0);
  const double cosines[3] = {std::cos(h), std::cos(h + 4.1887902), std::cos(h + 2.0943951)};
  const double smallest = std::min({cosines[0], cosines[1], cosines[2]});
  const double largest = std::max({cosines[0], cosines[1], cosines[2]});
  const double low = m2 * smallest - a / 3.0;
  const double high = m2 * largest - a / 3.0;
  return Quartic(high, a, b, d) < Quartic(low, a, b, d) ? high : low;
}

void DFDOBL(int nvar,
            int nf,
            const Matrix& a,
            int nrm,
            double w,
            int maxit,
            double eps,
            Matrix& b,
            Matrix& fcor,
            RotationSweeps* sweeps) {
  ImslClearCode();
  if (maxit < 0) {
    ImslError(kImslTerminal,
              kBadMaxit,
              "DFDOBL",
              "MAXIT = " + std::to_string(maxit) + ".  MAXIT must be 0 or more.");
    // A rotation without a sweep limit cannot go on, whatever ERSET says.
    PlainStop();
  }
  if (eps < 0.0) {
    ImslError(kImslTerminal,
              kBadEps,
              "DFDOBL",
              "EPS = " + ImslReal(eps) + ".  EPS must be greater than or equal to 0.");
    PlainStop();
  }
  DF2OBL(nvar,
         nf,
         a,
         nrm,
         w,
         maxit == 0 ? kDefaultSweeps : maxit,
         eps == 0.0 ? kDefaultEps : eps,
         b,
         fcor,
         sweeps);
}

void DF2OBL(int nvar,
            int nf,
            const Matrix& a,
            int nrm,
            double w,
            int maxit,
            double eps,
            Matrix& b,
            Matrix& fcor,
            RotationSweeps* sweeps) {
  const double g = w / static_cast<double>(nvar);
  fcor.Reset(nf, nf);
  for (int j = 0; j < nf; ++j) fcor(j, j) = 1.0;
  b = a;

  // Row lengths; a row of zeros keeps the length 1 and stays zero.
  std::vector<double> lengths(nvar, 1.0);
  if (nrm == 1) {
    for (int item = 0; item < nvar; ++item) {
      double sum = 0.0;
      for (int j = 0; j < nf; ++j) sum += a(item, j) * a(item, j);
      const double length = std::sqrt(sum);
      if (length > 0.0) lengths[item] = length;
      for (int j = 0; j < nf; ++j) b(item, j) = b(item, j) * (1.0 / lengths[item]);
    }
  }

  // Column sums of squares and the row terms that a pair step holds fixed.
  std::vector<double> s(nf, 0.0);
  for (int j = 0; j < nf; ++j) {
    for (int item = 0; item < nvar; ++item) s[j] += b(item, j) * b(item, j);
  }
  double total = 0.0;
  for (int j = 0; j < nf; ++j) total += s[j];
  std::vector<double> row_term(nvar);
  for (int item = 0; item < nvar; ++item) {
    double sum = 0.0;
    for (int j = 0; j < nf; ++j) sum += b(item, j) * b(item, j);
    row_term[item] = sum - g * total;
  }

  double previous = kStartCriterion;
  bool converged = false;
  int sweep = 0;
  for (; sweep < maxit; ++sweep) {
    double f = 0.0;
    for (int j = 1; j < nf; ++j) {
      for (int l = 0; l < j; ++l) {
        for (int item = 0; item < nvar; ++item) {
          f += (b(item, l) * b(item, l) - g * s[l]) * (b(item, j) * b(item, j));
        }
      }
    }
    if (f <= 0.0 || std::fabs((f - previous) / f) < eps) {
      converged = true;
      break;
    }
    previous = f;

    for (int j = 0; j < nf; ++j) {
      for (int k = 0; k < nf; ++k) {
        if (k == j) continue;
        double* u = b.Column(j);
        double* v = b.Column(k);
        for (int item = 0; item < nvar; ++item) {
          row_term[item] =
              row_term[item] - u[item] * u[item] - v[item] * v[item] + g * (s[j] + s[k]);
        }
        double sum_p = 0.0;
        double sum_q = 0.0;
        double sum_r = 0.0;
        double sum_x = 0.0;
        double sum_y = 0.0;
        for (int item = 0; item < nvar; ++item) {
          const double e = v[item] * v[item] - g * s[k];
          // e times the square: the square is formed first.
          sum_p += e * (u[item] * u[item]);
          sum_q += e * u[item] * v[item];
          sum_r += e * (v[item] * v[item]);
          sum_x += v[item] * v[item] * row_term[item];
          sum_y += u[item] * v[item] * row_term[item];
        }
        if (sum_r != 0.0) {
          const double t = -2.0 * sum_q;
          const double c = 2.0 * fcor(j, k);
          const double ca = 0.75 * (t / sum_r + c);
          const double cb = 0.5 * ((2.0 * sum_x + c * t + sum_p) / sum_r + 1.0);
          const double cd = 0.25 * (((sum_x + sum_p) * c + t - 2.0 * sum_y) / sum_r);
          const double x = ObliminCubicRoot(ca, cb, cd);
          const double scale_square = (c + x) * x + 1.0;
          if (std::isfinite(x) && scale_square > kSmallestPairScale) {
            const double scale = std::sqrt(scale_square);
            if (!(x == 0.0 && scale == 1.0)) {
              for (int item = 0; item < nvar; ++item) u[item] = u[item] - x * v[item];
              for (int item = 0; item < nvar; ++item) v[item] = scale * v[item];
              for (int n = 0; n < nf; ++n) {
                const double r = (x * fcor(j, n) + fcor(k, n)) / scale;
                fcor(k, n) = r;
                fcor(n, k) = r;
              }
              fcor(k, k) = 1.0;
            }
            double sum = 0.0;
            for (int item = 0; item < nvar; ++item) sum += u[item] * u[item];
            s[j] = sum;
            s[k] = scale * scale * s[k];
          }
        }
        for (int item = 0; item < nvar; ++item) {
          row_term[item] =
              row_term[item] + u[item] * u[item] + v[item] * v[item] - g * (s[j] + s[k]);
        }
      }
    }
  }
  if (sweeps != nullptr) *sweeps = {sweep, converged};
  if (!converged) {
    ImslError(kImslWarning,
              kNoConvergence,
              "DFDOBL",
              std::to_string(maxit) + " iterations with no convergence.  Convergence assumed.");
  }

  if (nrm == 1) {
    for (int j = 0; j < nf; ++j) {
      for (int item = 0; item < nvar; ++item) b(item, j) = b(item, j) * lengths[item];
    }
  }
}

}  // namespace vq
