// The program's entry: command-line arguments, the choice of the command
// file, and the translation of a stopped run into the process's exit status.
#ifndef VELQUORIN_RUN_PROGRAM_H_
#define VELQUORIN_RUN_PROGRAM_H_

#include <string>

#include "data/record_reader.h"

namespace vq {

struct ProgramArguments {
  std::string command_file;  // empty: ask on the terminal
  bool has_seed = false;     // --seed N: fixed seed for random starts
  long seed = 0;
};

// The title of the dialog that asks for the command file.
constexpr char kCommandFileDialogTitle[] = "Open: Select File for Unit 12";

// Opens the command file on stream 12 (status old): the file named on the
// command line, or else the one chosen in the file dialog (on a terminal;
// off a terminal the dialog counts as cancelled). A cancelled choice or a
// command file that cannot be opened ends the run with status 1.
void OpenCommandFile(const ProgramArguments& arguments, RecordSource& command_file);

// What `main` does: parses the arguments (--help, --version, --seed N and
// one command file), runs the analysis, and returns the exit status. A
// severe error ends with its number, a cancelled file choice with 1, every
// other end with 0.
int VelquorinMain(int argc, char** argv);

}  // namespace vq

#endif  // VELQUORIN_RUN_PROGRAM_H_
