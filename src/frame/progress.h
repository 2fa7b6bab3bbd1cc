// Progress: how a phase tells the person at the console how far it has got.
//
// A phase that shows progress takes a `Progress&` instead of writing to the
// console itself, so that the same phase can run inside the program (its
// console lines, byte for byte) and inside a host such as an R or Python
// session, where nothing may be printed uncalled-for. The four calls mirror
// the console records of frame/console.h: a new line from a column, an
// overwriting "+" line, a line of free form and empty lines.
//
// Fatal messages do not go through here: they belong to the stop functions
// of frame/console.h, which print at the place of the fault and throw.
#ifndef VELQUORIN_FRAME_PROGRESS_H_
#define VELQUORIN_FRAME_PROGRESS_H_

#include <string_view>

namespace vq {

class Progress {
 public:
  virtual ~Progress() = default;
  // A new line whose text starts in `column` (2 or more).
  virtual void Line(int column, std::string_view text) = 0;
  // An overwriting line whose text starts in `column` (counters).
  virtual void Overwrite(int column, std::string_view text) = 0;
  // A line of free form: the text from the left edge.
  virtual void FreeForm(std::string_view text) = 0;
  // `count` empty lines.
  virtual void EmptyLines(int count) = 0;
};

// The program's console (ConsoleLine, ConsoleOverwrite, ...). One shared
// object; it holds no state of its own.
Progress& ConsoleProgress();

// Drops everything: for hosts and tests that want no console text.
Progress& SilentProgress();

}  // namespace vq

#endif  // VELQUORIN_FRAME_PROGRESS_H_
