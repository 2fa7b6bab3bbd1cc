// The report head where its numbers do not fit their fields; the head as
// the examples show it is pinned by the golden cases.
#include "run/report_head.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "frame/console.h"
#include "report/edit_descriptors.h"

namespace vq {
namespace {

// The options of the demo's command file.
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

// The line of the model section that starts with `start`, or "" if none.
std::string LineStarting(const std::string& head, const std::string& start) {
  for (const std::string& line : Lines(head)) {
    if (line.compare(0, start.size(), start) == 0) return line;
  }
  return "";
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
  options.RandomStart = "F";
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
  options.RandomStart = "X";
  const std::string other = Head(options, ">FORMAT: (F4.0)\n");
  EXPECT_EQ(LineStarting(other, "Number of subjects"), "Number of subjects = 999999");
  EXPECT_EQ(LineStarting(other, "Rotate from"), "");
}

}  // namespace
}  // namespace vq
