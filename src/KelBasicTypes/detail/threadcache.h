// The blocks that one thread keeps by itself: see bucketmemorypool.cpp, which explains the whole.
// Threads: a cache belongs to one thread. Operations that are said to need the library's lock may be called
// by any thread that has it.
#pragma once

#include <atomic>
#include <bit>
#include <cstdint>
#include <new>

#include "KelBasicTypes/detail/blockheader.h"
#include "threadpointer.h"

class BucketMemoryPool;

namespace kel::detail {

class ThreadCache final {
public:
    static constexpr std::uint32_t kMaxClasses = 2048;      // all small ones of the default numbers
    static constexpr std::uint32_t kMaxBytes = 512 * 1024;  // of all blocks that a thread keeps
    static constexpr std::uint32_t kBytesBesideBlock = 16;  // header, and what the heap adds

    // The cache that this thread used last; null if it has none.
    [[nodiscard]] static ThreadCache* latest() noexcept {
        return static_cast<ThreadCache*>(platform::threadPointer());
    }

    // The calling thread's cache for this pool, or one to be opened for it, which is then the latest. Null
    // when there is no memory for one, and at the end of a thread. Not under the lock: the heap is asked.
    [[nodiscard]] static ThreadCache* forPool(const BucketMemoryPool* pool) noexcept;

    // A block of this size, and its real size, if the cache is open for the pool and has one; else null.
    // Which pool it is decides the address alone: it may have died since.
    [[nodiscard]] void* take(const BucketMemoryPool* pool, std::int32_t size,
                             std::uint32_t& actualSize) noexcept {
        return takeIf<false>(pool, size, actualSize);
    }
    // Likewise, for one of the takes that were granted; null when these are used up.
    [[nodiscard]] void* takeGranted(const BucketMemoryPool* pool, std::int32_t size,
                                    std::uint32_t& actualSize) noexcept {
        return takeIf<true>(pool, size, actualSize);
    }
    // False, and nothing changed: not open for the pool, full, not the size of a class, or not a block for a
    // cache.
    [[nodiscard]] bool keep(const BucketMemoryPool* pool, std::int32_t size, void* block) noexcept;

    // --- Under the library's lock ----------------------------------------------------------------------
    // Opens a closed cache, on its own thread. False when it is open for another pool, and for one without
    // caches.
    [[nodiscard]] bool open(BucketMemoryPool& pool) noexcept;

    // Takes that may be made before they have to be counted, on its own thread.
    void grant(std::uint32_t takes) noexcept { granted_ = left_ = takes; }
    [[nodiscard]] bool useGranted() noexcept { return left_ != 0 && left_-- != 0; }
    // How many of the granted ones were made; there are none left then.
    [[nodiscard]] std::uint32_t settle() noexcept;

    // Closes all caches of a pool and hands each to the pool. Waits for what their threads are doing with
    // them at this moment, some instructions.
    static void closeAll(BucketMemoryPool& pool) noexcept;

    // For the pool: its lists by class, and the account of them.
    [[nodiscard]] std::uint32_t classCount() const noexcept { return classCount_; }
    [[nodiscard]] FreeBlock*& newestOf(std::uint32_t index) noexcept { return newest_[index]; }
    [[nodiscard]] FreeBlock* pop(std::uint32_t index) noexcept {  // null if there is none
        FreeBlock* const block = newest_[index];
        if (block == nullptr) return nullptr;
        newest_[index] = block->next;
        dropBytes(index, 1);
        return block;
    }
    void push(std::uint32_t index, void* block) noexcept {
        newest_[index] = ::new (block) FreeBlock{newest_[index]};
        addBytes(index, 1);
    }
    [[nodiscard]] bool isFull() const noexcept { return bytes_ >= kMaxBytes; }
    void addBytes(std::uint32_t index, std::uint32_t blocks) noexcept { bytes_ += blocks * costOf(index); }
    void dropBytes(std::uint32_t index, std::uint32_t blocks) noexcept { bytes_ -= blocks * costOf(index); }

