#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "data/record_reader.h"
#include "frame/console.h"
#include "text/edit_descriptors.h"

namespace vq {
namespace {

RecordSource Text(const std::string& text, int unit = 12) {
  RecordSource source;
  source.OpenText(unit, "test.in", text);
  return source;
}

// Runs a list read that must fail and returns its error number.
int ListError(const std::string& text, std::vector<ListItem> items) {
  RecordSource source = Text(text);
  return TryReadList(source, items);
}

TEST(ListRead, FieldsOfTheDataLine) {
  RecordSource source = Text(">DATA: items.dat 8 250\n>NEXT\n");
  std::string keyword, file;
  int p = 0, n = 0;
  ReadList(source, {{TextItem(keyword, 6), TextItem(file, 50), IntegerItem(p), IntegerItem(n)}});
  EXPECT_EQ(keyword, ">DATA:");
  EXPECT_EQ(file, "items.dat" + std::string(41, ' '));
  EXPECT_EQ(p, 8);
  EXPECT_EQ(n, 250);
  std::string next;
  ReadColumns(source, {{TextItem(next, 5)}});
  EXPECT_EQ(next, ">NEXT");
}

TEST(ListRead, WordsAreCutOrPaddedToTheirWidth) {
  RecordSource source = Text(">METRIC: CONTINUOUS ORDINAL sm\n");
  std::string keyword, coding, form, smoothing;
  ReadList(
      source,
      {{TextItem(keyword, 8), TextItem(coding, 2), TextItem(form, 4), TextItem(smoothing, 2)}});
  EXPECT_EQ(coding, "CO");
  EXPECT_EQ(form, "ORDI");
  EXPECT_EQ(smoothing, "sm");
}

TEST(ListRead, SeparatorsAreBlanksTabsAndOneComma) {
  RecordSource source = Text("1\t2 , 3,4   ,\t5\n");
  std::vector<double> v(5, -1.0);
  ReadList(source,
           {{RealItem(v[0]), RealItem(v[1]), RealItem(v[2]), RealItem(v[3]), RealItem(v[4])}});
  EXPECT_EQ(v, (std::vector<double>{1, 2, 3, 4, 5}));
}

TEST(ListRead, TwoCommasLeaveTheItemBetweenThemUnchanged) {
  RecordSource source = Text("1,,3\n");
  double a = -1, b = -7, c = -1;
  ReadList(source, {{RealItem(a), RealItem(b), RealItem(c)}});
  EXPECT_EQ(a, 1.0);
  EXPECT_EQ(b, -7.0);
  EXPECT_EQ(c, 3.0);
}

TEST(ListRead, LeadingCommaIsAnEmptyValue) {
  RecordSource source = Text(" ,2\n");
  int a = 9, b = 9;
  ReadList(source, {{IntegerItem(a), IntegerItem(b)}});
  EXPECT_EQ(a, 9);
  EXPECT_EQ(b, 2);
}

TEST(ListRead, RecordEndCountsAsABlank) {
  // The comma that opens the second record belongs to the separator of 1.
  RecordSource source = Text("1\n,2\n");
  double a = 0, b = 0;
  ReadList(source, {{RealItem(a), RealItem(b)}});
  EXPECT_EQ(a, 1.0);
  EXPECT_EQ(b, 2.0);
  // A comma at the end and another at the start make an empty value.
  RecordSource other = Text("1,\n,2 3\n");
  double c = -5;
  ReadList(other, {{RealItem(a), RealItem(c), RealItem(b)}});
  EXPECT_EQ(c, -5.0);
  EXPECT_EQ(b, 2.0);
}

TEST(ListRead, GoesOnOverBlankRecordsAndDropsTheRestOfTheLast) {
  RecordSource source = Text("1 2\n\n   \n3 4 5\n6\n");
  std::vector<double> v(3);
  ReadList(source, {{RealItem(v[0]), RealItem(v[1]), RealItem(v[2])}});
  EXPECT_EQ(v, (std::vector<double>{1, 2, 3}));
  double next = 0;
  ReadList(source, {{RealItem(next)}});
  EXPECT_EQ(next, 6.0);  // 4 and 5 were dropped with their record
}

TEST(ListRead, SlashEndsTheStatement) {
  RecordSource source = Text("1 2/ 3\n4\n");
  int a = 0, b = 0, c = -3;
  ReadList(source, {{IntegerItem(a), IntegerItem(b), IntegerItem(c)}});
  EXPECT_EQ(a, 1);
  EXPECT_EQ(b, 2);
  EXPECT_EQ(c, -3);
  ReadList(source, {{IntegerItem(c)}});
  EXPECT_EQ(c, 4);
}

TEST(ListRead, SlashEndsAnUnquotedFileName) {
  RecordSource source = Text(">DATA: dir/items.dat 8 250\n");
  std::string keyword, file;
  int p = -1, n = -1;
  ReadList(source, {{TextItem(keyword, 6), TextItem(file, 50), IntegerItem(p), IntegerItem(n)}});
  EXPECT_EQ(std::string(Trim(file)), "dir");
  EXPECT_EQ(p, -1);
  EXPECT_EQ(n, -1);
}

TEST(ListRead, QuotedTextWithDoubledQuotesAndOverRecordEnds) {
  RecordSource source = Text("'it''s a file' \"say \"\"hi\"\"\" 'two\nlines' 7\n");
  std::string a, b, c;
  int k = 0;
  ReadList(source, {{TextItem(a, 14), TextItem(b, 10), TextItem(c, 8), IntegerItem(k)}});
  EXPECT_EQ(a, "it's a file   ");
  EXPECT_EQ(b, "say \"hi\"  ");
  EXPECT_EQ(c, "twolines");
  EXPECT_EQ(k, 7);
}

TEST(ListRead, QuotedBackslashesColonsAndBlanksStay) {
  RecordSource source = Text("'C:\\data\\my items.dat'\n");
  std::string file;
  ReadList(source, {{TextItem(file, 22)}});
  EXPECT_EQ(file, "C:\\data\\my items.dat  ");
}

TEST(ListRead, IntegerItemsTruncateRealTokensTowardZero) {
  RecordSource source = Text("10.7 -2.9 3.0 1e3 2E-1 +4\n");
  std::vector<int> v(6);
  ReadList(source,
           {{IntegerItem(v[0]),
             IntegerItem(v[1]),
             IntegerItem(v[2]),
             IntegerItem(v[3]),
             IntegerItem(v[4]),
             IntegerItem(v[5])}});
  EXPECT_EQ(v, (std::vector<int>{10, -2, 3, 1000, 0, 4}));
}

TEST(ListRead, RealForms) {
  RecordSource source = Text("0.0001 -1.5D2 .5 7. 2.5e-1 1+2 3q1 42\n");
  std::vector<double> v(8);
  std::vector<ListItem> items;
  for (double& x : v) items.push_back(RealItem(x));
  ReadList(source, items);
  EXPECT_EQ(v, (std::vector<double>{0.0001, -150.0, 0.5, 7.0, 0.25, 100.0, 30.0, 42.0}));
}

TEST(ListRead, RepeatCounts) {
  RecordSource source = Text("3*0.5 2* 7\n");
  std::vector<double> v(6, -1.0);
  std::vector<ListItem> items;
  for (double& x : v) items.push_back(RealItem(x));
  ReadList(source, items);
  EXPECT_EQ(v, (std::vector<double>{0.5, 0.5, 0.5, -1.0, -1.0, 7.0}));
}

TEST(ListRead, RepeatOfAQuotedText) {
  RecordSource source = Text("2*'a b' c\n");
  std::string x, y, z;
  ReadList(source, {{TextItem(x, 3), TextItem(y, 3), TextItem(z, 3)}});
  EXPECT_EQ(x, "a b");
  EXPECT_EQ(y, "a b");
  EXPECT_EQ(z, "c  ");
}

TEST(ListRead, UnquotedTextIsAtMost2049Characters) {
  const std::string longer(2049, 'x');
  RecordSource source = Text(longer + "yz\n");
  std::string a, b;
  ReadList(source, {{TextItem(a, 3000), TextItem(b, 3)}});
  EXPECT_EQ(a, longer + std::string(951, ' '));
  EXPECT_EQ(b, "yz ");
}

TEST(ListRead, Errors) {
  double x = 0;
  int k = 0;
  std::string t;
  EXPECT_EQ(ListError("abc\n", {RealItem(x)}), kSevereListSyntax);
  EXPECT_EQ(ListError("T\n", {IntegerItem(k)}), kSevereListSyntax);
  EXPECT_EQ(ListError("'1.5'\n", {RealItem(x)}), kSevereListSyntax);
  EXPECT_EQ(ListError("0*5\n", {RealItem(x)}), kSevereListSyntax);
  EXPECT_EQ(ListError("'ab'cd\n", {TextItem(t, 4)}), kSevereListSyntax);
  EXPECT_EQ(ListError("12x\n", {RealItem(x)}), kSevereConversion);
  EXPECT_EQ(ListError("1.2.3\n", {RealItem(x)}), kSevereConversion);
  EXPECT_EQ(ListError("-\n", {RealItem(x)}), kSevereConversion);
  EXPECT_EQ(ListError("1e400\n", {RealItem(x)}), kSevereConversion);
  EXPECT_EQ(ListError("3000000000\n", {IntegerItem(k)}), kSevereConversion);
  EXPECT_EQ(ListError("1 2\n", {RealItem(x), RealItem(x), RealItem(x)}), kSevereEndOfFile);
  EXPECT_EQ(ListError("", {RealItem(x)}), kSevereEndOfFile);
  EXPECT_EQ(ListError("'open\n", {TextItem(t, 4)}), kSevereEndOfFile);
}

TEST(ListRead, IntegerRangeEnds) {
  RecordSource source = Text("-2147483648 2147483647\n");
  int a = 0, b = 0;
  ReadList(source, {{IntegerItem(a), IntegerItem(b)}});
  EXPECT_EQ(a, -2147483647 - 1);
  EXPECT_EQ(b, 2147483647);
}

TEST(ListRead, ItemsBeforeAFaultKeepWhatTheyGot) {
  RecordSource source = Text(">ROTATE: PROMAX x\n");
  std::string keyword, word;
  int power = -1;
  EXPECT_EQ(TryReadList(source, {{TextItem(keyword, 8), TextItem(word, 8), IntegerItem(power)}}),
            kSevereListSyntax);
  EXPECT_EQ(word, "PROMAX  ");
  EXPECT_EQ(power, -1);
}

TEST(ListRead, SevereLineNamesUnitAndFile) {
  ConsoleCapture capture;
  RecordSource source = Text("1 x\n", 12);
  double a = 0, b = 0;
  try {
    ReadList(source, {{RealItem(a), RealItem(b)}});
    FAIL() << "no stop";
  } catch (const RunStopped& stop) {
    EXPECT_EQ(stop.kind, RunStopped::Kind::kSevere);
    EXPECT_EQ(stop.exit_code, 59);
  }
  EXPECT_EQ(capture.Err(), "severe (59): list-directed I/O syntax error, unit 12, file test.in\n");
}

TEST(ListRead, ProbeThenStepBackReadsTheSameLineAgain) {
  RecordSource source = Text("\n>TECHNICAL: 0.001 100\n>FORMAT: (F4.0)\n");
  std::string probe;
  ReadList(source, {{TextItem(probe, 11)}});
  EXPECT_EQ(probe, ">TECHNICAL:");
  source.StepBack();
  std::string keyword;
  double epsilon = 0;
  int iterations = 0;
  ReadList(source, {{TextItem(keyword, 11), RealItem(epsilon), IntegerItem(iterations)}});
  EXPECT_EQ(epsilon, 0.001);
  EXPECT_EQ(iterations, 100);
  std::string line;
  ReadColumns(source, {{TextItem(line, 8)}});
  EXPECT_EQ(line, ">FORMAT:");
}

TEST(ColumnRead, CutsOneRecordAndPadsAShortOne) {
  RecordSource source = Text(">TITLE: Reasoning items\n>FORM\n");
  std::string keyword, title;
  ReadColumns(source, {{TextItem(keyword, 7), TextItem(title, 80)}});
  EXPECT_EQ(keyword, ">TITLE:");
  EXPECT_EQ(title, " Reasoning items" + std::string(64, ' '));
  std::string a, b;
  ReadColumns(source, {{TextItem(a, 8), TextItem(b, 3)}});
  EXPECT_EQ(a, ">FORM   ");
  EXPECT_EQ(b, "   ");
  EXPECT_EQ(TryReadColumns(source, {{TextItem(a, 8)}}), kSevereEndOfFile);
}

TEST(ColumnRead, DropsWhatFollowsTheLastField) {
  RecordSource source = Text("* comment\n>TITLE: x\n");
  std::string mark;
  ReadColumns(source, {{TextItem(mark, 1)}});
  EXPECT_EQ(mark, "*");
  ReadColumns(source, {{TextItem(mark, 1)}});
  EXPECT_EQ(mark, ">");
  source.StepBack();
  std::string keyword;
  ReadColumns(source, {{TextItem(keyword, 7)}});
  EXPECT_EQ(keyword, ">TITLE:");
}

}  // namespace
}  // namespace vq
