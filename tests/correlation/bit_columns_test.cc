#include "correlation/bit_columns.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

namespace vq {
namespace {

TEST(BitColumns, CountsMatchASubjectBySubjectCount) {
  std::mt19937 random(42);
  std::bernoulli_distribution coin(0.37);
  // Lengths around the word and the four-word blocks of the count.
  for (int n : {0, 1, 63, 64, 65, 255, 256, 257, 1000}) {
    const int words = BitColumnWords(n);
    ASSERT_EQ(words, (n + 63) / 64);
    std::vector<std::uint64_t> first(words, 0), second(words, 0);
    std::int64_t both = 0, set = 0;
    for (int subject = 0; subject < n; ++subject) {
      const bool a = coin(random);
      const bool b = coin(random);
      if (a) SetSubjectBit(first.data(), subject);
      if (b) SetSubjectBit(second.data(), subject);
      both += (a && b) ? 1 : 0;
      set += a ? 1 : 0;
    }
    EXPECT_EQ(CountInBoth(first.data(), second.data(), words), both) << n;
    EXPECT_EQ(CountSet(first.data(), words), set) << n;
  }
}

TEST(BitColumns, BitsWhereEqualMarkExactlyTheMatchingScores) {
  std::mt19937 random(7);
  for (int n : {0, 1, 63, 64, 65, 200}) {
    std::vector<double> scores(static_cast<std::size_t>(n));
    for (double& score : scores) score = static_cast<double>(random() % 3);
    if (n > 1) scores[1] = -0.0;  // equal to 0.0
    const int words = BitColumnWords(n);
    // Every word is written, whatever it held before.
    std::vector<std::uint64_t> column(static_cast<std::size_t>(words), ~std::uint64_t{0});
    SetBitsWhereEqual(scores.data(), n, 0.0, column.data());
    std::vector<std::uint64_t> expected(static_cast<std::size_t>(words), 0);
    for (int subject = 0; subject < n; ++subject) {
      if (scores[static_cast<std::size_t>(subject)] == 0.0) SetSubjectBit(expected.data(), subject);
    }
    EXPECT_EQ(column, expected) << n;
  }
}

}  // namespace
}  // namespace vq
