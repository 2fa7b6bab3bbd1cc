#include "api/analysis.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <fstream>
#include <functional>
#include <limits>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace vq::api {
namespace {

const std::string kSource = VELQUORIN_SOURCE_DIR;

// The scores of an example's data file: after the subject number, `items`
// fields of `width` columns (0: separated by blanks).
Scores ReadExample(const std::string& path, int items, int id_width, int width) {
  std::ifstream in(kSource + "/" + path);
  EXPECT_TRUE(in) << path;
  std::vector<std::vector<double>> rows;
  std::string line;
  while (std::getline(in, line)) {
    if (line.find_first_not_of(" \r") == std::string::npos) continue;
    std::vector<double> row;
    if (width == 0) {
      std::istringstream fields(line);
      double value = 0.0;
      fields >> value;  // the subject number
      while (fields >> value) row.push_back(value);
    } else {
      for (int item = 0; item < items; ++item) {
        row.push_back(std::stod(line.substr(id_width + item * width, width)));
      }
    }
    EXPECT_EQ(static_cast<int>(row.size()), items) << line;
    rows.push_back(row);
  }
  Scores scores;
  scores.subjects = static_cast<int>(rows.size());
  scores.items = items;
  for (int item = 0; item < items; ++item) {
    for (const std::vector<double>& row : rows) scores.values.push_back(row[item]);
  }
  return scores;
}

// The blanks left out: the saved file's field width depends on the number of
// items, and each value has nine decimals, so the digits and signs alone
// tell the values apart.
std::string WithoutBlanks(std::string text) {
  std::erase(text, ' ');
  return text;
}

// The matrix as the run saves it: nine decimals a value, one row a line.
std::string AsSaved(const CorrelationResult& result) {
  std::string text;
  char field[32];
  for (int i = 0; i < result.items; ++i) {
    for (int j = 0; j < result.items; ++j) {
      std::snprintf(field, sizeof field, "%12.9f", result.values[i + j * result.items]);
      text += WithoutBlanks(field);
    }
    text += "\n";
  }
  return text;
}

std::string FileText(const std::string& path) {
  std::ifstream in(kSource + "/" + path, std::ios::binary);
  std::stringstream text;
  text << in.rdbuf();
  return text.str();
}

RunSettings Threads(int count) {
  RunSettings settings;
  settings.threads = count;
  return settings;
}

// --- The run's saved matrices, on one and two threads ------------------------------

struct GoldenCase {
  const char* name;
  std::function<Scores()> scores;
  std::function<CorrelationResult(const Scores&, const RunSettings&)> estimate;
  const char* expected;
};

TEST(AnalysisTest, CorrelationsEqualTheRunsSavedFiles) {
  const std::vector<GoldenCase> cases = {
      {"polychoric",
       [] { return ReadExample("examples/ordered/items.dat", 8, 4, 1); },
       [](const Scores& s, const RunSettings& r) { return Polychoric(s, r); },
       "tests/golden/corr_ordered/expected/ordered.cor"},
      {"tetrachoric",
       [] { return ReadExample("examples/dichotomous/dich.dat", 8, 0, 0); },
       [](const Scores& s, const RunSettings& r) { return Tetrachoric(s, {}, false, r); },
       "tests/golden/corr_dichotomous/expected/dichotomous.cor"},
      {"pearson",
       [] { return ReadExample("examples/continuous/cont.dat", 10, 0, 0); },
       [](const Scores& s, const RunSettings& r) { return Pearson(s, r); },
       "tests/golden/corr_continuous/expected/continuous.cor"},
  };
  for (const GoldenCase& golden : cases) {
    SCOPED_TRACE(golden.name);
    const Scores scores = golden.scores();
    const CorrelationResult one = golden.estimate(scores, Threads(1));
    const CorrelationResult two = golden.estimate(scores, Threads(2));
    ASSERT_EQ(one.stop.ending, Ending::kFinished) << one.stop.message;
    EXPECT_EQ(AsSaved(one), WithoutBlanks(FileText(golden.expected)));
    EXPECT_EQ(one.values, two.values);
    EXPECT_EQ(one.warnings, two.warnings);
  }
}

// --- Stops and refusals -------------------------------------------------------------

TEST(AnalysisTest, StopsComeBackWithTheProgramsWords) {
  Scores many;  // item 2 has 15 categories
  many.subjects = 30;
  many.items = 2;
  for (int s = 0; s < 30; ++s) many.values.push_back(s % 3 + 1);
  for (int s = 0; s < 30; ++s) many.values.push_back(s % 15 + 1);
  const CorrelationResult polychoric = Polychoric(many, Threads(1));
  EXPECT_EQ(polychoric.stop.ending, Ending::kStopped);
  EXPECT_NE(polychoric.stop.message.find("FATAL ERROR: VARIABLE   2"), std::string::npos)
      << polychoric.stop.message;
  EXPECT_TRUE(polychoric.values.empty());

  Scores constant = many;  // item 1 all keyed
  for (int s = 0; s < 30; ++s) constant.values[s] = 1.0;
  for (int s = 0; s < 30; ++s) constant.values[30 + s] = s % 2;
  const CorrelationResult tetrachoric = Tetrachoric(constant, {}, false, Threads(1));
  EXPECT_EQ(tetrachoric.stop.ending, Ending::kStopped);
  EXPECT_FALSE(tetrachoric.stop.message.empty());

  // The engine goes on after a stop.
  Scores fine = many;
  for (int s = 0; s < 30; ++s) fine.values[30 + s] = (s * 7) % 5 + 1;
  EXPECT_EQ(Polychoric(fine, Threads(1)).stop.ending, Ending::kFinished);
}

TEST(AnalysisTest, ArgumentsTheEngineCannotTakeAreRefused) {
  Scores scores;
  scores.subjects = 3;
  scores.items = 2;
  scores.values = {1, 2, 3, 2, 1, std::numeric_limits<double>::quiet_NaN()};
  scores.labels = {"a", "b"};
  try {
    Pearson(scores, Threads(1));
    FAIL() << "a NaN was taken";
  } catch (const std::invalid_argument& refusal) {
    EXPECT_NE(std::string(refusal.what()).find("subject 3 on item 'b'"), std::string::npos)
        << refusal.what();
  }
  scores.values.back() = 2;
  EXPECT_THROW(Tetrachoric(scores, {0.2}, false, Threads(1)), std::invalid_argument);
  EXPECT_THROW(Pearson(scores, Threads(1025)), std::invalid_argument);
  scores.values.pop_back();
  EXPECT_THROW(Polychoric(scores, Threads(1)), std::invalid_argument);
  scores.labels = {"a"};
  scores.values.push_back(2);
  EXPECT_THROW(Pearson(scores, Threads(1)), std::invalid_argument);
}

}  // namespace
}  // namespace vq::api
