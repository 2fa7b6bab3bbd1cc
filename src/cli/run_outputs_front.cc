#include "cli/run_outputs_front.h"

#include <cstdio>
#include <string>

#include "html/run_html.h"
#include "json/run_json.h"
#include "run/run_record.h"

namespace vq {

int RunWithOutputs(const ProgramArguments& arguments) {
  if (arguments.json_file.empty() && arguments.html_file.empty()) return RunProgram(arguments);
  RunRecord record;
  const int status = RunProgram(arguments, &record);
  if (!arguments.json_file.empty()) {
    const std::string text = RunRecordToJson(record, ProgramVersion()).dump(1) + "\n";
    const std::string error = WriteFileWhole(arguments.json_file, text);
    if (!error.empty()) std::fprintf(stderr, "velquorin: --json: %s\n", error.c_str());
  }
  if (!arguments.html_file.empty()) {
    const std::string page = RenderRunHtml(record);
    const std::string error = WriteFileWhole(arguments.html_file, page);
    if (!error.empty()) std::fprintf(stderr, "velquorin: --html: %s\n", error.c_str());
  }
  return status;
}

}  // namespace vq
