// X04CBF: the one table printer of the report. Lays out a matrix with its
// title, column numbers or labels and row numbers or labels, cut into column
// blocks that fit the page width.
#ifndef VELQUORIN_REPORT_MATRIX_TABLE_H_
#define VELQUORIN_REPORT_MATRIX_TABLE_H_

#include <string>
#include <string_view>
#include <vector>

#include "frame/output_file.h"

namespace vq {

// Prints the m by n matrix `a` (stored by columns, leading dimension lda) on
// `out`. `format` is one real edit descriptor ("F8.3", "F8.2", "F10.3",
// "F15.3"). labrow/labcol: 'C' labels from rlabs/clabs (15 characters each),
// 'I' numbers, 'N' none. ncols: page width (W = 80 outside 1..132).
// IFAIL protocol: a page too narrow for one column is failure 7 (console
// frame, nothing printed). Lines go through WriteTrimmedRecord; a page width
// outside 1..132 gives lines of at most 80 positions. With m or n below 1
// only the title is printed, and the width is not checked. Under 'C' a
// missing label counts as blank and a longer one is cut to 15 characters.
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
            OutputFile& out);

// The record writer of tables and plots: drops trailing blanks, keeps at
// least one character (an empty line is a single blank).
void WriteTrimmedRecord(OutputFile& out, std::string_view record);

}  // namespace vq

#endif  // VELQUORIN_REPORT_MATRIX_TABLE_H_
