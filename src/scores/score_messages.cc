#include "scores/score_messages.h"

#include "frame/console.h"

namespace vq {
namespace {

void TwoLines(std::string_view first, std::string_view second) {
  ConsoleLine(30, first);
  ConsoleLine(30, second);
  ConsoleEmptyLines(2);
}

}  // namespace

void ScoreFatalError(std::string_view first, std::string_view second) {
  TwoLines(first, second);
  PlainStop();
}

void ScoreNote(std::string_view first, std::string_view second) { TwoLines(first, second); }

}  // namespace vq
