#include "run/phase_options.h"

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

// --- Rotation and scores -----------------------------------------------------

}  // namespace vq
