#include "correlation/variable_stop.h"

#include <string>

#include "frame/console.h"
#include "text/edit_descriptors.h"

namespace vq {

void StopOnVariable(int variable, std::string_view reason) {
  ConsoleLine(30, "FATAL ERROR: VARIABLE" + FormatI(variable, 4) + std::string(reason));
  ConsoleEmptyLines(3);
  PlainStop();
}

}  // namespace vq
