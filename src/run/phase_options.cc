#include "run/phase_options.h"

namespace vq {

// --- Correlations ------------------------------------------------------------

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

}  // namespace vq
