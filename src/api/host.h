// The engine inside another program: the R package and the Python module of
// bindings/ call these functions and nothing below them.
//
// A program that hosts the engine must not see it write to its console, wait
// on its standard input or end its process. `QuietHost` arranges that for the
// time of one call: the console is captured (off a terminal, as the program
// writes it into a file), the pause prompt reads an empty input and goes on
// as after an empty line, and the settings that a run leaves in the process
// (the error settings of the numerical operations, the random generator, the
// thread count) are put back to their start. Calls are taken one at a time in
// the process: a second caller waits for the first.
//
// A run ends by throwing `RunStopped` (frame/console.h). Here every ending
// becomes a value, `Ending` with the program's exit status and its words,
// which the host turns into its own error where the run did not finish.
//
// The strings here are plain std::string and std::vector, so that this header
// compiles under the language level of whatever builds a binding.
#ifndef VELQUORIN_API_HOST_H_
#define VELQUORIN_API_HOST_H_

#include <memory>
#include <string>
#include <vector>

namespace vq::api {

// How a run ended.
enum class Ending {
  kFinished,   // "Finished" was shown: the report is complete
  kStopped,    // a fatal condition stopped the run before its end
  kSevere,     // a severe error of the reading layer (status: its number)
  kCancelled,  // the command file could not be opened (status 1)
};

// The word for `ending` that the bindings show: "finished", "stopped",
// "severe", "cancelled".
std::string EndingName(Ending ending);

// What the command line's options would set.
struct RunSettings {
  int threads = 0;        // 0: every core; else 1 to 1024 (--threads N)
  bool has_seed = false;  // --seed N
  long seed = 0;
};

struct RunOutcome {
  Ending ending = Ending::kFinished;
  int status = 0;                        // the program's exit status
  std::string message;                   // the program's words for a stop; empty when finished
  std::string console;                   // what the program writes to stdout off a terminal
  std::string errors;                    // what it writes to stderr
  std::string report;                    // absolute path of the report, empty when none was opened
  std::vector<std::string> saved_files;  // absolute paths, in the order they were opened
};

// Runs the command file `path` as `velquorin --threads N --seed S path` does,
// in the process's working directory (the report named on ">OUTFILE:" is
// relative to it; saved files go beside the command file), quietly. The
// report and the saved files come out byte for byte as the program's.
// Throws std::invalid_argument for a thread count outside 0 to 1024 or an
// empty path; every ending of the run itself is returned, never thrown.
RunOutcome RunCommandFile(const std::string& path, const RunSettings& settings);

// The program's words for a stop, from the console text of the run
// (`console`) and the severe error's number and text: the fault lines of the
// last paragraph the console showed before the stop line, its pause prompts
// and empty lines left out, each line without its leading blanks. A
// paragraph's fault lines start at its first line that names an error
// ("FATAL", "ERROR", a line opened by "**"); without one, its last line. A
// severe error reads "severe (N): text".
std::string StopMessage(const std::string& console,
                        Ending ending,
                        int status,
                        const std::string& severe_text);

// True when the last line the console showed before a stop line (its pause
// prompts and empty lines left out) is "Finished": the run stopped after its
// report was complete.
bool ShowsFinished(const std::string& console);

// Holds the engine for one call of a host (see the opening paragraph). The
// thread count of `settings` holds while it lives; the earlier count comes
// back afterwards. The seed of `settings` is not applied here (a run applies
// it when it starts, as the program does).
class QuietHost {
 public:
  explicit QuietHost(const RunSettings& settings);
  ~QuietHost();
  QuietHost(const QuietHost&) = delete;
  QuietHost& operator=(const QuietHost&) = delete;

  // What the console and the error channel would have shown so far.
  std::string Console() const;
  std::string Errors() const;
  // Absolute paths of the files opened for writing so far, with their
  // streams.
  struct OpenedFile {
    int unit;
    std::string path;
  };
  std::vector<OpenedFile> Opened() const;

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace vq::api

#endif  // VELQUORIN_API_HOST_H_
