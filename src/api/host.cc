#include "api/host.h"

#include <algorithm>
#include <filesystem>
#include <mutex>
#include <new>
#include <sstream>
#include <stdexcept>
#include <string_view>
#include <system_error>

#include "frame/console.h"
#include "frame/output_file.h"
#include "kernels/failure.h"
#include "kernels/parallel.h"
#include "rotation/random_start.h"
#include "run/driver.h"
#include "run/program.h"

namespace vq::api {
namespace {

// The console, the error settings and the open-file log are process-wide:
// one call holds them at a time.
std::mutex& HostLock() {
  static std::mutex lock;
  return lock;
}

// The thread count a host has set, so that the next one can put it back.
// The engine's own setting cannot be read back (0 means every core).
int g_thread_setting = 0;

const char kPauseLine[] = "Pause - Enter command<CR> or <CR> to continue.";
const char kPlainStopLine[] = "Stop - Program terminated.";
const char kTerminatedPrefix[] = "Program Terminated with exit code ";

std::vector<std::string> Lines(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream in(text);
  std::string line;
  while (std::getline(in, line)) lines.push_back(line);
  return lines;
}

std::string_view WithoutLeadingBlanks(std::string_view line) {
  const std::size_t first = line.find_first_not_of(' ');
  return first == std::string_view::npos ? std::string_view() : line.substr(first);
}

std::string_view Trimmed(std::string_view line) {
  line = WithoutLeadingBlanks(line);
  const std::size_t last = line.find_last_not_of(' ');
  return last == std::string_view::npos ? std::string_view() : line.substr(0, last + 1);
}

// The console lines before the stop, without the stop's own two lines (the
// plain stop line, or the text in its place, and "Program Terminated ..."),
// and without the pause prompts and empty lines that end them.
std::vector<std::string> LinesBeforeStop(const std::string& console) {
  std::vector<std::string> lines = Lines(console);
  if (!lines.empty() && Trimmed(lines.back()).starts_with(kTerminatedPrefix)) {
    lines.pop_back();
    if (!lines.empty()) lines.pop_back();  // the stop line or its text
  }
  while (!lines.empty() && (Trimmed(lines.back()).empty() || Trimmed(lines.back()) == kPauseLine)) {
    lines.pop_back();
  }
  return lines;
}

bool NamesAnError(std::string_view line) {
  line = WithoutLeadingBlanks(line);
  if (line.starts_with("**")) return true;
  std::string upper(line);
  for (char& c : upper) {
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  }
  return upper.find("FATAL") != std::string::npos || upper.find("ERROR") != std::string::npos;
}

std::string Absolute(const std::string& path) {
  std::error_code error;
  const std::filesystem::path absolute = std::filesystem::absolute(path, error);
  return error ? path : absolute.lexically_normal().string();
}

}  // namespace

struct QuietHost::State {
  std::unique_lock<std::mutex> hold{HostLock()};
  int earlier_threads = g_thread_setting;
  ConsoleCapture capture;
  OutputFileLog log;
};

QuietHost::QuietHost(const RunSettings& settings) : state_(std::make_unique<State>()) {
  g_thread_setting = settings.threads;
  SetThreadCount(settings.threads);
  // A run in a process of its own starts with these; the last call may have
  // changed them.
  ResetImslState();
  ResetRandomGenerator();
}

QuietHost::~QuietHost() {
  g_thread_setting = state_->earlier_threads;
  SetThreadCount(state_->earlier_threads);
}

std::string QuietHost::Console() const { return state_->capture.Out(); }

std::string QuietHost::Errors() const { return state_->capture.Err(); }

std::vector<QuietHost::OpenedFile> QuietHost::Opened() const {
  std::vector<OpenedFile> opened;
  for (const OutputFileLog::Entry& entry : state_->log.Opened()) {
    opened.push_back({entry.unit, Absolute(entry.path)});
  }
  return opened;
}

std::string EndingName(Ending ending) {
  switch (ending) {
    case Ending::kFinished:
      return "finished";
    case Ending::kStopped:
      return "stopped";
    case Ending::kSevere:
      return "severe";
    case Ending::kCancelled:
      return "cancelled";
  }
  return "stopped";
}

bool ShowsFinished(const std::string& console) {
  const std::vector<std::string> lines = LinesBeforeStop(console);
  return !lines.empty() && Trimmed(lines.back()) == "Finished";
}

std::string StopMessage(const std::string& console,
                        Ending ending,
                        int status,
                        const std::string& severe_text) {
  if (ending == Ending::kSevere) {
    return "severe (" + std::to_string(status) + "): " + severe_text;
  }
  std::vector<std::string> lines = Lines(console);
  // A stop with a text in place of the stop line: that text is the message.
  if (lines.size() >= 2 && Trimmed(lines.back()).starts_with(kTerminatedPrefix)) {
    const std::string_view stop_line = Trimmed(lines[lines.size() - 2]);
    if (stop_line != kPlainStopLine) return std::string(stop_line);
  }
  lines = LinesBeforeStop(console);
  std::size_t begin = lines.size();
  while (begin > 0 && !Trimmed(lines[begin - 1]).empty()) --begin;
  if (begin == lines.size()) return {};
  std::size_t first = begin;
  while (first < lines.size() && !NamesAnError(lines[first])) ++first;
  if (first == lines.size()) first = lines.size() - 1;
  std::string message;
  for (std::size_t line = first; line < lines.size(); ++line) {
    if (!message.empty()) message += '\n';
    message += Trimmed(lines[line]);
  }
  return message;
}

RunOutcome RunCommandFile(const std::string& path, const RunSettings& settings) {
  if (settings.threads < 0 || settings.threads > 1024) {
    throw std::invalid_argument("threads needs a number from 1 to 1024");
  }
  if (path.empty()) throw std::invalid_argument("a command file must be named");

  ProgramArguments arguments;
  arguments.command_file = path;
  arguments.has_seed = settings.has_seed;
  arguments.seed = settings.seed;

  QuietHost host(settings);
  RunOutcome outcome;
  std::string severe_text;
  // As the program's main: a run returns at its normal end and throws
  // RunStopped at every other; memory that the machine cannot give ends it
  // like the driver's own memory fault.
  auto run = [&] {
    try {
      RunAnalysis(arguments);
    } catch (const std::bad_alloc&) {
      OutOfMemory();
    } catch (const std::length_error&) {
      OutOfMemory();
    }
  };
  try {
    run();
    outcome.ending = Ending::kFinished;
  } catch (const RunStopped& stop) {
    outcome.status = stop.exit_code;
    switch (stop.kind) {
      case RunStopped::Kind::kSevere:
        outcome.ending = Ending::kSevere;
        severe_text = stop.text;
        break;
      case RunStopped::Kind::kCancelled:
        outcome.ending = Ending::kCancelled;
        break;
      case RunStopped::Kind::kPlainStop:
      case RunStopped::Kind::kTextStop:
        outcome.ending = Ending::kStopped;
        break;
    }
  }
  ConsoleFlush();
  outcome.console = host.Console();
  outcome.errors = host.Errors();
  const bool stopped = outcome.ending == Ending::kStopped;
  if (stopped && ShowsFinished(outcome.console)) outcome.ending = Ending::kFinished;
  if (outcome.ending != Ending::kFinished) {
    outcome.message = StopMessage(outcome.console, outcome.ending, outcome.status, severe_text);
  }
  if (stopped) {
    // The frame's closing question after a stop, as the program writes it
    // off a terminal, so that the console text is the program's own.
    AskExitWindow();
    ConsoleFlush();
    outcome.console = host.Console();
  }
  for (const QuietHost::OpenedFile& file : host.Opened()) {
    if (file.unit == kReportUnit) {
      outcome.report = file.path;
    } else if (std::find(outcome.saved_files.begin(), outcome.saved_files.end(), file.path) ==
               outcome.saved_files.end()) {
      outcome.saved_files.push_back(file.path);
    }
  }
  return outcome;
}

}  // namespace vq::api
