// The two failure protocols of the numerical operations.
//
// IFAIL protocol (G01FAF, G01HAF, G02BAF, X04CBF, F02ABF, F02FAF, F04AEF, ...):
// the caller passes 0 (hard), -1 (soft, with message) or 1 (quiet). On a
// failure the operation calls `NagFailure`, which prints the frame on the
// console and, for a hard failure, stops the run with the plain stop; it
// returns the failure number otherwise, which the operation hands back.
//
// ERSET protocol (DNORIN, DEVESF, DLINDS, DOWFRQ, DVHSTP, DFDOBL, DFHARR, ...):
// one global setting of print and stop by severity. An operation reports an
// error through `ImslError`; whether it prints and whether the run stops is
// decided by the setting. `IERCD` gives the code of the last error.
#ifndef VELQUORIN_KERNELS_FAILURE_H_
#define VELQUORIN_KERNELS_FAILURE_H_

#include <string>
#include <string_view>
#include <vector>

namespace vq {

// Values of IFAIL on entry.
constexpr int kIfailHard = 0;
constexpr int kIfailSoft = -1;
constexpr int kIfailQuiet = 1;

// Reports failure `code` of `routine` under the caller's `ifail`:
//   hard (0):  `explanation`, the abnormal exit line, the hard failure line,
//              then the plain stop (does not return);
//   soft (-1): `explanation`, the abnormal exit line, the soft failure line;
//   quiet (1): nothing.
// Returns `code`. Explanation lines are console records as the operations
// word them (" ** On entry, ..."): their first character is the control
// position. With `explanation_after` the explanation stands between the
// abnormal exit line and the failure line (the frame of X04CBF and F04AEF).
int NagFailure(std::string_view routine,
               int ifail,
               int code,
               const std::vector<std::string>& explanation = {},
               bool explanation_after = false);

// The abnormal exit line: " ** ABNORMAL EXIT from NAG Library routine G01FAF: IFAIL =     2".
std::string NagAbnormalExitLine(std::string_view routine, int code);

// Severities of the ERSET protocol.
enum ImslSeverity {
  kImslNote = 1,
  kImslAlert = 2,
  kImslWarning = 3,
  kImslFatal = 4,
  kImslTerminal = 5,
};

// Sets print and stop for `level` (1 to 5, or 0 for all levels).
// `print`, `stop`: 0 off, 1 on, -1 leave unchanged, 2 back to the default.
// Defaults: warnings, fatal and terminal errors print; fatal and terminal
// errors stop the run.
void ERSET(int level, int print, int stop);

// Reports error `code` of `routine` with severity `severity` and the message
// text (already filled in). Prints
//   "*** TERMINAL ERROR 1 from DNORIN.  <text>"   (or FATAL, WARNING, ...)
// on the console when printing is on for that severity, wrapped over lines
// of at most 78 characters with continuation lines starting "***          ";
// stops the run with the plain stop when stopping is on. Records the code
// for `IERCD`.
void ImslError(int severity, int code, std::string_view routine, std::string_view text);

// The code of the last error reported through `ImslError` by the last
// operation that called `ImslClearCode`, or 0.
int IERCD();

// Operations of the ERSET group clear the code on entry.
void ImslClearCode();

// Puts the ERSET setting and the last code back to their start values.
// For tests: a run starts with them.
void ResetImslState();

// How ERSET messages show a double (%(D1)): 1.234567E-17 style, 7 significant
// digits, trailing zeros kept.
std::string ImslReal(double value);

}  // namespace vq

#endif  // VELQUORIN_KERNELS_FAILURE_H_
