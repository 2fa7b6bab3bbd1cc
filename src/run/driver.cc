#include "run/driver.h"

#include "frame/console.h"

namespace vq {

void RunAnalysis(const ProgramArguments& /*arguments*/) {
  ConsoleLine(30, "The analysis driver is not built yet.");
  PlainStop();
}

}  // namespace vq
