// The typed options of the extraction phase, made from the parsed command
// file: which method each model word names, and which of the phase's
// sections and files the words ask for.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "run/phase_options.h"

namespace vq {
namespace {

RunOptions Parsed(const char* model, const char* rotation) {
  RunOptions options;
  options.VariableCount = 6;
  options.FactorCount = 2;
  options.Model = ParseModel(model);
  options.Rotation = options.RotationAsked = ParseRotation(rotation);
  options.InitialCommunality = ParseInitialCommunality("HIR");
  options.CommunalityEpsilon = 0.001;
  options.CommunalityIterations = 17;
  return options;
}

TEST(MakeExtractionOptions, MethodAndLimitsFromTheCommandFile) {
  const struct {
    const char* model;
    ExtractionMethod method;
  } cases[] = {{"PCA", ExtractionMethod::kPrincipalComponents},
               {"PFA", ExtractionMethod::kPrincipalFactors},
               {"FA", ExtractionMethod::kUnnamed}};
  for (const auto& c : cases) {
    const ExtractionOptions options = MakeExtractionOptions(Parsed(c.model, "VARIMAX"));
    EXPECT_EQ(options.Method, c.method) << c.model;
    EXPECT_EQ(options.FactorCount, 2);
    EXPECT_EQ(options.InitialCommunality, InitialCommunality::kHir);
    EXPECT_EQ(options.CommunalityEpsilon, 0.001);
    EXPECT_EQ(options.CommunalityIterations, 17);
  }
}

TEST(MakeExtractionWriteOptions, TheFacFileOnlyForUnrotatedPrincipalFactors) {
  const struct {
    const char* model;
    const char* rotation;
    std::vector<SaveCode> codes;
    bool saves_fac;
  } cases[] = {{"PFA", "NONE", {SaveCode::kFac}, true},
               {"PFA", "NONE", {SaveCode::kEig}, false},
               {"PCA", "NONE", {SaveCode::kFac}, false},
               {"FA", "NONE", {SaveCode::kFac}, false},
               {"PFA", "VARIMAX", {SaveCode::kFac}, false}};
  for (const auto& c : cases) {
    RunOptions parsed = Parsed(c.model, c.rotation);
    parsed.SaveResults = true;
    parsed.SaveCodes = c.codes;
    EXPECT_EQ(MakeExtractionWriteOptions(parsed).SaveUnrotatedLoadings, c.saves_fac)
        << c.model << " " << c.rotation;
  }
  // Nothing is saved without "T".
  RunOptions parsed = Parsed("PFA", "NONE");
  parsed.SaveCodes = {SaveCode::kFac, SaveCode::kEig, SaveCode::kRsd};
  parsed.SaveResults = false;
  const ExtractionWriteOptions none = MakeExtractionWriteOptions(parsed);
  EXPECT_FALSE(none.SaveUnrotatedLoadings || none.SaveEigenvalues || none.SaveResiduals);
  parsed.SaveResults = true;
  const ExtractionWriteOptions all = MakeExtractionWriteOptions(parsed);
  EXPECT_TRUE(all.SaveUnrotatedLoadings && all.SaveEigenvalues && all.SaveResiduals);
}

TEST(MakeExtractionWriteOptions, PageListingAndLabels) {
  RunOptions parsed = Parsed("PFA", "VARIMAX");
  parsed.PageWidth = 72;
  parsed.Print_Verbosity = ParseVerbosity("LONG");
  parsed.LabelMode = ParseLabelMode("LABELS");
  parsed.Labels = {"Calm", "Mood"};
  ExtractionWriteOptions options = MakeExtractionWriteOptions(parsed);
  EXPECT_EQ(options.PageWidth, 72);
  EXPECT_TRUE(options.LongListing);
  EXPECT_EQ(options.LabelMode, LabelMode::kLabels);
  EXPECT_EQ(options.Labels, parsed.Labels);
  parsed.Print_Verbosity = ParseVerbosity("SHORT");
  parsed.LabelMode = ParseLabelMode("NOLABELS");
  options = MakeExtractionWriteOptions(parsed);
  EXPECT_FALSE(options.LongListing);
  EXPECT_EQ(options.LabelMode, LabelMode::kNoLabels);
  EXPECT_TRUE(options.Labels.empty());
}

}  // namespace
}  // namespace vq
