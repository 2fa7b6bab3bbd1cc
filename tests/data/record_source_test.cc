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

TEST(RecordSource, LinesWithAndWithoutEndsAndCarriageReturns) {
  const std::string path = TempPath("lines.dat");
  WriteFile(path, "one\r\ntwo\n\nlast");
  RecordSource source;
  ASSERT_TRUE(source.OpenOld(10, path));
  EXPECT_EQ(AllRecords(source), (std::vector<std::string>{"one", "two", "", "last"}));
  std::remove(path.c_str());
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

TEST(RecordSource, VeryLongRecords) {
  const std::string path = TempPath("long.dat");
  const std::string longer(100000, '7');
  WriteFile(path, longer + "\nx\n");
  RecordSource source;
  ASSERT_TRUE(source.OpenOld(10, path));
  EXPECT_EQ(AllRecords(source), (std::vector<std::string>{longer, "x"}));
  std::remove(path.c_str());
}

TEST(RecordSource, OpenOldFailsOnMissingFilesAndFoldersButKeepsTheName) {
  RecordSource source;
  EXPECT_FALSE(source.OpenOld(45, TempPath("missing.dat") + "   "));
  EXPECT_FALSE(source.is_open());
  EXPECT_EQ(source.unit(), 45);
  EXPECT_EQ(source.name(), TempPath("missing.dat"));
  EXPECT_FALSE(source.OpenOld(45, testing::TempDir()));
  std::string record;
  EXPECT_FALSE(source.NextRecord(record));
}

TEST(RecordSource, OpenUnknownCreatesAnEmptyFile) {
  const std::string path = TempPath("created.dat");
  std::remove(path.c_str());
  RecordSource source;
  ASSERT_TRUE(source.OpenUnknown(10, path));
  std::string record;
  EXPECT_FALSE(source.NextRecord(record));
  source.Close();
  std::ifstream left(path);
  EXPECT_TRUE(left.good());  // the empty file stays behind
  std::remove(path.c_str());
  EXPECT_FALSE(source.OpenUnknown(10, testing::TempDir() + "no_such_folder_vq/x.dat"));
}

TEST(RecordSource, FullNameIsAbsolute) {
  const std::string path = TempPath("full.dat");
  WriteFile(path, "x\n");
  RecordSource source;
  ASSERT_TRUE(source.OpenOld(12, path));
  const std::string full = source.FullName();
  ASSERT_FALSE(full.empty());
  EXPECT_EQ(full[0], '/');
  EXPECT_NE(full.find("vq_source_"), std::string::npos);
  std::remove(path.c_str());
}

TEST(RecordSource, SevereTexts) {
  EXPECT_EQ(SevereErrorText(24), "end-of-file during read");
  EXPECT_EQ(SevereErrorText(29), "file not found");
  EXPECT_EQ(SevereErrorText(59), "list-directed I/O syntax error");
  EXPECT_EQ(SevereErrorText(60), "infinite format loop");
  EXPECT_EQ(SevereErrorText(61), "format/variable-type mismatch");
  EXPECT_EQ(SevereErrorText(62), "syntax error in format");
  EXPECT_EQ(SevereErrorText(64), "input conversion error");
}

TEST(RecordSource, FailOnAFileThatWouldNotOpen) {
  ConsoleCapture capture;
  RecordSource source;
  ASSERT_FALSE(source.OpenOld(99, "no_such_items.txt"));
  try {
    source.Fail(kSevereFileNotFound);
    FAIL() << "no stop";
  } catch (const RunStopped& stop) {
    EXPECT_EQ(stop.kind, RunStopped::Kind::kSevere);
    EXPECT_EQ(stop.exit_code, 29);
  }
  EXPECT_EQ(capture.Err(), "severe (29): file not found, unit 99, file no_such_items.txt\n");
  EXPECT_EQ(capture.Out(), "");
}

TEST(RecordSource, MovedFromSourceIsClosed) {
  RecordSource first;
  first.OpenText(10, "m", "a\n");
  RecordSource second = std::move(first);
  std::string record;
  EXPECT_TRUE(second.NextRecord(record));
  EXPECT_EQ(record, "a");
  EXPECT_FALSE(first.is_open());  // NOLINT(bugprone-use-after-move)
  EXPECT_FALSE(first.NextRecord(record));
}

}  // namespace
}  // namespace vq
