// The machine's memory: its figures, and the snapshot of them in "memory.log". Threads: any.
#pragma once

#include <cstdint>

#include "KelBasicTypes/ikelmmanager.h"
#include "KelBasicTypes/imemchecker.h"

namespace kel::detail {

// See writeMemorySnapshot, which catches what services of the host throw here. The manager may be null.
void writeMemoryLog(std::uint64_t attemptedBytes, KelMM::IKelMManager* manager);

// As the memory log and IMemChecker state them, without taking memory: in units of the divisor, rounded down;
// 0 counts as 1. Swap space is what virtual memory has beyond physical memory, and never more than the page
// file. False, and all figures 0, where the system does not report it.
bool systemFigures(MemoryFigures& result, std::uint32_t divisor) noexcept;

}  // namespace kel::detail
