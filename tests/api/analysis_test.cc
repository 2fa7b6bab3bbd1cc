#include "api/analysis.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <functional>
#include <limits>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "api/factoring.h"
#include "kernels/bivariate_normal.h"
#include "kernels/failure.h"

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
       [](const Scores& s, const RunSettings& r) { return Polychoric(s, {}, r); },
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
  const CorrelationResult polychoric = Polychoric(many, {}, Threads(1));
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
  EXPECT_EQ(Polychoric(fine, {}, Threads(1)).stop.ending, Ending::kFinished);
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
  EXPECT_THROW(Polychoric(scores, {}, Threads(1)), std::invalid_argument);
  scores.labels = {"a"};
  scores.values.push_back(2);
  EXPECT_THROW(Pearson(scores, Threads(1)), std::invalid_argument);
}

// --- Factor analysis, smoothing, triplets: the run's saved files ----------------------

CorrelationMatrix MatrixOf(const CorrelationResult& result) {
  return {result.items, result.values, result.labels};
}

// The numbers of a saved file, whatever its layout.
std::vector<double> FileNumbers(const std::string& path) {
  std::istringstream in(FileText(path));
  std::vector<double> numbers;
  double value = 0.0;
  while (in >> value) numbers.push_back(value);
  return numbers;
}

// The rows of p by m `loadings` (column-major), four decimals, sorted.
std::vector<std::string> LoadingRows(const std::vector<double>& loadings, int p) {
  const int m = static_cast<int>(loadings.size()) / p;
  std::vector<std::string> rows;
  char field[32];
  for (int item = 0; item < p; ++item) {
    std::string text;
    for (int k = 0; k < m; ++k) {
      std::snprintf(field, sizeof field, " %.4f", loadings[item + k * p]);
      text += field;
    }
    rows.push_back(text);
  }
  std::sort(rows.begin(), rows.end());
  return rows;
}

// The rows of a `fac` file, sorted: it holds them as the report prints them
// (sorted under "SORT"), each after its number in that order.
std::vector<std::string> FacRows(const std::string& path, int m) {
  const std::vector<double> fac = FileNumbers(path);
  std::vector<std::string> rows;
  char field[32];
  for (std::size_t row = 0; row < fac.size(); row += m + 1) {
    std::string text;
    for (int k = 1; k <= m; ++k) {
      std::snprintf(field, sizeof field, " %.4f", fac[row + k]);
      text += field;
    }
    rows.push_back(text);
  }
  std::sort(rows.begin(), rows.end());
  return rows;
}

std::string Nine(const std::vector<double>& values, int rows) {
  std::string text;
  char field[32];
  for (int i = 0; i < rows; ++i) {
    for (std::size_t j = 0; j < values.size() / rows; ++j) {
      std::snprintf(field, sizeof field, "%12.9f", values[i + j * rows]);
      text += WithoutBlanks(field);
    }
    text += "\n";
  }
  return text;
}

TEST(FactoringTest, FactorAnalysesEqualTheRunsSavedFiles) {
  // Principal factors from SMC, unrotated (the eig, rsd and fac files).
  const Scores pfa_items = ReadExample("examples/principal_factors/items.dat", 10, 0, 0);
  FactorSettings pfa;
  pfa.factors = 2;
  pfa.rotation = "none";
  const FactorResult unrotated =
      FactorAnalysis(MatrixOf(Pearson(pfa_items, Threads(1))), 400, pfa, Threads(1));
  ASSERT_EQ(unrotated.stop.ending, Ending::kFinished) << unrotated.stop.message;
  EXPECT_EQ(Nine(unrotated.residuals, 10),
            WithoutBlanks(FileText("tests/golden/principal_factors_smc/expected/pfa.rsd")));
  EXPECT_EQ(LoadingRows(unrotated.loadings, 10),
            FacRows("tests/golden/principal_factors_smc/expected/pfa.fac", 2));
  EXPECT_TRUE(unrotated.has_likelihood);

  // Direct quartimin of polychorics (the fac and phi files).
  const Scores obl_items = ReadExample("examples/rot_oblimin/obl.dat", 9, 0, 0);
  FactorSettings oblimin;
  oblimin.factors = 3;
  oblimin.rotation = "oblimin";
  const FactorResult oblique =
      FactorAnalysis(MatrixOf(Polychoric(obl_items, {}, Threads(2))), 400, oblimin, Threads(2));
  ASSERT_EQ(oblique.stop.ending, Ending::kFinished) << oblique.stop.message;
  EXPECT_TRUE(oblique.oblique);
  EXPECT_EQ(Nine(oblique.phi, 3),
            WithoutBlanks(FileText("tests/golden/rot_oblimin/expected/oblimin.phi")));
  EXPECT_EQ(LoadingRows(oblique.loadings, 9),
            FacRows("tests/golden/rot_oblimin/expected/oblimin.fac", 3));
}

