// Guarded allocation: every buffer of this library comes from here, and no caller tests for
// null. When the system heap is exhausted, the host's memory manager is asked to give memory back; when that
// does not help either, the process writes a snapshot to "memory.log", reports to the user and ends with exit
// status -1 (outofmemory.h). Threads: any; no lock is held here.
#pragma once

#include <cstdint>
#include <limits>

namespace kel {

// The maximum of an oxaRealloc that wants no more than the minimum.
inline constexpr std::uint64_t kSameAsMinimum = std::numeric_limits<std::uint64_t>::max();

// `block` becomes elementSize * count bytes, not cleared, aligned for any type; for 0 bytes what the system
// heap gives, null included. The caller owns it and frees it with oxaFree. Returns count.
std::uint64_t oxaMalloc(void*& block, std::uint64_t elementSize, std::uint64_t count);

// Grows a block of oxaMalloc from currentCount elements to as many as can be had, maximum at most, minimum at
// least. Its contents stay, the bytes after them become zero. Returns the elements it now has. A maximum of
// kSameAsMinimum stands for the minimum.
//
// A minimum equal to currentCount changes nothing; so does one below, unless the maximum is lower still: then
// the block shrinks to that. A null block, or one of 0 elements, is allocated anew, not cleared. A maximum
// below the minimum is raised as an assertion, and then taken as it is.
std::uint64_t oxaRealloc(void*& block, std::uint64_t elementSize, std::uint64_t currentCount,
                         std::uint64_t minimumCount, std::uint64_t maximumCount);

void oxaFree(void* block) noexcept;  // null does nothing

// While it is on, every guarded allocation writes one line to standard output. At first as the environment
// variable KEL_TRACE_ALLOCATIONS says when the library is loaded: on unless it is unset, empty or "0".
void setAllocationTrace(bool on) noexcept;

}  // namespace kel
