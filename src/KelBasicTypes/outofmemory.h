// The end of a process for lack of memory, and the figures that explain it.
// Works when not a single byte can be allocated any more; what cannot be had then (a service, a translation)
// is done without. Threads: any. The first thread that runs out of memory reports and ends the process;
// others wait for that end.
#pragma once

#include <cstdint>

#include "KelBasicTypes/ikelmmanager.h"

namespace kel {

// What failed.
enum class MemoryError : std::int32_t {
    SpillNotCreated = -1,
    SpillNotWritten = -2,
    SpillNotRead = -3,
    HeapExhausted = -4,
};

// The host's memory manager, borrowed; null if there is none. Kept once found.
[[nodiscard]] KelMM::IKelMManager* memoryManager() noexcept;

// Writes "memory.log" into the folder of the setting "Directories/Logs Directory", in place of an earlier
// one. A file that cannot be opened is left out without a word. 0: no size was attempted.
void writeMemorySnapshot(std::uint64_t attemptedBytes) noexcept;

// Reports to the user, through the host's error service if the setting "Memory/UseErrorService" is true (and
// then not at all if the host has none), else in a message box. Codes other than -5 to -1 report nothing.
// Always false.
bool outOfMemoryHandler(std::int32_t failureCode) noexcept;

// Snapshot, handler, end of the process with exit status -1.
[[noreturn]] void endOutOfMemory(std::uint64_t attemptedBytes, MemoryError failure) noexcept;

}  // namespace kel
