// The machine's memory as the memory log and IMemChecker state it. Threads: any; takes no memory.
#pragma once

#include <cstdint>

#include "KelBasicTypes/imemchecker.h"

namespace kel::detail {

// In units of the divisor, rounded down; 0 counts as 1. Swap space is what virtual memory has beyond physical
// memory, and never more than the page file. False, and all figures 0, where the system does not tell.
bool systemFigures(MemoryFigures& result, std::uint32_t divisor) noexcept;

}  // namespace kel::detail
