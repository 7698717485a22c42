// The system heap as the guarded allocation sees it, and what it falls back to while the process ends for
// lack of memory: a small reserve from which the report is made. Threads: any; replacing the heap needs the
// process to itself.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

#include "KelBasicTypes/ikelmmanager.h"

namespace kel::detail {

// Null instead of an exception. Blocks of one heap are freed by that heap.
struct Heap {
    void* (*allocate)(std::size_t sizeInBytes);
    void* (*reallocate)(void* block, std::size_t sizeInBytes);
    void (*release)(void* block);
};

[[nodiscard]] const Heap& systemHeap() noexcept;
void setHeap(const Heap& heap) noexcept;  // for tests

[[nodiscard]] void* heapAllocate(std::size_t sizeInBytes) noexcept;
[[nodiscard]] void* heapReallocate(void* block,
                                   std::size_t sizeInBytes) noexcept;  // null: the block is unchanged
void heapRelease(void* block) noexcept;                                // null does nothing

// From now on requests of the calling thread that the heap cannot serve are served from the reserve. Once
// only.
void openReserve() noexcept;

// Whether the calling thread is the one that ends the process for lack of memory.
[[nodiscard]] bool isReserveOpen() noexcept;

extern constinit std::atomic<std::uintptr_t> reserveOwner;  // for the next function; 0: none

// Whether any thread is.
[[nodiscard]] inline bool isProcessEnding() noexcept {
    return reserveOwner.load(std::memory_order_relaxed) != 0;
}

// What allocation asks of the rooms that are built on it, once the heap is exhausted: they fill the table
// (outofmemory.cpp), so that allocation includes none of them.
struct AllocationHooks {
    KelMM::IKelMManager* (*memoryManager)() noexcept;  // see outofmemory.h
    // Grows a block that the heap cannot grow while its old contents are in memory: they wait in a temporary
    // file. The bytes after them become zero. Ends the process when that fails, too.
    void (*moveThroughSpillFile)(void*& block, std::size_t oldBytes, std::size_t newBytes);
    void (*end)(std::uint64_t attemptedBytes) noexcept;  // does not return
};
extern constinit const AllocationHooks allocationHooks;

// Asks the memory manager to give memory back and tries again, until that works or it has nothing left. Null:
// it did not work.
[[nodiscard]] void* allocateWithManager(std::size_t sizeInBytes);

}  // namespace kel::detail
