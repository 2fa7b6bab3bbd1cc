#include "cli/init.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <set>
#include <sstream>
#include <string>
#include <system_error>

#include "kernels/eigen.h"
#include "kernels/failure.h"
#include "kernels/matrix.h"
#include "kernels/pearson.h"

namespace vq {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t kLabelWidth = 15;     // the run's label field
constexpr std::size_t kStemWidth = 11;      // "stem.in" and "stem.cor" within 15
constexpr std::size_t kFormatWidth = 80;    // the run's record format field
constexpr std::size_t kDataNameWidth = 50;  // the run's field of the data file name
constexpr int kWideField = 25;              // F25.0: a comma ends it early, so it reads any field
constexpr std::size_t kLongestNumber = kWideField - 1;  // and leaves room for its comma
constexpr int kLongestId = 9;                           // digits of an id guessed in packed digits
constexpr int kMinItems = 3;
constexpr int kMinRecords = 3;
constexpr std::size_t kMaxOrderedValues = 14;  // categories the polychorics can hold

const char kNoMissingHint[] =
    "the run has no missing values (it reads a blank field as a score of 0): complete "
    "or leave out this subject";

// A field of a record: its text (quotes and surrounding blanks taken away)
// and the columns it took, 1-based.
struct Cell {
  int begin = 0;
  int end = 0;
  std::string text;
  bool quoted = false;
};

struct Record {
  int line = 0;           // 1-based line number in the file
  std::string_view text;  // the line, without its line end
  std::vector<Cell> cells;
};

// One stretch of the record that the record format reads or skips.
struct Piece {
  enum Role { kId, kItem, kSkip } role;
  int begin;  // 1-based first column
  int width;
};

InitFault Fault(int line, int column, std::string message, std::string hint) {
  return InitFault{line, column, std::move(message), std::move(hint)};
}

bool IsBlank(char c) { return c == ' ' || c == '\t'; }

// A number as the run's F fields read it: sign, digits with an optional
// point, an optional exponent (E or D). Hexadecimal, "inf" and "nan", which
// strtod would take, are not numbers to the run.
bool ParseNumber(const std::string& text, double& value) {
  std::size_t i = 0;
  const std::size_t n = text.size();
  if (i < n && (text[i] == '+' || text[i] == '-')) ++i;
  std::size_t digits = 0;
  while (i < n && std::isdigit(static_cast<unsigned char>(text[i]))) ++i, ++digits;
  if (i < n && text[i] == '.') {
    ++i;
    while (i < n && std::isdigit(static_cast<unsigned char>(text[i]))) ++i, ++digits;
  }
  if (digits == 0) return false;
  std::string copy = text;
  if (i < n && (text[i] == 'e' || text[i] == 'E' || text[i] == 'd' || text[i] == 'D')) {
    copy[i] = 'e';
    ++i;
    if (i < n && (text[i] == '+' || text[i] == '-')) ++i;
    std::size_t exponent_digits = 0;
    while (i < n && std::isdigit(static_cast<unsigned char>(text[i]))) ++i, ++exponent_digits;
    if (exponent_digits == 0) return false;
  }
  if (i != n) return false;
  errno = 0;
  value = std::strtod(copy.c_str(), nullptr);
  return errno != ERANGE && std::isfinite(value);
}

// Takes surrounding double quotes (and a doubled quote inside) off a cell.
void Unquote(Cell& cell) {
  const std::string& text = cell.text;
  if (text.size() < 2 || text.front() != '"' || text.back() != '"') return;
  std::string inner;
  for (std::size_t i = 1; i + 1 < text.size(); ++i) {
    inner += text[i];
    if (text[i] == '"' && text[i + 1] == '"') ++i;
  }
  cell.text = inner;
  cell.quoted = true;
}

std::vector<Cell> SplitAtCommas(std::string_view line) {
  std::vector<Cell> cells;
  std::size_t start = 0;
  while (true) {
    std::size_t stop = line.find(',', start);
    if (stop == std::string_view::npos) stop = line.size();
    std::size_t first = start, last = stop;
    while (first < last && IsBlank(line[first])) ++first;
    while (last > first && IsBlank(line[last - 1])) --last;
    Cell cell;
    // An empty cell is shown where it starts.
    cell.begin = static_cast<int>(first < last ? first : start) + 1;
    cell.end = static_cast<int>(last);
    cell.text = std::string(line.substr(first, last - first));
    Unquote(cell);
    cells.push_back(std::move(cell));
    if (stop == line.size()) break;
    start = stop + 1;
  }
  return cells;
}

std::vector<Cell> SplitAtBlanks(std::string_view line) {
  std::vector<Cell> cells;
  std::size_t i = 0;
  while (i < line.size()) {
    while (i < line.size() && IsBlank(line[i])) ++i;
    if (i == line.size()) break;
    const std::size_t first = i;
    while (i < line.size() && !IsBlank(line[i])) ++i;
    Cell cell;
    cell.begin = static_cast<int>(first) + 1;
    cell.end = static_cast<int>(i);
    cell.text = std::string(line.substr(first, i - first));
    Unquote(cell);
    cells.push_back(std::move(cell));
  }
  return cells;
}

bool IsBlankLine(std::string_view line) { return std::all_of(line.begin(), line.end(), IsBlank); }

bool IsWholeNumber(const std::string& text, double& value) {
  return ParseNumber(text, value) && value == std::floor(value);
}

std::string FormatNumber(double value) {
  char buffer[32];
  std::snprintf(buffer, sizeof buffer, "%.10g", value);
  return buffer;
}

std::string Columns(int begin, int end) {
  return begin == end ? "column " + std::to_string(begin)
                      : "columns " + std::to_string(begin) + "-" + std::to_string(end);
}

// The first `width` bytes of `text`, not cutting a UTF-8 character in two.
std::string CutToWidth(const std::string& text, std::size_t width) {
  if (text.size() <= width) return text;
  std::size_t cut = width;
  while (cut > 0 && (static_cast<unsigned char>(text[cut]) & 0xC0) == 0x80) --cut;
  return text.substr(0, cut);
}

// p labels of at most 15 bytes, unique: header names where given, I1..Ip
// where not; a repeated label gets "_2", "_3" ... at its end.
std::vector<std::string> MakeLabels(const std::vector<std::string>& names, int p) {
  std::vector<std::string> labels;
  std::set<std::string> taken;
  for (int item = 0; item < p; ++item) {
    std::string base = item < static_cast<int>(names.size()) ? names[item] : "";
    if (base.empty()) base = "I" + std::to_string(item + 1);
    std::string label = CutToWidth(base, kLabelWidth);
    for (int copy = 2; taken.count(label) != 0; ++copy) {
      const std::string suffix = "_" + std::to_string(copy);
      label = CutToWidth(base, kLabelWidth - suffix.size()) + suffix;
    }
    taken.insert(label);
    labels.push_back(label);
  }
  return labels;
}

// The record format of `pieces` (in column order). Without an id piece the
// first item is read once as the id and T1 goes back to column 1, since the
// run always takes a record's first field as the subject's id.
std::string FixedFormat(const std::vector<Piece>& pieces) {
  std::vector<std::string> parts;
  const bool has_id = !pieces.empty() && pieces.front().role == Piece::kId;
  if (!has_id) {
    const Piece* first = nullptr;
    for (const Piece& piece : pieces) {
      if (piece.role == Piece::kItem) {
        first = &piece;
        break;
      }
    }
    if (first == nullptr) return "";
    if (first->begin > 1) parts.push_back(std::to_string(first->begin - 1) + "X");
    parts.push_back("F" + std::to_string(first->width) + ".0");
    parts.push_back("T1");
  }
  // Runs of equal items become one repeated field, runs of skips one X;
  // skips at the end are left out (the rest of a record is dropped).
  std::size_t last_read = 0;
  for (std::size_t k = 0; k < pieces.size(); ++k) {
    if (pieces[k].role != Piece::kSkip) last_read = k + 1;
  }
  for (std::size_t k = 0; k < last_read;) {
    const Piece& piece = pieces[k];
    std::size_t next = k + 1;
    if (piece.role == Piece::kSkip) {
      int width = piece.width;
      while (next < last_read && pieces[next].role == Piece::kSkip) width += pieces[next++].width;
      parts.push_back(std::to_string(width) + "X");
    } else if (piece.role == Piece::kId) {
      parts.push_back("F" + std::to_string(piece.width) + ".0");
    } else {
      while (next < last_read && pieces[next].role == Piece::kItem &&
             pieces[next].width == piece.width) {
        ++next;
      }
      const std::size_t count = next - k;
      parts.push_back((count > 1 ? std::to_string(count) : "") + "F" + std::to_string(piece.width) +
                      ".0");
    }
    k = next;
  }
  std::string format = "(";
  for (std::size_t k = 0; k < parts.size(); ++k) format += (k > 0 ? "," : "") + parts[k];
  return format + ")";
}

std::string WideFormat(int p, bool has_id) {
  const std::string field = "F" + std::to_string(kWideField) + ".0";
  return "(" + field + (has_id ? "," : ",T1,") + std::to_string(p) + field + ")";
}

// What the record format leaves of the fixed-column layout, in words.
std::string DescribeItems(const std::vector<Piece>& pieces, int p) {
  int first = 0, last = 0;
  std::set<int> widths;
  for (const Piece& piece : pieces) {
    if (piece.role != Piece::kItem) continue;
    if (first == 0) first = piece.begin;
    last = piece.begin + piece.width - 1;
    widths.insert(piece.width);
  }
  std::string text = std::to_string(p) + " items";
  if (widths.size() == 1) {
    const int width = *widths.begin();
    text += width == 1 ? " of one column" : " of " + std::to_string(width) + " columns";
  }
  return text + " (" + Columns(first, last) + ")";
}

// The whole numbers in `records` at field `field` rise strictly: the mark
// of a column of subject numbers.
bool IsIdField(const std::vector<Record>& records, std::size_t field) {
  double previous = 0.0;
  for (std::size_t r = 0; r < records.size(); ++r) {
    double value = 0.0;
    if (!IsWholeNumber(records[r].cells[field].text, value)) return false;
    if (r > 0 && !(value > previous)) return false;
    previous = value;
  }
  return records.size() >= 2;
}

bool IsIdName(std::string name) {
  for (char& c : name) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return name == "id" || name == "subject" || name == "case" || name == "person";
}

// Looks for values that read like codes of missing answers (9, 99, -1, -9
// ...) standing apart from the other scores, which the run would take as
// scores.
void WarnOfMissingCodes(const Matrix& scores, DataGuess& guess) {
  std::vector<double> sorted = scores.values;
  std::sort(sorted.begin(), sorted.end());
  sorted.erase(std::unique(sorted.begin(), sorted.end()), sorted.end());
  if (sorted.size() < 3) return;
  const double top = sorted.back(), below_top = sorted[sorted.size() - 2];
  const double bottom = sorted.front(), above_bottom = sorted[1];
  for (double code : {9.0, 99.0, 999.0, 9999.0}) {
    if (top == code && below_top <= code - 3) {
      guess.warnings.push_back("the score " + FormatNumber(code) +
                               " stands far above the others (at most " + FormatNumber(below_top) +
                               "): if it marks a missing answer, the run takes it as a score");
    }
  }
  for (double code : {-1.0, -9.0, -99.0, -999.0}) {
    if (bottom == code && above_bottom >= 0 && above_bottom - code >= 2) {
      guess.warnings.push_back("the score " + FormatNumber(code) +
                               " stands below the others (from " + FormatNumber(above_bottom) +
                               "): if it marks a missing answer, the run takes it as a score");
    }
  }
}

// The coding from the scores: two whole values DI, up to 14 whole values
// OR, else CO.
void GuessCoding(const Matrix& scores, DataGuess& guess) {
  std::set<double> distinct;
  bool whole = true;
  guess.lowest = scores.values.front();
  guess.highest = scores.values.front();
  for (double value : scores.values) {
    if (value != std::floor(value)) whole = false;
    if (distinct.size() <= kMaxOrderedValues) distinct.insert(value);
    guess.lowest = std::min(guess.lowest, value);
    guess.highest = std::max(guess.highest, value);
  }
  if (whole && distinct.size() == 2) {
    guess.coding = ItemCoding::kDichotomous;
  } else if (whole && distinct.size() <= kMaxOrderedValues) {
    guess.coding = ItemCoding::kOrdered;
  } else {
    guess.coding = ItemCoding::kContinuous;
  }
  if (guess.coding != ItemCoding::kContinuous)
    guess.values.assign(distinct.begin(), distinct.end());
}

// Eigenvalues of the items' Pearson correlations, and the number of them
// above 1, kept between 1 and p / 2.
void GuessFactors(const Matrix& scores, DataGuess& guess) {
  const int n = scores.rows, p = scores.cols;
  std::vector<double> means, deviations;
  Matrix products, correlations;
  int ifail = kIfailQuiet;
  G02BAF(n, p, scores, means, deviations, products, correlations, ifail);
  if (ifail == 0) {
    std::vector<double> eigenvalues;
    ifail = kIfailQuiet;
    F02FAF('N', 'U', p, correlations, eigenvalues, ifail);
    if (ifail == 0) guess.eigenvalues.assign(eigenvalues.rbegin(), eigenvalues.rend());
  }
  guess.kaiser_count = static_cast<int>(std::count_if(guess.eigenvalues.begin(),
                                                      guess.eigenvalues.end(),
                                                      [](double value) { return value > 1.0; }));
  guess.factor_count = std::clamp(guess.kaiser_count, 1, std::max(1, p / 2));
}

const char* CodingWord(ItemCoding coding) {
  switch (coding) {
    case ItemCoding::kDichotomous:
      return "DI";
    case ItemCoding::kOrdered:
      return "OR";
    case ItemCoding::kContinuous:
      return "CO";
  }
  return "CO";
}

// Quotes a name or label for a list read: apostrophes around it, one inside
// doubled.
std::string Quoted(const std::string& text) {
  std::string quoted = "'";
  for (char c : text) {
    quoted += c;
    if (c == '\'') quoted += '\'';
  }
  return quoted + "'";
}

// Appends `text` to `out` as comment lines of at most 78 characters, the
// first starting with `first`, the rest with `rest`.
void Comment(std::string& out,
             const std::string& first,
             const std::string& rest,
             const std::string& text) {
  std::istringstream words(text);
  std::string word, line = first;
  bool line_has_word = false;
  while (words >> word) {
    if (line_has_word && line.size() + 1 + word.size() > 78) {
      out += line + "\n";
      line = rest;
      line_has_word = false;
    }
    line += (line_has_word || line.back() != ' ' ? " " : "") + word;
    line_has_word = true;
  }
  out += line + "\n";
}

// The lines of a data file, cut into cells, with the header line apart.
struct DataLines {
  std::vector<Record> records;
  std::vector<std::string> header;  // the names of a header line; empty without
  char separator = ' ';             // ',', '\t' or ' ' (blanks)
  bool has_mark = false;            // a byte order mark stood at the start
};

// The items of each record as text, and where they stand.
struct ItemTable {
  std::string layout;
  int field_count = 0;
  bool has_id = false;
  std::string id_place;
  std::vector<Piece> pieces;                    // the fixed-column reading, where one exists
  std::vector<std::string> ids;                 // per record, when the file has ids
  std::vector<std::vector<std::string>> items;  // per record, the item texts
  std::vector<int> item_columns;                // first column of each item in the first record
  std::vector<std::string> names;               // header names of the items
  bool quoted = false;                          // a cell stood in quotes
  bool skipped_fields = false;                  // fields stand between the id and the items
};

bool SplitLines(std::string_view text, DataLines& lines, InitFault& fault) {
  // A byte order mark (as spreadsheets write one) is no part of the data,
  // but the run would read it into the first field.
  if (text.substr(0, 3) == "\xEF\xBB\xBF") {
    text.remove_prefix(3);
    lines.has_mark = true;
  }
  std::vector<Record>& records = lines.records;
  for (std::size_t start = 0, number = 1; start < text.size(); ++number) {
    std::size_t stop = text.find('\n', start);
    if (stop == std::string_view::npos) stop = text.size();
    std::string_view line = text.substr(start, stop - start);
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    records.push_back(Record{static_cast<int>(number), line, {}});
    start = stop + 1;
  }
  // Empty lines at the end lie beyond the N records that the run reads.
  while (!records.empty() && IsBlankLine(records.back().text)) records.pop_back();
  if (records.empty()) {
    fault =
        Fault(1, 1, "the file holds no records", "give a file with one line of scores per subject");
    return false;
  }
  // The separator is the one most lines hold: a stray comma or tab in a
  // file of another kind is then a cell that is no number, shown where it is.
  std::size_t comma_lines = 0, tab_lines = 0;
  for (const Record& record : records) {
    comma_lines += record.text.find(',') != std::string_view::npos;
    tab_lines += record.text.find('\t') != std::string_view::npos;
  }
  const bool commas = 2 * comma_lines > records.size();
  const bool tabs = !commas && 2 * tab_lines > records.size();
  lines.separator = commas ? ',' : tabs ? '\t' : ' ';
  for (Record& record : records) {
    record.cells = commas ? SplitAtCommas(record.text) : SplitAtBlanks(record.text);
  }
  // A header line holds a name that is no number.
  bool header = false;
  for (const Cell& cell : records.front().cells) {
    double value = 0.0;
    if (!cell.text.empty() && !ParseNumber(cell.text, value)) header = true;
  }
  if (header) {
    for (const Cell& cell : records.front().cells) lines.header.push_back(cell.text);
    records.erase(records.begin());
    if (records.empty()) {
      fault =
          Fault(2, 1, "no records after the header line", "give one line of scores per subject");
      return false;
    }
  }
  for (const Record& record : records) {
    if (IsBlankLine(record.text)) {
      fault = Fault(record.line,
                    1,
                    "empty line among the records",
                    "the run would read it as a subject whose scores are all 0: delete it");
      return false;
    }
  }
  return true;
}

// Packed digits: lines of digits and blanks whose blank-separated tokens
// cannot be the fields (fewer than the items needed, or longer than any
// score), as in "00017351624...": an id and one column per item.
bool IsPackedDigits(const DataLines& lines, const GuessOptions& options) {
  if (lines.separator != ' ') return false;
  std::size_t longest = 0, fewest = lines.records.front().cells.size();
  for (const Record& record : lines.records) {
    for (char c : record.text) {
      if (c != ' ' && !std::isdigit(static_cast<unsigned char>(c))) return false;
    }
    for (const Cell& cell : record.cells) longest = std::max(longest, cell.text.size());
    fewest = std::min(fewest, record.cells.size());
  }
  return fewest < static_cast<std::size_t>(kMinItems) || longest > kLongestId ||
         options.items > static_cast<int>(fewest);
}

char CharAt(const Record& record, std::size_t c) {
  return c < record.text.size() ? record.text[c] : ' ';
}

// The width of the shortest start of every record that numbers the
// subjects (whole numbers rising from record to record), or 0.
std::size_t PackedIdWidth(const std::vector<Record>& records, std::size_t width) {
  if (records.size() < 2) return 0;
  for (std::size_t w = 1; w <= static_cast<std::size_t>(kLongestId) && w + kMinItems <= width;
       ++w) {
    bool rising = true;
    double previous = 0.0;
    for (std::size_t r = 0; r < records.size() && rising; ++r) {
      std::string start;
      for (std::size_t c = 0; c < w; ++c) start += CharAt(records[r], c);
      const std::size_t first = start.find_first_not_of(' ');
      double value = 0.0;
      rising = first != std::string::npos && IsWholeNumber(start.substr(first), value) &&
               (r == 0 || value > previous);
      previous = value;
    }
    if (rising) return w;
  }
  return 0;
}

// Packed digits: the id in the first columns, then one item per column
// that holds a digit somewhere; columns blank in every record are skipped.
bool ReadPackedDigits(const DataLines& lines,
                      const GuessOptions& options,
                      ItemTable& table,
                      InitFault& fault) {
  const std::vector<Record>& records = lines.records;
  table.layout = "fixed columns";
  std::size_t width = 0;
  for (const Record& record : records) width = std::max(width, record.text.size());
  std::vector<bool> blank_column(width, true);
  for (const Record& record : records) {
    for (std::size_t c = 0; c < record.text.size(); ++c) {
      if (!IsBlank(record.text[c])) blank_column[c] = false;
    }
  }
  std::vector<std::size_t> filled;
  for (std::size_t c = 0; c < width; ++c) {
    if (!blank_column[c]) filled.push_back(c);
  }
  table.field_count = static_cast<int>(width);
  std::size_t id_width = 0;
  if (options.items > 0) {
    if (options.items > static_cast<int>(filled.size())) {
      fault = Fault(records.front().line,
                    1,
                    "--items " + std::to_string(options.items) + " but the records have only " +
                        std::to_string(filled.size()) + " columns of digits",
                    "give the number of items, the last columns of each record");
      return false;
    }
    id_width = filled[filled.size() - options.items];
  } else {
    id_width = PackedIdWidth(records, width);
  }
  table.has_id = id_width > 0;
  if (table.has_id) {
    table.pieces.push_back(Piece{Piece::kId, 1, static_cast<int>(id_width)});
    table.id_place = Columns(1, static_cast<int>(id_width));
  }
  for (std::size_t c = id_width; c < width; ++c) {
    const Piece::Role role = blank_column[c] ? Piece::kSkip : Piece::kItem;
    table.pieces.push_back(Piece{role, static_cast<int>(c) + 1, 1});
    if (role == Piece::kItem) table.item_columns.push_back(static_cast<int>(c) + 1);
  }
  for (const Record& record : records) {
    if (table.has_id) {
      std::string id(record.text.substr(0, std::min(id_width, record.text.size())));
      table.ids.push_back(id.substr(std::min(id.find_first_not_of(' '), id.size())));
    }
    std::vector<std::string> row;
    for (int column : table.item_columns) {
      const char c = CharAt(record, static_cast<std::size_t>(column - 1));
      if (IsBlank(c)) {
        fault = Fault(record.line,
                      column,
                      "blank in the column of item " + std::to_string(row.size() + 1),
                      kNoMissingHint);
        return false;
      }
      row.emplace_back(1, c);
    }
    table.items.push_back(std::move(row));
  }
  // A header over packed digits names the items, or the id and the items.
  const std::size_t p = table.item_columns.size();
  const std::vector<std::string>& header = lines.header;
  if (header.size() == p || (!header.empty() && header.size() == p + 1)) {
    table.names.assign(header.end() - static_cast<std::ptrdiff_t>(p), header.end());
  }
  return true;
}

// Every cell is a number the run's fields can take (looked at first, so
// that a stray separator shows as the cell it spoils), and every record has
// the fields of the first.
bool CheckCells(const std::vector<Record>& records, ItemTable& table, InitFault& fault) {
  const std::size_t k = records.front().cells.size();
  for (const Record& record : records) {
    for (const Cell& cell : record.cells) {
      double value = 0.0;
      if (cell.text.empty()) {
        fault = Fault(record.line, cell.begin, "empty field", kNoMissingHint);
        return false;
      }
      if (!ParseNumber(cell.text, value)) {
        fault = Fault(record.line,
                      cell.begin,
                      "\"" + cell.text + "\" is not a number",
                      "scores must be numbers; " + std::string(kNoMissingHint));
        return false;
      }
      if (cell.text.size() > kLongestNumber) {
        fault = Fault(record.line,
                      cell.begin,
                      "a number of " + std::to_string(cell.text.size()) +
                          " characters; the run reads at most " + std::to_string(kLongestNumber),
                      "write the scores with fewer digits");
        return false;
      }
      table.quoted = table.quoted || cell.quoted;
    }
    if (record.cells.size() != k) {
      const int column = record.cells.size() > k ? record.cells[k].begin
                                                 : static_cast<int>(record.text.size()) + 1;
      fault = Fault(record.line,
                    column,
                    "the record has " + std::to_string(record.cells.size()) +
                        " fields, the first record (line " + std::to_string(records.front().line) +
                        ") has " + std::to_string(k),
                    "every record needs the same fields; " + std::string(kNoMissingHint));
      return false;
    }
  }
  return true;
}

// Blank-separated fields that keep to steady columns can be read as fixed
// columns: field j takes the columns after the widest field j-1.
void FindSteadyColumns(const std::vector<Record>& records,
                       std::size_t first_item,
                       ItemTable& table) {
  // A tab is one column to the run, and one behind a number fails its field.
  for (const Record& record : records) {
    if (record.text.find('\t') != std::string_view::npos) return;
  }
  const std::size_t k = records.front().cells.size();
  std::vector<int> ends(k, 0);
  for (const Record& record : records) {
    for (std::size_t field = 0; field < k; ++field) {
      ends[field] = std::max(ends[field], record.cells[field].end);
    }
  }
  for (const Record& record : records) {
    for (std::size_t field = 1; field < k; ++field) {
      if (record.cells[field].begin <= ends[field - 1]) return;
    }
  }
  table.layout = "numbers in fixed columns, separated by blanks";
  for (std::size_t field = 0; field < k; ++field) {
    const int begin = field == 0 ? 1 : ends[field - 1] + 1;
    const Piece::Role role = field >= first_item ? Piece::kItem
                             : field == 0        ? Piece::kId
                                                 : Piece::kSkip;
    table.pieces.push_back(Piece{role, begin, ends[field] - begin + 1});
  }
  if (table.has_id) table.id_place = Columns(1, ends[0]);
}

// Separated fields: the id is the first field where --items leaves fields
// before the items, or else where the first field numbers the subjects, is
// named like an id, or has no name in a header one name short.
bool ReadFields(const DataLines& lines,
                const GuessOptions& options,
                ItemTable& table,
                InitFault& fault) {
  const std::vector<Record>& records = lines.records;
  const std::vector<std::string>& header = lines.header;
  table.layout = lines.separator == ','    ? "numbers separated by commas"
                 : lines.separator == '\t' ? "numbers separated by tabs"
                                           : "numbers separated by blanks";
  if (!CheckCells(records, table, fault)) return false;
  const std::size_t k = records.front().cells.size();
  table.field_count = static_cast<int>(k);
  const bool header_skips_first = !header.empty() && header.size() + 1 == k;
  if (!header.empty() && !header_skips_first && header.size() != k) {
    fault = Fault(records.front().line - 1,
                  1,
                  "the header line has " + std::to_string(header.size()) +
                      " names, the records have " + std::to_string(k) + " fields",
                  "give one name per field in the first line, or none");
    return false;
  }
  std::size_t first_item = 0;
  if (options.items > 0) {
    if (options.items > static_cast<int>(k)) {
      fault = Fault(records.front().line,
                    1,
                    "--items " + std::to_string(options.items) + " but the records have only " +
                        std::to_string(k) + " fields",
                    "give the number of items, the last fields of each record");
      return false;
    }
    first_item = k - static_cast<std::size_t>(options.items);
  } else if (k >= 2 && (header_skips_first || IsIdField(records, 0) ||
                        (!header.empty() && IsIdName(header.front())))) {
    first_item = 1;
  }
  table.has_id = first_item > 0;
  table.skipped_fields = first_item > 1;
  if (table.has_id) table.id_place = "field 1";
  for (std::size_t field = first_item; field < k; ++field) {
    table.item_columns.push_back(records.front().cells[field].begin);
    if (!header.empty()) table.names.push_back(header[header_skips_first ? field - 1 : field]);
  }
  for (const Record& record : records) {
    if (table.has_id) table.ids.push_back(record.cells[0].text);
    std::vector<std::string> row;
    for (std::size_t field = first_item; field < k; ++field)
      row.push_back(record.cells[field].text);
    table.items.push_back(std::move(row));
  }
  if (lines.separator == ' ' && !table.quoted) FindSteadyColumns(records, first_item, table);
  return true;
}

// The scores as numbers; fails on too few items or subjects and on an item
// without variance.
bool ScoresOf(const DataLines& lines,
              const ItemTable& table,
              const GuessOptions& options,
              Matrix& scores,
              InitFault& fault) {
  const std::vector<Record>& records = lines.records;
  const int n = static_cast<int>(table.items.size());
  const int p = static_cast<int>(table.item_columns.size());
  if (p < kMinItems) {
    fault = Fault(records.front().line,
                  1,
                  "only " + std::to_string(p) + " item" + (p == 1 ? "" : "s") +
                      " found; a factor analysis needs at least " + std::to_string(kMinItems),
                  options.items > 0 ? "give more items"
                                    : "if a first column was taken for subject ids by mistake, "
                                      "give --items P");
    return false;
  }
  if (n < kMinRecords) {
    fault = Fault(records.back().line,
                  1,
                  "only " + std::to_string(n) + " record" + (n == 1 ? "" : "s") +
                      "; correlations need at least " + std::to_string(kMinRecords) + " subjects",
                  "give one line of scores per subject");
    return false;
  }
  scores.Reset(n, p);
  for (int subject = 0; subject < n; ++subject) {
    for (int item = 0; item < p; ++item) {
      ParseNumber(table.items[subject][item], scores(subject, item));
    }
  }
  for (int item = 0; item < p; ++item) {
    bool constant = true;
    for (int subject = 1; subject < n && constant; ++subject) {
      constant = scores(subject, item) == scores(0, item);
    }
    if (constant) {
      fault = Fault(records.front().line,
                    table.item_columns[item],
                    "item " + std::to_string(item + 1) + " has the score " +
                        FormatNumber(scores(0, item)) + " for every subject",
                    "leave this column out of the data: an item that does not vary has no "
                    "correlations");
      return false;
    }
  }
  return true;
}

const char kNoIdNote[] =
    "the file has no id column, and the run reads the first field of each record as the "
    "subject's id: this format reads the first item once as the id, then goes back to column 1 "
    "(T1) and reads ";

// How the run reads the file: in place where a record format can, else from
// a comma-separated copy.
void ChooseReading(const DataLines& lines, const ItemTable& table, DataGuess& guess) {
  const int p = guess.item_count;
  const std::string fixed = table.pieces.empty() ? "" : FixedFormat(table.pieces);
  const bool commas = lines.separator == ',';
  if (!fixed.empty() && fixed.size() <= kFormatWidth) {
    guess.record_format = fixed;
    guess.fixed_columns = true;
    guess.item_place = DescribeItems(table.pieces, p);
    guess.format_note =
        guess.has_id ? "the subject id in " + guess.id_place + ", then " + guess.item_place + "."
                     : kNoIdNote + guess.item_place +
                           ". The ids only number the rows of saved factor scores.";
  } else if (commas && !table.quoted && !table.skipped_fields) {
    guess.record_format = WideFormat(p, guess.has_id);
    guess.item_place = std::to_string(p) + " items in the fields " +
                       std::to_string(guess.has_id ? 2 : 1) + " to " +
                       std::to_string(guess.field_count);
    guess.format_note =
        "F25.0 fields read numbers of any width, since a comma ends a field early; " +
        (guess.has_id ? std::string("the first field is the subject id.")
                      : kNoIdNote + std::string("every field as an item. The ids only number the "
                                                "rows of saved factor scores."));
  } else {
    guess.needs_copy = true;
    const bool tabs = std::any_of(lines.records.begin(), lines.records.end(), [](const Record& r) {
      return r.text.find('\t') != std::string_view::npos;
    });
    guess.copy_reason = tabs           ? "the run's fields cannot be separated by tabs"
                        : table.quoted ? "the run cannot read quoted numbers"
                        : table.skipped_fields
                            ? "the fields before the items cannot be skipped in a file "
                              "separated by commas"
                        : !fixed.empty() ? "the record format for these columns would be longer "
                                           "than the run's 80 characters"
                                         : "the fields do not keep to fixed columns";
    guess.record_format = WideFormat(p, true);
    guess.item_place =
        std::to_string(p) + " items (fields 2 to " + std::to_string(p + 1) + " of the copy)";
    if (!guess.has_id) guess.id_note = "no id column; the copy numbers the records";
    guess.format_note = "the copy holds the subject id (" +
                        std::string(guess.has_id ? "from the data" : "the record's number") +
                        ") and the items, separated by commas; F25.0 fields read numbers of any "
                        "width, since a comma ends a field early.";
    for (std::size_t subject = 0; subject < table.items.size(); ++subject) {
      std::string record = guess.has_id ? table.ids[subject] : std::to_string(subject + 1);
      for (const std::string& item : table.items[subject]) record += "," + item;
      guess.copy_records.push_back(std::move(record));
    }
    return;
  }
  // The run cannot skip a header line (each subject's read starts on a new
  // record) nor a byte order mark: the records are copied as they stand.
  if (guess.has_header || lines.has_mark) {
    guess.needs_copy = true;
    guess.copy_reason = guess.has_header ? "the run cannot skip the header line"
                                         : "the run cannot skip the byte order mark at its start";
    for (const Record& record : lines.records) guess.copy_records.emplace_back(record.text);
  }
}

}  // namespace

