#include "kernels/rank_sort.h"

#include <gtest/gtest.h>

#include <vector>

#include "frame/console.h"
#include "kernels/failure.h"

namespace vq {
namespace {

TEST(M01DAF, StableInBothOrders) {
  // Runs of equal values keep their inner order in both directions, so the
  // descending order is not the reverse of the ascending one.
  const struct {
    std::vector<double> values;
    const char* order;
    std::vector<int> ranks;
  } cases[] = {
      {{3, 1, 3}, "D", {1, 3, 2}},
      {{3, 1, 3}, "A", {2, 1, 3}},
      {{2, 2, 2}, "DESCENDING", {1, 2, 3}},
      {{2, 2, 2}, "a", {1, 2, 3}},
      {{5.0}, "d", {1}},
      {{1, 2, 2, 0}, "D", {3, 1, 2, 4}},
      {{1, 2, 2, 0}, "A", {2, 3, 4, 1}},
  };
  for (const auto& c : cases) {
    std::vector<int> ranks(c.values.size());
    int ifail = 0;
    M01DAF(c.values.data(), 1, static_cast<int>(ranks.size()), c.order, ranks.data(), ifail);
    EXPECT_EQ(ifail, 0);
    EXPECT_EQ(ranks, c.ranks) << c.order << " " << c.values.size();
  }
  // Forty values 0, 1, 2, 0, 1, 2, ...: in descending order the 2s come
  // first, each run of equal values in the order of position.
  std::vector<double> values(40);
  std::vector<int> ranks(40), expected(40);
  for (int i = 0; i < 40; ++i) {
    values[i] = i % 3;
    expected[i] = 1 + i / 3 + (i % 3 == 2 ? 0 : i % 3 == 1 ? 13 : 26);
  }
  int ifail = 0;
  M01DAF(values.data(), 1, 40, "D", ranks.data(), ifail);
  EXPECT_EQ(ranks, expected);
}

TEST(M01DAF, BadArgumentsFollowTheFailureProtocol) {
  ConsoleCapture capture;
  std::vector<double> v{1, 2};
  std::vector<int> r(2);
  int ifail = kIfailQuiet;
  M01DAF(v.data(), 2, 1, "D", r.data(), ifail);
  EXPECT_EQ(ifail, 1);
  ifail = kIfailQuiet;
  M01DAF(v.data(), 1, 2, "X", r.data(), ifail);
  EXPECT_EQ(ifail, 2);
  EXPECT_EQ(capture.Out(), "");
}

TEST(M01CAF, SortsInPlace) {
  std::vector<double> v{0.5, -2.0, 5.0, 1.0};
  int ifail = 0;
  M01CAF(v.data(), 1, 4, 'D', ifail);
  EXPECT_EQ(v, (std::vector<double>{5.0, 1.0, 0.5, -2.0}));
  M01CAF(v.data(), 1, 4, 'A', ifail);
  EXPECT_EQ(v, (std::vector<double>{-2.0, 0.5, 1.0, 5.0}));
}

}  // namespace
}  // namespace vq
