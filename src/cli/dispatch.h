// The first word of the command line chooses what the program does: a
// subcommand (`velquorin init ...`) or, for every other command line, the
// run of a command file exactly as without subcommands.
#ifndef VELQUORIN_CLI_DISPATCH_H_
#define VELQUORIN_CLI_DISPATCH_H_

namespace vq {

// What `main` does: `init` goes to RunInit with the words after it; any
// other command line (options, a command file, or nothing) goes to
// VelquorinMain unchanged. Returns the exit status.
int DispatchCommand(int argc, char** argv);

}  // namespace vq

#endif  // VELQUORIN_CLI_DISPATCH_H_