bool GuessData(std::string_view text,
               const GuessOptions& options,
               DataGuess& guess,
               InitFault& fault) {
  guess = DataGuess();
  DataLines lines;
  if (!SplitLines(text, lines, fault)) return false;
  ItemTable table;
  const bool read = IsPackedDigits(lines, options) ? ReadPackedDigits(lines, options, table, fault)
                                                   : ReadFields(lines, options, table, fault);
  Matrix scores;
  if (!read || !ScoresOf(lines, table, options, scores, fault)) return false;

  guess.layout = table.layout;
  guess.has_header = !lines.header.empty();
  guess.record_count = scores.rows;
  guess.field_count = table.field_count;
  guess.item_count = scores.cols;
  guess.has_id = table.has_id;
  guess.id_place = table.id_place;
  guess.labels_from_header = !table.names.empty();
  guess.labels = MakeLabels(table.names, scores.cols);
  GuessCoding(scores, guess);
  WarnOfMissingCodes(scores, guess);
  GuessFactors(scores, guess);
  guess.id_note = guess.has_id ? "subject ids in " + guess.id_place
                               : "no id column; the first item is read as the id as well";
  ChooseReading(lines, table, guess);
  return true;
}

std::string DataCopyText(const DataGuess& guess) {
  std::string text;
  for (const std::string& record : guess.copy_records) text += record + "\n";
  return text;
}

