#include "cli/init.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "data/record_reader.h"

namespace vq {
namespace {

// One data file and what init must make of it. `first` is what the record
// format must read from the first record (as the run reads it: the id, then
// the items), so each case also proves that the guessed format reads the
// file (or its copy) as intended.
struct GuessCase {
  const char* name;
  std::string text;
  int items_option;
  // Expected:
  const char* coding;  // "DI", "OR", "CO"
  const char* format;
  int n, p;
  bool needs_copy;
  std::string labels;  // joined by blanks
  std::vector<double> first;
};

const char* Word(ItemCoding coding) {
  return coding == ItemCoding::kDichotomous ? "DI" : coding == ItemCoding::kOrdered ? "OR" : "CO";
}

std::string Join(const std::vector<std::string>& words) {
  std::string joined;
  for (const std::string& word : words) joined += (joined.empty() ? "" : " ") + word;
  return joined;
}

const std::vector<GuessCase>& GuessCases() {
  static const std::vector<GuessCase> cases = {
      {"packed digits, ids in columns 1-5",
       "    1123\n    2231\n    3312\n   10221\n",
       0,
       "OR",
       "(F5.0,3F1.0)",
       4,
       3,
       false,
       "I1 I2 I3",
       {1, 1, 2, 3}},
      {"packed digits without ids: T1 reads the first item again",
       "1234\n4321\n2143\n",
       0,
       "OR",
       "(F1.0,T1,4F1.0)",
       3,
       4,
       false,
       "I1 I2 I3 I4",
       {1, 1, 2, 3, 4}},
      {"packed digits, --items 3 leaves the first two columns to the id",
       "01101\n02011\n03110\n",
       3,
       "DI",
       "(F2.0,3F1.0)",
       3,
       3,
       false,
       "I1 I2 I3",
       {1, 1, 0, 1}},
      {"packed digits with a blank column between id and items",
       " 1 1213\n 2 2321\n 3 3132\n",
       0,
       "OR",
       "(F2.0,1X,4F1.0)",
       3,
       4,
       false,
       "I1 I2 I3 I4",
       {1, 1, 2, 1, 3}},
      {"commas with a header and an id named id: a copy without the header",
       "id,a,b,c\n1,1,0,1\n2,0,1,1\n3,1,1,0\n4,0,0,0\n",
       0,
       "DI",
       "(F25.0,3F25.0)",
       4,
       3,
       true,
       "a b c",
       {1, 1, 0, 1}},
      {"commas, no header, no id column",
       "3,1,2\r\n1,2,3\r\n2,3,1\r\n",
       0,
       "OR",
       "(F25.0,T1,3F25.0)",
       3,
       3,
       false,
       "I1 I2 I3",
       {3, 3, 1, 2}},
      {"commas, increasing first column read as id, continuous scores",
       "7,0.5,-1.25,3e1\n8,1.5,2.25,2E1\n9,2.5,0.75,1D1\n",
       0,
       "CO",
       "(F25.0,3F25.0)",
       3,
       3,
       false,
       "I1 I2 I3",
       {7, 0.5, -1.25, 30}},
      {"row names of a statistics package: quoted, so copied",
       "\"\",\"q1\",\"q2\",\"q3\"\n\"1\",1,2,3\n\"2\",2,3,1\n\"3\",3,1,2\n",
       0,
       "OR",
       "(F25.0,3F25.0)",
       3,
       3,
       true,
       "q1 q2 q3",
       {1, 1, 2, 3}},
      {"header one name short: the first field is the id",
       "x,y,z\n5,1,2,3\n6,2,3,1\n2,3,1,2\n",
       0,
       "OR",
       "(F25.0,3F25.0)",
       3,
       3,
       true,
       "x y z",
       {5, 1, 2, 3}},
      {"blanks in steady columns with a header: a copy, read by columns",
       " id   x    y    z\n  1  1.5  2.0  3.1\n  2  2.5  1.0  0.1\n 13  0.5  4.0  2.2\n",
       0,
       "CO",
       "(F3.0,3F5.0)",
       3,
       3,
       true,
       "x y z",
       {1, 1.5, 2.0, 3.1}},
      {"blanks of wandering width: a comma-separated copy",
       "1 2.5 3 4\n2 10.25 4 1\n3 1 5.5 2\n",
       0,
       "CO",
       "(F25.0,3F25.0)",
       3,
       3,
       true,
       "I1 I2 I3",
       {1, 2.5, 3, 4}},
      {"tabs: a comma-separated copy, the record number as id",
       "a\tb\tc\n3\t1\t2\n1\t2\t3\n2\t3\t1\n",
       0,
       "OR",
       "(F25.0,3F25.0)",
       3,
       3,
       true,
       "a b c",
       {1, 3, 1, 2}},
      {"a tab among blanks in steady columns: a copy, since a tab fails a field",
       "1 1 2 3\n2 2\t3 1\n3 3 1 2\n",
       0,
       "OR",
       "(F25.0,3F25.0)",
       3,
       3,
       true,
       "I1 I2 I3",
       {1, 1, 2, 3}},
      {"--items skips a field between id and items by columns",
       "1 9 1 2 3\n2 8 2 3 1\n3 7 3 1 2\n",
       3,
       "OR",
       "(F1.0,2X,3F2.0)",
       3,
       3,
       false,
       "I1 I2 I3",
       {1, 1, 2, 3}},
      {"--items with commas and a field to skip: a copy",
       "1,9,1,2,3\n2,8,2,3,1\n3,7,3,1,2\n",
       3,
       "OR",
       "(F25.0,3F25.0)",
       3,
       3,
       true,
       "I1 I2 I3",
       {1, 1, 2, 3}},
      {"long and repeated header names are cut to 15 and made unique",
       "conscientious_01,conscientious_02,x,x\n1,2,3,4\n2,3,4,1\n3,4,1,2\n",
       4,
       "OR",
       "(F25.0,T1,4F25.0)",
       3,
       4,
       true,
       "conscientious_0 conscientious_2 x x_2",
       {1, 1, 2, 3, 4}},
  };
  return cases;
}

TEST(InitGuessTest, GuessesLayoutCodingAndAFormatThatReadsTheFile) {
  for (const GuessCase& c : GuessCases()) {
    SCOPED_TRACE(c.name);
    DataGuess guess;
    InitFault fault;
    GuessOptions options;
    options.items = c.items_option;
    ASSERT_TRUE(GuessData(c.text, options, guess, fault))
        << fault.line << ":" << fault.column << ": " << fault.message;
    EXPECT_STREQ(Word(guess.coding), c.coding);
    EXPECT_EQ(guess.record_format, c.format);
    EXPECT_EQ(guess.record_count, c.n);
    EXPECT_EQ(guess.item_count, c.p);
    EXPECT_EQ(guess.needs_copy, c.needs_copy);
    EXPECT_EQ(Join(guess.labels), c.labels);

    // What the run would read: N records of the file or its copy.
    std::string rest;
    CompiledFormatPtr format = CompileFormat(guess.record_format, &rest);
    ASSERT_TRUE(format) << rest;
    RecordSource source;
    source.OpenText(10, "data", guess.needs_copy ? DataCopyText(guess) : c.text);
    std::vector<double> items(c.first.size(), -99.0);
    ASSERT_EQ(TryReadRecord(source, *format, items), 0);
    EXPECT_EQ(items, c.first);
    for (int subject = 1; subject < c.n; ++subject) {
      ASSERT_EQ(TryReadRecord(source, *format, items), 0) << "subject " << subject + 1;
    }
  }
}

TEST(InitGuessTest, CopyWithoutHeaderKeepsTheRecordsAsTheyStand) {
  DataGuess guess;
  InitFault fault;
  ASSERT_TRUE(
      GuessData("\xEF\xBB\xBFid,a,b,c\r\n1,1,0,1\r\n2,0,1,1\r\n3,1,1,0\r\n\r\n", {}, guess, fault));
  EXPECT_EQ(DataCopyText(guess), "1,1,0,1\n2,0,1,1\n3,1,1,0\n");
  EXPECT_EQ(guess.copy_reason, "the run cannot skip the header line");
}

struct FaultCase {
  std::string text;
  int items_option;
  std::string expected;  // "LINE:COLUMN: message"
};

TEST(InitGuessTest, UnreadableInputIsNamedWithLineAndColumn) {
  const std::vector<FaultCase> cases = {
      {"", 0, "1:1: the file holds no records"},
      {"\n  \n", 0, "1:1: the file holds no records"},
      {"a,b,c\n", 0, "2:1: no records after the header line"},
      {"1,2,3\n4,5\n6,7,8\n", 0, "2:4: the record has 2 fields, the first record (line 1) has 3"},
      {"1,2,3\n4,5,6,7\n", 0, "2:7: the record has 4 fields, the first record (line 1) has 3"},
      {"a,b,c\n1,2,3\n4,NA,6\n7,8,9\n", 0, "3:3: \"NA\" is not a number"},
      {"1,2,3\n4, ,6\n7,8,9\n", 0, "2:3: empty field"},
      {"1 2 3 4\n2 3,4 1\n3 4 1 2\n", 0, "2:3: \"3,4\" is not a number"},
      {"1 2 3 4\n\n2 3 4 1\n3 4 1 2\n", 0, "2:1: empty line among the records"},
      {"1 2 3 4\n2 2 4 1\n3 2 1 2\n", 0, "1:3: item 1 has the score 2 for every subject"},
      {"1 2\n3 4\n5 6\n", 0, "1:1: only 2 items found; a factor analysis needs at least 3"},
      {"1 2 3 4\n2 3 4 1\n", 0, "2:1: only 2 records; correlations need at least 3 subjects"},
      {"1 2 3 4\n2 3 4 1\n3 4 1 2\n",
       5,
       "1:1: --items 5 but the records have only 4 columns of digits"},
      {"0001123\n0002 31\n0003312\n", 0, "2:5: blank in the column of item 1"},
      {"1,2,3,1234567890.12345678901234\n2,3,1,2\n3,1,2,3\n",
       0,
       "1:7: a number of 25 characters; the run reads at most 24"},
      {"x,y,z,w\n1,2,3\n2,3,1\n3,1,2\n",
       0,
       "1:1: the header line has 4 names, the records have 3 fields"},
  };
  for (const FaultCase& c : cases) {
    DataGuess guess;
    InitFault fault;
    GuessOptions options;
    options.items = c.items_option;
    EXPECT_FALSE(GuessData(c.text, options, guess, fault)) << c.text;
    EXPECT_EQ(
        std::to_string(fault.line) + ":" + std::to_string(fault.column) + ": " + fault.message,
        c.expected)
        << c.text;
    EXPECT_FALSE(fault.hint.empty());
  }
}

TEST(InitGuessTest, FactorsFromTheEigenvaluesAboveOne) {
  // Two blocks of three items that agree within a block and not across.
  std::string text;
  const char* rows[] = {"111333",
                        "222111",
                        "333222",
                        "111222",
                        "222333",
                        "333111",
                        "112331",
                        "221113",
                        "332223",
                        "113223",
                        "223331",
                        "331112"};
  for (const char* row : rows) text += std::string(row) + "\n";
  DataGuess guess;
  InitFault fault;
  ASSERT_TRUE(GuessData(text, {}, guess, fault)) << fault.message;
  ASSERT_EQ(guess.eigenvalues.size(), 6u);
  EXPECT_GT(guess.eigenvalues[1], 1.0);
  EXPECT_LT(guess.eigenvalues[2], 1.0);
  EXPECT_EQ(guess.kaiser_count, 2);
  EXPECT_EQ(guess.factor_count, 2);
}

TEST(InitGuessTest, WarnsOfScoresThatLookLikeMissingCodes) {
  DataGuess guess;
  InitFault fault;
  ASSERT_TRUE(GuessData("1 2 3 9\n2 3 4 1\n3 4 1 2\n", {}, guess, fault));
  ASSERT_EQ(guess.warnings.size(), 1u);
  EXPECT_EQ(guess.warnings[0],
            "the score 9 stands far above the others (at most 4): if it marks a missing answer, "
            "the run takes it as a score");
  ASSERT_TRUE(GuessData("1 -9 3 2\n2 3 4 1\n3 4 1 2\n", {}, guess, fault));
  ASSERT_EQ(guess.warnings.size(), 1u);
  EXPECT_EQ(guess.warnings[0].substr(0, 40), "the score -9 stands below the others (fr");
  ASSERT_TRUE(GuessData("1 2 3 4\n2 3 4 1\n3 4 1 2\n", {}, guess, fault));
  EXPECT_TRUE(guess.warnings.empty());
}

}  // namespace
}  // namespace vq
