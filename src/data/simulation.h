// Simulated item scores from a factor model, for the test suite, the
// benchmarks and the item generator tool (tools/generate_items.cc).
//
// Each item has a latent response x = lambda' eta + sqrt(1 - lambda' Phi
// lambda) e, with factors eta (correlations Phi) and a standard normal e.
// The latent response is written as it is (continuous scores) or cut at the
// item's thresholds into ordered categories 0, 1, ..., K-1 (one threshold
// gives dichotomous 0/1 scores). The factors are normal, or, for checks of
// tests of normality, standardised two-point variables, which make the
// latent responses a skewed mixture of two normals.
//
// Every number comes from the program's own generator (xoshiro256**,
// seeded by splitmix64) and from +, -, *, / and sqrt, with a logarithm of
// our own, so a seed gives the same scores on every machine and library.
#ifndef VELQUORIN_DATA_SIMULATION_H_
#define VELQUORIN_DATA_SIMULATION_H_

#include <cstdint>
#include <string>
#include <vector>

#include "kernels/matrix.h"

namespace vq {

// A random stream of its own: 256 bits of state and a spare normal deviate
// from the polar method.
struct PortableRandom {
  std::uint64_t state[4] = {0, 0, 0, 0};
  bool has_spare = false;
  double spare = 0.0;
};

// Seeds the stream; equal seeds give equal streams.
void SeedRandom(PortableRandom& random, std::uint64_t seed);
// The next 64 random bits.
std::uint64_t NextBits(PortableRandom& random);
// A uniform deviate in the open interval (0, 1), on a grid of 2^-53.
double NextUniform(PortableRandom& random);
// A standard normal deviate (Marsaglia's polar method).
double NextNormal(PortableRandom& random);
// Natural logarithm of a positive finite x, from the basic operations only,
// accurate to a few units in the last place.
double PortableLog(double x);

// The distribution of the factors.
enum class LatentShape {
  kNormal,    // multivariate normal with correlations Phi
  kTwoPoint,  // standardised two-point variables, upper point with
              // probability `upper_share`, correlated through Phi's Cholesky factor
};

struct ItemModel {
  int items = 0;               // p
  int factors = 1;             // m
  Matrix loadings;             // p by m
  Matrix factor_correlations;  // m by m, unit diagonal
  // Ascending thresholds per item (z values of the latent response). An
  // empty list leaves the item continuous.
  std::vector<std::vector<double>> thresholds;
  LatentShape latent = LatentShape::kNormal;
  double upper_share = 0.5;  // for kTwoPoint, in (0, 1)
};

// A model of p items on m uncorrelated factors in simple structure: item i
// loads `loading` on factor (i * m) / p and 0 elsewhere; every item gets
// `thresholds`. Change the fields afterwards for other models.
ItemModel SimpleStructureModel(int items,
                               int factors,
                               double loading,
                               const std::vector<double>& thresholds);

// The correlation of the latent responses of items i and j (0-based):
// lambda_i' Phi lambda_j; 1 for i equal to j.
double LatentCorrelation(const ItemModel& model, int i, int j);

// Fills `scores` (reshaped to n by p) with n subjects drawn from `model`
// with the stream seeded by `seed`. Returns false, leaving `scores` empty,
// when Phi is not positive definite or an item's communality exceeds 1.
bool SimulateItemScores(const ItemModel& model, int n, std::uint64_t seed, Matrix& scores);

// Layout of a raw item file: per record the subject's number (1, 2, ...) as
// a whole number in `id_width` columns, then one field of `field_width`
// columns per item, with `decimals` decimals (0: whole numbers).
struct ItemFileLayout {
  int id_width = 6;
  int field_width = 3;
  int decimals = 0;
};

// The record format that reads a file of this layout with p items, e.g.
// "(F6.0,20F3.0)".
std::string ItemRecordFormat(const ItemFileLayout& layout, int p);

// Writes the n by p `scores` to `path`, one record per subject, through a
// temporary file that is renamed into place when complete, so that a failed
// write leaves no partial file. Returns false (with `error` set) on failure,
// and also when an id or a score does not fit its field (no file is left).
bool WriteItemFile(const std::string& path,
                   const Matrix& scores,
                   const ItemFileLayout& layout,
                   std::string& error);

}  // namespace vq

#endif  // VELQUORIN_DATA_SIMULATION_H_
