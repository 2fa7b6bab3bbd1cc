// Compiled against one layer's library with PROBE_HEADER naming a header of
// another layer (see tests/CMakeLists.txt): the build fails exactly when that
// header lies above the library, out of its sight.
#include PROBE_HEADER

int LayerProbe() { return 0; }
