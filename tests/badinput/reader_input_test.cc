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

}  // namespace
}  // namespace vq
