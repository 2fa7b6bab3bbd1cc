// The lower-orthant probability of the standard bivariate normal
// distribution, by Divgi's polar series: one point at a time (G01HAF), or a
// fixed set of points at one correlation after another
// (BivariateNormalCorners), as a search over the correlation asks for it.
#ifndef VELQUORIN_KERNELS_BIVARIATE_NORMAL_H_
#define VELQUORIN_KERNELS_BIVARIATE_NORMAL_H_

namespace vq {

// P(X <= x, Y <= y) for standard normals X, Y with correlation rho; never
// below 0. Thresholds of +-999999 work as infinities. IFAIL protocol: |rho|
// above 1 is failure 1 (" ** On entry, RHO.lt.-1.0 .or. RHO.gt.1.0 : RHO = ")
// and the result 0.
double G01HAF(double x, double y, double rho, int& ifail);

// A set of points (x, y) whose probabilities are wanted at many values of
// rho: each Evaluate gives, for every point, the very double G01HAF gives.
// What does not depend on rho (x^2 + y^2, the signs, the univariate tail
// terms) is computed once when the point is added, and the polar series of
// all points is summed term by term across the points, so that the
// divisions of one point overlap those of the next instead of waiting for
// them. Holds up to kCapacity points.
class BivariateNormalCorners {
 public:
  static constexpr int kCapacity = 256;

  int size() const { return count_; }
  void Clear() { count_ = 0; }
  // Adds the point (x, y) as number size(); false when full.
  bool Add(double x, double y);

  // out[k] = G01HAF(x_k, y_k, rho, ifail) for k = 0 .. size() - 1, in that
  // order. `ifail` is the caller's indicator on entry; on return it is 0, or
  // the failure of the first point that failed (which, under the hard
  // indicator, has stopped the run). Safe to call from several threads on
  // objects of their own.
  void Evaluate(double rho, int& ifail, double* out) const;

 private:
  // A block of points whose series run side by side.
  static constexpr int kBlock = 16;  // as kSeriesBlock in the .cc
  void EvaluateBlock(double rho, double s, int begin, int end, double* out) const;

  int count_ = 0;
  double x_[kCapacity];
  double y_[kCapacity];
  double squares_[kCapacity];  // x * x + y * y
  double sx_[kCapacity];       // -sign(x), -sign(y)
  double sy_[kCapacity];
  double tail_x_[kCapacity];  // 0.5 * sx * erfc(|x| / sqrt 2), and for y
  double tail_y_[kCapacity];
};

}  // namespace vq

#endif  // VELQUORIN_KERNELS_BIVARIATE_NORMAL_H_
