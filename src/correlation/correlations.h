// The choices of the correlation phase, made once from the command file:
// which estimator turns the scores into correlations, with its settings,
// and whether the matrix is smoothed. The estimators themselves are in
// tetrachoric.h, polychoric.h and (Pearson's) kernels/pearson.h; the
// smoothing in smoothing.h; the writers in writers/correlation_writer.h.
#ifndef VELQUORIN_CORRELATION_CORRELATIONS_H_
#define VELQUORIN_CORRELATION_CORRELATIONS_H_

#include "correlation/polychoric.h"
#include "correlation/tetrachoric.h"
#include "options/run_options.h"

namespace vq {

//   coding:          the ">METRIC:" coding ("CO", "IP", "DI", "DC", "CD",
//                    "OR"): the estimator of a matrix from raw data, or the
//                    kind of matrix given.
//   from_raw_data:   the data file holds item scores (else a matrix).
//   smooth:          the matrix is smoothed (SmoothingRuns).
//   tetrachoric:     settings of "DI", "DC" and "CD".
//   polychoric:      the search of "OR".
struct CorrelationOptions {
  Coding coding = Coding::kContinuous;
  bool from_raw_data = true;
  bool smooth = false;
  TetrachoricOptions tetrachoric;
  PolychoricSearch polychoric;
};

}  // namespace vq

#endif  // VELQUORIN_CORRELATION_CORRELATIONS_H_
