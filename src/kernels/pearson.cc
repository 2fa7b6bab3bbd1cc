#include "kernels/pearson.h"

#include <cmath>

#include "kernels/failure.h"

namespace vq {

void G02BAF(int n,
            int m,
            const Matrix& x,
            std::vector<double>& xbar,
            std::vector<double>& std_dev,
            Matrix& ssp,
            Matrix& r,
            int& ifail) {
  const int caller_ifail = ifail;
  ifail = 0;
  if (n < 2) {
    ifail = NagFailure("G02BAF", caller_ifail, 1);
    return;
  }
  if (m < 2) {
    ifail = NagFailure("G02BAF", caller_ifail, 2);
    return;
  }
  xbar.assign(m, 0.0);
  std_dev.assign(m, 0.0);
  if (ssp.rows != m || ssp.cols != m) ssp.Reset(m, m);
  if (r.rows != m || r.cols != m) r.Reset(m, m);

  // Means and sums of products. The mean of a column is known before its
  // products with the earlier columns are formed.
  for (int variable = 0; variable < m; ++variable) {
    const double* column = x.Column(variable);
    double sum = 0.0;
    for (int subject = 0; subject < n; ++subject) sum += column[subject];
    xbar[variable] = sum / n;
    for (int other = 0; other <= variable; ++other) {
      const double* other_column = x.Column(other);
      double products = 0.0;
      for (int subject = 0; subject < n; ++subject) {
        products += (column[subject] - xbar[variable]) * (other_column[subject] - xbar[other]);
      }
      ssp(variable, other) = products;
      ssp(other, variable) = products;
    }
  }

  // Correlations from the square roots of the sums of squares; a variable
  // without variance keeps a zero row and column.
  for (int variable = 0; variable < m; ++variable) {
    const double sum_of_squares = ssp(variable, variable);
    std_dev[variable] = sum_of_squares > 0.0 ? std::sqrt(sum_of_squares) : 0.0;
    for (int other = 0; other <= variable; ++other) {
      const double scale = std_dev[variable] * std_dev[other];
      const double value = scale > 0.0 ? ssp(other, variable) / scale : 0.0;
      r(variable, other) = value;
      r(other, variable) = value;
    }
  }

  // Only now do the roots become standard deviations.
  const double root = std::sqrt(static_cast<double>(n - 1));
  for (int variable = 0; variable < m; ++variable) std_dev[variable] = std_dev[variable] / root;
}

}  // namespace vq
