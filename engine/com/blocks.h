// Small blocks of memory for strings and COM objects, kept per thread so that what a call makes and drops
// costs no heap call.
//
// Blocks come in powers of two from 32 bytes to 4 KB; one given back goes to a list of its size that belongs
// to the thread. A list keeps some 4 KB, at least 4 blocks. Larger blocks go straight to the heap.
// Threads: a block may be given back on another thread than the one that took it.
#pragma once

// A compiler that comes without this header has no AddressSanitizer either.
#if __has_include(<sanitizer/asan_interface.h>)
#include <sanitizer/asan_interface.h>
#endif

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <new>

namespace engine::com {

// Marks memory that must not be touched for AddressSanitizer; nothing without it.
inline void poison([[maybe_unused]] void* memory, [[maybe_unused]] std::size_t sizeInBytes) noexcept {
#ifdef ASAN_POISON_MEMORY_REGION
    ASAN_POISON_MEMORY_REGION(memory, sizeInBytes);
#endif
}

inline void unpoison([[maybe_unused]] void* memory, [[maybe_unused]] std::size_t sizeInBytes) noexcept {
#ifdef ASAN_UNPOISON_MEMORY_REGION
    ASAN_UNPOISON_MEMORY_REGION(memory, sizeInBytes);
#endif
}

namespace detail {

inline constexpr std::size_t kSmallestBits = 5;
inline constexpr std::size_t kClassCount = 8;
inline constexpr std::size_t kNoClass = kClassCount;  // of a block that is too large for the lists

struct FreeBlock {
    FreeBlock* next;
};

struct FreeList {
    FreeBlock* first = nullptr;
    std::uint32_t room = 0;  // for so many more; 0 also before the thread's first block and at its end
};

// Trivially destroyed, so that it stays usable while the thread's other objects are destroyed.
struct BlockCache {
    std::array<FreeList, kClassCount> lists{};
    std::int64_t inUse = 0;
};

// Reached by an offset from the thread pointer, not through a call for each block: this holds 136 bytes,
// which fit into what the loader sets aside for libraries that are loaded later.
[[gnu::tls_model("initial-exec")]] extern constinit thread_local BlockCache blockCache;
static_assert(sizeof(BlockCache) <= 160);

[[nodiscard]] constexpr std::size_t sizeOfClass(std::size_t sizeClass) noexcept {
    return std::size_t{1} << (sizeClass + kSmallestBits);
}
[[nodiscard]] constexpr std::size_t classOf(std::size_t sizeInBytes) noexcept {
    if (sizeInBytes > sizeOfClass(kClassCount - 1)) return kNoClass;
    const auto bits = static_cast<std::size_t>(std::bit_width(sizeInBytes - 1));
    return std::max(bits, kSmallestBits) - kSmallestBits;
}

[[nodiscard]] void* newBlock(std::size_t sizeInBytes) noexcept;
// For a block that the list has no room for.
void dropBlock(void* block, std::size_t sizeClass) noexcept;

[[nodiscard]] inline void* takeOfClass(std::size_t sizeClass) noexcept {
    FreeList& list = blockCache.lists[sizeClass];
    FreeBlock* const kept = list.first;
    if (kept == nullptr) return newBlock(sizeOfClass(sizeClass));
    list.first = kept->next;
    ++list.room;
    ++blockCache.inUse;
    unpoison(kept, sizeOfClass(sizeClass));
    return kept;
}

inline void giveOfClass(void* block, std::size_t sizeClass) noexcept {
    FreeList& list = blockCache.lists[sizeClass];
    if (list.room == 0) return dropBlock(block, sizeClass);
    list.first = new (block) FreeBlock{list.first};
    --list.room;
    --blockCache.inUse;
    // A sanitizer build catches any use of a block that was given back although it is kept.
    poison(static_cast<char*>(block) + sizeof(FreeBlock), sizeOfClass(sizeClass) - sizeof(FreeBlock));
}

}  // namespace detail

// A block of at least `sizeInBytes` (not 0), aligned to 16 bytes; null when memory runs out.
[[nodiscard]] inline void* takeBlock(std::size_t sizeInBytes) noexcept {
    const std::size_t sizeClass = detail::classOf(sizeInBytes);
    return sizeClass == detail::kNoClass ? detail::newBlock(sizeInBytes) : detail::takeOfClass(sizeClass);
}

// `sizeInBytes` is what it was taken with. Null is allowed.
inline void giveBlock(void* block, std::size_t sizeInBytes) noexcept {
    if (block == nullptr) return;
    const std::size_t sizeClass = detail::classOf(sizeInBytes);
    if (sizeClass == detail::kNoClass) return detail::dropBlock(block, sizeClass);
    detail::giveOfClass(block, sizeClass);
}

// How much a block for `sizeInBytes` holds: a small one more than was asked for.
[[nodiscard]] inline std::size_t roomOfBlock(std::size_t sizeInBytes) noexcept {
    const std::size_t sizeClass = detail::classOf(sizeInBytes);
    return sizeClass == detail::kNoClass ? sizeInBytes : detail::sizeOfClass(sizeClass);
}

// A block of the new size that begins as `block` did, which is given back; null when memory runs out: `block`
// stays. Null is allowed.
[[nodiscard]] void* resizeBlock(void* block, std::size_t sizeInBytes, std::size_t newSizeInBytes) noexcept;

// Blocks taken less blocks given back on this thread: what a test looks at to find a lost reference or
// string.
[[nodiscard]] inline std::int64_t blocksInUse() noexcept {
    return detail::blockCache.inUse;
}

// Base of classes whose objects live in such blocks.
class Pooled {
public:
    // NOLINTNEXTLINE(misc-new-delete-overloads): the check does not know the sized form below.
    static void* operator new(std::size_t sizeInBytes) {
        void* block = takeBlock(sizeInBytes);
        if (block == nullptr) throw std::bad_alloc();
        return block;
    }
    static void* operator new(std::size_t sizeInBytes, const std::nothrow_t&) noexcept {
        return takeBlock(sizeInBytes);
    }
    static void operator delete(void* block, std::size_t sizeInBytes) noexcept {
        giveBlock(block, sizeInBytes);
    }

protected:
    ~Pooled() = default;
};

}  // namespace engine::com
