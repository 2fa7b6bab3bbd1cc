// The reading layer: record sources, record formats, list reads and column
// reads. Every text input of the program goes through it: the command file,
// raw data, given matrices, the guessing vector, item texts and labels.
//
// A read that fails and that the caller has not taken on itself is a severe
// error: the run ends at once with "severe (N): <message>, unit U, file F"
// (see frame/console.h). The `Try...` variants return the error number
// instead (0 on success), as IOSTAT= would, for the few places that
// handle a fault themselves.
//
// Error numbers: 24 end-of-file during read, 29 file not found,
// 59 list-directed I/O syntax error, 60 infinite format loop,
// 61 format/variable-type mismatch, 62 syntax error in format,
// 64 input conversion error.
#ifndef VELQUORIN_DATA_RECORD_READER_H_
#define VELQUORIN_DATA_RECORD_READER_H_

#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace vq {

constexpr int kSevereEndOfFile = 24;
constexpr int kSevereFileNotFound = 29;
constexpr int kSevereListSyntax = 59;
constexpr int kSevereInfiniteLoop = 60;
constexpr int kSevereTypeMismatch = 61;
constexpr int kSevereFormatSyntax = 62;
constexpr int kSevereConversion = 64;

// An open text file with a current record. A record is a line; it ends at a
// line feed, with a carriage return before it taken away; a last line
// without a line end is a record too. Records have no length limit.
class RecordSource {
 public:
  RecordSource();
  ~RecordSource();
  RecordSource(RecordSource&&) noexcept;
  RecordSource& operator=(RecordSource&&) noexcept;

  // Opens an existing file (status "old") on stream `unit`. Returns false,
  // with nothing open, when the file does not exist or cannot be read (a
  // folder counts as missing). Trailing blanks of `path` are not part of the
  // name, so fixed-width name fields can be passed as they stand. The unit
  // and name are kept even when the open fails, so that `Fail(29)` names them.
  bool OpenOld(int unit, const std::string& path);
  // Opens a file for reading and writing (status "unknown"): a file that does
  // not exist is created empty; one that can only be read is opened for
  // reading. Returns false when the open itself fails.
  bool OpenUnknown(int unit, const std::string& path);
  // A source over `text` (tests, and the pattern of other sources).
  void OpenText(int unit, const std::string& name, std::string text);
  void Close();
  bool is_open() const;

  int unit() const;
  // The name as opened (shown in severe error lines).
  const std::string& name() const;
  // The file's full (absolute) name as the system reports it.
  std::string FullName() const;

  // Takes the next record; false at the end of the file (or when nothing is
  // open).
  bool NextRecord(std::string& record);
  // Makes the record just read the next one to be read. Only the last record
  // is remembered: a second step back without a read in between, or a step
  // back after the end of the file was met, changes nothing.
  void StepBack();
  // Goes back to the first record.
  void Rewind();
  // The bytes from the next record to the end, or -1 when that is not known
  // (a pipe, a terminal). Every record takes at least one byte.
  long long RemainingBytes() const;

  // Ends the run with severe error `number` on this source:
  // "severe (N): <text>, unit U, file F".
  [[noreturn]] void Fail(int number) const;

 private:
  struct State;
  std::unique_ptr<State> state_;
};

// The text of severe error `number` without the unit and file part, e.g.
// "end-of-file during read".
std::string SevereErrorText(int number);

// --- Record formats --------------------------------------------------------
//
// A format text holds FORTRAN edit descriptors: Fw.d, Ew.d[Ee], ENw.d,
// ESw.d, Dw.d, Gw.d[Ee], Aw, Iw[.m], Ow, Zw, Bw, Lw, Q, nX, Tn, TLn, TRn, /,
// :, $, \, 'text', "text", nHtext, BN, BZ, kP, S, SP, SS, repeat counts and
// n(...) groups. Case does not matter. Commas and blanks separate elements;
// a number (count, width, decimals) is written without blanks inside. A real
// field without a width (F, E, D, G alone) is F25.16; a width of 0 (F0.0,
// A0) is a syntax error, since a field reads at least one column. Groups inside the outer
// parentheses nest at most 8 deep. Compilation ends at the parenthesis that
// closes the first one.
//
// Every item is a double. Real fields convert by the rules of field to
// number (a comma ends a field early, blanks are ignored or zeros by BN/BZ,
// a blank field is 0, implied decimals, kP without exponent). Integer and
// logical fields are converted properly rather than stored as raw bits:
// "1" by I1 gives 1.0, O/Z/B fields give the value of their octal, hex or
// binary digits, and L gives 1.0 for T and 0.0 for F (a blank L field is
// 0.0). Without a width they take I23, O23, Z17, B65 and L2. An A field puts
// its characters unconverted into the item's 8 bytes (the rightmost 8 of a
// wider field; blanks behind a narrower one). Q needs an integer item and
// fails with 61.

