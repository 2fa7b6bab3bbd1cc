#include "cli/check.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "correlation/polychoric.h"
#include "data/raw_data.h"
#include "data/record_reader.h"
#include "frame/file_dialog.h"
#include "options/run_options.h"
#include "report/saved_files.h"
#include "run/command_file.h"
#include "run/run_context.h"
#include "text/edit_descriptors.h"

namespace vq {
namespace {

using Severity = Diagnostic::Severity;

// The polychoric search leaves a pair at r = 0 when its log likelihood
// stays below this value.
constexpr double kLikelihoodFloor = 999999.0;

// Words the run knows, per place; the first list of each place is what the
// run compares with, the words after it have a meaning of their own there
// ("NS" and "NONE" are taken as "none of these", on purpose).
const std::vector<std::string> kVerbosityWords = {"SHORT", "LONG"};
const std::vector<std::string> kCodingWords = {"CO", "IP", "DI", "DC", "CD", "OR"};
const std::vector<std::string> kInputFormWords = {"RAW", "COR", "FLD1", "FLD2"};
const std::vector<std::string> kSmoothingWords = {"SM", "PS", "NS"};
const std::vector<std::string> kModelWords = {"PCA", "PFA", "ROT", "TRP", "CMT"};
const std::vector<std::string> kLabelWords = {"LABELS", "NOLABELS"};
const std::vector<std::string> kSortWords = {"SORT", "NOSORT"};
const std::vector<std::string> kRotationWords = {
    "VARIMAX", "WVARIMAX", "NONE", "OBLIMIN", "PROMAX", "HK"};
const std::vector<std::string> kScoreWords = {"REG", "BART", "NOSCORE", "NONE"};
const std::vector<std::string> kPlotWords = {"ALL", "LOADINGS", "SCORES", "NONE"};
const std::vector<std::string> kRandomStartWords = {"T", "F"};
const std::vector<std::string> kCommunalityWords = {"ONE", "SMC", "HIR"};
const std::vector<std::string> kSaveCodeWords = {"COR", "SMO", "EIG", "RSD", "FAC", "MVN"};

// Every extension the run may save under, for the test of names that meet.
const char* const kSavedExtensions[] = {
    "cor", "smo", "eig", "rsd", "fac", "phi", "fsc", "mvn", "frq", "ser", "dff"};

std::string Blank(int width) { return std::string(static_cast<std::size_t>(width), ' '); }

std::string Upper(std::string_view text) {
  std::string upper(text);
  for (char& c : upper) {
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  }
  return upper;
}

std::string Joined(const std::vector<std::string>& words) {
  std::string text;
  for (const std::string& word : words) text += (text.empty() ? "" : ", ") + word;
  return text;
}

// One value of a command-file line as the list rules see it, for pointing at
// it: where it starts, its text, whether it was quoted.
struct Token {
  int column = 0;
  std::string text;
  bool quoted = false;
};

// The values of `line` up to a slash that ends the line's reading.
std::vector<Token> Tokens(std::string_view line) {
  std::vector<Token> tokens;
  std::size_t i = 0;
  while (i < line.size()) {
    const char c = line[i];
    if (c == ' ' || c == '\t' || c == ',' || c == '\r') {
      ++i;
      continue;
    }
    if (c == '/') break;
    Token token;
    token.column = static_cast<int>(i) + 1;
    if (c == '\'' || c == '"') {
      token.quoted = true;
      std::size_t j = i + 1;
      while (j < line.size()) {
        if (line[j] == c) {
          if (j + 1 < line.size() && line[j + 1] == c) {
            token.text += c;
            j += 2;
            continue;
          }
          break;
        }
        token.text += line[j++];
      }
      i = j + 1;
    } else {
      std::size_t j = i;
      while (j < line.size() && line[j] != ' ' && line[j] != '\t' && line[j] != ',' &&
             line[j] != '/' && line[j] != '\r') {
        ++j;
      }
      token.text = std::string(line.substr(i, j - i));
      i = j;
    }
    tokens.push_back(token);
  }
  return tokens;
}

// The unquoted word that starts at `column` of `line`, read past slashes (as
// a user would read it).
std::string WordWithSlashes(std::string_view line, int column) {
  std::size_t i = static_cast<std::size_t>(column - 1);
  std::size_t j = i;
  while (j < line.size() && line[j] != ' ' && line[j] != '\t' && line[j] != ',' &&
         line[j] != '\r') {
    ++j;
  }
  return std::string(line.substr(i, j - i));
}

// The known word closest to `word`: one the word starts with, or else the
// one at the least edit distance.
std::string Closest(const std::string& word, const std::vector<std::string>& known) {
  const std::string upper = Upper(word);
  for (const std::string& candidate : known) {
    if (upper.size() > candidate.size() && upper.compare(0, candidate.size(), candidate) == 0) {
      return candidate;
    }
  }
  std::string best;
  int best_distance = 1 << 30;
  for (const std::string& candidate : known) {
    const int distance = EditDistance(upper, candidate);
    if (distance < best_distance) {
      best_distance = distance;
      best = candidate;
    }
  }
  return best;
}

std::string Plural(long long count, std::string_view one, std::string_view many) {
  return std::to_string(count) + " " + std::string(count == 1 ? one : many);
}

// The records of a file: its line ends, and a last line without one.
long long CountRecords(const std::string& path) {
  std::FILE* file = std::fopen(path.c_str(), "rb");
  if (file == nullptr) return -1;
  std::vector<char> buffer(1 << 20);
  long long records = 0;
  char last = '\n';
  for (;;) {
    const std::size_t got = std::fread(buffer.data(), 1, buffer.size(), file);
    if (got == 0) break;
    const char* at = buffer.data();
    const char* end = at + got;
    while ((at = static_cast<const char*>(std::memchr(at, '\n', end - at))) != nullptr) {
      ++records;
      ++at;
    }
    last = buffer[got - 1];
  }
  std::fclose(file);
  if (last != '\n') ++records;
  return records;
}

class Checker {
 public:
  Checker(std::string path, const CheckSettings& settings)
      : path_(std::move(path)), settings_(settings) {}

  CheckResult Run() {
    if (!IsExistingFile(path_)) {
      std::error_code error;
      const bool exists = std::filesystem::exists(path_, error);
      Add(Severity::kError,
          1,
          1,
          exists ? "the command file is not a plain file" : "the command file does not exist",
          "");
      return std::move(result_);
    }
    std::ifstream in(path_, std::ios::binary);
    std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    if (!in.good() && !in.eof()) {
      Add(Severity::kError, 1, 1, "the command file cannot be read", "");
      return std::move(result_);
    }
    size_ = static_cast<long long>(text.size());
    SplitLines(text);
    source_.OpenText(kCommandFileUnit, path_, std::move(text));
    SplitRunName(path_, run_stem_, run_directory_);
    if (ParseLines()) {
      CheckNamesAndCounts();
      CheckData();
    }
    return std::move(result_);
  }

 private:
  // --- Diagnostics ---------------------------------------------------------

