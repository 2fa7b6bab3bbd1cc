// Eigenvalue work on correlation matrices shared by the parallel analysis,
// the MAP test and the likelihood fit: the descending spectrum, squared
// multiple correlations, and the smoothing that makes an indefinite matrix
// positive definite the way the fit figures expect.
//
// Every function is a pure function of its arguments (LAPACK's reference
// symmetric solver underneath), safe on several threads at once.
#ifndef VELQUORIN_AIDS_REDUCED_EIGENVALUES_H_
#define VELQUORIN_AIDS_REDUCED_EIGENVALUES_H_

#include <vector>

#include "kernels/matrix.h"

namespace vq {

// Eigenvalues and eigenvectors of a symmetric matrix, largest value first;
// column k of `vectors` belongs to values[k].
struct SymmetricSpectrum {
  std::vector<double> values;
  Matrix vectors;
};

// All eigenvalues of symmetric `a` (p by p, upper triangle read), in
// decreasing order; with `vectors` true the eigenvectors too. Returns false
// (and an empty spectrum) when the solver does not converge or `a` holds a
// value that is not finite.
bool DecreasingSpectrum(const Matrix& a, bool vectors, SymmetricSpectrum& spectrum);

// Squared multiple correlations 1 - 1 / (R^+)_ii of each variable on the
// others, where R^+ is the pseudo-inverse of `r` that keeps the eigenvalues
// of absolute value above sqrt(machine epsilon) times the largest: the
// ordinary inverse for a well-conditioned matrix, and still defined for a
// singular or indefinite one. A variable with a share (squared element above
// 1e-8) of an eigenvector whose eigenvalue is dropped is an exact linear
// function of the others and gets 1. Values are clamped to [0, 1]. Empty
// when the eigensolver fails.
std::vector<double> SquaredMultipleCorrelations(const Matrix& r);

// `r` with its diagonal replaced by `diagonal` (size p).
Matrix WithDiagonal(const Matrix& r, const std::vector<double>& diagonal);

// Leaves `r` unchanged and returns false when its smallest eigenvalue is at
// least machine epsilon. Otherwise smooths it: eigenvalues below 1e-12 are
// raised to 1e-10, all are rescaled to sum to p, the matrix is rebuilt from
// them and rescaled to a unit diagonal; returns true. (The smoothing of
// Wothke, 1993, in the form the peer package's fit statistics use.)
bool SmoothToPositiveDefinite(Matrix& r);

}  // namespace vq

#endif  // VELQUORIN_AIDS_REDUCED_EIGENVALUES_H_
