// The driver's small decisions that no golden case reaches at their edges:
// the table width at the page limit, which codings smooth and save the
// smoothed matrix, and the stem of a numbered command file. Whole runs are
// golden cases (tests/golden).
#include "run/driver.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "frame/console.h"
#include "run/command_file.h"
#include "run_test_support.h"
#include "text/edit_descriptors.h"

namespace vq {
namespace {

using testing::Col;
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

  // Runs the command file `text`, written as "run.in".
  RunOutcome RunText(const std::string& text) {
    WriteFile("run.in", text);
    return Run("run.in");
  }

  std::string folder_;
  std::filesystem::path previous_;
};

std::string ReadWhole(const std::string& name) {
  std::ifstream in(name, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

// A command file on the given matrix c.dat of 3 variables, with the
// >METRIC: and >MODEL: fields given, the data line and more lines behind
// >FORMAT: as asked.
std::string Command(const std::string& metric,
                    const std::string& model,
                    const std::string& data = "c.dat 3 100",
                    const std::string& behind = "") {
  return ">TITLE: t\n>DATA: " + data + "\n>OUTFILE: r.out SHORT\n>METRIC: " + metric +
         "\n>MODEL: " + model + "\n>ROTATE: VARIMAX\n>SCORE: NOSCORE\n>PLOT: NONE\n" +
         ">FORMAT: (F4.0)\n" + behind;
}

const char kIdentity3[] = "1 0 0\n0 1 0\n0 0 1\n";

TEST_F(Driver, CommandFilesThatCannotBeRead) {
  ASSERT_EQ(mkfifo("pipe.in", 0600), 0);
  const std::pair<std::string, std::string> cases[] = {
      {"nothing.in", "Command file not found: nothing.in\n"},
      {"pipe.in", "Command file is not a plain file: pipe.in\n"},
      // Without a name, off a terminal, the dialog is cancelled.
      {"", "File Open Error\nA File Must be Selected\nTerminate Program?\n"},
  };
  for (const auto& [name, message] : cases) {
    RunOutcome outcome = Run(name);
    EXPECT_EQ(outcome.kind, RunStopped::Kind::kCancelled) << name;
    EXPECT_EQ(outcome.exit_code, 1) << name;
    EXPECT_EQ(AfterBanner(outcome.out), message);
  }
}

TEST_F(Driver, BannerFirstThenTheParseFault) {
  RunOutcome outcome = RunText(Command("XX COR NO", ""));
  EXPECT_TRUE(outcome.stopped);
  EXPECT_EQ(outcome.out.substr(0, 8), std::string(8, '\n'));
  EXPECT_EQ(AfterBanner(outcome.out),
            PauseFault(30, "FATAL ERROR: Unrecognized keyword on >METRIC: line"));
  EXPECT_FALSE(std::filesystem::exists("r.out"));  // the report opens after ">FORMAT:"

  outcome = RunText(">TITLE: t\n>DATA: c.dat 3");
  EXPECT_EQ(outcome.exit_code, 24);
  EXPECT_EQ(outcome.err.rfind("severe (24): end-of-file during read, unit 12, file ", 0), 0u)
      << outcome.err;
}

TEST_F(Driver, CountsThatGiveNoArrays) {
  const std::pair<std::string, std::string> cases[] = {
      {"c.dat 0 100", "FATAL ERROR: Number of variables on >DATA: line must be at least 1"},
      {"c.dat 2000000000 100", "FATAL ERROR: Not enough memory for the arrays of this run"},
  };
  for (const auto& [data, message] : cases) {
    RunOutcome outcome = RunText(Command("CO COR NO", "PFA 2 NOLABELS NOSORT", data));
    EXPECT_EQ(AfterBanner(outcome.out), PauseFault(30, message));
    if (message.find("memory") != std::string::npos) {
      // The report was opened after ">FORMAT:" and has no head.
      EXPECT_EQ(ReadWhole("r.out"), "");
    } else {
      // A count below 1 stops before the report is opened.
      EXPECT_FALSE(std::filesystem::exists("r.out"));
    }
    std::filesystem::remove("r.out");
  }
}

TEST_F(Driver, CorrelationMatrixOnlyAndNoFactorsEndNormallyWithoutAModelLine) {
  WriteFile("c.dat", kIdentity3);
  const std::pair<std::string, std::string> cases[] = {{"DI COR NO", "CMT 2 NOLABELS NOSORT"},
                                                       {"OR COR NO", "PCA 0 NOLABELS NOSORT"}};
  for (const auto& [metric, model] : cases) {
    RunOutcome outcome = RunText(Command(metric, model));
    EXPECT_FALSE(outcome.stopped) << outcome.out << outcome.err;
    EXPECT_EQ(AfterBanner(outcome.out), Col(30, "Reading Correlations") + Col(30, "Finished"));
    const std::string report = ReadWhole("r.out");
    EXPECT_NE(report.find(std::string(34, ' ') + "Velquorin 2.0 \n"), std::string::npos);
    EXPECT_NE(report.find(PadRight(">FORMAT: (F4.0)", 200) + "\n"), std::string::npos);
    EXPECT_EQ(report.find("Model ="), std::string::npos) << model;
    EXPECT_NE(report.find("The rotation is: Varimax"), std::string::npos);
  }
}

// The line of the report that counts the passes of the communality iteration.
std::string IterationLine(const std::string& report) {
  const std::size_t at = report.find("Number of iterations during communality estimation:");
  return at == std::string::npos ? std::string() : report.substr(at, report.find('\n', at) - at);
}

TEST_F(Driver, AnUnknownModelWordIteratesAsPrincipalFactorsWithoutAConsoleLine) {
  WriteFile("c.dat", "1 .5 .4 .3\n.5 1 .3 .2\n.4 .3 1 .1\n.3 .2 .1 1\n");
  auto command_file = [](const std::string& model) {
    return ">TITLE: t\n>DATA: c.dat 4 100\n>OUTFILE: r.out SHORT\n>METRIC: CO COR NO\n"
           ">MODEL: " +
           model +
           " 1 NOLABELS NOSORT\n>ROTATE: NONE\n>SCORE: NONE\n>PLOT: NONE\n"
           ">FORMAT: (F4.0)\n";
  };
  WriteFile("pfa.in", command_file("PFA"));
  RunOutcome outcome = Run("pfa.in");
  ASSERT_EQ(outcome.kind, RunStopped::Kind::kPlainStop) << outcome.out << outcome.err;
  const std::string pfa_passes = IterationLine(ReadWhole("r.out"));
  ASSERT_NE(pfa_passes, "Number of iterations during communality estimation:   1");

  WriteFile("xyz.in", command_file("XYZ"));
  outcome = Run("xyz.in");
  ASSERT_EQ(outcome.kind, RunStopped::Kind::kPlainStop) << outcome.out << outcome.err;
  EXPECT_EQ(outcome.out.find("Performing"), std::string::npos) << outcome.out;
  const std::string report = ReadWhole("r.out");
  EXPECT_EQ(IterationLine(report), pfa_passes);
  EXPECT_EQ(report.find("Model ="), std::string::npos);
}

TEST_F(Driver, LabelsLine) {
  WriteFile("c.dat", kIdentity3);
  // A fault comes to light after the correlations and leaves a report
  // without a head.
  RunOutcome outcome =
      RunText(Command("CO COR NO", "CMT 2 LABELS NOSORT", "c.dat 3 100", ">LABEL: a b c\n"));
  EXPECT_EQ(
      AfterBanner(outcome.out),
      Col(30, "Reading Correlations") + PauseFault(30, "FATAL ERROR: Keyword  >LABELS:   missing"));
  EXPECT_EQ(ReadWhole("r.out"), "");
  // Labels are read over lines and listed as their fixed line.
  outcome =
      RunText(Command("CO COR NO", "CMT 2 LABELS NOSORT", "c.dat 3 100", ">LABELS: a b\n c\n"));
  EXPECT_FALSE(outcome.stopped) << outcome.out << outcome.err;
  const std::string report = ReadWhole("r.out");
  EXPECT_NE(report.find("\n>LABELS: Label names . . . \n"), std::string::npos);
  EXPECT_EQ(report.find(">LABELS: a b"), std::string::npos);
}

TEST_F(Driver, GivenMatrixFilesThatAreMissing) {
  RunOutcome outcome = RunText(Command("DI COR NO", "PFA 2 NOLABELS NOSORT", "missing.dat 3 100"));
  EXPECT_EQ(AfterBanner(outcome.out),
            "\n" + PauseFault(27, "FATAL ERROR! Input correlation matrix not found"));
  outcome = RunText(Command("CO FLD1 NO", "ROT 2 NOLABELS NOSORT", "missing.dat 3 100"));
  EXPECT_EQ(AfterBanner(outcome.out),
            "\n" + PauseFault(27, "FATAL ERROR! Factor Pattern file not found"));
}

TEST_F(Driver, AReportNamedLikeAnInputFileIsRefusedAndTheInputKept) {
  const std::string data = "   1123\n   2231\n   3312\n";
  WriteFile("d.dat", data);
  const std::string rest =
      " SHORT\n>METRIC: OR RAW NO\n>MODEL: PFA 1 NOLABELS NOSORT\n>ROTATE: NONE\n"
      ">SCORE: NONE\n>PLOT: NONE\n>FORMAT: (F4.0,3F1.0)\n";
  const std::string refused =
      PauseFault(30, "FATAL ERROR: >OUTFILE: names an input file of this run");

  WriteFile("data.in", ">TITLE: t\n>DATA: d.dat 3 3\n>OUTFILE: d.dat" + rest);
  RunOutcome outcome = Run("data.in");
  EXPECT_EQ(AfterBanner(outcome.out), refused);
  EXPECT_EQ(ReadWhole("d.dat"), data);

  const std::string self = ">TITLE: t\n>DATA: d.dat 3 3\n>OUTFILE: './self.in'" + rest;
  WriteFile("self.in", self);
  outcome = Run("self.in");
  EXPECT_EQ(AfterBanner(outcome.out), refused);
  EXPECT_EQ(ReadWhole("self.in"), self);
}
TEST_F(Driver, MissingRawDataFileIsCreatedEmptyAndEndsInEndOfFile) {
  RunOutcome outcome = RunText(Command("OR RAW NO", "PFA 2 NOLABELS NOSORT", "nodata.dat 3 10"));
  EXPECT_EQ(outcome.exit_code, 24);
  EXPECT_EQ(AfterBanner(outcome.out), Col(30, "Reading Data"));
  EXPECT_EQ(outcome.err, "severe (24): end-of-file during read, unit 10, file nodata.dat\n");
  EXPECT_TRUE(std::filesystem::exists("nodata.dat"));
}

TEST_F(Driver, ExitStatusAndOptionsOfTheProcess) {
  auto status = [](std::vector<std::string> words) {
    std::vector<char*> argv;
    for (std::string& word : words) argv.push_back(word.data());
    ConsoleCapture capture;
    return VelquorinMain(static_cast<int>(argv.size()), argv.data());
  };
  WriteFile("cut.in", ">TITLE: t\n");
  WriteFile("fault.in", "\n");
  EXPECT_EQ(status({"velquorin", "--seed", "3", "missing.in"}), 1);
  EXPECT_EQ(status({"velquorin", "cut.in"}), 24);
  EXPECT_EQ(status({"velquorin", "--seed", "7", "fault.in"}), 0);
  // Only help, version and --seed with its number are options.
  EXPECT_EQ(status({"velquorin", "-h"}), 2);
  EXPECT_EQ(status({"velquorin", "--seed=7", "fault.in"}), 2);
  EXPECT_EQ(status({"velquorin", "--seed", "99999999999999999999999", "fault.in"}), 2);
  EXPECT_EQ(status({"velquorin", "--seed", "7x", "fault.in"}), 2);
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
  options.Smoothing = ParseSmoothing("SM");
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
    options.InputForm = ParseInputForm(row.form);
    options.Coding = ParseCoding(row.coding);
    EXPECT_EQ(SmoothingRuns(options), row.runs) << row.form << row.coding;
    EXPECT_EQ(SavesSmoothedMatrix(options), row.saved) << row.form << row.coding;
  }
  options.InputForm = ParseInputForm("RAW ");
  options.Coding = ParseCoding("OR");
  options.Smoothing = ParseSmoothing("PS");  // shown as smoothed, never smoothed
  EXPECT_FALSE(SmoothingRuns(options));
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
