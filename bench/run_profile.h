// The per-phase profile of a whole polychoric run, for `correlation_bench
// --profile RUN.in`. The run is made phase by phase from the same functions
// the driver calls, with the same console lines, report and saved files, and
// a clock around each phase: wall time, the process's CPU time (user +
// system), and inside the polychoric phase the CPU time each thread spends
// on the pair tables and on the searches, with the number of bivariate
// normal evaluations the searches make. None of it is compiled into the
// program itself.
#ifndef VELQUORIN_BENCH_RUN_PROFILE_H_
#define VELQUORIN_BENCH_RUN_PROFILE_H_

#include <string>

namespace vq {

// What the profile is asked for: the command file, the thread count (0: the
// machine's cores, as the program) and the seed of a random start.
struct ProfileRequest {
  std::string command_file;
  int threads = 0;
  bool has_seed = false;
  long seed = 0;
};

// Runs the command file (coding "OR" on raw data, any model that extracts
// or stops after the matrix, any rotation, no factor scores) and prints the
// profile table on standard output after the run's own console text.
// Returns 0, or 2 with a line on standard error for a run the profile does
// not cover; a run that stops returns the stop's exit status.
int RunProfile(const ProfileRequest& request);

}  // namespace vq

#endif  // VELQUORIN_BENCH_RUN_PROFILE_H_
