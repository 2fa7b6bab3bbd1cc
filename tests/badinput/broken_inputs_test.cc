// Whole runs of the program on broken inputs: every one must end by one of
// the program's four ways (pause and stop, plain stop, stop with a text,
// severe read error with its number as exit status) or complete normally,
// with the exact words of that ending.
#include <gtest/gtest.h>

#include <filesystem>
#include <random>
#include <regex>
#include <string>
#include <vector>

#include "badinput/whole_run.h"

namespace vq::badinput {
namespace {

namespace fs = std::filesystem;

const std::string kBlanks29(28, ' ');  // a console text "from column 30"

// A copy of an example folder with its command file as run.in.
fs::path Example(const std::string& name, const std::string& example, const std::string& command) {
  const fs::path folder = ScratchFolder(name);
  CopyExample(example, folder);
  fs::copy_file(folder / command, folder / "run.in");
  return folder;
}

std::string Replace(std::string text, const std::string& from, const std::string& to) {
  const std::size_t at = text.find(from);
  EXPECT_NE(at, std::string::npos) << from;
  if (at != std::string::npos) text.replace(at, from.size(), to);
  return text;
}

// Edits a file of the folder by one replacement.
void Edit(const fs::path& file, const std::string& from, const std::string& to) {
  WriteWholeFile(file, Replace(ReadWholeFile(file), from, to));
}

std::string WithCrLf(const std::string& text) {
  std::string out;
  for (char c : text) {
    if (c == '\n') out += '\r';
    out += c;
  }
  return out;
}

RunResult RunIn(const fs::path& folder, const std::string& command = "run.in") {
  return RunProgram(folder, {"--seed", "1", command});
}

// A normal end: status 0, nothing on stderr, "Finished" last.
void ExpectFinished(const RunResult& result) {
  EXPECT_FALSE(result.timed_out);
  EXPECT_EQ(result.signal, 0);
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.errors, "");
  const std::string tail = kBlanks29 + "Finished\n";
  ASSERT_GE(result.console.size(), tail.size());
  EXPECT_EQ(result.console.substr(result.console.size() - tail.size()), tail);
}

void ExpectSevere(const RunResult& result, int number, const std::string& line) {
  EXPECT_FALSE(result.timed_out);
  EXPECT_EQ(result.signal, 0);
  EXPECT_EQ(result.status, number);
  EXPECT_EQ(result.errors, line + "\n");
  EXPECT_EQ(result.console.find("Stop - Program terminated."), std::string::npos);
}

// Any one of the ways of ending: a normal end or a stop (status 0, nothing
// on stderr), or a severe error: status N and the one line "severe (N): ...",
// after the line that names a format's fault for N = 62.
void ExpectSomeEnding(const RunResult& result) {
  EXPECT_FALSE(result.timed_out);
  EXPECT_EQ(result.signal, 0);
  if (result.status == 0) {
    EXPECT_EQ(result.errors, "");
    return;
  }
  static const std::regex severe(
      "(format syntax error at or near [^\\n]*\\n)?severe \\(([0-9]+)\\): [^\\n]*\\n");
  std::smatch match;
  ASSERT_TRUE(std::regex_match(result.errors, match, severe)) << result.errors;
  EXPECT_EQ(match[2].str(), std::to_string(result.status));
}

// A message from column 30, two empty lines, the pause and the stop.
void ExpectPauseStop(const RunResult& result, const std::string& message) {
  EXPECT_FALSE(result.timed_out);
  EXPECT_EQ(result.signal, 0);
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.errors, "");
  const std::string tail = kBlanks29 + message + "\n" + kPauseStop;
  ASSERT_GE(result.console.size(), tail.size()) << result.console;
  EXPECT_EQ(result.console.substr(result.console.size() - tail.size()), tail);
}

// --- Command files cut short, garbage, line ends -------------------------------

