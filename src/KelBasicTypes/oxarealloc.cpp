// Guarded allocation, and the allocator of buffers on top of it. See oxarealloc.h for the order of attempts.
#include "KelBasicTypes/oxarealloc.h"

#include <algorithm>
#include <atomic>
#include <cinttypes>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>

#include "KelBasicTypes/assertion.h"
#include "KelBasicTypes/bucketmemoryallocator.h"
#include "KelBasicTypes/detail/heap.h"
#include "KelBasicTypes/detail/resetbasictypes.h"

namespace kel {
namespace {

constexpr const char* kSource = "src/KelBasicTypes/oxarealloc";
constexpr int kFirstStep = 7;             // of the narrowing attempts, counted down to 0
constexpr int kFirstStepWithManager = 5;  // from here on the memory manager is asked as well

constinit std::atomic<bool> isTraced{false};

bool isTraceWanted() noexcept {
    const char* const value = std::getenv("KEL_TRACE_ALLOCATIONS");
    return value != nullptr && *value != '\0' && std::strcmp(value, "0") != 0;
}

// Off until this file's statics are made: what is allocated before is not traced.
[[maybe_unused]] const bool isEnvironmentRead = []() noexcept {
    isTraced = isTraceWanted();
    return true;
}();

// What is too large to be counted is too large to be had: no heap grants it.
std::size_t byteSize(std::uint64_t elementSize, std::uint64_t count) noexcept {
    constexpr std::uint64_t kMax = std::numeric_limits<std::size_t>::max();
    return elementSize != 0 && count > kMax / elementSize ? kMax : elementSize * count;
}

void traceMalloc(std::uint64_t elementSize, std::uint64_t count, std::size_t bytes) noexcept {
    if (!isTraced.load(std::memory_order_relaxed)) return;
    std::printf("oxaMalloc: %" PRIu64 " : %" PRIu64 " : %zu\n", elementSize, count, bytes);
}

void traceRealloc(std::uint64_t elementSize, std::uint64_t current, std::uint64_t chosen,
                  std::size_t bytes) noexcept {
    if (!isTraced.load(std::memory_order_relaxed)) return;
    std::printf("oxaRealloc: %" PRIu64 " : %" PRIu64 " : %" PRIu64 " : %zu\n", elementSize, current, chosen,
                bytes);
}

// A block that grows in place of itself.
struct Growth {
    void*& block;
    std::uint64_t elementSize;
    std::size_t oldBytes;

    // False leaves the block as it is.
    [[nodiscard]] bool tryTo(std::uint64_t count) const noexcept {
        const std::size_t bytes = byteSize(elementSize, count);
        void* const grown = detail::heapReallocate(block, bytes);
        if (grown == nullptr && bytes != 0) return false;
        block = grown;
        if (bytes > oldBytes) std::memset(static_cast<std::byte*>(grown) + oldBytes, 0, bytes - oldBytes);
        return true;
    }

    [[nodiscard]] bool tryWithManager(std::uint64_t count) const {
        KelMM::IKelMManager* const manager = detail::allocationHooks.memoryManager();
        if (manager == nullptr) return false;
        const std::size_t missing = byteSize(elementSize, count) - oldBytes;
        const std::size_t requests = missing / KelMM::IKelMManager::kUnitInBytes + 1;
        for (std::size_t i = 0; i < requests; ++i) {
            if (!manager->giveMemoryBack()) return false;
            if (tryTo(count)) return true;
        }
        return false;
    }
};

// Attempts between the one that failed and the minimum, each half as far from it. 0 when all
// fail.
std::uint64_t growLess(const Growth& growth, std::uint64_t minimum, std::uint64_t failed) {
    std::uint64_t attempt = failed;
    for (int step = kFirstStep; step >= 0 && minimum < attempt; --step) {
        attempt = step > 0 ? minimum + (attempt - minimum) / 2 : minimum;
        if (growth.tryTo(attempt)) return attempt;
        if (step <= kFirstStepWithManager && growth.tryWithManager(attempt)) return attempt;
    }
    return 0;
}

}  // namespace

std::uint64_t oxaMalloc(void*& block, std::uint64_t elementSize, std::uint64_t count) {
    const std::size_t bytes = byteSize(elementSize, count);
    traceMalloc(elementSize, count, bytes);
    block = detail::heapAllocate(bytes);
    if (block == nullptr && bytes != 0) block = detail::allocateWithManager(bytes);
    if (block == nullptr && bytes != 0) detail::allocationHooks.end(bytes);
    return count;
}

std::uint64_t oxaRealloc(void*& block, std::uint64_t elementSize, std::uint64_t currentCount,
                         std::uint64_t minimumCount, std::uint64_t maximumCount) {
    if (currentCount == minimumCount) return currentCount;
    if ((block == nullptr || currentCount == 0) && minimumCount != 0) {
        return oxaMalloc(block, elementSize, minimumCount);
    }

    const std::uint64_t chosen = maximumCount == kSameAsMinimum ? minimumCount : maximumCount;
    if (chosen < minimumCount) assertionFailed("maxNewSize >= minNewSize", kSource, 422);
    const Growth growth{block, elementSize, byteSize(elementSize, currentCount)};
    traceRealloc(elementSize, currentCount, chosen, byteSize(elementSize, chosen));
    if (chosen < currentCount) return growth.tryTo(chosen) ? chosen : currentCount;

    if (minimumCount <= currentCount) return currentCount;
    if (chosen < minimumCount) {
        assertionFailed("minNewSize > curSize && maxNewSize >= minNewSize", kSource, 455);
    }
    if (growth.tryTo(chosen)) return chosen;
    if (const std::uint64_t got = growLess(growth, minimumCount, chosen)) return got;

    const std::size_t minimumBytes = byteSize(elementSize, minimumCount);
    detail::allocationHooks.moveThroughSpillFile(block, growth.oldBytes, minimumBytes);
    return minimumCount;
}

void oxaFree(void* block) noexcept {
    detail::heapRelease(block);
}

void setAllocationTrace(bool on) noexcept {
    isTraced = on;
}

namespace detail {

void rereadTraceVariable() {
    isTraced = isTraceWanted();
}

}  // namespace detail
}  // namespace kel

using kel::detail::BlockHeader;
using kel::detail::FreeBlock;
using kel::detail::headerOf;

BucketMemoryAllocator& BucketMemoryAllocator::instance() noexcept {
    static constinit BucketMemoryAllocator theAllocator;
    return theAllocator;
}

void* BucketMemoryAllocator::newBlock(std::size_t sizeInBytes) {
    void* storage = nullptr;
    kel::oxaMalloc(storage, 1, sizeof(BlockHeader) + std::max(sizeInBytes, sizeof(FreeBlock)));
    auto* const header = new (storage) BlockHeader{this};
    return header + 1;
}

void BucketMemoryAllocator::freeBlock(void* block) noexcept {
    kel::oxaFree(headerOf(block));
}
