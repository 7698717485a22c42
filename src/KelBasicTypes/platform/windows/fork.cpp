#include "KelBasicTypes/platform/fork.h"

namespace kel::platform {

bool callAroundFork(ForkStep /*before*/, ForkStep /*inParent*/, ForkStep /*inChild*/) noexcept {
    return true;
}

}  // namespace kel::platform
