// What is kept lies in two sorts of lists. The pool has a list for each size class, guarded by the library's
// lock. Each thread has a cache of a few hundred kilobytes with such lists for the small classes
// (ThreadCache), which it uses without a lock. An unused block holds the link to the next one of its list.
//
// Takes and give-backs go to the cache. One that is empty for a class gets a batch of the newest blocks of
// the pool's list; one that is full hands the older half of each of its lists to the pool. Both put newer
// blocks on top of older ones, so on every thread the block that it gave back last is the next it takes.
//
// A cache must be emptied from outside when its pool is transferred, succeeded or destroyed, and must be
// whole when the process forks, yet its owner must not pay for a locked instruction. The two sides shake
// hands: the owner marks the cache as busy, looks whether it is still open for the pool, does its few
// instructions and clears the mark; the other side, under the lock, closes the cache, has all processors pass
// a barrier (platform/processbarrier.h) and waits until the mark is clear. Either the owner sees that the
// cache is closed and goes to the lock, or the other side sees the mark. Nothing is called while a cache is
// marked.
//
// The lock is held for moving blocks, never while the heap, a host or another allocator is called: each of
// them may wait for a lock of its own whose holder uses strings, or come back to this very pool, as a request
// that the heap cannot serve does when it ends in a temporary file, whose name is made of strings.
#include "KelBasicTypes/bucketmemorypool.h"

#include <algorithm>
#include <new>
#include <thread>
#include <utility>

#include "KelBasicTypes/bucketmemoryallocator.h"
#include "KelBasicTypes/detail/heap.h"
#include "KelBasicTypes/detail/poolselection.h"
#include "KelBasicTypes/detail/threadcache.h"
#include "KelBasicTypes/oxarealloc.h"
#include "KelBasicTypes/platform/fork.h"
#include "KelBasicTypes/platform/process.h"
#include "KelBasicTypes/platform/processbarrier.h"

using kel::detail::FreeBlock;
using kel::detail::headerOf;
using kel::detail::LibraryGuard;
using kel::detail::libraryLock;
using kel::detail::ThreadCache;

namespace kel::detail {

// In place, so that it needs no memory, and for strings that are older than any static.
std::mutex& libraryLock() noexcept {
    alignas(std::mutex) static std::byte storage[sizeof(std::mutex)];
    static std::mutex& lock = *new (storage) std::mutex;
    return lock;
}

SizeClasses::SizeClasses(std::int32_t granularity, std::int32_t smallLimit, std::int32_t largeLimit) noexcept
    : granularity_(std::max(granularity, 1)),
      smallLimit_(std::max(smallLimit, 1)),
      largeLimit_(std::max(largeLimit, smallLimit_)) {}

std::uint32_t SizeClasses::classOf(std::int32_t size) const noexcept {
    if (size <= smallLimit_) return static_cast<std::uint32_t>((size - 1) / granularity_);
    auto index = static_cast<std::uint32_t>((smallLimit_ - 1) / granularity_);
    for (std::int64_t rounded = smallLimit_; rounded < size; rounded *= 2) ++index;
    return index;
}

std::int32_t SizeClasses::sizeOf(std::uint32_t index) const noexcept {
    const auto lastSmall = static_cast<std::uint32_t>((smallLimit_ - 1) / granularity_);
    const std::int64_t size = index <= lastSmall
                                  ? (std::int64_t{index} + 1) * granularity_
                                  : std::int64_t{smallLimit_} << std::min(index - lastSmall, 31U);
    return static_cast<std::int32_t>(std::min<std::int64_t>(size, INT32_MAX));
}

}  // namespace kel::detail

namespace {

constinit BucketMemoryPool* firstOfLibrary = nullptr;  // all pools; guarded by the library's lock

void freeByHeader(FreeBlock* block) noexcept {
    headerOf(block)->allocator->freeBlock(block);
}

}  // namespace

BucketMemoryPool::BucketMemoryPool(std::int32_t granularity, std::int32_t smallLimit, std::int32_t largeLimit)
    : classes_(granularity, smallLimit, largeLimit) {
    enterLibrary();
    kel::detail::succeedCurrentPool(*this);
}

BucketMemoryPool::BucketMemoryPool(Aside) : classes_(kGranularity, kSmallLimit, kLargeLimit) {
    enterLibrary();
}

void BucketMemoryPool::enterLibrary() {
    void* lists = nullptr;
    kel::oxaMalloc(lists, sizeof(FreeBlock*), classes_.count());
    newest_ = static_cast<FreeBlock**>(lists);
    std::fill_n(newest_, classes_.count(), nullptr);
    const LibraryGuard guard(libraryLock());
    nextOfLibrary_ = std::exchange(firstOfLibrary, this);
}

