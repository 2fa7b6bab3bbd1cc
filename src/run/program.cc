#include "run/program.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <new>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>

#include "frame/console.h"
#include "frame/file_dialog.h"
#include "kernels/parallel.h"
#include "run/command_file.h"
#include "run/driver.h"
#include "run/run_record.h"

namespace vq {
namespace {

// The usage texts are put together from these pieces, so that the short
// one and --help cannot drift apart where they say the same.
constexpr std::string_view kOtherForms =
    "       velquorin init DATAFILE [--items P] [--out FILE.in] [--force]\n"
    "       velquorin check [--all] command-file.in\n"
    "\n"
    "Runs the factor analysis described by the command file and writes its\n"
    "report and saved result files. Without a command file, asks for one.\n"
    "init writes a commented command file for a data file; check looks a\n"
    "command file and its data over without running it.\n"
    "\n"
    "  --seed N    fixed seed for random starts of rotations (default: clock)\n"
    "  --threads N threads for the correlation estimators and the triplet\n"
    "              test (default: every core); results never depend on N\n";

constexpr std::string_view kLastOptions =
    "  --strict    check the command file first and refuse to start on an\n"
    "              error; a stop of the run exits with a status other than 0\n"
    "  --help      this text\n"
    "  --version   the program's version\n";

// What a faulty command line is answered with; it names the options of the
// first form as they were before --aids, which --help adds.
std::string Usage() {
  return std::string("usage: velquorin [--seed N] [--threads N] [--strict] [command-file.in]\n")
      .append(kOtherForms)
      .append(kLastOptions);
}

// What --help prints: the usage with every option of a run and of the
// subcommands.
std::string Help() {
  return std::string(
             "usage: velquorin [--seed N] [--threads N] [--strict] [--aids[=N]]\n"
             "                 [--json FILE] [--html FILE] [command-file.in]\n")
      .append(kOtherForms)
      .append(
          "  --aids[=N]  also write the aids file (report's name, extension .aids):\n"
          "              parallel analysis on N permuted data sets (default 100),\n"
          "              Velicer's MAP and the likelihood fit of the solution;\n"
          "              seeded by --seed (default 1)\n"
          "  --json FILE also write everything the run computed (also a run that\n"
          "              stops) as one JSON document at full precision\n"
          "  --html FILE also write the run as one self-contained HTML page\n")
      .append(kLastOptions)
      .append(
          "\n"
          "init DATAFILE writes a commented command file STEM.in beside DATAFILE:\n"
          "  --items P     the last P fields of each record are the items\n"
          "  --out FILE.in the command file to write instead\n"
          "  --force       write over an existing command file, report or copy\n"
          "check command-file.in reads the first 200 data records through the\n"
          "  record format (--all: every record) and reports faults, writing nothing\n");
}

}  // namespace

int ParseProgramArguments(int argc, char** argv, ProgramArguments& arguments) {
  for (int i = 1; i < argc; ++i) {
    std::string_view arg = argv[i];
    if (arg == "--help") {
      std::fputs(Help().c_str(), stdout);
      return 0;
    }
    if (arg == "--version") {
      std::printf("velquorin %s\n", VELQUORIN_VERSION);
      return 0;
    }
    if (arg == "--strict") {
      arguments.strict = true;
      continue;
    }
    if (arg == "--aids") {
      arguments.aids_data_sets = kDefaultAidsDataSets;
      continue;
    }
    if (arg.substr(0, 7) == "--aids=") {
      const std::string value(arg.substr(7));
      char* end = nullptr;
      errno = 0;
      const long sets = std::strtol(value.c_str(), &end, 10);
      if (value.empty() || *end != '\0' || errno == ERANGE || sets < 1 || sets > kMaxAidsDataSets) {
        std::fprintf(stderr, "velquorin: --aids=N needs a number from 1 to %d\n", kMaxAidsDataSets);
        return 2;
      }
      arguments.aids_data_sets = static_cast<int>(sets);
      continue;
    }
    if (arg == "--seed") {
      if (i + 1 >= argc) {
        std::fprintf(stderr, "velquorin: --seed needs a number\n");
        return 2;
      }
      const std::string value = argv[++i];
      char* end = nullptr;
      errno = 0;
      long seed = std::strtol(value.c_str(), &end, 10);
      // A number beyond the range of a long would be replaced by the limit:
      // two different seeds would then give the same run without a word.
      if (value.empty() || *end != '\0' || errno == ERANGE) {
        std::fprintf(stderr, "velquorin: --seed needs a whole number, not \"%s\"\n", value.c_str());
        return 2;
      }
      arguments.has_seed = true;
      arguments.seed = seed;
      continue;
    }
    if (arg == "--json" || arg == "--html") {
      if (i + 1 >= argc || argv[i + 1][0] == '\0') {
        std::fprintf(stderr, "velquorin: %s needs a file name\n", argv[i]);
        return 2;
      }
      (arg == "--json" ? arguments.json_file : arguments.html_file) = argv[++i];
      continue;
    }
    if (arg == "--threads") {
      const std::string value = i + 1 < argc ? argv[++i] : "";
      char* end = nullptr;
      errno = 0;
      const long threads = std::strtol(value.c_str(), &end, 10);
      if (value.empty() || *end != '\0' || errno == ERANGE || threads < 1 || threads > 1024) {
        std::fprintf(stderr, "velquorin: --threads needs a number from 1 to 1024\n");
        return 2;
      }
      SetThreadCount(static_cast<int>(threads));
      continue;
    }
    if (arg.size() > 1 && arg[0] == '-') {
      std::fprintf(stderr, "velquorin: unknown option %s\n%s", argv[i], Usage().c_str());
      return 2;
    }
    if (!arguments.command_file.empty()) {
      std::fprintf(stderr, "velquorin: only one command file can be given\n");
      return 2;
    }
    arguments.command_file = std::string(arg);
  }
  return -1;
}

namespace {

// The last net under the run: an array that the memory check of the driver
// did not foresee (item texts, labels, the guessing vector are made during
// the parse) and that the machine cannot hold ends the run like the
// driver's own memory fault, not with an uncaught exception.
int StopForMemory(bool strict) {
  try {
    OutOfMemory();
  } catch (const RunStopped& stop) {
    ConsoleFlush();
    AskExitWindow();
    return strict ? StrictExitStatus(stop) : stop.exit_code;
  }
}

}  // namespace

void OpenCommandFile(const ProgramArguments& arguments, RecordSource& command_file) {
  std::string name = arguments.command_file;
  if (name.empty()) {
    name = ChooseFileToOpen(kCommandFileDialogTitle, ConsoleInputIsTerminal());
  } else if (!IsExistingFile(name)) {
    // Named on the command line, the file never passed the dialog, which
    // would not have accepted it.
    std::error_code error;
    const bool exists = std::filesystem::exists(name, error);
    ConsoleFreeForm((exists ? "Command file is not a plain file: " : "Command file not found: ") +
                    name);
    CancelRun();
  }
  if (!command_file.OpenOld(kCommandFileUnit, name)) {
    ConsoleFreeForm("Command file cannot be opened: " + name);
    CancelRun();
  }
}

const char* ProgramVersion() { return VELQUORIN_VERSION; }

int StrictExitStatus(const RunStopped& stop) {
  switch (stop.kind) {
    case RunStopped::Kind::kSevere:
    case RunStopped::Kind::kCancelled:
      return stop.exit_code;
    case RunStopped::Kind::kPlainStop:
      // A run that rotates nothing and computes no scores ends with the stop
      // right after "Finished": it is complete.
      if (stop.after_finished) return 0;
      return stop.paused ? kStrictFatalStop : kStrictOtherStop;
    case RunStopped::Kind::kTextStop:
      return kStrictOtherStop;
  }
  return kStrictOtherStop;
}

namespace {

const char* StopKindName(RunStopped::Kind kind) {
  switch (kind) {
    case RunStopped::Kind::kPlainStop:
      return "plain";
    case RunStopped::Kind::kTextStop:
      return "text";
    case RunStopped::Kind::kSevere:
      return "severe";
    case RunStopped::Kind::kCancelled:
      return "cancelled";
  }
  return "plain";
}

// The stop of StopForMemory in the record; returns `status`.
int RecordMemoryStop(RunRecord* record, int status) {
  if (record != nullptr) {
    record->stop.stopped = true;
    record->stop.kind = "plain";
    record->stop.message = "Not enough memory for the arrays of this run";
    record->stop.exit_status = status;
  }
  return status;
}

}  // namespace

int RunProgram(const ProgramArguments& arguments, RunRecord* record) {
  if (record != nullptr) {
    record->seed_fixed = arguments.has_seed;
    record->seed = arguments.seed;
    record->threads = ThreadCount();
  }
  try {
    RunAnalysis(arguments, record);
  } catch (const RunStopped& stop) {
    ConsoleFlush();
    if (stop.kind == RunStopped::Kind::kPlainStop || stop.kind == RunStopped::Kind::kTextStop) {
      AskExitWindow();
    }
    const int status = arguments.strict ? StrictExitStatus(stop) : stop.exit_code;
    if (record != nullptr) {
      record->stop.stopped = true;
      record->stop.kind = StopKindName(stop.kind);
      record->stop.message = stop.text;
      record->stop.exit_status = status;
      record->stop.after_finished = stop.after_finished;
    }
    return status;
  } catch (const std::bad_alloc&) {
    return RecordMemoryStop(record, StopForMemory(arguments.strict));
  } catch (const std::length_error&) {
    return RecordMemoryStop(record, StopForMemory(arguments.strict));
  }
  ConsoleFlush();
  return 0;
}

int VelquorinMain(int argc, char** argv) {
  ProgramArguments arguments;
  const int status = ParseProgramArguments(argc, argv, arguments);
  if (status >= 0) return status;
  return RunProgram(arguments);
}

}  // namespace vq
