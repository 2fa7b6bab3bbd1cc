#include "run/command_file.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "run_test_support.h"

namespace vq {
namespace {

using testing::ParseOutcome;
using testing::ParseText;

// What the parse of a command file makes of its lines. Whole command files,
// the faults of the parse among them, are golden cases (tests/golden/parse_*);
// these are the values of the >TECHNICAL: and >OUTPUT: lines, which a report
// does not show all of.
//
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

std::string Insert(int index, const std::string& line) {
  std::vector<std::string> lines = BaseLines();
  lines.insert(lines.begin() + index, line);
  return Join(lines);
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

const std::string kTechnical = ">TECHNICAL: 0.0001 200 0.0001 200 T 0.2 ONE 130 T";

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
