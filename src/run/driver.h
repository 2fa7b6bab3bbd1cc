// The analysis driver: one run from the command file to the last line of the
// report. It owns the run's arrays, decides from RunOptions which phases run,
// calls them in their fixed order and handles every stop.
#ifndef VELQUORIN_RUN_DRIVER_H_
#define VELQUORIN_RUN_DRIVER_H_

#include "run/program.h"

namespace vq {

// Runs one analysis. Returns at the normal end; every other end throws
// RunStopped (frame/console.h).
void RunAnalysis(const ProgramArguments& arguments);

}  // namespace vq

#endif  // VELQUORIN_RUN_DRIVER_H_