TEST(BrokenCommandFile, CutAfterEveryLineEndsAtTheFilesEnd) {
  const fs::path folder = Example("cut", "demo", "demo.in");
  const std::string whole = ReadWholeFile(folder / "demo.in");
  std::vector<std::size_t> line_ends;
  for (std::size_t i = 0; i < whole.size(); ++i) {
    if (whole[i] == '\n') line_ends.push_back(i + 1);
  }
  ASSERT_EQ(line_ends.size(), 13u);
  // Kept: no line, then 1 to 12 lines; the thirteenth (">LABELS:") is
  // missed only after the correlations, and the run still ends at the
  // file's end on stream 12.
  for (std::size_t kept = 0; kept < line_ends.size(); ++kept) {
    WriteWholeFile(folder / "run.in", whole.substr(0, kept == 0 ? 0 : line_ends[kept - 1]));
    const RunResult result = RunIn(folder);
    SCOPED_TRACE("lines kept: " + std::to_string(kept));
    ExpectSevere(result, 24, "severe (24): end-of-file during read, unit 12, file run.in");
  }
  // Cut in the middle of each line: always one of the ways of ending.
  for (std::size_t line = 0; line < line_ends.size(); ++line) {
    const std::size_t start = line == 0 ? 0 : line_ends[line - 1];
    WriteWholeFile(folder / "run.in", whole.substr(0, start + (line_ends[line] - start) / 2));
    const RunResult result = RunIn(folder);
    SCOPED_TRACE("cut in line " + std::to_string(line + 1));
    ExpectSomeEnding(result);
  }
}

TEST(BrokenCommandFile, ACutInsideTheLabelsLineStillReadsTheLabelsItHas) {
  const fs::path folder = Example("cut_labels", "demo", "demo.in");
  Edit(folder / "run.in", "I7 I8\n", "I7");
  ExpectSevere(RunIn(folder), 24, "severe (24): end-of-file during read, unit 12, file run.in");
  // The head never came: the report exists and is empty.
  EXPECT_EQ(ReadWholeFile(folder / "demo.out"), "");
}

TEST(BrokenCommandFile, BinaryGarbageIsNoTitle) {
  const fs::path folder = ScratchFolder("garbage");
  std::mt19937 random(12345);
  for (int file = 0; file < 20; ++file) {
    std::string garbage;
    for (int i = 0; i < 4096; ++i) garbage += static_cast<char>(random() & 0xFF);
    if (garbage[0] == '*') garbage[0] = '#';
    WriteWholeFile(folder / "run.in", garbage);
    const RunResult result = RunIn(folder);
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.errors, "");
    EXPECT_EQ(AfterBanner(result.console),
              std::string("FATAL ERROR: Keyword  >TITLE:   missing\n") + kPlainStop);
  }
  // Garbage behind a valid head goes as far as the first line it spoils.
  const fs::path demo = Example("garbage_tail", "demo", "demo.in");
  WriteWholeFile(demo / "run.in",
                 "* c\n>TITLE: t\n" + std::string("\x01\x02\xff\xfe x 8 250\n", 13));
  ExpectPauseStop(RunIn(demo), "FATAL ERROR: Keyword  >DATA:   missing");
}

TEST(BrokenCommandFile, AnEmptyFileAndAFileOfNulBytes) {
  const fs::path folder = ScratchFolder("empty");
  WriteWholeFile(folder / "run.in", "");
  ExpectSevere(RunIn(folder), 24, "severe (24): end-of-file during read, unit 12, file run.in");
  WriteWholeFile(folder / "run.in", std::string(1000, '\0'));
  const RunResult result = RunIn(folder);
  EXPECT_EQ(AfterBanner(result.console),
            std::string("FATAL ERROR: Keyword  >TITLE:   missing\n") + kPlainStop);
}

// Every saved file and the report of a run of `folder` (after the run).
std::vector<std::string> Products(const fs::path& folder, const std::vector<std::string>& names) {
  std::vector<std::string> texts;
  for (const std::string& name : names) texts.push_back(ReadWholeFile(folder / name));
  return texts;
}

TEST(LineEnds, CrLfEverywhereGivesTheRunOfLf) {
  const std::vector<std::string> outputs = {"demo.out", "run.cor", "run.fac", "run.phi"};
  const fs::path plain = Example("lf", "demo", "demo.in");
  ExpectFinished(RunIn(plain));
  const fs::path crlf = Example("crlf", "demo", "demo.in");
  for (const char* name : {"run.in", "items.dat"}) {
    WriteWholeFile(crlf / name, WithCrLf(ReadWholeFile(crlf / name)));
  }
  ExpectFinished(RunIn(crlf));
  EXPECT_EQ(Products(crlf, outputs), Products(plain, outputs));
}

