#include "frame/console.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <sstream>
#include <string>

namespace vq {
namespace {

struct ConsoleState {
  bool capturing = false;
  std::string captured_out;
  std::string captured_err;
  std::istringstream captured_in;

  // Off a terminal: the last "+" record of a run, not yet written.
  bool has_pending = false;
  std::string pending;

  // On a terminal: a line has been written and not yet ended.
  bool line_open = false;
};

ConsoleState& State() {
  static ConsoleState state;
  return state;
}

void WriteOut(std::string_view text) {
  ConsoleState& s = State();
  if (s.capturing) {
    s.captured_out.append(text);
  } else {
    std::fwrite(text.data(), 1, text.size(), stdout);
  }
}

void WritePending() {
  ConsoleState& s = State();
  if (s.has_pending) {
    s.has_pending = false;
    WriteOut(s.pending);
    WriteOut("\n");
  }
}

const char kPauseLine[] = "Pause - Enter command<CR> or <CR> to continue.";

[[noreturn]] void Stop(RunStopped::Kind kind, int code, std::string_view first_line) {
  ConsoleFreeForm(first_line);
  ConsoleFreeForm("Program Terminated with exit code " + std::to_string(code));
  ConsoleFlush();
  throw RunStopped{kind, code, std::string(first_line)};
}

}  // namespace

bool ConsoleIsTerminal() {
  if (State().capturing) return false;
  static const bool terminal = isatty(fileno(stdout)) != 0;
  return terminal;
}

void ConsoleRecord(std::string_view record) {
  char control = record.empty() ? ' ' : record[0];
  std::string_view text = record.empty() ? record : record.substr(1);
  ConsoleState& s = State();
  if (ConsoleIsTerminal()) {
    if (control == '+') {
      WriteOut("\r");
      WriteOut(text);
      WriteOut("\x1b[K");
    } else {
      if (s.line_open) WriteOut("\n");
      WriteOut(text);
    }
    s.line_open = true;
    std::fflush(stdout);
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
  if (ConsoleIsTerminal()) {
    if (s.line_open) {
      WriteOut("\n");
      s.line_open = false;
    }
  } else {
    WritePending();
  }
  if (!s.capturing) std::fflush(stdout);
}

void ConsoleErrorLine(std::string_view text) {
  ConsoleFlush();
  ConsoleState& s = State();
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
  if (s.capturing) return static_cast<bool>(std::getline(s.captured_in, line));
  return static_cast<bool>(std::getline(std::cin, line));
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
    if (!State().capturing) {
      std::fflush(stdout);
      int ignored = std::system(line.c_str());
      (void)ignored;
    }
  }
}

void PlainStop() { Stop(RunStopped::Kind::kPlainStop, 0, "Stop - Program terminated."); }

void PauseAndStop() {
  Pause();
  PlainStop();
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

void EndRunNormally() {
  ConsoleFlush();
  throw RunStopped{RunStopped::Kind::kNormalEnd, 0, "Finished"};
}

void TraceLine(int status, int number) {
  if (status == 0) return;
  char field[32];
  std::snprintf(field, sizeof field, "%10d", number);
  // Written by the format 'Problem occured at line ' I10: nothing stands in
  // front of the text, so its first letter is the record's control position.
  ConsoleRecord(std::string("Problem occured at line ") + field);
}

ConsoleCapture::ConsoleCapture(std::string input) {
  ConsoleFlush();
  ConsoleState& s = State();
  s.capturing = true;
  s.captured_out.clear();
  s.captured_err.clear();
  s.captured_in.clear();
  s.captured_in.str(std::move(input));
  s.has_pending = false;
  s.line_open = false;
}

ConsoleCapture::~ConsoleCapture() {
  ConsoleState& s = State();
  s.capturing = false;
  s.has_pending = false;
  s.line_open = false;
}

std::string ConsoleCapture::Out() {
  ConsoleState& s = State();
  std::string out = s.captured_out;
  if (s.has_pending) {
    out += s.pending;
    out += "\n";
  }
  return out;
}

std::string ConsoleCapture::Err() { return State().captured_err; }

}  // namespace vq
