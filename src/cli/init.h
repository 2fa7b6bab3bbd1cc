// `velquorin init DATAFILE`: looks at a file of item scores and writes a
// commented command file that reads it, so that a first run needs no
// knowledge of record formats.
//
// The work is split in three: `GuessData` reads the text of the data file
// and settles everything the command file needs (layout, subject ids,
// counts, labels, coding, number of factors, record format); it touches no
// file, so tests give it text and compare what it found. `CommandFileText`
// and `DataCopyText` turn a guess into the text of the files to write.
// `RunInit` is the subcommand: arguments, file names, the refusal to write
// over existing files, the writes and the console.
//
// The run reads raw data only through a record format whose first field is
// the subject's id, and it cannot skip a header line (every subject's read
// starts on a new record). So init reads the file where it stands when a
// format can: fixed columns (packed digits, or blank-separated fields in
// steady columns) and comma-separated numbers (a comma ends a wide F field
// early). A file without an id column gets a format that reads the first
// item once as the id and then goes back to column 1 (T1). A header line,
// tabs, fields of wandering width, quoted cells or leading fields to skip
// make init write a copy of the records beside the data, comma-separated
// with an id first, and read that; the user's file is never changed.
#ifndef VELQUORIN_CLI_INIT_H_
#define VELQUORIN_CLI_INIT_H_

#include <string>
#include <string_view>
#include <vector>

namespace vq {

enum class ItemCoding { kDichotomous, kOrdered, kContinuous };

// The place and words of a fault in the data file. `line` and `column` are
// 1-based; the console shows "FILE:LINE:COLUMN: error: MESSAGE" and the hint
// on the next line.
struct InitFault {
  int line = 0;
  int column = 0;
  std::string message;
  std::string hint;
};

struct GuessOptions {
  // --items P: the last P fields of each record are the items; 0 lets the
  // guess decide (a first column of increasing whole numbers is the id).
  int items = 0;
};

// What `GuessData` found in a data file.
struct DataGuess {
  std::string layout;  // e.g. "fixed columns", "numbers separated by commas"
  bool has_header = false;
  int record_count = 0;    // N: records after the header
  int field_count = 0;     // fields per record (columns, in packed digits)
  int item_count = 0;      // p
  bool has_id = false;     // a column of the file holds the subject ids
  std::string id_place;    // e.g. "columns 1-5", "field 1"; empty without id
  std::string id_note;     // where the run takes the ids from, in words
  std::string item_place;  // e.g. "25 fields of one column (columns 6-30)"

  std::vector<std::string> labels;  // p labels of at most 15 bytes, unique
  bool labels_from_header = false;

  ItemCoding coding = ItemCoding::kContinuous;
  std::vector<double> values;  // distinct scores, ascending (DI and OR only)
  double lowest = 0.0;
  double highest = 0.0;

  std::vector<double> eigenvalues;  // of the items' Pearson correlations, descending
  int kaiser_count = 0;             // eigenvalues above 1
  int factor_count = 1;             // kaiser_count, kept within 1 and p / 2

  std::string record_format;   // at most 80 characters
  bool fixed_columns = false;  // the format reads fixed columns (else comma-ended fields)
  std::string format_note;     // how the format reads a record, for a comment
  bool needs_copy = false;     // the run must read a copy (DataCopyText)
  std::string copy_reason;     // why, for the console and a comment
  std::vector<std::string> warnings;

  // The records of the copy, without line ends (filled when needs_copy).
  std::vector<std::string> copy_records;
};

// Looks at `text`, the whole data file. Returns true with `guess` filled,
// or false with `fault` naming the first fault: an empty file, an empty line
// among the records, records of unequal field counts, a cell that is no
// number or is empty, a number too long for the run's fields, an item whose
// value never changes, fewer than 3 items or subjects, or --items beyond the
// fields of a record.
bool GuessData(std::string_view text,
               const GuessOptions& options,
               DataGuess& guess,
               InitFault& fault);

// File names as the command file writes them (relative to the folder of the
// command file, where the run is to be started) and as they are shown.
struct CommandFileNames {
  std::string data_file;    // the file the run reads: the data or its copy
  std::string user_file;    // the data file as the user named it
  std::string report_file;  // e.g. "bfi_like.out"
  std::string stem;         // saved files are named stem.cor, stem.fac ...
};

// The text of the command file for `guess`: comment lines that explain each
// line and its alternatives, then the lines from >TITLE: to >LABELS:.
std::string CommandFileText(const DataGuess& guess, const CommandFileNames& names);

// The text of the copy of the data (guess.copy_records, one a line).
std::string DataCopyText(const DataGuess& guess);

// The stem of a command file for the data file `data_path`: its file name
// without the extension, letters, digits, '_' and '-' kept and every other
// byte made '_', cut to 11 characters so that "stem.in" keeps its dot within
// the 15 characters of the run's stem and saved files ("stem.cor") stay
// apart; "run" when nothing is left.
std::string CommandStem(std::string_view data_path);

// `velquorin init DATAFILE [--items P] [--out FILE.in] [--force]`, with
// `argv` holding the words after "init". Returns the exit status: 0 when
// the command file (and a copy of the data, where needed) was written; 2 on
// bad arguments, unreadable data or a file that exists without --force; 1
// when a write fails (nothing half-written is left).
int RunInit(int argc, char** argv);

}  // namespace vq

#endif  // VELQUORIN_CLI_INIT_H_
