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

// Sets the bits of `column` (BitColumnWords(n) words, all written) where
// `values[subject] == target`. Word by word and without a branch on the
// scores, which are as often one as the other.
inline void SetBitsWhereEqual(const double* values, int n, double target, std::uint64_t* column) {
  const int words = BitColumnWords(n);
  for (int word = 0; word < words; ++word) {
    const int first = word * 64;
    const int count = n - first < 64 ? n - first : 64;
    std::uint64_t bits = 0;
    for (int k = 0; k < count; ++k) {
      bits |= static_cast<std::uint64_t>(values[first + k] == target) << k;
    }
    column[word] = bits;
  }
}

// Number of subjects whose bits are set in both columns of `words` words.
// Bits past the last subject must be 0 in at least one of them.
std::int64_t CountInBoth(const std::uint64_t* first, const std::uint64_t* second, int words);

// Adds to sums[a][b] the number of subjects set in both first[a] and
// second[b] (a < 2, b < 4; every column `words` words): the eight cells of
// two rows of a table in one pass over the words, each word loaded once.
void CountTwoByFour(const std::uint64_t* const first[2],
                    const std::uint64_t* const second[4],
                    int words,
                    std::int64_t sums[2][4]);

// Number of bits set in a column of `words` words.
std::int64_t CountSet(const std::uint64_t* column, int words);

}  // namespace vq

#endif  // VELQUORIN_CORRELATION_BIT_COLUMNS_H_
