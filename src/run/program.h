// The program's entry: command-line arguments, the choice of the command
// file, and the translation of a stopped run into the process's exit status.
#ifndef VELQUORIN_RUN_PROGRAM_H_
#define VELQUORIN_RUN_PROGRAM_H_

#include <string>

namespace vq {

struct ProgramArguments {
  std::string command_file;  // empty: ask on the terminal
  bool has_seed = false;     // --seed N: fixed seed for random starts
  long seed = 0;
};

// What `main` does: parses the arguments (--help, --version, --seed N and
// one command file), runs the analysis, and returns the exit status. A
// severe error ends with its number, a cancelled file choice with 1, every
// other end with 0.
int VelquorinMain(int argc, char** argv);

}  // namespace vq

#endif  // VELQUORIN_RUN_PROGRAM_H_
