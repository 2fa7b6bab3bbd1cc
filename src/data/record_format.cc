// Record formats: a format text is compiled into a flat list of operations,
// and one read statement runs that list over one or more records.
//
// Groups are kept as a start and an end operation that point at each other.
// A group that holds neither a data field nor a record advance only moves the
// column and sets modes; running it once and then moving the column as the
// remaining passes would keeps formats such as (999999999(999999999(1X)),F1.0)
// from taking forever. Column moves of such groups are folded at compile time
// into one map "column -> max(low, column + shift)" or "column -> value".
#include <algorithm>
#include <array>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include "data/field_conversion.h"
#include "data/record_reader.h"
#include "frame/console.h"

namespace vq {
namespace {

// Groups inside the outer parentheses of a format nest at most this deep.
constexpr int kMaxGroupDepth = 8;

// A real field written without a width is wide enough for any double.
constexpr int kDefaultRealWidth = 25;
constexpr int kDefaultRealDecimals = 16;
// Widths of integer and logical fields written without one: enough for an
// eight-byte value in each radix.
constexpr int kDefaultIntegerWidth = 23;
constexpr int kDefaultOctalWidth = 23;
constexpr int kDefaultHexWidth = 17;
constexpr int kDefaultBinaryWidth = 65;
constexpr int kDefaultLogicalWidth = 2;

// Every item of a record read is a double: an A field fills its 8 bytes.
constexpr long long kItemLength = static_cast<long long>(sizeof(double));

// Columns are counted in 64 bits and held within +-kFar, far beyond any
// record that fits in memory, so that no sum or product of counts overflows.
constexpr long long kFar = 1LL << 60;

long long Clamp(__int128 value) {
  if (value > kFar) return kFar;
  if (value < -kFar) return -kFar;
  return static_cast<long long>(value);
}
long long SaturatedAdd(long long a, long long b) { return Clamp(static_cast<__int128>(a) + b); }
long long SaturatedMultiply(long long a, long long b) {
  return Clamp(static_cast<__int128>(a) * b);
}

// The column move of a stretch of operations (0-based columns):
// column -> value when `constant`, else column -> max(low, column + shift).
struct PositionMap {
  bool constant = false;
  long long value = 0;
  long long low = 0;
  long long shift = 0;
};

long long Apply(const PositionMap& map, long long column) {
  if (map.constant) return map.value;
  return std::max(map.low, SaturatedAdd(column, map.shift));
}

// `second` applied after `first`.
PositionMap Then(const PositionMap& first, const PositionMap& second) {
  if (second.constant) return second;
  PositionMap result;
  if (first.constant) {
    result.constant = true;
    result.value = Apply(second, first.value);
    return result;
  }
  result.low = std::max(second.low, SaturatedAdd(first.low, second.shift));
  result.shift = SaturatedAdd(first.shift, second.shift);
  return result;
}

// `map` applied `passes` times (passes >= 1).
PositionMap Power(const PositionMap& map, long long passes) {
  if (map.constant || passes <= 1) return map;
  PositionMap result;
  result.shift = SaturatedMultiply(map.shift, passes);
  result.low =
      map.shift >= 0 ? SaturatedAdd(map.low, SaturatedMultiply(passes - 1, map.shift)) : map.low;
  return result;
}

enum class FormatOpKind : unsigned char {
  // Data fields: each takes one item.
  kReal,
  kText,
  kInteger,
  kOctal,
  kHex,
  kBinary,
  kLogical,
  kCharsLeft,
  // Column moves: literals are skips of their length.
  kSkip,
  kBack,
  kTab,
  // Control.
  kNextRecord,
  kColon,
  kBlankNull,
  kBlankZero,
  kScale,
  kGroupStart,
  kGroupEnd,
  kFormatEnd,
};

struct FormatOp {
  FormatOpKind kind = FormatOpKind::kFormatEnd;
  // Repeat count of fields, slashes and groups; n of column moves; k of kP.
  long long count = 1;
  int width = 0;
  int decimals = 0;
  int partner = -1;     // group start <-> group end
  bool simple = false;  // group start: no data field and no record advance
  PositionMap map;      // group start of a simple group: one pass
};

}  // namespace

struct CompiledFormat {
  std::vector<FormatOp> ops;
  // Where format control goes on when the format ends with items left: the
  // start of the last group at the outermost level, or the first operation.
  int reversion = 0;
};

namespace {

// Where one item's field lies in a record without commas, and the modes in
// force when it is read.
struct PlannedField {
  const FormatOp* op;
  long long column;
  bool blank_zero;
  int scale;
  // For a real field: where it ends, and the power of ten of its digits
  // (minus the scale factor and the implied decimals).
  bool real = false;
  long long end = 0;
  long long exponent10 = 0;
};

// What a statement run without a source returns when it needs another record.
constexpr int kNeedsRecord = -1;

}  // namespace

struct RecordLayout {
  const CompiledFormat* format = nullptr;
  std::vector<PlannedField> fields;
};

void FormatDeleter::operator()(CompiledFormat* format) const { delete format; }

namespace {

bool IsDataField(FormatOpKind kind) { return kind <= FormatOpKind::kCharsLeft; }

char Upper(char c) { return (c >= 'a' && c <= 'z') ? static_cast<char>(c - 'a' + 'A') : c; }

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

bool IsDataLetter(char c) { return std::strchr("FEDGAIOZBLQ", c) != nullptr && c != '\0'; }

// The compiler walks the text once; `failed_at` is the first wrong character
// (the length of the text when the text ends too early).
struct FormatCompiler {
  std::string_view text;
  std::size_t at = 0;
  std::vector<FormatOp> ops;
  std::vector<int> open_groups;
  int last_outer_group = -1;
  bool failed = false;
  std::size_t failed_at = 0;

