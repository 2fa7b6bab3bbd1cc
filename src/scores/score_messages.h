// The console messages of the score phase, worded in one place: the fatal
// conditions that end the run and the notes for score requests that the run
// passes over.
//
// Both kinds have the form of the program's other console messages: two
// lines from column 30, then two empty lines. A fatal message begins with
// "FATAL ERROR:" and ends the run with the plain stop; a note begins with
// "WARNING:" and the run goes on.
#ifndef VELQUORIN_SCORES_SCORE_MESSAGES_H_
#define VELQUORIN_SCORES_SCORE_MESSAGES_H_

#include <string_view>

#include "frame/progress.h"

namespace vq {

// Prints `first` and `second` (the first starts "FATAL ERROR: ") and stops
// the run with the plain stop.
[[noreturn]] void ScoreFatalError(std::string_view first, std::string_view second);

// Shows `first` and `second` (the first starts "WARNING: "); returns.
void ScoreNote(std::string_view first, std::string_view second, Progress& progress);

}  // namespace vq

#endif  // VELQUORIN_SCORES_SCORE_MESSAGES_H_
