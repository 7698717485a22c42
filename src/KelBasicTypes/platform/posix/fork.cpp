#include "KelBasicTypes/platform/fork.h"

#include <pthread.h>

namespace kel::platform {

bool callAroundFork(ForkStep before, ForkStep inParent, ForkStep inChild) noexcept {
    return pthread_atfork(before, inParent, inChild) == 0;
}

}  // namespace kel::platform