TEST(LineEnds, CrLfInAGivenMatrixAndItemTexts) {
  const std::vector<std::string> outputs = {"given.out"};
  const fs::path plain = Example("given_lf", "given_cor", "given.in");
  ExpectFinished(RunIn(plain));
  const fs::path crlf = Example("given_crlf", "given_cor", "given.in");
  for (const char* name : {"run.in", "cont.cor", "items.txt"}) {
    WriteWholeFile(crlf / name, WithCrLf(ReadWholeFile(crlf / name)));
  }
  ExpectFinished(RunIn(crlf));
  EXPECT_EQ(Products(crlf, outputs), Products(plain, outputs));
}

TEST(LineEnds, CrLfInAGivenPattern) {
  const fs::path plain = Example("pattern_lf", "rotate_given", "fld1_varimax.in");
  ExpectFinished(RunIn(plain));
  const fs::path crlf = Example("pattern_crlf", "rotate_given", "fld1_varimax.in");
  for (const char* name : {"run.in", "unrotated.dat"}) {
    WriteWholeFile(crlf / name, WithCrLf(ReadWholeFile(crlf / name)));
  }
  ExpectFinished(RunIn(crlf));
  EXPECT_EQ(ReadWholeFile(crlf / "fld1_varimax.out"), ReadWholeFile(plain / "fld1_varimax.out"));
}

// --- Byte-order marks ------------------------------------------------------------

const std::string kByteOrderMark = "\xEF\xBB\xBF";

void PutMark(const fs::path& file) { WriteWholeFile(file, kByteOrderMark + ReadWholeFile(file)); }

TEST(ByteOrderMark, SkippedAtTheStartOfTheCommandFileAndTheData) {
  const std::vector<std::string> outputs = {"demo.out", "run.cor", "run.fac"};
  const fs::path plain = Example("mark_plain", "demo", "demo.in");
  ExpectFinished(RunIn(plain));
  const fs::path marked = Example("mark", "demo", "demo.in");
  PutMark(marked / "run.in");
  PutMark(marked / "items.dat");
  ExpectFinished(RunIn(marked));
  EXPECT_EQ(Products(marked, outputs), Products(plain, outputs));
}

TEST(ByteOrderMark, SkippedInGivenMatricesItemTextsAndGuessing) {
  const fs::path plain = Example("mark_given_plain", "given_cor", "given.in");
  ExpectFinished(RunIn(plain));
  const fs::path marked = Example("mark_given", "given_cor", "given.in");
  for (const char* name : {"run.in", "cont.cor", "items.txt"}) PutMark(marked / name);
  ExpectFinished(RunIn(marked));
  EXPECT_EQ(ReadWholeFile(marked / "given.out"), ReadWholeFile(plain / "given.out"));

  const fs::path pattern_plain = Example("mark_pattern_plain", "rotate_given", "fld2_varimax.in");
  ExpectFinished(RunIn(pattern_plain));
  const fs::path pattern = Example("mark_pattern", "rotate_given", "fld2_varimax.in");
  for (const char* name : {"unrotated.dat", "promax.phi"}) PutMark(pattern / name);
  ExpectFinished(RunIn(pattern));
  EXPECT_EQ(ReadWholeFile(pattern / "fld2_varimax.out"),
            ReadWholeFile(pattern_plain / "fld2_varimax.out"));

  const fs::path guess_plain = Example("mark_guess_plain", "guessing", "guessing.in");
  ExpectFinished(RunIn(guess_plain));
  const fs::path guess = Example("mark_guess", "guessing", "guessing.in");
  PutMark(guess / "chance.txt");
  ExpectFinished(RunIn(guess));
  EXPECT_EQ(ReadWholeFile(guess / "guessing.out"), ReadWholeFile(guess_plain / "guessing.out"));
}