  void Add(Severity severity, int line, int column, std::string message, std::string hint) {
    AddIn(path_, severity, line, column, std::move(message), std::move(hint));
  }
  void AddIn(const std::string& file,
             Severity severity,
             int line,
             int column,
             std::string message,
             std::string hint) {
    result_.diagnostics.push_back(
        Diagnostic{severity, file, line, column, std::move(message), std::move(hint)});
  }

  // --- Lines of the command file ----------------------------------------------

  void SplitLines(const std::string& text) {
    std::size_t start = 0;
    while (start < text.size()) {
      std::size_t end = text.find('\n', start);
      if (end == std::string::npos) end = text.size();
      line_starts_.push_back(static_cast<long long>(start));
      std::string line = text.substr(start, end - start);
      if (!line.empty() && line.back() == '\r') line.pop_back();
      lines_.push_back(line);
      start = end + 1;
    }
  }

  long long Offset() const {
    const long long remaining = source_.RemainingBytes();
    return remaining < 0 ? size_ : size_ - remaining;
  }
  // The 1-based line that holds byte `offset` (the line after the last for
  // the end of the file).
  int LineAt(long long offset) const {
    return static_cast<int>(std::upper_bound(line_starts_.begin(), line_starts_.end(), offset) -
                            line_starts_.begin());
  }
  const std::string& LineText(int line) const {
    static const std::string empty;
    return line >= 1 && line <= static_cast<int>(lines_.size()) ? lines_[line - 1] : empty;
  }
  Token TokenAt(int line, std::size_t index) const {
    const std::vector<Token> tokens = Tokens(LineText(line));
    if (index < tokens.size()) return tokens[index];
    Token end;
    end.column = static_cast<int>(TrimRight(LineText(line)).size()) + 1;
    return end;
  }

  // What one read of a keyword line took: its first line, its last, and the
  // error number of the read (0 when it went through).
  struct Read {
    int first = 0;
    int last = 0;
    int status = 0;
  };

  template <typename Reader>
  Read ReadLine(Reader reader) {
    Read read;
    const long long before = Offset();
    read.first = LineAt(before);
    read.status = reader();
    const long long after = Offset();
    read.last = after > before ? LineAt(after - 1) : read.first;
    return read;
  }

  Read ListRead(std::span<const ListItem> items) {
    return ReadLine([&] { return TryReadList(source_, items); });
  }
  Read ColumnRead(std::span<const ListItem> items) {
    return ReadLine([&] { return TryReadColumns(source_, items); });
  }

  // A keyword line short of values goes on into the next line and takes its
  // keyword for a value; that line is then lost to its own step. Returns
  // true (after the error) when `read` did so.
  bool RanOn(const Read& read, std::string_view keyword, int expected, std::string_view what) {
    for (int line = read.first + 1; line <= read.last; ++line) {
      const std::string_view text = Trim(LineText(line));
      if (text.empty() || text[0] != '>') continue;
      const int given = static_cast<int>(Tokens(LineText(read.first)).size()) - 1;
      const std::string next =
          Tokens(LineText(line)).empty() ? std::string(text) : Tokens(LineText(line))[0].text;
      Add(Severity::kError,
          read.first,
          static_cast<int>(TrimRight(LineText(read.first)).size()) + 1,
          std::string(keyword) + " line holds " + Plural(given, "value", "values") + " of " +
              std::to_string(expected) + ": the read goes on into line " + std::to_string(line) +
              " and takes \"" + next + "\" for " + std::string(what),
          "give all " + std::to_string(expected) +
              " values, or end the line with a slash to keep the defaults of the rest");
      return true;
    }
    return false;
  }

  // A read that failed: the run would end with the severe error.
  void ReadFault(const Read& read, std::string_view keyword) {
    if (read.status == kSevereEndOfFile) {
      Add(Severity::kError,
          read.first,
          1,
          "the file ends before the " + std::string(keyword) + " line is complete",
          "the run stops with severe (24): end-of-file during read");
    } else {
      Add(Severity::kError,
          read.first,
          1,
          "a value of the " + std::string(keyword) + " line cannot be read: severe (" +
              std::to_string(read.status) + "): " + SevereErrorText(read.status),
          "numbers where numbers stand; quote names and texts");
    }
  }

  // `keyword` must stand first on the line `read` started on.
  bool KeywordThere(const Read& read,
                    const std::string& field,
                    std::string_view keyword,
                    std::string_view run_message) {
    if (TrimRight(field) == keyword) return true;
    Add(Severity::kError,
        read.first,
        1,
        "expected " + std::string(keyword) + " here; the run stops with \"" +
            std::string(run_message) + "\"",
        "the lines stand in a fixed order (manual, section 3.2); when the keyword is there, "
        "look at the line before it");
    return false;
  }

  // A word of a line that the run does not know: it is taken as "none of
  // these", which is no fault for the run.
  void UnknownWord(int line,
                   std::size_t index,
                   std::string_view what,
                   const std::vector<std::string>& known) {
    const Token token = TokenAt(line, index);
    const std::string closest = Closest(token.text, known);
    Add(Severity::kError,
        line,
        token.column,
        "unknown " + std::string(what) + " \"" + token.text + "\"",
        "did you mean " + closest + "? (known: " + Joined(known) + ")");
  }

  bool Known(const std::string& field, const std::vector<std::string>& known) {
    const std::string word(TrimRight(field));
    return word.empty() || std::find(known.begin(), known.end(), word) != known.end();
  }

  // A file name given unquoted with a slash: the list read ends the line at
  // the slash, so the name is cut there and the rest of the line is lost.
  bool UnquotedSlash(int line, std::size_t index) {
    const std::vector<Token> tokens = Tokens(LineText(line));
    int column = 0;
    if (index < tokens.size()) {
      if (tokens[index].quoted) return false;
      column = tokens[index].column;
    } else {
      // The slash came before the value: the name is empty.
      const std::string& text = LineText(line);
      const std::size_t slash = text.find('/');
      if (slash == std::string::npos) return false;
      column = static_cast<int>(slash) + 1;
      while (column > 1 && text[column - 2] != ' ' && text[column - 2] != ',') --column;
    }
    const std::string word = WordWithSlashes(LineText(line), column);
    if (word.find('/') == std::string::npos) return false;
    const std::string cut = word.substr(0, word.find('/'));
    Add(Severity::kError,
        line,
        column,
        "unquoted file name \"" + word + "\": the run reads " +
            (cut.empty() ? std::string("an empty name") : "\"" + cut + "\"") +
            " and nothing behind the slash",
        "put the path in quotes: '" + word + "'");
    return true;
  }

  void InputFileThere(int line,
                      std::size_t index,
                      const std::string& field,
                      std::string_view what) {
    const std::string name(Trim(field));
    if (IsExistingFile(name)) return;
    const Token token = TokenAt(line, index);
    std::error_code error;
    const std::filesystem::path here = std::filesystem::current_path(error);
    std::string hint = "names are taken relative to the working directory (" + here.string() + ")";
    if (!run_directory_.empty() && IsExistingFile(run_directory_ + name)) {
      hint = "it is there beside the command file: run from " + run_directory_;
    }
    Add(Severity::kError,
        line,
        token.column,
        std::string(what) + " \"" + name + "\" does not exist",
        hint);
  }

