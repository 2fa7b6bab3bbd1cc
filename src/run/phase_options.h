// The typed options of each phase, made once from the parsed command file.
//
// The phases never see RunOptions: the driver hands each one the small
// struct of the choices it makes, built here, so that a phase can be called
// on its own (by a test, or by the R and Python bindings) with options a
// caller fills in by hand.
#ifndef VELQUORIN_RUN_PHASE_OPTIONS_H_
#define VELQUORIN_RUN_PHASE_OPTIONS_H_

#include "correlation/correlations.h"
#include "options/run_options.h"
#include "writers/correlation_writer.h"

namespace vq {

// --- Correlations ------------------------------------------------------------

// The estimator, its settings and the smoothing; the searches keep the
// run's bounds and start.
CorrelationOptions MakeCorrelationOptions(const RunOptions& options);

// What the correlation writers put out: the saved `cor`, `smo` and `mvn`
// files, and the printed matrix under "LONG".
CorrelationWriteOptions MakeCorrelationWriteOptions(const RunOptions& options);

// --- Extraction --------------------------------------------------------------

// --- Rotation and scores -----------------------------------------------------

}  // namespace vq

#endif  // VELQUORIN_RUN_PHASE_OPTIONS_H_
