#include "KelBasicTypes/detail/threadcache.h"

#include <algorithm>
#include <new>
#include <thread>
#include <utility>

#include "KelBasicTypes/bucketmemoryallocator.h"
#include "KelBasicTypes/detail/heap.h"
#include "KelBasicTypes/detail/librarylock.h"
#include "KelBasicTypes/detail/poolselection.h"
#include "KelBasicTypes/platform/fork.h"
#include "KelBasicTypes/platform/process.h"
#include "KelBasicTypes/platform/processbarrier.h"

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