  // --- The lines in the run's order ------------------------------------------

  // Returns false when a fault ends the parse (as it ends the run).
  bool ParseLines() {
    // Comment lines.
    for (;;) {
      std::string first = Blank(1);
      const ListItem items[] = {TextItem(first, 1)};
      const Read read = ColumnRead(items);
      if (read.status != 0) {
        Add(Severity::kError,
            1,
            1,
            "the file holds no >TITLE: line",
            "the first line after the comments is \">TITLE: some words\"");
        return false;
      }
      if (first != "*") break;
    }
    source_.StepBack();
    {
      std::string keyword = Blank(7);
      options_.Title = Blank(kTitleWidth);
      const ListItem items[] = {TextItem(keyword, 7), TextItem(options_.Title, kTitleWidth)};
      const Read read = ColumnRead(items);
      UpcaseToken(keyword);
      if (!KeywordThere(read, keyword, ">TITLE:", "FATAL ERROR: Keyword  >TITLE:   missing")) {
        return false;
      }
    }
    // >DATA:
    {
      std::string keyword = Blank(6);
      options_.DataFile = Blank(kDataFileWidth);
      const ListItem items[] = {TextItem(keyword, 6),
                                TextItem(options_.DataFile, kDataFileWidth),
                                IntegerItem(options_.VariableCount),
                                IntegerItem(options_.SubjectCount)};
      const Read read = ListRead(items);
      data_line_ = read.first;
      UpcaseToken(keyword);
      if (!KeywordThere(read, keyword, ">DATA:", "FATAL ERROR: Keyword  >DATA:   missing")) {
        return false;
      }
      if (UnquotedSlash(read.first, 1)) return false;
      if (RanOn(read, ">DATA:", 3, "a value")) return false;
      if (read.status != 0) {
        ReadFault(read, ">DATA:");
        return false;
      }
    }
    // >ITEMS: or the line passed over.
    {
      std::string probe = Blank(7);
      const ListItem probe_items[] = {TextItem(probe, 7)};
      const Read read = ColumnRead(probe_items);
      UpcaseToken(probe);
      if (read.status != 0) {
        ReadFault(read, ">OUTFILE:");
        return false;
      }
      if (TrimRight(probe) == ">ITEMS:") {
        source_.StepBack();
        std::string keyword = Blank(7);
        options_.ItemFile = Blank(kItemFileWidth);
        const ListItem items[] = {TextItem(keyword, 7),
                                  TextItem(options_.ItemFile, kItemFileWidth)};
        const Read items_read = ListRead(items);
        if (UnquotedSlash(items_read.first, 1)) return false;
        if (items_read.status != 0) {
          ReadFault(items_read, ">ITEMS:");
          return false;
        }
        InputFileThere(items_read.first, 1, options_.ItemFile, "item text file");
      } else if (TrimRight(probe) == ">OUTFIL") {
        source_.StepBack();
      } else {
        Add(Severity::kWarning,
            read.first,
            1,
            "line " + std::to_string(read.first) + " is passed over unread",
            "the line after >DATA: is >ITEMS: or >OUTFILE:; any other line is dropped");
      }
    }
    // >OUTFILE:
    {
      std::string keyword = Blank(9);
      options_.OutFile = Blank(kOutFileWidth);
      std::string verbosity = Blank(kVerbosityWidth);
      const ListItem items[] = {TextItem(keyword, 9),
                                TextItem(options_.OutFile, kOutFileWidth),
                                TextItem(verbosity, kVerbosityWidth)};
      const Read read = ListRead(items);
      outfile_line_ = read.first;
      UpcaseToken(keyword);
      UpcaseToken(verbosity);
      if (!KeywordThere(read, keyword, ">OUTFILE:", "FATAL ERROR: Keyword  >OUTFILE:   missing")) {
        return false;
      }
      if (UnquotedSlash(read.first, 1)) return false;
      if (RanOn(read, ">OUTFILE:", 2, "the report's length")) return false;
      if (read.status != 0) {
        ReadFault(read, ">OUTFILE:");
        return false;
      }
      if (ParseVerbosity(verbosity) == Verbosity::kOther) {
        UnknownWord(read.first, 2, "report length", kVerbosityWords);
        return false;
      }
    }
    // >METRIC:
    {
      std::string keyword = Blank(8);
      std::string coding = Blank(kCodingWidth);
      std::string input_form = Blank(kInputFormWidth);
      std::string smoothing = Blank(kSmoothingWidth);
      const ListItem items[] = {TextItem(keyword, 8),
                                TextItem(coding, kCodingWidth),
                                TextItem(input_form, kInputFormWidth),
                                TextItem(smoothing, kSmoothingWidth)};
      const Read read = ListRead(items);
      UpcaseToken(keyword);
      UpcaseToken(coding);
      UpcaseToken(input_form);
      UpcaseToken(smoothing);
      if (!KeywordThere(read, keyword, ">METRIC:", "FATAL ERROR: Keyword  >METRIC:   missing")) {
        return false;
      }
      if (RanOn(read, ">METRIC:", 3, "a value")) return false;
      if (read.status != 0) {
        ReadFault(read, ">METRIC:");
        return false;
      }
      options_.Coding = ParseCoding(coding);
      options_.InputForm = ParseInputForm(input_form);
      options_.Smoothing = ParseSmoothing(smoothing);
      if (options_.Coding == Coding::kOther) {
        UnknownWord(read.first, 1, "coding", kCodingWords);
        return false;
      }
      if (options_.InputForm == InputForm::kOther) {
        UnknownWord(read.first, 2, "input form", kInputFormWords);
        return false;
      }
      if (!Known(smoothing, kSmoothingWords))
        UnknownWord(read.first, 3, "smoothing word", kSmoothingWords);
      if (options_.InputForm == InputForm::kCorrelations &&
          options_.Coding != Coding::kContinuous && options_.Coding != Coding::kDichotomous &&
          options_.Coding != Coding::kOrdered) {
        Add(Severity::kError,
            read.first,
            TokenAt(read.first, 1).column,
            "coding " + std::string(Trim(coding)) + " cannot be used with COR",
            "a given correlation matrix goes with CO, DI or OR");
        return false;
      }
    }
    if (options_.InputForm == InputForm::kCorrelatedPattern) {
      std::string keyword = Blank(5);
      options_.PhiFile = Blank(kPhiFileWidth);
      const ListItem items[] = {TextItem(keyword, 5), TextItem(options_.PhiFile, kPhiFileWidth)};
      const Read read = ListRead(items);
      UpcaseToken(keyword);
      if (!KeywordThere(read, keyword, ">PHI:", "FATAL ERROR: Keyword  >PHI:   missing"))
        return false;
      if (UnquotedSlash(read.first, 1)) return false;
      InputFileThere(read.first, 1, options_.PhiFile, "factor correlation file");
    }
    // The data file (or given matrix): where the run opens it, check asks
    // whether it is there; the run would create a missing raw data file.
    InputFileThere(data_line_,
                   1,
                   options_.DataFile,
                   options_.InputForm == InputForm::kRaw ? "data file" : "input file");
    data_found_ = IsExistingFile(std::string(Trim(options_.DataFile)));
    if (options_.Coding == Coding::kGuessing) {
      std::string first_word = Blank(8);
      options_.GuessFile = Blank(kGuessFileWidth);
      const ListItem items[] = {TextItem(first_word, 8),
                                TextItem(options_.GuessFile, kGuessFileWidth)};
      const Read read = ListRead(items);
      if (read.status != 0) {
        ReadFault(read, "guessing");
        return false;
      }
      if (UnquotedSlash(read.first, 1)) return false;
      InputFileThere(read.first, 1, options_.GuessFile, "guessing file");
    }
    // >MODEL:
    {
      std::string keyword = Blank(7);
      std::string model = Blank(kModelWidth);
      std::string label_mode = Blank(kLabelModeWidth);
      std::string sort_mode = Blank(kSortModeWidth);
      const ListItem items[] = {TextItem(keyword, 7),
                                TextItem(model, kModelWidth),
                                IntegerItem(options_.FactorCount),
                                TextItem(label_mode, kLabelModeWidth),
                                TextItem(sort_mode, kSortModeWidth)};
      const Read read = ListRead(items);
      UpcaseToken(keyword);
      UpcaseToken(model);
      UpcaseToken(label_mode);
      UpcaseToken(sort_mode);
      if (!KeywordThere(read, keyword, ">MODEL:", "FATAL ERROR: Keyword  >MODEL:   missing"))
        return false;
      if (RanOn(read, ">MODEL:", 4, "the sort word")) return false;
      if (read.status != 0) {
        ReadFault(read, ">MODEL:");
        return false;
      }
      model_line_ = read.first;
      options_.Model = ParseModel(model);
      options_.LabelMode = ParseLabelMode(label_mode);
      options_.SortMode = ParseSortMode(sort_mode);
      if (options_.Model == Model::kOther) UnknownWord(read.first, 1, "model", kModelWords);
      if (options_.LabelMode == LabelMode::kOther)
        UnknownWord(read.first, 3, "label word", kLabelWords);
      if (options_.SortMode == SortMode::kOther)
        UnknownWord(read.first, 4, "sort word", kSortWords);
      const bool given_pattern = IsGivenPattern(options_.InputForm);
      const bool rotate_given = options_.Model == Model::kRotate;
      const int model_column = TokenAt(read.first, 1).column;
      if (given_pattern && !rotate_given) {
        Add(Severity::kError,
            read.first,
            model_column,
            "input FLD1 or FLD2 requires model ROT",
            "");
        return false;
      }
      if (rotate_given && !given_pattern) {
        Add(Severity::kError,
            read.first,
            model_column,
            "model ROT requires input FLD1 or FLD2",
            "");
        return false;
      }
      if (options_.Model == Model::kTriplet && options_.InputForm != InputForm::kRaw) {
        Add(Severity::kError, read.first, model_column, "model TRP requires input RAW", "");
        return false;
      }
      const int p = options_.VariableCount;
      const int m = options_.FactorCount;
      const int m_column = TokenAt(read.first, 2).column;
      if (rotate_given && m < 1) {
        Add(Severity::kError, read.first, m_column, "model ROT requires at least one factor", "");
        return false;
      }
      const bool extracts = options_.Model == Model::kComponents ||
                            options_.Model == Model::kPrincipalFactors ||
                            options_.Model == Model::kOther;
      if (extracts && m < 1) {
        Add(Severity::kError, read.first, m_column, "the number of factors must be at least 1", "");
      } else if (extracts && p >= 1 && m > p) {
        Add(Severity::kError,
            read.first,
            m_column,
            std::to_string(m) + " factors of " + std::to_string(p) +
                " items: the run stops after the correlations (TERMINAL ERROR 5 from DEVESF)",
            "ask for fewer factors than items; the eigenvalues in the report show how many "
            "stand out");
      } else if (extracts && p >= 1 && m == p) {
        Add(Severity::kError,
            read.first,
            m_column,
            std::to_string(m) + " factors of " + std::to_string(p) +
                " items: the run often stops on rounding (ERROR 100)",
            "ask for fewer factors than items; the eigenvalues in the report show how many "
            "stand out");
      }
    }
    // >ROTATE:
    {
      std::string keyword = Blank(8);
      std::string rotation = Blank(kRotationWidth);
      const ListItem items[] = {TextItem(keyword, 8), TextItem(rotation, kRotationWidth)};
      const Read read = ListRead(items);
      UpcaseToken(keyword);
      UpcaseToken(rotation);
      if (!KeywordThere(read, keyword, ">ROTATE:", "FATAL ERROR: Keyword >ROTATE:    missing")) {
        return false;
      }
      if (RanOn(read, ">ROTATE:", 1, "the rotation")) return false;
      if (read.status != 0) {
        ReadFault(read, ">ROTATE:");
        return false;
      }
      options_.Rotation = ParseRotation(rotation);
      if (options_.Rotation == Rotation::kOther) {
        UnknownWord(read.first, 1, "rotation", kRotationWords);
      } else if (options_.Rotation == Rotation::kOblimin ||
                 options_.Rotation == Rotation::kPromax ||
                 options_.Rotation == Rotation::kHarrisKaiser) {
        source_.StepBack();
        std::string again_keyword = Blank(8);
        std::string again_word = Blank(kRotationWidth);
        double real = 0.0;
        int power = 0;
        const bool promax = options_.Rotation == Rotation::kPromax;
        const ListItem again[] = {TextItem(again_keyword, 8),
                                  TextItem(again_word, kRotationWidth),
                                  promax ? IntegerItem(power) : RealItem(real)};
        const Read second = ListRead(again);
        const int column = TokenAt(read.first, 2).column;
        if (promax && (second.status != 0 || second.last != second.first)) {
          Add(Severity::kError,
              read.first,
              column,
              "PROMAX needs its power on the same line",
              "the run stops with \"FATAL ERROR: Promax requires a power\"; write PROMAX 4");
          return false;
        }
        if (RanOn(second, ">ROTATE:", 2, "the rotation's parameter")) return false;
        if (second.status != 0) {
          ReadFault(second, ">ROTATE:");
          return false;
        }
        if (options_.Rotation == Rotation::kOblimin && real > 0.0) {
          Add(Severity::kError,
              read.first,
              column,
              "the Oblimin delta must be at most 0",
              "OBLIMIN 0 is direct quartimin; negative values make the factors less oblique");
          return false;
        }
      }
      if (options_.SortMode == SortMode::kSort && options_.Rotation == Rotation::kNone) {
        Add(Severity::kWarning,
            model_line_,
            TokenAt(model_line_, 4).column,
            "SORT has no effect: the run does not sort unrotated solutions",
            "write NOSORT");
      }
    }
    // >SCORE:
    {
      std::string keyword = Blank(7);
      std::string method = Blank(kScoreMethodWidth);
      const ListItem items[] = {TextItem(keyword, 7), TextItem(method, kScoreMethodWidth)};
      const Read read = ListRead(items);
      UpcaseToken(keyword);
      UpcaseToken(method);
      if (!KeywordThere(read, keyword, ">SCORE:", "FATAL ERROR: Keyword >SCORE:    missing"))
        return false;
      if (RanOn(read, ">SCORE:", 1, "the score method")) return false;
      if (read.status != 0) {
        ReadFault(read, ">SCORE:");
        return false;
      }
      options_.ScoreMethod = ParseScoreMethod(method);
      const Token token = TokenAt(read.first, 1);
      if (options_.ScoreMethod == ScoreMethod::kOther) {
        UnknownWord(read.first, 1, "score method", kScoreWords);
      } else if ((options_.ScoreMethod == ScoreMethod::kRegression ||
                  options_.ScoreMethod == ScoreMethod::kBartlett) &&
                 options_.Coding != Coding::kContinuous && options_.Coding != Coding::kIpsatized) {
        Add(Severity::kWarning,
            read.first,
            token.column,
            "score method " + std::string(TrimRight(method)) + " has no effect under coding " +
                kCodingWords[static_cast<int>(options_.Coding)] + ": no factor scores are computed",
            "factor scores need continuous scores (CO or IP); write NOSCORE");
      } else if ((options_.ScoreMethod == ScoreMethod::kRegression ||
                  options_.ScoreMethod == ScoreMethod::kBartlett) &&
                 options_.InputForm != InputForm::kRaw) {
        Add(Severity::kWarning,
            read.first,
            token.column,
            "score method " + std::string(TrimRight(method)) +
                " has no effect without raw data: no factor scores are computed",
            "write NOSCORE");
      }
      if (options_.InputForm == InputForm::kCorrelations)
        options_.ScoreMethod = ScoreMethod::kNoScore;
    }
    // >PLOT:
    {
      std::string keyword = Blank(6);
      std::string plot_mode = Blank(kPlotModeWidth);
      const ListItem items[] = {TextItem(keyword, 6), TextItem(plot_mode, kPlotModeWidth)};
      const Read read = ListRead(items);
      UpcaseToken(keyword);
      UpcaseToken(plot_mode);
      if (!KeywordThere(read, keyword, ">PLOT:", "FATAL ERROR: Keyword >PLOT:    missing"))
        return false;
      if (RanOn(read, ">PLOT:", 1, "the plot word")) return false;
      if (read.status != 0) {
        ReadFault(read, ">PLOT:");
        return false;
      }
      if (!Known(plot_mode, kPlotWords)) UnknownWord(read.first, 1, "plot word", kPlotWords);
      if (ParsePlotMode(plot_mode) == PlotMode::kAll &&
          options_.ScoreMethod == ScoreMethod::kNoScore) {
        Add(Severity::kError,
            read.first,
            TokenAt(read.first, 1).column,
            "plots of factor scores without factor scores",
            "the run stops with \"FATAL ERROR: You have requested factor score plots\"");
        return false;
      }
    }
    // >TECHNICAL: (optional)
    {
      std::string probe = Blank(11);
      const ListItem probe_items[] = {TextItem(probe, 11)};
      const Read probe_read = ListRead(probe_items);
      UpcaseToken(probe);
      source_.StepBack();
      if (probe_read.status == 0 && TrimRight(probe) == ">TECHNICAL:") {
        std::string keyword = Blank(11);
        std::string random_start = "T";
        std::string initial = "ONE";
        std::string save = "F";
        double real = 0.0;
        int integer = 0;
        double real2 = 0.0, real3 = 0.0;
        int integer2 = 0, integer3 = 0;
        const ListItem items[] = {TextItem(keyword, 11),
                                  RealItem(real),
                                  IntegerItem(integer),
                                  RealItem(real2),
                                  IntegerItem(integer2),
                                  TextItem(random_start, kRandomStartWidth),
                                  RealItem(real3),
                                  TextItem(initial, kInitialCommunalityWidth),
                                  IntegerItem(integer3),
                                  TextItem(save, kSaveResultsWidth)};
        const Read read = ListRead(items);
        const int given = static_cast<int>(Tokens(LineText(read.first)).size()) - 1;
        static const char* const kTechnicalValues[] = {"the communality epsilon",
                                                       "the communality iterations",
                                                       "the rotation epsilon",
                                                       "the rotation iterations",
                                                       "the random start (T or F)",
                                                       "the hyperplane width",
                                                       "the initial communality",
                                                       "the page width",
                                                       "the save word (T or F)"};
        const std::string what =
            given >= 0 && given < 9
                ? std::string("value ") + std::to_string(given + 1) + ", " + kTechnicalValues[given]
                : std::string("a value");
        if (RanOn(read, ">TECHNICAL:", 9, what)) return false;
        if (read.status != 0) {
          ReadFault(read, ">TECHNICAL:");
          return false;
        }
        UpcaseToken(random_start);
        UpcaseToken(initial);
        UpcaseToken(save);
        if (!Known(random_start, kRandomStartWords))
          UnknownWord(read.first, 5, "random start", kRandomStartWords);
        if (!Known(initial, kCommunalityWords))
          UnknownWord(read.first, 7, "initial communality", kCommunalityWords);
        if (!Known(save, kRandomStartWords))
          UnknownWord(read.first, 9, "save word", kRandomStartWords);
        options_.SaveResults = TrimRight(save) == "T";
      }
    }
    if (options_.SaveResults) {
      std::string probe = Blank(8);
      const ListItem probe_items[] = {TextItem(probe, 8)};
      const Read probe_read = ListRead(probe_items);
      UpcaseToken(probe);
      if (probe_read.status != 0 || TrimRight(probe) != ">OUTPUT:") {
        KeywordThere(probe_read, probe, ">OUTPUT:", "FATAL ERROR: Keyword >OUTPUT: missing");
        return false;
      }
      source_.StepBack();
      std::string keyword = Blank(8);
      double count = 0.0;
      const ListItem head[] = {TextItem(keyword, 8), RealItem(count)};
      const Read head_read = ListRead(head);
      if (head_read.status != 0) {
        ReadFault(head_read, ">OUTPUT:");
        return false;
      }
      if (!(count < kSaveCodeCount + 1.0)) {
        Add(Severity::kError,
            head_read.first,
            TokenAt(head_read.first, 1).column,
            "at most 7 codes fit on the >OUTPUT: line",
            "");
        return false;
      }
      const int code_count = count > 0.0 ? static_cast<int>(count) : 0;
      std::vector<std::string> codes(static_cast<std::size_t>(code_count), Blank(kSaveCodeWidth));
      std::vector<ListItem> items = {TextItem(keyword, 8), RealItem(count)};
      for (std::string& code : codes) items.push_back(TextItem(code, kSaveCodeWidth));
      source_.StepBack();
      const Read read = ListRead(items);
      if (RanOn(read, ">OUTPUT:", code_count + 1, "a code")) return false;
      if (read.status != 0) {
        ReadFault(read, ">OUTPUT:");
        return false;
      }
      for (std::size_t i = 0; i < codes.size(); ++i) {
        UpcaseToken(codes[i]);
        if (ParseSaveCode(codes[i]) == SaveCode::kOther) {
          UnknownWord(read.first, i + 2, "saved-file code", kSaveCodeWords);
        }
      }
      const int given = static_cast<int>(Tokens(LineText(read.first)).size()) - 2;
      if (given > code_count) {
        Add(Severity::kWarning,
            read.first,
            TokenAt(read.first, code_count + 2).column,
            "the count says " + std::to_string(code_count) + " codes; the " +
                Plural(given - code_count, "code", "codes") + " behind them are not read",
            "make the count the number of codes");
      }
    }
    // >FORMAT:
    {
      std::string keyword = Blank(8);
      options_.RecordFormat = Blank(kRecordFormatWidth);
      const ListItem items[] = {TextItem(keyword, 8),
                                TextItem(options_.RecordFormat, kRecordFormatWidth)};
      const Read read = ColumnRead(items);
      UpcaseToken(keyword);
      if (read.status != 0) {
        ReadFault(read, ">FORMAT:");
        return false;
      }
      if (!KeywordThere(read, keyword, ">FORMAT:", "FATAL ERROR: Keyword  >FORMAT:   missing"))
        return false;
      format_line_ = read.first;
      if (options_.InputForm == InputForm::kRaw) {
        std::string rest;
        format_ = CompileFormat(options_.RecordFormat, &rest);
        if (!format_) {
          const std::string& text = LineText(read.first);
          const std::string near(TrimRight(rest));
          const std::size_t at = near.empty() ? std::string::npos : text.rfind(near);
          Add(Severity::kError,
              read.first,
              at == std::string::npos ? static_cast<int>(TrimRight(text).size()) + 1
                                      : static_cast<int>(at) + 1,
              near.empty() ? std::string("the format ends before its closing parenthesis")
                           : "format syntax error at or near " + near,
              "the run stops with severe (62); a record format such as (F5.0,25F1.0) reads "
              "the id, then the items");
        }
      }
    }
    // >LABELS:
    if (options_.LabelMode == LabelMode::kLabels) {
      std::string probe = Blank(8);
      const ListItem probe_items[] = {TextItem(probe, 8)};
      const Read probe_read = ListRead(probe_items);
      UpcaseToken(probe);
      if (probe_read.status != 0 || TrimRight(probe) != ">LABELS:") {
        Add(Severity::kError,
            probe_read.first,
            1,
            "expected >LABELS: here; the run stops with \"FATAL ERROR: Keyword  >LABELS:   "
            "missing\"",
            "LABELS on >MODEL: asks for a >LABELS: line after >FORMAT:; or write NOLABELS");
        return false;
      }
      source_.StepBack();
      const int p = std::max(options_.VariableCount, 0);
      std::vector<std::string> labels(static_cast<std::size_t>(p), Blank(kLabelWidth));
      std::string keyword = Blank(8);
      std::vector<ListItem> items = {TextItem(keyword, 8)};
      for (std::string& label : labels) items.push_back(TextItem(label, kLabelWidth));
      const Read read = ListRead(items);
      if (read.status == kSevereEndOfFile) {
        Add(Severity::kError,
            read.first,
            1,
            "the file ends before the " + std::to_string(p) + " labels are complete",
            "give one label for every item, or write NOLABELS on >MODEL:");
      } else if (read.status != 0) {
        ReadFault(read, ">LABELS:");
      }
    }
    return true;
  }

