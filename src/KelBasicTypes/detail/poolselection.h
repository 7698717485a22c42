// What pools and thread caches need to know of the current pool (buffers.cpp), and the lock that guards both.
// Threads: as each declaration says.
#pragma once

#include <cstdint>
#include <mutex>

class BucketMemoryPool;

namespace kel::detail {

// If the current pool is one of this library with the same three numbers, `pool` takes over what it keeps and
// becomes the current pool in its place, with a reference of its own; otherwise nothing happens.
void succeedCurrentPool(BucketMemoryPool& pool);

// Enters takes that a thread made without the lock. Under the library's lock.
void countTakes(std::uint32_t takes) noexcept;

// The one lock of this library: it guards the lists of the pools and which pool is the current one. Nothing
// is called under it that may wait for anything else, or come back for it.
[[nodiscard]] std::mutex& libraryLock() noexcept;  // lives until the process ends

using LibraryGuard = std::lock_guard<std::mutex>;

}  // namespace kel::detail
