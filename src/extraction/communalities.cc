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

  // Only the eigenvalue of smallest modulus decides; a larger negative one
  // does not set the constant off. A single variable has no p - 1 to divide
  // by, so its divisor counts as 1 rather than giving an infinite constant.
  const bool smallest_not_positive =
      eigenvalues.size() < static_cast<std::size_t>(p) || !(eigenvalues[p - 1] > 0.0);
  if (smallest_not_positive) {
    const double divisor = std::max(p - 1, 1) * 100000.0;
    const double constant = 1.0 / divisor;
    for (int i = 0; i < p; ++i) r(i, i) += constant;
  }

  Matrix inverse(p, p);
  InvertPositiveDefinite(r, p, inverse);

  for (int i = 0; i < p; ++i) {
    const double w = inverse(i, i);
    // A matrix that is not positive definite leaves the inverse unfinished
    // (the inverse has said so on the console). A diagonal element that is
    // not a positive number there would start the iteration from an infinite
    // or undefined communality; such a variable starts from 1.0, the start
    // of "ONE", and the iteration takes it from there.
    if (w > 0.0 && std::isfinite(w)) {
      r(i, i) = 1.0 - 1.0 / w;
    } else {
      r(i, i) = 1.0;
    }
  }
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