  bool AtEnd() const { return at >= text.size(); }
  char Here() const { return AtEnd() ? '\0' : Upper(text[at]); }
  char After(std::size_t offset) const {
    return at + offset < text.size() ? Upper(text[at + offset]) : '\0';
  }
  void SkipBlanks() {
    while (!AtEnd() && (text[at] == ' ' || text[at] == '\t')) ++at;
  }
  bool Fail(std::size_t where) {
    if (!failed) {
      failed = true;
      failed_at = std::min(where, text.size());
    }
    return false;
  }
  void Emit(FormatOpKind kind, long long count = 1) {
    FormatOp op;
    op.kind = kind;
    op.count = count;
    ops.push_back(op);
  }

  // Digits standing right here (no blanks inside a number). False, with
  // nothing taken, when there is no digit; a failure when it overflows.
  bool Number(long long& value) {
    if (!IsDigit(Here())) return false;
    const std::size_t start = at;
    value = 0;
    while (IsDigit(Here())) {
      value = value * 10 + (text[at] - '0');
      if (value > std::numeric_limits<int>::max()) return Fail(start);
      ++at;
    }
    return true;
  }

  // The width of a data field standing right here: false, with nothing
  // taken, when there is none. A width of 0 is a failure: a field must read
  // at least one column on input, and one of none would quietly give 0.
  bool FieldWidth(long long& width) {
    const std::size_t start = at;
    if (!Number(width)) return false;
    if (width == 0) return Fail(start);
    return true;
  }

  bool Literal() {
    const char quote = text[at];
    long long length = 0;
    ++at;
    for (;;) {
      if (AtEnd()) return Fail(text.size());
      if (text[at] == quote) {
        if (at + 1 < text.size() && text[at + 1] == quote) {
          at += 2;
          ++length;
          continue;
        }
        ++at;
        break;
      }
      ++at;
      ++length;
    }
    Emit(FormatOpKind::kSkip, length);
    return true;
  }

  // w.d of a real field. Without a width: the default width and decimals.
  bool WidthAndDecimals(FormatOp& op) {
    long long width = 0;
    if (!FieldWidth(width)) {
      if (failed) return false;
      op.width = kDefaultRealWidth;
      op.decimals = kDefaultRealDecimals;
      return true;
    }
    if (Here() != '.') return Fail(at);  // missing point
    ++at;
    long long decimals = 0;
    if (!Number(decimals)) return Fail(at);  // missing decimal count
    op.width = static_cast<int>(width);
    op.decimals = static_cast<int>(decimals);
    return true;
  }

  // Optional w and .m of integer fields.
  bool WidthAndMinimum(FormatOp& op, int default_width) {
    long long width = 0;
    if (!FieldWidth(width)) {
      if (failed) return false;
      op.width = default_width;
      return true;
    }
    op.width = static_cast<int>(width);
    if (Here() == '.') {
      ++at;
      long long minimum = 0;
      if (!Number(minimum)) return Fail(at);  // missing digit count
    }
    return true;
  }