  // --- Counts, names, the report ----------------------------------------------

  void CheckNamesAndCounts() {
    const Token p_token = TokenAt(data_line_, 2);
    if (options_.VariableCount < 1) {
      Add(Severity::kError,
          data_line_,
          p_token.column,
          "the number of variables must be at least 1",
          ">DATA: 'file' p N: the data file, the number of items, the number of subjects");
    }
    if (options_.InputForm == InputForm::kRaw && options_.SubjectCount < 1) {
      Add(Severity::kError,
          data_line_,
          TokenAt(data_line_, 3).column,
          "the number of subjects must be at least 1",
          ">DATA: 'file' p N: the data file, the number of items, the number of subjects");
    }
    // Saved files are named from the first 15 characters of the command
    // file's name: a long stem cuts their extensions until names meet.
    const bool saves =
        options_.SaveResults ||
        ((options_.ScoreMethod == ScoreMethod::kRegression ||
          options_.ScoreMethod == ScoreMethod::kBartlett) &&
         (options_.Coding == Coding::kContinuous || options_.Coding == Coding::kIpsatized));
    if (saves) {
      std::map<std::string, std::vector<std::string>> by_name;
      for (const char* extension : kSavedExtensions) {
        by_name[BuildResultName(run_stem_, extension)].push_back(extension);
      }
      std::string shared;
      for (const auto& [name, extensions] : by_name) {
        if (extensions.size() < 2) continue;
        std::string list;
        for (const std::string& extension : extensions)
          list += (list.empty() ? "" : " ") + extension;
        shared += (shared.empty() ? "" : "; ") + name + " (" + list + ")";
      }
      if (!shared.empty()) {
        const std::string file_name = std::filesystem::path(path_).filename().string();
        const std::string stem = file_name.substr(0, file_name.rfind('.'));
        Add(Severity::kWarning,
            1,
            1,
            "saved files share names and write over each other: " + shared,
            "the command file's stem \"" + stem + "\" has " + std::to_string(stem.size()) +
                " characters; keep it at most 11");
      }
    }
    // A report that exists and is named for another command file is most
    // likely the report of the file this one was copied from.
    const std::string report(Trim(options_.OutFile));
    if (!report.empty() && std::filesystem::exists(report)) {
      const std::string report_stem = std::filesystem::path(report).stem().string();
      const std::string own_stem = std::filesystem::path(path_).stem().string();
      if (report_stem != own_stem) {
        Add(Severity::kWarning,
            outfile_line_,
            TokenAt(outfile_line_, 1).column,
            "the report \"" + report + "\" exists and will be written over",
            "a copied command file needs its own >OUTFILE: name, such as '" + own_stem + ".out'");
      }
    }
  }

