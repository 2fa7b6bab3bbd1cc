#include "rotation/orthomax.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "kernels/failure.h"
#include "kernels/lapack.h"

namespace vq {
namespace {

constexpr double kMachinePrecision = 1.1102230246251568e-16;

// The orthomax criterion of the current loadings: the sum of all fourth
// powers, minus c times each column's sum of squares (to the first power).
double Criterion(const Matrix& x, int nvar, int k, double c) {
  double v = 0.0;
  for (int j = 0; j < k; ++j) {
    double fourth = 0.0;
    double squares = 0.0;
    for (int i = 0; i < nvar; ++i) {
      const double square = x(i, j) * x(i, j);
      fourth += square * square;
      squares += square;
    }
    v += fourth;
    v = v - c * squares;
  }
  return v;
}

// Turns columns l and q of `x` by the angle that maximises the criterion for
// the pair. The angle is a quarter of the angle of (den, num), formed from
// half-angle formulas rather than an arc tangent.
void TurnPair(Matrix& x, int nvar, int l, int q, double c) {
  double a = 0.0;
  double b = 0.0;
  double cc = 0.0;
  double d = 0.0;
  for (int i = 0; i < nvar; ++i) {
    const double xl = x(i, l);
    const double xq = x(i, q);
    const double u = xl * xl - xq * xq;
    const double v = 2.0 * xl * xq;
    a += u;
    b += v;
    cc += u * u - v * v;
    d += 2.0 * u * v;
  }
  const double num = d + c * 2.0 * a * b;
  const double den = cc + c * (a * a - b * b);

  double c4 = 1.0;
  double s4 = 0.0;
  if (num != 0.0) {
    // With den 0 the quotient takes the largest number of the sign of num.
    double t = den != 0.0 ? num / den : std::copysign(DBL_MAX, num);
    if (std::isinf(t)) t = std::copysign(DBL_MAX, t);
    const double one_plus = 1.0 + t * t;
    if (std::isfinite(one_plus)) {
      c4 = 1.0 / std::sqrt(one_plus);
      s4 = c4 * t;
    } else {
      // t squared overflows: the point lies on the num axis to double
      // precision; cos is as small as 1 / |t| and sin is +-1.
      c4 = 1.0 / std::fabs(t);
      s4 = std::copysign(1.0, t);
    }
  }
  const double c2 = std::sqrt((1.0 + c4) / 2.0);
  const double c1 = std::sqrt((1.0 + c2) / 2.0);
  const double s1 = s4 / (4.0 * c1 * c2);

  double cosine = c1;
  double sine = s1;
  if (den < 0.0) {
    const double k = 1.0 / std::sqrt(2.0);
    if (!std::signbit(num)) {
      cosine = (c1 - s1) * k;
      sine = (s1 + c1) * k;
    } else {
      cosine = (s1 + c1) * k;
      sine = -(c1 - s1) * k;
    }
  }
  for (int i = 0; i < nvar; ++i) {
    const double xl = x(i, l);
    const double xq = x(i, q);
    x(i, l) = cosine * xl + sine * xq;
    x(i, q) = -sine * xl + cosine * xq;
  }
}

// Checks the arguments; returns 0 or the failure number after reporting it.
int CheckArguments(char stand, double g, int nvar, int k, int ifail) {
  if (stand != 'S' && stand != 's' && stand != 'U' && stand != 'u') {
    return NagFailure(
        "G03BAF", ifail, 1, {std::string(" ** On entry, STAND is not valid : STAND = ") + stand});
  }
  if (k < 2 || nvar < k || g < 0.0) {
    return NagFailure("G03BAF",
                      ifail,
                      1,
                      {" ** On entry, K.lt.2 or NVAR.lt.K or G.lt.0.0 : NVAR = " +
                       std::to_string(nvar) + " K = " + std::to_string(k)});
  }
  return 0;
}

}  // namespace

void G03BAF(char stand,
            double g,
            int nvar,
            int k,
            Matrix& fl,
            Matrix& flr,
            Matrix& r,
            double acc,
            int maxit,
            int& iter,
            int& ifail) {
  iter = 0;
  const int check = CheckArguments(stand, g, nvar, k, ifail);
  if (check != 0) {
    ifail = check;
    return;
  }
  const bool normalise = stand == 'S' || stand == 's';
  const double c = -g / nvar;
  const double tol = (acc < 1.0 && acc > kMachinePrecision) ? acc : kMachinePrecision;

  // Row lengths for the Kaiser normalisation. A row of zeros has no
  // direction: it keeps the length 1 and so stays a row of zeros.
  std::vector<double> lengths(nvar, 1.0);
  if (normalise) {
    for (int i = 0; i < nvar; ++i) {
      double sum = 0.0;
      for (int j = 0; j < k; ++j) sum += fl(i, j) * fl(i, j);
      const double length = std::sqrt(sum);
      if (length > 0.0) lengths[i] = length;
      for (int j = 0; j < k; ++j) fl(i, j) = fl(i, j) * (1.0 / lengths[i]);
    }
  }

  flr = fl;
  double v_old = 0.0;
  int code = 0;
  for (;;) {
    ++iter;
    const double v = Criterion(flr, nvar, k, c);
    if (std::fabs(v - v_old) <= tol * std::max(v_old, 1.0)) break;
    v_old = std::fabs(v);
    for (int l = 0; l < k - 1; ++l) {
      for (int q = l + 1; q < k; ++q) TurnPair(flr, nvar, l, q, c);
    }
    if (iter > maxit) {
      code = 3;
      break;
    }
  }

  // Closing step: the orthogonal matrix nearest to FL' W, where W is the
  // criterion's gradient at the rotated loadings.
  Matrix b(k, k);
  std::vector<double> w(nvar);
  for (int j = 0; j < k; ++j) {
    double squares = 0.0;
    for (int i = 0; i < nvar; ++i) squares += flr(i, j) * flr(i, j);
    for (int i = 0; i < nvar; ++i) {
      const double x = flr(i, j);
      w[i] = x * x * x + c * squares * x;
    }
    for (int row = 0; row < k; ++row) {
      double sum = 0.0;
      for (int i = 0; i < nvar; ++i) sum += fl(i, row) * w[i];
      b(row, j) = sum;
    }
  }

  // Loadings that are not a number give a matrix B that is not one either;
  // a decomposition of it means nothing and may fail on the way. The result
  // is then not a number as a whole, which the callers test for.
  bool finite = true;
  for (double value : b.values) finite = finite && std::isfinite(value);
  if (!finite) {
    r.Reset(k, k, std::numeric_limits<double>::quiet_NaN());
    flr.Reset(nvar, k, std::numeric_limits<double>::quiet_NaN());
    if (normalise) {
      for (int i = 0; i < nvar; ++i) {
        for (int j = 0; j < k; ++j) fl(i, j) = fl(i, j) * lengths[i];
      }
    }
    ifail = code;
    return;
  }

  std::vector<double> singular(k);
  Matrix u(k, k);
  Matrix vt(k, k);
  int info = 0;
  int lwork = -1;
  double query = 0.0;
  dgesvd_("A",
          "A",
          &k,
          &k,
          b.data(),
          &k,
          singular.data(),
          u.data(),
          &k,
          vt.data(),
          &k,
          &query,
          &lwork,
          &info,
          1,
          1);
  if (info < 0) LapackArgumentError("dgesvd", info);
  lwork = static_cast<int>(query);
  std::vector<double> work(std::max(lwork, 1));
  dgesvd_("A",
          "A",
          &k,
          &k,
          b.data(),
          &k,
          singular.data(),
          u.data(),
          &k,
          vt.data(),
          &k,
          work.data(),
          &lwork,
          &info,
          1,
          1);
  if (info < 0) LapackArgumentError("dgesvd", info);
  if (info > 0) {
    ifail = NagFailure("G03BAF", ifail, 2, {" ** SVD failed to converge"});
    return;
  }

  r.Reset(k, k);
  for (int j = 0; j < k; ++j) {
    for (int i = 0; i < k; ++i) {
      double sum = 0.0;
      for (int s = 0; s < k; ++s) sum += u(i, s) * vt(s, j);
      r(i, j) = sum;
    }
  }
  for (int j = 0; j < k; ++j) {
    for (int i = 0; i < nvar; ++i) {
      double sum = 0.0;
      for (int s = 0; s < k; ++s) sum += fl(i, s) * r(s, j);
      flr(i, j) = sum;
    }
  }
  if (normalise) {
    for (int i = 0; i < nvar; ++i) {
      for (int j = 0; j < k; ++j) {
        fl(i, j) = fl(i, j) * lengths[i];
        flr(i, j) = flr(i, j) * lengths[i];
      }
    }
  }
  ifail = code;
}

}  // namespace vq
