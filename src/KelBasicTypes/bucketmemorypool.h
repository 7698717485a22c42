// Keeps blocks that were given back, by size class, and hands them out again: the last one in comes out
// first.
//
// Up to the small limit, sizes are rounded up to a multiple of the granularity; above it, to powers of two
// times the small limit; above the large limit a block has its own size and is never kept. What is kept goes
// back to the heap when the pool is destroyed, not before.
//
// A pool made with the three numbers of the process's current pool (see buffers.h) becomes the current pool
// itself and takes over what that one keeps. Pools live on the heap and are counted; nobody but `release`
// destroys one. Threads: any; every operation runs under the library's one lock.
#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>

#include "KelBasicTypes/ibucketmemorypool.h"
#include "framework/object/implements.h"

namespace kel::platform {
class CriticalSection;
}

class BucketMemoryPool final : public kel::Implements<BucketMemoryPool, IBucketMemoryPool> {
public:
    static constexpr const char* kClassName = "BucketMemoryPool";
    static constexpr const char* interfaceName() noexcept { return kClassName; }

    // In bytes: the steps of the small sizes, up to where sizes are small, and from where the pool keeps
    // nothing.
    static constexpr std::int32_t kGranularity = 4;
    static constexpr std::int32_t kSmallLimit = 8192;
    static constexpr std::int32_t kLargeLimit = 262144;

    // The three figures are in bytes, with the meaning of the constants.
    explicit BucketMemoryPool(std::int32_t granularity = kGranularity, std::int32_t smallLimit = kSmallLimit,
                              std::int32_t largeLimit = kLargeLimit);
    ~BucketMemoryPool() override;

    void* allocate(std::int32_t size, std::uint32_t& actualSize) override;
    bool giveBack(std::int32_t size, void*& block) override;

    // The same for callers that hold the library's lock. They free `unkept` through its header once they have
    // left it: the block may be another component's, whose allocator has a lock of its own.
    [[nodiscard]] void* allocateLocked(std::int32_t size, std::uint32_t& actualSize);
    bool giveBackLocked(std::int32_t size, void*& block, void*& unkept);

    // The part of both that needs nothing from the heap. Null, or false, and nothing changed: there is more
    // to do.
    [[nodiscard]] void* takeKept(std::int32_t size, std::uint32_t& actualSize) noexcept;
    [[nodiscard]] bool keep(std::int32_t size, void* block) noexcept;

    // Gives everything that is kept to another pool, bucket by bucket, the oldest block first.
    void mergeInto(IBucketMemoryPool& other);

    // Exchanges what is kept with a pool of the same three numbers and the same library. Under the library's
    // lock.
    void exchangeBuckets(BucketMemoryPool& other) noexcept;
    [[nodiscard]] bool canExchangeBuckets(const BucketMemoryPool& other) const noexcept;

    // From the guarded allocation, so that a string that needs the first pool meets no other failure than
    // that one's.
    static void* operator new(std::size_t sizeInBytes);
    static void operator delete(void* pool) noexcept;

private:
    struct Entry {
        std::int32_t size;
        void* block;
    };
    struct Bucket {
        std::int32_t count;      // entries 1 to count are in use; entry 0 stays empty
        std::uint64_t capacity;  // entries there is room for, the empty one included
        Entry* entries;
    };
    struct SizeClass {
        std::uint32_t index;
        std::int32_t roundedSize;
    };

    static constexpr std::uint64_t kFirstCapacity = 9;

    [[nodiscard]] SizeClass classOf(std::int32_t size) const noexcept;
    [[nodiscard]] SizeClass largeClassOf(std::int32_t size) const noexcept;
    [[nodiscard]] Bucket& bucketFor(std::uint32_t index);
    void makeRoom(Bucket& bucket);
    std::uint32_t bucketCount_ = 0;
    Bucket** buckets_ = nullptr;  // null where a class was never given back to
    std::int32_t granularity_;
    std::int32_t granularityShift_;  // granularity_ is 1 shifted by it; -1 when it is no power of two
    std::int32_t smallLimit_;
    std::int32_t largeLimit_;
    bool isGrowing_ = false;  // a table of this pool is being enlarged further up the stack
    const kel::platform::CriticalSection* library_;
};

inline BucketMemoryPool::SizeClass BucketMemoryPool::classOf(std::int32_t size) const noexcept {
    if (size > smallLimit_) return largeClassOf(size);
    const std::int32_t index =
        granularityShift_ < 0 ? (size - 1) / granularity_ : (size - 1) >> granularityShift_;
    return {static_cast<std::uint32_t>(index), (index + 1) * granularity_};
}

inline void* BucketMemoryPool::takeKept(std::int32_t size, std::uint32_t& actualSize) noexcept {
    if (size > largeLimit_ || size < 1) return nullptr;
    const SizeClass sizeClass = classOf(size);
    Bucket* const bucket = sizeClass.index < bucketCount_ ? buckets_[sizeClass.index] : nullptr;
    while (bucket != nullptr && bucket->count > 0) {
        void* const block = bucket->entries[bucket->count--].block;
        if (block == nullptr) continue;
        // What the entry says too; reading it there would keep the next take waiting for this one.
        actualSize = static_cast<std::uint32_t>(sizeClass.roundedSize);
        return block;
    }
    return nullptr;
}

inline bool BucketMemoryPool::keep(std::int32_t size, void* block) noexcept {
    if (size > largeLimit_ || size < 1) return false;
    const SizeClass sizeClass = classOf(size);
    Bucket* const bucket = sizeClass.index < bucketCount_ ? buckets_[sizeClass.index] : nullptr;
    if (bucket == nullptr || static_cast<std::uint64_t>(bucket->count) + 1 >= bucket->capacity) return false;
    bucket->entries[++bucket->count] = {sizeClass.roundedSize, block};
    return true;
}
