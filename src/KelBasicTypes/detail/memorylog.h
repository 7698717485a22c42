// The snapshot of the machine's memory.
#pragma once

#include <cstdint>

namespace kel::detail {

// See writeMemorySnapshot, which lets nothing out that services of the host throw here.
void writeMemoryLog(std::uint64_t attemptedBytes);

}  // namespace kel::detail
