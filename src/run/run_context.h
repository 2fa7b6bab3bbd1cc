// The names and settings of one run that are not part of the command file:
// the two parts of the command file's name, from which every saved result
// file is named, and the seed of random starts when the command line fixes
// one. The driver fills it at start-up and hands it, read-only, to the
// phases that need it.
#ifndef VELQUORIN_RUN_RUN_CONTEXT_H_
#define VELQUORIN_RUN_RUN_CONTEXT_H_

#include <string>
#include <string_view>

namespace vq {

// Width of the stem: the saved file names are built from at most this many
// characters of the command file's name.
constexpr int kRunStemWidth = 15;

// Seed of the random orientation that starts a rotation. Without `--seed`
// the rotation phase seeds from the clock.
struct RandomSeed {
  bool fixed = false;  // `--seed N` was given
  long value = 0;
};

struct RunContext {
  std::string RunStem;       // at most 15 characters of the file's name
  std::string RunDirectory;  // the directory, separator included; may be empty
  RandomSeed Seed;
};

// Splits the command file's full name at its last "/" or "\": the stem is at
// most the first 15 characters after it, the directory everything before it,
// separator included, uncut. A name without a separator gives an empty
// directory and its first 15 characters as the stem.
void SplitRunName(std::string_view full_name, std::string& run_stem, std::string& run_directory);

}  // namespace vq

#endif  // VELQUORIN_RUN_RUN_CONTEXT_H_
