#include "kernels/failure.h"

#include <cstdio>
#include <string>

#include "frame/console.h"
#include "text/edit_descriptors.h"

namespace vq {
namespace {

struct ImslState {
  bool print[6] = {false, false, false, true, true, true};
  bool stop[6] = {false, false, false, false, true, true};
  int last_code = 0;
};

ImslState& Imsl() {
  static ImslState state;
  return state;
}

const char* SeverityWord(int severity) {
  switch (severity) {
    case kImslNote:
      return "NOTE    ";
    case kImslAlert:
      return "ALERT   ";
    case kImslWarning:
      return "WARNING ";
    case kImslFatal:
      return "FATAL   ";
    default:
      return "TERMINAL";
  }
}

// Console lines of at most this many shown characters.
constexpr std::size_t kImslLineWidth = 78;

}  // namespace

std::string NagAbnormalExitLine(std::string_view routine, int code) {
  return " ** ABNORMAL EXIT from NAG Library routine " + std::string(routine) + ": IFAIL" + " =" +
         FormatI(code, 6);
}

int NagFailure(std::string_view routine,
               int ifail,
               int code,
               const std::vector<std::string>& explanation,
               bool explanation_after) {
  if (ifail == kIfailQuiet) return code;
  if (!explanation_after) {
    for (const std::string& line : explanation) ConsoleRecord(line);
  }
  ConsoleRecord(NagAbnormalExitLine(routine, code));
  if (explanation_after) {
    for (const std::string& line : explanation) ConsoleRecord(line);
  }
  if (ifail == kIfailHard) {
    ConsoleRecord(" ** NAG hard failure - execution terminated");
    PlainStop();
  }
  ConsoleRecord(" ** NAG soft failure - control returned");
  return code;
}

void ERSET(int level, int print, int stop) {
  ImslState& s = Imsl();
  const ImslState defaults;
  int first = level == 0 ? 1 : level;
  int last = level == 0 ? 5 : level;
  if (first < 1 || last > 5) return;
  for (int k = first; k <= last; ++k) {
    if (print == 0 || print == 1) s.print[k] = print == 1;
    if (print == 2) s.print[k] = defaults.print[k];
    if (stop == 0 || stop == 1) s.stop[k] = stop == 1;
    if (stop == 2) s.stop[k] = defaults.stop[k];
  }
}

void ImslError(int severity, int code, std::string_view routine, std::string_view text) {
  ImslState& s = Imsl();
  if (severity < 1) severity = 1;
  if (severity > 5) severity = 5;
  s.last_code = code;
  if (s.print[severity]) {
    std::string head = std::string("*** ") + SeverityWord(severity) + " ERROR " +
                       std::to_string(code) + " from " + std::string(routine) + ".  ";
    const std::string continuation = "***          ";
    std::string line = head;
    std::string_view rest = text;
    // Fill lines word by word. Blanks between words are kept as the text
    // has them (two after a full stop), except where a line breaks.
    bool first_word = true;
    std::size_t gap = 0;
    while (!rest.empty()) {
      if (rest.front() == ' ') {
        ++gap;
        rest.remove_prefix(1);
        continue;
      }
      std::size_t blank = rest.find(' ');
      std::string_view word = rest.substr(0, blank);
      rest = blank == std::string_view::npos ? std::string_view() : rest.substr(blank);
      std::size_t needed = line.size() + (first_word ? 0 : gap) + word.size();
      if (!first_word && needed > kImslLineWidth) {
        ConsoleFreeForm(line);
        line = continuation;
        first_word = true;
      }
      if (!first_word) line.append(gap, ' ');
      line += word;
      first_word = false;
      gap = 0;
    }
    ConsoleFreeForm(line);
  }
  if (s.stop[severity]) PlainStop();
}

int IERCD() { return Imsl().last_code; }

void ImslClearCode() { Imsl().last_code = 0; }

void ResetImslState() { Imsl() = ImslState(); }

std::string ImslReal(double value) {
  char text[64];
  std::snprintf(text, sizeof text, "%.6E", value);
  return text;
}

}  // namespace vq