  // A data field whose letter stands at `at`.
  bool DataField(long long repeat) {
    const char letter = Here();
    ++at;
    FormatOp op;
    op.count = repeat;
    switch (letter) {
      case 'F':
      case 'D':
        op.kind = FormatOpKind::kReal;
        if (!WidthAndDecimals(op)) return false;
        break;
      case 'E':
      case 'G': {
        op.kind = FormatOpKind::kReal;
        if (letter == 'E' && (Here() == 'N' || Here() == 'S')) ++at;
        const bool had_width = IsDigit(Here());
        if (!WidthAndDecimals(op)) return false;
        // Ew.dEe: the exponent digits matter only on output.
        if (had_width && Here() == 'E' && IsDigit(After(1))) {
          ++at;
          long long exponent_digits = 0;
          if (!Number(exponent_digits)) return false;
        }
        break;
      }
      case 'A': {
        op.kind = FormatOpKind::kText;
        long long width = 0;
        if (FieldWidth(width)) {
          op.width = static_cast<int>(width);
        } else {
          if (failed) return false;
          op.width = static_cast<int>(kItemLength);
        }
        break;
      }
      case 'I':
        op.kind = FormatOpKind::kInteger;
        if (!WidthAndMinimum(op, kDefaultIntegerWidth)) return false;
        break;
      case 'O':
        op.kind = FormatOpKind::kOctal;
        if (!WidthAndMinimum(op, kDefaultOctalWidth)) return false;
        break;
      case 'Z':
        op.kind = FormatOpKind::kHex;
        if (!WidthAndMinimum(op, kDefaultHexWidth)) return false;
        break;
      case 'B':
        op.kind = FormatOpKind::kBinary;
        if (!WidthAndMinimum(op, kDefaultBinaryWidth)) return false;
        break;
      case 'L': {
        op.kind = FormatOpKind::kLogical;
        long long width = 0;
        if (FieldWidth(width)) {
          op.width = static_cast<int>(width);
        } else {
          if (failed) return false;
          op.width = kDefaultLogicalWidth;
        }
        break;
      }
      default:  // 'Q'
        op.kind = FormatOpKind::kCharsLeft;
        break;
    }
    ops.push_back(op);
    return true;
  }

  bool OpenGroup(long long repeat) {
    if (static_cast<int>(open_groups.size()) >= kMaxGroupDepth) return Fail(at);
    ++at;
    open_groups.push_back(static_cast<int>(ops.size()));
    Emit(FormatOpKind::kGroupStart, repeat);
    return true;
  }

  void CloseGroup() {
    const int start = open_groups.back();
    open_groups.pop_back();
    const int end = static_cast<int>(ops.size());
    Emit(FormatOpKind::kGroupEnd);
    ops[end].partner = start;
    ops[start].partner = end;
    // Is it a group of column moves and modes only? Then fold its moves.
    bool simple = true;
    PositionMap map;
    for (int index = start + 1; index < end; ++index) {
      const FormatOp& op = ops[index];
      if (IsDataField(op.kind) || op.kind == FormatOpKind::kNextRecord) {
        simple = false;
        break;
      }
      PositionMap step;
      switch (op.kind) {
        case FormatOpKind::kSkip:
          step.shift = op.count;
          break;
        case FormatOpKind::kBack:
          step.shift = -op.count;
          break;
        case FormatOpKind::kTab:
          step.constant = true;
          step.value = std::max(0LL, op.count - 1);
          break;
        case FormatOpKind::kGroupStart:
          if (!op.simple) {
            simple = false;
            break;
          }
          step = Power(op.map, op.count);
          index = op.partner;
          break;
        default:
          break;
      }
      if (!simple) break;
      map = Then(map, step);
    }
    ops[start].simple = simple;
    if (simple) ops[start].map = map;
    if (open_groups.empty()) last_outer_group = start;
  }

