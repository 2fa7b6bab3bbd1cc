#include "kernels/parallel.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <stdexcept>
#include <thread>
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

TEST_F(ParallelTest, ScopedCountHoldsOnlyTheCallingThread) {
  SetThreadCount(3);
  {
    const ScopedThreadCount outer(1);
    EXPECT_EQ(ThreadCount(), 1);
    {
      const ScopedThreadCount keep(0);  // 0 leaves the count as it is
      EXPECT_EQ(ThreadCount(), 1);
      const ScopedThreadCount inner(2);
      EXPECT_EQ(ThreadCount(), 2);
    }
    EXPECT_EQ(ThreadCount(), 1);
    int other = 0;
    std::thread([&] { other = ThreadCount(); }).join();
    EXPECT_EQ(other, 3);  // another thread sees the process's count
    // With one thread the chunks run in order on the calling thread.
    std::vector<std::int64_t> order;
    ParallelChunks(
        10,
        3,
        [&](std::int64_t begin, std::int64_t) { order.push_back(begin); },
        [](std::int64_t) {});
    EXPECT_EQ(order, (std::vector<std::int64_t>{0, 3, 6, 9}));
  }
  EXPECT_EQ(ThreadCount(), 3);
}

}  // namespace
}  // namespace vq