std::string CommandStem(std::string_view data_path) {
  std::string stem = fs::path(std::string(data_path)).stem().string();
  for (char& c : stem) {
    if (!std::isalnum(static_cast<unsigned char>(c)) && c != '_' && c != '-') c = '_';
  }
  if (stem.size() > kStemWidth) stem.resize(kStemWidth);
  return stem.empty() ? "run" : stem;
}

std::string CommandFileText(const DataGuess& guess, const CommandFileNames& names) {
  const int p = guess.item_count, n = guess.record_count, m = guess.factor_count;
  const std::string stem = names.stem;
  std::string out;
  auto note = [&out](const std::string& text) { Comment(out, "*", "*", text); };
  auto line_note = [&out](const std::string& key, const std::string& text) {
    Comment(out, "* " + key, "*  ", text);
  };
  note("Written by `velquorin init` from " + names.user_file +
       ". Lines that start with \"*\" are comments, allowed only here at the top; the lines "
       "below them must keep their order. Run `velquorin check " +
       stem + ".in`, then `velquorin " + stem +
       ".in`, in this folder: the file names are relative to it.");
  out += "*\n";
  for (const std::string& warning : guess.warnings) note("WARNING: " + warning + ".");
  line_note(">TITLE:", "any text, shown in the report's listing of this file.");
  line_note(">DATA:",
            "the data file, the number of items (p = " + std::to_string(p) +
                ") and of subjects (N = " + std::to_string(n) +
                "). File names are quoted: unquoted, a name ends at a blank, a comma or a "
                "slash. The run reads the first N records and has no missing values: a blank "
                "field is a score of 0.");
  if (guess.needs_copy) {
    line_note("       ",
              names.data_file + " is a copy of " + names.user_file + " written by init, because " +
                  guess.copy_reason +
                  ". Write it anew (velquorin init --force) when the data change.");
  }
  line_note(">OUTFILE:",
            "the report, written over by every run. LONG puts the correlation matrix and the "
            "residuals in the report; SHORT leaves them out.");
  std::string coding;
  switch (guess.coding) {
    case ItemCoding::kDichotomous:
      coding = "DI: two-valued items (" + FormatNumber(guess.values[0]) + " and " +
               FormatNumber(guess.values[1]) + "; " + FormatNumber(guess.values[1]) +
               " counts as the keyed answer), tetrachoric correlations.";
      break;
    case ItemCoding::kOrdered:
      coding = "OR: ordered items with " + std::to_string(guess.values.size()) + " scores (" +
               FormatNumber(guess.lowest) + " to " + FormatNumber(guess.highest) +
               "), polychoric correlations.";
      break;
    case ItemCoding::kContinuous:
      coding = "CO: continuous scores (" + FormatNumber(guess.lowest) + " to " +
               FormatNumber(guess.highest) + "), Pearson correlations.";
      break;
  }
  line_note(">METRIC:",
            coding +
                " Other codings: DI two-valued items (tetrachoric), OR ordered items with at "
                "most 14 scores (polychoric), CO continuous scores (Pearson), CD continuous "
                "scores split at their medians, IP ipsatized scores. RAW: the file holds "
                "scores. SM smooths a correlation matrix that is not positive definite; NS "
                "leaves it as it is.");
  std::string eigenvalues;
  for (std::size_t k = 0; k < guess.eigenvalues.size() && k < 8; ++k) {
    char value[16];
    std::snprintf(value, sizeof value, "%.2f", guess.eigenvalues[k]);
    eigenvalues += std::string(k > 0 ? " " : "") + value;
  }
  if (guess.eigenvalues.size() > 8) eigenvalues += " ...";
  std::string factors = "PFA: principal factors (PCA: principal components) with " +
                        std::to_string(m) + (m == 1 ? " factor" : " factors") +
                        ": the items' Pearson correlations have " +
                        std::to_string(guess.kaiser_count) + " eigenvalue" +
                        (guess.kaiser_count == 1 ? "" : "s") + " above 1 (" + eigenvalues + ")";
  if (m != guess.kaiser_count) factors += ", kept within 1 and p/2";
  line_note(">MODEL:",
            factors +
                ". Read the eigenvalues in the report and try a factor more or fewer. LABELS: "
                "the labels of the last line; SORT: rows sorted by their largest loading.");
  if (m > 1) {
    line_note(">ROTATE:",
              "OBLIMIN 0: direct quartimin, the factors may correlate. Others: PROMAX 4, "
              "VARIMAX (uncorrelated factors), HK 0, NONE.");
  } else {
    line_note(">ROTATE:", "NONE: one factor has nothing to rotate (and its rows are not sorted).");
  }
  line_note(">SCORE:",
            "NOSCORE; REG (regression) or BART (Bartlett) compute factor scores, saved in " + stem +
                ".fsc.");
  line_note(">PLOT:", "NONE; LOADINGS draws the loadings of each pair of factors.");
  line_note(">TECHNICAL:",
            "tolerance and iterations of the communalities, then of the rotation; F: the "
            "rotation starts from the unrotated loadings (T starts from a random orientation, "
            "which differs from run to run unless --seed N is given); hyperplane width; SMC: "
            "squared multiple correlations start the communalities (ONE, HIR); page width; T: "
            "save the files of the >OUTPUT: line.");
  line_note(">OUTPUT:",
            "files saved beside this one: " + stem + ".cor (correlations), " + stem +
                ".eig (eigenvalues), " + stem + ".fac (loadings)" +
                (m > 1 ? " and " + stem + ".phi (factor correlations)." : ".") +
                " Other codes: SMO smoothed correlations, RSD residuals.");
  line_note(">FORMAT:", guess.record_format + ": " + guess.format_note);
  line_note(">LABELS:",
            std::string("one label per item, at most 15 characters, quoted; ") +
                (guess.labels_from_header ? "from the header line."
                                          : "I1 to I" + std::to_string(p) + " in item order."));

  std::string title = "Items of " + names.user_file;
  if (title.size() > 79) title = CutToWidth(title, 79);
  out += ">TITLE: " + title + "\n";
  out += ">DATA: " + Quoted(names.data_file) + " " + std::to_string(p) + " " + std::to_string(n) +
         "\n";
  out += ">OUTFILE: " + Quoted(names.report_file) + " LONG\n";
  out += std::string(">METRIC: ") + CodingWord(guess.coding) + " RAW " +
         (guess.coding == ItemCoding::kContinuous ? "NS" : "SM") + "\n";
  out += ">MODEL: PFA " + std::to_string(m) + (m > 1 ? " LABELS SORT" : " LABELS NOSORT") + "\n";
  out += m > 1 ? ">ROTATE: OBLIMIN 0\n" : ">ROTATE: NONE\n";
  out += ">SCORE: NOSCORE\n";
  out += ">PLOT: NONE\n";
  out += ">TECHNICAL: 0.0001 200 0.0001 200 F 0.2 SMC 130 T\n";
  out += ">OUTPUT: 3 COR EIG FAC\n";
  out += ">FORMAT: " + guess.record_format + "\n";
  std::string line = ">LABELS:";
  for (const std::string& label : guess.labels) {
    const std::string quoted = Quoted(label);
    if (line.size() + 1 + quoted.size() > 78) {
      out += line + "\n";
      line = "        ";
    }
    line += " " + quoted;
  }
  out += line + "\n";
  return out;
}

