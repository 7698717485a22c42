// Which pool the buffers of this library come from.
#pragma once

#include <cstdint>

class BucketMemoryPool;

namespace kel::detail {

// If the current pool is one of this library with the same three numbers, `pool` takes over what it keeps and
// becomes the current pool in its place, with a reference of its own; otherwise nothing happens.
void succeedCurrentPool(BucketMemoryPool& pool);

// Enters takes that a thread made without the lock. Under the library's lock.
void countTakes(std::uint32_t takes) noexcept;

}  // namespace kel::detail
