// Record sources: open files (or texts held in memory) read record by record,
// with one step back and a rewind, and the severe error line of a stream.
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "data/record_reader.h"
#include "frame/console.h"

namespace vq {

struct RecordSource::State {
  int unit = 0;
  std::string name;
  bool open = false;
  // A source over a text in memory reads `text`; a file source reads `file`.
  bool in_memory = false;
  std::string text;
  std::FILE* file = nullptr;
  char* line_buffer = nullptr;      // getdelim's buffer, grown as records need
  std::vector<char> stream_buffer;  // the stream's buffer, freed after it closes
  std::size_t line_capacity = 0;
  // Offset of the next record to read, and of the record just read (-1 when
  // there is none to step back to).
  long long position = 0;
  long long last_start = -1;

  ~State() {
    if (file != nullptr) std::fclose(file);
    std::free(line_buffer);
  }
};

namespace {

constexpr std::size_t kStreamBuffer = std::size_t{1} << 16;

// File names come from fixed-width fields: their trailing blanks are padding.
std::string WithoutTrailingBlanks(const std::string& path) {
  std::size_t last = path.find_last_not_of(' ');
  return last == std::string::npos ? std::string() : path.substr(0, last + 1);
}

bool IsFolder(int descriptor) {
  struct stat info;
  return fstat(descriptor, &info) == 0 && S_ISDIR(info.st_mode);
}

// Takes a carriage return that ended a record written with CR LF line ends.
void DropCarriageReturn(std::string& record) {
  if (!record.empty() && record.back() == '\r') record.pop_back();
}

// Takes the UTF-8 byte-order mark that some editors put at the start of a
// text file: it belongs to no field, and left in place it would spoil the
// first keyword, number or label of the file.
void DropByteOrderMark(std::string& record) {
  if (record.compare(0, 3, "\xEF\xBB\xBF") == 0) record.erase(0, 3);
}

// Gives a newly opened stream a large buffer, kept in `buffer`: a data file of
// millions of records is read in a few hundred system calls rather than
// hundreds of thousands. (The C library takes the size only with a buffer
// of the caller's.)
void GiveLargeBuffer(std::FILE* file, std::vector<char>& buffer) {
  buffer.resize(kStreamBuffer);
  std::setvbuf(file, buffer.data(), _IOFBF, kStreamBuffer);
}

}  // namespace

RecordSource::RecordSource() : state_(std::make_unique<State>()) {}
RecordSource::~RecordSource() = default;
RecordSource::RecordSource(RecordSource&&) noexcept = default;
RecordSource& RecordSource::operator=(RecordSource&&) noexcept = default;

bool RecordSource::OpenOld(int unit, const std::string& path) {
  Close();
  if (!state_) state_ = std::make_unique<State>();
  state_->unit = unit;
  state_->name = WithoutTrailingBlanks(path);
  if (state_->name.empty()) return false;
  int descriptor = open(state_->name.c_str(), O_RDONLY);
  if (descriptor < 0) return false;
  if (IsFolder(descriptor)) {
    ::close(descriptor);
    return false;
  }
  std::FILE* file = fdopen(descriptor, "r");
  if (file == nullptr) {
    ::close(descriptor);
    return false;
  }
  GiveLargeBuffer(file, state_->stream_buffer);
  state_->file = file;
  state_->open = true;
  return true;
}

bool RecordSource::OpenUnknown(int unit, const std::string& path) {
  Close();
  if (!state_) state_ = std::make_unique<State>();
  state_->unit = unit;
  state_->name = WithoutTrailingBlanks(path);
  if (state_->name.empty()) return false;
  const char* mode = "r+";
  int descriptor = open(state_->name.c_str(), O_RDWR | O_CREAT, 0666);
  if (descriptor < 0 && (errno == EACCES || errno == EROFS || errno == EISDIR)) {
    // A file we may read but not write is still good for reading data.
    descriptor = open(state_->name.c_str(), O_RDONLY);
    mode = "r";
  }
  if (descriptor < 0) return false;
  if (IsFolder(descriptor)) {
    ::close(descriptor);
    return false;
  }
  std::FILE* file = fdopen(descriptor, mode);
  if (file == nullptr) {
    ::close(descriptor);
    return false;
  }
  GiveLargeBuffer(file, state_->stream_buffer);
  state_->file = file;
  state_->open = true;
  return true;
}

void RecordSource::OpenText(int unit, const std::string& name, std::string text) {
  Close();
  if (!state_) state_ = std::make_unique<State>();
  state_->unit = unit;
  state_->name = name;
  state_->in_memory = true;
  state_->text = std::move(text);
  state_->open = true;
}

void RecordSource::Close() {
  if (!state_) return;
  if (state_->file != nullptr) {
    std::fclose(state_->file);
    state_->file = nullptr;
  }
  state_->open = false;
  state_->in_memory = false;
  state_->text.clear();
  state_->position = 0;
  state_->last_start = -1;
}

bool RecordSource::is_open() const { return state_ && state_->open; }

int RecordSource::unit() const { return state_ ? state_->unit : 0; }

const std::string& RecordSource::name() const {
  static const std::string kNone;
  return state_ ? state_->name : kNone;
}

std::string RecordSource::FullName() const {
  if (!state_) return std::string();
  if (state_->in_memory || state_->name.empty()) return state_->name;
  if (char* resolved = realpath(state_->name.c_str(), nullptr)) {
    std::string full(resolved);
    std::free(resolved);
    return full;
  }
  if (state_->name[0] == '/') return state_->name;
  char directory[PATH_MAX];
  if (getcwd(directory, sizeof directory) == nullptr) return state_->name;
  return std::string(directory) + "/" + state_->name;
}

bool RecordSource::NextRecord(std::string& record) {
  if (!is_open()) return false;
  State& s = *state_;
  if (s.in_memory) {
    const std::size_t start = static_cast<std::size_t>(s.position);
    if (start >= s.text.size()) {
      s.last_start = -1;
      return false;
    }
    std::size_t end = s.text.find('\n', start);
    const std::size_t next = end == std::string::npos ? s.text.size() : end + 1;
    if (end == std::string::npos) end = s.text.size();
    record.assign(s.text, start, end - start);
    s.last_start = s.position;
    s.position = static_cast<long long>(next);
    DropCarriageReturn(record);
    if (start == 0) DropByteOrderMark(record);
    return true;
  }
  // The offsets are counted here rather than asked of the stream: a tell
  // costs a system call, and data files have millions of records.
  const long long start = s.position;
  ssize_t length = getdelim(&s.line_buffer, &s.line_capacity, '\n', s.file);
  if (length < 0) {
    s.last_start = -1;
    return false;
  }
  std::size_t used = static_cast<std::size_t>(length);
  if (used > 0 && s.line_buffer[used - 1] == '\n') --used;
  record.assign(s.line_buffer, used);
  s.last_start = start;
  s.position = start + static_cast<long long>(length);
  DropCarriageReturn(record);
  if (start == 0) DropByteOrderMark(record);
  return true;
}

void RecordSource::StepBack() {
  if (!is_open() || state_->last_start < 0) return;
  State& s = *state_;
  s.position = s.last_start;
  s.last_start = -1;
  if (!s.in_memory) {
    std::clearerr(s.file);
    fseeko(s.file, static_cast<off_t>(s.position), SEEK_SET);
  }
}

void RecordSource::Rewind() {
  if (!is_open()) return;
  State& s = *state_;
  s.position = 0;
  s.last_start = -1;
  if (!s.in_memory) {
    std::clearerr(s.file);
    fseeko(s.file, 0, SEEK_SET);
  }
}

long long RecordSource::RemainingBytes() const {
  if (!is_open()) return -1;
  const State& s = *state_;
  if (s.in_memory) return static_cast<long long>(s.text.size()) - s.position;
  struct stat info;
  if (fstat(fileno(s.file), &info) != 0 || !S_ISREG(info.st_mode)) return -1;
  return std::max(0LL, static_cast<long long>(info.st_size) - s.position);
}

void RecordSource::Fail(int number) const {
  SevereError(number,
              SevereErrorText(number) + ", unit " + std::to_string(unit()) + ", file " + name());
}

std::string SevereErrorText(int number) {
  switch (number) {
    case kSevereEndOfFile:
      return "end-of-file during read";
    case kSevereFileNotFound:
      return "file not found";
    case kSevereListSyntax:
      return "list-directed I/O syntax error";
    case kSevereInfiniteLoop:
      return "infinite format loop";
    case kSevereTypeMismatch:
      return "format/variable-type mismatch";
    case kSevereFormatSyntax:
      return "syntax error in format";
    case kSevereConversion:
      return "input conversion error";
    default:
      return "input error " + std::to_string(number);
  }
}

}  // namespace vq
