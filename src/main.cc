#include "cli/dispatch.h"

int main(int argc, char** argv) { return vq::DispatchCommand(argc, argv); }
