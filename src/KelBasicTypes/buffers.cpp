// The current pool: the host's if there is one, else one of our own, which asks for the host's after every
// 601 takes. A pool that this copy of the library made serves each thread from that thread's cache
// (bucketmemorypool.cpp); one of another make is called for every buffer and is never replaced.
//
// Takes on our own pool are counted in arrears. A thread is granted as many as are still missing to 601; it
// enters those that it made when they are used up, and its cache's when that is closed. So a single thread
// looks for the host's pool at exactly its 602nd take, and several never before 601 takes were made.
#include "KelBasicTypes/buffers.h"

#include <algorithm>
#include <atomic>
#include <utility>

#include "KelBasicTypes/bucketmemoryallocator.h"
#include "KelBasicTypes/bucketmemorypool.h"
#include "KelBasicTypes/detail/heap.h"
#include "KelBasicTypes/detail/poolselection.h"
#include "KelBasicTypes/detail/quietlookup.h"
#include "KelBasicTypes/detail/resetbasictypes.h"
#include "KelBasicTypes/detail/threadcache.h"

namespace kel {
namespace {

using detail::LibraryGuard;
using detail::libraryLock;
using detail::ThreadCache;

constexpr std::uint32_t kTakesBetweenLookups = 601;
constexpr std::int32_t kShortestGrown = 1 << 20;

// Changed under the library's lock; `pool` holds one reference. Trivial, for strings live longer than any
// static.
struct CurrentPool {
    IBucketMemoryPool* pool;
    bool isOwn;           // made here because the host offered none
    std::uint32_t takes;  // on the own pool, since the last lookup

