#include "run/driver.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "frame/console.h"
#include "report/edit_descriptors.h"
#include "run/command_file.h"
#include "run/saved_matrices.h"
#include "run_test_support.h"

namespace vq {
namespace {

using testing::Col;
using testing::kPauseLine;
using testing::kStopLines;
using testing::PauseFault;

struct RunOutcome {
  bool stopped = false;
  RunStopped::Kind kind = RunStopped::Kind::kPlainStop;
  int exit_code = 0;
  std::string out;
  std::string err;
};

// Each test runs in a scratch folder of its own, which is also the working
// directory of the run, as the folder of a user's command file would be.
class Driver : public ::testing::Test {
 protected:
  void SetUp() override {
    char pattern[] = "/tmp/vq_driver_XXXXXX";
    ASSERT_NE(mkdtemp(pattern), nullptr);
    folder_ = pattern;
    previous_ = std::filesystem::current_path();
    std::filesystem::current_path(folder_);
  }
  void TearDown() override {
    std::filesystem::current_path(previous_);
    std::filesystem::remove_all(folder_);
  }

  void WriteFile(const std::string& name, const std::string& text) {
    std::ofstream(name, std::ios::binary) << text;
  }

  RunOutcome Run(const std::string& command_file, bool seed = false) {
    ProgramArguments arguments;
    arguments.command_file = command_file;
    arguments.has_seed = seed;
    RunOutcome outcome;
    ConsoleCapture capture;
    try {
      RunAnalysis(arguments);
    } catch (const RunStopped& stop) {
      outcome.stopped = true;
      outcome.kind = stop.kind;
      outcome.exit_code = stop.exit_code;
    }
    outcome.out = capture.Out();
    outcome.err = capture.Err();
    return outcome;
  }

  // The console text after the banner.
  static std::string AfterBanner(const std::string& out) {
    const std::string border = std::string(23, ' ') + "0" + std::string(72, '=') + "0\n";
    const std::size_t last = out.rfind(border);
    return last == std::string::npos ? out : out.substr(last + border.size());
  }

