// A pool of blocks by size. Positions are relied upon.
// In front of every block stands one word, the allocator that frees it (detail/blockheader.h): blocks may
// come from, go to and outlive different pools. Threads: all operations may run together.
#pragma once

#include <cstdint>

#include "framework/object/kelunknown.h"

class IBucketMemoryPool : public virtual IKelUnknown {
public:
    static constexpr const char* interfaceName() noexcept { return "IBucketMemoryPool"; }

    virtual void reserved0() {}

    // 1. A block of at least `size` bytes, never null; `actualSize` says what it has. The caller owns it.
    virtual void* allocate(std::int32_t size, std::uint32_t& actualSize) = 0;

    // 2. Takes the block over and makes the caller's pointer null. False, and nothing changed, for a size
    // below 1 or no block. `size` is the actual size, or any other of the same class. A pool that a host
    // offers also gets blocks that were taken from the library's own pool, with the sizes of that one's
    // classes: it must not hand one out as longer than `size`.
    virtual bool giveBack(std::int32_t size, void*& block) = 0;
};
