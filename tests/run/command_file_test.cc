#include "run/command_file.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "run_test_support.h"

namespace vq {
namespace {

using testing::Col;
using testing::ParseOutcome;
using testing::ParseText;

// A small command file on a given correlation matrix, so that the parse
// opens no data file. Lines by index: 0 title, 1 data, 2 outfile, 3 metric,
// 4 model, 5 rotate, 6 score, 7 plot, 8 format.
std::vector<std::string> BaseLines() {
  return {">TITLE: Reasoning items",
          ">DATA: corr.dat 3 100",
          ">OUTFILE: report.out SHORT",
          ">METRIC: CO COR NO",
          ">MODEL: PFA 2 NOLABELS NOSORT",
          ">ROTATE: VARIMAX",
          ">SCORE: NOSCORE",
          ">PLOT: LOADINGS",
          ">FORMAT: (3F4.0)"};
}

std::string Join(const std::vector<std::string>& lines) {
  std::string text;
  for (const std::string& line : lines) text += line + "\n";
  return text;
}

std::string With(int index, const std::string& line) {
  std::vector<std::string> lines = BaseLines();
  lines[static_cast<std::size_t>(index)] = line;
  return Join(lines);
}

std::string Insert(int index, const std::string& line) {
  std::vector<std::string> lines = BaseLines();
  lines.insert(lines.begin() + index, line);
  return Join(lines);
}

std::string Pad(const std::string& text, std::size_t width) {
  return text + std::string(width - text.size(), ' ');
}

TEST(UpcaseToken, MovesLeftAndRaisesLettersOnly) {
  const std::pair<std::string, std::string> cases[] = {{"  pfa ", "PFA   "},
                                                       {">title:", ">TITLE:"},
                                                       {"a-z_{}9\xe4", "A-Z_{}9\xe4"},
                                                       {"    ", "    "},
                                                       {"", ""}};
  for (auto [field, expected] : cases) {
    UpcaseToken(field);
    EXPECT_EQ(field, expected);
  }
}

TEST(CommandFile, KeywordsAndWordsInAnyCaseNamesKeepTheirCase) {
  const std::string text =
      ">title: Mixed Case\n"
      ">Data: Corr.Dat 3 100\n"
      ">outFile: Report.Out short\n"
      ">metric: co cor no\n"
      ">model: pfa 2 nolabels nosort\n"
      ">rotate: varimax\n"
      ">score: reg\n"
      ">plot: Loadings\n"
      ">technical: 0.0001 200 0.0001 200 t 0.2 smc 130 t\n"
      ">output: 1 cor\n"
      ">format: (3f4.0)\n";
  ParseOutcome parsed = ParseText(text);
  ASSERT_FALSE(parsed.stopped) << parsed.out;
  const RunOptions& o = parsed.options;
  EXPECT_EQ(o.Title, Pad(" Mixed Case", 80));
  EXPECT_EQ(o.DataFile, Pad("Corr.Dat", 50));
  EXPECT_EQ(o.OutFile, Pad("Report.Out", 35));
  EXPECT_EQ(o.Print_Verbosity, ParseVerbosity("SHORT"));
  EXPECT_EQ(o.Coding, ParseCoding("CO"));
  EXPECT_EQ(o.Model, ParseModel("PFA"));
  EXPECT_EQ(o.LabelMode, ParseLabelMode("NOLABELS"));
  EXPECT_EQ(o.RotationName, Pad("Varimax", 25));
  EXPECT_EQ(o.PlotMode, ParsePlotMode("LOADINGS"));
  EXPECT_EQ(o.RandomStart, ParseRandomStart("T"));
  EXPECT_EQ(o.SaveCodes, (std::vector<SaveCode>{SaveCode::kCor}));
  EXPECT_EQ(o.RecordFormat, Pad(" (3f4.0)", 80));
}
const std::string kTechnical = ">TECHNICAL: 0.0001 200 0.0001 200 T 0.2 ONE 130 T";

// Lines that the parse passes over or accepts as they are.
TEST(CommandFile, FilesThatParse) {
  const std::string texts[] = {
      "*a\n* b\n*\n" + Join(BaseLines()),  // comment lines at the top
      Insert(2, "anything at all 1 2 3"),  // one line of any content after ">DATA:"
      Insert(2, ""),                       // a blank one too
      Insert(4, "\n   \n"),                // blank lines before a list line
      // Without ">TECHNICAL:" its probe, a list read, has passed over the blank
      // line and steps back to ">FORMAT:" itself.
      Insert(8, ""),
      With(5, ">ROTATE: OBLIMIN 0"),  // a delta of 0 passes
      With(7, ">PLOT: SCORES"),       // "SCORES" with "NOSCORE" passes the parse
  };
  for (const std::string& text : texts) {
    ParseOutcome parsed = ParseText(text);
    EXPECT_FALSE(parsed.stopped) << text << parsed.out;
    EXPECT_EQ(parsed.out, "") << text;
  }
}

TEST(CommandFile, WordsAndValuesOfSingleLines) {
  ParseOutcome parsed = ParseText(With(3, ">METRIC: CONTINUOUS COR NOSMOOTH"));
  EXPECT_EQ(parsed.options.Coding, ParseCoding("CO"));
  EXPECT_EQ(parsed.options.InputForm, ParseInputForm("COR"));
  EXPECT_EQ(parsed.options.Smoothing, ParseSmoothing("NO"));
  parsed = ParseText(With(6, ">SCORE: REG"));  // "COR" forces "NOSCORE"
  EXPECT_EQ(parsed.options.ScoreMethod, ParseScoreMethod("NOSCORE"));
  parsed = ParseText(With(5, ">ROTATE: PROMAX 4.0"));
  EXPECT_EQ(parsed.options.PromaxPower, 4);
  parsed = ParseText(With(5, ">ROTATE: HK 0.5"));
  EXPECT_EQ(parsed.options.HarrisKaiserParameter, 0.5);
  EXPECT_EQ(parsed.options.RotationName, Pad("Harris-Kaiser", 25));
  parsed = ParseText(With(5, ">ROTATE: WVARIMAX"));
  EXPECT_EQ(parsed.options.RotationName, Pad("Weighted Varimax", 25));
  // An unknown rotation word is no error and names no rotation.
  parsed = ParseText(With(5, ">ROTATE: QUARTIMAX"));
  ASSERT_FALSE(parsed.stopped) << parsed.out;
  EXPECT_EQ(parsed.options.Rotation, ParseRotation("QUARTIMA"));
  EXPECT_EQ(parsed.options.RotationName, std::string(25, ' '));
  // Fields behind the last one are dropped.
  parsed = ParseText(With(5, ">ROTATE: VARIMAX 3 and more"));
  ASSERT_FALSE(parsed.stopped) << parsed.out;
  EXPECT_EQ(parsed.options.Rotation, ParseRotation("VARIMAX"));
  EXPECT_EQ(parsed.options.ScoreMethod, ParseScoreMethod("NOSCORE"));
  // Names are cut to their fields.
  const std::string long_name(120, 'n');
  parsed = ParseText(With(1, ">DATA: " + long_name + " 3 100"));
  EXPECT_EQ(parsed.options.DataFile, std::string(50, 'n'));
  EXPECT_EQ(parsed.options.VariableCount, 3);
  parsed = ParseText(With(2, ">OUTFILE: " + long_name + " SHORT"));
  EXPECT_EQ(parsed.options.OutFile, std::string(35, 'n'));
}

TEST(CommandFile, ObliminDeltaAboveZeroIsTheStopText) {
  const std::string text =
      "*********FATAL ERROR: The Oblimin Delta parameter must be less than 0.0*********";
  ParseOutcome parsed = ParseText(With(5, ">ROTATE: OBLIMIN 0.1"));
  EXPECT_TRUE(parsed.stopped);
  EXPECT_EQ(parsed.kind, RunStopped::Kind::kTextStop);
  EXPECT_EQ(parsed.out, text + "\nProgram Terminated with exit code 0\n");

  parsed = ParseText(With(5, ">ROTATE: oblimin -0.5"));
  ASSERT_FALSE(parsed.stopped);
  EXPECT_EQ(parsed.options.ObliminDelta, -0.5);
  EXPECT_EQ(parsed.options.Rotation, ParseRotation("OBLIMIN"));
  EXPECT_EQ(parsed.options.RotationName, Pad("Oblimin", 25));
}
TEST(CommandFile, SortOfAnUnrotatedSolutionIsWarnedAndDropped) {
  std::vector<std::string> lines = BaseLines();
  lines[4] = ">MODEL: PFA 2 NOLABELS SORT";
  lines[5] = ">ROTATE: NONE";
  ParseOutcome parsed = ParseText(Join(lines));
  ASSERT_FALSE(parsed.stopped);
  EXPECT_EQ(parsed.out, Col(30, "WARNING: Velquorin does not sort unrotated solutions") + "\n\n");
  EXPECT_EQ(parsed.options.SortMode, ParseSortMode("NOSORT"));
  EXPECT_EQ(parsed.options.Rotation, ParseRotation("NONE"));
}
TEST(CommandFile, OneFactorKeepsTheNameAndRotatesNothing) {
  std::vector<std::string> lines = BaseLines();
  lines[4] = ">MODEL: PFA 1 NOLABELS SORT";
  lines[5] = ">ROTATE: PROMAX 3";
  ParseOutcome parsed = ParseText(Join(lines));
  ASSERT_FALSE(parsed.stopped);
  EXPECT_EQ(parsed.out, "");  // no warning: the word was "PROMAX" when it was looked at
  EXPECT_EQ(parsed.options.Rotation, Rotation::kOneFactor);
  EXPECT_EQ(parsed.options.RotationAsked, Rotation::kPromax);
  EXPECT_EQ(parsed.options.RotationName, Pad("Promax", 25));
  EXPECT_EQ(parsed.options.SortMode, ParseSortMode("SORT"));

  // With "NONE" the sort warning comes first, then the word becomes "None".
  lines[5] = ">ROTATE: NONE";
  parsed = ParseText(Join(lines));
  EXPECT_EQ(parsed.out, Col(30, "WARNING: Velquorin does not sort unrotated solutions") + "\n\n");
  EXPECT_EQ(parsed.options.Rotation, Rotation::kOneFactor);
  EXPECT_EQ(parsed.options.RotationName, Pad("None", 25));
}
TEST(CommandFile, UnquotedNameEndsAtASlash) {
  ParseOutcome parsed = ParseText(With(1, ">DATA: run/corr.dat 3 100"));
  ASSERT_FALSE(parsed.stopped) << parsed.out;
  // The slash ends the read: the counts keep their values.
  EXPECT_EQ(parsed.options.DataFile, Pad("run", 50));
  EXPECT_EQ(parsed.options.VariableCount, 0);
  parsed = ParseText(With(1, ">DATA: 'my run/corr.dat' 3 100"));
  EXPECT_EQ(parsed.options.DataFile, Pad("my run/corr.dat", 50));
  EXPECT_EQ(parsed.options.VariableCount, 3);
  parsed = ParseText(With(1, ">DATA: C:\\runs\\corr.dat 3 100"));
  EXPECT_EQ(parsed.options.DataFile, Pad("C:\\runs\\corr.dat", 50));
}
TEST(CommandFile, TechnicalAndOutputLines) {
  // Absent: the defaults, and no output line.
  ParseOutcome parsed = ParseText(Join(BaseLines()));
  const RunOptions& o = parsed.options;
  EXPECT_EQ(o.CommunalityEpsilon, 0.0001);
  EXPECT_EQ(o.CommunalityIterations, 200);
  EXPECT_EQ(o.RotationEpsilon, 0.0001);
  EXPECT_EQ(o.RotationIterations, 200);
  EXPECT_EQ(o.RandomStart, ParseRandomStart("T"));
  EXPECT_EQ(o.HyperplaneWidth, 0.2);
  EXPECT_EQ(o.InitialCommunality, ParseInitialCommunality("ONE"));
  EXPECT_EQ(o.PageWidth, 130);
  EXPECT_FALSE(o.SaveResults);
  EXPECT_TRUE(o.SaveCodes.empty());

  // A slash ends the list read; every value behind it keeps its default,
  // the words as well as the numbers.
  parsed = ParseText(Insert(8, ">TECHNICAL: 0.001 50 / 0.5 9 X 0.9 HIR 60 T"));
  ASSERT_FALSE(parsed.stopped) << parsed.out;
  EXPECT_EQ(parsed.options.CommunalityEpsilon, 0.001);
  EXPECT_EQ(parsed.options.CommunalityIterations, 50);
  EXPECT_EQ(parsed.options.RotationEpsilon, 0.0001);
  EXPECT_EQ(parsed.options.RandomStart, ParseRandomStart("T"));
  EXPECT_EQ(parsed.options.InitialCommunality, ParseInitialCommunality("ONE"));
  EXPECT_EQ(parsed.options.PageWidth, 130);
  EXPECT_FALSE(parsed.options.SaveResults);

  // The count of codes is a real number, truncated.
  const SaveCode kOther = SaveCode::kOther;
  const std::pair<std::string, std::vector<SaveCode>> outputs[] = {
      {">OUTPUT: 3.0 eig COR FAC RSD", {SaveCode::kEig, SaveCode::kCor, SaveCode::kFac}},
      {">OUTPUT: 7.9 A B C D E F G", {kOther, kOther, kOther, kOther, kOther, kOther, kOther}},
      {">OUTPUT: 0", {}}};
  for (const auto& [line, codes] : outputs) {
    parsed = ParseText(Insert(8, kTechnical + "\n" + line));
    ASSERT_FALSE(parsed.stopped) << parsed.out;
    EXPECT_EQ(parsed.options.SaveCodes, codes) << line;
  }
}

}  // namespace
}  // namespace vq
