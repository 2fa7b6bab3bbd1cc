#include "report/matrix_table.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "frame/console.h"
#include "kernels/failure.h"
#include "text/edit_descriptors.h"

namespace vq {
namespace {

// A line is built in a print record of this many positions, blank-filled
// before each line. No layout of the table reaches past it.
constexpr int kRecordPositions = 133;

// Page widths that are taken as given; any other width gives this one.
constexpr int kWidestPage = 132;
constexpr int kDefaultPage = 80;

// Label texts hold this many characters.
constexpr int kLabelWidth = 15;

// One real edit descriptor such as "F8.3" or "(E12.4)".
struct RealDescriptor {
  char letter = 'F';
  int width = 0;
  int decimals = 0;
};

// Reads the descriptor; blanks and one pair of parentheses around it are
// allowed. Returns false for anything else.
bool ParseRealDescriptor(std::string_view text, RealDescriptor& descriptor) {
  std::string compact;
  for (char c : text) {
    if (c != ' ') compact += static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  }
  if (compact.size() >= 2 && compact.front() == '(' && compact.back() == ')') {
    compact = compact.substr(1, compact.size() - 2);
  }
  if (compact.empty()) return false;
  descriptor.letter = compact[0];
  if (descriptor.letter != 'F' && descriptor.letter != 'E' && descriptor.letter != 'D')
    return false;
  std::size_t point = compact.find('.');
  if (point == std::string::npos || point < 2 || point + 1 >= compact.size()) return false;
  std::string width = compact.substr(1, point - 1);
  std::string decimals = compact.substr(point + 1);
  auto all_digits = [](const std::string& s) {
    return !s.empty() && s.size() <= 3 &&
           std::all_of(s.begin(), s.end(), [](char c) { return c >= '0' && c <= '9'; });
  };
  if (!all_digits(width) || !all_digits(decimals)) return false;
  descriptor.width = std::atoi(width.c_str());
  descriptor.decimals = std::atoi(decimals.c_str());
  return descriptor.width >= 1;
}

std::string FormatReal(const RealDescriptor& descriptor, double value) {
  if (descriptor.letter == 'F') return FormatF(value, descriptor.width, descriptor.decimals);
  std::string text = FormatE(value, descriptor.width, descriptor.decimals);
  if (descriptor.letter == 'D') std::replace(text.begin(), text.end(), 'E', 'D');
  return text;
}

// Number of decimal digits of a count (1 for 0 and below).
int DecimalDigits(int value) {
  int digits = 1;
  for (int rest = value; rest >= 10; rest /= 10) ++digits;
  return digits;
}

// The 15-character label `index` of `labels`; a missing one counts as blank.
std::string_view LabelText(const std::vector<std::string>* labels, int index) {
  if (labels == nullptr || index >= static_cast<int>(labels->size())) return std::string_view();
  std::string_view label = (*labels)[index];
  return label.substr(0, std::min<std::size_t>(label.size(), kLabelWidth));
}

// Places `text` into `record` so that its last character stands in 1-based
// position `last`; characters that would fall before position 1 are dropped.
void PlaceRightAligned(std::string& record, std::string_view text, int last) {
  int first = last - static_cast<int>(text.size()) + 1;
  for (int k = 0; k < static_cast<int>(text.size()); ++k) {
    int position = first + k;
    if (position >= 1 && position <= kRecordPositions) record[position - 1] = text[k];
  }
}

void WriteLength(OutputFile& out, const std::string& record, int length) {
  WriteTrimmedRecord(out,
                     std::string_view(record).substr(0, std::clamp(length, 1, kRecordPositions)));
}

}  // namespace

void WriteTrimmedRecord(OutputFile& out, std::string_view record) {
  std::string_view kept = TrimRight(record);
  if (kept.empty()) kept = record.empty() ? std::string_view(" ") : record.substr(0, 1);
  out.Write(kept);
}

void X04CBF(char matrix,
            char diag,
            int m,
            int n,
            const double* a,
            int lda,
            std::string_view format,
            std::string_view title,
            char labrow,
            const std::vector<std::string>* rlabs,
            char labcol,
            const std::vector<std::string>* clabs,
            int ncols,
            int indent,
            int& ifail,
            OutputFile& out) {
  // Only general matrices are printed; the diagonal choice has no meaning
  // for them.
  (void)matrix;
  (void)diag;
  const int caller_ifail = ifail;
  ifail = 0;

  // Effective width. A page width outside 1..132 is replaced by 80, and the
  // record writer is then given that width too: a width below 1 would drop
  // every value of a line, one above 132 would run past the print record.
  int width = (ncols < 1 || ncols > kWidestPage) ? kDefaultPage : ncols;
  const int caller_indent = indent;
  if (indent < 0 || indent >= width) indent = 0;
  const int record_length = width;
  width -= indent;

  std::string record(kRecordPositions, ' ');
  auto clear = [&record]() { record.assign(kRecordPositions, ' '); };

  // The title in pieces of width - 1 characters, each from position
  // indent + 2. A page of one position still takes one character a line.
  auto print_title = [&]() {
    std::string_view text = TrimRight(title);
    if (text.empty()) return;
    const int piece = std::max(width - 1, 1);
    for (std::size_t start = 0; start < text.size(); start += piece) {
      clear();
      std::string_view part = text.substr(start, piece);
      record.replace(indent + 1, part.size(), part);
      WriteLength(out, record, record_length);
    }
  };

  if (m < 1 || n < 1) {
    print_title();
    return;
  }

  RealDescriptor descriptor;
  if (!ParseRealDescriptor(format, descriptor)) {
    InternalError("X04CBF", "the format is not one real edit descriptor: " + std::string(format));
  }
  // Field width: whatever the format makes of a zero.
  const int field = static_cast<int>(FormatReal(descriptor, 0.0).size());

  // Row label width.
  const char row_kind = static_cast<char>(std::toupper(static_cast<unsigned char>(labrow)));
  const char col_kind = static_cast<char>(std::toupper(static_cast<unsigned char>(labcol)));
  int label_width = 1;
  if (row_kind == 'I') {
    label_width = DecimalDigits(m) + 1;
  } else if (row_kind == 'C') {
    for (int row = 0; row < m; ++row) {
      std::string_view label = Trim(LabelText(rlabs, row));
      int length = label.empty() ? 1 : static_cast<int>(label.size());
      label_width = std::max(label_width, length + 1);
    }
  }

  const int per_block = (width - label_width - 1) / field;
  if (per_block < 1) {
    std::vector<std::string> explanation = {
        " ** On entry, NCOLS-INDENT is not wide enough to hold at least one matrix",
        "    column: NCOLS = " + FormatI(ncols, 16) + ", INDENT =" + FormatI(caller_indent, 16)};
    ifail = NagFailure("X04CBF", caller_ifail, 7, explanation, /*explanation_after=*/true);
    return;
  }
  const int blocks = (n - 1) / per_block + 1;

  print_title();

  const int first_value = indent + label_width + 2;  // 1-based position
  for (int block = 0; block < blocks; ++block) {
    const int first_col = block * per_block;
    const int last_col = std::min(n, first_col + per_block);  // one past

    if (col_kind == 'I' || col_kind == 'C') {
      clear();
      for (int col = first_col; col < last_col; ++col) {
        const int right_edge = first_value - 1 + (col - first_col + 1) * field;
        if (col_kind == 'I') {
          PlaceRightAligned(record, FormatI(col + 1, field), right_edge);
        } else {
          std::string_view label = LabelText(clabs, col);
          label = Trim(label.substr(0, std::min<std::size_t>(label.size(), field)));
          PlaceRightAligned(record, label.empty() ? std::string_view(" ") : label, right_edge);
        }
      }
      WriteLength(out, record, record_length);
    }

    for (int row = 0; row < m; ++row) {
      clear();
      if (row_kind == 'I') {
        PlaceRightAligned(record, FormatI(row + 1, label_width), indent + label_width);
      } else if (row_kind == 'C') {
        PlaceRightAligned(record, Trim(LabelText(rlabs, row)), indent + label_width);
      }
      int position = first_value;
      for (int col = first_col; col < last_col; ++col) {
        const double value = a[static_cast<std::size_t>(row) + static_cast<std::size_t>(col) * lda];
        std::string text = FormatReal(descriptor, value);
        record.replace(position - 1, text.size(), text);
        position += field;
      }
      WriteLength(out, record, record_length);
    }

    if (block + 1 < blocks) out.Write(" ");
  }
}

}  // namespace vq