  // --- The data file --------------------------------------------------------------

  void CheckData() {
    if (options_.InputForm != InputForm::kRaw || !data_found_ || !format_) return;
    const int p = options_.VariableCount;
    const long long n = options_.SubjectCount;
    if (p < 1 || n < 1) return;
    const std::string data_name(Trim(options_.DataFile));
    const int format_column = TokenAt(format_line_, 1).column;
    const std::size_t values = static_cast<std::size_t>(p) + 1;

    // How many values one record gives: a format with fewer fields than the
    // id and p items starts again on the next record.
    int records_per_subject = 1;
    RecordLayoutPtr layout = LayOutRecord(*format_, values);
    const bool has_slash = std::string(options_.RecordFormat).find('/') != std::string::npos;
    if (!layout && !has_slash) {
      int fits = 0;
      for (int k = p; k >= 1; --k) {
        if (LayOutRecord(*format_, static_cast<std::size_t>(k))) {
          fits = k;
          break;
        }
      }
      if (fits > 0) {
        records_per_subject = static_cast<int>((values + fits - 1) / fits);
        Add(Severity::kError,
            format_line_,
            format_column,
            "the format reads " + std::to_string(fits) + " values from a record, the run reads " +
                std::to_string(values) + " per subject (the subject id, then " +
                Plural(p, "item", "items") + "): each subject takes " +
                std::to_string(records_per_subject) + " records",
            "give the id a field of its own: (Fw.0," + std::to_string(p) +
                "F1.0) for an id of w columns and items of one column");
      }
    }

    RecordSource data;
    if (!data.OpenOld(kRawDataUnit, data_name)) {
      Add(Severity::kError,
          data_line_,
          TokenAt(data_line_, 1).column,
          "the data file \"" + data_name + "\" cannot be read",
          "");
      return;
    }
    // The widths of the first records, and the columns the format reads.
    std::vector<std::string> sample;
    bool commas = false;
    std::size_t width = 0;
    {
      std::string record;
      const int limit = settings_.sample_records > 0 ? settings_.sample_records : 1 << 30;
      while (static_cast<int>(sample.size()) < limit && data.NextRecord(record)) {
        if (record.find(',') != std::string::npos) commas = true;
        width = std::max(width, TrimRight(record).size());
        sample.push_back(record);
      }
      data.Rewind();
    }
    const std::size_t faults_before = result_.diagnostics.size();
    if (layout && !commas && width > 0 && !sample.empty()) CheckWidths(*layout, values, width);
    // Scores read through a format out of step say nothing of their own.
    const bool format_fits =
        records_per_subject == 1 && result_.diagnostics.size() == faults_before;

    // The first records through the format, as the run reads them.
    const int limit = settings_.sample_records > 0 ? settings_.sample_records : 1 << 30;
    const long long subjects = std::min<long long>(n, limit);
    std::vector<double> items(values);
    std::vector<std::map<double, long long>> counts(static_cast<std::size_t>(p));
    std::vector<double> first_item;
    long long read_subjects = 0;
    int record_number = 1;
    for (long long s = 0; s < subjects; ++s) {
      const int status = TryReadRecord(data, *format_, items);
      if (status != 0) {
        if (status != kSevereEndOfFile) {
          AddIn(data_name,
                Severity::kError,
                record_number,
                1,
                "record " + std::to_string(record_number) +
                    " cannot be read by the format: severe (" + std::to_string(status) +
                    "): " + SevereErrorText(status),
                "the format on line " + std::to_string(format_line_) +
                    " reads the subject id and then the items, in the columns where they stand");
        }
        break;
      }
      ++read_subjects;
      record_number += records_per_subject;
      for (int j = 0; j < p; ++j) {
        auto& count = counts[static_cast<std::size_t>(j)];
        if (count.size() <= 64) ++count[items[static_cast<std::size_t>(j) + 1]];
      }
      first_item.push_back(items[1]);
    }
    if (format_fits) CheckItems(counts, first_item, read_subjects, n);

    // Records against the subject count, to the end of the file.
    const long long records = CountRecords(data_name);
    const long long needed = n * records_per_subject;
    if (records >= 0 && records < needed) {
      Add(Severity::kError,
          data_line_,
          TokenAt(data_line_, 3).column,
          "the data file has " + Plural(records, "record", "records") + ", the run reads " +
              std::to_string(needed) + " (" + std::to_string(n) + " subjects" +
              (records_per_subject > 1
                   ? ", " + std::to_string(records_per_subject) + " records each"
                   : std::string()) +
              ")",
          "the run stops with severe (24): end-of-file during read; give the number of subjects "
          "the file holds");
    } else if (records > needed && records_per_subject == 1) {
      Add(Severity::kWarning,
          data_line_,
          TokenAt(data_line_, 3).column,
          "the data file has " + Plural(records, "record", "records") +
              "; the run reads the first " + std::to_string(n),
          "give the number of subjects the file holds");
    }
  }

