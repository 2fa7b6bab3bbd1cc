// The console frame of a run: progress lines, the pause prompt, and the four
// ways a run can end.
//
// Console records follow the old line-printer convention: position 1 of a
// record is a control character and is not shown. A blank starts a new line;
// "+" overwrites the current line (used by counters that stay on one line).
// Columns that callers name count from that control position, so text "from
// column 30" is shown after 28 blanks.
//
// On a terminal a "+" record is shown with a carriage return over the current
// line. Off a terminal only the last record of a run of "+" records is
// written, each record on its own line.
//
// Every fatal condition ends the run through one of the stop functions below.
// They print their words at the place of the fault and then throw
// `RunStopped`, which only `main` and tests catch; `main` turns it into the
// process's exit status. Tests install a `ConsoleCapture` to read what was
// printed and to feed the pause prompt.
#ifndef VELQUORIN_FRAME_CONSOLE_H_
#define VELQUORIN_FRAME_CONSOLE_H_

#include <memory>
#include <string>
#include <string_view>

namespace vq {

// Thrown by every way of ending a run other than the normal return of the
// driver. Used for nothing else.
struct RunStopped {
  enum class Kind {
    kPlainStop,  // "Stop - Program terminated." (also after a pause)
    kTextStop,   // a text in place of the stop line
    kSevere,     // severe error of the reading layer: "severe (N): ..."
    kCancelled,  // the user gave no command file
  };
  Kind kind;
  int exit_code;
  std::string text;
  // The stop came after the pause prompt (PauseAndStop): the way the
  // run's fatal messages end, as against the stops of numerical routines.
  bool paused = false;
  // The last console line before the stop was "Finished": the stop that
  // ends a complete run that rotates nothing and computes no scores.
  bool after_finished = false;
};

// --- Console records -------------------------------------------------------

// Writes one record; record[0] is the control character (' ' or '+').
// An empty record counts as an empty line.
void ConsoleRecord(std::string_view record);

// A new line whose text starts in `column` (2 or more).
void ConsoleLine(int column, std::string_view text);

// An overwriting ("+") line whose text starts in `column`.
void ConsoleOverwrite(int column, std::string_view text);

// A line of free form (list output): one blank, then the text. The blank is
// the control position, so the text shows from the left edge.
void ConsoleFreeForm(std::string_view text);

// `count` empty lines.
void ConsoleEmptyLines(int count);

// Writes out a pending "+" record (off a terminal) and flushes stdout.
void ConsoleFlush();

// Text on the error channel (stderr), one line.
void ConsoleErrorLine(std::string_view text);

// --- Ways of ending --------------------------------------------------------

// The pause prompt: shows `text` (if not empty) and then
// "Pause - Enter command<CR> or <CR> to continue.", reads lines from the input
// until an empty line or end of input; a line with text is run by the
// system's command processor and the prompt comes again. Returns afterwards.
void Pause(std::string_view text = {});

// Plain stop: "Stop - Program terminated.", then
// "Program Terminated with exit code 0"; the process ends with status 0.
[[noreturn]] void PlainStop();

// The pause prompt, then the plain stop.
[[noreturn]] void PauseAndStop();

// As the plain stop, with `text` in place of "Stop - Program terminated.".
[[noreturn]] void StopWithText(std::string_view text);

// A severe error of the reading layer: "severe (N): message" on the error
// channel; the process ends with status `number`, without a pause.
[[noreturn]] void SevereError(int number, std::string_view message);

// The user cancelled the choice of a command file: ends with status 1.
[[noreturn]] void CancelRun();

// The frame's box at the end of a run that the program stopped (a plain
// stop, a stop after the pause, a stop with a text): "Exit Window?". When
// someone can answer (input and output on a terminal, or a capture made as
// a terminal), the answer is read: "y" or an empty line closes the window;
// "n" leaves it open with its text until the next line or the end of the
// input; any other answer asks again. Otherwise the question is written and
// the run ends as it would. Called by the program's entry once a stop has
// unwound, not by the stop functions, so the phases' own tests see the stop
// lines alone.
void AskExitWindow();

// A fault of the program itself, never of the input: "velquorin: internal
// error: <where>: <what>" on the error channel, then the process aborts. Not
// a way of ending a run: nothing is flushed or unwound.
[[noreturn]] void InternalError(std::string_view where, std::string_view what);

// The record "Problem occured at line " with `number` in 10 positions, when
// `status` is not 0; its "P" is the control position and is not shown.
// Nothing when `status` is 0.
void TraceLine(int status, int number);

// --- Input -----------------------------------------------------------------

// Reads one line from the console input (stdin, or the capture's input).
// Returns false at end of input.
bool ConsoleReadLine(std::string& line);

// True when console output goes to a terminal (under a capture: when the
// capture is made as a terminal).
bool ConsoleIsTerminal();

// --- Heartbeat -----------------------------------------------------------------

// While alive, on a terminal, a console line that has stood unchanged for
// half a second gets the time it has stood behind it ("  2.5 s"), renewed
// four times a second, so that a long step shows it is under way. The next
// record takes the time away again before it is written. Off a terminal it
// does nothing: console text written to a file or pipe stays the same. It
// keeps quiet while the console waits for input.
class ConsoleHeartbeat {
 public:
  ConsoleHeartbeat();
  ~ConsoleHeartbeat();
  ConsoleHeartbeat(const ConsoleHeartbeat&) = delete;
  ConsoleHeartbeat& operator=(const ConsoleHeartbeat&) = delete;

 private:
  struct Beat;
  std::unique_ptr<Beat> beat_;
};

// The text the heartbeat puts behind a line that has stood `seconds`.
std::string HeartbeatText(double seconds);

// --- Capture for tests -----------------------------------------------------

// While alive, console output goes to strings instead of stdout/stderr, the
// console is treated as off a terminal (or, made with `as_terminal`, as a
// terminal: the output then holds its carriage returns and line clears),
// console input comes from `input`, and the pause prompt does not run
// commands. Captures do not nest.
class ConsoleCapture {
 public:
  explicit ConsoleCapture(std::string input = {}, bool as_terminal = false);
  ~ConsoleCapture();
  ConsoleCapture(const ConsoleCapture&) = delete;
  ConsoleCapture& operator=(const ConsoleCapture&) = delete;

  // What stdout would have shown so far (pending "+" records included).
  // Safe while a heartbeat runs.
  std::string Out();
  // What stderr would have shown so far.
  std::string Err();
};

}  // namespace vq

#endif  // VELQUORIN_FRAME_CONSOLE_H_
