#include "data/raw_data.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <string>
#include <vector>

#include "frame/console.h"
#include "report/edit_descriptors.h"

namespace vq {
namespace {

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
  if (item_data.rows != n || item_data.cols != p) item_data.Reset(n, p);
  subject_ids.assign(static_cast<std::size_t>(n), 0.0);
  if (n == 0) return;
  // Every subject's read statement uses the same text, so one compilation
  // serves them all; a fault shows at the first subject as it would anyway.
  std::string rest;
  CompiledFormatPtr format = CompileFormat(record_format, &rest);
  if (!format) {
    ReportFormatError(rest);
    source.Fail(kSevereFormatSyntax);
  }
  std::vector<double> items(static_cast<std::size_t>(p) + 1, 0.0);
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
    subject_ids[static_cast<std::size_t>(subject)] = items[0];
    for (int variable = 0; variable < p; ++variable) {
      item_data(subject, variable) = items[static_cast<std::size_t>(variable) + 1];
    }
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
  guessing.assign(static_cast<std::size_t>(p), 0.0);
  std::vector<ListItem> items;
  items.reserve(guessing.size());
  for (double& value : guessing) items.push_back(RealItem(value));
  ReadList(source, items);
  has_guessing = true;
}

void ReadItemTexts(const std::string& item_file,
                   int variable_count,
                   std::vector<std::string>& item_texts) {
  RecordSource source;
  if (!source.OpenOld(kItemTextUnit, item_file)) source.Fail(kSevereFileNotFound);
  const int p = std::max(variable_count, 0);
  item_texts.assign(static_cast<std::size_t>(p), std::string(kItemTextColumns, ' '));
  for (std::string& text : item_texts) {
    ReadColumns(source, {{TextItem(text, kItemTextColumns)}});
  }
  source.Close();
  ConsoleLine(30, "Items read sucessfully");
}

}  // namespace vq