// --- Tabs and long lines ----------------------------------------------------------

TEST(Layout, TabsBetweenTheFieldsOfListLines) {
  const fs::path plain = Example("tabs_plain", "demo", "demo.in");
  ExpectFinished(RunIn(plain));
  const fs::path tabs = Example("tabs", "demo", "demo.in");
  std::string text = ReadWholeFile(tabs / "run.in");
  const std::size_t from = text.find(">DATA:");
  const std::size_t to = text.find(">FORMAT:");
  for (std::size_t i = from; i < to; ++i) {
    if (text[i] == ' ') text[i] = '\t';
  }
  WriteWholeFile(tabs / "run.in", text);
  ExpectFinished(RunIn(tabs));
  EXPECT_EQ(ReadWholeFile(tabs / "run.cor"), ReadWholeFile(plain / "run.cor"));
}

TEST(Layout, LinesOfAHundredThousandCharacters) {
  const fs::path plain = Example("long_plain", "demo", "demo.in");
  ExpectFinished(RunIn(plain));
  const fs::path folder = Example("long", "demo", "demo.in");
  const std::string many(100000, 'x');
  Edit(folder / "run.in", "* Eight items, first wave", "* " + many);
  Edit(folder / "run.in", ">TITLE: Reasoning items", ">TITLE: Reasoning items " + many);
  std::string data = ReadWholeFile(folder / "items.dat");
  data.insert(data.find('\n'), "   " + many);  // behind what the format reads
  WriteWholeFile(folder / "items.dat", data);
  ExpectFinished(RunIn(folder));
  EXPECT_EQ(ReadWholeFile(folder / "run.cor"), ReadWholeFile(plain / "run.cor"));
  // An unquoted value holds at most 2,049 characters: the rest of a long
  // name is the next value, here the count of variables.
  const fs::path named = Example("long_name", "demo", "demo.in");
  Edit(named / "run.in", ">DATA: items.dat", ">DATA: " + many);
  ExpectSevere(
      RunIn(named), 59, "severe (59): list-directed I/O syntax error, unit 12, file run.in");
  // Quoted, the name is cut to its 50 characters; no such file exists, so it
  // comes into being empty and has no first record.
  Edit(named / "run.in", ">DATA: " + many, ">DATA: '" + many + "'");
  ExpectSevere(RunIn(named),
               24,
               "severe (24): end-of-file during read, unit 10, file " + many.substr(0, 50));
}

// --- Counts on the >DATA: line -------------------------------------------------

fs::path DemoWithData(const std::string& name, const std::string& counts) {
  const fs::path folder = Example(name, "demo", "demo.in");
  Edit(folder / "run.in", ">DATA: items.dat 8 250", ">DATA: items.dat " + counts);
  return folder;
}

TEST(DataCounts, ZeroAndNegativeCounts) {
  for (const char* counts : {"8 0", "8 -1", "8 -2147483648"}) {
    ExpectPauseStop(RunIn(DemoWithData("n_small", counts)),
                    "FATAL ERROR: Number of subjects on >DATA: line must be at least 1");
  }
  for (const char* counts : {"0 250", "-1 250"}) {
    ExpectPauseStop(RunIn(DemoWithData("p_small", counts)),
                    "FATAL ERROR: Number of variables on >DATA: line must be at least 1");
  }
}

TEST(DataCounts, BeyondThirtyTwoBitsIsAConversionError) {
  for (const char* counts : {"8 2147483648", "2147483648 250", "8 99999999999999999999"}) {
    ExpectSevere(RunIn(DemoWithData("too_big", counts)),
                 64,
                 "severe (64): input conversion error, unit 12, file run.in");
  }
}

TEST(DataCounts, AHugeSubjectCountEndsAtTheEndOfTheData) {
  // 2^31 - 1 subjects of 8 items would be 16 GiB: the file's 250 records
  // are all there is, and the run ends at its end.
  for (const char* counts : {"8 2147483647", "8 300000000", "8 251"}) {
    const RunResult result = RunIn(DemoWithData("huge_n", counts));
    ExpectSevere(result, 24, "severe (24): end-of-file during read, unit 10, file items.dat");
    EXPECT_EQ(AfterBanner(result.console), kBlanks29 + "Reading Data\n");
  }
}

