// Summary statistics of a list of values: the moments (G01AAF) and the
// five-point summary (G01ALF) that the fit analysis prints for its residuals.
// Every value has weight 1; the program never weights its lists.
#ifndef VELQUORIN_KERNELS_MOMENTS_H_
#define VELQUORIN_KERNELS_MOMENTS_H_

namespace vq {

// Moments of the n values of x. With the deviations d from the mean and the
// sums S2, S3, S4 of their squares, cubes and fourth powers:
//   sd = sqrt(S2 / (n - 1)), skewness = S3 / ((n - 1) sd^3),
//   kurtosis = S4 / ((n - 1) sd^4) - 3;
// all three are 0 when S2 is 0. xmin and xmax are the extremes.
// IFAIL protocol: n below 1 is failure 1 (everything 0); n of 1 is failure 2
// (mean, xmin and xmax are the value, the others 0).
void G01AAF(int n,
            const double* x,
            double& mean,
            double& sd,
            double& skewness,
            double& kurtosis,
            double& xmin,
            double& xmax,
            int& ifail);

// Five-point summary of the n values of x: minimum, lower hinge, median,
// upper hinge and maximum in res[0..4] (x is not changed). With y the values
// in ascending order and h = (n + 1) / 2, q = (h + 1) / 2 (integer division):
// the median is y(h), or the mean of y(h) and y(h + 1) for even n; the
// hinges are y(q) and y(n - q + 1) for odd h, the means of y(q), y(q + 1) and
// of y(n - q), y(n - q + 1) for even h (1-based).
// IFAIL protocol: n below 5 is failure 1, " ** On entry N.lt.5 : N = " and n
// as I16; res is then left as it was.
void G01ALF(int n, const double* x, double* res, int& ifail);

}  // namespace vq

#endif  // VELQUORIN_KERNELS_MOMENTS_H_
