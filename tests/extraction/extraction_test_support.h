// Helpers shared by the extraction tests and the tests of its writer:
// correlation matrices built from known loadings, and reading back saved
// files and report lines.
#ifndef VELQUORIN_TESTS_EXTRACTION_EXTRACTION_TEST_SUPPORT_H_
#define VELQUORIN_TESTS_EXTRACTION_EXTRACTION_TEST_SUPPORT_H_

#include <string>
#include <vector>

#include "kernels/matrix.h"
#include "text/edit_descriptors.h"

namespace vq {
namespace testing_support {

// R = L L' with a unit diagonal, L given by its p rows of m loadings.
inline Matrix FromLoadings(const std::vector<std::vector<double>>& rows) {
  const int p = static_cast<int>(rows.size());
  const int m = static_cast<int>(rows[0].size());
  Matrix r(p, p);
  for (int i = 0; i < p; ++i) {
    for (int j = 0; j < p; ++j) {
      double sum = 0.0;
      for (int k = 0; k < m; ++k) sum += rows[i][k] * rows[j][k];
      r(i, j) = i == j ? 1.0 : sum;
    }
  }
  return r;
}

// All off-diagonal elements equal to `rho`, unit diagonal.
inline Matrix Equicorrelation(int p, double rho) {
  Matrix r(p, p, rho);
  for (int i = 0; i < p; ++i) r(i, i) = 1.0;
  return r;
}

// Four variables, r0 with 0.5 off the diagonal, communalities 0.6, and a
// reproduced matrix that leaves the residuals (1,2) -0.1234, (1,3) 0.05,
// (1,4) 0.2, (2,3) -0.3, (2,4) 0.1, (3,4) 0.
struct FourVariableFit {
  Matrix r0 = Equicorrelation(4, 0.5);
  Matrix rhat = Equicorrelation(4, 0.5);
  std::vector<double> communalities = std::vector<double>(4, 0.6);
  FourVariableFit() {
    const double residual[4][4] = {
        {0, -0.1234, 0.05, 0.2}, {-0.1234, 0, -0.3, 0.1}, {0.05, -0.3, 0, 0.0}, {0.2, 0.1, 0.0, 0}};
    for (int i = 0; i < 4; ++i) {
      rhat(i, i) = 0.6;
      for (int j = 0; j < 4; ++j) {
        if (i != j) rhat(i, j) = 0.5 - residual[i][j];
      }
    }
  }
};

}  // namespace testing_support
}  // namespace vq

#endif  // VELQUORIN_TESTS_EXTRACTION_EXTRACTION_TEST_SUPPORT_H_
