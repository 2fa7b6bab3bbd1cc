#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <string>

#include "data/record_reader.h"
#include "frame/console.h"

namespace vq {
namespace {

std::string TempPath(const std::string& leaf) {
  return testing::TempDir() + "vq_source_" + std::to_string(getpid()) + "_" + leaf;
}

void WriteFile(const std::string& path, const std::string& text) {
  std::ofstream out(path, std::ios::binary);
  out << text;
}

std::vector<std::string> AllRecords(RecordSource& source) {
  std::vector<std::string> records;
  std::string record;
  while (source.NextRecord(record)) records.push_back(record);
  return records;
}

TEST(RecordSource, TextSourceBehavesAsAFile) {
  RecordSource source;
  source.OpenText(10, "memory", "a\r\n\nb");
  EXPECT_EQ(AllRecords(source), (std::vector<std::string>{"a", "", "b"}));
  RecordSource empty;
  empty.OpenText(10, "memory", "");
  EXPECT_TRUE(AllRecords(empty).empty());
}

TEST(RecordSource, StepBackAndRewindOnAFile) {
  const std::string path = TempPath("steps.dat");
  WriteFile(path, "r1\nr2\r\nr3\n");
  RecordSource source;
  ASSERT_TRUE(source.OpenOld(12, path));
  EXPECT_EQ(source.RemainingBytes(), 10);
  std::string record;
  ASSERT_TRUE(source.NextRecord(record));
  ASSERT_TRUE(source.NextRecord(record));
  EXPECT_EQ(record, "r2");
  EXPECT_EQ(source.RemainingBytes(), 3);
  source.StepBack();
  source.StepBack();  // only the last record is remembered
  EXPECT_EQ(source.RemainingBytes(), 7);
  ASSERT_TRUE(source.NextRecord(record));
  EXPECT_EQ(record, "r2");
  source.Rewind();
  ASSERT_TRUE(source.NextRecord(record));
  EXPECT_EQ(record, "r1");
  ASSERT_TRUE(source.NextRecord(record));
  ASSERT_TRUE(source.NextRecord(record));
  EXPECT_FALSE(source.NextRecord(record));
  source.StepBack();  // after the end of the file: still at the end
  EXPECT_FALSE(source.NextRecord(record));
  EXPECT_EQ(source.RemainingBytes(), 0);
  std::remove(path.c_str());
}

}  // namespace
}  // namespace vq
