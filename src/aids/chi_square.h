// Distribution functions behind the likelihood fit figures: the regularized
// incomplete gamma functions, the chi-square upper tail (the p-value of a
// chi-square statistic) and the noncentral chi-square distribution function
// that the confidence interval of the RMSEA is solved from.
//
// All are plain double arithmetic over std::lgamma, std::exp and std::log:
// no table, no state, safe on any number of threads.
#ifndef VELQUORIN_AIDS_CHI_SQUARE_H_
#define VELQUORIN_AIDS_CHI_SQUARE_H_

namespace vq {

// P(a, x) = gamma(a, x) / Gamma(a), the regularized lower incomplete gamma
// function, for a > 0 and x >= 0 (Abramowitz and Stegun 6.5.1): by its power
// series for x < a + 1, else as 1 - Q(a, x). NaN for arguments outside the
// domain.
double RegularizedGammaP(double a, double x);

// Q(a, x) = 1 - P(a, x), the regularized upper incomplete gamma function, by
// its continued fraction for x >= a + 1 (A&S 6.5.31, evaluated by the
// modified Lentz method), else as 1 - P(a, x). Computed directly in the far
// tail, so small p-values keep their relative precision.
double RegularizedGammaQ(double a, double x);

// Pr(X > x) for X chi-square with `df` > 0 degrees of freedom: Q(df/2, x/2).
// 1 for x <= 0.
double ChiSquareUpperTail(double x, double df);

// Pr(X <= x) for X noncentral chi-square with `df` > 0 degrees of freedom
// and noncentrality `ncp` >= 0: the Poisson(ncp/2) mixture of central
// chi-square distribution functions with df + 2j degrees of freedom, summed
// from the Poisson mode outwards until the weights fall below 1e-17 (so the
// absolute error is of that order; far-tail values below it are not
// resolved). Above a noncentrality of 1e6, where that sum would need tens of
// thousands of terms, Sankaran's (1963) normal approximation is used
// instead, good to about 1e-5 there. 0 for x <= 0.
double NoncentralChiSquareCdf(double x, double df, double ncp);

}  // namespace vq

#endif  // VELQUORIN_AIDS_CHI_SQUARE_H_
