// The run with its whole-run outputs: --json FILE and --html FILE are
// written once the run has ended, normally or at a stop, from the record
// the driver filled.
#ifndef VELQUORIN_CLI_RUN_OUTPUTS_FRONT_H_
#define VELQUORIN_CLI_RUN_OUTPUTS_FRONT_H_

#include "run/program.h"

namespace vq {

// RunProgram, and then the JSON document and the HTML page where
// `arguments` ask for them (each written whole, or not at all, with a line
// on stderr saying why). Without either option exactly RunProgram. Returns
// the run's exit status.
int RunWithOutputs(const ProgramArguments& arguments);

}  // namespace vq

#endif  // VELQUORIN_CLI_RUN_OUTPUTS_FRONT_H_
