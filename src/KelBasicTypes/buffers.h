// Where the buffers of strings come from and go back to: the current pool of the process. That is the host's
// pool if the host offers one, else a pool of this library, which asks for the host's again after every 601
// takes and then passes on what it keeps. Threads: any; a block may be given back by another thread than the
// one that took it, and by another component, for the header in front of every block names the allocator that
// frees it.
#pragma once

#include <cstddef>
#include <cstdint>

namespace kel {

inline constexpr std::size_t kMaxBufferBytes = 0x7FFFFFFF;  // capacities are signed 32-bit numbers

// A block of at least byteCount bytes (1 to kMaxBufferBytes), aligned for 8-byte values; `capacity` is the
// bytes it really has. The caller owns it until it gives it back with that capacity. No memory: the process
// ends, as oxarealloc.h says.
[[nodiscard]] void* takeBuffer(std::size_t byteCount, std::int32_t& capacity);

// A block of at least byteCount bytes with the contents of `block`, in its place or elsewhere, and then
// `capacity` is its own; null when that is not to be had cheaper than through a new block, and then nothing
// has changed. Long blocks only: the system moves their pages instead of their bytes.
[[nodiscard]] void* tryGrowBuffer(std::size_t byteCount, std::int32_t& capacity, void* block) noexcept;

// Ends the life of a block. A capacity of 0 marks storage that is only borrowed: it is left alone, as is
// null.
void giveBackBuffer(std::int32_t capacity, void* block) noexcept;

}  // namespace kel
