#include "rotation/harris_kaiser.h"

#include <cmath>
#include <string>

#include "frame/console.h"
#include "kernels/failure.h"

namespace vq {
namespace {

constexpr double kDefaultEps = 0.0001;
constexpr double kSmallestItemScale = 0.000001;

// Error codes of DFHARR.
constexpr int kBadC = 1;
constexpr int kBadMaxit = 2;
constexpr int kNoConvergence = 3;

}  // namespace

void DFHARR(int nvar,
            int nf,
            const Matrix& a,
            int nrm,
            int maxit,
            double w,
            double c,
            double eps,
            const std::vector<double>& d,
            Matrix& b,
            Matrix& fcor,
            RotationSweeps* sweeps) {
  ImslClearCode();
  if (!(c >= 0.0 && c <= 1.0)) {
    ImslError(kImslTerminal,
              kBadC,
              "DFHARR",
              "C = " + ImslReal(c) +
                  ".  C must be greater than or equal 0.0 and less than or equal to 1.0.");
    // The rotation has no meaning outside these bounds, whatever ERSET says.
    PlainStop();
  }
  if (maxit < 1) {
    ImslError(kImslTerminal,
              kBadMaxit,
              "DFHARR",
              "MAXIT = " + std::to_string(maxit) + ".  MAXIT must be 1 or more.");
    PlainStop();
  }
  DF2ARR(nvar, nf, a, nrm, maxit, w, c, eps, d, b, fcor, sweeps);
}

void DF2ARR(int nvar,
            int nf,
            const Matrix& a,
            int nrm,
            int maxit,
            double w,
            double c,
            double eps,
            const std::vector<double>& d,
            Matrix& b,
            Matrix& fcor,
            RotationSweeps* sweeps) {
  if (eps <= 0.0) eps = kDefaultEps;

  std::vector<double> scale(nvar);
  for (int item = 0; item < nvar; ++item) {
    // A unique variance of 0 or below (a communality of 1 or more) gets the
    // smallest scale.
    const double root = d[item] > 0.0 ? std::sqrt(d[item]) : 0.0;
    scale[item] = root > kSmallestItemScale ? root : kSmallestItemScale;
  }

  Matrix rescaled(nvar, nf);
  std::vector<double> v(nf);
  for (int j = 0; j < nf; ++j) {
    double q = 0.0;
    for (int item = 0; item < nvar; ++item) {
      rescaled(item, j) = a(item, j) / scale[item];
      q += rescaled(item, j) * rescaled(item, j);
    }
    v[j] = 1.0 / std::sqrt(q);
    const double z = std::pow(q, c / 2.0);
    for (int item = 0; item < nvar; ++item) rescaled(item, j) = rescaled(item, j) * (v[j] * z);
  }

  Matrix t;
  DF2OTA(nvar, nf, rescaled, nrm, maxit, w, eps, b, t, sweeps);

  const double e = (c - 1.0) * 2.0;
  std::vector<double> y(nf);
  for (int l = 0; l < nf; ++l) y[l] = std::pow(v[l], e);

  fcor.Reset(nf, nf);
  for (int i = 0; i < nf; ++i) {
    for (int k = i; k < nf; ++k) {
      double sum = 0.0;
      for (int l = 0; l < nf; ++l) sum += t(l, i) * y[l] * t(l, k);
      fcor(i, k) = sum;
    }
  }
  std::vector<double> r(nf);
  for (int j = 0; j < nf; ++j) {
    r[j] = 1.0 / std::sqrt(fcor(j, j));
    for (int l = 0; l <= j; ++l) fcor(l, j) = r[j] * fcor(l, j) * r[l];
  }
  for (int j = 0; j < nf; ++j) {
    for (int i = j + 1; i < nf; ++i) fcor(i, j) = fcor(j, i);
  }
  for (int j = 0; j < nf; ++j) {
    for (int item = 0; item < nvar; ++item) b(item, j) = scale[item] * b(item, j) / r[j];
  }
}

void DF2OTA(int nvar,
            int nf,
            const Matrix& a,
            int nrm,
            int maxit,
            double w,
            double eps,
            Matrix& b,
            Matrix& t,
            RotationSweeps* sweeps) {
  if (eps <= 0.0) eps = kDefaultEps;
  const double p = static_cast<double>(nvar);
  const double g = w / p;
  t.Reset(nf, nf);
  for (int j = 0; j < nf; ++j) t(j, j) = 1.0;
  b = a;

  std::vector<double> lengths(nvar, 1.0);
  if (nrm == 1) {
    for (int item = 0; item < nvar; ++item) {
      double sum = 0.0;
      for (int j = 0; j < nf; ++j) sum += b(item, j) * b(item, j);
      const double length = std::sqrt(sum);
      // A row of zeros keeps the length 1 and stays zero.
      if (length > 0.0) lengths[item] = length;
      for (int j = 0; j < nf; ++j) b(item, j) = b(item, j) * (1.0 / lengths[item]);
    }
  }

  double previous = 0.0;
  int small_gains = 0;
  int skipped_pairs = 0;
  const int pair_count = nf * (nf - 1) / 2;
  bool stopped = false;
  int sweep = 0;
  for (; sweep < maxit && !stopped; ++sweep) {
    double criterion = 0.0;
    for (int j = 0; j < nf; ++j) {
      double fourth = 0.0;
      double squares = 0.0;
      for (int item = 0; item < nvar; ++item) {
        const double square = b(item, j) * b(item, j);
        fourth += square * square;
        squares += square;
      }
      criterion += p * fourth - w * squares * squares;
    }
    criterion = criterion / (p * p);
    if (criterion - previous <= previous * eps) {
      ++small_gains;
      if (small_gains == 2) {
        stopped = true;
        break;
      }
    }
    previous = criterion;

    for (int l = 0; l < nf - 1 && !stopped; ++l) {
      for (int k = l + 1; k < nf; ++k) {
        double su = 0.0;
        double st = 0.0;
        double sc = 0.0;
        double sd = 0.0;
        for (int item = 0; item < nvar; ++item) {
          const double x = b(item, l);
          const double y = b(item, k);
          const double u = (x - y) * (x + y);
          const double tt = 2.0 * x * y;
          su += u;
          st += tt;
          sc += (u - tt) * (u + tt);
          sd += tt * u;
        }
        const double num = 2.0 * sd - 2.0 * su * st * g;
        const double den = sc - (su - st) * (su + st) * g;
        const double angle = std::atan2(num, den) / 4.0;
        if (std::fabs(angle) < eps / 4.0 || std::fabs(num) + std::fabs(den) <= eps) {
          ++skipped_pairs;
          if (skipped_pairs == pair_count) {
            stopped = true;
            break;
          }
          continue;
        }
        skipped_pairs = 0;
        const double cosine = std::cos(angle);
        const double sine = std::sin(angle);
        for (int item = 0; item < nvar; ++item) {
          const double x = b(item, l);
          const double y = b(item, k);
          b(item, k) = cosine * y - sine * x;
          b(item, l) = sine * y + cosine * x;
        }
        for (int row = 0; row < nf; ++row) {
          const double x = t(row, l);
          const double y = t(row, k);
          t(row, k) = cosine * y - sine * x;
          t(row, l) = sine * y + cosine * x;
        }
      }
    }
  }
  // A stop inside the pair loop ends the sweep it was counted in.
  if (sweeps != nullptr) *sweeps = {sweep, stopped};
  if (!stopped) {
    ImslError(kImslWarning,
              kNoConvergence,
              "DFHARR",
              std::to_string(maxit) + " iterations without convergence.  Convergence assumed.");
  }

  if (nrm == 1) {
    for (int j = 0; j < nf; ++j) {
      for (int item = 0; item < nvar; ++item) b(item, j) = b(item, j) * lengths[item];
    }
  }
}

}  // namespace vq