BucketMemoryPool::~BucketMemoryPool() {
    {
        const LibraryGuard guard(libraryLock());
        closeCaches();
        BucketMemoryPool** link = &firstOfLibrary;
        while (*link != this) link = &(*link)->nextOfLibrary_;
        *link = nextOfLibrary_;
    }
    for (std::uint32_t index = 0; index < classes_.count(); ++index) {
        while (FreeBlock* const block = newest_[index]) {
            newest_[index] = block->next;
            freeByHeader(block);
        }
    }
    kel::oxaFree(newest_);
}

void* BucketMemoryPool::operator new(std::size_t sizeInBytes) {
    void* pool = nullptr;
    kel::oxaMalloc(pool, sizeInBytes, 1);
    return pool;
}

void BucketMemoryPool::operator delete(void* pool) noexcept {
    kel::oxaFree(pool);
}

BucketMemoryPool* BucketMemoryPool::ofThisLibrary(const IBucketMemoryPool* pool) noexcept {
    BucketMemoryPool* at = firstOfLibrary;
    while (at != nullptr && at != pool) at = at->nextOfLibrary_;
    return at;
}

// --- Taking and giving back ------------------------------------------------------------------------------

void* BucketMemoryPool::allocate(std::int32_t size, std::uint32_t& actualSize) {
    const std::int32_t wanted = std::max(size, 1);
    ThreadCache* cache = ThreadCache::latest();
    if (cache != nullptr) {
        if (void* const block = cache->take(this, wanted, actualSize)) return block;
    }
    actualSize = static_cast<std::uint32_t>(grantedSize(wanted));
    cache = ThreadCache::forPool(this);
    {
        const LibraryGuard guard(libraryLock());
        if (cache != nullptr && !cache->open(*this)) cache = nullptr;
        if (void* const block = takeKept(wanted, cache)) return block;
    }
    return BucketMemoryAllocator::instance().newBlock(actualSize);
}

bool BucketMemoryPool::giveBack(std::int32_t size, void*& block) {
    if (block == nullptr || size < 1) return false;
    void* const given = std::exchange(block, nullptr);
    ThreadCache* cache = ThreadCache::latest();
    if (cache != nullptr && cache->keep(this, size, given)) return true;
    cache = ThreadCache::forPool(this);
    bool isKept = false;
    {
        const LibraryGuard guard(libraryLock());
        if (cache != nullptr && !cache->open(*this)) cache = nullptr;
        isKept = keep(size, given, cache);
    }
    if (!isKept) headerOf(given)->allocator->freeBlock(given);
    return true;
}

std::int32_t BucketMemoryPool::grantedSize(std::int32_t size) const noexcept {
    return size > classes_.largeLimit() ? size : classes_.sizeOf(classes_.classOf(size));
}

void* BucketMemoryPool::takeKept(std::int32_t size, ThreadCache* cache) noexcept {
    if (size > classes_.largeLimit()) return nullptr;
    const std::uint32_t index = classes_.classOf(size);
    if (cache != nullptr && index < cache->classCount()) {
        if (cache->newestOf(index) == nullptr) refill(*cache, index);
        return cache->pop(index);
    }
    FreeBlock* const block = newest_[index];
    if (block != nullptr) newest_[index] = block->next;
    return block;
}

bool BucketMemoryPool::keep(std::int32_t size, void* block, ThreadCache* cache) noexcept {
    if (size > classes_.largeLimit()) return false;
    const std::uint32_t index = classes_.classOf(size);
    // A shorter one of another allocator has no room for the link.
    if (classes_.sizeOf(index) < static_cast<std::int32_t>(sizeof(FreeBlock)) &&
        headerOf(block)->allocator != &BucketMemoryAllocator::instance())
        return false;
    if (cache != nullptr && index < cache->classCount()) {
        if (cache->isFull()) spill(*cache);
        cache->push(index, block);
    } else {
        newest_[index] = ::new (block) FreeBlock{newest_[index]};
    }
    return true;
}

// --- Between the lists of the pool and those of a thread -------------------------------------------------

// As many as some kilobytes hold: the thread will want more of them than the one that it came for.
void BucketMemoryPool::refill(ThreadCache& cache, std::uint32_t index) noexcept {
    constexpr std::int32_t kBatchBytes = 8192;
    constexpr std::int32_t kMaxBatch = 32;
    FreeBlock* const newest = newest_[index];
    if (newest == nullptr) return;
    const std::int32_t max = std::clamp(kBatchBytes / classes_.sizeOf(index), 1, kMaxBatch);
    std::uint32_t count = 1;
    FreeBlock* last = newest;
    for (; static_cast<std::int32_t>(count) < max && last->next != nullptr; ++count) last = last->next;
    newest_[index] = std::exchange(last->next, nullptr);
    cache.newestOf(index) = newest;
    cache.addBytes(index, count);
}