TEST(DataCounts, AHugeVariableCountStopsForMemory) {
  ExpectPauseStop(RunIn(DemoWithData("huge_p", "2147483647 250")),
                  "FATAL ERROR: Not enough memory for the arrays of this run");
}

TEST(DataCounts, AHugeVariableCountWithItemTextsEndsAtTheirEnd) {
  const fs::path folder = Example("huge_p_items", "given_cor", "given.in");
  Edit(folder / "run.in", ">DATA: cont.cor 9 300", ">DATA: cont.cor 2147483647 300");
  ExpectSevere(RunIn(folder), 24, "severe (24): end-of-file during read, unit 99, file items.txt");
}

TEST(DataCounts, AHugeVariableCountWithGuessingEndsAtItsEnd) {
  const fs::path folder = Example("huge_p_guess", "guessing", "guessing.in");
  Edit(folder / "run.in", ">DATA: guess.dat 8 500", ">DATA: guess.dat 2147483647 500");
  ExpectSevere(RunIn(folder), 24, "severe (24): end-of-file during read, unit 45, file chance.txt");
}

TEST(DataCounts, OneVariableOrOneSubject) {
  // One variable: the Pearson routine asks for two at least, and its hard
  // failure ends the run.
  const fs::path one_p = Example("one_p", "continuous", "continuous.in");
  Edit(one_p / "run.in", ">DATA: cont.dat 10 300", ">DATA: cont.dat 1 300");
  const RunResult one_variable = RunIn(one_p);
  EXPECT_EQ(one_variable.status, 0);
  EXPECT_EQ(AfterBanner(one_variable.console),
            kBlanks29 + "Reading Data\n" + kBlanks29 + "Computing correlations\n" +
                "** ABNORMAL EXIT from NAG Library routine G02BAF: IFAIL =     2\n"
                "** NAG hard failure - execution terminated\n" +
                kPlainStop);
  // One subject has no variance: the Pearson routine's hard failure.
  const fs::path one_n = Example("one_n", "continuous", "continuous.in");
  Edit(one_n / "run.in", ">DATA: cont.dat 10 300", ">DATA: cont.dat 10 1");
  const RunResult result = RunIn(one_n);
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(AfterBanner(result.console),
            kBlanks29 + "Reading Data\n" + kBlanks29 + "Computing correlations\n" +
                "** ABNORMAL EXIT from NAG Library routine G02BAF: IFAIL =     1\n"
                "** NAG hard failure - execution terminated\n" +
                kPlainStop);
}

// --- Data records and record formats -----------------------------------------------

TEST(DataRecords, AScoreThatIsNoNumber) {
  const fs::path folder = Example("letter", "continuous", "continuous.in");
  Edit(folder / "cont.dat", "   0.470", "   0.4x0");
  ExpectSevere(RunIn(folder), 64, "severe (64): input conversion error, unit 10, file cont.dat");
}

TEST(RecordFormats, NineNestedGroupsDoNotCompile) {
  const fs::path folder = Example("nine_groups", "continuous", "continuous.in");
  Edit(folder / "run.in", ">FORMAT: (F6.0,10F8.3)", ">FORMAT: (F6.0,(((((((((10F8.3))))))))))");
  const RunResult result = RunIn(folder);
  EXPECT_EQ(result.status, 62);
  // The rest of the 80 columns of the format field, from the ninth group on.
  EXPECT_EQ(result.errors,
            "format syntax error at or near (10F8.3))))))))))" + std::string(48, ' ') +
                "\nsevere (62): syntax error in format, unit 10, file cont.dat\n");
  // Eight are allowed.
  const fs::path eight = Example("eight_groups", "continuous", "continuous.in");
  Edit(eight / "run.in", ">FORMAT: (F6.0,10F8.3)", ">FORMAT: (F6.0,((((((((10F8.3)))))))))");
  ExpectFinished(RunIn(eight));
}

