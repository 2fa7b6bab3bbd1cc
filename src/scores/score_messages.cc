#include "scores/score_messages.h"

#include "frame/console.h"

namespace vq {

void ScoreFatalError(std::string_view first, std::string_view second) {
  ConsoleLine(30, first);
  ConsoleLine(30, second);
  ConsoleEmptyLines(2);
  PlainStop();
}

void ScoreNote(std::string_view first, std::string_view second, Progress& progress) {
  progress.Line(30, first);
  progress.Line(30, second);
  progress.EmptyLines(2);
}

}  // namespace vq
