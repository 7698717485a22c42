#include "KelBasicTypes/bucketmemoryallocator.h"

#include <algorithm>
#include <new>

#include "KelBasicTypes/bucketmemorypool.h"
#include "KelBasicTypes/oxarealloc.h"

using kel::detail::BlockHeader;
using kel::detail::FreeBlock;
using kel::detail::headerOf;

BucketMemoryAllocator& BucketMemoryAllocator::instance() noexcept {
    static constinit BucketMemoryAllocator theAllocator;
    return theAllocator;
}

void* BucketMemoryAllocator::newBlock(std::size_t sizeInBytes) {
    void* storage = nullptr;
    kel::oxaMalloc(storage, 1, sizeof(BlockHeader) + std::max(sizeInBytes, sizeof(FreeBlock)));
    auto* const header = new (storage) BlockHeader{this};
    return header + 1;
}

void BucketMemoryAllocator::freeBlock(void* block) noexcept {
    kel::oxaFree(headerOf(block));
}
