// The current pool: the host's if there is one, else one of our own, which asks for the host's after every
// 601 takes. One entry of the library's lock covers selection, counter and bucket on our own pool. The host's
// pool has its own lock and is called outside ours.
#include "KelBasicTypes/buffers.h"

#include <utility>

#include "KelBasicTypes/bucketmemoryallocator.h"
#include "KelBasicTypes/bucketmemorypool.h"
#include "KelBasicTypes/detail/heap.h"
#include "KelBasicTypes/detail/librarylock.h"
#include "KelBasicTypes/detail/poolselection.h"
#include "KelBasicTypes/detail/quietlookup.h"
#include "KelBasicTypes/detail/resetbasictypes.h"
#include "singlethread.h"

namespace kel {
namespace {

using detail::libraryLock;
using platform::SectionGuard;

constexpr std::uint32_t kTakesBetweenLookups = 601;
constexpr std::int32_t kShortestGrown = 1 << 20;

// Guarded by the library's lock; holds one reference. Trivial, for strings live longer than any static.
struct CurrentPool {
    IBucketMemoryPool* pool;
    BucketMemoryPool* own;  // the same pool while it is the library's own, else null
    std::uint32_t takes;    // since the last lookup, on the own pool
};
constinit CurrentPool current{};

// A pool that was the current one. Its end frees blocks of other components, which lock for that: it comes
// after our lock was left, or two of us that free each other's blocks would wait for each other.
struct Retired {
    Retired() = default;
    Retired(const Retired&) = delete;
    Retired& operator=(const Retired&) = delete;
    ~Retired() {
        if (pool != nullptr) pool->release();
    }

    IBucketMemoryPool* pool = nullptr;
};

void replaceCurrent(IBucketMemoryPool& pool, Retired& retired) {
    pool.addRef();
    retired.pool = std::exchange(current.pool, &pool);
}

// True when the host offers a pool, which then is the current one.
bool adoptHostPool(Retired& retired) {
    const IPtr<IBucketMemoryPool> offered = detail::findService<IBucketMemoryPool>();
    if (!offered) return false;
    BucketMemoryPool* const own = std::exchange(current.own, nullptr);
    if (current.pool == offered.get()) return true;
    // A pool of another kind knows nothing of our blocks; our pool then frees them when it goes.
    const bool isOfOurKind = queryInterface<BucketMemoryPool>(offered.get()) != nullptr;
    if (own != nullptr && isOfOurKind) own->mergeInto(*offered);
    replaceCurrent(*offered, retired);
    return true;
}

void selectPool(Retired& retired) {
    if (current.own != nullptr && current.takes >= kTakesBetweenLookups) {
        current.takes = 0;
        (void)adoptHostPool(retired);  // none: our own goes on
    }
    if (current.pool != nullptr || adoptHostPool(retired)) return;
    auto* const pool = new BucketMemoryPool;
    replaceCurrent(*pool, retired);
    current.own = pool;
}

// With one thread there is nobody to lock out, and what a bucket keeps is handed over without leaving this
// library. Not when the process ends for lack of memory: that may have happened while a table of the pool was
// between two places.
bool isAlone() noexcept {
    return platform::isSingleThreaded() && current.own != nullptr && !detail::isProcessEnding();
}

void* takeAlone(std::int32_t size, std::uint32_t& actualSize) noexcept {
    if (!isAlone() || current.takes >= kTakesBetweenLookups) return nullptr;
    void* const block = current.own->takeKept(size, actualSize);
    if (block != nullptr) ++current.takes;
    return block;
}

bool giveBackAlone(std::int32_t capacity, void* block) noexcept {
    return isAlone() && current.own->keep(capacity, block);
}

// Null: the block has to come from the host's pool, which is then in `host`.
void* takeFromOwnPool(std::int32_t size, std::uint32_t& actualSize, IBucketMemoryPool*& host) {
    Retired retired;
    const SectionGuard guard(libraryLock());
    selectPool(retired);
    host = current.pool;
    if (current.own == nullptr) return nullptr;
    void* const block = current.own->allocateLocked(size, actualSize);
    ++current.takes;
    return block;
}

// The two ways that need more than a bucket stay out of line: the short ones are too short to pay for them.
[[gnu::noinline]] void* takeWithLock(std::int32_t size, std::uint32_t& actualSize) {
    if (detail::isProcessEnding() && detail::isReserveOpen()) {
        // No other thread's lock may hold the report up.
        actualSize = static_cast<std::uint32_t>(size);
        return BucketMemoryAllocator::instance().newBlock(actualSize);
    }
    IBucketMemoryPool* host = nullptr;
    void* const block = takeFromOwnPool(size, actualSize, host);
    return block != nullptr ? block : host->allocate(size, actualSize);
}

[[gnu::noinline]] void giveBackWithLock(std::int32_t capacity, void* block) noexcept {
    if (detail::isProcessEnding() && detail::isReserveOpen()) return;
    IBucketMemoryPool* host = nullptr;
    void* unkept = nullptr;
    {
        const SectionGuard guard(libraryLock());
        if (current.own != nullptr) {
            current.own->giveBackLocked(capacity, block, unkept);
        } else if (current.pool != nullptr) {
            host = current.pool;
        } else {
            unkept = block;
        }
    }
    if (host != nullptr) host->giveBack(capacity, block);
    if (unkept != nullptr) detail::headerOf(unkept)->allocator->freeBlock(unkept);
}

}  // namespace

void* takeBuffer(std::size_t byteCount, std::int32_t& capacity) {
    const auto size = static_cast<std::int32_t>(byteCount);
    std::uint32_t actualSize = 0;
    void* block = takeAlone(size, actualSize);
    if (block == nullptr) block = takeWithLock(size, actualSize);
    capacity = static_cast<std::int32_t>(actualSize);
    return block;
}

// No bucket keeps a block this long, so none misses it. Another allocator's block is its own to resize.
void* tryGrowBuffer(std::size_t byteCount, std::int32_t& capacity, void* block) noexcept {
    if (capacity < kShortestGrown || detail::isReserveOpen()) return nullptr;
    detail::BlockHeader* const header = detail::headerOf(block);
    if (header->allocator != &BucketMemoryAllocator::instance()) return nullptr;
    void* const storage = detail::heapReallocate(header, sizeof(detail::BlockHeader) + byteCount);
    if (storage == nullptr) return nullptr;
    capacity = static_cast<std::int32_t>(byteCount);
    return static_cast<detail::BlockHeader*>(storage) + 1;
}

void giveBackBuffer(std::int32_t capacity, void* block) noexcept {
    if (capacity == 0 || block == nullptr || giveBackAlone(capacity, block)) return;
    giveBackWithLock(capacity, block);
}

namespace detail {

void succeedCurrentPool(BucketMemoryPool& pool) {
    Retired retired;
    const SectionGuard guard(libraryLock());
    auto* const before = queryInterface<BucketMemoryPool>(current.pool);
    if (before == nullptr || !pool.canExchangeBuckets(*before)) return;
    pool.exchangeBuckets(*before);
    if (current.own != nullptr) current.own = &pool;
    replaceCurrent(pool, retired);
}

void resetBufferPool() {
    Retired retired;
    const SectionGuard guard(libraryLock());
    retired.pool = current.pool;
    current = {};
}

}  // namespace detail
}  // namespace kel
