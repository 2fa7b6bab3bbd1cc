#include "api/host.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "kernels/parallel.h"

namespace vq::api {
namespace {

namespace fs = std::filesystem;

const std::string kStop = "Stop - Program terminated.\nProgram Terminated with exit code 0\n";
const std::string kPause = "Pause - Enter command<CR> or <CR> to continue.\n";

// --- Whole runs against the golden cases ------------------------------------------

std::string ReadFile(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

// A golden case copied into a scratch folder and run there through the host,
// as tests/golden/run_case.sh runs the program.
class GoldenRun {
 public:
  explicit GoldenRun(const std::string& name)
      : case_dir_(fs::path(VELQUORIN_SOURCE_DIR) / "tests" / "golden" / name),
        scratch_(fs::path(::testing::TempDir()) / ("api_host_" + name)) {
    fs::path inputs = case_dir_;
    std::string command;
    if (fs::exists(case_dir_ / "example")) {
      std::string example;
      std::ifstream(case_dir_ / "example") >> example;
      inputs = fs::path(VELQUORIN_SOURCE_DIR) / example;
      if (fs::is_regular_file(inputs)) {
        command = inputs.filename().string();
        inputs = inputs.parent_path();
      }
    }
    std::set<std::string> skipped = {"example", "args", "stdin", ".gitignore"};
    for (const auto& entry : fs::directory_iterator(case_dir_ / "expected")) {
      skipped.insert(entry.path().filename().string());
    }
    fs::remove_all(scratch_);
    fs::create_directories(scratch_);
    std::set<std::string> command_files;
    for (const auto& entry : fs::directory_iterator(inputs)) {
      const std::string file = entry.path().filename().string();
      if (!entry.is_regular_file() || skipped.count(file) > 0) continue;
      fs::copy_file(entry.path(), scratch_ / file);
      if (entry.path().extension() == ".in") command_files.insert(file);
    }
    command_ = "./" + (command.empty() ? *command_files.begin() : command);
    std::ifstream args(case_dir_ / "args");
    std::string word;
    while (args >> word) {
      if (word == "--seed") args >> seed_;
    }
  }

  RunOutcome Run(int threads) {
    const fs::path earlier = fs::current_path();
    fs::current_path(scratch_);
    RunSettings settings;
    settings.threads = threads;
    settings.has_seed = seed_ != kNoSeed;
    settings.seed = seed_;
    RunOutcome outcome = RunCommandFile(command_, settings);
    fs::current_path(earlier);
    return outcome;
  }

  // Every file of expected/ against what the run left and returned.
  void ExpectSameAsProgram(const RunOutcome& outcome) {
    const fs::path expected = case_dir_ / "expected";
    EXPECT_EQ(outcome.console, ReadFile(expected / "console.txt"));
    EXPECT_EQ(outcome.errors, ReadFile(expected / "stderr.txt"));
    EXPECT_EQ(std::to_string(outcome.status) + "\n", ReadFile(expected / "status"));
    std::set<std::string> written;
    for (const auto& entry : fs::directory_iterator(expected)) {
      const std::string file = entry.path().filename().string();
      if (file == "console.txt" || file == "stderr.txt" || file == "status") continue;
      written.insert((scratch_ / file).lexically_normal().string());
      EXPECT_EQ(ReadFile(scratch_ / file), ReadFile(entry.path())) << file;
    }
    std::set<std::string> returned(outcome.saved_files.begin(), outcome.saved_files.end());
    if (!outcome.report.empty()) returned.insert(outcome.report);
    EXPECT_EQ(returned, written);
  }

 private:
  static constexpr long kNoSeed = -1;
  fs::path case_dir_;
  fs::path scratch_;
  std::string command_;
  long seed_ = kNoSeed;
};

TEST(RunCommandFileTest, DemoAsTheProgramWithOneAndTwoThreads) {
  for (int threads : {1, 2}) {
    GoldenRun run("demo");
    const RunOutcome outcome = run.Run(threads);
    EXPECT_EQ(outcome.ending, Ending::kFinished);
    EXPECT_EQ(outcome.message, "");
    run.ExpectSameAsProgram(outcome);
  }
}

TEST(RunCommandFileTest, StopsAreReturnedWithTheProgramsWords) {
  struct StopCase {
    const char* name;
    Ending ending;
    int status;
    std::string message;
  };
  const std::vector<StopCase> cases = {
      {"parse_fault", Ending::kStopped, 0, "FATAL ERROR: Keyword  >MODEL:   missing"},
      {"corr_no_variance", Ending::kStopped, 0, "FATAL ERROR: VARIABLE   4 HAS NO VARIANCE"},
      {"given_cor_missing", Ending::kStopped, 0, "FATAL ERROR! Input correlation matrix not found"},
      {"given_cor_absent_co",
       Ending::kSevere,
       29,
       "severe (29): file not found, unit 10, file absent.cor"},
      {"principal_factors_smc", Ending::kFinished, 0, ""},
  };
  for (const StopCase& c : cases) {
    GoldenRun run(c.name);
    const RunOutcome outcome = run.Run(1);
    EXPECT_EQ(outcome.ending, c.ending) << c.name;
    EXPECT_EQ(outcome.status, c.status) << c.name;
    EXPECT_EQ(outcome.message, c.message) << c.name;
    run.ExpectSameAsProgram(outcome);
  }
}

TEST(RunCommandFileTest, MissingCommandFileIsCancelled) {
  const RunOutcome outcome = RunCommandFile("/nonexistent/absent.in", RunSettings());
  EXPECT_EQ(outcome.ending, Ending::kCancelled);
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.message, "Command file not found: /nonexistent/absent.in");
  EXPECT_EQ(outcome.report, "");
  EXPECT_TRUE(outcome.saved_files.empty());
}

TEST(RunCommandFileTest, RefusesBadSettingsAndPutsTheThreadCountBack) {
  RunSettings settings;
  settings.threads = 1025;
  EXPECT_THROW(RunCommandFile("x.in", settings), std::invalid_argument);
  settings.threads = -1;
  EXPECT_THROW(RunCommandFile("x.in", settings), std::invalid_argument);
  EXPECT_THROW(RunCommandFile("", RunSettings()), std::invalid_argument);

  SetThreadCount(0);
  const int cores = ThreadCount();
  {
    RunSettings three;
    three.threads = 3;
    QuietHost host(three);
    EXPECT_EQ(ThreadCount(), 3);
  }
  EXPECT_EQ(ThreadCount(), cores);
}

}  // namespace
}  // namespace vq::api
