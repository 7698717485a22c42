// Blocks come in powers of two from 32 bytes to 4 KB; one given back goes to a list of its size that belongs
// to the thread. A list keeps some 4 KB, at least 4 blocks. Larger blocks go straight to the heap.
//
// The lists have trivial destructors and stay usable while the thread's other objects are destroyed; a
// separate object empties them at the thread's end, after which blocks come from the heap again.
#include "engine/com/blocks.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdlib>

#include "engine/com/poison.h"

namespace engine::com {

namespace {

constexpr std::size_t kSmallestBits = 5;
constexpr std::size_t kClassCount = 8;
constexpr std::size_t kLargest = std::size_t{1} << (kSmallestBits + kClassCount - 1);
constexpr std::size_t kBytesKept = 4096;
constexpr std::size_t kFewestKept = 4;

struct FreeBlock {
    FreeBlock* next;
};

struct FreeList {
    FreeBlock* first = nullptr;
    std::size_t count = 0;
};

enum class CacheState : unsigned char { Unused, Live, Ended };

struct Cache {
    std::array<FreeList, kClassCount> lists{};
    std::int64_t inUse = 0;
    CacheState state = CacheState::Unused;
};

// Reached by an offset from the thread pointer, not through a call for each block: this holds 144 bytes,
// which fit into what the loader sets aside for libraries that are loaded later.
[[gnu::tls_model("initial-exec")]] constinit thread_local Cache cache{};
static_assert(sizeof(Cache) <= 160);

std::size_t classOf(std::size_t sizeInBytes) {
    const auto bits = static_cast<std::size_t>(std::bit_width(sizeInBytes - 1));
    return std::max(bits, kSmallestBits) - kSmallestBits;
}
constexpr std::size_t sizeOfClass(std::size_t sizeClass) {
    return std::size_t{1} << (sizeClass + kSmallestBits);
}

// Empties the lists of a thread that ends.
struct CacheEnd {
    ~CacheEnd() {
        cache.state = CacheState::Ended;
        for (FreeList& list : cache.lists) {
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
    cache.state = CacheState::Live;
}

}  // namespace

void* takeBlock(std::size_t sizeInBytes) noexcept {
    void* block = nullptr;
    if (sizeInBytes <= kLargest) {
        const std::size_t sizeClass = classOf(sizeInBytes);
        FreeList& list = cache.lists[sizeClass];
        if (FreeBlock* kept = list.first; kept != nullptr) {
            list.first = kept->next;
            --list.count;
            unpoison(kept, sizeOfClass(sizeClass));
            ++cache.inUse;
            return kept;
        }
        sizeInBytes = sizeOfClass(sizeClass);
    }
    block = std::malloc(sizeInBytes);
    if (block != nullptr) ++cache.inUse;
    return block;
}

void giveBlock(void* block, std::size_t sizeInBytes) noexcept {
    if (block == nullptr) return;
    --cache.inUse;
    if (sizeInBytes <= kLargest) {
        if (cache.state == CacheState::Unused) startCache();
        const std::size_t sizeClass = classOf(sizeInBytes);
        FreeList& list = cache.lists[sizeClass];
        const std::size_t kept = std::max(kBytesKept / sizeOfClass(sizeClass), kFewestKept);
        if (cache.state == CacheState::Live && list.count < kept) {
            list.first = new (block) FreeBlock{list.first};
            ++list.count;
            // A sanitizer build catches whoever uses a block that was given back although it is kept.
            poison(static_cast<char*>(block) + sizeof(FreeBlock), sizeOfClass(sizeClass) - sizeof(FreeBlock));
            return;
        }
    }
    std::free(block);
}

std::int64_t blocksInUse() noexcept {
    return cache.inUse;
}

}  // namespace engine::com
