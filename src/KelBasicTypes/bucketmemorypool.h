// Keeps blocks that were given back, by size class, and hands them out again: on each thread, the last one
// that it gave back comes out first.
//
// Up to the small limit, sizes are rounded up to a multiple of the granularity; above it, to powers of two
// times the small limit; above the large limit a block has its own size and is never kept. What is kept goes
// back to the heap when the pool is destroyed, not before.
//
// A pool made with the three numbers of the process's current pool (see buffers.h) becomes the current pool
// itself and takes over what that one keeps; when several threads make such pools, the others may destroy one
// before its maker holds it. Pools live on the heap and are counted; nothing but `release` destroys one.
// Threads: all operations may run together, but for the destruction.
#pragma once

#include <cstddef>
#include <cstdint>

#include "KelBasicTypes/detail/blockheader.h"
#include "KelBasicTypes/ibucketmemorypool.h"
#include "framework/object/implements.h"

namespace kel::detail {

class ThreadCache;

// Which sizes, in bytes, share a class. Classes are numbered from 0.
class SizeClasses final {
public:
    constexpr SizeClasses() noexcept = default;  // no size has a class
    SizeClasses(std::int32_t granularity, std::int32_t smallLimit, std::int32_t largeLimit) noexcept;

    // Of a size from 1 to the large limit.
    [[nodiscard]] std::uint32_t classOf(std::int32_t size) const noexcept;
    [[nodiscard]] std::int32_t sizeOf(std::uint32_t index) const noexcept;  // what its blocks really have
    // Of classes.
    [[nodiscard]] std::uint32_t count() const noexcept { return classOf(largeLimit_) + 1; }

    // The three sizes as they were given, in bytes.
    [[nodiscard]] std::int32_t granularity() const noexcept { return granularity_; }
    [[nodiscard]] std::int32_t smallLimit() const noexcept { return smallLimit_; }  // as above
    [[nodiscard]] std::int32_t largeLimit() const noexcept { return largeLimit_; }  // as above
    friend bool operator==(const SizeClasses&, const SizeClasses&) = default;

private:
    std::int32_t granularity_ = 0;
    std::int32_t smallLimit_ = 0;
    std::int32_t largeLimit_ = 0;
};

}  // namespace kel::detail

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
    // Chooses the constructor below.
    struct Aside {};
    // A pool with the numbers of the library's pools that does not become the current one by being made.
    explicit BucketMemoryPool(Aside);
    ~BucketMemoryPool() override;

    void* allocate(std::int32_t size, std::uint32_t& actualSize) override;
    bool giveBack(std::int32_t size, void*& block) override;

    // What is kept for the next takes, in bytes, without what threads keep for themselves. Waits for nothing
    // but the library's lock; looks at each block.
    [[nodiscard]] std::uint64_t keptInBytes() const noexcept;

    // Gives everything that is kept to another pool, class by class, the oldest block first.
    void mergeInto(IBucketMemoryPool& other);

    // The pool behind an interface if this copy of the library made it, else null. Under the library's lock.
    [[nodiscard]] static BucketMemoryPool* ofThisLibrary(const IBucketMemoryPool* pool) noexcept;

    // --- Under the library's lock, which is held for moving blocks and for nothing else ------------------
    // `cache` is null or open for this pool. A block of this size that is kept, or null.
    [[nodiscard]] void* takeKept(std::int32_t size, kel::detail::ThreadCache* cache) noexcept;
    // False when this block is one that no class keeps: the caller frees it, after the lock.
    [[nodiscard]] bool keep(std::int32_t size, void* block, kel::detail::ThreadCache* cache) noexcept;
    void closeCaches() noexcept;  // what threads keep joins what the pool keeps
    // What the cache keeps joins what the pool keeps.
    void takeOver(kel::detail::ThreadCache& cache) noexcept;
    // Blocks of the one may become blocks of the other.
    [[nodiscard]] bool hasClassesOf(const BucketMemoryPool& other) const noexcept {
        return classes_ == other.classes_;
    }
    void exchangeBlocks(
        BucketMemoryPool& other) noexcept;  // has the same classes; no cache of either is open

    // What a block for this size really has, from size 1 on.
    [[nodiscard]] std::int32_t grantedSize(std::int32_t size) const noexcept;

    // Lent as long as the pool lives.
    [[nodiscard]] const kel::detail::SizeClasses& classes() const noexcept { return classes_; }

    // From the guarded allocation, so that a string that needs the first pool meets no other failure than
    // that one's.
    static void* operator new(std::size_t sizeInBytes);
    static void operator delete(void* pool) noexcept;

private:
    using FreeBlock = kel::detail::FreeBlock;

    void refill(kel::detail::ThreadCache& cache, std::uint32_t index) noexcept;
    void spill(kel::detail::ThreadCache& cache) noexcept;
    void moveOlder(kel::detail::ThreadCache& cache, std::uint32_t index, std::uint32_t keepOneIn) noexcept;
    void enterLibrary();  // what every constructor does
    [[nodiscard]] FreeBlock* detachOldestFirst(std::uint32_t index) noexcept;

    kel::detail::SizeClasses classes_;
    FreeBlock** newest_ = nullptr;  // for each class, the block that came in last
    BucketMemoryPool* nextOfLibrary_ = nullptr;
};