TEST(FactoringTest, ScoresAfterPromaxFromARandomStartEqualTheRuns) {
  const Scores items = ReadExample("examples/scores/cont.dat", 9, 0, 0);
  FactorSettings promax;
  promax.factors = 3;
  promax.rotation = "promax";
  promax.promax_power = 3;
  promax.random_start = true;
  RunSettings seeded = Threads(1);
  seeded.has_seed = true;
  seeded.seed = 1;
  const FactorScoreResult result = FactorScores(items, promax, "regression", seeded);
  ASSERT_EQ(result.stop.ending, Ending::kFinished) << result.stop.message;
  EXPECT_EQ(Nine(result.factors.phi, 3),
            WithoutBlanks(FileText("tests/golden/scores_regression/expected/reg.phi")));
  const std::vector<double> fsc = FileNumbers("tests/golden/scores_regression/expected/reg.fsc");
  ASSERT_EQ(fsc.size(), 300u * 4);
  for (int s = 0; s < 300; ++s) {
    for (int k = 0; k < 3; ++k) {
      char ours[32];
      char theirs[32];
      std::snprintf(ours, sizeof ours, "%.3f", result.scores[s + k * 300]);
      std::snprintf(theirs, sizeof theirs, "%.3f", fsc[s * 4 + 1 + k]);
      ASSERT_STREQ(ours, theirs) << "subject " << s + 1 << " factor " << k + 1;
    }
  }
}

TEST(FactoringTest, SmoothingAndTripletsEqualTheRunsSavedFiles) {
  const Scores ordered = ReadExample("examples/ordered/items.dat", 8, 4, 1);
  const CorrelationResult smoothed =
      Smooth(MatrixOf(Polychoric(ordered, {}, Threads(1))), Threads(1));
  ASSERT_EQ(smoothed.stop.ending, Ending::kFinished);
  EXPECT_EQ(AsSaved(smoothed),
            WithoutBlanks(FileText("tests/golden/corr_ordered/expected/ordered.smo")));

  const Scores dichotomous = ReadExample("examples/triplet/items.dat", 8, 0, 0);
  const TripletResult triplets = TripletTest(
      dichotomous, MatrixOf(Tetrachoric(dichotomous, {}, false, Threads(2))), Threads(2));
  ASSERT_EQ(triplets.stop.ending, Ending::kFinished) << triplets.stop.message;
  const std::vector<double> mvn = FileNumbers("tests/golden/triplet/expected/trp.mvn");
  ASSERT_EQ(mvn.size(), triplets.chi_squares.size() + 8);
  for (std::size_t t = 0; t < mvn.size(); ++t) {
    const double ours = t < 56 ? triplets.chi_squares[t] : triplets.percentages[t - 56];
    EXPECT_NEAR(ours, mvn[t], 0.0005) << t;
  }
}

TEST(FactoringTest, ParallelAnalysisIsTheRunsAidsFile) {
  const Scores demo = ReadExample("examples/demo/items.dat", 8, 4, 1);
  RunSettings seeded = Threads(1);
  seeded.has_seed = true;
  seeded.seed = 1;
  const ParallelResult one = ParallelAnalysis(demo, "polychoric", true, 20, 0.95, seeded);
  seeded.threads = 2;
  const ParallelResult two = ParallelAnalysis(demo, "polychoric", true, 20, 0.95, seeded);
  ASSERT_EQ(one.stop.ending, Ending::kFinished) << one.stop.message;
  EXPECT_EQ(one.percentile_factors, two.percentile_factors);
  // The table of the aids file: position, then observed, mean and percentile
  // of the components and of the factors, four decimals.
  std::istringstream aids(FileText("tests/golden/aids_demo/expected/demo.aids"));
  std::string line;
  for (int skip = 0; skip < 5; ++skip) std::getline(aids, line);
  for (int k = 0; k < 8; ++k) {
    std::getline(aids, line);
    const std::vector<double> lines[] = {one.observed_components,
                                         one.mean_components,
                                         one.percentile_components,
                                         one.observed_factors,
                                         one.mean_factors,
                                         one.percentile_factors};
    std::string ours = std::to_string(k + 1);
    char field[32];
    for (const std::vector<double>& values : lines) {
      std::snprintf(field, sizeof field, " %.4f", values[k]);
      ours += field;
    }
    std::istringstream fields(line);
    std::string word, theirs;
    while (fields >> word) theirs += (theirs.empty() ? "" : " ") + word;
    EXPECT_EQ(ours, theirs);
  }
  EXPECT_EQ(one.suggested_factors, 2);
}

// --- The polychoric search beyond the run ------------------------------------------

