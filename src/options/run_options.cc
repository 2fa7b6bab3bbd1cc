#include "options/run_options.h"

#include <initializer_list>
#include <string_view>
#include <utility>

namespace vq {
namespace {

std::string_view WithoutTrailingBlanks(std::string_view word) {
  const std::size_t end = word.find_last_not_of(' ');
  return end == std::string_view::npos ? std::string_view() : word.substr(0, end + 1);
}

// The value of `word` in `table`, or `other`.
template <typename Enum>
Enum Lookup(std::string_view word,
            std::initializer_list<std::pair<std::string_view, Enum>> table,
            Enum other) {
  const std::string_view bare = WithoutTrailingBlanks(word);
  for (const auto& [text, value] : table) {
    if (bare == text) return value;
  }
  return other;
}

}  // namespace

Verbosity ParseVerbosity(std::string_view word) {
  return Lookup(
      word, {{"SHORT", Verbosity::kShort}, {"LONG", Verbosity::kLong}}, Verbosity::kOther);
}

Coding ParseCoding(std::string_view word) {
  return Lookup(word,
                {{"CO", Coding::kContinuous},
                 {"IP", Coding::kIpsatized},
                 {"DI", Coding::kDichotomous},
                 {"DC", Coding::kGuessing},
                 {"CD", Coding::kMedianSplit},
                 {"OR", Coding::kOrdered}},
                Coding::kOther);
}

InputForm ParseInputForm(std::string_view word) {
  return Lookup(word,
                {{"RAW", InputForm::kRaw},
                 {"COR", InputForm::kCorrelations},
                 {"FLD1", InputForm::kPattern},
                 {"FLD2", InputForm::kCorrelatedPattern}},
                InputForm::kOther);
}

Smoothing ParseSmoothing(std::string_view word) {
  return Lookup(
      word, {{"SM", Smoothing::kSmooth}, {"PS", Smoothing::kShowOnly}}, Smoothing::kOther);
}

Model ParseModel(std::string_view word) {
  return Lookup(word,
                {{"PCA", Model::kComponents},
                 {"PFA", Model::kPrincipalFactors},
                 {"ROT", Model::kRotate},
                 {"TRP", Model::kTriplet},
                 {"CMT", Model::kCorrelations}},
                Model::kOther);
}

LabelMode ParseLabelMode(std::string_view word) {
  return Lookup(word,
                {{"LABELS", LabelMode::kLabels}, {"NOLABELS", LabelMode::kNoLabels}},
                LabelMode::kOther);
}

SortMode ParseSortMode(std::string_view word) {
  return Lookup(word, {{"SORT", SortMode::kSort}, {"NOSORT", SortMode::kNoSort}}, SortMode::kOther);
}

Rotation ParseRotation(std::string_view word) {
  return Lookup(word,
                {{"VARIMAX", Rotation::kVarimax},
                 {"WVARIMAX", Rotation::kWeightedVarimax},
                 {"NONE", Rotation::kNone},
                 {"OBLIMIN", Rotation::kOblimin},
                 {"PROMAX", Rotation::kPromax},
                 {"HK", Rotation::kHarrisKaiser}},
                Rotation::kOther);
}

ScoreMethod ParseScoreMethod(std::string_view word) {
  return Lookup(word,
                {{"REG", ScoreMethod::kRegression},
                 {"BART", ScoreMethod::kBartlett},
                 {"NOSCORE", ScoreMethod::kNoScore},
                 {"NONE", ScoreMethod::kNone}},
                ScoreMethod::kOther);
}

PlotMode ParsePlotMode(std::string_view word) {
  return Lookup(
      word,
      {{"ALL", PlotMode::kAll}, {"LOADINGS", PlotMode::kLoadings}, {"SCORES", PlotMode::kScores}},
      PlotMode::kOther);
}

RandomStart ParseRandomStart(std::string_view word) {
  return Lookup(
      word, {{"T", RandomStart::kRandom}, {"F", RandomStart::kUnrotated}}, RandomStart::kOther);
}

InitialCommunality ParseInitialCommunality(std::string_view word) {
  return Lookup(word,
                {{"ONE", InitialCommunality::kOne},
                 {"SMC", InitialCommunality::kSmc},
                 {"HIR", InitialCommunality::kHir}},
                InitialCommunality::kOther);
}

SaveCode ParseSaveCode(std::string_view word) {
  return Lookup(word,
                {{"COR", SaveCode::kCor},
                 {"SMO", SaveCode::kSmo},
                 {"EIG", SaveCode::kEig},
                 {"RSD", SaveCode::kRsd},
                 {"FAC", SaveCode::kFac},
                 {"MVN", SaveCode::kMvn}},
                SaveCode::kOther);
}

bool IsPearsonCoding(Coding coding) {
  return coding == Coding::kContinuous || coding == Coding::kIpsatized;
}

bool IsGivenPattern(InputForm form) {
  return form == InputForm::kPattern || form == InputForm::kCorrelatedPattern;
}

bool Saves(const RunOptions& options, SaveCode code) {
  if (!options.SaveResults || code == SaveCode::kOther) return false;
  for (SaveCode entry : options.SaveCodes) {
    if (entry == code) return true;
  }
  return false;
}

bool SmoothingRuns(const RunOptions& options) {
  if (options.Smoothing != Smoothing::kSmooth) return false;
  switch (options.InputForm) {
    case InputForm::kRaw:
      return options.Coding == Coding::kDichotomous || options.Coding == Coding::kGuessing ||
             options.Coding == Coding::kOrdered || options.Coding == Coding::kMedianSplit;
    case InputForm::kCorrelations:
      return options.Coding == Coding::kDichotomous || options.Coding == Coding::kOrdered ||
             options.Coding == Coding::kContinuous;
    default:
      return false;
  }
}

bool SavesSmoothedMatrix(const RunOptions& options) {
  return SmoothingRuns(options) &&
         !(options.InputForm == InputForm::kCorrelations && options.Coding == Coding::kContinuous);
}

bool EndsAfterExtraction(const RunOptions& options) {
  return options.Rotation == Rotation::kNone && options.ScoreMethod == ScoreMethod::kNone;
}

bool IsOrthogonalRotation(Rotation rotation) {
  return rotation == Rotation::kVarimax || rotation == Rotation::kWeightedVarimax;
}

bool IsObliqueRotation(Rotation rotation) {
  return rotation == Rotation::kPromax || rotation == Rotation::kOblimin ||
         rotation == Rotation::kHarrisKaiser;
}

bool EstimatesScores(ScoreMethod method) {
  return method == ScoreMethod::kRegression || method == ScoreMethod::kBartlett;
}

bool PlotsScores(PlotMode mode) { return mode == PlotMode::kScores || mode == PlotMode::kAll; }

bool PlotsLoadings(PlotMode mode) { return mode == PlotMode::kLoadings || mode == PlotMode::kAll; }

}  // namespace vq
