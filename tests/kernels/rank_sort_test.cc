#include "kernels/rank_sort.h"

#include <gtest/gtest.h>

#include <vector>

#include "frame/console.h"

namespace vq {
namespace {

std::vector<int> Ranks(const std::vector<double>& values, const char* order) {
  std::vector<int> ranks(values.size());
  int ifail = 0;
  M01DAF(values.data(), 1, static_cast<int>(values.size()), order, ranks.data(), ifail);
  EXPECT_EQ(ifail, 0);
  return ranks;
}

TEST(M01DAF, StableInBothOrders) {
  EXPECT_EQ(Ranks({3, 1, 3}, "D"), (std::vector<int>{1, 3, 2}));
  EXPECT_EQ(Ranks({3, 1, 3}, "A"), (std::vector<int>{2, 1, 3}));
  EXPECT_EQ(Ranks({2, 2, 2}, "DESCENDING"), (std::vector<int>{1, 2, 3}));
  EXPECT_EQ(Ranks({2, 2, 2}, "a"), (std::vector<int>{1, 2, 3}));
  EXPECT_EQ(Ranks({5.0}, "D"), (std::vector<int>{1}));
}

TEST(M01DAF, DescendingIsNotTheReverseOfAscending) {
  // Runs of equal values keep their inner order in both directions.
  EXPECT_EQ(Ranks({1, 2, 2, 0}, "D"), (std::vector<int>{3, 1, 2, 4}));
  EXPECT_EQ(Ranks({1, 2, 2, 0}, "A"), (std::vector<int>{2, 3, 4, 1}));
}

TEST(M01DAF, BadArgumentsFollowTheFailureProtocol) {
  ConsoleCapture capture;
  std::vector<double> v{1, 2};
  std::vector<int> r(2);
  int ifail = 1;
  M01DAF(v.data(), 2, 1, "D", r.data(), ifail);
  EXPECT_EQ(ifail, 1);
  ifail = 1;
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
