// A text file the run writes: the report (stream 11) and the saved result
// files. Records are written in order, each ended by a line feed, exactly as
// given: trailing blanks are kept (writers that drop them do so themselves).
//
// A file is opened with status "unknown": created if absent, written from its
// start over any earlier content. An open that fails, or a close that finds
// records lost, is a severe error of the reading layer with the stream's
// number and the file's name, which ends the run. A file that is dropped
// without `Close` (at the end of the process, or while a stop unwinds) is
// closed without a word. Tests open a file in memory and read its text back.
#ifndef VELQUORIN_FRAME_OUTPUT_FILE_H_
#define VELQUORIN_FRAME_OUTPUT_FILE_H_

#include <cstdio>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace vq {

class OutputFile {
 public:
  OutputFile() = default;
  ~OutputFile();
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;
  OutputFile(OutputFile&& other) noexcept;
  OutputFile& operator=(OutputFile&& other) noexcept;

  // Opens `path` for writing on stream `unit`; ends the run with severe
  // error 9 (permission to access file denied) or 30 (open failure).
  void Open(int unit, const std::string& path);
  // Opens a file held in memory (tests); `Text()` returns what was written.
  void OpenInMemory(int unit);

  // Writes one record and a line feed.
  void Write(std::string_view record);
  // Writes the records of `text`, each ended by a line feed already (a last
  // one without is ended here): a block of many records in one call.
  void WriteLines(std::string_view text);
  // Writes `count` empty records.
  void EmptyLines(int count);

  // Flushes and closes. Closing a closed file does nothing. A file that did
  // not take all its records (a full disk) ends the run with severe error 38
  // (error during write), so that no run ends normally on a lost report.
  void Close();

  bool is_open() const { return open_; }
  int unit() const { return unit_; }
  const std::string& path() const { return path_; }
  // Everything written so far, for a file in memory.
  const std::string& Text() const { return memory_; }

 private:
  // Closes without a word; false when records were lost. Used where a stop
  // may be under way (destructor, move), which must not be stopped again.
  bool CloseQuietly();

  int unit_ = 0;
  std::string path_;
  std::FILE* file_ = nullptr;
  std::unique_ptr<char[]> buffer_;  // the stream's buffer, kept past its close
  bool in_memory_ = false;
  bool open_ = false;
  std::string memory_;
};

// While alive, every file that `OutputFile::Open` opens is noted with its
// stream, in the order of the opens (files in memory are not). A program
// that runs the engine inside itself (src/api) learns from it which files a
// run wrote. Logs do not nest; the run that opens the files must be the only
// one in the process while the log lives.
class OutputFileLog {
 public:
  struct Entry {
    int unit;
    std::string path;
  };

  OutputFileLog();
  ~OutputFileLog();
  OutputFileLog(const OutputFileLog&) = delete;
  OutputFileLog& operator=(const OutputFileLog&) = delete;

  const std::vector<Entry>& Opened() const { return opened_; }

 private:
  friend class OutputFile;
  std::vector<Entry> opened_;
};

}  // namespace vq

#endif  // VELQUORIN_FRAME_OUTPUT_FILE_H_
