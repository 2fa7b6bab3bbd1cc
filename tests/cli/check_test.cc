// The diagnostics of `velquorin check` on whole command files are golden
// cases (tests/golden/check_*); this is the distance behind its hints.
#include "cli/check.h"

#include <gtest/gtest.h>

namespace vq {
namespace {

TEST(EditDistance, CountsInsertionsDeletionsSubstitutionsAndSwaps) {
  EXPECT_EQ(EditDistance("OBLIMN", "OBLIMIN"), 1);
  EXPECT_EQ(EditDistance("PAF", "PFA"), 1);  // two letters swapped
  EXPECT_EQ(EditDistance("", "HK"), 2);
  EXPECT_EQ(EditDistance("VARIMAX", "VARIMAX"), 0);
  EXPECT_EQ(EditDistance("KITTEN", "SITTING"), 3);
}

}  // namespace
}  // namespace vq