    // The same pool, read without the lock: as one of this library, whose address alone counts then, or as
    // one of another make, which stays current for good.
    std::atomic<BucketMemoryPool*> local;
    std::atomic<IBucketMemoryPool*> foreign;
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

// Under the lock. No thread is in a pool of this library that is replaced here: its caches are closed.
void replaceCurrent(IBucketMemoryPool* pool, bool isOwn, Retired& retired) {
    if (BucketMemoryPool* const before = current.local.load(std::memory_order_relaxed)) before->closeCaches();
    if (pool != nullptr) pool->addRef();
    retired.pool = std::exchange(current.pool, pool);
    current.isOwn = isOwn;
    BucketMemoryPool* const local = BucketMemoryPool::ofThisLibrary(pool);
    current.local.store(local, std::memory_order_relaxed);
    current.foreign.store(local == nullptr ? pool : nullptr, std::memory_order_release);
}

// The host's pool becomes the current one, if the current one is our own or none.
void adopt(IBucketMemoryPool& offered) {
    // A pool of another kind knows nothing of our blocks; our pool then frees them when it goes.
    const bool isOfOurKind = queryInterface<BucketMemoryPool>(&offered) != nullptr;
    Retired retired;
    BucketMemoryPool* own = nullptr;
    {
        const LibraryGuard guard(libraryLock());
        if (current.pool == &offered) current.isOwn = false;
        if (current.pool != nullptr && !current.isOwn) return;  // also when another thread was faster
        own = current.local.load(std::memory_order_relaxed);
        replaceCurrent(&offered, false, retired);
    }
    if (own != nullptr && isOfOurKind) own->mergeInto(offered);
}

// Not under the lock: the host is asked.
void lookForPool() {
    if (const IPtr<IBucketMemoryPool> offered = detail::findService<IBucketMemoryPool>())
        return adopt(*offered);
    if (current.local.load(std::memory_order_relaxed) != nullptr) return;
    // Aside: several threads may come here at once, and one's pool must not take the place of another's.
    const IPtr<BucketMemoryPool> own(new BucketMemoryPool(BucketMemoryPool::Aside()));
    Retired none;
    const LibraryGuard guard(libraryLock());
    if (current.pool == nullptr) replaceCurrent(own.get(), true, none);
}

// Under the lock: enters a take. False when the host's pool has to be looked for first.
bool countTake(ThreadCache* cache) noexcept {
    if (cache != nullptr) {
        if (cache->useGranted()) return true;
        current.takes += cache->settle();
    }
    if (current.takes >= kTakesBetweenLookups) {
        current.takes = 0;
        if (current.isOwn) return false;
    }
    if (cache == nullptr) {
        ++current.takes;
    } else {
        cache->grant(kTakesBetweenLookups - current.takes);
        (void)cache->useGranted();
    }
    return true;
}

enum class Source { Local, Foreign, None };

// The block if the pool keeps one, else null: then it has to come from where the result says.
Source takeKept(std::int32_t size, std::uint32_t& actualSize, void*& block) {
    ThreadCache* cache = ThreadCache::forPool(current.local.load(std::memory_order_relaxed));
    const LibraryGuard guard(libraryLock());
    BucketMemoryPool* const pool = current.local.load(std::memory_order_relaxed);
    if (pool == nullptr) return current.pool == nullptr ? Source::None : Source::Foreign;
    if (cache != nullptr && !cache->open(*pool)) cache = nullptr;
    if (!countTake(cache)) return Source::None;
    actualSize = static_cast<std::uint32_t>(pool->grantedSize(size));
    block = pool->takeKept(size, cache);
    return Source::Local;
}

bool isReporting() noexcept {
    return detail::isProcessEnding() && detail::isReserveOpen();
}

// What needs more than the thread's cache stays out of line: the rest is too short to pay for it.
[[gnu::noinline]] void* takeSlowly(std::int32_t size, std::uint32_t& actualSize) {
    void* block = nullptr;
    if (isReporting()) {
        // No other thread's lock may hold the report up.
        actualSize = static_cast<std::uint32_t>(size);
        return BucketMemoryAllocator::instance().newBlock(actualSize);
    }
    for (;;) {
        if (IBucketMemoryPool* const host = current.foreign.load(std::memory_order_acquire))
            return host->allocate(size, actualSize);
        const Source source = takeKept(size, actualSize, block);
        if (source == Source::Local) break;
        if (source == Source::None) lookForPool();
    }
    return block != nullptr ? block : BucketMemoryAllocator::instance().newBlock(actualSize);
}

[[gnu::noinline]] void giveBackSlowly(std::int32_t capacity, void* block) noexcept {
    if (isReporting()) return;
    if (IBucketMemoryPool* const host = current.foreign.load(std::memory_order_acquire)) {
        host->giveBack(capacity, block);
        return;
    }
    ThreadCache* cache = ThreadCache::forPool(current.local.load(std::memory_order_relaxed));
    IBucketMemoryPool* host = nullptr;
    bool isKept = false;
    {
        const LibraryGuard guard(libraryLock());
        if (BucketMemoryPool* const pool = current.local.load(std::memory_order_relaxed)) {
            if (cache != nullptr && !cache->open(*pool)) cache = nullptr;
            // A block of an earlier pool with other classes would be handed out as longer than it is.
            isKept = pool->grantedSize(capacity) == capacity && pool->keep(capacity, block, cache);
        } else {
            host = current.pool;
        }
    }
    if (host != nullptr) {
        host->giveBack(capacity, block);
    } else if (!isKept) {
        detail::headerOf(block)->allocator->freeBlock(block);
    }
}

}  // namespace

void* takeBuffer(std::size_t byteCount, std::int32_t& capacity) {
    const auto size = static_cast<std::int32_t>(byteCount);
    std::uint32_t actualSize = 0;
    void* block = nullptr;
    if (ThreadCache* const cache = ThreadCache::latest())
        block = cache->takeGranted(current.local.load(std::memory_order_relaxed), size, actualSize);
    if (block == nullptr) block = takeSlowly(size, actualSize);
    capacity = static_cast<std::int32_t>(actualSize);
    return block;
}

// No pool keeps a block this long, so none misses it. Another allocator's block is its own to resize.
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
    if (capacity == 0 || block == nullptr) return;
    ThreadCache* const cache = ThreadCache::latest();
    const BucketMemoryPool* const pool = current.local.load(std::memory_order_relaxed);
    if (cache == nullptr || !cache->keep(pool, capacity, block)) giveBackSlowly(capacity, block);
}

namespace detail {

void succeedCurrentPool(BucketMemoryPool& pool) {
    Retired retired;
    const LibraryGuard guard(libraryLock());
    BucketMemoryPool* const before = current.local.load(std::memory_order_relaxed);
    if (before == nullptr || !pool.hasClassesOf(*before)) return;
    replaceCurrent(&pool, current.isOwn, retired);
    pool.exchangeBlocks(*before);
}

void countTakes(std::uint32_t takes) noexcept {
    current.takes += takes;
}

void resetBufferPool() {
    Retired retired;
    const LibraryGuard guard(libraryLock());
    replaceCurrent(nullptr, false, retired);
    current.takes = 0;
}

}  // namespace detail
}  // namespace kel
