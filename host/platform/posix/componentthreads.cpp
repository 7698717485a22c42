#include "host/platform/componentthreads.h"

namespace kelhost::platform {

void admitThreads() noexcept {}  // this system asks nothing of them

}  // namespace kelhost::platform
