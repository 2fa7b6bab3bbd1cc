// The text of the aids file written beside the report: parallel analysis,
// the MAP test and the likelihood fit of the extracted solution, each in a
// block with a header line naming every column, numbers in fixed columns.
// A pure function of the results, so that the text can be tested without
// touching files; the caller writes it.
#ifndef VELQUORIN_AIDS_AIDS_REPORT_H_
#define VELQUORIN_AIDS_AIDS_REPORT_H_

#include <optional>
#include <string>

#include "aids/likelihood_fit.h"
#include "aids/parallel_analysis.h"
#include "aids/velicer_map.h"

namespace vq {

// What the run computed; a block is written for each part present, in the
// order parallel analysis, MAP, fit.
struct AidsFigures {
  std::optional<ParallelAnalysisResult> parallel;
  std::optional<MapResult> map;
  std::optional<LikelihoodFit> fit;
};

// The aids file's text: lines ending in '\n', no trailing blanks. A figure
// that is not defined (NaN) shows as "--" in its field.
std::string FormatAidsReport(const AidsFigures& figures);

}  // namespace vq

#endif  // VELQUORIN_AIDS_AIDS_REPORT_H_
