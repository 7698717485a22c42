// The word in front of every buffer: the allocator that can free it. Blocks may so outlive the pool that
// handed them out.
#pragma once

#include <cstddef>

namespace kel::detail {

class BlockAllocator {
public:
    // `block` is what the caller of takeBuffer got; its header goes with it.
    virtual void freeBlock(void* block) noexcept = 0;

protected:
    ~BlockAllocator() = default;  // allocators live until the process ends
};

struct alignas(8) BlockHeader {
    BlockAllocator* allocator;
};
static_assert(sizeof(BlockHeader) == 8);

[[nodiscard]] inline BlockHeader* headerOf(void* block) noexcept {
    return static_cast<BlockHeader*>(block) - 1;
}

// An unused block; the first word of the caller's bytes links it to others of its class.
struct FreeBlock {
    FreeBlock* next;  // null: the last
};

}  // namespace kel::detail
