// The lower-orthant probability of the standard bivariate normal
// distribution, by Divgi's polar series.
#ifndef VELQUORIN_KERNELS_BIVARIATE_NORMAL_H_
#define VELQUORIN_KERNELS_BIVARIATE_NORMAL_H_

namespace vq {

// P(X <= x, Y <= y) for standard normals X, Y with correlation rho; never
// below 0. Thresholds of +-999999 work as infinities. IFAIL protocol: |rho|
// above 1 is failure 1 (" ** On entry, RHO.lt.-1.0 .or. RHO.gt.1.0 : RHO = ")
// and the result 0.
double G01HAF(double x, double y, double rho, int& ifail);

}  // namespace vq

#endif  // VELQUORIN_KERNELS_BIVARIATE_NORMAL_H_
