// The allocator of the blocks that this library makes: guarded allocation, with the header that names it.
// Threads: any.
#pragma once

#include <cstddef>

#include "KelBasicTypes/detail/blockheader.h"

class BucketMemoryAllocator final : public kel::detail::BlockAllocator {
public:
    // Lives until the process ends, as every block's header may name it.
    [[nodiscard]] static BucketMemoryAllocator& instance() noexcept;

    // A block of exactly this many bytes after its header. The caller owns it; freeBlock of this allocator
    // ends it.
    [[nodiscard]] void* newBlock(std::size_t sizeInBytes);

    void freeBlock(void* block) noexcept override;  // a block of newBlock
};
