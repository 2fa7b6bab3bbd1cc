#include "data/raw_data.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "frame/console.h"
#include "kernels/parallel.h"
#include "text/edit_descriptors.h"

namespace vq {
namespace {

// Size of one block of data records held while the raw data are read: about
// 8 MB, whatever the number of items.
constexpr std::size_t kRowBlockDoubles = std::size_t{1} << 20;

// Ascending with not-a-number values last, a strict weak order even for
// scores that an A field filled with arbitrary bytes.
bool SortsBefore(double a, double b) {
  if (std::isnan(a)) return false;
  if (std::isnan(b)) return true;
  return a < b;
}

}  // namespace

void OpenRawData(RecordSource& source, const std::string& data_file) {
  if (source.OpenUnknown(kRawDataUnit, data_file)) return;
  ConsoleEmptyLines(2);
  ConsoleLine(30, "FATAL ERROR! Problem opening Raw Data File");
  ConsoleEmptyLines(2);
  PauseAndStop();
}

namespace {

// "Reading Data" with the count of subjects read, on a terminal only, at
// most four times a second; off a terminal nothing is added, so the console
// text stays the same.
struct ReadingProgress {
  bool on = ConsoleIsTerminal();
  bool shown = false;
  std::chrono::steady_clock::time_point last = std::chrono::steady_clock::now();

  void Show(int subjects_read) {
    if (!on) return;
    const auto now = std::chrono::steady_clock::now();
    if (now - last < std::chrono::milliseconds(250)) return;
    ConsoleOverwrite(30, "Reading Data" + FormatI(subjects_read, 10));
    last = now;
    shown = true;
  }
  void End() {
    if (shown) ConsoleOverwrite(30, "Reading Data");
  }
};

// A row (the id, then the p scores) into the subject's place.
void PutRow(const double* row, int subject, int p, Matrix& item_data, std::vector<double>& ids) {
  ids[static_cast<std::size_t>(subject)] = row[0];
  for (int variable = 0; variable < p; ++variable) {
    item_data(subject, variable) = row[static_cast<std::size_t>(variable) + 1];
  }
}

// Rows (id, then the p scores) gathered while the count of subjects is not
// yet proven by the file: the N by p matrix is made only when all N are in.
// N is the user's word alone, and a count far beyond the file's records
// must end at the file's end with severe error 24, not in an allocation of
// the size it claims.
struct RowBlocks {
  std::size_t row_length;
  std::size_t rows_per_block;
  std::vector<std::vector<double>> blocks;

  explicit RowBlocks(std::size_t length)
      : row_length(length), rows_per_block(std::max<std::size_t>(1, kRowBlockDoubles / length)) {}

  void Add(const double* rows, std::size_t count) {
    for (std::size_t row = 0; row < count; ++row) {
      if (blocks.empty() || blocks.back().size() == rows_per_block * row_length) {
        blocks.emplace_back();
        blocks.back().reserve(rows_per_block * row_length);
      }
      blocks.back().insert(
          blocks.back().end(), rows + row * row_length, rows + (row + 1) * row_length);
    }
  }