  std::string folder_;
  std::filesystem::path previous_;
};

TEST_F(Driver, MissingCommandFileEndsWithStatusOne) {
  RunOutcome outcome = Run("nothing.in");
  EXPECT_TRUE(outcome.stopped);
  EXPECT_EQ(outcome.kind, RunStopped::Kind::kCancelled);
  EXPECT_EQ(outcome.exit_code, 1);
  EXPECT_EQ(AfterBanner(outcome.out), "Command file not found: nothing.in\n");
}

TEST_F(Driver, WithoutCommandFileOffATerminalTheDialogIsCancelled) {
  RunOutcome outcome = Run("");
  EXPECT_EQ(outcome.exit_code, 1);
  EXPECT_EQ(AfterBanner(outcome.out), "A File Must be Selected\nTerminate Program?\n");
}

TEST_F(Driver, BannerFirstThenTheParseFault) {
  WriteFile("fault.in",
            ">TITLE: t\n>DATA: c.dat 3 100\n>OUTFILE: r.out SHORT\n>METRIC: XX COR NO\n");
  RunOutcome outcome = Run("fault.in");
  EXPECT_TRUE(outcome.stopped);
  EXPECT_EQ(outcome.out.substr(0, 8), std::string(8, '\n'));
  EXPECT_EQ(AfterBanner(outcome.out),
            PauseFault(30, "FATAL ERROR: Unrecognized keyword on >METRIC: line"));
  EXPECT_FALSE(std::filesystem::exists("r.out"));  // the report opens after ">FORMAT:"
}

TEST_F(Driver, ATruncatedCommandFileIsASevereErrorOnStream12) {
  WriteFile("cut.in", ">TITLE: t\n>DATA: c.dat 3");
  RunOutcome outcome = Run("cut.in");
  EXPECT_EQ(outcome.kind, RunStopped::Kind::kSevere);
  EXPECT_EQ(outcome.exit_code, 24);
  EXPECT_EQ(outcome.err.rfind("severe (24): end-of-file during read, unit 12, file ", 0), 0u)
      << outcome.err;
}

const char kCorrelationRun[] =
    ">TITLE: t\n>DATA: c.dat %d 100\n>OUTFILE: r.out SHORT\n>METRIC: CO COR NO\n"
    ">MODEL: PFA 2 NOLABELS NOSORT\n>ROTATE: VARIMAX\n>SCORE: NOSCORE\n>PLOT: NONE\n"
    ">FORMAT: (F4.0)\n";

std::string CorrelationRun(int p) {
  char text[512];
  std::snprintf(text, sizeof text, kCorrelationRun, p);
  return text;
}

TEST_F(Driver, NoVariablesIsStoppedBeforeAnyArray) {
  WriteFile("none.in", CorrelationRun(0));
  RunOutcome outcome = Run("none.in");
  EXPECT_EQ(AfterBanner(outcome.out),
            PauseFault(30, "FATAL ERROR: Number of variables on >DATA: line must be at least 1"));
  // The report was opened after ">FORMAT:" and has no head.
  EXPECT_TRUE(std::filesystem::exists("r.out"));
  EXPECT_EQ(std::filesystem::file_size("r.out"), 0u);
}

TEST_F(Driver, ArraysBeyondTheMachinesMemoryAreStopped) {
  WriteFile("huge.in", CorrelationRun(2000000000));
  RunOutcome outcome = Run("huge.in");
  EXPECT_EQ(AfterBanner(outcome.out),
            PauseFault(30, "FATAL ERROR: Not enough memory for the arrays of this run"));
}

std::string ReadWhole(const std::string& name) {
  std::ifstream in(name, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

const char kIdentity3[] = "1 0 0\n0 1 0\n0 0 1\n";

TEST_F(Driver, CorrelationMatrixOnlyEndsNormallyWithTheHead) {
  WriteFile("c.dat", kIdentity3);
  WriteFile("cmt.in",
            ">TITLE: matrix only\n>DATA: c.dat 3 100\n>OUTFILE: r.out SHORT\n"
            ">METRIC: DI COR NO\n>MODEL: CMT 2 NOLABELS NOSORT\n>ROTATE: VARIMAX\n"
            ">SCORE: NOSCORE\n>PLOT: NONE\n>FORMAT: (F4.0)\n");
  RunOutcome outcome = Run("cmt.in");
  EXPECT_FALSE(outcome.stopped) << outcome.out << outcome.err;
  EXPECT_EQ(AfterBanner(outcome.out), Col(30, "Reading Correlations") + Col(30, "Finished"));
  const std::string report = ReadWhole("r.out");
  EXPECT_NE(report.find(std::string(34, ' ') + "Velquorin 2.0 \n"), std::string::npos);
  EXPECT_NE(report.find(PadRight(">FORMAT: (F4.0)", 200) + "\n"), std::string::npos);
  EXPECT_EQ(report.find("Model ="), std::string::npos);
  EXPECT_NE(report.find("The rotation is: Varimax"), std::string::npos);
}

TEST_F(Driver, LongPrintsTheCorrelationMatrixAfterTheHead) {
  WriteFile("c.dat", "1 .5 0\n.5 1 0\n0 0 1\n");
  WriteFile("long.in",
            ">TITLE: long\n>DATA: c.dat 3 100\n>OUTFILE: r.out LONG\n"
            ">METRIC: CO COR NO\n>MODEL: CMT 2 NOLABELS NOSORT\n>ROTATE: VARIMAX\n"
            ">SCORE: NOSCORE\n>PLOT: NONE\n>FORMAT: (F4.0)\n");
  RunOutcome outcome = Run("long.in");
  EXPECT_FALSE(outcome.stopped) << outcome.out << outcome.err;
  const std::string table =
      "Hyperplane width = 0.200\n\n\n"
      " CORRELATION MATRIX\n"
      "          1       2       3\n"
      " 1    1.000   0.500   0.000\n"
      " 2    0.500   1.000   0.000\n"
      " 3    0.000   0.000   1.000\n";
  const std::string report = ReadWhole("r.out");
  ASSERT_GE(report.size(), table.size());
  EXPECT_EQ(report.substr(report.size() - table.size()), table);
}

TEST_F(Driver, LongWithLabelsUsesThemOnBothSides) {
  WriteFile("c.dat", "1 .5\n.5 1\n");
  WriteFile("long.in",
            ">TITLE: long\n>DATA: c.dat 2 100\n>OUTFILE: r.out LONG\n"
            ">METRIC: CO COR NO\n>MODEL: CMT 2 LABELS NOSORT\n>ROTATE: VARIMAX\n"
            ">SCORE: NOSCORE\n>PLOT: NONE\n>FORMAT: (F4.0)\n>LABELS: first second\n");
  RunOutcome outcome = Run("long.in");
  EXPECT_FALSE(outcome.stopped) << outcome.out << outcome.err;
  // Labels of up to 6 characters: R = 7, fields of F15.3 in positions 9-23
  // and 24-38, column labels ending on their right edges.
  const std::string table =
      " CORRELATION MATRIX\n"
      "                  first         second\n"
      "  first           1.000          0.500\n"
      " second           0.500          1.000\n";
  const std::string report = ReadWhole("r.out");
  ASSERT_GE(report.size(), table.size());
  EXPECT_EQ(report.substr(report.size() - table.size()), table);
}

TEST_F(Driver, NoFactorsEndsNormallyWithoutAModelLine) {
  WriteFile("c.dat", kIdentity3);
  WriteFile("m0.in",
            ">TITLE: no factors\n>DATA: c.dat 3 100\n>OUTFILE: r.out SHORT\n"
            ">METRIC: OR COR NO\n>MODEL: PCA 0 NOLABELS NOSORT\n>ROTATE: VARIMAX\n"
            ">SCORE: NOSCORE\n>PLOT: NONE\n>FORMAT: (F4.0)\n");
  RunOutcome outcome = Run("m0.in");
  EXPECT_FALSE(outcome.stopped) << outcome.out << outcome.err;
  EXPECT_EQ(AfterBanner(outcome.out), Col(30, "Reading Correlations") + Col(30, "Finished"));
  const std::string report = ReadWhole("r.out");
  EXPECT_EQ(report.find("Model ="), std::string::npos);
  EXPECT_NE(report.find("Number of factors =   0\n"), std::string::npos);
}

TEST_F(Driver, LabelsFaultAfterTheCorrelationsLeavesAReportWithoutHead) {
  WriteFile("c.dat", kIdentity3);
  WriteFile("lab.in",
            ">TITLE: labels\n>DATA: c.dat 3 100\n>OUTFILE: r.out SHORT\n"
            ">METRIC: CO COR NO\n>MODEL: CMT 2 LABELS NOSORT\n>ROTATE: VARIMAX\n"
            ">SCORE: NOSCORE\n>PLOT: NONE\n>FORMAT: (F4.0)\n>LABEL: a b c\n");
  RunOutcome outcome = Run("lab.in");
  EXPECT_TRUE(outcome.stopped);
  EXPECT_EQ(
      AfterBanner(outcome.out),
      Col(30, "Reading Correlations") + PauseFault(30, "FATAL ERROR: Keyword  >LABELS:   missing"));
  EXPECT_TRUE(std::filesystem::exists("r.out"));
  EXPECT_EQ(std::filesystem::file_size("r.out"), 0u);
}

TEST_F(Driver, LabelsAreReadAndListedAsTheirFixedLine) {
  WriteFile("c.dat", kIdentity3);
  WriteFile("lab.in",
            ">TITLE: labels\n>DATA: c.dat 3 100\n>OUTFILE: r.out SHORT\n"
            ">METRIC: CO COR NO\n>MODEL: CMT 2 LABELS NOSORT\n>ROTATE: VARIMAX\n"
            ">SCORE: NOSCORE\n>PLOT: NONE\n>FORMAT: (F4.0)\n>LABELS: a b\n c\n");
  RunOutcome outcome = Run("lab.in");
  EXPECT_FALSE(outcome.stopped) << outcome.out << outcome.err;
  const std::string report = ReadWhole("r.out");
  EXPECT_NE(report.find("\n>LABELS: Label names . . . \n"), std::string::npos);
  EXPECT_EQ(report.find(">LABELS: a b"), std::string::npos);
}

TEST_F(Driver, GivenMatrixFilesThatAreMissing) {
  WriteFile("di.in",
            ">TITLE: t\n>DATA: missing.dat 3 100\n>OUTFILE: r.out SHORT\n"
            ">METRIC: DI COR NO\n>MODEL: PFA 2 NOLABELS NOSORT\n>ROTATE: VARIMAX\n"
            ">SCORE: NOSCORE\n>PLOT: NONE\n>FORMAT: (F4.0)\n");
  RunOutcome outcome = Run("di.in");
  EXPECT_EQ(AfterBanner(outcome.out),
            "\n" + PauseFault(27, "FATAL ERROR! Input correlation matrix not found"));
  WriteFile("rot.in",
            ">TITLE: t\n>DATA: missing.dat 3 100\n>OUTFILE: r.out SHORT\n"
            ">METRIC: CO FLD1 NO\n>MODEL: ROT 2 NOLABELS NOSORT\n>ROTATE: VARIMAX\n"
            ">SCORE: NOSCORE\n>PLOT: NONE\n>FORMAT: (2F4.0)\n");
  outcome = Run("rot.in");
  EXPECT_EQ(AfterBanner(outcome.out),
            "\n" + PauseFault(27, "FATAL ERROR! Factor Pattern file not found"));
}

TEST_F(Driver, MissingRawDataFileIsCreatedEmptyAndEndsInEndOfFile) {
  WriteFile("raw.in",
            ">TITLE: t\n>DATA: nodata.dat 3 10\n>OUTFILE: r.out SHORT\n"
            ">METRIC: OR RAW NO\n>MODEL: PFA 2 NOLABELS NOSORT\n>ROTATE: VARIMAX\n"
            ">SCORE: NOSCORE\n>PLOT: NONE\n>FORMAT: (F4.0,3F1.0)\n");
  RunOutcome outcome = Run("raw.in");
  EXPECT_EQ(outcome.kind, RunStopped::Kind::kSevere);
  EXPECT_EQ(outcome.exit_code, 24);
  EXPECT_EQ(AfterBanner(outcome.out), Col(30, "Reading Data"));
  EXPECT_EQ(outcome.err, "severe (24): end-of-file during read, unit 10, file nodata.dat\n");
  EXPECT_TRUE(std::filesystem::exists("nodata.dat"));
}

TEST_F(Driver, SavedCorrelationFileGoesBesideTheCommandFile) {
  RunOptions options;
  options.Coding = "OR";
  options.SaveResults = "T";
  options.SaveCodes = {"FAC"};
  RunContext context;
  context.RunDirectory = folder_ + "/";
  context.RunStem = "wave1.in";
  Matrix r(2, 2, 0.5);
  OutputFile file;
  SaveCorrelationMatrix(options, context, r, file);
  EXPECT_FALSE(file.is_open());
  EXPECT_FALSE(std::filesystem::exists("wave1.cor"));
  options.SaveCodes = {"EIG", "COR"};
  SaveCorrelationMatrix(options, context, r, file);
  EXPECT_TRUE(file.is_open());  // kept open to the end of the run
  EXPECT_EQ(file.unit(), 15);
  file.Close();
  EXPECT_EQ(ReadWhole(folder_ + "/wave1.cor"),
            " 0.500000000  0.500000000\n 0.500000000  0.500000000\n");

  options.Smoothing = "SM";
  options.InputForm = "RAW ";
  options.SaveCodes = {"SMO"};
  SaveSmoothedMatrix(options, context, r);
  EXPECT_EQ(ReadWhole(folder_ + "/wave1.smo"),
            " 0.500000000  0.500000000\n 0.500000000  0.500000000\n");
  std::filesystem::remove(folder_ + "/wave1.smo");
  options.InputForm = "COR ";
  options.Coding = "CO";
  SaveSmoothedMatrix(options, context, r);
  EXPECT_FALSE(std::filesystem::exists(folder_ + "/wave1.smo"));
}

TEST_F(Driver, ExitStatusOfTheProcess) {
  auto status = [](std::vector<std::string> words) {
    std::vector<char*> argv;
    for (std::string& word : words) argv.push_back(word.data());
    ConsoleCapture capture;
    return VelquorinMain(static_cast<int>(argv.size()), argv.data());
  };
  EXPECT_EQ(status({"velquorin", "--seed", "3", "missing.in"}), 1);
  WriteFile("cut.in", ">TITLE: t\n");
  EXPECT_EQ(status({"velquorin", "cut.in"}), 24);
  WriteFile("fault.in", "\n");
  EXPECT_EQ(status({"velquorin", "fault.in"}), 0);
}

TEST_F(Driver, ItemTextsAndGuessingAreReadDuringTheParse) {
  WriteFile("texts.txt", "First item text\nSecond\nThird one\n");
  WriteFile("guess.dat", "0.25 0.2\n0.5\n");
  WriteFile("d.dat", "");
  const std::string text =
      ">TITLE: t\n>DATA: d.dat 3 10\n>items: texts.txt\n>OUTFILE: r.out SHORT\n"
      ">METRIC: DC RAW NO\nGUESSING guess.dat\n>MODEL: PFA 2 NOLABELS NOSORT\n"
      ">ROTATE: VARIMAX\n>SCORE: NOSCORE\n>PLOT: NONE\n>FORMAT: (F4.0,3F1.0)\n";
  RecordSource source;
  source.OpenText(12, "test.in", text);
  RunOptions options;
  ParsedInputs inputs;
  ConsoleCapture capture;
  ParseCommandFile(source, options, inputs);
  EXPECT_EQ(capture.Out(), Col(30, "Items read sucessfully"));
  EXPECT_TRUE(options.HasItemFile);
  ASSERT_EQ(options.ItemTexts.size(), 3u);
  EXPECT_EQ(options.ItemTexts[1], PadRight("Second", 200));
  EXPECT_TRUE(options.HasGuessFile);
  EXPECT_EQ(options.GuessFile, PadRight("guess.dat", 80));
  EXPECT_TRUE(inputs.HasGuessing);
  EXPECT_EQ(inputs.Guessing, (std::vector<double>{0.25, 0.2, 0.5}));
  EXPECT_TRUE(inputs.DataFile.is_open());
  EXPECT_EQ(inputs.DataFile.unit(), 10);
}

TEST_F(Driver, MissingGuessingFileIsASevereErrorOnStream45) {
  WriteFile("d.dat", "");
  WriteFile("dc.in",
            ">TITLE: t\n>DATA: d.dat 3 10\n>OUTFILE: r.out SHORT\n>METRIC: DC RAW NO\n"
            "GUESSING none.dat\n>MODEL: PFA 2 NOLABELS NOSORT\n");
  RunOutcome outcome = Run("dc.in");
  EXPECT_EQ(outcome.exit_code, 29);
  EXPECT_EQ(outcome.err, "severe (29): file not found, unit 45, file none.dat\n");
}

TEST(DriverPieces, CorrelationTableWidth) {
  EXPECT_EQ(CorrelationTableWidth(130), 110);
  EXPECT_EQ(CorrelationTableWidth(120), 110);
  EXPECT_EQ(CorrelationTableWidth(119), 119);
  EXPECT_EQ(CorrelationTableWidth(60), 60);
}

TEST(DriverPieces, SmoothingRunsAndIsSavedByTheTable) {
  RunOptions options;
  options.Smoothing = "SM";
  struct Row {
    const char* form;
    const char* coding;
    bool runs;
    bool saved;
  };
  const Row rows[] = {{"RAW ", "DI", true, true},
                      {"RAW ", "DC", true, true},
                      {"RAW ", "OR", true, true},
                      {"RAW ", "CD", true, true},
                      {"RAW ", "CO", false, false},
                      {"RAW ", "IP", false, false},
                      {"COR ", "DI", true, true},
                      {"COR ", "OR", true, true},
                      {"COR ", "CO", true, false},
                      {"FLD1", "CO", false, false}};
  for (const Row& row : rows) {
    options.InputForm = row.form;
    options.Coding = row.coding;
    EXPECT_EQ(SmoothingRuns(options), row.runs) << row.form << row.coding;
    EXPECT_EQ(SavesSmoothedMatrix(options), row.saved) << row.form << row.coding;
  }
  options.InputForm = "RAW ";
  options.Coding = "OR";
  options.Smoothing = "PS";  // shown as smoothed, never smoothed
  EXPECT_FALSE(SmoothingRuns(options));
}

TEST(DriverPieces, CorrelationFileLayouts) {
  Matrix r(2, 2);
  r(0, 0) = 1.0;
  r(1, 1) = 1.0;
  r(0, 1) = r(1, 0) = 0.123456789012;
  RunOptions options;
  options.Coding = "OR";
  OutputFile file;
  file.OpenInMemory(15);
  WriteCorrelationFile(options, r, file);
  EXPECT_EQ(file.Text(),
            " 1.000000000  0.123456789\n"
            " 0.123456789  1.000000000\n");
  options.Coding = "IP";
  file.OpenInMemory(15);
  WriteCorrelationFile(options, r, file);
  EXPECT_EQ(file.Text(),
            "   1.000   0.123\n"
            "   0.123   1.000\n");
}

TEST(DriverPieces, TheSeedAndTheNamesReachTheRun) {
  ProgramArguments arguments;
  arguments.has_seed = true;
  arguments.seed = 4711;
  RunContext context = MakeRunContext(arguments, "/data/wave1/reasoning_items_1.in");
  EXPECT_TRUE(context.Seed.fixed);
  EXPECT_EQ(context.Seed.value, 4711);
  EXPECT_EQ(context.RunStem, "reasoning_items");
  EXPECT_EQ(context.RunDirectory, "/data/wave1/");
  context = MakeRunContext(ProgramArguments{}, "run.in");
  EXPECT_FALSE(context.Seed.fixed);
}

}  // namespace
}  // namespace vq
