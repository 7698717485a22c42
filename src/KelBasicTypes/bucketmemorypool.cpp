// Everything that allocates here may come back to this very pool before it returns: a request that the heap
// refuses may end in a temporary file, whose name is made of strings. So allocations come before changes, and
// a pool that is being enlarged frees what it would have to be enlarged for once more.
#include "KelBasicTypes/bucketmemorypool.h"

#include <algorithm>
#include <bit>

#include "KelBasicTypes/bucketmemoryallocator.h"
#include "KelBasicTypes/detail/librarylock.h"
#include "KelBasicTypes/detail/poolselection.h"
#include "KelBasicTypes/oxarealloc.h"

using kel::detail::headerOf;
using kel::detail::libraryLock;
using kel::platform::SectionGuard;

namespace {

constexpr std::size_t kReferenceSizeInBytes = sizeof(void*);  // of an entry of the bucket table

}  // namespace

BucketMemoryPool::BucketMemoryPool(std::int32_t granularity, std::int32_t smallLimit, std::int32_t largeLimit)
    : granularity_(std::max(granularity, 1)),
      granularityShift_(std::has_single_bit(static_cast<std::uint32_t>(granularity_))
                            ? std::countr_zero(static_cast<std::uint32_t>(granularity_))
                            : -1),
      smallLimit_(std::max(smallLimit, 1)),
      largeLimit_(std::max(largeLimit, smallLimit_)),
      library_(&libraryLock()) {
    const auto slots = static_cast<std::uint32_t>(smallLimit_ / granularity_ + 2);
    void* table = nullptr;
    kel::oxaMalloc(table, kReferenceSizeInBytes, slots);
    buckets_ = static_cast<Bucket**>(table);
    std::fill_n(buckets_, slots, nullptr);
    bucketCount_ = slots;
    kel::detail::succeedCurrentPool(*this);
}

// Not under the lock: nobody else knows the pool any more, and other components' allocators lock by
// themselves.
BucketMemoryPool::~BucketMemoryPool() {
    for (std::uint32_t i = 0; i < bucketCount_; ++i) {
        Bucket* const bucket = buckets_[i];
        if (bucket == nullptr) continue;
        for (std::int32_t e = 1; e <= bucket->count; ++e) {
            void* const block = bucket->entries[e].block;
            headerOf(block)->allocator->freeBlock(block);
        }
        kel::oxaFree(bucket->entries);
        kel::oxaFree(bucket);
    }
    kel::oxaFree(buckets_);
}

void* BucketMemoryPool::operator new(std::size_t sizeInBytes) {
    void* pool = nullptr;
    kel::oxaMalloc(pool, sizeInBytes, 1);
    return pool;
}

void BucketMemoryPool::operator delete(void* pool) noexcept {
    kel::oxaFree(pool);
}

void* BucketMemoryPool::allocate(std::int32_t size, std::uint32_t& actualSize) {
    const SectionGuard guard(libraryLock());
    return allocateLocked(size, actualSize);
}

bool BucketMemoryPool::giveBack(std::int32_t size, void*& block) {
    void* unkept = nullptr;
    bool isTaken = false;
    {
        const SectionGuard guard(libraryLock());
        isTaken = giveBackLocked(size, block, unkept);
    }
    if (unkept != nullptr) headerOf(unkept)->allocator->freeBlock(unkept);
    return isTaken;
}

void* BucketMemoryPool::allocateLocked(std::int32_t size, std::uint32_t& actualSize) {
    const std::int32_t wanted = std::max(size, 1);
    if (void* const kept = takeKept(wanted, actualSize)) return kept;
    actualSize = static_cast<std::uint32_t>(wanted > largeLimit_ ? wanted : classOf(wanted).roundedSize);
    return BucketMemoryAllocator::instance().newBlock(actualSize);
}

bool BucketMemoryPool::giveBackLocked(std::int32_t size, void*& block, void*& unkept) {
    if (block == nullptr || size < 1) return false;
    if (!keep(size, block)) {
        if (size > largeLimit_ || isGrowing_) {
            unkept = block;
        } else {
            makeRoom(bucketFor(classOf(size).index));
            (void)keep(size, block);  // there is room now
        }
    }
    block = nullptr;
    return true;
}

BucketMemoryPool::SizeClass BucketMemoryPool::largeClassOf(std::int32_t size) const noexcept {
    std::int32_t index = (smallLimit_ - 1) / granularity_;
    std::int64_t rounded = smallLimit_;
    for (; rounded < size; rounded *= 2) ++index;
    return {static_cast<std::uint32_t>(index),
            static_cast<std::int32_t>(std::min<std::int64_t>(rounded, INT32_MAX))};
}

// The bucket of a class, made if it is missing; the table is enlarged for the classes above the small limit.
BucketMemoryPool::Bucket& BucketMemoryPool::bucketFor(std::uint32_t index) {
    if (index < bucketCount_ && buckets_[index] != nullptr) return *buckets_[index];
    isGrowing_ = true;
    if (index >= bucketCount_) {
        void* table = buckets_;
        const std::uint64_t slots =
            kel::oxaRealloc(table, kReferenceSizeInBytes, bucketCount_, index + 1, kel::kSameAsMinimum);
        buckets_ = static_cast<Bucket**>(table);
        bucketCount_ = static_cast<std::uint32_t>(slots);
    }
    void* bucket = nullptr;
    void* entries = nullptr;
    kel::oxaMalloc(bucket, sizeof(Bucket), 1);
    kel::oxaMalloc(entries, sizeof(Entry), kFirstCapacity);
    isGrowing_ = false;
    buckets_[index] = new (bucket) Bucket{0, kFirstCapacity, static_cast<Entry*>(entries)};
    return *buckets_[index];
}

void BucketMemoryPool::makeRoom(Bucket& bucket) {
    const std::uint64_t needed = static_cast<std::uint64_t>(bucket.count) + 2;
    if (needed <= bucket.capacity) return;
    isGrowing_ = true;
    void* entries = bucket.entries;
    bucket.capacity = kel::oxaRealloc(entries, sizeof(Entry), bucket.capacity, needed, 2 * bucket.capacity);
    bucket.entries = static_cast<Entry*>(entries);
    isGrowing_ = false;
}

void BucketMemoryPool::mergeInto(IBucketMemoryPool& other) {
    const SectionGuard guard(libraryLock());
    for (std::uint32_t i = 0; i < bucketCount_; ++i) {
        Bucket* const bucket = buckets_[i];
        if (bucket == nullptr) continue;
        const std::int32_t count = std::exchange(bucket->count, 0);
        for (std::int32_t e = 1; e <= count; ++e) {
            Entry entry = bucket->entries[e];
            if (!other.giveBack(entry.size, entry.block))
                headerOf(entry.block)->allocator->freeBlock(entry.block);
        }
    }
}

bool BucketMemoryPool::canExchangeBuckets(const BucketMemoryPool& other) const noexcept {
    return library_ == other.library_ && granularity_ == other.granularity_ &&
           smallLimit_ == other.smallLimit_ && largeLimit_ == other.largeLimit_ && !isGrowing_ &&
           !other.isGrowing_;
}

void BucketMemoryPool::exchangeBuckets(BucketMemoryPool& other) noexcept {
    std::swap(buckets_, other.buckets_);
    std::swap(bucketCount_, other.bucketCount_);
}
