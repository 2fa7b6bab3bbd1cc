#include "run/report_head.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "frame/console.h"
#include "report/edit_descriptors.h"

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
  o.Coding = "OR";
  o.InputForm = "RAW ";
  o.Smoothing = "SM";
  o.Model = "PFA ";
  o.FactorCount = 2;
  o.LabelMode = PadRight("LABELS", 15);
  o.SortMode = PadRight("SORT", 15);
  o.Rotation = PadRight("PROMAX", 8);
  o.RotationName = PadRight("Promax", 25);
  o.ScoreMethod = PadRight("NOSCORE", 8);
  o.PlotMode = PadRight("LOADINGS", 8);
  o.InitialCommunality = "SMC";
  o.SaveResults = "T";
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

std::string Listed(const std::string& line) { return PadRight(line, 200) + "\n"; }

TEST(ReportHead, TheWholeHeadOfTheExample) {
  std::string expected = "\n" + std::string(34, ' ') + "Velquorin 2.0 \n\n" + std::string(8, ' ') +
                         "A Factor Analysis System for Ordered Item Data\n" + std::string(27, ' ') +
                         "for Problems of Any Size\n" + std::string(6, '\n') +
                         "0===========COMMAND LISTING====================0\n\n";
  std::vector<std::string> command_lines = Lines(kDemoFile);
  for (std::size_t line = 0; line + 1 < command_lines.size(); ++line) {
    expected += Listed(command_lines[line]);
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

TEST(ReportHead, NolabelsEndsTheListingAtFormat) {
  RunOptions options = DemoOptions();
  options.LabelMode = PadRight("NOLABELS", 15);
  std::vector<std::string> listing = Listing(Head(options, kDemoFile));
  ASSERT_EQ(listing.size(), 12u);
  EXPECT_EQ(listing.back(), PadRight(">FORMAT: (F4.0,8F1.0)", 200));
}

TEST(ReportHead, FormatInAnyCaseAndLabelsInAnyCase) {
  RunOptions options = DemoOptions();
  options.LabelMode = PadRight("NOLABELS", 15);
  std::vector<std::string> listing = Listing(Head(options, ">title: x\n>format: (f4.0)\nafter\n"));
  EXPECT_EQ(listing.size(), 2u);
  options.LabelMode = PadRight("LABELS", 15);
  listing = Listing(Head(options, ">title: x\n>format: (f4.0)\n>label: a b\nafter\n"));
  ASSERT_EQ(listing.size(), 3u);
  EXPECT_EQ(listing[1], PadRight(">format: (f4.0)", 200));
  EXPECT_EQ(listing[2], ">LABELS: Label names . . . ");
}

TEST(ReportHead, OtherLabelModeListsToTheEndOfTheFile) {
  RunOptions options = DemoOptions();
  options.LabelMode = PadRight("NUMBERS", 15);
  std::vector<std::string> listing =
      Listing(Head(options, ">TITLE: x\n>FORMAT: (F4.0)\nbehind one\nbehind two\n"));
  ASSERT_EQ(listing.size(), 4u);
  EXPECT_EQ(listing[3], PadRight("behind two", 200));
}

TEST(ReportHead, ListingStopsAfterOneHundredLines) {
  std::string file;
  for (int line = 1; line <= 150; ++line) file += "* comment " + std::to_string(line) + "\n";
  file += ">FORMAT: (F4.0)\n";
  std::vector<std::string> listing = Listing(Head(DemoOptions(), file));
  ASSERT_EQ(listing.size(), 100u);
  EXPECT_EQ(listing.back(), PadRight("* comment 100", 200));
}

TEST(ReportHead, LinesAreTwoHundredColumnsWide) {
  RunOptions options = DemoOptions();
  options.LabelMode = PadRight("NOLABELS", 15);
  const std::string long_line = ">TITLE: " + std::string(300, 'x');
  std::vector<std::string> listing =
      Listing(Head(options, long_line + "\n   \n>FORMAT: (F4.0)  \n"));
  ASSERT_EQ(listing.size(), 3u);
  EXPECT_EQ(listing[0], long_line.substr(0, 200));
  EXPECT_EQ(listing[1], std::string(200, ' '));
  EXPECT_EQ(listing[2].size(), 200u);
}

// The line of the model section that starts with `start`, or "" if none.
std::string LineStarting(const std::string& head, const std::string& start) {
  for (const std::string& line : Lines(head)) {
    if (line.compare(0, start.size(), start) == 0) return line;
  }
  return "";
}

TEST(ReportHead, ModelLines) {
  RunOptions options = DemoOptions();
  const std::string file = ">FORMAT: (F4.0)\n";
  options.Model = "PCA ";
  EXPECT_EQ(LineStarting(Head(options, file), "Model ="), "Model = Principal Components Analysis");
  options.Model = "ROT ";
  EXPECT_EQ(LineStarting(Head(options, file), "Model ="), "Model = Rotate existing matrix");
  options.Model = "TRP ";
  EXPECT_EQ(LineStarting(Head(options, file), "Model ="),
            "Model = Test of underlying multivariate normality");
  options.Model = "CMT ";
  EXPECT_EQ(LineStarting(Head(options, file), "Model ="), "");
  options.Model = "PCA ";
  options.FactorCount = 0;
  EXPECT_EQ(LineStarting(Head(options, file), "Model ="), "");
  // "TRP" shows its line whatever m is.
  options.Model = "TRP ";
  EXPECT_NE(LineStarting(Head(options, file), "Model ="), "");
}

TEST(ReportHead, CountsTooLargeForTheirFieldsShowAsterisks) {
  RunOptions options = DemoOptions();
  options.SubjectCount = 1000000;
  options.VariableCount = 1000;
  options.FactorCount = 999;
  const std::string head = Head(options, ">FORMAT: (F4.0)\n");
  EXPECT_EQ(LineStarting(head, "Number of subjects"), "Number of subjects = ******");
  EXPECT_EQ(LineStarting(head, "Number of variables"), "Number of variables = ***");
  EXPECT_EQ(LineStarting(head, "Number of factors"), "Number of factors = 999");
  options.SubjectCount = 999999;
  EXPECT_EQ(LineStarting(Head(options, ">FORMAT: (F4.0)\n"), "Number of subjects"),
            "Number of subjects = 999999");
}

TEST(ReportHead, SmoothingWords) {
  RunOptions options = DemoOptions();
  const std::string file = ">FORMAT: (F4.0)\n";
  options.Smoothing = "PS";
  EXPECT_EQ(LineStarting(Head(options, file), "The correlation matrix is:"),
            "The correlation matrix is: Smoothed  ");
  options.Smoothing = "NO";
  EXPECT_EQ(LineStarting(Head(options, file), "The correlation matrix is:"),
            "The correlation matrix is: Unsmoothed");
}

TEST(ReportHead, FactorScoreLineOnlyForContinuousCoding) {
  RunOptions options = DemoOptions();
  const std::string file = ">FORMAT: (F4.0)\n";
  options.Coding = "CO";
  options.ScoreMethod = PadRight("REG", 8);
  std::string head = Head(options, file);
  EXPECT_EQ(LineStarting(head, "Factor Scores are:"), "Factor Scores are: Regression Method   ");
  EXPECT_EQ(LineStarting(head, "Correlations are"), "Correlations are Pearson Product Moments");
  EXPECT_EQ(LineStarting(head, "Variables are coded:"),
            PadRight("Variables are coded: Continuous", 52));
  options.ScoreMethod = PadRight("BART", 8);
  EXPECT_EQ(LineStarting(Head(options, file), "Factor Scores are:"),
            "Factor Scores are: Bartlett Method     ");
  options.ScoreMethod = PadRight("NOSCORE", 8);
  EXPECT_EQ(LineStarting(Head(options, file), "Factor Scores are:"),
            "Factor Scores are: None                ");
  options.ScoreMethod = PadRight("NONE", 8);
  EXPECT_EQ(LineStarting(Head(options, file), "Factor Scores are:"),
            "Factor Scores are:                     ");
  options.Coding = "IP";
  options.ScoreMethod = PadRight("REG", 8);
  head = Head(options, file);
  EXPECT_EQ(LineStarting(head, "Factor Scores are:"), "");
  EXPECT_EQ(LineStarting(head, "Variables are coded:"),
            PadRight("Variables are coded: Ipsatized", 52));
}

TEST(ReportHead, CorrelationKindAndCodingText) {
  RunOptions options = DemoOptions();
  const std::string file = ">FORMAT: (F4.0)\n";
  options.Coding = "DC";
  std::string head = Head(options, file);
  EXPECT_EQ(LineStarting(head, "Correlations are"),
            "Correlations are tetrachorics corrected for guessing");
  EXPECT_EQ(LineStarting(head, "Variables are coded:"),
            PadRight("Variables are coded: Dichotomous", 52));
  options.Coding = "CD";
  head = Head(options, file);
  EXPECT_EQ(LineStarting(head, "Correlations are"), "Correlations are tetrachorics");
  EXPECT_EQ(LineStarting(head, "Variables are coded:"),
            PadRight("Variables are coded: Continous -> Dichotomous", 52));
  options.Coding = "DI";
  EXPECT_EQ(LineStarting(Head(options, file), "Correlations are"), "Correlations are tetrachorics");
}

TEST(ReportHead, TechnicalParameters) {
  RunOptions options = DemoOptions();
  const std::string file = ">FORMAT: (F4.0)\n";
  options.CommunalityEpsilon = 1.0;
  options.RotationEpsilon = 0.5;
  options.CommunalityIterations = 10000;
  options.RotationIterations = 5;
  options.RandomStart = "F";
  options.HyperplaneWidth = 0.15;
  std::string head = Head(options, file);
  EXPECT_EQ(LineStarting(head, "Epsilon for Communality"),
            "Epsilon for Communality Estimation = **********");
  EXPECT_EQ(LineStarting(head, "Epsilon for Rotation"),
            "Epsilon for Rotation Accuracy = .500000000");
  EXPECT_EQ(LineStarting(head, "Maximum Iterations for Communality"),
            "Maximum Iterations for Communality Estimation =****");
  EXPECT_EQ(LineStarting(head, "Maximum Iterations for Rotation"),
            "Maximum Iterations for Rotation =   5");
  EXPECT_EQ(LineStarting(head, "Rotate from"), "Rotate from Unrotated Orientation");
  EXPECT_EQ(LineStarting(head, "Hyperplane width"), "Hyperplane width = 0.150");
  options.RandomStart = "X";
  EXPECT_EQ(LineStarting(Head(options, file), "Rotate from"), "");
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
