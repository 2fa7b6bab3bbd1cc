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

std::vector<double> Values(const std::string& format_text, const std::string& records, int count) {
  Outcome outcome = Read(format_text, records, count);
  EXPECT_EQ(outcome.error, 0) << format_text;
  return outcome.items;
}

int Error(const std::string& format_text, const std::string& records, int count) {
  return Read(format_text, records, count).error;
}

// The rest of the text that compilation names, or "ok".
std::string CompileRest(const std::string& text) {
  std::string rest = "unset";
  CompiledFormatPtr format = CompileFormat(text, &rest);
  return format ? "ok" : rest;
}

using V = std::vector<double>;

TEST(RecordFormat, ShortFieldsAndShortRecords) {
  EXPECT_EQ(Values("(F4.0,3F1.0)", "  12 101\n", 4), (V{12, 0, 1, 0}));
  EXPECT_EQ(Values("(F4.0,3F1.0)", "12\n", 4), (V{12, 0, 0, 0}));
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

TEST(RecordFormat, PointInTheFieldOverridesTheDecimals) {
  EXPECT_EQ(Values("(F3.0)", "3.5\n", 1), (V{3.5}));
  EXPECT_EQ(Values("(F3.2)", "123\n", 1), (V{1.23}));
  EXPECT_EQ(Values("(5F1.0)", "90817\n", 5), (V{9, 0, 8, 1, 7}));
  EXPECT_EQ(Values("(F6.3)", "-1.5  \n", 1), (V{-1.5}));
  EXPECT_EQ(Values("(F5.4)", "   12\n", 1), (V{0.0012}));
}

TEST(RecordFormat, CommaEndsAFieldAndTheNextStartsBehindIt) {
  EXPECT_EQ(Values("(F4.0,F4.0)", "12,3\n", 2), (V{12, 3}));
  // The columns not used by the first field are read by the second.
  EXPECT_EQ(Values("(F4.0,F2.0)", "1,234567\n", 2), (V{1, 23}));
  EXPECT_EQ(Values("(3F5.0)", "1,,2\n", 3), (V{1, 0, 2}));
}

TEST(RecordFormat, BlankFieldIsZeroAndTabsLead) {
  EXPECT_EQ(Values("(F5.0,F5.0)", "     \n", 2), (V{0, 0}));
  EXPECT_EQ(Values("(F3.0)", "\t12\n", 1), (V{12}));
  EXPECT_EQ(Error("(F3.0)", "1\t2\n", 1), kSevereConversion);
}

TEST(RecordFormat, BlankModes) {
  EXPECT_EQ(Values("(F3.0)", "1 2\n", 1), (V{12}));
  EXPECT_EQ(Values("(BZ,F3.0)", "1 2\n", 1), (V{102}));
  EXPECT_EQ(Values("(BZ,F3.0)", "1\n", 1), (V{100}));  // padded blanks are zeros too
  EXPECT_EQ(Values("(BZ,F3.0)", "  1\n", 1), (V{1}));
  EXPECT_EQ(Values("(BZ,F3.0,BN,F3.0)", "1  1  \n", 2), (V{100, 1}));
}

TEST(RecordFormat, Exponents) {
  EXPECT_EQ(Values("(F6.0)", "1.5E2 \n", 1), (V{150}));
  EXPECT_EQ(Values("(F6.0)", "1.5d2 \n", 1), (V{150}));
  EXPECT_EQ(Values("(F6.0)", "1.5Q-2\n", 1), (V{0.015}));
  EXPECT_EQ(Values("(F6.0)", "1.5-2 \n", 1), (V{0.015}));
  EXPECT_EQ(Values("(F6.0)", "1.5+2 \n", 1), (V{150}));
  EXPECT_EQ(Values("(E8.1)", "  15E1  \n", 1), (V{15}));  // implied decimal, then exponent
  EXPECT_EQ(Values("(D10.3,ES10.3,EN10.3,G10.3)", "1.0D0     2.0       3         4\n", 4),
            (V{1, 2, 0.003, 0.004}));
  EXPECT_EQ(Error("(F6.0)", "1.5E  \n", 1), kSevereConversion);
  EXPECT_EQ(Error("(F6.0)", "1.5E2X\n", 1), kSevereConversion);
  EXPECT_EQ(Error("(F6.0)", "1E999 \n", 1), kSevereConversion);
}

TEST(RecordFormat, ScaleFactorOnlyWithoutExponent) {
  EXPECT_EQ(Values("(2P,F5.0)", "  150\n", 1), (V{1.5}));
  EXPECT_EQ(Values("(2PF5.0)", "1.5E2\n", 1), (V{150}));
  EXPECT_EQ(Values("(-1P,F3.0,0P,F3.0)", "1.51.5\n", 2), (V{15, 1.5}));
}

TEST(RecordFormat, ConversionErrors) {
  EXPECT_EQ(Error("(F2.0)", "1a\n", 1), kSevereConversion);
  EXPECT_EQ(Error("(F2.0)", "--\n", 1), kSevereConversion);
  EXPECT_EQ(Error("(F4.0)", "1.2.\n", 1), kSevereConversion);
  EXPECT_EQ(Error("(F1.0)", "-\n", 1), kSevereConversion);
  EXPECT_EQ(Error("(F1.0)", ".\n", 1), kSevereConversion);
  EXPECT_EQ(Error("(F3.0)", "NaN\n", 1), kSevereConversion);
}

TEST(RecordFormat, IntegerAndLogicalFieldsGiveTheirValues) {
  EXPECT_EQ(Values("(I1,I3,I4.2)", "1-12  +7\n", 3), (V{1, -12, 7}));
  EXPECT_EQ(Values("(L1,L2,L3,L1)", "T.F .t \n", 4), (V{1, 0, 1, 0}));
  EXPECT_EQ(Values("(Z2,O3,B4)", "fF7771010\n", 3), (V{255, 511, 10}));
  EXPECT_EQ(Values("(I3)", "1,2\n", 1), (V{1}));
  EXPECT_EQ(Error("(I3)", "1.5\n", 1), kSevereConversion);
  EXPECT_EQ(Error("(L1)", "x\n", 1), kSevereConversion);
  EXPECT_EQ(Error("(O1)", "8\n", 1), kSevereConversion);
  EXPECT_EQ(Error("(I20)", "99999999999999999999\n", 1), kSevereConversion);
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

TEST(RecordFormat, ColumnMoves) {
  EXPECT_EQ(Values("(T3,F1.0,TL3,F1.0,TR1,F1.0)", "12345\n", 3), (V{3, 1, 3}));
  EXPECT_EQ(Values("(T2,TL5,F1.0)", "7\n", 1), (V{7}));  // at most back to column 1
  EXPECT_EQ(Values("(2X,F1.0,X,F1.0)", "12345\n", 2), (V{3, 5}));
  EXPECT_EQ(Values("(F5.0,1X,20F1.0)", "00017 12345678901234567890\n", 21),
            (V{17, 1, 2, 3, 4, 5, 6, 7, 8, 9, 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 0}));
}

TEST(RecordFormat, LiteralsAreSkips) {
  EXPECT_EQ(Values("('ab',F1.0)", "xy5\n", 1), (V{5}));
  EXPECT_EQ(Values("(\"a\"\"b\",F1.0)", "xyz7\n", 1), (V{7}));
  EXPECT_EQ(Values("('it''s',F1.0)", "12348\n", 1), (V{8}));
  EXPECT_EQ(Values("(2Hab,F1.0)", "xy9\n", 1), (V{9}));
  EXPECT_EQ(Values("(3H)'x,F1.0)", "abc4\n", 1), (V{4}));
}

TEST(RecordFormat, SlashesAndColon) {
  EXPECT_EQ(Values("(F1.0/F1.0)", "1\n2\n", 2), (V{1, 2}));
  EXPECT_EQ(Values("(F1.0,2/F1.0)", "1\nx\n3\n", 2), (V{1, 3}));
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

TEST(RecordFormat, MarksWithoutEffect) {
  EXPECT_EQ(Values("(S,SP,SS,F1.0,$,\\,F1.0)", "12\n", 2), (V{1, 2}));
  EXPECT_EQ(Values("( f4.0  3f1.0 )", "  12101\n", 4), (V{12, 1, 0, 1}));
}

TEST(RecordFormat, DefaultWidthOfARealField) {
  // F alone is F25.16: a number without a point gets 16 implied decimals.
  const std::string padded = std::string(23, ' ');
  EXPECT_EQ(Values("(F,F1.0)", padded + "7.8\n", 2), (V{7, 8}));
  EXPECT_EQ(Values("(F,F1.0)", padded + " 78\n", 2), (V{7e-16, 8}));
}

TEST(RecordFormat, ReversionSpreadsOneSubjectOverRecords) {
  const std::string two = "00011234\n67890\n";
  EXPECT_EQ(Values("(F4.0,5F1.0/5F1.0)", "0001123456\n78901\n", 11),
            (V{1, 1, 2, 3, 4, 5, 7, 8, 9, 0, 1}));
  EXPECT_EQ(Values("(F4.0/10F1.0)", "0001\n1234567890\n", 11),
            (V{1, 1, 2, 3, 4, 5, 6, 7, 8, 9, 0}));
  // Fewer fields than items: the format starts over on the next record.
  EXPECT_EQ(Values("(F4.0,4F1.0)", two, 9), (V{1, 1, 2, 3, 4, 6789, 0, 0, 0}));
}

TEST(RecordFormat, ReversionGoesToTheLastOutermostGroupWithItsCount) {
  EXPECT_EQ(Values("(F2.0,2(F1.0,1X))", "991 2 \n3 4 \n5 6\n", 7), (V{99, 1, 2, 3, 4, 5, 6}));
  EXPECT_EQ(Values("(1X,2(F1.0),(F2.0))", "x12\n34\n56\n", 5), (V{1, 2, 0, 34, 56}));
  EXPECT_EQ(Values("(F1.0,2(1X,(F1.0)))", "1 2 3\n 4 5\n", 5), (V{1, 2, 3, 4, 5}));
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

TEST(RecordFormat, FailuresOfARead) {
  EXPECT_EQ(Error("(1X)", "abc\n", 1), kSevereInfiniteLoop);
  EXPECT_EQ(Error("('abc')", "abc\n", 1), kSevereInfiniteLoop);
  EXPECT_EQ(Error("()", "abc\n", 1), kSevereInfiniteLoop);
  EXPECT_EQ(Error("(F1.0,(1X))", "1\n2\n3\n", 2), kSevereInfiniteLoop);
  EXPECT_EQ(Error("(Q)", "abc\n", 1), kSevereTypeMismatch);
  EXPECT_EQ(Error("(F1.0)", "", 1), kSevereEndOfFile);
  EXPECT_EQ(Error("(F1.0/F1.0)", "1\n", 2), kSevereEndOfFile);
  EXPECT_EQ(Error("(2F1.0)", "1\n", 3), kSevereEndOfFile);
  // Nothing to read still takes a record, and the unused fields are no fault.
  EXPECT_EQ(Error("(1X)", "abc\n", 0), 0);
  EXPECT_EQ(Error("(Q)", "abc\n", 0), 0);
  EXPECT_EQ(Error("(F1.0)", "", 0), kSevereEndOfFile);
}

TEST(RecordFormat, HugeRepeatCountsEndQuickly) {
  EXPECT_EQ(Values("(2147483647F1.0)", "123\n", 3), (V{1, 2, 3}));
  EXPECT_EQ(Values("(999999999(999999999(1X)),F1.0)", "123\n", 1), (V{0}));
  EXPECT_EQ(Values("(99999999(99999999(99999999(TL1))),T2,F1.0)", "123\n", 1), (V{2}));
  EXPECT_EQ(Values("(2147483647(2147483647(2147483647(2X,TL3))),F1.0)", "123\n", 1), (V{1}));
  EXPECT_EQ(Error("(2147483647(/))", "1\n2\n", 1), kSevereEndOfFile);
}

TEST(RecordFormat, FoldedGroupsMoveAsTheirPassesWould) {
  EXPECT_EQ(Values("(3(2X,TL1),F1.0)", "12345\n", 1), (V{4}));
  EXPECT_EQ(Values("(3(T2,1X),F1.0)", "12345\n", 1), (V{3}));
  EXPECT_EQ(Values("(5(TL1),F1.0)", "12345\n", 1), (V{1}));
  EXPECT_EQ(Values("(2X,4(TL1,3X,TL4),F1.0)", "12345\n", 1), (V{1}));
  EXPECT_EQ(Values("(BN,2(BZ),F3.0)", "1\n", 1), (V{100}));
}

TEST(CompileFormat, NamesTheRestFromTheFirstWrongCharacter) {
  EXPECT_EQ(CompileRest("F4.0)"), "F4.0)");  // no opening parenthesis
  EXPECT_EQ(CompileRest("  x(F4.0)"), "x(F4.0)");
  EXPECT_EQ(CompileRest(""), "");
  EXPECT_EQ(CompileRest("(F4)"), ")");             // missing point
  EXPECT_EQ(CompileRest("(F4.,F1.0)"), ",F1.0)");  // missing decimal count
  EXPECT_EQ(CompileRest("(E10)"), ")");
  EXPECT_EQ(CompileRest("(I3.)"), ")");
  EXPECT_EQ(CompileRest("(2T5,F1.0)"), "T5,F1.0)");  // cannot be repeated
  EXPECT_EQ(CompileRest("(2'ab')"), "'ab')");
  EXPECT_EQ(CompileRest("(2BN,F1.0)"), "BN,F1.0)");
  EXPECT_EQ(CompileRest("(2:)"), ":)");
  EXPECT_EQ(CompileRest("(F4.0,8F1.0"), "");  // text ends too early
  EXPECT_EQ(CompileRest("('abc)"), "");
  EXPECT_EQ(CompileRest("(5Hab)"), "");
  EXPECT_EQ(CompileRest("(F4.0,K3)"), "K3)");  // starts no element
  EXPECT_EQ(CompileRest("(P,F1.0)"), "P,F1.0)");
  EXPECT_EQ(CompileRest("(TL,F1.0)"), ",F1.0)");
  EXPECT_EQ(CompileRest("(-F1.0)"), "F1.0)");
  EXPECT_EQ(CompileRest("(0F1.0)"), "0F1.0)");
  EXPECT_EQ(CompileRest("(99999999999F1.0)"), "99999999999F1.0)");
}

TEST(CompileFormat, AFieldOfNoColumnsIsRefused) {
  // A data field must read at least one column: F0.0 would give every
  // item 0 and move nowhere.
  EXPECT_EQ(CompileRest("(F4.0,20F0.0)"), "0.0)");
  EXPECT_EQ(CompileRest("(E0.2)"), "0.2)");
  EXPECT_EQ(CompileRest("(2A0,F1.0)"), "0,F1.0)");
  EXPECT_EQ(CompileRest("(I0)"), "0)");
  EXPECT_EQ(CompileRest("(Z0.1)"), "0.1)");
  EXPECT_EQ(CompileRest("(L0)"), "0)");
  // Column moves of no columns and a scale of 0 stay what they are.
  EXPECT_EQ(CompileRest("(0X,T1,0P,F10.0)"), "ok");
}

TEST(CompileFormat, GroupsNestEightDeep) {
  EXPECT_EQ(CompileRest("((((((((( F1.0 )))))))))"), "ok");
  EXPECT_EQ(CompileRest("((((((((((F1.0))))))))))"), "(F1.0))))))))))");
  const std::string eighty_open(80, '(');
  EXPECT_EQ(CompileRest(eighty_open), std::string(71, '('));
}

TEST(CompileFormat, StopsAtTheParenthesisThatClosesTheFirst) {
  EXPECT_EQ(CompileRest("(F1.0) anything ( at all"), "ok");
  EXPECT_EQ(CompileRest("  (F4.0,5F1.0/5F1.0)"), "ok");
  EXPECT_EQ(CompileRest("(E10.3E2,G8.2E1,EN9.2,ES9.2,D8.2,A,A3,L,I,I4.2,O,Z,B,Q)"), "ok");
  EXPECT_EQ(CompileRest("(,F1.0,,1X,)"), "ok");
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