TEST(RecordFormats, AFormatWithoutADataField) {
  for (const char* format : {"(1X)", "(T5,'abc',/)", "()"}) {
    const fs::path folder = Example("no_field", "continuous", "continuous.in");
    Edit(folder / "run.in", "(F6.0,10F8.3)", format);
    ExpectSevere(RunIn(folder), 60, "severe (60): infinite format loop, unit 10, file cont.dat");
  }
}

TEST(RecordFormats, AFormatWithCrLfAndTabs) {
  const fs::path plain = Example("format_plain", "continuous", "continuous.in");
  ExpectFinished(RunIn(plain));
  const fs::path folder = Example("format_tabs", "continuous", "continuous.in");
  Edit(folder / "run.in", "(F6.0,10F8.3)", "(F6.0,\t10F8.3)\t");
  WriteWholeFile(folder / "run.in", WithCrLf(ReadWholeFile(folder / "run.in")));
  ExpectFinished(RunIn(folder));
  EXPECT_EQ(ReadWholeFile(folder / "run.cor"), ReadWholeFile(plain / "run.cor"));
}

// --- Files that cannot be opened --------------------------------------------------

TEST(Files, ADataFileThatIsAFolder) {
  const fs::path raw = Example("data_folder", "demo", "demo.in");
  fs::create_directory(raw / "folder.dat");
  Edit(raw / "run.in", ">DATA: items.dat", ">DATA: folder.dat");
  const RunResult result = RunIn(raw);
  EXPECT_EQ(AfterBanner(result.console),
            "\n\n" + kBlanks29 + "FATAL ERROR! Problem opening Raw Data File\n" + kPauseStop);
  // A given matrix: by the coding, a missing matrix's own words or 29.
  const fs::path given = Example("cor_folder", "given_cor", "given.in");
  fs::create_directory(given / "folder.cor");
  Edit(given / "run.in", ">DATA: cont.cor", ">DATA: folder.cor");
  ExpectSevere(RunIn(given), 29, "severe (29): file not found, unit 10, file folder.cor");
  Edit(given / "run.in", ">METRIC: CO", ">METRIC: DI");
  const RunResult dichotomous = RunIn(given);
  EXPECT_NE(
      dichotomous.console.find("\n\n" + std::string(25, ' ') +
                               "FATAL ERROR! Input correlation matrix not found\n" + kPauseStop),
      std::string::npos)
      << dichotomous.console;
}

TEST(Files, AReportThatCannotBeWritten) {
  const fs::path folder = Example("report_missing_dir", "demo", "demo.in");
  Edit(folder / "run.in", ">OUTFILE: demo.out", ">OUTFILE: 'no_such_folder/demo.out'");
  ExpectSevere(
      RunIn(folder), 30, "severe (30): open failure, unit 11, file no_such_folder/demo.out");
  const fs::path named = Example("report_is_folder", "demo", "demo.in");
  fs::create_directory(named / "report");
  Edit(named / "run.in", ">OUTFILE: demo.out", ">OUTFILE: report");
  ExpectSevere(RunIn(named), 30, "severe (30): open failure, unit 11, file report");
}

TEST(Files, ASavedFileThatCannotBeWritten) {
  const fs::path folder = Example("saved_blocked", "demo", "demo.in");
  fs::create_directory(folder / "run.cor");
  const RunResult result = RunIn(folder);
  EXPECT_EQ(result.status, 30);
  EXPECT_EQ(
      result.errors,
      "severe (30): open failure, unit 15, file " + fs::canonical(folder).string() + "/run.cor\n");
  // Saved files go beside the command file, not into the working folder
  // that the data and report names are relative to.
  const fs::path gone = Example("saved_gone", "demo", "demo.in");
  fs::create_directory(gone / "sub");
  fs::copy_file(gone / "run.in", gone / "sub" / "run.in");
  fs::create_directory(gone / "sub" / "run.cor");
  const RunResult nested = RunProgram(gone, {"--seed", "1", "sub/run.in"});
  EXPECT_EQ(nested.status, 30);
  EXPECT_EQ(nested.errors,
            "severe (30): open failure, unit 15, file " + fs::canonical(gone).string() +
                "/sub/run.cor\n");
}

}  // namespace
}  // namespace vq::badinput
