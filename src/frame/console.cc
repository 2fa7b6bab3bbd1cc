#include "frame/console.h"

#include <unistd.h>

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <mutex>
#include <sstream>
#include <string>
#include <thread>

namespace vq {
namespace {

using Clock = std::chrono::steady_clock;

// A line stands this long before the heartbeat adds its time, and the
// time is renewed this often.
constexpr auto kQuietBeforeBeat = std::chrono::milliseconds(500);
constexpr auto kBeatPeriod = std::chrono::milliseconds(250);

struct ConsoleState {
  // The heartbeat writes from its own thread; every use of the state holds
  // this lock. Recursive, as the public functions call one another.
  std::recursive_mutex lock;

  bool capturing = false;
  bool capture_as_terminal = false;
  std::string captured_out;
  std::string captured_err;
  std::istringstream captured_in;

  // Off a terminal: the last "+" record of a run, not yet written.
  bool has_pending = false;
  std::string pending;

  // On a terminal: a line has been written and not yet ended, its text,
  // when it was written, and whether the heartbeat has put a time behind it.
  bool line_open = false;
  std::string shown;
  Clock::time_point shown_at = Clock::now();
  bool decorated = false;
  // The console waits for a line of input, or a command of the pause
  // prompt runs: the heartbeat keeps quiet.
  bool reading_input = false;
  // The text of the last record written, for the stop to know whether the
  // run had finished.
  std::string last_text;
};

ConsoleState& State() {
  static ConsoleState state;
  return state;
}

using Lock = std::lock_guard<std::recursive_mutex>;

void WriteOut(std::string_view text) {
  ConsoleState& s = State();
  if (s.capturing) {
    s.captured_out.append(text);
  } else {
    std::fwrite(text.data(), 1, text.size(), stdout);
  }
}

void FlushOut() {
  if (!State().capturing) std::fflush(stdout);
}

void WritePending() {
  ConsoleState& s = State();
  if (s.has_pending) {
    s.has_pending = false;
    WriteOut(s.pending);
    WriteOut("\n");
  }
}

// On a terminal: the current line again, with `behind` after its text.
void RedrawLine(std::string_view behind) {
  ConsoleState& s = State();
  WriteOut("\r");
  WriteOut(s.shown);
  WriteOut(behind);
  WriteOut("\x1b[K");
  s.decorated = !behind.empty();
}

// The current line as it was written, without the heartbeat's time.
void TakeAwayBeat() {
  if (State().decorated) RedrawLine({});
}

// One beat: the time behind a line that has stood long enough.
void ShowBeat() {
  ConsoleState& s = State();
  Lock hold(s.lock);
  if (!ConsoleIsTerminal() || s.reading_input) return;
  const Clock::duration stood = Clock::now() - s.shown_at;
  if (stood < kQuietBeforeBeat) return;
  RedrawLine(HeartbeatText(std::chrono::duration<double>(stood).count()));
  FlushOut();
}

const char kPauseLine[] = "Pause - Enter command<CR> or <CR> to continue.";

[[noreturn]] void Stop(RunStopped::Kind kind,
                       int code,
                       std::string_view first_line,
                       bool paused = false) {
  bool finished = false;
  {
    ConsoleState& s = State();
    Lock hold(s.lock);
    const std::size_t first = s.last_text.find_first_not_of(' ');
    finished = first != std::string::npos && s.last_text.substr(first) == "Finished";
  }
  ConsoleFreeForm(first_line);
  ConsoleFreeForm("Program Terminated with exit code " + std::to_string(code));
  ConsoleFlush();
  throw RunStopped{kind, code, std::string(first_line), paused, finished};
}

}  // namespace

bool ConsoleIsTerminal() {
  ConsoleState& s = State();
  Lock hold(s.lock);
  if (s.capturing) return s.capture_as_terminal;
  static const bool terminal = isatty(fileno(stdout)) != 0;
  return terminal;
}

std::string HeartbeatText(double seconds) {
  char text[48];
  std::snprintf(text, sizeof text, "  %.1f s", seconds);
  return text;
}

void ConsoleRecord(std::string_view record) {
  char control = record.empty() ? ' ' : record[0];
  std::string_view text = record.empty() ? record : record.substr(1);
  ConsoleState& s = State();
  Lock hold(s.lock);
  s.last_text.assign(text);
  if (ConsoleIsTerminal()) {
    TakeAwayBeat();
    if (control == '+') {
      WriteOut("\r");
      WriteOut(text);
      WriteOut("\x1b[K");
    } else {
      if (s.line_open) WriteOut("\n");
      WriteOut(text);
    }
    s.line_open = true;
    s.shown.assign(text);
    s.shown_at = Clock::now();
    FlushOut();
    return;
  }
  if (control == '+') {
    s.has_pending = true;
    s.pending.assign(text);
    return;
  }
  WritePending();
  WriteOut(text);
  WriteOut("\n");
}

void ConsoleLine(int column, std::string_view text) {
  std::string record(column > 1 ? column - 1 : 1, ' ');
  record.append(text);
  ConsoleRecord(record);
}

void ConsoleOverwrite(int column, std::string_view text) {
  std::string record(column > 1 ? column - 1 : 1, ' ');
  record[0] = '+';
  record.append(text);
  ConsoleRecord(record);
}

void ConsoleFreeForm(std::string_view text) {
  std::string record(" ");
  record.append(text);
  ConsoleRecord(record);
}

void ConsoleEmptyLines(int count) {
  for (int i = 0; i < count; ++i) ConsoleRecord(" ");
}

void ConsoleFlush() {
  ConsoleState& s = State();
  Lock hold(s.lock);
  if (ConsoleIsTerminal()) {
    TakeAwayBeat();
    if (s.line_open) {
      WriteOut("\n");
      s.line_open = false;
    }
    s.shown.clear();
    s.shown_at = Clock::now();
  } else {
    WritePending();
  }
  FlushOut();
}

void ConsoleErrorLine(std::string_view text) {
  ConsoleState& s = State();
  Lock hold(s.lock);
  ConsoleFlush();
  if (s.capturing) {
    s.captured_err.append(text);
    s.captured_err.append("\n");
  } else {
    std::fwrite(text.data(), 1, text.size(), stderr);
    std::fputc('\n', stderr);
    std::fflush(stderr);
  }
}

bool ConsoleReadLine(std::string& line) {
  ConsoleState& s = State();
  {
    Lock hold(s.lock);
    if (s.capturing) return static_cast<bool>(std::getline(s.captured_in, line));
    TakeAwayBeat();
    FlushOut();
    s.reading_input = true;
  }
  // The wait for input holds no lock: the heartbeat only looks at the flag.
  const bool got = static_cast<bool>(std::getline(std::cin, line));
  Lock hold(s.lock);
  s.reading_input = false;
  s.shown_at = Clock::now();
  return got;
}

void Pause(std::string_view text) {
  if (!text.empty()) ConsoleFreeForm(text);
  for (;;) {
    ConsoleFreeForm(kPauseLine);
    ConsoleFlush();
    std::string line;
    if (!ConsoleReadLine(line)) return;
    if (!line.empty() && line.back() == '\r') line.pop_back();
    if (line.find_first_not_of(" \t") == std::string::npos) return;
    ConsoleState& s = State();
    bool capturing = false;
    {
      Lock hold(s.lock);
      capturing = s.capturing;
      s.reading_input = true;  // the command has the terminal
    }
    if (!capturing) {
      std::fflush(stdout);
      int ignored = std::system(line.c_str());
      (void)ignored;
    }
    Lock hold(s.lock);
    s.reading_input = false;
  }
}

void PlainStop() { Stop(RunStopped::Kind::kPlainStop, 0, "Stop - Program terminated."); }

void PauseAndStop() {
  Pause();
  Stop(RunStopped::Kind::kPlainStop, 0, "Stop - Program terminated.", true);
}

void StopWithText(std::string_view text) { Stop(RunStopped::Kind::kTextStop, 0, text); }

void SevereError(int number, std::string_view message) {
  ConsoleErrorLine("severe (" + std::to_string(number) + "): " + std::string(message));
  throw RunStopped{RunStopped::Kind::kSevere, number, std::string(message)};
}

void CancelRun() {
  ConsoleFlush();
  throw RunStopped{RunStopped::Kind::kCancelled, 1, "cancelled"};
}

void AskExitWindow() {
  bool can_answer = false;
  {
    ConsoleState& s = State();
    Lock hold(s.lock);
    can_answer = s.capturing ? s.capture_as_terminal
                             : isatty(fileno(stdout)) != 0 && isatty(fileno(stdin)) != 0;
  }
  for (;;) {
    ConsoleFreeForm("Exit Window?");
    ConsoleFlush();
    if (!can_answer) return;
    std::string answer;
    if (!ConsoleReadLine(answer)) return;
    const std::size_t first = answer.find_first_not_of(" \t\r");
    if (first == std::string::npos || answer[first] == 'y' || answer[first] == 'Y') return;
    if (answer[first] == 'n' || answer[first] == 'N') {
      // The window stays open for reading; the next line closes it.
      std::string closing;
      ConsoleReadLine(closing);
      return;
    }
  }
}

void InternalError(std::string_view where, std::string_view what) {
  std::fprintf(stderr,
               "velquorin: internal error: %.*s: %.*s\n",
               static_cast<int>(where.size()),
               where.data(),
               static_cast<int>(what.size()),
               what.data());
  std::abort();
}

void TraceLine(int status, int number) {
  if (status == 0) return;
  char field[32];
  std::snprintf(field, sizeof field, "%10d", number);
  // Written by the format 'Problem occured at line ' I10: nothing stands in
  // front of the text, so its first letter is the record's control position.
  ConsoleRecord(std::string("Problem occured at line ") + field);
}

ConsoleCapture::ConsoleCapture(std::string input, bool as_terminal) {
  ConsoleFlush();
  ConsoleState& s = State();
  Lock hold(s.lock);
  s.capturing = true;
  s.capture_as_terminal = as_terminal;
  s.decorated = false;
  s.shown.clear();
  s.shown_at = Clock::now();
  s.captured_out.clear();
  s.captured_err.clear();
  s.captured_in.clear();
  s.captured_in.str(std::move(input));
  s.has_pending = false;
  s.line_open = false;
}

ConsoleCapture::~ConsoleCapture() {
  ConsoleState& s = State();
  Lock hold(s.lock);
  s.capturing = false;
  s.capture_as_terminal = false;
  s.decorated = false;
  s.shown.clear();
  s.has_pending = false;
  s.line_open = false;
}

std::string ConsoleCapture::Out() {
  ConsoleState& s = State();
  Lock hold(s.lock);
  std::string out = s.captured_out;
  if (s.has_pending) {
    out += s.pending;
    out += "\n";
  }
  return out;
}

std::string ConsoleCapture::Err() {
  ConsoleState& s = State();
  Lock hold(s.lock);
  return s.captured_err;
}

struct ConsoleHeartbeat::Beat {
  std::mutex lock;
  std::condition_variable wake;
  bool stopping = false;
  std::thread thread;
};

ConsoleHeartbeat::ConsoleHeartbeat() {
  if (!ConsoleIsTerminal()) return;
  beat_ = std::make_unique<Beat>();
  Beat* beat = beat_.get();
  beat->thread = std::thread([beat] {
    std::unique_lock<std::mutex> hold(beat->lock);
    while (!beat->wake.wait_for(hold, kBeatPeriod, [beat] { return beat->stopping; })) {
      hold.unlock();
      ShowBeat();
      hold.lock();
    }
  });
}

ConsoleHeartbeat::~ConsoleHeartbeat() {
  if (!beat_) return;
  {
    std::lock_guard<std::mutex> hold(beat_->lock);
    beat_->stopping = true;
    beat_->wake.notify_one();
  }
  beat_->thread.join();
  // A time left behind the last line goes with the heartbeat.
  ConsoleState& s = State();
  Lock hold(s.lock);
  TakeAwayBeat();
  FlushOut();
}

}  // namespace vq