  // The last column the format reads of one record, found by spoiling one
  // column of a record of digits at a time.
  void CheckWidths(const RecordLayout& layout, std::size_t values, std::size_t width) {
    const std::size_t length = width + 256;
    std::string probe(length, '1');
    std::vector<double> items(values);
    std::size_t last_read = 0;
    for (std::size_t c = 0; c < length; ++c) {
      probe[c] = 'x';
      if (ConvertRecord(layout, probe, items) != 0) last_read = c + 1;
      probe[c] = '1';
    }
    if (last_read == 0) return;
    const int column = TokenAt(format_line_, 1).column;
    if (last_read > width) {
      Add(Severity::kError,
          format_line_,
          column,
          "records are " + std::to_string(width) + " columns wide, the format reads " +
              std::to_string(last_read),
          "blank columns are read as scores of 0; count the columns of the id and the items");
    } else if (last_read < width) {
      Add(Severity::kError,
          format_line_,
          column,
          "records are " + std::to_string(width) + " columns wide, the format reads " +
              std::to_string(last_read),
          "columns " + std::to_string(last_read + 1) + "-" + std::to_string(width) +
              " are never read: is the id field as wide as the id (" +
              std::to_string(width - static_cast<std::size_t>(options_.VariableCount)) +
              " columns before one-column items)?");
    }
  }

