#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "data/record_reader.h"
#include "frame/console.h"

namespace vq {
namespace {

// The outcome of one read statement: the items, or the error number.
struct Outcome {
  int error = 0;
  std::vector<double> items;
};

Outcome Read(const std::string& format_text, const std::string& records, int count) {
  std::string rest;
  CompiledFormatPtr format = CompileFormat(format_text, &rest);
  EXPECT_TRUE(format) << format_text << " fails at " << rest;
  Outcome outcome;
  outcome.items.assign(static_cast<std::size_t>(count), -99.0);
  if (!format) {
    outcome.error = -1;
    return outcome;
  }
  RecordSource source;
  source.OpenText(10, "data.dat", records);
  outcome.error = TryReadRecord(source, *format, outcome.items);
  return outcome;
}

// The rest of the text that compilation names, or "ok".
std::string CompileRest(const std::string& text) {
  std::string rest = "unset";
  CompiledFormatPtr format = CompileFormat(text, &rest);
  return format ? "ok" : rest;
}

using V = std::vector<double>;

// One read statement per row: the format, the records, the count of items,
// and the error number (0 for none) with the items read.
TEST(RecordFormat, Table) {
  struct Row {
    std::string format;
    std::string records;
    int count;
    int error;
    V items;
  } rows[] = {
      // short fields and short records
      {"(F4.0,3F1.0)", "  12 101\n", 4, 0, {12, 0, 1, 0}},
      {"(F4.0,3F1.0)", "12\n", 4, 0, {12, 0, 0, 0}},
      // point in the field overrides the decimals
      {"(F3.0)", "3.5\n", 1, 0, {3.5}},
      {"(F3.2)", "123\n", 1, 0, {1.23}},
      {"(5F1.0)", "90817\n", 5, 0, {9, 0, 8, 1, 7}},
      {"(F6.3)", "-1.5  \n", 1, 0, {-1.5}},
      {"(F5.4)", "   12\n", 1, 0, {0.0012}},
      // comma ends a field and the next starts behind it
      {"(F4.0,F4.0)", "12,3\n", 2, 0, {12, 3}},
      // The columns not used by the first field are read by the second.
      {"(F4.0,F2.0)", "1,234567\n", 2, 0, {1, 23}},
      {"(3F5.0)", "1,,2\n", 3, 0, {1, 0, 2}},
      // blank field is zero and tabs lead
      {"(F5.0,F5.0)", "     \n", 2, 0, {0, 0}},
      {"(F3.0)", "\t12\n", 1, 0, {12}},
      {"(F3.0)", "1\t2\n", 1, kSevereConversion, {}},
      // blank modes
      {"(F3.0)", "1 2\n", 1, 0, {12}},
      {"(BZ,F3.0)", "1 2\n", 1, 0, {102}},
      {"(BZ,F3.0)", "1\n", 1, 0, {100}},  // padded blanks are zeros too
      {"(BZ,F3.0)", "  1\n", 1, 0, {1}},
      {"(BZ,F3.0,BN,F3.0)", "1  1  \n", 2, 0, {100, 1}},
      // exponents
      {"(F6.0)", "1.5E2 \n", 1, 0, {150}},
      {"(F6.0)", "1.5d2 \n", 1, 0, {150}},
      {"(F6.0)", "1.5Q-2\n", 1, 0, {0.015}},
      {"(F6.0)", "1.5-2 \n", 1, 0, {0.015}},
      {"(F6.0)", "1.5+2 \n", 1, 0, {150}},
      {"(E8.1)", "  15E1  \n", 1, 0, {15}},  // implied decimal, then exponent
      {"(D10.3,ES10.3,EN10.3,G10.3)",
       "1.0D0     2.0       3         4\n",
       4,
       0,
       {1, 2, 0.003, 0.004}},
      {"(F6.0)", "1.5E  \n", 1, kSevereConversion, {}},
      {"(F6.0)", "1.5E2X\n", 1, kSevereConversion, {}},
      {"(F6.0)", "1E999 \n", 1, kSevereConversion, {}},
      // scale factor only without exponent
      {"(2P,F5.0)", "  150\n", 1, 0, {1.5}},
      {"(2PF5.0)", "1.5E2\n", 1, 0, {150}},
      {"(-1P,F3.0,0P,F3.0)", "1.51.5\n", 2, 0, {15, 1.5}},
      // conversion errors
      {"(F2.0)", "1a\n", 1, kSevereConversion, {}},
      {"(F2.0)", "--\n", 1, kSevereConversion, {}},
      {"(F4.0)", "1.2.\n", 1, kSevereConversion, {}},
      {"(F1.0)", "-\n", 1, kSevereConversion, {}},
      {"(F1.0)", ".\n", 1, kSevereConversion, {}},
      {"(F3.0)", "NaN\n", 1, kSevereConversion, {}},
      // integer and logical fields give their values
      {"(I1,I3,I4.2)", "1-12  +7\n", 3, 0, {1, -12, 7}},
      {"(L1,L2,L3,L1)", "T.F .t \n", 4, 0, {1, 0, 1, 0}},
      {"(Z2,O3,B4)", "fF7771010\n", 3, 0, {255, 511, 10}},
      {"(I3)", "1,2\n", 1, 0, {1}},
      {"(I3)", "1.5\n", 1, kSevereConversion, {}},
      {"(L1)", "x\n", 1, kSevereConversion, {}},
      {"(O1)", "8\n", 1, kSevereConversion, {}},
      {"(I20)", "99999999999999999999\n", 1, kSevereConversion, {}},
      // column moves
      {"(T3,F1.0,TL3,F1.0,TR1,F1.0)", "12345\n", 3, 0, {3, 1, 3}},
      {"(T2,TL5,F1.0)", "7\n", 1, 0, {7}},  // at most back to column 1
      {"(2X,F1.0,X,F1.0)", "12345\n", 2, 0, {3, 5}},
      {"(F5.0,1X,20F1.0)", "00017 12345678901234567890\n", 21, 0, {17, 1, 2, 3, 4, 5, 6, 7, 8, 9, 0,
                                                                   1,  2, 3, 4, 5, 6, 7, 8, 9, 0}},
      // literals are skips
      {"('ab',F1.0)", "xy5\n", 1, 0, {5}},
      {"(\"a\"\"b\",F1.0)", "xyz7\n", 1, 0, {7}},
      {"('it''s',F1.0)", "12348\n", 1, 0, {8}},
      {"(2Hab,F1.0)", "xy9\n", 1, 0, {9}},
      {"(3H)'x,F1.0)", "abc4\n", 1, 0, {4}},
      // marks without effect
      {"(S,SP,SS,F1.0,$,\\,F1.0)", "12\n", 2, 0, {1, 2}},
      {"( f4.0  3f1.0 )", "  12101\n", 4, 0, {12, 1, 0, 1}},
      // reversion goes to the last outermost group with its count
      {"(F2.0,2(F1.0,1X))", "991 2 \n3 4 \n5 6\n", 7, 0, {99, 1, 2, 3, 4, 5, 6}},
      {"(1X,2(F1.0),(F2.0))", "x12\n34\n56\n", 5, 0, {1, 2, 0, 34, 56}},
      {"(F1.0,2(1X,(F1.0)))", "1 2 3\n 4 5\n", 5, 0, {1, 2, 3, 4, 5}},
      // failures of a read
      {"(1X)", "abc\n", 1, kSevereInfiniteLoop, {}},
      {"('abc')", "abc\n", 1, kSevereInfiniteLoop, {}},
      {"()", "abc\n", 1, kSevereInfiniteLoop, {}},
      {"(F1.0,(1X))", "1\n2\n3\n", 2, kSevereInfiniteLoop, {}},
      {"(Q)", "abc\n", 1, kSevereTypeMismatch, {}},
      {"(F1.0)", "", 1, kSevereEndOfFile, {}},
      {"(F1.0/F1.0)", "1\n", 2, kSevereEndOfFile, {}},
      {"(2F1.0)", "1\n", 3, kSevereEndOfFile, {}},
      // Nothing to read still takes a record, and the unused fields are no fault.
      {"(1X)", "abc\n", 0, 0, {}},
      {"(Q)", "abc\n", 0, 0, {}},
      {"(F1.0)", "", 0, kSevereEndOfFile, {}},
      // huge repeat counts end quickly
      {"(2147483647F1.0)", "123\n", 3, 0, {1, 2, 3}},
      {"(999999999(999999999(1X)),F1.0)", "123\n", 1, 0, {0}},
      {"(99999999(99999999(99999999(TL1))),T2,F1.0)", "123\n", 1, 0, {2}},
      {"(2147483647(2147483647(2147483647(2X,TL3))),F1.0)", "123\n", 1, 0, {1}},
      {"(2147483647(/))", "1\n2\n", 1, kSevereEndOfFile, {}},
      // folded groups move as their passes would
      {"(3(2X,TL1),F1.0)", "12345\n", 1, 0, {4}},
      {"(3(T2,1X),F1.0)", "12345\n", 1, 0, {3}},
      {"(5(TL1),F1.0)", "12345\n", 1, 0, {1}},
      {"(2X,4(TL1,3X,TL4),F1.0)", "12345\n", 1, 0, {1}},
      {"(BN,2(BZ),F3.0)", "1\n", 1, 0, {100}},
      // slashes
      {"(F1.0/F1.0)", "1\n2\n", 2, 0, {1, 2}},
      {"(F1.0,2/F1.0)", "1\nx\n3\n", 2, 0, {1, 3}},
      // F alone is F25.16: a number without a point gets 16 implied decimals.
      {"(F,F1.0)", std::string(23, ' ') + "7.8\n", 2, 0, {7, 8}},
      {"(F,F1.0)", std::string(23, ' ') + " 78\n", 2, 0, {7e-16, 8}},
      // reversion spreads one subject over records
      {"(F4.0,5F1.0/5F1.0)", "0001123456\n78901\n", 11, 0, {1, 1, 2, 3, 4, 5, 7, 8, 9, 0, 1}},
      {"(F4.0/10F1.0)", "0001\n1234567890\n", 11, 0, {1, 1, 2, 3, 4, 5, 6, 7, 8, 9, 0}},
      // Fewer fields than items: the format starts over on the next record.
      {"(F4.0,4F1.0)", "00011234\n67890\n", 9, 0, {1, 1, 2, 3, 4, 6789, 0, 0, 0}},
  };
  for (const Row& row : rows) {
    const Outcome outcome = Read(row.format, row.records, row.count);
    EXPECT_EQ(outcome.error, row.error) << row.format << " on " << row.records;
    if (row.error == 0) {
      EXPECT_EQ(outcome.items, row.items) << row.format << " on " << row.records;
    }
  }
}

// Each format text and the rest of it that the compilation names ("ok"
// when it compiles).
TEST(CompileFormat, Table) {
  const std::pair<std::string, std::string> rows[] = {
      // names the rest from the first wrong character
      {"F4.0)", "F4.0)"},  // no opening parenthesis
      {"  x(F4.0)", "x(F4.0)"},
      {"", ""},
      {"(F4)", ")"},             // missing point
      {"(F4.,F1.0)", ",F1.0)"},  // missing decimal count
      {"(E10)", ")"},
      {"(I3.)", ")"},
      {"(2T5,F1.0)", "T5,F1.0)"},  // cannot be repeated
      {"(2'ab')", "'ab')"},
      {"(2BN,F1.0)", "BN,F1.0)"},
      {"(2:)", ":)"},
      {"(F4.0,8F1.0", ""},  // text ends too early
      {"('abc)", ""},
      {"(5Hab)", ""},
      {"(F4.0,K3)", "K3)"},  // starts no element
      {"(P,F1.0)", "P,F1.0)"},
      {"(TL,F1.0)", ",F1.0)"},
      {"(-F1.0)", "F1.0)"},
      {"(0F1.0)", "0F1.0)"},
      {"(99999999999F1.0)", "99999999999F1.0)"},
      // a field of no columns is refused
      // A data field must read at least one column: F0.0 would give every
      // item 0 and move nowhere.
      {"(F4.0,20F0.0)", "0.0)"},
      {"(E0.2)", "0.2)"},
      {"(2A0,F1.0)", "0,F1.0)"},
      {"(I0)", "0)"},
      {"(Z0.1)", "0.1)"},
      {"(L0)", "0)"},
      // Column moves of no columns and a scale of 0 stay what they are.
      {"(0X,T1,0P,F10.0)", "ok"},
      // stops at the parenthesis that closes the first
      {"(F1.0) anything ( at all", "ok"},
      {"  (F4.0,5F1.0/5F1.0)", "ok"},
      {"(E10.3E2,G8.2E1,EN9.2,ES9.2,D8.2,A,A3,L,I,I4.2,O,Z,B,Q)", "ok"},
      {"(,F1.0,,1X,)", "ok"},
      // groups nest eight deep
      {"((((((((( F1.0 )))))))))", "ok"},
      {"((((((((((F1.0))))))))))", "(F1.0))))))))))"},
      {std::string(80, '('), std::string(71, '(')},
  };
  for (const auto& [text, rest] : rows) EXPECT_EQ(CompileRest(text), rest) << text;
}

TEST(RecordFormat, ALongerRecordLosesItsRest) {
  RecordSource source;
  source.OpenText(10, "data.dat", "1234567\n89\n");
  std::vector<double> items(2);
  ReadRecord(source, "(2F1.0)", items);
  EXPECT_EQ(items, (V{1, 2}));
  ReadRecord(source, "(2F1.0)", items);
  EXPECT_EQ(items, (V{8, 9}));
}

TEST(RecordFormat, TextFieldsFillTheItemsBytes) {
  Outcome four = Read("(A4,A10,A)", "abcd0123456789xy\n", 3);
  ASSERT_EQ(four.error, 0);
  char bytes[8];
  std::memcpy(bytes, &four.items[0], 8);
  EXPECT_EQ(std::string(bytes, 8), "abcd    ");
  std::memcpy(bytes, &four.items[1], 8);
  EXPECT_EQ(std::string(bytes, 8), "23456789");
  std::memcpy(bytes, &four.items[2], 8);
  EXPECT_EQ(std::string(bytes, 8), "xy      ");
  // No comma rule for text fields.
  Outcome comma = Read("(A3,F1.0)", "a,b7\n", 2);
  ASSERT_EQ(comma.error, 0);
  std::memcpy(bytes, &comma.items[0], 8);
  EXPECT_EQ(std::string(bytes, 8), "a,b     ");
  EXPECT_EQ(comma.items[1], 7);
}

TEST(RecordFormat, SlashesAndColon) {
  // The statement runs on to the next data field: the slash still advances.
  RecordSource source;
  source.OpenText(10, "data.dat", "1\n2\n3\n4\n");
  std::vector<double> one(1);
  ReadRecord(source, "(F1.0/F1.0)", one);
  ReadRecord(source, "(F1.0/F1.0)", one);
  EXPECT_EQ(one[0], 3);
  // A colon ends it when no items are left.
  source.Rewind();
  ReadRecord(source, "(F1.0,:/F1.0)", one);
  ReadRecord(source, "(F1.0,:/F1.0)", one);
  EXPECT_EQ(one[0], 2);
}

TEST(RecordFormat, NoIdFieldShiftsScoresByOnePlace) {
  // A format of p fields read for an id and p scores takes the last score
  // from the next record.
  RecordSource source;
  source.OpenText(10, "data.dat", "123\n456\n789\n");
  std::vector<double> items(4);
  ReadRecord(source, "(3F1.0)", items);
  EXPECT_EQ(items, (V{1, 2, 3, 4}));
  // The third record is the second subject, which runs out of records.
  CompiledFormatPtr format = CompileFormat("(3F1.0)", nullptr);
  ASSERT_TRUE(format);
  EXPECT_EQ(TryReadRecord(source, *format, items), kSevereEndOfFile);
  EXPECT_EQ(items[0], 7);
}

TEST(ReadRecord, FormatErrorLineThenSevere62) {
  ConsoleCapture capture;
  RecordSource source;
  source.OpenText(10, "items.dat", "1\n");
  std::vector<double> items(1);
  try {
    ReadRecord(source, "(F4.0,K3)", items);
    FAIL() << "no stop";
  } catch (const RunStopped& stop) {
    EXPECT_EQ(stop.kind, RunStopped::Kind::kSevere);
    EXPECT_EQ(stop.exit_code, 62);
  }
  EXPECT_EQ(capture.Err(),
            "format syntax error at or near K3)\n"
            "severe (62): syntax error in format, unit 10, file items.dat\n");
}

TEST(ReadRecord, FormatErrorLineShowsAtMost80Characters) {
  ConsoleCapture capture;
  ReportFormatError(std::string(100, 'k'));
  EXPECT_EQ(capture.Err(), "format syntax error at or near " + std::string(80, 'k') + "\n");
}

TEST(ReadRecord, SevereLinesOfAFailedRead) {
  ConsoleCapture capture;
  RecordSource source;
  source.OpenText(10, "items.dat", "1a\n");
  std::vector<double> items(1);
  EXPECT_THROW(ReadRecord(source, "(F2.0)", items), RunStopped);
  EXPECT_THROW(ReadRecord(source, "(F2.0)", items), RunStopped);
  source.Rewind();
  EXPECT_THROW(ReadRecord(source, "(1X)", items), RunStopped);
  EXPECT_EQ(capture.Err(),
            "severe (64): input conversion error, unit 10, file items.dat\n"
            "severe (24): end-of-file during read, unit 10, file items.dat\n"
            "severe (60): infinite format loop, unit 10, file items.dat\n");
}

}  // namespace
}  // namespace vq