namespace {

const char kInitUsage[] =
    "usage: velquorin init DATAFILE [--items P] [--out FILE.in] [--force]\n"
    "\n"
    "Looks at a file of item scores (fixed columns, or numbers separated by\n"
    "blanks, tabs or commas, with or without a header line) and writes a\n"
    "commented command file that reads it, beside the data.\n"
    "\n"
    "  --items P      the last P fields of each record are the items\n"
    "  --out FILE.in  the command file to write (at most 11 characters\n"
    "                 before .in: saved files are named from it)\n"
    "  --force        write over an existing command file, report or copy\n";

int UsageError(const std::string& message) {
  std::fprintf(stderr, "velquorin init: %s\n%s", message.c_str(), kInitUsage);
  return 2;
}

int Refuse(const std::string& message, const std::string& hint) {
  std::fprintf(stderr, "velquorin init: error: %s\n  hint: %s\n", message.c_str(), hint.c_str());
  return 2;
}

bool ReadWholeFile(const fs::path& path, std::string& text) {
  std::error_code error;
  if (!fs::is_regular_file(path, error)) return false;
  std::ifstream in(path, std::ios::binary);
  if (!in) return false;
  text.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
  return !in.bad();
}

// Writes `text` to `path` through a temporary file renamed into place, so
// that a failed write leaves no partial file under the real name.
bool WriteWholeFile(const fs::path& path, const std::string& text) {
  const fs::path partial = path.string() + ".partial";
  std::FILE* file = std::fopen(partial.c_str(), "wb");
  if (file == nullptr) return false;
  bool ok = std::fwrite(text.data(), 1, text.size(), file) == text.size();
  ok = std::fclose(file) == 0 && ok;
  std::error_code error;
  if (ok) fs::rename(partial, path, error);
  if (!ok || error) {
    fs::remove(partial, error);
    return false;
  }
  return true;
}

bool SameFile(const fs::path& a, const fs::path& b) {
  std::error_code error;
  return fs::equivalent(a, b, error) && !error;
}

const char* CodingText(ItemCoding coding) {
  switch (coding) {
    case ItemCoding::kDichotomous:
      return "DI, two-valued items (tetrachoric correlations)";
    case ItemCoding::kOrdered:
      return "OR, ordered items (polychoric correlations)";
    case ItemCoding::kContinuous:
      return "CO, continuous scores (Pearson correlations)";
  }
  return "";
}

}  // namespace

