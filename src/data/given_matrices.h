// Given matrices: a run can start from a correlation matrix ("COR") or from a
// factor pattern, with or without factor correlations ("ROT" with "FLD1" or
// "FLD2"), instead of raw scores. This file reads them: the correlation
// matrix and the pattern from the data file on stream 10, the factor
// correlations from the ">PHI:" file on stream 17.
//
// Values are taken as they stand. A correlation matrix that is not
// symmetric or lacks a unit diagonal is still accepted; a warning on the
// console tells the user (`WarnAboutGivenCorrelations`). Read faults are
// severe errors of the reading layer on their stream.
#ifndef VELQUORIN_DATA_GIVEN_MATRICES_H_
#define VELQUORIN_DATA_GIVEN_MATRICES_H_

#include <string>
#include <string_view>

#include "data/record_reader.h"
#include "kernels/matrix.h"
#include "options/run_options.h"

namespace vq {

constexpr int kGivenMatrixUnit = 10;
constexpr int kPhiFileUnit = 17;

// Symmetry and unit diagonal are checked to within this.
constexpr double kCorrelationCheckTolerance = 1e-6;

// Opens `data_file` on stream 10 (status old), shows "Reading Correlations"
// from column 30, and reads p rows, one list read of p values per row, into
// the rows of `correlation_matrix` (reshaped to p by p, and so cleared, when
// it has another shape); each read drops the rest of its last line, and an
// element that a read leaves empty (two commas, a slash) keeps its value. Then
// `WarnAboutGivenCorrelations`. A file that cannot be opened: under `coding` "DI" one empty line,
// "FATAL ERROR! Input correlation matrix not found" from column 27, two empty lines, pause and
// stop; under any other coding severe error 29 on stream 10.
void ReadCorrelations(RecordSource& source,
                      const std::string& data_file,
                      Coding coding,
                      int variable_count,
                      Matrix& correlation_matrix);

// Looks at a p by p correlation matrix as read. When an element differs from
// its mirror image by more than the tolerance, the console shows "WARNING:
// Input correlation matrix is not symmetric, first at row" with the row and
// column (pairs walked row 2 to p, then columns before the row); when a
// diagonal element is not 1 to within the tolerance, "WARNING: Input
// correlation matrix has a diagonal element other than 1 in row" with the
// first such row. Lines from column 30, two empty lines after them. Returns
// true when there was nothing to say. Changes nothing.
bool WarnAboutGivenCorrelations(const Matrix& correlation_matrix, int variable_count);

// Opens `data_file` on stream 10 (status old) and reads p records, one read
// statement of m values by `record_format` per variable (no id), into the
// rows of `pattern` (reshaped to p by m). A file that cannot be opened: one
// empty line, "FATAL ERROR! Factor Pattern file not found" from column 27,
// two empty lines, pause and stop.
void ReadPattern(RecordSource& source,
                 const std::string& data_file,
                 std::string_view record_format,
                 int variable_count,
                 int factor_count,
                 Matrix& pattern);

// Opens `phi_file` on stream 17 (status old) and reads m rows, one list read
// of m values per row, into the rows of `phi` (reshaped to m by m as above;
// an element left empty keeps its value). A file that cannot be opened: one
// empty line, "FATAL ERROR! Factor correlation file not found" from column
// 28, two empty lines, pause and stop.
void ReadPhi(RecordSource& source, const std::string& phi_file, int factor_count, Matrix& phi);

}  // namespace vq

#endif  // VELQUORIN_DATA_GIVEN_MATRICES_H_
