#include "run/program.h"

int main(int argc, char** argv) { return vq::VelquorinMain(argc, argv); }