void BucketMemoryPool::spill(ThreadCache& cache) noexcept {
    for (std::uint32_t index = 0; index < cache.classCount(); ++index) moveOlder(cache, index, 2);
}

void BucketMemoryPool::takeOver(ThreadCache& cache) noexcept {
    for (std::uint32_t index = 0; index < cache.classCount(); ++index) moveOlder(cache, index, 0);
    kel::detail::countTakes(cache.settle());
}

// All blocks of a list, or but for the newest of every `keepOneIn`, rounded down.
void BucketMemoryPool::moveOlder(ThreadCache& cache, std::uint32_t index, std::uint32_t keepOneIn) noexcept {
    FreeBlock** newestMoved = &cache.newestOf(index);
    FreeBlock* oldest = nullptr;
    std::uint32_t count = 0;
    std::uint32_t kept = 0;
    for (FreeBlock* block = *newestMoved; block != nullptr; block = block->next) {
        oldest = block;
        if (++count != keepOneIn * (kept + 1) || keepOneIn == 0) continue;
        newestMoved = &(*newestMoved)->next;
        ++kept;
    }
    if (oldest == nullptr) return;
    oldest->next = newest_[index];
    newest_[index] = std::exchange(*newestMoved, nullptr);
    cache.dropBytes(index, count - kept);
}

std::uint64_t BucketMemoryPool::keptInBytes() const noexcept {
    const LibraryGuard guard(libraryLock());
    std::uint64_t kept = 0;
    for (std::uint32_t index = 0; index < classes_.count(); ++index) {
        for (const FreeBlock* block = newest_[index]; block != nullptr; block = block->next)
            kept += static_cast<std::uint64_t>(classes_.sizeOf(index));
    }
    return kept;
}

// --- Between pools ---------------------------------------------------------------------------------------

void BucketMemoryPool::closeCaches() noexcept {
    ThreadCache::closeAll(*this);
}

void BucketMemoryPool::exchangeBlocks(BucketMemoryPool& other) noexcept {
    std::swap(newest_, other.newest_);
}

void BucketMemoryPool::mergeInto(IBucketMemoryPool& other) {
    const BucketMemoryPool* known = nullptr;  // the other one, if its classes can be compared with ours
    {
        const LibraryGuard guard(libraryLock());
        closeCaches();
        known = ofThisLibrary(&other);
    }
    for (std::uint32_t index = 0; index < classes_.count(); ++index) {
        const std::int32_t size = classes_.sizeOf(index);
        // Rounded up to a class of the other pool, a block would be handed out as longer than it is.
        const bool fits = known == nullptr || known->grantedSize(size) == size;
        for (FreeBlock* oldest = detachOldestFirst(index); oldest != nullptr;) {
            FreeBlock* const given = std::exchange(oldest, oldest->next);
            void* block = given;
            if (!fits || !other.giveBack(size, block)) freeByHeader(given);
        }
    }
}

BucketMemoryPool::FreeBlock* BucketMemoryPool::detachOldestFirst(std::uint32_t index) noexcept {
    const LibraryGuard guard(libraryLock());
    FreeBlock* oldest = nullptr;
    while (FreeBlock* const block = newest_[index]) {
        newest_[index] = block->next;
        block->next = std::exchange(oldest, block);
    }
    return oldest;
}

