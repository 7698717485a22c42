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

// On a line of its own: whoever waits for it keeps looking at it.
CriticalSection& libraryLock() noexcept {
    constexpr std::int32_t kSpinCount =
        100;  // it is held for some ten nanoseconds, but while the heap is asked
    constexpr std::size_t kLineSizeInBytes = 64;
    alignas(kLineSizeInBytes) static std::byte storage[sizeof(CriticalSection)];
    static CriticalSection& lock = *new (storage) CriticalSection(kSpinCount);
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
