// Helpers shared by the tests of the run folder: expected console text of the
// ways a parse ends, and a parse of a command file held in a string.
#ifndef VELQUORIN_TESTS_RUN_RUN_TEST_SUPPORT_H_
#define VELQUORIN_TESTS_RUN_RUN_TEST_SUPPORT_H_

#include <string>
#include <string_view>

#include "data/record_reader.h"
#include "frame/console.h"
#include "options/run_options.h"
#include "run/command_file.h"

namespace vq::testing {

struct ParseOutcome {
  bool stopped = false;
  RunStopped::Kind kind = RunStopped::Kind::kPlainStop;
  int exit_code = 0;
  std::string stop_text;
  std::string out;  // console
  std::string err;  // error channel
  RunOptions options;
};

// Parses `text` as a command file (stream 12, name "test.in") up to
// ">FORMAT:", and with `labels` also the ">LABELS:" line after it.
inline ParseOutcome ParseText(const std::string& text, bool labels = false) {
  ParseOutcome outcome;
  RecordSource source;
  source.OpenText(12, "test.in", text);
  ParsedInputs inputs;
  ConsoleCapture capture;
  try {
    ParseCommandFile(source, outcome.options, inputs);
    if (labels) ParseLabelsLine(source, outcome.options);
  } catch (const RunStopped& stop) {
    outcome.stopped = true;
    outcome.kind = stop.kind;
    outcome.exit_code = stop.exit_code;
    outcome.stop_text = stop.text;
  }
  outcome.out = capture.Out();
  outcome.err = capture.Err();
  return outcome;
}

}  // namespace vq::testing

#endif  // VELQUORIN_TESTS_RUN_RUN_TEST_SUPPORT_H_
