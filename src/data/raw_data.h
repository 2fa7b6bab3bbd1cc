// Raw item scores: the raw data file on stream 10, one record per subject
// read by the run's record format, the recodings of the codes "CD" (split at
// the medians) and "IP" (ipsatisation), the guessing vector of "DC" (stream
// 45) and the item texts named on the ">ITEMS:" line (stream 99).
//
// There is no missing value: a blank field is a score of 0, and scores are
// taken as they stand. Every fault of a read is a severe error of the reading
// layer on its stream (see data/record_reader.h); the few faults with words
// of their own are named below.
#ifndef VELQUORIN_DATA_RAW_DATA_H_
#define VELQUORIN_DATA_RAW_DATA_H_

#include <string>
#include <string_view>
#include <vector>

#include "data/record_reader.h"
#include "kernels/matrix.h"

namespace vq {

constexpr int kRawDataUnit = 10;
constexpr int kGuessUnit = 45;
constexpr int kItemTextUnit = 99;

// Width of one item text: each line of the item file is read by columns.
constexpr int kItemTextColumns = 200;

// Opens `data_file` on stream 10 (status unknown, read and write): a file
// that does not exist is created empty, and the first read then ends the run
// with severe error 24. When the open itself fails: two empty lines,
// "FATAL ERROR! Problem opening Raw Data File" from column 30, two empty
// lines, pause and stop. The source stays open for the run.
void OpenRawData(RecordSource& source, const std::string& data_file);

// Shows "Reading Data" from column 30, then makes one read statement per
// subject by `record_format`: the subject's id, then its p scores. Reshapes
// `item_data` to N by p (subjects by variables) and `subject_ids` to N. A
// file with fewer than N records ends in severe error 24, a field that is no
// number in 64, a format that does not compile in 62 (at the first subject);
// records beyond the N-th are not read.
void ReadItemData(RecordSource& source,
                  std::string_view record_format,
                  int subject_count,
                  int variable_count,
                  Matrix& item_data,
                  std::vector<double>& subject_ids);

// The split of the code "CD", in place on the N by p `item_data`: first the
// median of every column (the middle value of the sorted column, the mean of
// the two middle values for even N), then each score above its column's
// median becomes 1.0 and each score at or below it 0.0.
void SplitAtMedians(Matrix& item_data, int subject_count, int variable_count);

// The median of `count` values at `values` (their order is not changed):
// the 0.5 quantile (1 - f) * x(k) + f * x(k + 1) of the sorted values, with
// t = (count + 1) / 2 = k + f. Not-a-number values sort last. 0 for count 0.
double ColumnMedian(const double* values, int count);

// Ipsatisation, the code "IP", in place on the N by p `item_data`: subject by
// subject, each score becomes (score - mean) / standard deviation of that
// subject's p scores (divisor p - 1). A subject whose standard deviation is
// exactly 0 (or who has fewer than two scores) stops the run: "FATAL ERROR
// IN SUBROUTINE IPSAT", then "NO VARIANCE FOR SUBJECT" with the subject's
// number in 12 positions, then the plain stop. Subjects before it stay done.
void IPSAT(int subject_count, int variable_count, Matrix& item_data);

// The guessing vector of "DC": opens `guess_file` on stream 45 (status old;
// a missing file is severe error 29 on stream 45) and takes p values by one
// list read, in any line layout (too few values: severe error 24). Sets
// `guessing` to the p values and `has_guessing` to true. The source stays
// open for the run.
void ReadGuessing(RecordSource& source,
                  const std::string& guess_file,
                  int variable_count,
                  std::vector<double>& guessing,
                  bool& has_guessing);

// The item texts: opens `item_file` on stream 99 (status old; missing is
// severe error 29 on stream 99), reads p lines by columns, each cut or padded
// to 200 characters, closes the file and shows "Items read sucessfully" from
// column 30. Fewer than p lines end in severe error 24 on stream 99.
void ReadItemTexts(const std::string& item_file,
                   int variable_count,
                   std::vector<std::string>& item_texts);

}  // namespace vq

#endif  // VELQUORIN_DATA_RAW_DATA_H_
