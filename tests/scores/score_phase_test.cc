#include "scores/score_phase.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "frame/console.h"
#include "kernels/failure.h"
#include "options/run_options.h"

namespace vq {
namespace {

const std::string kColumn30(28, ' ');

RunOptions Options(std::string_view method, std::string_view plot) {
  RunOptions options;
  options.VariableCount = 4;
  options.SubjectCount = 6;
  options.FactorCount = 2;
  options.Coding = ParseCoding("CO");
  options.InputForm = ParseInputForm("RAW ");
  options.Model = ParseModel("PFA ");
  options.Rotation = ParseRotation("VARIMAX");
  options.ScoreMethod = ParseScoreMethod(method);
  options.PlotMode = ParsePlotMode(plot);
  return options;
}

RotatedSolution Solution(Rotation method, bool oblique) {
  RotatedSolution solution;
  solution.method = method;
  solution.oblique = oblique;
  solution.loadings = Matrix(4, 2);
  solution.item_order_loadings = Matrix(4, 2);
  if (oblique) {
    solution.structure = Matrix(4, 2);
    solution.item_order_structure = Matrix(4, 2);
  }
  return solution;
}

TEST(ChooseScoreLoadings, FollowsTheLastSolutionAndTheMethod) {
  const Matrix unrotated(4, 2);
  RotationResult none;
  RotationResult varimax;
  varimax.solutions = {Solution(Rotation::kVarimax, false)};
  RotationResult promax;
  promax.solutions = {Solution(Rotation::kVarimax, false), Solution(Rotation::kPromax, true)};
  RotationResult oblimin;
  oblimin.solutions = {Solution(Rotation::kOblimin, true)};
  const RotatedSolution& v = varimax.solutions[0];
  const RotatedSolution& p = promax.solutions[1];
  const RotatedSolution& o = oblimin.solutions[0];
  const struct {
    const RotationResult* rotation;
    ScoreMethod method;
    const Matrix* expected;
    ScoreLoadingSource source;
    Rotation from;
  } cases[] = {
      {&none,
       ScoreMethod::kRegression,
       &unrotated,
       ScoreLoadingSource::kUnrotated,
       Rotation::kNone},
      {&none, ScoreMethod::kBartlett, &unrotated, ScoreLoadingSource::kUnrotated, Rotation::kNone},
      {&varimax,
       ScoreMethod::kRegression,
       &v.item_order_loadings,
       ScoreLoadingSource::kRotated,
       Rotation::kVarimax},
      {&varimax,
       ScoreMethod::kBartlett,
       &v.item_order_loadings,
       ScoreLoadingSource::kRotated,
       Rotation::kVarimax},
      {&promax,
       ScoreMethod::kRegression,
       &p.item_order_structure,
       ScoreLoadingSource::kObliqueStructure,
       Rotation::kPromax},
      {&promax,
       ScoreMethod::kBartlett,
       &p.item_order_loadings,
       ScoreLoadingSource::kObliquePattern,
       Rotation::kPromax},
      {&oblimin,
       ScoreMethod::kRegression,
       &o.item_order_structure,
       ScoreLoadingSource::kObliqueStructure,
       Rotation::kOblimin},
  };
  for (const auto& c : cases) {
    ScoreOptions options;
    options.method = c.method;
    options.variable_count = 4;
    options.factor_count = 2;
    const ScoreLoadingChoice choice = ChooseScoreLoadings(options, unrotated, *c.rotation);
    EXPECT_EQ(choice.loadings, c.expected);
    EXPECT_EQ(choice.source, c.source);
    EXPECT_EQ(choice.rotation, c.from);
  }
  // A matrix of the wrong shape stops with a message.
  ScoreOptions options;
  options.variable_count = 5;
  options.factor_count = 2;
  ConsoleCapture capture;
  EXPECT_THROW(ChooseScoreLoadings(options, unrotated, varimax), RunStopped);
  EXPECT_EQ(capture.Out(),
            kColumn30 + "FATAL ERROR: The loadings of the solution are not available\n" +
                kColumn30 +
                "in item order; factor scores cannot be computed.\n\n\n"
                "Stop - Program terminated.\nProgram Terminated with exit code 0\n");
}

TEST(PlanScorePhase, ScoresForContinuousCodingsAndNotesForWhatIsPassedOver) {
  const std::string no_scores_first = "WARNING: No factor scores are computed, so there is no";
  const std::string no_scores_second = "factor score plot.";
  const std::string given_first = "WARNING: A given factor pattern has no data for factor scores;";
  const std::string given_second = "no factor scores are computed.";
  const struct {
    const char *coding, *model, *method, *plot;
    bool estimate, plot_scores;
    std::string first, second;
  } cases[] = {
      {"CO", "PFA ", "REG", "SCORES", true, true, "", ""},
      {"IP", "PFA ", "BART", "LOADINGS", true, false, "", ""},
      {"CO", "PFA ", "BART", "ALL", true, true, "", ""},
      {"OR", "PFA ", "REG", "ALL", false, false, "", ""},
      {"CO", "PFA ", "NOSCORE", "SCORES", false, false, no_scores_first, no_scores_second},
      {"CO", "PFA ", "NONE", "ALL", false, false, no_scores_first, no_scores_second},
      {"CO", "PFA ", "NOSCORE", "LOADINGS", false, false, "", ""},
      {"CO", "CMT ", "NOSCORE", "SCORES", false, false, "", ""},
      {"CO", "ROT ", "REG", "SCORES", false, false, given_first, given_second},
  };
  for (const auto& c : cases) {
    RunOptions options = Options(c.method, c.plot);
    options.Coding = ParseCoding(c.coding);
    options.Model = ParseModel(c.model);
    ConsoleCapture capture;
    const ScorePlan plan = PlanScorePhase(options);
    EXPECT_EQ(plan.estimate, c.estimate) << c.coding << c.model << c.method << c.plot;
    EXPECT_EQ(plan.plot, c.plot_scores) << c.coding << c.model << c.method << c.plot;
    EXPECT_EQ(capture.Out(), "");
    std::vector<std::string> notes;
    NoteUnmetScoreRequests(options, ConsoleProgress(), notes);
    if (c.first.empty()) {
      EXPECT_EQ(capture.Out(), "");
      EXPECT_TRUE(notes.empty());
    } else {
      EXPECT_EQ(capture.Out(), kColumn30 + c.first + "\n" + kColumn30 + c.second + "\n\n\n");
      EXPECT_EQ(notes, std::vector<std::string>{c.first + " " + c.second});
    }
  }
}

// Two items, four subjects: x1 = 1 2 3 4, x2 = 2 1 4 3, both with mean 2.5
// and variance 5/3. One factor with loadings 0.8 and 0.6, communalities on
// the diagonal of an otherwise empty R.
struct TwoItems {
  Matrix items{4, 2}, r{2, 2}, loadings{2, 1};
  std::vector<double> ids{1, 2, 3, 4};
  std::vector<double> means{2.5, 2.5};
  std::vector<double> deviations{std::sqrt(5.0 / 3.0), std::sqrt(5.0 / 3.0)};
  ScoreResult result;
  TwoItems() {
    items.values = {1, 2, 3, 4, 2, 1, 4, 3};
    r(0, 0) = 0.64;
    r(1, 1) = 0.36;
    loadings.values = {0.8, 0.6};
  }
  void Estimate(ScoreMethod method, Model model) {
    ScoreOptions options;
    options.estimate = true;
    options.method = method;
    options.model = model;
    options.variable_count = 2;
    options.subject_count = 4;
    options.factor_count = 1;
    const ScoreData data{items, ids, means, deviations, r};
    const ScoreLoadingChoice choice = ChooseScoreLoadings(options, loadings, RotationResult());
    CheckScoreInputs(data, options);
    EstimateScores(data, choice, options, ConsoleProgress(), result);
  }
};

TEST(EstimateScores, RegressionOfASmallExample) {
  // R with a unit diagonal is the unit matrix, so the weights are the
  // loadings. The raw estimates are (-1.5, -1.3, 1.3, 1.5) / sqrt(5/3),
  // whose standard deviation is sqrt(7.88 / 5) = 1.25538...; the validity
  // is 1 / that.
  TwoItems example;
  ConsoleCapture capture;
  example.Estimate(ScoreMethod::kRegression, Model::kPrincipalFactors);
  EXPECT_EQ(capture.Out(), kColumn30 + "Computing factor scores\n\n");
  const ScoreResult& result = example.result;
  EXPECT_TRUE(result.estimated);
  EXPECT_EQ(result.source, ScoreLoadingSource::kUnrotated);
  EXPECT_EQ(result.loadings.values, example.loadings.values);
  EXPECT_EQ(result.weights.values, (std::vector<double>{0.8, 0.6}));
  const double d = std::sqrt(7.88 / 5.0);
  EXPECT_NEAR(result.score_deviations[0], d, 1e-14);
  EXPECT_NEAR(result.validity[0], 1.0 / d, 1e-14);
  const double raw[] = {-1.5, -1.3, 1.3, 1.5};
  for (int s = 0; s < 4; ++s) {
    EXPECT_NEAR(result.scores(s, 0), raw[s] / std::sqrt(5.0 / 3.0) / d, 1e-14);
  }
  EXPECT_EQ(result.subject_ids, example.ids);
  EXPECT_TRUE(result.notes.empty());
  // The run's working matrix keeps its communalities.
  EXPECT_EQ(example.r(0, 0), 0.64);
}

TEST(EstimateScores, BartlettOfASmallExample) {
  // Unique variances 0.36 and 0.64. Weights 0.8/0.36/c and 0.6/0.64/c with
  // c = 0.8^2/0.36 + 0.6^2/0.64 = 2.340277...; then loadings times weights
  // is 1, and the validity is one over the deviation of the raw estimates.
  TwoItems example;
  ConsoleCapture capture;
  example.Estimate(ScoreMethod::kBartlett, Model::kPrincipalFactors);
  const ScoreResult& result = example.result;
  const double c = 0.64 / 0.36 + 0.36 / 0.64;
  EXPECT_NEAR(result.weights(0, 0), 0.8 / 0.36 / c, 1e-14);
  EXPECT_NEAR(result.weights(1, 0), 0.6 / 0.64 / c, 1e-14);
  EXPECT_NEAR(result.validity[0], 1.0 / result.score_deviations[0], 1e-14);
  EXPECT_NEAR(result.validity[0], 0.81148, 1e-5);
}

TEST(EstimateScores, ProgressLineByModel) {
  const std::pair<Model, std::string> cases[] = {
      {Model::kComponents, kColumn30 + "Computing component scores\n\n"}, {Model::kOther, ""}};
  for (const auto& [model, line] : cases) {
    TwoItems example;
    ConsoleCapture capture;
    example.Estimate(ScoreMethod::kRegression, model);
    EXPECT_EQ(capture.Out(), line);
  }
}

TEST(EstimateScores, ACommunalityAboveOneIsNotedWithTheStandInInverse) {
  // u = 1 / (1 - 1.5) = -2 makes K = 0.64 (-2) + 0.36 / 0.64 negative.
  TwoItems example;
  example.r(0, 0) = 1.5;
  ConsoleCapture capture;
  example.Estimate(ScoreMethod::kBartlett, Model::kPrincipalFactors);
  EXPECT_NE(capture.Out().find("not positive definite"), std::string::npos);
  ASSERT_EQ(example.result.notes.size(), 1u);
  EXPECT_NE(example.result.notes[0].find("Bartlett"), std::string::npos);
  EXPECT_TRUE(example.result.estimated);
}

TEST(EstimateScores, AStopInTheStandardisationKeepsTheWeights) {
  // One subject: the moments routine stops after the weights were made.
  TwoItems example;
  ScoreOptions options;
  options.method = ScoreMethod::kRegression;
  options.variable_count = 2;
  options.subject_count = 1;
  options.factor_count = 1;
  Matrix one(1, 2);
  one.values = {1.0, 2.0};
  const ScoreData data{one, example.ids, example.means, example.deviations, example.r};
  const ScoreLoadingChoice choice =
      ChooseScoreLoadings(options, example.loadings, RotationResult());
  ConsoleCapture capture;
  EXPECT_THROW(EstimateScores(data, choice, options, SilentProgress(), example.result), RunStopped);
  EXPECT_FALSE(example.result.estimated);
  EXPECT_EQ(example.result.weights.values, (std::vector<double>{0.8, 0.6}));
  EXPECT_TRUE(example.result.validity.empty());
}

TEST(CheckScoreInputs, ArraysFirstThenVariancesThenUniqueVariances) {
  TwoItems example;
  ScoreOptions options;
  options.method = ScoreMethod::kBartlett;
  options.model = Model::kComponents;
  options.variable_count = 2;
  options.subject_count = 4;
  options.factor_count = 1;
  example.deviations[1] = 0.0;
  const ScoreData data{example.items, example.ids, example.means, example.deviations, example.r};
  for (int subjects : {5, 4}) {
    options.subject_count = subjects;
    ConsoleCapture capture;
    EXPECT_THROW(CheckScoreInputs(data, options), RunStopped);
    EXPECT_NE(capture.Out().find(subjects == 5 ? "do not match" : "Variable   2 has no variance"),
              std::string::npos);
  }
  example.deviations[1] = 1.0;
  ConsoleCapture capture;
  EXPECT_THROW(CheckScoreInputs(data, options), RunStopped);
  EXPECT_NE(capture.Out().find("principal"), std::string::npos);
}

}  // namespace
}  // namespace vq