  // One element (or separator) at `at`, or the closing parenthesis. Returns
  // false on failure or when the format is complete.
  bool Element() {
    SkipBlanks();
    if (AtEnd()) return Fail(text.size());  // the outermost group is not closed
    const char c = Here();
    const std::size_t start = at;
    switch (c) {
      case ',':
      case '$':
      case '\\':
        ++at;
        return true;
      case ')':
        ++at;
        if (open_groups.empty()) {
          Emit(FormatOpKind::kFormatEnd);
          return false;
        }
        CloseGroup();
        return true;
      case '(':
        return OpenGroup(1);
      case '/':
        ++at;
        Emit(FormatOpKind::kNextRecord);
        return true;
      case ':':
        ++at;
        Emit(FormatOpKind::kColon);
        return true;
      case '\'':
      case '"':
        return Literal();
      case '+':
      case '-': {
        ++at;
        long long k = 0;
        if (!Number(k)) return Fail(at);
        SkipBlanks();
        if (Here() != 'P') return Fail(at);
        ++at;
        Emit(FormatOpKind::kScale, c == '-' ? -k : k);
        return true;
      }
      default:
        break;
    }
    if (IsDigit(c)) {
      long long n = 0;
      if (!Number(n)) return false;
      SkipBlanks();
      const char what = Here();
      if (what == 'P') {
        ++at;
        Emit(FormatOpKind::kScale, n);
        return true;
      }
      if (what == 'X') {
        ++at;
        Emit(FormatOpKind::kSkip, n);
        return true;
      }
      if (what == 'H') {  // nHtext: the n characters behind H, as they stand
        if (n == 0) return Fail(start);
        ++at;
        if (text.size() - at < static_cast<std::size_t>(n)) return Fail(text.size());
        at += static_cast<std::size_t>(n);
        Emit(FormatOpKind::kSkip, n);
        return true;
      }
      // Everything else takes n as a repeat count.
      if (n == 0) return Fail(start);
      if (what == '(') return OpenGroup(n);
      if (what == '/') {
        ++at;
        Emit(FormatOpKind::kNextRecord, n);
        return true;
      }
      const bool blank_mode = what == 'B' && (After(1) == 'N' || After(1) == 'Z');
      if (IsDataLetter(what) && !blank_mode) return DataField(n);
      return Fail(at);  // cannot be repeated, or starts no element
    }
    switch (c) {
      case 'X':
        ++at;
        Emit(FormatOpKind::kSkip, 1);
        return true;
      case 'T': {
        ++at;
        FormatOpKind kind = FormatOpKind::kTab;
        if (Here() == 'L' || Here() == 'R') {
          kind = Here() == 'L' ? FormatOpKind::kBack : FormatOpKind::kSkip;
          ++at;
        }
        long long n = 0;
        if (!Number(n)) return Fail(at);
        Emit(kind, n);
        return true;
      }
      case 'B':
        if (After(1) == 'N' || After(1) == 'Z') {
          Emit(After(1) == 'N' ? FormatOpKind::kBlankNull : FormatOpKind::kBlankZero);
          at += 2;
          return true;
        }
        return DataField(1);
      case 'S':
        ++at;
        if (Here() == 'P' || Here() == 'S') ++at;
        return true;
      default:
        break;
    }
    if (IsDataLetter(c)) return DataField(1);
    return Fail(start);  // starts no element
  }
};

// The columns of a field of `width` from `column`, cut at a comma; moves the
// column behind the field, or right behind the comma. `padding` gets the
// number of the field's columns that lie beyond the end of the record.
// `record_has_comma` false spares the search of each field of a record that
// holds no comma at all, the usual data record.
std::string_view TakeField(std::string_view record,
                           bool record_has_comma,
                           long long& column,
                           long long width,
                           long long& padding) {
  const long long size = static_cast<long long>(record.size());
  const long long end = SaturatedAdd(column, width);
  const long long from = std::min(column, size);
  const long long to = std::min(end, size);
  std::string_view span(record.data() + from, static_cast<std::size_t>(to - from));
  const std::size_t comma = record_has_comma ? span.find(',') : std::string_view::npos;
  if (comma != std::string_view::npos) {
    column = from + static_cast<long long>(comma) + 1;
    padding = 0;
    return span.substr(0, comma);
  }
  padding = end - std::max(to, column);
  column = end;
  return span;
}

bool HasComma(std::string_view record) { return record.find(',') != std::string_view::npos; }

// An A field: the item's 8 bytes get the field's characters unconverted,
// the rightmost 8 of a wider field, blank-padded behind a narrower one.
void TakeText(std::string_view record, long long& column, long long width, double& item) {
  const long long size = static_cast<long long>(record.size());
  char bytes[sizeof(double)];
  std::memset(bytes, ' ', sizeof bytes);
  const long long first = width >= kItemLength ? SaturatedAdd(column, width - kItemLength) : column;
  const long long used = std::min(width, kItemLength);
  for (long long k = 0; k < used; ++k) {
    const long long at = first + k;
    if (at >= 0 && at < size) bytes[k] = record[static_cast<std::size_t>(at)];
  }
  std::memcpy(&item, bytes, sizeof item);
  column = SaturatedAdd(column, width);
}

int ReadField(const FormatOp& op,
              std::string_view record,
              bool record_has_comma,
              long long& column,
              bool blank_zero,
              int scale,
              double& item) {
  if (op.kind == FormatOpKind::kText) {
    TakeText(record, column, op.width, item);
    return 0;
  }
  long long padding = 0;
  const std::string_view field = TakeField(record, record_has_comma, column, op.width, padding);
  switch (op.kind) {
    case FormatOpKind::kReal:
      return ConvertRealField(field, blank_zero, op.decimals, scale, item, padding);
    case FormatOpKind::kInteger:
      return ConvertIntegerField(field, blank_zero, 10, item, padding);
    case FormatOpKind::kOctal:
      return ConvertIntegerField(field, blank_zero, 8, item, padding);
    case FormatOpKind::kHex:
      return ConvertIntegerField(field, blank_zero, 16, item, padding);
    case FormatOpKind::kBinary:
      return ConvertIntegerField(field, blank_zero, 2, item, padding);
    case FormatOpKind::kLogical:
      return ConvertLogicalField(field, item);
    default:
      return kSevereTypeMismatch;
  }
}

}  // namespace

CompiledFormatPtr CompileFormat(std::string_view text, std::string* error_rest) {
  FormatCompiler compiler;
  compiler.text = text;
  compiler.SkipBlanks();
  if (compiler.Here() != '(') {
    compiler.Fail(compiler.at);
  } else {
    ++compiler.at;
    while (compiler.Element()) {
    }
  }
  if (compiler.failed) {
    if (error_rest != nullptr) *error_rest = std::string(text.substr(compiler.failed_at));
    return nullptr;
  }
  CompiledFormatPtr format(new CompiledFormat);
  format->ops = std::move(compiler.ops);
  format->reversion = compiler.last_outer_group >= 0 ? compiler.last_outer_group : 0;
  return format;
}

namespace {

// Runs a read statement from its first record, `record`, on. `source` gives
// the records after it; without one, a statement that needs another record
// returns kNeedsRecord. `plan`, when given, gets the field of every item
// taken, as it was met.
int RunStatement(const CompiledFormat& format,
                 RecordSource* source,
                 std::string_view record,
                 std::span<double> items,
                 std::vector<PlannedField>* plan) {
  std::string storage;  // records taken after the first
  auto next_record = [&]() {
    if (source == nullptr) return kNeedsRecord;
    if (!source->NextRecord(storage)) return kSevereEndOfFile;
    record = storage;
    return 0;
  };
  bool has_comma = HasComma(record);
  const std::vector<FormatOp>& ops = format.ops;
  long long column = 0;
  bool blank_zero = false;
  int scale = 0;
  std::size_t next = 0;
  // Whether an item was taken since the statement began or the format last
  // reverted: a pass through the format that takes none would repeat forever.
  bool progress = false;
  struct Frame {
    int start;
    long long passes_left;
    long long folded_passes;  // passes of a simple group done by its map
  };
  std::array<Frame, kMaxGroupDepth + 1> frames;
  int depth = 0;
  int at = 0;
  for (;;) {
    const FormatOp& op = ops[static_cast<std::size_t>(at)];
    switch (op.kind) {
      case FormatOpKind::kSkip:
        column = SaturatedAdd(column, op.count);
        break;
      case FormatOpKind::kBack:
        column = std::max(0LL, SaturatedAdd(column, -op.count));
        break;
      case FormatOpKind::kTab:
        column = std::max(0LL, op.count - 1);
        break;
      case FormatOpKind::kNextRecord:
        for (long long pass = 0; pass < op.count; ++pass) {
          if (const int status = next_record(); status != 0) return status;
        }
        has_comma = HasComma(record);
        column = 0;
        break;
      case FormatOpKind::kColon:
        if (next == items.size()) return 0;
        break;
      case FormatOpKind::kBlankNull:
        blank_zero = false;
        break;
      case FormatOpKind::kBlankZero:
        blank_zero = true;
        break;
      case FormatOpKind::kScale:
        scale = static_cast<int>(op.count);
        break;
      case FormatOpKind::kGroupStart:
        frames[static_cast<std::size_t>(depth++)] =
            Frame{at, op.simple ? 1 : op.count, op.simple ? op.count - 1 : 0};
        break;
      case FormatOpKind::kGroupEnd: {
        Frame& frame = frames[static_cast<std::size_t>(depth - 1)];
        if (--frame.passes_left > 0) {
          at = frame.start;
        } else {
          if (frame.folded_passes > 0) {
            column = Apply(
                Power(ops[static_cast<std::size_t>(frame.start)].map, frame.folded_passes), column);
          }
          --depth;
        }
        break;
      }
      case FormatOpKind::kFormatEnd:
        if (next == items.size()) return 0;
        if (!progress) return kSevereInfiniteLoop;
        progress = false;
        if (const int status = next_record(); status != 0) return status;
        has_comma = HasComma(record);
        column = 0;
        at = format.reversion;
        continue;
      default:  // data fields
        for (long long pass = 0; pass < op.count; ++pass) {
          if (next == items.size()) return 0;
          if (op.kind == FormatOpKind::kCharsLeft) return kSevereTypeMismatch;
          if (plan != nullptr) {
            plan->push_back(PlannedField{&op,
                                         column,
                                         blank_zero,
                                         scale,
                                         op.kind == FormatOpKind::kReal,
                                         SaturatedAdd(column, op.width),
                                         -static_cast<long long>(scale) - op.decimals});
          }
          const int status =
              ReadField(op, record, has_comma, column, blank_zero, scale, items[next]);
          if (status != 0) return status;
          ++next;
          progress = true;
        }
        break;
    }
    ++at;
  }
}

}  // namespace

int TryReadRecord(RecordSource& source, const CompiledFormat& format, std::span<double> items) {
  std::string record;
  if (!source.NextRecord(record)) return kSevereEndOfFile;
  return RunStatement(format, &source, record, items, nullptr);
}

void LayoutDeleter::operator()(RecordLayout* layout) const { delete layout; }

RecordLayoutPtr LayOutRecord(const CompiledFormat& format, std::size_t item_count) {
  // Control flow does not depend on the characters of a record, only the
  // columns do, and only through commas: a blank record without any shows
  // where every field lies. Blank fields convert in every kind but Q, whose
  // fault the plain read then reports.
  std::vector<double> items(item_count, 0.0);
  std::vector<PlannedField> plan;
  if (RunStatement(format, nullptr, std::string_view(), items, &plan) != 0) return nullptr;
  RecordLayoutPtr layout(new RecordLayout);
  layout->format = &format;
  layout->fields = std::move(plan);
  return layout;
}

int ConvertRecord(const RecordLayout& layout, std::string_view record, std::span<double> items) {
  if (items.size() != layout.fields.size()) return kSevereTypeMismatch;
  if (HasComma(record)) return RunStatement(*layout.format, nullptr, record, items, nullptr);
  const long long size = static_cast<long long>(record.size());
  for (std::size_t k = 0; k < items.size(); ++k) {
    const PlannedField& field = layout.fields[k];
    // A real field that lies wholly inside the record has no padding, and
    // its plain digits convert in place.
    if (field.real && field.end <= size &&
        ConvertPlainRealField(std::string_view(record.data() + field.column,
                                               static_cast<std::size_t>(field.end - field.column)),
                              field.exponent10,
                              items[k])) {
      continue;
    }
    long long column = field.column;
    const int status =
        ReadField(*field.op, record, false, column, field.blank_zero, field.scale, items[k]);
    if (status != 0) return status;
  }
  return 0;
}

void ReadRecord(RecordSource& source, const CompiledFormat& format, std::span<double> items) {
  const int status = TryReadRecord(source, format, items);
  if (status != 0) source.Fail(status);
}

void ReadRecord(RecordSource& source, std::string_view format_text, std::span<double> items) {
  std::string rest;
  CompiledFormatPtr format = CompileFormat(format_text, &rest);
  if (!format) {
    ReportFormatError(rest);
    source.Fail(kSevereFormatSyntax);
  }
  ReadRecord(source, *format, items);
}

void ReportFormatError(std::string_view rest) {
  ConsoleErrorLine("format syntax error at or near " + std::string(rest.substr(0, 80)));
}

}  // namespace vq
