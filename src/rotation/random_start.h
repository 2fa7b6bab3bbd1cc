// Random starts of the rotations. A rotation may begin from one random
// orthogonal orientation of the unrotated loadings; the orientation is built
// from the eigenvectors of the sample correlation matrix of a small table of
// standard normal deviates. The deviates come from one generator per run:
// the multiplicative congruential generator x = 16807 x mod (2^31 - 1) for
// uniform numbers, turned into normal deviates by the method of Kinderman and
// Ramage (1976).
//
// The generator is seeded once, at its first use, from the local clock,
// unless the driver fixed a seed before (command-line option --seed N), so
// that test runs and golden reports are repeatable.
#ifndef VELQUORIN_ROTATION_RANDOM_START_H_
#define VELQUORIN_ROTATION_RANDOM_START_H_

#include "kernels/matrix.h"

namespace vq {

// Fixes the seed of the run's generator; the next draw starts from it. A
// seed outside 2 to 2147483646 is brought into the generator's range:
// reduced modulo 2147483647, and a result not above 1 becomes 123457, as
// for the clock seed.
void SetRandomSeed(long seed);

// Forgets the state, so that the next draw seeds from the clock again
// (tests; a run seeds once).
void ResetRandomGenerator();

// The seed that the clock gives at this moment: hour * 10000 + minute * 100 +
// second + 1 of the local time, or 123457 if that is not above 1.
long ClockSeed();

// The next uniform number of the generator, in (0, 1): the new state times
// 4.656612875245797e-10. Seeds from the clock at the first use of a run.
double UniformDeviate();

// The next standard normal deviate (Kinderman and Ramage), drawing one or
// more uniform numbers.
double NormalDeviate();

// Turns the p by m `loadings` in place by one random orthogonal matrix: the
// eigenvectors of the m by m Pearson correlation matrix of a 15 by m table
// of normal deviates (filled column by column). Draws 15 * m deviates.
// A failure of the correlation or eigen step is a hard failure of its
// routine (the run stops); m must be at least 2.
void RandomOrientation(Matrix& loadings, int p, int m);

}  // namespace vq

#endif  // VELQUORIN_ROTATION_RANDOM_START_H_
