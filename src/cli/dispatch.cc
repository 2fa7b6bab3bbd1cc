#include "cli/dispatch.h"

#include <cstdio>
#include <string_view>

#include "cli/check.h"
#include "cli/init.h"
#include "cli/run_outputs_front.h"
#include "run/program.h"

namespace vq {
namespace {

// --strict: the command file is looked over before the run; an error keeps
// the run from starting. The messages go to the console ahead of the run's
// own text.
int RunStrict(const ProgramArguments& arguments) {
  if (arguments.command_file.empty()) {
    std::fprintf(stderr, "velquorin: --strict needs a command file\n");
    return kStrictCheckFailed;
  }
  const CheckResult result = CheckCommandFile(arguments.command_file, CheckSettings{});
  if (!result.diagnostics.empty()) {
    std::fputs(FormatDiagnostics(result.diagnostics).c_str(), stdout);
    std::fflush(stdout);
  }
  if (result.HasErrors()) {
    std::fprintf(stderr,
                 "velquorin: --strict: %s has errors; the run does not start\n",
                 arguments.command_file.c_str());
    return kStrictCheckFailed;
  }
  return RunWithOutputs(arguments);
}

}  // namespace

int DispatchCommand(int argc, char** argv) {
  // A command file that is really named "init" or "check" is still run as
  // ./init or ./check.
  if (argc >= 2 && std::string_view(argv[1]) == "init") return RunInit(argc - 2, argv + 2);
  if (argc >= 2 && std::string_view(argv[1]) == "check") return RunCheck(argc - 2, argv + 2);
  ProgramArguments arguments;
  const int status = ParseProgramArguments(argc, argv, arguments);
  if (status >= 0) return status;
  if (arguments.strict) return RunStrict(arguments);
  return RunWithOutputs(arguments);
}

}  // namespace vq
