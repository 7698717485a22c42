#include "KelBasicTypes/platform/processbarrier.h"

#include <windows.h>

namespace kel::platform {

bool hasProcessBarrier() noexcept {
    return true;
}

void processBarrier() noexcept {
    FlushProcessWriteBuffers();
}

void renewProcessBarrier() noexcept {}  // there is no fork

}  // namespace kel::platform
