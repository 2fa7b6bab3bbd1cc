#include "cli/dispatch.h"

#include <string_view>

#include "cli/init.h"
#include "run/program.h"

namespace vq {

int DispatchCommand(int argc, char** argv) {
  // A command file that is really named "init" is still run as ./init.
  if (argc >= 2 && std::string_view(argv[1]) == "init") return RunInit(argc - 2, argv + 2);
  return VelquorinMain(argc, argv);
}

}  // namespace vq
