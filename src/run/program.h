// The program's entry: command-line arguments, the choice of the command
// file, and the translation of a stopped run into the process's exit status.
#ifndef VELQUORIN_RUN_PROGRAM_H_
#define VELQUORIN_RUN_PROGRAM_H_

#include <string>

#include "data/record_reader.h"
#include "frame/console.h"

namespace vq {

struct ProgramArguments {
  std::string command_file;  // empty: ask on the terminal
  bool has_seed = false;     // --seed N: fixed seed for random starts
  long seed = 0;
  bool strict = false;    // --strict: a stop ends with a status of its own
  std::string json_file;  // --json FILE: the run as one JSON document
  std::string html_file;  // --html FILE: the run as one HTML page
  // --aids[=N]: the aids file with N permuted data sets for parallel
  // analysis (kDefaultAidsDataSets without N); 0: no aids.
  int aids_data_sets = 0;
};

constexpr int kDefaultAidsDataSets = 100;
constexpr int kMaxAidsDataSets = 100000;

struct RunRecord;

// Exit statuses under --strict (without it every stop by the program ends
// with 0, as a run always has). Severe errors keep their number and a
// cancelled choice 1, with or without --strict.
constexpr int kStrictCheckFailed = 2;  // check found errors; the run did not start
constexpr int kStrictFatalStop = 3;    // a fatal message, the pause prompt, the stop
constexpr int kStrictOtherStop = 4;    // a stop without the pause prompt, or with a text

// The title of the dialog that asks for the command file.
constexpr char kCommandFileDialogTitle[] = "Open: Select File for Unit 12";

// Opens the command file on stream 12 (status old): the file named on the
// command line, or else the one chosen in the file dialog (on a terminal;
// off a terminal the dialog counts as cancelled). A cancelled choice or a
// command file that cannot be opened ends the run with status 1.
void OpenCommandFile(const ProgramArguments& arguments, RecordSource& command_file);

// Parses the arguments into `arguments`. Returns -1 when they were
// understood and the run is to go ahead; else the exit status (0 after
// --help or --version, 2 for arguments that cannot be used), with the
// message already written.
int ParseProgramArguments(int argc, char** argv, ProgramArguments& arguments);

// Runs the analysis and returns the exit status: 0 for the normal end; a
// severe error its number; a cancelled choice 1; every other stop 0, or
// under `strict` the status of its kind (the constants above).
// With a `record` (run/run_record.h), the run fills it with its results and
// the command line's seed and thread count, and a stop adds its kind, text
// and exit status.
int RunProgram(const ProgramArguments& arguments, RunRecord* record = nullptr);

// The program's version, as --version prints it.
const char* ProgramVersion();

// The status of a stopped run under --strict.
int StrictExitStatus(const RunStopped& stop);

// What `main` does: parses the arguments (--help, --version, --seed N and
// one command file), runs the analysis, and returns the exit status. A
// severe error ends with its number, a cancelled file choice with 1, every
// other end with 0.
int VelquorinMain(int argc, char** argv);

}  // namespace vq

#endif  // VELQUORIN_RUN_PROGRAM_H_
