#include "run/phase_options.h"

#include "rotation/solution.h"
#include "run/driver.h"

namespace vq {

// --- Correlations ------------------------------------------------------------

CorrelationOptions MakeCorrelationOptions(const RunOptions& options) {
  CorrelationOptions correlation;
  correlation.coding = options.Coding;
  correlation.from_raw_data = options.InputForm == InputForm::kRaw;
  correlation.smooth = SmoothingRuns(options);
  correlation.tetrachoric.correct_for_guessing = options.Coding == Coding::kGuessing;
  correlation.tetrachoric.median_split = options.Coding == Coding::kMedianSplit;
  return correlation;
}

CorrelationWriteOptions MakeCorrelationWriteOptions(const RunOptions& options) {
  CorrelationWriteOptions write;
  write.save_matrix = Saves(options, SaveCode::kCor);
  write.ipsatized_layout = options.Coding == Coding::kIpsatized;
  write.save_smoothed = SavesSmoothedMatrix(options) && Saves(options, SaveCode::kSmo);
  write.print_matrix = options.Print_Verbosity == Verbosity::kLong;
  write.labels = options.LabelMode == LabelMode::kLabels;
  write.table_width = CorrelationTableWidth(options.PageWidth);
  write.save_triplets = Saves(options, SaveCode::kMvn);
  return write;
}

// --- Extraction --------------------------------------------------------------

ExtractionOptions MakeExtractionOptions(const RunOptions& options) {
  ExtractionOptions extraction;
  switch (options.Model) {
    case Model::kComponents:
      extraction.Method = ExtractionMethod::kPrincipalComponents;
      break;
    case Model::kPrincipalFactors:
      extraction.Method = ExtractionMethod::kPrincipalFactors;
      break;
    default:
      extraction.Method = ExtractionMethod::kUnnamed;
      break;
  }
  extraction.InitialCommunality = options.InitialCommunality;
  extraction.FactorCount = options.FactorCount;
  extraction.CommunalityEpsilon = options.CommunalityEpsilon;
  extraction.CommunalityIterations = options.CommunalityIterations;
  return extraction;
}

ExtractionWriteOptions MakeExtractionWriteOptions(const RunOptions& options) {
  ExtractionWriteOptions write;
  write.PageWidth = options.PageWidth;
  write.LongListing = options.Print_Verbosity == Verbosity::kLong;
  write.LabelMode = options.LabelMode;
  if (options.LabelMode == LabelMode::kLabels) write.Labels = options.Labels;
  write.SaveEigenvalues = Saves(options, SaveCode::kEig);
  write.SaveResiduals = Saves(options, SaveCode::kRsd);
  write.SaveUnrotatedLoadings = options.RotationAsked == Rotation::kNone &&
                                options.Model == Model::kPrincipalFactors &&
                                Saves(options, SaveCode::kFac);
  return write;
}

// --- Rotation and scores -----------------------------------------------------

RotationOptions MakeRotationOptions(const RunOptions& options) {
  RotationOptions rotation;
  rotation.rotation = options.Rotation;
  rotation.model = options.Model;
  rotation.random_start = options.RandomStart;
  rotation.epsilon = options.RotationEpsilon;
  rotation.max_iterations = options.RotationIterations;
  rotation.promax_power = options.PromaxPower;
  rotation.oblimin_delta = options.ObliminDelta;
  rotation.harris_kaiser_parameter = options.HarrisKaiserParameter;
  rotation.hyperplane_width = options.HyperplaneWidth;
  rotation.sort_rows = options.SortMode == SortMode::kSort;
  rotation.item_labels = ItemLabelsFor(options, options.VariableCount);
  return rotation;
}

RotationWriteOptions MakeRotationWriteOptions(const RunOptions& options) {
  RotationWriteOptions write;
  write.sort_mode = options.SortMode;
  write.label_mode = options.LabelMode;
  write.page_width = options.PageWidth;
  write.plot_loadings = PlotsLoadings(options.PlotMode);
  write.save_fac = Saves(options, SaveCode::kFac);
  write.list_sorted_items = options.HasItemFile && options.SortMode == SortMode::kSort;
  write.item_texts = options.ItemTexts;
  return write;
}

ScoreOptions MakeScoreOptions(const RunOptions& options) {
  ScoreOptions scores;
  scores.estimate = PlanScorePhase(options).estimate;
  scores.method = options.ScoreMethod;
  scores.model = options.Model;
  scores.variable_count = options.VariableCount;
  scores.subject_count = options.SubjectCount;
  scores.factor_count = options.FactorCount;
  return scores;
}

ScoreWriteOptions MakeScoreWriteOptions(const RunOptions& options) {
  ScoreWriteOptions write;
  write.page_width = options.PageWidth;
  write.plot = PlanScorePhase(options).plot;
  return write;
}

}  // namespace vq