// A compiled record format (the list of operations of a format text).
struct CompiledFormat;

struct FormatDeleter {
  void operator()(CompiledFormat* format) const;
};
using CompiledFormatPtr = std::unique_ptr<CompiledFormat, FormatDeleter>;

// Compiles a format text such as "(F4.0,8F1.0)". On a syntax error returns
// null and sets `error_rest` to the rest of the text from the first wrong
// character (for the line "format syntax error at or near ...").
CompiledFormatPtr CompileFormat(std::string_view text, std::string* error_rest);

// The console line shown before severe error 62: "format syntax error at or
// near " and the first 80 characters of `rest`.
void ReportFormatError(std::string_view rest);

// One read statement by a record format: fills `items` in order, taking at
// least one record from `source`. Compiles `format_text` anew; a format that
// does not compile prints "format syntax error at or near <rest>" and ends
// the run with severe error 62. End of file gives 24, a field that isn't a
// number 64, a field that cannot go with a double item 61, a format without
// data fields 60.
void ReadRecord(RecordSource& source, std::string_view format_text, std::span<double> items);
void ReadRecord(RecordSource& source, const CompiledFormat& format, std::span<double> items);
int TryReadRecord(RecordSource& source, const CompiledFormat& format, std::span<double> items);

// --- One-record layouts --------------------------------------------------------
//
// A data format usually reads a statement from exactly one record: no slash
// is met and the format does not revert before the items are full. Which
// records a statement takes, and where each field lies, depend on the format
// and the item count alone; only a comma in a record moves the fields after
// it. So the fields are laid out once, and each record is converted by
// itself, independently of the others (and on any thread).

struct RecordLayout;

struct LayoutDeleter {
  void operator()(RecordLayout* layout) const;
};
using RecordLayoutPtr = std::unique_ptr<RecordLayout, LayoutDeleter>;

// The layout of a read statement of `item_count` items by `format`, or null
// when the statement takes more than one record or fails on every record
// (a Q field, a format without data fields): those are read the plain way,
// which also gives their fault. The layout refers to `format`, which must
// outlive it.
RecordLayoutPtr LayOutRecord(const CompiledFormat& format, std::size_t item_count);

// Converts one record into `items` (the layout's item count) exactly as
// TryReadRecord would if `record` were the next record of its source: the
// same doubles, or the same error number.
int ConvertRecord(const RecordLayout& layout, std::string_view record, std::span<double> items);

// --- List reads and column reads ----------------------------------------------

// One item of a list read or column read.
struct ListItem {
  enum class Kind { kText, kInteger, kReal };
  Kind kind;
  std::string* text = nullptr;  // kText: receives exactly `width` characters
  int width = 0;
  int* integer = nullptr;  // kInteger
  double* real = nullptr;  // kReal
};
inline ListItem TextItem(std::string& target, int width) {
  return ListItem{ListItem::Kind::kText, &target, width, nullptr, nullptr};
}
inline ListItem IntegerItem(int& target) {
  return ListItem{ListItem::Kind::kInteger, nullptr, 0, &target, nullptr};
}
inline ListItem RealItem(double& target) {
  return ListItem{ListItem::Kind::kReal, nullptr, 0, nullptr, &target};
}

// A list read (free-form input): fills the items from the next records by
// the list rules; items not reached before a slash keep their values. Values
// end at blanks, tabs, commas, slashes and record ends; two commas leave an
// item unchanged; r*c repeats c, r* leaves r items unchanged; blank records
// are passed over; the rest of the last record is dropped. Text may be
// quoted ('...' or "...", a doubled quote stands for one) and then go on
// over record ends; unquoted it holds at most 2,049 characters, and the
// characters behind that start the next value. A quoted value must be
// followed by a separator (else 59). Integer items truncate real values
// toward zero; values beyond 32 bits fail with 64. A non-number for a
// numeric item fails with 59, or 64 when it starts like a number.
void ReadList(RecordSource& source, std::span<const ListItem> items);
int TryReadList(RecordSource& source, std::span<const ListItem> items);

// A list read of `count` doubles into `values`, by the rules above. The
// vector grows only as values arrive (so a count far beyond the file's
// values ends in severe error 24 without taking memory for all of them) and
// holds `count` values after a read that succeeded; items left unchanged by
// empty values or a slash are 0.
void ReadListOfReals(RecordSource& source, std::size_t count, std::vector<double>& values);
int TryReadListOfReals(RecordSource& source, std::size_t count, std::vector<double>& values);

// A column read: text items of the given widths cut from one record, in
// order from column 1; a short record is padded with blanks. End of file is
// severe error 24.
void ReadColumns(RecordSource& source, std::span<const ListItem> items);
int TryReadColumns(RecordSource& source, std::span<const ListItem> items);

}  // namespace vq

#endif  // VELQUORIN_DATA_RECORD_READER_H_
