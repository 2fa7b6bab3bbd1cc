#include "frame/output_file.h"

#include <cerrno>
#include <string>
#include <utility>

#include "frame/console.h"

namespace vq {
namespace {

constexpr std::size_t kWriteBuffer = std::size_t{1} << 16;

OutputFileLog* g_open_log = nullptr;

}  // namespace

OutputFile::~OutputFile() { CloseQuietly(); }

OutputFile::OutputFile(OutputFile&& other) noexcept { *this = std::move(other); }

OutputFile& OutputFile::operator=(OutputFile&& other) noexcept {
  if (this != &other) {
    CloseQuietly();
    unit_ = other.unit_;
    path_ = std::move(other.path_);
    file_ = other.file_;
    buffer_ = std::move(other.buffer_);
    in_memory_ = other.in_memory_;
    open_ = other.open_;
    memory_ = std::move(other.memory_);
    other.file_ = nullptr;
    other.open_ = false;
  }
  return *this;
}

void OutputFile::Open(int unit, const std::string& path) {
  Close();
  unit_ = unit;
  path_ = path;
  in_memory_ = false;
  memory_.clear();
  file_ = std::fopen(path.c_str(), "w");
  if (file_ == nullptr) {
    const std::string where = ", unit " + std::to_string(unit) + ", file " + path;
    if (errno == EACCES || errno == EPERM || errno == EROFS) {
      SevereError(9, "permission to access file denied" + where);
    }
    SevereError(30, "open failure" + where);
  }
  // Saved files run to megabytes: large writes keep the system calls few.
  // (The C library takes the size only with a buffer of the caller's.)
  if (!buffer_) buffer_ = std::make_unique<char[]>(kWriteBuffer);
  std::setvbuf(file_, buffer_.get(), _IOFBF, kWriteBuffer);
  open_ = true;
  if (g_open_log != nullptr) g_open_log->opened_.push_back({unit, path});
}

void OutputFile::OpenInMemory(int unit) {
  Close();
  unit_ = unit;
  path_.clear();
  in_memory_ = true;
  memory_.clear();
  open_ = true;
}

void OutputFile::Write(std::string_view record) {
  if (!open_) return;
  if (in_memory_) {
    memory_.append(record);
    memory_.push_back('\n');
    return;
  }
  std::fwrite(record.data(), 1, record.size(), file_);
  std::fputc('\n', file_);
}

void OutputFile::WriteLines(std::string_view text) {
  if (!open_ || text.empty()) return;
  if (in_memory_) {
    memory_.append(text);
  } else {
    std::fwrite(text.data(), 1, text.size(), file_);
  }
  if (text.back() != '\n') Write("");
}

void OutputFile::EmptyLines(int count) {
  for (int i = 0; i < count; ++i) Write("");
}

bool OutputFile::CloseQuietly() {
  if (!open_) return true;
  open_ = false;
  if (file_ == nullptr) return true;
  // A write refused on the way (a full disk) leaves the stream's error flag
  // set; the last buffer is only written by the flush of the close.
  const bool written = std::fflush(file_) == 0 && std::ferror(file_) == 0;
  const bool closed = std::fclose(file_) == 0;
  file_ = nullptr;
  return written && closed;
}

void OutputFile::Close() {
  if (!CloseQuietly()) {
    SevereError(38, "error during write, unit " + std::to_string(unit_) + ", file " + path_);
  }
}

OutputFileLog::OutputFileLog() { g_open_log = this; }

OutputFileLog::~OutputFileLog() { g_open_log = nullptr; }

}  // namespace vq
