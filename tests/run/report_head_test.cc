#include "run/report_head.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "frame/console.h"
#include "text/edit_descriptors.h"

namespace vq {
namespace {

const char kDemoFile[] =
    "* Eight items, first wave\n"
    ">TITLE: Reasoning items\n"
    ">DATA: items.dat 8 250\n"
    ">OUTFILE: items.out LONG\n"
    ">METRIC: OR RAW SM\n"
    ">MODEL: PFA 2 LABELS SORT\n"
    ">ROTATE: PROMAX 3\n"
    ">SCORE: NOSCORE\n"
    ">PLOT: LOADINGS\n"
    ">TECHNICAL: 0.0001 200 0.0001 200 T 0.2 SMC 130 T\n"
    ">OUTPUT: 2 COR FAC\n"
    ">FORMAT: (F4.0,8F1.0)\n"
    ">LABELS: I1 I2 I3 I4 I5 I6 I7 I8\n";

// The options that the parse gives for kDemoFile.
RunOptions DemoOptions() {
  RunOptions o;
  o.VariableCount = 8;
  o.SubjectCount = 250;
  o.Coding = ParseCoding("OR");
  o.InputForm = ParseInputForm("RAW ");
  o.Smoothing = ParseSmoothing("SM");
  o.Model = ParseModel("PFA ");
  o.FactorCount = 2;
  o.LabelMode = ParseLabelMode("LABELS");
  o.SortMode = ParseSortMode("SORT");
  o.Rotation = ParseRotation("PROMAX");
  o.RotationName = PadRight("Promax", 25);
  o.ScoreMethod = ParseScoreMethod("NOSCORE");
  o.PlotMode = ParsePlotMode("LOADINGS");
  o.InitialCommunality = ParseInitialCommunality("SMC");
  o.SaveResults = true;
  return o;
}

std::string Head(const RunOptions& options, const std::string& command_file) {
  RecordSource source;
  source.OpenText(12, "test.in", command_file);
  OutputFile report;
  report.OpenInMemory(11);
  WriteReportHead(options, source, report);
  return report.Text();
}

std::vector<std::string> Lines(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

// A command line as the listing shows it: 200 columns.
std::string Listed(const std::string& line) { return PadRight(line, 200); }

TEST(ReportHead, TheWholeHeadOfTheExample) {
  std::string expected = "\n" + std::string(34, ' ') + "Velquorin 2.0 \n\n" + std::string(8, ' ') +
                         "A Factor Analysis System for Ordered Item Data\n" + std::string(27, ' ') +
                         "for Problems of Any Size\n" + std::string(6, '\n') +
                         "0===========COMMAND LISTING====================0\n\n";
  std::vector<std::string> command_lines = Lines(kDemoFile);
  for (std::size_t line = 0; line + 1 < command_lines.size(); ++line) {
    expected += Listed(command_lines[line]) + "\n";
  }
  expected += ">LABELS: Label names . . . \n";
  expected += std::string(4, '\n');
  expected +=
      "0==================MODEL=======================0\n"
      "\n"
      "Model = Principal Factor Analysis\n"
      "Number of subjects =    250\n"
      "Number of factors =   2\n"
      "Number of variables =   8\n"
      "Variables are coded: Ordered                        \n"
      "The correlation matrix is: Smoothed  \n"
      "The rotation is: Promax                   \n"
      "Correlations are polychorics\n"
      "\n"
      "\n\n\n"
      "0==============TECHNICAL PARAMETERS============0\n"
      "\n"
      "Epsilon for Communality Estimation = .000100000\n"
      "Maximum Iterations for Communality Estimation = 200\n"
      "Epsilon for Rotation Accuracy = .000100000\n"
      "Maximum Iterations for Rotation = 200\n"
      "Rotate from Random Orientation\n"
      "Hyperplane width = 0.200\n"
      "\n"
      "\n";
  EXPECT_EQ(Head(DemoOptions(), kDemoFile), expected);
}

// The listing part of the head: from the line after the listing's title to
// the first of the four empty lines behind it.
std::vector<std::string> Listing(const std::string& head) {
  std::vector<std::string> lines = Lines(head);
  std::vector<std::string> listing;
  std::size_t line = 0;
  while (lines[line] != "0===========COMMAND LISTING====================0") ++line;
  for (line += 2; !lines[line].empty(); ++line) listing.push_back(lines[line]);
  return listing;
}

TEST(ReportHead, WhereTheListingEnds) {
  std::string comments;
  for (int line = 1; line <= 150; ++line) comments += "* comment " + std::to_string(line) + "\n";
  const std::string long_line = ">TITLE: " + std::string(300, 'x');
  const std::string labels = ">LABELS: Label names . . . ";
  struct Case {
    const char* label_mode;
    std::string file;
    std::size_t count;
    std::vector<std::pair<std::size_t, std::string>> lines;  // listed lines by index
  } cases[] = {
      {"NOLABELS", kDemoFile, 12, {{11, Listed(">FORMAT: (F4.0,8F1.0)")}}},
      // ">FORMAT" and ">LABEL" in any case; with "LABELS" the listing goes
      // on past ">FORMAT:" to the fixed line in place of the labels.
      {"NOLABELS", ">title: x\n>format: (f4.0)\nafter\n", 2, {}},
      {"LABELS",
       ">title: x\n>format: (f4.0)\n>label: a b\nafter\n",
       3,
       {{1, Listed(">format: (f4.0)")}, {2, labels}}},
      // Another word lists to the end of the file.
      {"NUMBERS",
       ">TITLE: x\n>FORMAT: (F4.0)\nbehind one\nbehind two\n",
       4,
       {{3, Listed("behind two")}}},
      {"LABELS", comments + ">FORMAT: (F4.0)\n", 100, {{99, Listed("* comment 100")}}},
      // Lines are 200 columns wide, blank ones too.
      {"NOLABELS",
       long_line + "\n   \n>FORMAT: (F4.0)  \n",
       3,
       {{0, long_line.substr(0, 200)}, {1, std::string(200, ' ')}, {2, Listed(">FORMAT: (F4.0)")}}},
  };
  for (const Case& c : cases) {
    RunOptions options = DemoOptions();
    options.LabelMode = ParseLabelMode(c.label_mode);
    std::vector<std::string> listing = Listing(Head(options, c.file));
    ASSERT_EQ(listing.size(), c.count) << c.file;
    for (const auto& [index, line] : c.lines) EXPECT_EQ(listing[index], line) << index;
  }
}

// The line of the model section that starts with `start`, or "" if none.
std::string LineStarting(const std::string& head, const std::string& start) {
  for (const std::string& line : Lines(head)) {
    if (line.compare(0, start.size(), start) == 0) return line;
  }
  return "";
}

TEST(ReportHead, ModelSectionLines) {
  // Each case changes the demo options and names one line of the section.
  struct Case {
    std::string model, coding, score, smoothing;
    int m;
    std::string start, line;
  } cases[] = {
      {"PCA ", "", "", "", 2, "Model =", "Model = Principal Components Analysis"},
      {"ROT ", "", "", "", 2, "Model =", "Model = Rotate existing matrix"},
      {"TRP ", "", "", "", 2, "Model =", "Model = Test of underlying multivariate normality"},
      {"TRP ", "", "", "", 0, "Model =", "Model = Test of underlying multivariate normality"},
      {"CMT ", "", "", "", 2, "Model =", ""},
      {"PCA ", "", "", "", 0, "Model =", ""},
      {"", "", "", "PS", 2, "The correlation matrix is:", "The correlation matrix is: Smoothed  "},
      {"", "", "", "NO", 2, "The correlation matrix is:", "The correlation matrix is: Unsmoothed"},
      {"", "CO", "REG", "", 2, "Factor Scores are:", "Factor Scores are: Regression Method   "},
      {"", "CO", "BART", "", 2, "Factor Scores are:", "Factor Scores are: Bartlett Method     "},
      {"", "CO", "NOSCORE", "", 2, "Factor Scores are:", "Factor Scores are: None                "},
      {"", "CO", "NONE", "", 2, "Factor Scores are:", "Factor Scores are:                     "},
      {"", "IP", "REG", "", 2, "Factor Scores are:", ""},
      {"", "CO", "", "", 2, "Correlations are", "Correlations are Pearson Product Moments"},
      {"", "IP", "", "", 2, "Correlations are", "Correlations are Pearson Product Moments"},
      {"",
       "DC",
       "",
       "",
       2,
       "Correlations are",
       "Correlations are tetrachorics corrected for guessing"},
      {"", "CD", "", "", 2, "Correlations are", "Correlations are tetrachorics"},
      {"", "DI", "", "", 2, "Correlations are", "Correlations are tetrachorics"},
      {"", "CO", "", "", 2, "Variables are coded:", "Variables are coded: Continuous"},
      {"", "IP", "", "", 2, "Variables are coded:", "Variables are coded: Ipsatized"},
      {"", "DC", "", "", 2, "Variables are coded:", "Variables are coded: Dichotomous"},
      {"",
       "CD",
       "",
       "",
       2,
       "Variables are coded:",
       "Variables are coded: Continous -> Dichotomous"},
  };
  for (const Case& c : cases) {
    RunOptions options = DemoOptions();
    if (!c.model.empty()) options.Model = ParseModel(c.model);
    if (!c.coding.empty()) options.Coding = ParseCoding(c.coding);
    if (!c.score.empty()) options.ScoreMethod = ParseScoreMethod(c.score);
    if (!c.smoothing.empty()) options.Smoothing = ParseSmoothing(c.smoothing);
    options.FactorCount = c.m;
    // The coding text is A31 behind a 21-character lead: 52 positions.
    const std::string line = c.start == "Variables are coded:" ? PadRight(c.line, 52) : c.line;
    EXPECT_EQ(LineStarting(Head(options, ">FORMAT: (F4.0)\n"), c.start), line);
  }
}

TEST(ReportHead, NumbersThatDoNotFitShowAsterisks) {
  RunOptions options = DemoOptions();
  options.SubjectCount = 1000000;
  options.VariableCount = 1000;
  options.FactorCount = 999;
  options.CommunalityEpsilon = 1.0;
  options.RotationEpsilon = 0.5;
  options.CommunalityIterations = 10000;
  options.RotationIterations = 5;
  options.RandomStart = ParseRandomStart("F");
  options.HyperplaneWidth = 0.15;
  const std::string head = Head(options, ">FORMAT: (F4.0)\n");
  const std::pair<const char*, const char*> lines[] = {
      {"Number of subjects", "Number of subjects = ******"},
      {"Number of variables", "Number of variables = ***"},
      {"Number of factors", "Number of factors = 999"},
      {"Epsilon for Communality", "Epsilon for Communality Estimation = **********"},
      {"Epsilon for Rotation", "Epsilon for Rotation Accuracy = .500000000"},
      {"Maximum Iterations for Communality", "Maximum Iterations for Communality Estimation =****"},
      {"Maximum Iterations for Rotation", "Maximum Iterations for Rotation =   5"},
      {"Rotate from", "Rotate from Unrotated Orientation"},
      {"Hyperplane width", "Hyperplane width = 0.150"},
  };
  for (const auto& [start, line] : lines) EXPECT_EQ(LineStarting(head, start), line);
  options.SubjectCount = 999999;
  options.RandomStart = ParseRandomStart("X");
  const std::string other = Head(options, ">FORMAT: (F4.0)\n");
  EXPECT_EQ(LineStarting(other, "Number of subjects"), "Number of subjects = 999999");
  EXPECT_EQ(LineStarting(other, "Rotate from"), "");
}

TEST(Banner, BoxFromColumn25To98) {
  ConsoleCapture capture;
  ShowBanner();
  const std::vector<std::string> lines = Lines(capture.Out());
  ASSERT_EQ(lines.size(), 18u);
  for (int line = 0; line < 8; ++line) EXPECT_EQ(lines[line], "");
  const std::string border = std::string(23, ' ') + "0" + std::string(72, '=') + "0";
  EXPECT_EQ(lines[8], border);
  EXPECT_EQ(lines[17], border);
  const std::string inside = std::string(23, ' ') + "|" + std::string(72, ' ') + "|";
  for (int line = 9; line < 17; ++line) {
    if (line == 10) continue;
    EXPECT_EQ(lines[line], inside);
  }
  // "Velquorin 2.0" from column 55: 53 shown positions ahead of it.
  EXPECT_EQ(lines[10].find("Velquorin 2.0"), 53u);
  EXPECT_EQ(lines[10].size(), 97u);
  EXPECT_EQ(lines[10][96], '|');
}

}  // namespace
}  // namespace vq