// Scores whose table is N times the cell probabilities of a bivariate normal
// with correlation `rho` cut at `cuts` (both items), rounded.
Scores TableScores(double rho, const std::vector<double>& cuts, int n) {
  std::vector<double> edges = {-999999.0};
  edges.insert(edges.end(), cuts.begin(), cuts.end());
  edges.push_back(999999.0);
  const int k = static_cast<int>(edges.size()) - 1;
  auto lower = [&](double x, double y) {
    int ifail = kIfailHard;
    return G01HAF(x, y, rho, ifail);
  };
  Scores scores;
  scores.items = 2;
  std::vector<double> first, second;
  for (int a = 0; a < k; ++a) {
    for (int b = 0; b < k; ++b) {
      const double cell = lower(edges[a + 1], edges[b + 1]) - lower(edges[a], edges[b + 1]) -
                          lower(edges[a + 1], edges[b]) + lower(edges[a], edges[b]);
      const long count = std::lround(cell * n);
      first.insert(first.end(), count, a + 1);
      second.insert(second.end(), count, b + 1);
    }
  }
  scores.subjects = static_cast<int>(first.size());
  scores.values = first;
  scores.values.insert(scores.values.end(), second.begin(), second.end());
  return scores;
}

TEST(PolychoricSearchTest, KnownTableGivesItsCorrelationAndStandardError) {
  // Cut at 0 with rho 0.5: cells of 1/3 and 1/6 exactly. With the counts at
  // their expectations the curvature is the Fisher information,
  // N (1/(2 pi sqrt(1 - rho^2)))^2 (2/(1/3) + 2/(1/6)) = 72000 / pi^2.
  const Scores scores = TableScores(0.5, {0.0}, 12000);
  ASSERT_EQ(scores.subjects, 12000);
  const double pi = 3.14159265358979323846;
  const double expected_error = 1.0 / std::sqrt(72000.0 / (pi * pi));
  const CorrelationResult polychoric = Polychoric(scores, {}, Threads(1));
  EXPECT_NEAR(polychoric.values[1], 0.5, 1e-5);
  EXPECT_NEAR(polychoric.standard_errors[1], expected_error, 1e-6);
  ASSERT_EQ(polychoric.thresholds.size(), 2u);
  EXPECT_EQ(polychoric.thresholds[0], std::vector<double>{0.0});
  const CorrelationResult tetrachoric = Tetrachoric(scores, {}, false, Threads(1));
  EXPECT_NEAR(tetrachoric.values[1], 0.5, 1e-5);
}

TEST(PolychoricSearchTest, WiderBoundAndNoLikelihoodFloorAreOptions) {
  // Ten categories and N = 250,000: every log likelihood is below the run's
  // start of -999999, so the run leaves the pair at 0.
  const std::vector<double> cuts = {-1.6, -1.1, -0.7, -0.3, 0.0, 0.3, 0.7, 1.1, 1.6};
  const Scores large = TableScores(0.6, cuts, 250000);
  EXPECT_EQ(Polychoric(large, {}, Threads(1)).values[1], 0.0);
  PolychoricSettings unfloored;
  unfloored.floor_likelihood = false;
  EXPECT_NEAR(Polychoric(large, unfloored, Threads(1)).values[1], 0.6, 1e-3);

  // A strong association: on the run's bound, through under 0.999.
  const Scores strong = TableScores(0.97, {-0.5, 0.5}, 5000);
  const CorrelationResult bounded = Polychoric(strong, {}, Threads(1));
  EXPECT_EQ(bounded.values[1], 0.9);
  ASSERT_EQ(bounded.warnings.size(), 1u);
  EXPECT_NE(bounded.warnings[0].find("(-0.9 or 0.9)"), std::string::npos) << bounded.warnings[0];
  PolychoricSettings wide;
  wide.bound = 0.999;
  EXPECT_NEAR(Polychoric(strong, wide, Threads(1)).values[1], 0.97, 0.01);
  wide.bound = 1.0;
  EXPECT_THROW(Polychoric(strong, wide, Threads(1)), std::invalid_argument);
}

TEST(FactoringTest, ArgumentsTheEngineCannotTakeAreRefused) {
  CorrelationMatrix r{3, {1, 0.5, 0.4, 0.5, 1, 0.3, 0.4, 0.3, 1}, {}};
  FactorSettings settings;
  settings.rotation = "quartimax";
  EXPECT_THROW(FactorAnalysis(r, 0, settings, Threads(1)), std::invalid_argument);
  settings = FactorSettings();
  settings.factors = 4;
  EXPECT_THROW(FactorAnalysis(r, 0, settings, Threads(1)), std::invalid_argument);
  settings.factors = 1;
  settings.method = "ml";
  EXPECT_THROW(FactorAnalysis(r, 0, settings, Threads(1)), std::invalid_argument);
  // Three items: the run's fit stops (too few residuals for its summary).
  settings.method = "pfa";
  EXPECT_EQ(FactorAnalysis(r, 0, settings, Threads(1)).stop.ending, Ending::kStopped);
}

}  // namespace
}  // namespace vq::api
