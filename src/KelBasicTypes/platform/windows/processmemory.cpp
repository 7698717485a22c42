#include "KelBasicTypes/platform/processmemory.h"

#include <windows.h>
// Needs the types of the one above.
#include <psapi.h>

namespace kel::platform {

std::uint64_t processMemoryInUse() noexcept {
    PROCESS_MEMORY_COUNTERS counters{};
    counters.cb = sizeof counters;
    // The name in kernel32, which everything links already.
    return K32GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof counters) != 0
               ? counters.WorkingSetSize
               : 0;
}

}  // namespace kel::platform
