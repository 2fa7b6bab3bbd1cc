// The reading layer on inputs as editors leave them: byte-order marks, CR LF
// line ends, and counts far beyond what a file holds.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "data/raw_data.h"
#include "data/record_reader.h"
#include "frame/console.h"
#include "kernels/matrix.h"

namespace vq {
namespace {

TEST(ByteOrderMarkInReader, DroppedFromTheFirstRecordOnlyAndAgainAfterRewind) {
  RecordSource source;
  source.OpenText(10, "marked.dat", "\xEF\xBB\xBF>TITLE: x\r\n\xEF\xBB\xBFsecond\n");
  std::string record;
  ASSERT_TRUE(source.NextRecord(record));
  EXPECT_EQ(record, ">TITLE: x");
  ASSERT_TRUE(source.NextRecord(record));
  EXPECT_EQ(record, "\xEF\xBB\xBFsecond");  // inside a file it is data
  source.Rewind();
  ASSERT_TRUE(source.NextRecord(record));
  EXPECT_EQ(record, ">TITLE: x");
  source.StepBack();
  ASSERT_TRUE(source.NextRecord(record));
  EXPECT_EQ(record, ">TITLE: x");
}

TEST(ByteOrderMarkInReader, AMarkAloneIsAnEmptyRecord) {
  RecordSource source;
  source.OpenText(10, "mark.dat", "\xEF\xBB\xBF");
  std::string record = "x";
  ASSERT_TRUE(source.NextRecord(record));
  EXPECT_EQ(record, "");
  EXPECT_FALSE(source.NextRecord(record));
}

TEST(ListOfReals, ReadsByTheListRules) {
  RecordSource source;
  source.OpenText(45, "guess.txt", "0.2, 0.25\n\n2*0.5 ,, 1e-1 / 9\nrest\n");
  std::vector<double> values;
  ReadListOfReals(source, 7, values);
  // An empty value and the items behind the slash keep 0.
  EXPECT_EQ(values, (std::vector<double>{0.2, 0.25, 0.5, 0.5, 0.0, 0.1, 0.0}));
  std::string record;
  ASSERT_TRUE(source.NextRecord(record));
  EXPECT_EQ(record, "rest");
}

TEST(ListOfReals, ACountBeyondTheFileEndsAtItsEnd) {
  RecordSource source;
  source.OpenText(45, "guess.txt", "0.2 0.2\n0.3\n");
  std::vector<double> values;
  EXPECT_EQ(TryReadListOfReals(source, 2147483647u, values), kSevereEndOfFile);
  EXPECT_EQ(values.size(), 3u);  // no more than the file gave
  source.Rewind();
  EXPECT_EQ(TryReadListOfReals(source, 2, values), 0);
  source.Rewind();
  EXPECT_EQ(TryReadListOfReals(source, 3, values), 0);
  RecordSource text;
  text.OpenText(45, "guess.txt", "0.2 'x' 0.3\n");
  EXPECT_EQ(TryReadListOfReals(text, 3, values), kSevereListSyntax);
}

TEST(ItemDataGrowth, ASubjectCountBeyondTheRecordsEndsAtTheFilesEnd) {
  ConsoleCapture capture;
  RecordSource source;
  source.OpenText(10, "items.dat", "   1 12\n   2 21\n");
  Matrix data;
  std::vector<double> ids;
  try {
    ReadItemData(source, "(F4.0,2F1.0)", 2147483647, 2, data, ids);
    FAIL() << "no stop";
  } catch (const RunStopped& stop) {
    EXPECT_EQ(stop.exit_code, 24);
  }
  EXPECT_EQ(capture.Err(), "severe (24): end-of-file during read, unit 10, file items.dat\n");
  EXPECT_TRUE(data.empty());  // nothing of the claimed size was made
}

TEST(ItemDataGrowth, ManyBlocksOfSubjectsComeOutInOrder) {
  // 600 items make a block of fewer than 1,800 subjects: 5,000 subjects
  // span several blocks.
  const int n = 5000;
  const int p = 600;
  std::string text;
  for (int subject = 1; subject <= n; ++subject) {
    std::string record = std::to_string(subject);
    record.insert(0, 6 - record.size(), ' ');
    for (int item = 0; item < p; ++item) record += static_cast<char>('0' + (subject + item) % 10);
    text += record + "\n";
  }
  ConsoleCapture capture;
  RecordSource source;
  source.OpenText(10, "many.dat", text);
  Matrix data;
  std::vector<double> ids;
  ReadItemData(source, "(F6.0,600F1.0)", n, p, data, ids);
  ASSERT_EQ(data.rows, n);
  ASSERT_EQ(data.cols, p);
  for (int subject = 0; subject < n; subject += 37) {
    EXPECT_EQ(ids[static_cast<std::size_t>(subject)], subject + 1);
    for (int item = 0; item < p; item += 53) {
      EXPECT_EQ(data(subject, item), (subject + 1 + item) % 10);
    }
  }
  EXPECT_EQ(data(n - 1, p - 1), (n + p - 1) % 10);
}

}  // namespace
}  // namespace vq
