#include "KelBasicTypes/bucketmemoryallocator.h"

#include <new>

#include "KelBasicTypes/detail/librarylock.h"
#include "KelBasicTypes/oxarealloc.h"

using kel::detail::BlockHeader;
using kel::detail::headerOf;
using kel::detail::libraryLock;
using kel::platform::CriticalSection;
using kel::platform::SectionGuard;

namespace kel::detail {

CriticalSection& libraryLock() noexcept {
    alignas(CriticalSection) static std::byte storage[sizeof(CriticalSection)];
    static CriticalSection& lock = *new (storage) CriticalSection;
    return lock;
}

}  // namespace kel::detail

BucketMemoryAllocator& BucketMemoryAllocator::instance() noexcept {
    static constinit BucketMemoryAllocator theAllocator;
    return theAllocator;
}

void* BucketMemoryAllocator::newBlock(std::size_t sizeInBytes) {
    void* storage = nullptr;
    kel::oxaMalloc(storage, 1, sizeof(BlockHeader) + sizeInBytes);
    auto* const header = new (storage) BlockHeader{this};
    return header + 1;
}

void BucketMemoryAllocator::freeBlock(void* block) noexcept {
    const SectionGuard guard(libraryLock());
    kel::oxaFree(headerOf(block));
}