  void CheckItems(const std::vector<std::map<double, long long>>& counts,
                  const std::vector<double>& first_item,
                  long long read,
                  long long n) {
    if (read == 0) return;
    const int p = static_cast<int>(counts.size());
    const int column = TokenAt(format_line_, 1).column;
    const bool whole = read >= n;
    const std::string among = whole ? "" : " in the first " + Plural(read, "record", "records");
    // An item whose values rise from record to record is an id read as an item.
    bool rising = first_item.size() >= 10;
    for (std::size_t i = 1; i < first_item.size() && rising; ++i) {
      rising = first_item[i] > first_item[i - 1];
    }
    const std::string id_hint =
        "is it the subject id? the format reads the id first, then the items";
    if (rising) {
      Add(Severity::kError,
          format_line_,
          column,
          "item 1 takes " + std::to_string(first_item.size()) + " distinct values" + among +
              ", rising record by record",
          id_hint);
    }
    std::vector<double> entropy(static_cast<std::size_t>(p), 0.0);
    for (int j = 0; j < p; ++j) {
      const auto& count = counts[static_cast<std::size_t>(j)];
      const std::size_t k = count.size();
      if (k == 1) {
        Add(whole ? Severity::kError : Severity::kWarning,
            format_line_,
            column,
            "item " + std::to_string(j + 1) + " has the score " + FormatG(count.begin()->first) +
                " for every subject" + among,
            "an item without variance has no correlations; leave it out");
      }
      if (options_.Coding == Coding::kOrdered && k > static_cast<std::size_t>(kMaxCategories) &&
          !(rising && j == 0)) {
        Add(Severity::kError,
            format_line_,
            column,
            "item " + std::to_string(j + 1) + " takes " +
                (k > 64 ? "more than 64" : std::to_string(k)) + " distinct values" + among +
                "; the run stops on more than 14 categories of an ordered item",
            "OR is for items of 2 to 14 categories; use CO for scores");
      }
      if (options_.Coding == Coding::kDichotomous && k > 2) {
        Add(Severity::kError,
            format_line_,
            column,
            "item " + std::to_string(j + 1) + " takes " + std::to_string(k) + " distinct values" +
                among + "; DI items take two",
            j == 0 && rising ? id_hint : "use OR for ordered items, CO for scores");
      }
      for (const auto& [value, number] : count) {
        const double share = static_cast<double>(number) / static_cast<double>(read);
        entropy[static_cast<std::size_t>(j)] -= share * std::log(share);
      }
    }
    // At r = 0 a pair's log likelihood is -N (H_i + H_j); below the floor the
    // polychoric search leaves the pair at 0 without a word.
    if (options_.Coding == Coding::kOrdered && p >= 2) {
      std::vector<int> order(static_cast<std::size_t>(p));
      for (int j = 0; j < p; ++j) order[static_cast<std::size_t>(j)] = j;
      std::sort(order.begin(), order.end(), [&](int a, int b) {
        return entropy[static_cast<std::size_t>(a)] > entropy[static_cast<std::size_t>(b)];
      });
      const int a = std::min(order[0], order[1]);
      const int b = std::max(order[0], order[1]);
      const double sum = static_cast<double>(n) * (entropy[static_cast<std::size_t>(a)] +
                                                   entropy[static_cast<std::size_t>(b)]);
      if (sum > kLikelihoodFloor) {
        char value[32];
        std::snprintf(value, sizeof value, "%.0f", sum);
        Add(Severity::kWarning,
            data_line_,
            TokenAt(data_line_, 3).column,
            "with " + std::to_string(n) +
                " subjects the log likelihood of a pair can fall below "
                "-999999 (items " +
                std::to_string(a + 1) + " and " + std::to_string(b + 1) + " of " +
                std::to_string(counts[static_cast<std::size_t>(a)].size()) + " and " +
                std::to_string(counts[static_cast<std::size_t>(b)].size()) + " categories: N(H" +
                std::to_string(a + 1) + "+H" + std::to_string(b + 1) + ") = " + value + ")",
            "the polychoric search then leaves the pair's correlation at 0 without a warning; "
            "analyse a sample of the subjects");
      }
    }
  }

