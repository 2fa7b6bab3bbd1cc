#include "extraction/communalities.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "kernels/eigen.h"
#include "kernels/pd_inverse.h"

namespace vq {

void SmcCommunalities(Matrix& r, int p) {
  if (p < 1) return;
  std::vector<double> eigenvalues;
  std::vector<double> imaginary_parts;
  DEVLRG(p, r, eigenvalues, imaginary_parts);
  SmcCommunalities(r, p, eigenvalues[p - 1]);
}

void SmcCommunalities(Matrix& r, int p, double smallest) {
  if (p < 1) return;
  // Only the eigenvalue of smallest modulus decides; a larger negative one
  // does not set the constant off. A single variable has no p - 1 to divide
  // by, so its divisor counts as 1 rather than giving an infinite constant.
  if (!(smallest > 0.0)) {
    const double divisor = std::max(p - 1, 1) * 100000.0;
    const double constant = 1.0 / divisor;
    for (int i = 0; i < p; ++i) r(i, i) += constant;
  }

  Matrix inverse(p, p);
  InvertPositiveDefinite(r, p, inverse);

  // A matrix that is still not positive definite has been reported by the
  // inverse, which then gives the inverse of the leading block that did
  // factorise and the unit matrix in the rest: the variables of that block
  // start from their squared multiple correlation within it, the others
  // from 0. The iteration takes them from there.
  for (int i = 0; i < p; ++i) r(i, i) = 1.0 - 1.0 / inverse(i, i);
}

void HighestCorrelationCommunalities(Matrix& r, int p) {
  for (int i = 0; i < p; ++i) {
    double largest = 0.0;
    for (int j = 0; j < p; ++j) {
      if (j != i && std::fabs(r(i, j)) > largest) largest = std::fabs(r(i, j));
    }
    r(i, i) = largest;
  }
}

}  // namespace vq
