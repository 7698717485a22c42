// Where blocks come from and go to when the thread's lists do not serve: the first and the last of a thread.
#include "engine/com/blocks.h"

#include <cstdlib>
#include <cstring>

namespace engine::com {

namespace detail {

namespace {

constexpr std::size_t kBytesKept = 4096;
constexpr std::size_t kMinKept = 4;

enum class CacheState : unsigned char { Unused, Live, Ended };
constinit thread_local CacheState state = CacheState::Unused;

// Empties the lists of a thread that ends, after which blocks come from the heap again.
struct CacheEnd {
    ~CacheEnd() {
        state = CacheState::Ended;
        for (FreeList& list : blockCache.lists) {
            FreeBlock* block = list.first;
            list = {};
            while (block != nullptr) {
                FreeBlock* next = block->next;
                std::free(block);
                block = next;
            }
        }
    }
};

void startCache() {
    thread_local CacheEnd end;
    (void)end;
    state = CacheState::Live;
    for (std::size_t sizeClass = 0; sizeClass < kClassCount; ++sizeClass) {
        blockCache.lists[sizeClass].room =
            static_cast<std::uint32_t>(std::max(kBytesKept / sizeOfClass(sizeClass), kMinKept));
    }
}

}  // namespace

[[gnu::tls_model("initial-exec")]] constinit thread_local BlockCache blockCache{};

void* newBlock(std::size_t sizeInBytes) noexcept {
    void* block = std::malloc(sizeInBytes);
    if (block != nullptr) ++blockCache.inUse;
    return block;
}

void dropBlock(void* block, std::size_t sizeClass) noexcept {
    if (state == CacheState::Unused && sizeClass != kNoClass) {
        startCache();
        return giveOfClass(block, sizeClass);
    }
    --blockCache.inUse;
    std::free(block);
}

}  // namespace detail

void* resizeBlock(void* block, std::size_t sizeInBytes, std::size_t newSizeInBytes) noexcept {
    using detail::classOf;
    if (block == nullptr) return takeBlock(newSizeInBytes);
    if (classOf(sizeInBytes) == detail::kNoClass && classOf(newSizeInBytes) == detail::kNoClass)
        return std::realloc(block, newSizeInBytes);
    void* const resized = takeBlock(newSizeInBytes);
    if (resized == nullptr) return nullptr;
    std::memcpy(resized, block, std::min(sizeInBytes, newSizeInBytes));
    giveBlock(block, sizeInBytes);
    return resized;
}

}  // namespace engine::com
