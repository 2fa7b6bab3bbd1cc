// The --aids option on the command line and the name of the file it writes.
// What the file holds, and that it is the same for one thread and two, is
// pinned by the golden cases aids_*.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "run/driver.h"
#include "run/program.h"

namespace vq {
namespace {

// Parses `options` followed by a command file; returns the status.
int Parse(std::vector<std::string> options, ProgramArguments& arguments) {
  options.insert(options.begin(), "velquorin");
  options.emplace_back("run.in");
  std::vector<char*> argv;
  for (std::string& option : options) argv.push_back(option.data());
  return ParseProgramArguments(static_cast<int>(argv.size()), argv.data(), arguments);
}

TEST(AidsOption, DataSetCountsAcceptedAndRefused) {
  struct Case {
    std::vector<std::string> options;
    int status;  // -1: the run goes ahead
    int data_sets;
  } cases[] = {
      {{}, -1, 0},
      {{"--aids"}, -1, kDefaultAidsDataSets},
      {{"--aids=20"}, -1, 20},
      {{"--aids=1"}, -1, 1},
      {{"--aids=100000"}, -1, 100000},
      {{"--seed", "3", "--aids=7"}, -1, 7},
      {{"--aids=0"}, 2, 0},
      {{"--aids=-5"}, 2, 0},
      {{"--aids=100001"}, 2, 0},
      {{"--aids="}, 2, 0},
      {{"--aids=12x"}, 2, 0},
      {{"--aids=99999999999999999999"}, 2, 0},
      {{"--aidsx"}, 2, 0},
  };
  for (const Case& c : cases) {
    ProgramArguments arguments;
    const std::string shown = c.options.empty() ? "(none)" : c.options.back();
    EXPECT_EQ(Parse(c.options, arguments), c.status) << shown;
    if (c.status == -1) {
      EXPECT_EQ(arguments.aids_data_sets, c.data_sets) << shown;
      EXPECT_EQ(arguments.command_file, "run.in") << shown;
    }
  }
  EXPECT_EQ(kDefaultAidsDataSets, 100);
}

TEST(AidsOption, TheFileIsTheReportsPathWithItsExtensionReplaced) {
  struct Case {
    const char* report;
    const char* aids;
  } cases[] = {
      {"bfi.out", "bfi.aids"},
      {"out/run.txt", "out/run.aids"},
      {"/tmp/a.b/report.out", "/tmp/a.b/report.aids"},
      {"report", "report.aids"},
      {"a.b/report", "a.b/report.aids"},
      {"run.v2.out", "run.v2.aids"},
      // A report named like its aids file keeps it: the aids go beside it.
      {"run.aids", "run.aids.aids"},
  };
  for (const Case& c : cases) EXPECT_EQ(AidsFilePath(c.report), c.aids) << c.report;
}

}  // namespace
}  // namespace vq
