#include "kernels/parallel.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <vector>

namespace vq {
namespace {

class ParallelTest : public ::testing::Test {
 protected:
  void TearDown() override { SetThreadCount(0); }
};

TEST_F(ParallelTest, EveryUnitRunsOnceWhateverTheThreadCount) {
  for (int threads : {1, 2, 3, 8}) {
    SetThreadCount(threads);
    EXPECT_EQ(ThreadCount(), threads);
    std::vector<int> visits(1001, 0);
    ParallelChunks(
        1001,
        7,
        [&](std::int64_t begin, std::int64_t end) {
          for (std::int64_t unit = begin; unit < end; ++unit) ++visits[unit];
        },
        [](std::int64_t) {});
    for (int unit = 0; unit < 1001; ++unit) ASSERT_EQ(visits[unit], 1) << "unit " << unit;
  }
  SetThreadCount(0);
  EXPECT_GE(ThreadCount(), 1);
}

TEST_F(ParallelTest, TheEarliestFailingChunkIsRethrown) {
  for (int threads : {1, 2, 4}) {
    SetThreadCount(threads);
    try {
      ParallelChunks(
          100,
          1,
          [](std::int64_t begin, std::int64_t) {
            if (begin == 40 || begin == 90) throw std::runtime_error(std::to_string(begin));
          },
          [](std::int64_t) {});
      FAIL() << "no exception";
    } catch (const std::runtime_error& error) {
      EXPECT_STREQ(error.what(), "40");
    }
  }
}

}  // namespace
}  // namespace vq
