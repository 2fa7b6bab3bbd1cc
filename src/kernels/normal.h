// The standard normal distribution function and its quantile, under the two
// failure protocols (kernels/failure.h).
#ifndef VELQUORIN_KERNELS_NORMAL_H_
#define VELQUORIN_KERNELS_NORMAL_H_

#include <string_view>

namespace vq {

// Lower-tail quantile: z with Phi(z) = p, to double precision. `tail` must
// begin with "L" or "l" ("Lower-tail"); any other word is failure 1. IFAIL
// protocol: p <= 0 or p >= 1 (or NaN) is failure 2 with the line " ** On
// entry, P.le.0.0 or P.ge.1.0 : P = " and p as E13.5. The result of a
// failure is 0.
double G01FAF(std::string_view tail, double p, int& ifail);

// z with Phi(z) = p. ERSET protocol: p <= 0 or p >= 1 raises terminal
// error 1 ("The argument to the function must be greater than 0.0 and less
// than 1.0.  P = ..."); with printing and stopping off it returns NaN.
double DNORIN(double p);

// Phi(x), computed as 0.5 * erfc(-x * sqrt(0.5)). Never fails.
double DNORDF(double x);

}  // namespace vq

#endif  // VELQUORIN_KERNELS_NORMAL_H_
