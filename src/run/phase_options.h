// The typed options of each phase, made once from the parsed command file.
//
// The phases never see RunOptions: the driver hands each one the small
// struct of the choices it makes, built here, so that a phase can be called
// on its own (by a test, or by the R and Python bindings) with options a
// caller fills in by hand.
#ifndef VELQUORIN_RUN_PHASE_OPTIONS_H_
#define VELQUORIN_RUN_PHASE_OPTIONS_H_

#include "correlation/correlations.h"
#include "extraction/extraction.h"
#include "options/run_options.h"
#include "rotation/rotation.h"
#include "scores/score_phase.h"
#include "writers/correlation_writer.h"
#include "writers/extraction_writer.h"
#include "writers/rotation_writer.h"
#include "writers/score_writer.h"

namespace vq {

// --- Correlations ------------------------------------------------------------

// The estimator, its settings and the smoothing; the searches keep the
// run's bounds and start.
CorrelationOptions MakeCorrelationOptions(const RunOptions& options);

// What the correlation writers put out: the saved `cor`, `smo` and `mvn`
// files, and the printed matrix under "LONG".
CorrelationWriteOptions MakeCorrelationWriteOptions(const RunOptions& options);

// --- Extraction --------------------------------------------------------------

// The method, the start of the diagonal, m and the limits of the communality
// iteration. "PCA" and "PFA" name their methods; any other model word that
// reaches extraction is kUnnamed.
ExtractionOptions MakeExtractionOptions(const RunOptions& options);

// The page, "LONG", the row labels of the unrotated table and the saved
// files of the phase. Made after the labels are read (they come with the
// correlation road's "LABELS" line).
ExtractionWriteOptions MakeExtractionWriteOptions(const RunOptions& options);

// --- Rotation and scores -----------------------------------------------------

// The rotation's choices. The item labels are those of the run once the
// ">LABELS:" line was read, so the driver makes these after it.
RotationOptions MakeRotationOptions(const RunOptions& options);
RotationWriteOptions MakeRotationWriteOptions(const RunOptions& options);

// The score phase's choices; `estimate` and `plot` as PlanScorePhase decides.
ScoreOptions MakeScoreOptions(const RunOptions& options);
ScoreWriteOptions MakeScoreWriteOptions(const RunOptions& options);

}  // namespace vq

#endif  // VELQUORIN_RUN_PHASE_OPTIONS_H_