  void MoveTo(int n, int p, Matrix& item_data, std::vector<double>& subject_ids) {
    item_data.Reset(n, p);
    subject_ids.assign(static_cast<std::size_t>(n), 0.0);
    int subject = 0;
    for (std::vector<double>& block : blocks) {
      for (std::size_t start = 0; start < block.size(); start += row_length, ++subject) {
        PutRow(block.data() + start, subject, p, item_data, subject_ids);
      }
      std::vector<double>().swap(block);  // give each block back once copied
    }
  }
};

// Records of one batch of the layout read: taken in order from the file,
// then converted on the threads. The batch's text buffer is made once at
// this size and used again for every batch (a buffer grown record by record
// would be new memory each time it doubles).
constexpr std::size_t kBatchBytes = std::size_t{1} << 20;
constexpr std::size_t kBatchRecords = 65536;
// Records per unit of work handed to a thread.
constexpr std::int64_t kRecordsPerChunk = 256;

// One statement per record: the records of a batch are gathered in order,
// converted independently (the layout makes each a function of its own
// text), and the first fault in record order ends the run, as it would
// have record by record. When the file holds at least a byte per claimed
// subject (and the matrix fits in the machine's memory) the matrix is made
// at once and filled in place; otherwise the rows wait in blocks until the
// count is proven.
void ReadByLayout(RecordSource& source,
                  const RecordLayout& layout,
                  int n,
                  int p,
                  Matrix& item_data,
                  std::vector<double>& subject_ids) {
  const std::size_t row_length = static_cast<std::size_t>(p) + 1;
  const long long remaining = source.RemainingBytes();
  const bool direct =
      remaining >= n && FitsInMemory(static_cast<double>(n) * row_length * sizeof(double));
  RowBlocks blocks(row_length);
  // Rows converted ahead of the blocks are held for one batch: a block's
  // worth at most, however short the records.
  const std::size_t batch_records =
      direct ? kBatchRecords : std::min(kBatchRecords, blocks.rows_per_block);
  if (direct) {
    item_data.Reset(n, p);
    subject_ids.assign(static_cast<std::size_t>(n), 0.0);
  }
  ReadingProgress progress;
  std::string record;
  std::string text;               // the batch's records, back to back
  std::vector<std::size_t> ends;  // where each of them ends in `text`
  std::vector<int> statuses;      // per record: 0 or its severe error
  std::vector<double> rows;       // converted rows, when not direct
  text.reserve(kBatchBytes + (kBatchBytes >> 4));
  int done = 0;
  while (done < n) {
    text.clear();
    ends.clear();
    bool file_ended = false;
    while (done + static_cast<long long>(ends.size()) < n && ends.size() < batch_records &&
           text.size() < kBatchBytes) {
      if (!source.NextRecord(record)) {
        file_ended = true;
        break;
      }
      text += record;
      ends.push_back(text.size());
    }
    const std::size_t count = ends.size();
    statuses.assign(count, 0);
    if (!direct) rows.assign(count * row_length, 0.0);
    ParallelChunks(
        static_cast<std::int64_t>(count),
        kRecordsPerChunk,
        [&](std::int64_t begin, std::int64_t end) {
          std::vector<double> row(row_length);
          for (std::int64_t k = begin; k < end; ++k) {
            const std::size_t at = static_cast<std::size_t>(k);
            const std::size_t from = at == 0 ? 0 : ends[at - 1];
            const std::string_view line(text.data() + from, ends[at] - from);
            double* target = direct ? row.data() : rows.data() + at * row_length;
            statuses[at] = ConvertRecord(layout, line, std::span<double>(target, row_length));
            if (direct && statuses[at] == 0) {
              PutRow(row.data(), done + static_cast<int>(at), p, item_data, subject_ids);
            }
          }
        },
        [](std::int64_t) {});
    for (const int status : statuses) {
      if (status != 0) source.Fail(status);
    }
    if (file_ended) source.Fail(kSevereEndOfFile);
    if (!direct) blocks.Add(rows.data(), count);
    done += static_cast<int>(count);
    progress.Show(done);
  }
  if (!direct) blocks.MoveTo(n, p, item_data, subject_ids);
  progress.End();
}

// Any other format: one read statement after the other.
void ReadByStatements(RecordSource& source,
                      const CompiledFormat& format,
                      int n,
                      int p,
                      Matrix& item_data,
                      std::vector<double>& subject_ids) {
  const std::size_t row_length = static_cast<std::size_t>(p) + 1;
  RowBlocks blocks(row_length);
  std::vector<double> items(row_length, 0.0);
  ReadingProgress progress;
  for (int subject = 0; subject < n; ++subject) {
    if (subject % 256 == 0) progress.Show(subject);
    ReadRecord(source, format, items);
    blocks.Add(items.data(), 1);
  }
  blocks.MoveTo(n, p, item_data, subject_ids);
  progress.End();
}

}  // namespace

void ReadItemData(RecordSource& source,
                  std::string_view record_format,
                  int subject_count,
                  int variable_count,
                  Matrix& item_data,
                  std::vector<double>& subject_ids) {
  const int n = std::max(subject_count, 0);
  const int p = std::max(variable_count, 0);
  ConsoleLine(30, "Reading Data");
  if (n == 0) {
    item_data.Reset(0, p);
    subject_ids.clear();
    return;
  }
  // Every subject's read statement uses the same text, so one compilation
  // serves them all; a fault shows at the first subject as it would anyway.
  std::string rest;
  CompiledFormatPtr format = CompileFormat(record_format, &rest);
  if (!format) {
    ReportFormatError(rest);
    source.Fail(kSevereFormatSyntax);
  }
  const RecordLayoutPtr layout = LayOutRecord(*format, static_cast<std::size_t>(p) + 1);
  if (layout) {
    ReadByLayout(source, *layout, n, p, item_data, subject_ids);
  } else {
    ReadByStatements(source, *format, n, p, item_data, subject_ids);
  }
}

double ColumnMedian(const double* values, int count) {
  if (count <= 0) return 0.0;
  std::vector<double> sorted(values, values + count);
  std::sort(sorted.begin(), sorted.end(), SortsBefore);
  // Position t = (m + 1) * q with q = 0.5, whole part k and fraction f.
  const double t = (count + 1) * 0.5;
  const int k = static_cast<int>(t);
  const double f = t - k;
  const double low = sorted[static_cast<std::size_t>(k) - 1];
  if (f == 0.0) return low;
  const double high = sorted[static_cast<std::size_t>(k)];
  return (1.0 - f) * low + f * high;
}

void SplitAtMedians(Matrix& item_data, int subject_count, int variable_count) {
  const int n = std::min(std::max(subject_count, 0), item_data.rows);
  const int p = std::min(std::max(variable_count, 0), item_data.cols);
  std::vector<double> medians(static_cast<std::size_t>(p), 0.0);
  for (int variable = 0; variable < p; ++variable) {
    medians[static_cast<std::size_t>(variable)] = ColumnMedian(item_data.Column(variable), n);
  }
  // Only now, with every median known, are the scores recoded.
  for (int variable = 0; variable < p; ++variable) {
    const double median = medians[static_cast<std::size_t>(variable)];
    for (int subject = 0; subject < n; ++subject) {
      double& score = item_data(subject, variable);
      score = score > median ? 1.0 : 0.0;
    }
  }
}

void IPSAT(int subject_count, int variable_count, Matrix& item_data) {
  const int n = std::min(std::max(subject_count, 0), item_data.rows);
  const int p = std::min(std::max(variable_count, 0), item_data.cols);
  for (int subject = 0; subject < n; ++subject) {
    double sum = 0.0;
    for (int variable = 0; variable < p; ++variable) sum += item_data(subject, variable);
    const double mean = sum / p;
    double squares = 0.0;
    for (int variable = 0; variable < p; ++variable) {
      const double deviation = item_data(subject, variable) - mean;
      squares += deviation * deviation;
    }
    const double deviation = p > 1 ? std::sqrt(squares / (p - 1)) : 0.0;
    if (deviation == 0.0) {
      ConsoleFreeForm("FATAL ERROR IN SUBROUTINE IPSAT");
      ConsoleFreeForm("NO VARIANCE FOR SUBJECT" + FreeFormInteger(subject + 1));
      PlainStop();
    }
    for (int variable = 0; variable < p; ++variable) {
      double& score = item_data(subject, variable);
      score = (score - mean) / deviation;
    }
  }
}

void ReadGuessing(RecordSource& source,
                  const std::string& guess_file,
                  int variable_count,
                  std::vector<double>& guessing,
                  bool& has_guessing) {
  if (!source.OpenOld(kGuessUnit, guess_file)) source.Fail(kSevereFileNotFound);
  const int p = std::max(variable_count, 0);
  ReadListOfReals(source, static_cast<std::size_t>(p), guessing);
  has_guessing = true;
}

void ReadItemTexts(const std::string& item_file,
                   int variable_count,
                   std::vector<std::string>& item_texts) {
  RecordSource source;
  if (!source.OpenOld(kItemTextUnit, item_file)) source.Fail(kSevereFileNotFound);
  const int p = std::max(variable_count, 0);
  // The texts grow line by line as the file yields them, so that a p far
  // beyond the file's lines ends in severe error 24 before p texts are made.
  item_texts.clear();
  for (int variable = 0; variable < p; ++variable) {
    std::string text(kItemTextColumns, ' ');
    ReadColumns(source, {{TextItem(text, kItemTextColumns)}});
    item_texts.push_back(std::move(text));
  }
  source.Close();
  ConsoleLine(30, "Items read sucessfully");
}

}  // namespace vq
