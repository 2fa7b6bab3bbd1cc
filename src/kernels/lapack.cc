#include "kernels/lapack.h"

#include <cstdio>
#include <cstdlib>

namespace vq {

void LapackArgumentError(const char* routine, int info) {
  std::fprintf(stderr,
               "velquorin: internal error: LAPACK routine %s rejected argument %d\n",
               routine,
               -info);
  std::abort();
}

}  // namespace vq
