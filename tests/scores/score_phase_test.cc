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

}  // namespace
}  // namespace vq
