#include "KelBasicTypes/platform/memorystatus.h"

#include <windows.h>

namespace kel::platform {

bool readMemoryStatus(MemoryStatus& status) noexcept {
    status = MemoryStatus{};
    MEMORYSTATUSEX system{};
    system.dwLength = sizeof system;
    if (GlobalMemoryStatusEx(&system) == 0) return false;
    status.totalPhysical = system.ullTotalPhys;
    status.availablePhysical = system.ullAvailPhys;
    status.totalPageFile = system.ullTotalPageFile;
    status.availablePageFile = system.ullAvailPageFile;
    status.totalVirtual = system.ullTotalVirtual;
    status.availableVirtual = system.ullAvailVirtual;
    return true;
}

}  // namespace kel::platform