int RunInit(int argc, char** argv) {
  std::string data_argument, out_argument;
  GuessOptions options;
  bool force = false;
  for (int k = 0; k < argc; ++k) {
    const std::string_view arg = argv[k];
    if (arg == "--help") {
      std::fputs(kInitUsage, stdout);
      return 0;
    }
    if (arg == "--force") {
      force = true;
    } else if (arg == "--items" || arg == "--out") {
      if (k + 1 >= argc) return UsageError(std::string(arg) + " needs a value");
      const std::string value = argv[++k];
      if (arg == "--out") {
        out_argument = value;
        continue;
      }
      char* end = nullptr;
      errno = 0;
      const long items = std::strtol(value.c_str(), &end, 10);
      if (value.empty() || *end != '\0' || errno == ERANGE || items < 1 || items > 1000000) {
        return UsageError("--items needs a whole number of items, not \"" + value + "\"");
      }
      options.items = static_cast<int>(items);
    } else if (arg.size() > 1 && arg[0] == '-') {
      return UsageError("unknown option " + std::string(arg));
    } else if (!data_argument.empty()) {
      return UsageError("only one data file can be given");
    } else {
      data_argument = std::string(arg);
    }
  }
  if (data_argument.empty()) return UsageError("no data file given");

  const fs::path data_path = data_argument;
  std::string text;
  if (!ReadWholeFile(data_path, text)) {
    std::fprintf(stderr, "%s:1:1: error: cannot read the file\n", data_argument.c_str());
    std::fprintf(stderr, "  hint: give the path of an existing data file\n");
    return 2;
  }
  DataGuess guess;
  InitFault fault;
  if (!GuessData(text, options, guess, fault)) {
    std::fprintf(stderr,
                 "%s:%d:%d: error: %s\n  hint: %s\n",
                 data_argument.c_str(),
                 fault.line,
                 fault.column,
                 fault.message.c_str(),
                 fault.hint.c_str());
    return 2;
  }

  // Names: the command file beside the data (or where --out says), the
  // report and the copy beside the command file.
  fs::path command_path;
  std::string stem;
  if (out_argument.empty()) {
    stem = CommandStem(data_argument);
    command_path = data_path.parent_path() / (stem + ".in");
  } else {
    command_path = out_argument;
    const std::string name = command_path.filename().string();
    stem = command_path.stem().string();
    if (command_path.extension() != ".in" || stem.empty() || stem.size() > kStemWidth ||
        stem.find('.') != std::string::npos) {
      return Refuse("the command file name \"" + name + "\" will not do",
                    "give at most 11 characters (no dot) before .in: the run names its saved "
                    "files from the first 15 characters of the command file's name");
    }
  }
  const fs::path folder = command_path.parent_path();
  const fs::path report_path = folder / (stem + ".out");
  const std::string copy_name = stem + "-items" + (guess.fixed_columns ? ".dat" : ".csv");
  const fs::path copy_path = folder / copy_name;

  std::string data_name;
  if (guess.needs_copy) {
    data_name = copy_name;
  } else {
    std::error_code error;
    const fs::path base = fs::weakly_canonical(folder.empty() ? fs::path(".") : folder, error);
    data_name = fs::weakly_canonical(data_path, error).lexically_relative(base).generic_string();
    if (error || data_name.empty()) data_name = fs::absolute(data_path, error).generic_string();
  }
  if (data_name.size() > kDataNameWidth) {
    return Refuse("the data file's name as the command file gives it, " + data_name + ", has " +
                      std::to_string(data_name.size()) + " characters; the run reads at most 50",
                  "write the command file next to the data (leave out --out) or shorten the path");
  }

  std::vector<std::pair<fs::path, std::string>> targets = {
      {command_path, "the command file"}, {report_path, "the report that the run would write"}};
  if (guess.needs_copy) targets.push_back({copy_path, "the copy of the data"});
  for (const auto& [path, what] : targets) {
    if (SameFile(path, data_path)) {
      return Refuse(what + ", " + path.string() + ", would be the data file itself",
                    "give another name with --out NAME.in");
    }
    std::error_code error;
    if (fs::exists(path, error) && !force) {
      return Refuse(what + ", " + path.string() + ", exists",
                    "give --force to write over it, or another name with --out NAME.in");
    }
  }

  if (guess.needs_copy && !WriteWholeFile(copy_path, DataCopyText(guess))) {
    std::fprintf(stderr, "velquorin init: error: cannot write %s\n", copy_path.c_str());
    return 1;
  }
  CommandFileNames names;
  names.data_file = data_name;
  names.user_file = data_path.filename().string();
  names.report_file = report_path.filename().string();
  names.stem = stem;
  if (!WriteWholeFile(command_path, CommandFileText(guess, names))) {
    std::fprintf(stderr, "velquorin init: error: cannot write %s\n", command_path.c_str());
    return 1;
  }

  std::printf("velquorin init: %s\n", data_argument.c_str());
  std::printf("  layout    %s, %d records%s\n",
              guess.layout.c_str(),
              guess.record_count,
              guess.has_header ? " after a header line" : ", no header line");
  std::printf("  ids       %s\n", guess.id_note.c_str());
  std::printf("  items     %s\n", guess.item_place.c_str());
  std::printf("  labels    %s\n",
              guess.labels_from_header ? "from the header line"
                                       : ("I1 to I" + std::to_string(guess.item_count)).c_str());
  std::printf("  coding    %s\n", CodingText(guess.coding));
  std::printf("  factors   %d (%d eigenvalue%s of the Pearson correlations above 1)\n",
              guess.factor_count,
              guess.kaiser_count,
              guess.kaiser_count == 1 ? "" : "s");
  std::printf("  format    %s\n", guess.record_format.c_str());
  for (const std::string& warning : guess.warnings)
    std::printf("  WARNING   %s\n", warning.c_str());
  if (guess.needs_copy) {
    std::printf("wrote %s (%s)\n", copy_path.c_str(), guess.copy_reason.c_str());
  }
  std::printf("wrote %s\n", command_path.c_str());
  std::printf("next:\n");
  if (!folder.empty()) std::printf("  cd %s\n", folder.c_str());
  std::printf("  velquorin check %s.in     (looks the command file over)\n", stem.c_str());
  std::printf(
      "  velquorin %s.in           (runs it and writes %s.out)\n", stem.c_str(), stem.c_str());
  return 0;
}

}  // namespace vq