    ThreadCache(const ThreadCache&) = delete;
    ThreadCache& operator=(const ThreadCache&) = delete;

private:
    ThreadCache() noexcept;
    ~ThreadCache() = default;
    [[nodiscard]] static ThreadCache* make() noexcept;
    static void endThread(void* latest) noexcept;
    void leaveLibrary() noexcept;

    // Those of one pool, or without one those of all other threads. They are remembered by closedFor_.
    static void close(const BucketMemoryPool* pool) noexcept;

    static void beforeFork() noexcept;
    static void afterForkInParent() noexcept;
    static void afterForkInChild() noexcept;

    [[nodiscard]] std::uint32_t costOf(std::uint32_t index) const noexcept {
        return ((index + 1) << shift_) + kBytesBesideBlock;
    }
    [[nodiscard]] bool enter(const BucketMemoryPool* pool) noexcept;
    void leave() noexcept { isBusy_.store(false, std::memory_order_release); }
    template <bool isGranted>
    [[nodiscard]] void* takeIf(const BucketMemoryPool* pool, std::int32_t size,
                               std::uint32_t& actualSize) noexcept;

    std::atomic<bool> isBusy_{false};  // its thread is using it, without the lock
    const bool isPlain_;               // a plain store is enough for the line above
    const BlockAllocator* const ours_;
    std::atomic<BucketMemoryPool*> pool_{nullptr};  // null: closed
    std::uint32_t left_ = 0;                        // granted takes
    std::uint32_t shift_ = 0;                       // classes are 1 << shift_ bytes apart
    std::uint32_t classCount_ = 0;
    std::uint32_t bytes_ = 0;
    std::uint32_t granted_ = 0;
    FreeBlock* newest_[kMaxClasses] = {};  // by class, the block given back last

    const std::uintptr_t thread_;
    ThreadCache* nextOfThread_ = nullptr;    // latest() is the first; its thread alone goes this way
    ThreadCache* nextOfLibrary_ = nullptr;   // guarded by the library's lock, as is closedFor_
    BucketMemoryPool* closedFor_ = nullptr;  // the pool it was open for, until its blocks have gone there
};

// After it no other thread touches the cache until `leave`, if it is open for the pool; else false.
inline bool ThreadCache::enter(const BucketMemoryPool* pool) noexcept {
    if (isPlain_) {
        isBusy_.store(true, std::memory_order_relaxed);
        std::atomic_signal_fence(std::memory_order_seq_cst);
    } else {
        (void)isBusy_.exchange(true, std::memory_order_seq_cst);
    }
    if (pool != nullptr && pool_.load(std::memory_order_seq_cst) == pool) return true;
    leave();
    return false;
}

template <bool isGranted>
void* ThreadCache::takeIf(const BucketMemoryPool* pool, std::int32_t size,
                          std::uint32_t& actualSize) noexcept {
    if (!enter(pool)) return nullptr;
    const std::uint32_t index = (static_cast<std::uint32_t>(size) - 1) >> shift_;  // of 0: none
    FreeBlock* block = nullptr;
    if (index < classCount_ && (!isGranted || left_ != 0)) {
        block = pop(index);
        if (isGranted && block != nullptr) --left_;
        actualSize = (index + 1) << shift_;
    }
    leave();
    return block;
}

inline bool ThreadCache::keep(const BucketMemoryPool* pool, std::int32_t size, void* block) noexcept {
    if (!enter(pool)) return false;
    const std::uint32_t index = (static_cast<std::uint32_t>(size) - 1) >> shift_;
    const std::uint32_t classSize = (index + 1) << shift_;
    // Shorter ones have room for a link only if they are ours.
    const bool hasLink = classSize >= sizeof(FreeBlock) || headerOf(block)->allocator == ours_;
    // A size between two classes is the pool's to judge.
    const bool isKept =
        classSize == static_cast<std::uint32_t>(size) && index < classCount_ && hasLink && !isFull();
    if (isKept) push(index, block);
    leave();
    return isKept;
}

}  // namespace kel::detail
