#include "data/given_matrices.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "frame/console.h"
#include "text/edit_descriptors.h"

namespace vq {
namespace {

// The stop of a given file that is missing: one empty line, the message from
// `column`, two empty lines, then the pause.
[[noreturn]] void MissingGivenFile(int column, std::string_view message) {
  ConsoleEmptyLines(1);
  ConsoleLine(column, message);
  ConsoleEmptyLines(2);
  PauseAndStop();
}

// One list read of `count` values into row `row` of `matrix`. The row is
// gathered first so that an empty value or a slash leaves an element with
// the value it had, as it would leave any other item of a list read.
void ReadRow(RecordSource& source, Matrix& matrix, int row, int count) {
  std::vector<double> values(static_cast<std::size_t>(count), 0.0);
  for (int column = 0; column < count; ++column) {
    values[static_cast<std::size_t>(column)] = matrix(row, column);
  }
  std::vector<ListItem> items;
  items.reserve(values.size());
  for (double& value : values) items.push_back(RealItem(value));
  ReadList(source, items);
  for (int column = 0; column < count; ++column) {
    matrix(row, column) = values[static_cast<std::size_t>(column)];
  }
}

bool Differs(double a, double b) {
  return !(std::fabs(a - b) <= kCorrelationCheckTolerance);  // NaN differs
}

}  // namespace

void ReadCorrelations(RecordSource& source,
                      const std::string& data_file,
                      Coding coding,
                      int variable_count,
                      Matrix& correlation_matrix) {
  if (!source.OpenOld(kGivenMatrixUnit, data_file)) {
    if (coding == Coding::kDichotomous)
      MissingGivenFile(27, "FATAL ERROR! Input correlation matrix not found");
    source.Fail(kSevereFileNotFound);
  }
  ConsoleLine(30, "Reading Correlations");
  const int p = std::max(variable_count, 0);
  if (correlation_matrix.rows != p || correlation_matrix.cols != p) correlation_matrix.Reset(p, p);
  for (int row = 0; row < p; ++row) ReadRow(source, correlation_matrix, row, p);
  WarnAboutGivenCorrelations(correlation_matrix, p);
}

bool WarnAboutGivenCorrelations(const Matrix& correlation_matrix, int variable_count) {
  const int p = std::min({variable_count, correlation_matrix.rows, correlation_matrix.cols});
  int asymmetric_row = 0;
  int asymmetric_column = 0;
  for (int i = 1; i < p && asymmetric_row == 0; ++i) {
    for (int j = 0; j < i; ++j) {
      if (Differs(correlation_matrix(i, j), correlation_matrix(j, i))) {
        asymmetric_row = i + 1;
        asymmetric_column = j + 1;
        break;
      }
    }
  }
  int diagonal_row = 0;
  for (int i = 0; i < p && diagonal_row == 0; ++i) {
    if (Differs(correlation_matrix(i, i), 1.0)) diagonal_row = i + 1;
  }
  if (asymmetric_row == 0 && diagonal_row == 0) return true;
  if (asymmetric_row != 0) {
    ConsoleLine(30,
                "WARNING: Input correlation matrix is not symmetric, first at row" +
                    FormatI(asymmetric_row, 6) + ", column" + FormatI(asymmetric_column, 6));
  }
  if (diagonal_row != 0) {
    ConsoleLine(30,
                "WARNING: Input correlation matrix has a diagonal element other than 1 in row" +
                    FormatI(diagonal_row, 6));
  }
  ConsoleEmptyLines(2);
  return false;
}

void ReadPattern(RecordSource& source,
                 const std::string& data_file,
                 std::string_view record_format,
                 int variable_count,
                 int factor_count,
                 Matrix& pattern) {
  if (!source.OpenOld(kGivenMatrixUnit, data_file)) {
    MissingGivenFile(27, "FATAL ERROR! Factor Pattern file not found");
  }
  const int p = std::max(variable_count, 0);
  const int m = std::max(factor_count, 0);
  if (pattern.rows != p || pattern.cols != m) pattern.Reset(p, m);
  if (p == 0) return;
  std::string rest;
  CompiledFormatPtr format = CompileFormat(record_format, &rest);
  if (!format) {
    ReportFormatError(rest);
    source.Fail(kSevereFormatSyntax);
  }
  std::vector<double> loadings(static_cast<std::size_t>(m), 0.0);
  for (int variable = 0; variable < p; ++variable) {
    ReadRecord(source, *format, loadings);
    for (int factor = 0; factor < m; ++factor) {
      pattern(variable, factor) = loadings[static_cast<std::size_t>(factor)];
    }
  }
}

void ReadPhi(RecordSource& source, const std::string& phi_file, int factor_count, Matrix& phi) {
  if (!source.OpenOld(kPhiFileUnit, phi_file)) {
    MissingGivenFile(28, "FATAL ERROR! Factor correlation file not found");
  }
  const int m = std::max(factor_count, 0);
  if (phi.rows != m || phi.cols != m) phi.Reset(m, m);
  for (int row = 0; row < m; ++row) ReadRow(source, phi, row, m);
}

}  // namespace vq
