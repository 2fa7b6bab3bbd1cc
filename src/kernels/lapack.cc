#include "kernels/lapack.h"

#include <string>

#include "frame/console.h"

namespace vq {

void LapackArgumentError(const char* routine, int info) {
  InternalError(std::string("LAPACK routine ") + routine,
                "rejected argument " + std::to_string(-info));
}

}  // namespace vq