namespace kel::detail {
namespace {

constinit ThreadCache* firstOfLibrary = nullptr;  // guarded by the library's lock

}  // namespace

ThreadCache::ThreadCache() noexcept
    : isPlain_(platform::hasProcessBarrier()),
      ours_(&BucketMemoryAllocator::instance()),
      thread_(platform::currentThread()) {}

// --- Finding one, and its end ----------------------------------------------------------------------------

ThreadCache* ThreadCache::forPool(const BucketMemoryPool* pool) noexcept {
    ThreadCache* const first = latest();
    ThreadCache* before = nullptr;  // of the cache that is chosen
    ThreadCache* chosen = nullptr;
    ThreadCache* previous = nullptr;
    for (ThreadCache* cache = first; cache != nullptr; previous = cache, cache = cache->nextOfThread_) {
        const BucketMemoryPool* const its = cache->pool_.load(std::memory_order_relaxed);
        if (its != pool && its != nullptr) continue;
        before = previous;
        chosen = cache;
        if (its == pool) break;
    }
    if (chosen == nullptr) return make();
    if (chosen != first) {
        before->nextOfThread_ = chosen->nextOfThread_;
        chosen->nextOfThread_ = first;
        (void)platform::setThreadPointer(chosen, endThread);  // the thread has a pointer already
    }
    return chosen;
}

ThreadCache* ThreadCache::make() noexcept {
    static const bool isForkSafe = platform::callAroundFork(beforeFork, afterForkInParent, afterForkInChild);
    void* const storage = isForkSafe ? heapAllocate(sizeof(ThreadCache)) : nullptr;
    if (storage == nullptr) return nullptr;
    auto* const cache = ::new (storage) ThreadCache;
    cache->nextOfThread_ = latest();
    if (!platform::setThreadPointer(cache, endThread)) {
        heapRelease(storage);
        return nullptr;
    }
    const LibraryGuard guard(libraryLock());
    cache->nextOfLibrary_ = std::exchange(firstOfLibrary, cache);
    return cache;
}

void ThreadCache::endThread(void* latest) noexcept {
    for (auto* cache = static_cast<ThreadCache*>(latest); cache != nullptr;) {
        ThreadCache* const next = cache->nextOfThread_;
        {
            const LibraryGuard guard(libraryLock());
            // While it is open its pool lives: pools close their caches before they die.
            if (BucketMemoryPool* const pool = cache->pool_.load(std::memory_order_relaxed))
                pool->takeOver(*cache);
            cache->leaveLibrary();
        }
        heapRelease(cache);
        cache = next;
    }
}

void ThreadCache::leaveLibrary() noexcept {
    ThreadCache** link = &firstOfLibrary;
    while (*link != this) link = &(*link)->nextOfLibrary_;
    *link = nextOfLibrary_;
}

// --- Opening and closing ---------------------------------------------------------------------------------

bool ThreadCache::open(BucketMemoryPool& pool) noexcept {
    BucketMemoryPool* const its = pool_.load(std::memory_order_relaxed);
    if (its != nullptr) return its == &pool;
    const SizeClasses& classes = pool.classes();
    const auto granularity = static_cast<std::uint32_t>(classes.granularity());
    if (!std::has_single_bit(granularity)) return false;
    shift_ = static_cast<std::uint32_t>(std::countr_zero(granularity));
    const auto smallClasses = static_cast<std::uint32_t>(classes.smallLimit()) >> shift_;
    classCount_ = std::min(smallClasses, kMaxClasses);
    pool_.store(&pool, std::memory_order_release);
    return true;
}

std::uint32_t ThreadCache::settle() noexcept {
    const std::uint32_t made = granted_ - left_;
    granted_ = left_ = 0;
    return made;
}

void ThreadCache::close(const BucketMemoryPool* pool) noexcept {
    const std::uintptr_t self = platform::currentThread();
    bool hasForeign = false;
    for (ThreadCache* cache = firstOfLibrary; cache != nullptr; cache = cache->nextOfLibrary_) {
        BucketMemoryPool* const its = cache->pool_.load(std::memory_order_relaxed);
        const bool isOfOther = cache->thread_ != self;
        if (its == nullptr || (pool != nullptr ? its != pool : !isOfOther)) continue;
        cache->closedFor_ = its;
        cache->pool_.store(nullptr, std::memory_order_seq_cst);
        hasForeign = hasForeign || isOfOther;
    }
    if (!hasForeign) return;
    platform::processBarrier();
    for (ThreadCache* cache = firstOfLibrary; cache != nullptr; cache = cache->nextOfLibrary_) {
        if (cache->closedFor_ == nullptr) continue;
        while (cache->isBusy_.load(std::memory_order_seq_cst)) std::this_thread::yield();
    }
}

void ThreadCache::closeAll(BucketMemoryPool& pool) noexcept {
    close(&pool);
    for (ThreadCache* cache = firstOfLibrary; cache != nullptr; cache = cache->nextOfLibrary_) {
        if (std::exchange(cache->closedFor_, nullptr) != nullptr) pool.takeOver(*cache);
    }
}

// --- Forks -----------------------------------------------------------------------------------------------
// The fork happens under the lock and while no thread is amid its cache, so the child finds everything whole.

void ThreadCache::beforeFork() noexcept {
    libraryLock().lock();
    close(nullptr);
}

void ThreadCache::afterForkInParent() noexcept {
    for (ThreadCache* cache = firstOfLibrary; cache != nullptr; cache = cache->nextOfLibrary_) {
        if (BucketMemoryPool* const its = std::exchange(cache->closedFor_, nullptr))
            cache->pool_.store(its, std::memory_order_release);
    }
    libraryLock().unlock();
}

// The other threads are not there any more: what they kept is the pools'.
void ThreadCache::afterForkInChild() noexcept {
    platform::renewProcessBarrier();
    for (ThreadCache** link = &firstOfLibrary; *link != nullptr;) {
        ThreadCache* const cache = *link;
        if (cache->thread_ == platform::currentThread()) {
            link = &cache->nextOfLibrary_;
            continue;
        }
        if (cache->closedFor_ != nullptr) cache->closedFor_->takeOver(*cache);
        *link = cache->nextOfLibrary_;
        heapRelease(cache);
    }
    libraryLock().unlock();
}

}  // namespace kel::detail
