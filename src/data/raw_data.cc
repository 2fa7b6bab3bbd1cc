#include "data/raw_data.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "frame/console.h"
#include "report/edit_descriptors.h"

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
  // The records are gathered in blocks of rows (id, then the p scores) and
  // the N by p matrix is made only when all N are in. N is the user's word
  // alone: a count far beyond the file's records must end at the file's end
  // with severe error 24, not in an allocation of the size it claims.
  const std::size_t row_length = static_cast<std::size_t>(p) + 1;
  const std::size_t rows_per_block = std::max<std::size_t>(1, kRowBlockDoubles / row_length);
  std::vector<std::vector<double>> blocks;
  std::vector<double> items(row_length, 0.0);
  // A large file takes seconds: on a terminal the line counts the subjects
  // read, at most four times a second, and ends as it began. Off a terminal
  // nothing is added, so the console text stays the same.
  const bool show_progress = ConsoleIsTerminal();
  auto last_shown = std::chrono::steady_clock::now();
  bool shown = false;
  for (int subject = 0; subject < n; ++subject) {
    if (show_progress && subject % 256 == 0) {
      const auto now = std::chrono::steady_clock::now();
      if (now - last_shown >= std::chrono::milliseconds(250)) {
        ConsoleOverwrite(30, "Reading Data" + FormatI(subject, 10));
        last_shown = now;
        shown = true;
      }
    }
    ReadRecord(source, *format, items);
    if (blocks.empty() || blocks.back().size() == rows_per_block * row_length) {
      blocks.emplace_back();
      blocks.back().reserve(rows_per_block * row_length);
    }
    blocks.back().insert(blocks.back().end(), items.begin(), items.end());
  }
  item_data.Reset(n, p);
  subject_ids.assign(static_cast<std::size_t>(n), 0.0);
  int subject = 0;
  for (std::vector<double>& block : blocks) {
    for (std::size_t start = 0; start < block.size(); start += row_length, ++subject) {
      subject_ids[static_cast<std::size_t>(subject)] = block[start];
      for (int variable = 0; variable < p; ++variable) {
        item_data(subject, variable) = block[start + 1 + static_cast<std::size_t>(variable)];
      }
    }
    std::vector<double>().swap(block);  // give each block back once copied
  }
  if (shown) ConsoleOverwrite(30, "Reading Data");
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
