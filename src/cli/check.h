// `velquorin check`: looks a command file over without running it.
//
// The command file is read line by line with the same list and column reads
// the run uses, in the same order of lines, so that what check sees is what
// the run would see. Nothing is opened for writing and nothing is created:
// where the run opens a file, check asks whether it exists and can be read.
// The data file is read through the record format for its first records
// only (and counted to its end with a fast scan), so a look at a large file
// stays quick.
//
// Every fault found is a `Diagnostic` with the line and column of the word
// it concerns, in the form compilers use, and a one-line hint. An error is a
// fault that stops the run or makes it compute something other than the
// file seems to ask for; a warning is something the run does without a word
// that is worth a look.
#ifndef VELQUORIN_CLI_CHECK_H_
#define VELQUORIN_CLI_CHECK_H_

#include <string>
#include <string_view>
#include <vector>

namespace vq {

struct Diagnostic {
  enum class Severity { kError, kWarning };
  Severity severity = Severity::kError;
  std::string file;  // the command file, or the data file for a fault of a record
  int line = 0;      // 1-based
  int column = 0;    // 1-based
  std::string message;
  std::string hint;  // empty: no hint line
};

struct CheckSettings {
  // Records of the data file read through the format; 0 reads them all.
  int sample_records = 200;
};

struct CheckResult {
  std::vector<Diagnostic> diagnostics;
  bool HasErrors() const;
  // 0 nothing found, 1 warnings only, 2 at least one error.
  int ExitStatus() const;
};

// Looks over the command file `path` (names in it are taken relative to the
// working directory, as the run takes them).
CheckResult CheckCommandFile(const std::string& path, const CheckSettings& settings);

// "FILE:LINE:COLUMN: error: MESSAGE" and "  hint: HINT", one diagnostic after
// the other.
std::string FormatDiagnostics(const std::vector<Diagnostic>& diagnostics);

// The edit distance (insertions, deletions, substitutions) of two words.
int EditDistance(std::string_view a, std::string_view b);

// `velquorin check [--all] run.in`: prints the diagnostics (or that there
// are none) and returns the exit status of CheckResult, or 2 for arguments
// it cannot use.
int RunCheck(int argc, char** argv);

}  // namespace vq

#endif  // VELQUORIN_CLI_CHECK_H_
