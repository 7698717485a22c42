// How much memory the machine has. Takes no memory itself.
#pragma once

#include <cstdint>

namespace kel::platform {

// All in bytes.
struct MemoryStatus {
    std::uint64_t totalPhysical = 0;  // what this process can have at most: limits on it count
    std::uint64_t availablePhysical = 0;
    std::uint64_t totalPageFile = 0;
    std::uint64_t availablePageFile = 0;
    std::uint64_t totalVirtual = 0;
    std::uint64_t availableVirtual = 0;
};

[[nodiscard]] bool readMemoryStatus(MemoryStatus& status) noexcept;  // false: the system does not report

}  // namespace kel::platform
