// The command file parser. A run is described by one keyword file read in a
// fixed order of lines; this file turns it into `RunOptions` and stops the
// run, with the words the user knows, on every line that is out of place.
//
// The file is read in turns. `ParseCommandFile` reads from the first line to
// ">FORMAT:" at the start of the run; on its way it opens the raw data file
// (as soon as the ">METRIC:" line asks for raw data), reads the item texts of
// an ">ITEMS:" line and, with "DC", the guessing vector. `ParseLabelsLine`
// reads the last line, ">LABELS:", when the driver gets to it, after the
// correlation matrix is done. The report head rewinds the file once more for
// its listing.
//
// Every fault ends the run where it is found: a keyword fault prints its
// message on the console and ends by a pause and stop (or a plain stop for
// ">TITLE:"); any other fault of the file (a number that cannot be read, the
// file ending early, an item or guessing file that is missing) is a severe
// error of the reading layer. Nothing of the parse goes to the report.
#ifndef VELQUORIN_RUN_COMMAND_FILE_H_
#define VELQUORIN_RUN_COMMAND_FILE_H_

#include <string>
#include <vector>

#include "data/record_reader.h"
#include "options/run_options.h"

namespace vq {

// Stream number of the command file.
constexpr int kCommandFileUnit = 12;

// What the main part of the parse opens and reads besides `RunOptions`.
struct ParsedInputs {
  RecordSource DataFile;         // stream 10: open after the parse with "RAW"
  RecordSource GuessFile;        // stream 45: open after the parse with "DC"
  std::vector<double> Guessing;  // p guessing values, with "DC"
  bool HasGuessing = false;
};

// Moves the text of a fixed-width field to its left end (leading blanks
// removed, blanks added at the right, width unchanged) and raises every byte
// "a" to "z" to its capital. Nothing else changes.
void UpcaseToken(std::string& field);

// The main part of the parse: reads `command_file` (stream 12, positioned at
// its first record) from its first line up to and including ">FORMAT:", and
// fills `options` and `inputs`. Makes the adjustments of the ">ROTATE:" and
// ">SCORE:" lines. Returns only when the whole part is good; every fault ends
// the run (throws `RunStopped`).
void ParseCommandFile(RecordSource& command_file, RunOptions& options, ParsedInputs& inputs);

// The ">LABELS:" line, the last of the file: the keyword and p labels of 15
// characters, which may go on over any number of lines. Fills
// `options.Labels`. The driver calls it only with `LabelMode` "LABELS". A
// line without the keyword ends the run with its message.
void ParseLabelsLine(RecordSource& command_file, RunOptions& options);

}  // namespace vq

#endif  // VELQUORIN_RUN_COMMAND_FILE_H_
