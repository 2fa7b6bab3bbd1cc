// Subjects as bit columns: one bit per subject, 64 subjects to a word, set
// where the subject has a given response (a keyed score, a category). The
// pairwise estimators count the subjects of a table cell as the number of
// bits set in both of two columns, which is a popcount of their AND, in
// place of a pass over the scores of both variables.
#ifndef VELQUORIN_CORRELATION_BIT_COLUMNS_H_
#define VELQUORIN_CORRELATION_BIT_COLUMNS_H_

#include <cstdint>

namespace vq {

// Words of a bit column of n subjects (n >= 0).
inline int BitColumnWords(int n) { return (n + 63) / 64; }

// Sets the bit of `subject` (0-based) in `column`.
inline void SetSubjectBit(std::uint64_t* column, int subject) {
  column[subject / 64] |= std::uint64_t{1} << (subject % 64);
}

// Number of subjects whose bits are set in both columns of `words` words.
// Bits past the last subject must be 0 in at least one of them.
std::int64_t CountInBoth(const std::uint64_t* first, const std::uint64_t* second, int words);

// Number of bits set in a column of `words` words.
std::int64_t CountSet(const std::uint64_t* column, int words);

}  // namespace vq

#endif  // VELQUORIN_CORRELATION_BIT_COLUMNS_H_
