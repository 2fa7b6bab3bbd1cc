// Randomized mutations of the example inputs: command files, record formats
// and data files are changed at random (lines deleted, duplicated or
// swapped, bytes flipped, inserted or deleted, numbers made 0, -1 or huge,
// words replaced), and each mutated run must still end by one of the
// program's ways of ending, within its time limit, without a signal and with
// nothing on stderr but a severe error's line.
//
// The seed is fixed, so a failing case comes back the same. The number of
// cases is set by the build (fewer under the sanitizers, which are slower);
// VELQUORIN_MUTATION_CASES in the environment overrides it.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <random>
#include <regex>
#include <string>
#include <vector>

#include "badinput/whole_run.h"

#ifndef VELQUORIN_MUTATION_CASES
#define VELQUORIN_MUTATION_CASES 3000
#endif

namespace vq::badinput {
namespace {

namespace fs = std::filesystem;

constexpr unsigned kSeed = 20240611;
constexpr double kLimitSeconds = 30.0;

struct ExampleRun {
  std::string folder;
  std::string command;
};

// Every command file of the examples.
std::vector<ExampleRun> AllExampleRuns() {
  std::vector<ExampleRun> runs;
  const fs::path examples = fs::path(VELQUORIN_SOURCE_DIR) / "examples";
  for (const auto& folder : fs::directory_iterator(examples)) {
    if (!folder.is_directory()) continue;
    for (const auto& file : fs::directory_iterator(folder.path())) {
      if (file.path().extension() == ".in") {
        runs.push_back({folder.path().filename().string(), file.path().filename().string()});
      }
    }
  }
  std::sort(runs.begin(), runs.end(), [](const ExampleRun& a, const ExampleRun& b) {
    return a.folder + "/" + a.command < b.folder + "/" + b.command;
  });
  return runs;
}

std::vector<std::string> SplitLines(const std::string& text) {
  std::vector<std::string> lines;
  std::size_t start = 0;
  while (start < text.size()) {
    std::size_t end = text.find('\n', start);
    if (end == std::string::npos) end = text.size();
    lines.push_back(text.substr(start, end - start));
    start = end + 1;
  }
  return lines;
}

std::string JoinLines(const std::vector<std::string>& lines) {
  std::string text;
  for (const std::string& line : lines) text += line + "\n";
  return text;
}

// A byte for flips and insertions. Never a slash or a backslash, so that no
// mutated file name can lead out of the scratch folder.
char RandomByte(std::mt19937& random) {
  for (;;) {
    const char c = static_cast<char>(random() & 0xFF);
    if (c != '/' && c != '\\') return c;
  }
}

const char* const kNumbers[] = {"0",
                                "-1",
                                "1",
                                "2",
                                "2147483647",
                                "2147483648",
                                "99999999999",
                                "-2147483648",
                                "1e300",
                                "-1e300",
                                "0.5",
                                "1.0E",
                                "3*"};
const char* const kWords[] = {"PCA",      "PFA",     "ROT",      "TRP",         "CMT",
                              "NONE",     "HK",      "OBLIMIN",  "PROMAX",      "VARIMAX",
                              "WVARIMAX", "LABELS",  "NOLABELS", "SORT",        "REG",
                              "BART",     "NOSCORE", "ALL",      "SCORES",      "LOADINGS",
                              "COR",      "RAW",     "FLD1",     "FLD2",        "DI",
                              "DC",       "CD",      "OR",       "IP",          "CO",
                              "SM",       "PS",      "T",        "F",           "SMC",
                              "HIR",      "x",       "'",        "\"",          ">FORMAT:",
                              ">LABELS:", ">ITEMS:", ">OUTPUT:", ">TECHNICAL:", "(F4.0,8F1.0)",
                              "(A)",      "(I3)",    "(Q)"};

// One mutation of `text`.
std::string Mutate(std::string text, std::mt19937& random) {
  std::vector<std::string> lines = SplitLines(text);
  auto pick = [&random](std::size_t size) {
    return static_cast<std::size_t>(random() % std::max<std::size_t>(size, 1));
  };
  switch (random() % 9) {
    case 0:  // delete a line
      if (!lines.empty()) lines.erase(lines.begin() + static_cast<long>(pick(lines.size())));
      return JoinLines(lines);
    case 1:  // duplicate a line
      if (!lines.empty()) {
        const std::size_t at = pick(lines.size());
        lines.insert(lines.begin() + static_cast<long>(at), lines[at]);
      }
      return JoinLines(lines);
    case 2:  // swap two lines
      if (lines.size() > 1) std::swap(lines[pick(lines.size())], lines[pick(lines.size())]);
      return JoinLines(lines);
    case 3:  // flip a byte
      if (!text.empty()) text[pick(text.size())] = RandomByte(random);
      return text;
    case 4:  // insert a byte
      text.insert(text.begin() + static_cast<long>(pick(text.size() + 1)), RandomByte(random));
      return text;
    case 5:  // delete a byte
      if (!text.empty()) text.erase(pick(text.size()), 1);
      return text;
    case 6:
    case 7: {  // a number becomes 0, -1, huge, ...
      static const std::regex number("-?[0-9]+(\\.[0-9]*)?");
      std::vector<std::pair<std::size_t, std::size_t>> found;
      for (auto it = std::sregex_iterator(text.begin(), text.end(), number);
           it != std::sregex_iterator();
           ++it) {
        found.emplace_back(static_cast<std::size_t>(it->position()),
                           static_cast<std::size_t>(it->length()));
      }
      if (found.empty()) return text;
      const auto [at, length] = found[pick(found.size())];
      text.replace(at, length, kNumbers[pick(std::size(kNumbers))]);
      return text;
    }
    default: {  // a word becomes another
      static const std::regex word("[>A-Za-z][A-Za-z:]*");
      std::vector<std::pair<std::size_t, std::size_t>> found;
      for (auto it = std::sregex_iterator(text.begin(), text.end(), word);
           it != std::sregex_iterator();
           ++it) {
        found.emplace_back(static_cast<std::size_t>(it->position()),
                           static_cast<std::size_t>(it->length()));
      }
      if (found.empty()) return text;
      const auto [at, length] = found[pick(found.size())];
      text.replace(at, length, kWords[pick(std::size(kWords))]);
      return text;
    }
  }
}

// Empty when the run ended by one of the ways of ending, else what was wrong.
std::string JudgeEnding(const RunResult& result) {
  if (result.timed_out) return "no end within the time limit";
  if (result.signal != 0) return "ended by signal " + std::to_string(result.signal);
  if (result.status == 0) {
    return result.errors.empty() ? std::string() : "status 0 with text on stderr";
  }
  static const std::regex severe(
      "(format syntax error at or near [^\\n]*\\n)?severe \\(([0-9]+)\\): [^\\n]*\\n");
  std::smatch match;
  if (!std::regex_match(result.errors, match, severe)) return "stderr is no severe error line";
  if (match[2].str() != std::to_string(result.status)) return "status is not the severe number";
  return std::string();
}

int CaseCount() {
  if (const char* text = std::getenv("VELQUORIN_MUTATION_CASES")) return std::atoi(text);
  return VELQUORIN_MUTATION_CASES;
}

TEST(Mutations, EveryMutatedRunEndsByOneOfTheWaysOfEnding) {
  const std::vector<ExampleRun> runs = AllExampleRuns();
  ASSERT_FALSE(runs.empty());
  std::mt19937 random(kSeed);
  const int cases = CaseCount();
  int failures = 0;
  for (int mutation_case = 0; mutation_case < cases; ++mutation_case) {
    const ExampleRun& run = runs[random() % runs.size()];
    const fs::path folder = ScratchFolder("mutation");
    CopyExample(run.folder, folder);
    // Mostly the command file (its record format among its lines), else
    // one of the other inputs of the folder.
    std::vector<fs::path> others;
    for (const auto& file : fs::directory_iterator(folder)) {
      if (file.path().extension() != ".in") others.push_back(file.path());
    }
    std::sort(others.begin(), others.end());
    fs::path target = folder / run.command;
    if (random() % 10 < 3 && !others.empty()) target = others[random() % others.size()];
    std::string text = ReadWholeFile(target);
    const int steps = 1 + static_cast<int>(random() % 3);
    for (int step = 0; step < steps; ++step) text = Mutate(text, random);
    WriteWholeFile(target, text);
    const RunResult result = RunProgram(folder, {"--seed", "1", run.command}, kLimitSeconds);
    const std::string fault = JudgeEnding(result);
    if (!fault.empty()) {
      ++failures;
      // Keep the inputs of the case for a look by hand.
      const fs::path kept = ScratchFolder("mutation_fault_" + std::to_string(mutation_case));
      fs::copy(folder, kept, fs::copy_options::recursive | fs::copy_options::overwrite_existing);
      ADD_FAILURE() << "case " << mutation_case << " (" << run.folder << "/" << run.command
                    << ", mutated " << target.filename().string() << "): " << fault
                    << "\ninputs kept in " << kept.string() << "\nstderr: " << result.errors;
      if (failures >= 10) break;
    }
  }
  fs::remove_all(ScratchFolder("mutation"));
}

// The demo's command file cut at the start and in the middle of every line.
// Cut between lines, the run reads on to the file's end, the missing
// >LABELS: line too, which is only looked for after the correlations; cut
// inside a line, it ends by one of the ways of ending.
TEST(Mutations, ACommandFileCutAnywhereEndsByOneOfTheWaysOfEnding) {
  const fs::path folder = ScratchFolder("cut");
  CopyExample("demo", folder);
  const std::string whole = ReadWholeFile(folder / "demo.in");
  std::vector<std::size_t> starts = {0};
  for (std::size_t i = 0; i < whole.size(); ++i) {
    if (whole[i] == '\n') starts.push_back(i + 1);
  }
  ASSERT_EQ(starts.size(), 14u);
  for (std::size_t line = 0; line + 1 < starts.size(); ++line) {
    for (const std::size_t cut : {starts[line], (starts[line] + starts[line + 1]) / 2}) {
      WriteWholeFile(folder / "run.in", whole.substr(0, cut));
      const RunResult result = RunProgram(folder, {"--seed", "1", "run.in"});
      EXPECT_EQ(JudgeEnding(result), "") << "cut at byte " << cut;
      if (cut == starts[line]) {
        EXPECT_EQ(result.errors, "severe (24): end-of-file during read, unit 12, file run.in\n")
            << "cut at byte " << cut;
      }
    }
  }
}

}  // namespace
}  // namespace vq::badinput
