#include "run/run_context.h"

#include <gtest/gtest.h>

#include <string>

namespace vq {
namespace {

TEST(SplitRunName, AtTheLastSeparator) {
  std::string stem, directory;
  SplitRunName("/home/ana/runs/wave1.in", stem, directory);
  EXPECT_EQ(stem, "wave1.in");
  EXPECT_EQ(directory, "/home/ana/runs/");
  SplitRunName("C:\\runs\\wave1.in", stem, directory);
  EXPECT_EQ(stem, "wave1.in");
  EXPECT_EQ(directory, "C:\\runs\\");
  SplitRunName("/a\\b/c.in", stem, directory);
  EXPECT_EQ(stem, "c.in");
  EXPECT_EQ(directory, "/a\\b/");
}

TEST(SplitRunName, StemIsCutTo15DirectoryIsNot) {
  std::string stem, directory;
  const std::string deep = "/" + std::string(120, 'd') + "/";
  SplitRunName(deep + "a_very_long_command_file.in", stem, directory);
  EXPECT_EQ(stem, "a_very_long_com");
  EXPECT_EQ(directory, deep);
}

TEST(SplitRunName, WithoutSeparator) {
  std::string stem = "old", directory = "old";
  SplitRunName("a_very_long_command_file.in", stem, directory);
  EXPECT_EQ(stem, "a_very_long_com");
  EXPECT_EQ(directory, "");
  SplitRunName("/top.in", stem, directory);
  EXPECT_EQ(stem, "top.in");
  EXPECT_EQ(directory, "/");
}

}  // namespace
}  // namespace vq
