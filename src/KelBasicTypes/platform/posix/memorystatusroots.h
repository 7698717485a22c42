// The memory status from other folders than the system's own, for tests.
#pragma once

#include "KelBasicTypes/platform/memorystatus.h"

namespace kel::platform {

struct MemoryStatusRoots {
    const char* process = "/proc";
    const char* controlGroups = "/sys/fs/cgroup";
};

[[nodiscard]] bool readMemoryStatus(MemoryStatus& status, const MemoryStatusRoots& roots) noexcept;

}  // namespace kel::platform
