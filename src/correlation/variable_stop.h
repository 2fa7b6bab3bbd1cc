// The one way the correlation estimators end a run on a faulty variable:
// "FATAL ERROR: VARIABLE" with the variable's number in a field of 4 and the
// reason, from column 30 of the console, three empty lines, the plain stop.
#ifndef VELQUORIN_CORRELATION_VARIABLE_STOP_H_
#define VELQUORIN_CORRELATION_VARIABLE_STOP_H_

#include <string_view>

namespace vq {

// Shows "FATAL ERROR: VARIABLE" I4 `reason` (reason starts with its blank,
// e.g. " HAS NO VARIANCE") and ends the run by the plain stop.
[[noreturn]] void StopOnVariable(int variable, std::string_view reason);

}  // namespace vq

#endif  // VELQUORIN_CORRELATION_VARIABLE_STOP_H_
