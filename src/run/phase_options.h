// The typed options of each phase, made once from the parsed command file.
//
// The phases never see RunOptions: the driver hands each one the small
// struct of the choices it makes, built here, so that a phase can be called
// on its own (by a test, or by the R and Python bindings) with options a
// caller fills in by hand.
#ifndef VELQUORIN_RUN_PHASE_OPTIONS_H_
#define VELQUORIN_RUN_PHASE_OPTIONS_H_

#include "options/run_options.h"

namespace vq {

// --- Correlations ------------------------------------------------------------

// --- Extraction --------------------------------------------------------------

// --- Rotation and scores -----------------------------------------------------

}  // namespace vq

#endif  // VELQUORIN_RUN_PHASE_OPTIONS_H_