  static std::string FormatG(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%g", value);
    return text;
  }

  std::string path_;
  CheckSettings settings_;
  CheckResult result_;
  RecordSource source_;
  long long size_ = 0;
  std::vector<long long> line_starts_;
  std::vector<std::string> lines_;
  std::string run_stem_;
  std::string run_directory_;
  RunOptions options_;
  CompiledFormatPtr format_;
  bool data_found_ = false;
  int data_line_ = 0;
  int outfile_line_ = 0;
  int model_line_ = 0;
  int format_line_ = 0;
};

}  // namespace

bool CheckResult::HasErrors() const {
  return std::any_of(diagnostics.begin(), diagnostics.end(), [](const Diagnostic& d) {
    return d.severity == Severity::kError;
  });
}

int CheckResult::ExitStatus() const {
  if (HasErrors()) return 2;
  return diagnostics.empty() ? 0 : 1;
}

CheckResult CheckCommandFile(const std::string& path, const CheckSettings& settings) {
  return Checker(path, settings).Run();
}

std::string FormatDiagnostics(const std::vector<Diagnostic>& diagnostics) {
  std::string text;
  for (const Diagnostic& d : diagnostics) {
    text += d.file + ":" + std::to_string(d.line) + ":" + std::to_string(d.column) + ": " +
            (d.severity == Severity::kError ? "error: " : "warning: ") + d.message + "\n";
    if (!d.hint.empty()) text += "  hint: " + d.hint + "\n";
  }
  return text;
}

int EditDistance(std::string_view a, std::string_view b) {
  const std::size_t rows = a.size() + 1;
  const std::size_t columns = b.size() + 1;
  std::vector<int> d(rows * columns);
  auto at = [&](std::size_t i, std::size_t j) -> int& { return d[i * columns + j]; };
  for (std::size_t i = 0; i < rows; ++i) at(i, 0) = static_cast<int>(i);
  for (std::size_t j = 0; j < columns; ++j) at(0, j) = static_cast<int>(j);
  for (std::size_t i = 1; i < rows; ++i) {
    for (std::size_t j = 1; j < columns; ++j) {
      const int cost = a[i - 1] == b[j - 1] ? 0 : 1;
      at(i, j) = std::min({at(i - 1, j) + 1, at(i, j - 1) + 1, at(i - 1, j - 1) + cost});
      // Two letters swapped (PAF for PFA) count as one slip.
      if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1]) {
        at(i, j) = std::min(at(i, j), at(i - 2, j - 2) + 1);
      }
    }
  }
  return at(a.size(), b.size());
}

int RunCheck(int argc, char** argv) {
  CheckSettings settings;
  std::string path;
  for (int i = 0; i < argc; ++i) {
    const std::string_view arg = argv[i];
    if (arg == "--help") {
      std::fputs(
          "usage: velquorin check [--all] command-file.in\n"
          "\n"
          "Looks the command file over as the run would read it, and the first 200\n"
          "records of its data file through the record format, without computing\n"
          "or writing anything. Status 0: nothing found; 1: warnings; 2: errors.\n"
          "\n"
          "  --all   read every record of the data file through the format\n",
          stdout);
      return 0;
    }
    if (arg == "--all") {
      settings.sample_records = 0;
      continue;
    }
    if (arg.size() > 1 && arg[0] == '-') {
      std::fprintf(stderr, "velquorin check: unknown option %s\n", argv[i]);
      return 2;
    }
    if (!path.empty()) {
      std::fprintf(stderr, "velquorin check: only one command file can be given\n");
      return 2;
    }
    path = std::string(arg);
  }
  if (path.empty()) {
    std::fprintf(stderr, "usage: velquorin check [--all] command-file.in\n");
    return 2;
  }
  const CheckResult result = CheckCommandFile(path, settings);
  if (result.diagnostics.empty()) {
    std::printf("%s: no faults found\n", path.c_str());
  } else {
    std::fputs(FormatDiagnostics(result.diagnostics).c_str(), stdout);
  }
  std::fflush(stdout);
  return result.ExitStatus();
}

}  // namespace vq
