#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <functional>

#include "KelBasicTypes/detail/heap.h"
#include "KelBasicTypes/platform/process.h"

namespace kel::detail {
namespace {

constexpr Heap kSystemHeap{std::malloc, std::realloc, std::free};

constinit Heap current = kSystemHeap;

// Enough for the texts of the report several times over. Its blocks are never reused: the process is ending.
constexpr std::size_t kReserveSizeInBytes = 128 * 1024;
constexpr std::size_t kAlignment = alignof(std::max_align_t);

alignas(std::max_align_t) constinit std::byte reserve[kReserveSizeInBytes] = {};
constinit std::size_t reserveUsed = 0;  // only the thread that has opened it counts here

struct alignas(std::max_align_t) ReserveHeader {
    std::size_t sizeInBytes;
};

bool isFromReserve(const void* block) noexcept {
    const auto* const at = static_cast<const std::byte*>(block);
    return std::greater_equal<>()(at, reserve) && std::less<>()(at, reserve + kReserveSizeInBytes);
}

void* takeFromReserve(std::size_t sizeInBytes) noexcept {
    const std::size_t left = kReserveSizeInBytes - reserveUsed;
    if (left < sizeof(ReserveHeader) || sizeInBytes > left - sizeof(ReserveHeader)) return nullptr;
    auto* const header = reinterpret_cast<ReserveHeader*>(reserve + reserveUsed);
    header->sizeInBytes = sizeInBytes;
    const std::size_t end = reserveUsed + sizeof(ReserveHeader) + sizeInBytes;
    reserveUsed = std::min((end + kAlignment - 1) / kAlignment * kAlignment, kReserveSizeInBytes);
    return header + 1;
}

void* growInReserve(void* block, std::size_t sizeInBytes) noexcept {
    void* const grown = heapAllocate(sizeInBytes);
    if (grown == nullptr) return nullptr;
    std::memcpy(grown, block, std::min((static_cast<ReserveHeader*>(block) - 1)->sizeInBytes, sizeInBytes));
    return grown;
}

}  // namespace

constinit std::atomic<std::uintptr_t> reserveOwner{0};

const Heap& systemHeap() noexcept {
    return kSystemHeap;
}

void setHeap(const Heap& heap) noexcept {
    current = heap;
}

void* heapAllocate(std::size_t sizeInBytes) noexcept {
    void* const block = current.allocate(sizeInBytes);
    if (block == nullptr && isReserveOpen()) return takeFromReserve(sizeInBytes);
    return block;
}

void* heapReallocate(void* block, std::size_t sizeInBytes) noexcept {
    if (isFromReserve(block)) return growInReserve(block, sizeInBytes);
    return current.reallocate(block, sizeInBytes);
}

void heapRelease(void* block) noexcept {
    if (!isFromReserve(block)) current.release(block);
}

void* allocateWithManager(std::size_t sizeInBytes) {
    KelMM::IKelMManager* const manager = allocationHooks.memoryManager();
    while (manager != nullptr && manager->giveMemoryBack()) {
        if (void* const block = heapAllocate(sizeInBytes)) return block;
    }
    return nullptr;
}

void openReserve() noexcept {
    reserveOwner = platform::currentThread();
}

bool isReserveOpen() noexcept {
    const std::uintptr_t owner = reserveOwner.load(std::memory_order_relaxed);
    return owner != 0 && owner == platform::currentThread();
}

}  // namespace kel::detail
