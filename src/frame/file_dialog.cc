#include "frame/file_dialog.h"

#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <string>
#include <system_error>

#include "frame/console.h"

namespace vq {
namespace {

std::string_view Stripped(std::string_view text) {
  const std::size_t first = text.find_first_not_of(" \t\r");
  if (first == std::string_view::npos) return {};
  const std::size_t last = text.find_last_not_of(" \t\r");
  return text.substr(first, last - first + 1);
}

// The question box after a cancel. Returns true for "terminate": a yes, or
// the end of the input, when nobody is left to answer.
bool AskTerminate(bool interactive) {
  ConsoleFreeForm(kCancelBoxTitle);
  ConsoleFreeForm("A File Must be Selected");
  for (;;) {
    ConsoleFreeForm("Terminate Program?");
    ConsoleFlush();
    if (!interactive) return true;
    std::string answer;
    if (!ConsoleReadLine(answer)) return true;
    const std::string_view word = Stripped(answer);
    if (word.empty()) continue;
    if (word[0] == 'y' || word[0] == 'Y') return true;
    if (word[0] == 'n' || word[0] == 'N') return false;
  }
}

}  // namespace

bool ConsoleInputIsTerminal() {
  // Both ends must be the terminal: a prompt that goes to a file cannot be
  // answered, and a capture is never a terminal.
  return ConsoleIsTerminal() && isatty(fileno(stdin)) != 0;
}

bool IsExistingFile(const std::string& name) {
  std::error_code error;
  const std::filesystem::file_status status = std::filesystem::status(name, error);
  if (error) return false;
  // A command file is read from its start three times: a pipe or a device
  // cannot be, and opening a pipe waits until something writes to it.
  return std::filesystem::is_regular_file(status);
}

std::string ChooseFileToOpen(std::string_view title, bool interactive) {
  for (;;) {
    std::string answer;
    bool answered = false;
    if (interactive) {
      ConsoleFreeForm(title);
      ConsoleFreeForm(kFileDialogFilter);
      ConsoleFlush();
      answered = ConsoleReadLine(answer);
    }
    const std::string name(Stripped(answer));
    if (!answered || name.empty()) {
      if (AskTerminate(interactive)) CancelRun();
      continue;
    }
    if (IsExistingFile(name)) return name;
    ConsoleFreeForm(name);
    ConsoleFreeForm("File not found. Check the file name and try again.");
  }
}

}  // namespace vq
