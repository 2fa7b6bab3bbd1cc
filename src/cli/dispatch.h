// The first word of the command line chooses what the program does: a
// subcommand (`velquorin init ...`) or, for every other command line, the
// run of a command file exactly as without subcommands.
#ifndef VELQUORIN_CLI_DISPATCH_H_
#define VELQUORIN_CLI_DISPATCH_H_

namespace vq {

// What `main` does: `init` goes to RunInit and `check` to RunCheck with the
// words after them; any other command line (options, a command file, or
// nothing) runs the command file, after a check of it under --strict.
// Returns the exit status.
int DispatchCommand(int argc, char** argv);

}  // namespace vq

#endif  // VELQUORIN_CLI_DISPATCH_H_
