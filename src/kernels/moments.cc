#include "kernels/moments.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "kernels/failure.h"
#include "text/edit_descriptors.h"

namespace vq {

void G01AAF(int n,
            const double* x,
            double& mean,
            double& sd,
            double& skewness,
            double& kurtosis,
            double& xmin,
            double& xmax,
            int& ifail) {
  mean = sd = skewness = kurtosis = xmin = xmax = 0.0;
  if (n < 1) {
    ifail = NagFailure("G01AAF", ifail, 1);
    return;
  }
  double sum = 0.0;
  xmin = xmax = x[0];
  for (int i = 0; i < n; ++i) {
    sum += x[i];
    xmin = std::min(xmin, x[i]);
    xmax = std::max(xmax, x[i]);
  }
  mean = sum / n;
  if (n == 1) {
    // One value has a mean and no spread: the higher moments stay 0.
    ifail = NagFailure("G01AAF", ifail, 2);
    return;
  }
  double s2 = 0.0;
  double s3 = 0.0;
  double s4 = 0.0;
  for (int i = 0; i < n; ++i) {
    const double d = x[i] - mean;
    const double d2 = d * d;
    s2 += d2;
    s3 += d2 * d;
    s4 += d2 * d2;
  }
  ifail = 0;
  if (s2 == 0.0) return;
  const double divisor = n - 1.0;
  sd = std::sqrt(s2 / divisor);
  skewness = s3 / (divisor * sd * sd * sd);
  kurtosis = s4 / (divisor * sd * sd * sd * sd) - 3.0;
}

void G01ALF(int n, const double* x, double* res, int& ifail) {
  if (n < 5) {
    ifail = NagFailure("G01ALF", ifail, 1, {" ** On entry N.lt.5 : N = " + FormatI(n, 16)});
    return;
  }
  std::vector<double> y(x, x + n);
  std::sort(y.begin(), y.end());
  // 1-based access to the sorted values.
  auto at = [&y](int position) { return y[position - 1]; };
  const int h = (n + 1) / 2;
  const int q = (h + 1) / 2;
  const double median = (n % 2 == 1) ? at(h) : (at(h) + at(h + 1)) / 2.0;
  double lower;
  double upper;
  if (h % 2 == 0) {
    lower = (at(q) + at(q + 1)) / 2.0;
    upper = (at(n - q) + at(n - q + 1)) / 2.0;
  } else {
    lower = at(q);
    upper = at(n - q + 1);
  }
  res[0] = at(1);
  res[1] = lower;
  res[2] = median;
  res[3] = upper;
  res[4] = at(n);
  ifail = 0;
}

}  // namespace vq
