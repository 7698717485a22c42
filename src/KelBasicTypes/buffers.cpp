#include "KelBasicTypes/buffers.h"

#include <cstdlib>
#include <new>

#include "KelBasicTypes/detail/blockheader.h"

namespace kel {

namespace {

class HeapAllocator final : public detail::BlockAllocator {
public:
    void freeBlock(void* block) noexcept override { std::free(detail::headerOf(block)); }
};

constinit HeapAllocator heapAllocator;

}  // namespace

void* takeBuffer(std::size_t byteCount, std::int32_t& capacity) {
    void* const storage = std::malloc(sizeof(detail::BlockHeader) + byteCount);
    if (storage == nullptr) throw std::bad_alloc();
    auto* const header = new (storage) detail::BlockHeader{&heapAllocator};
    capacity = static_cast<std::int32_t>(byteCount);
    return header + 1;
}

void giveBackBuffer(std::int32_t capacity, void* block) noexcept {
    if (capacity == 0 || block == nullptr) return;
    detail::headerOf(block)->allocator->freeBlock(block);
}

}  // namespace kel
