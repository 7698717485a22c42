// Strings with their length before them.
//
// A block is a header of 16 bytes and the units with a closing zero. Blocks come in powers of two from 32
// bytes to 4 KB; a freed one goes to a list of its size that belongs to the freeing thread, so that the
// strings every call makes and drops cost no heap call. A list keeps 16 blocks at most. Larger strings go
// straight to the heap.
//
// The lists have trivial destructors and stay usable while the thread's other objects are destroyed; a
// separate object empties them at the thread's end, after which strings come from the heap again.
#include <sanitizer/asan_interface.h>

#include <array>
#include <bit>
#include <cstdlib>
#include <cstring>
#include <limits>

#include "engine/com/com.h"

namespace {

struct Header {
    Header* next;             // while the block waits in a list
    std::uint32_t sizeClass;  // kUncached for a block of its own
    std::uint32_t lengthInBytes;
};
static_assert(sizeof(Header) == 16);

constexpr std::size_t kSmallestBlockBits = 5;
constexpr std::size_t kClassCount = 8;  // 32 bytes to 4 KB
constexpr std::uint32_t kUncached = kClassCount;
constexpr std::uint32_t kBlocksKept = 16;

struct FreeList {
    Header* first = nullptr;
    std::uint32_t count = 0;
};

enum class CacheState : unsigned char { Unused, Live, Ended };

constinit thread_local std::array<FreeList, kClassCount> freeLists{};
constinit thread_local CacheState cacheState = CacheState::Unused;

constexpr std::size_t blockSize(std::uint32_t sizeClass) {
    return std::size_t{1} << (sizeClass + kSmallestBlockBits);
}

OLECHAR* textOfBlock(Header* block) {
    return reinterpret_cast<OLECHAR*>(block + 1);
}
Header* blockOf(OLECHAR* text) {
    return reinterpret_cast<Header*>(text) - 1;
}

// Empties the lists of a thread that ends.
struct CacheEnd {
    ~CacheEnd() {
        cacheState = CacheState::Ended;
        for (std::uint32_t sizeClass = 0; sizeClass < kClassCount; ++sizeClass) {
            Header* block = freeLists[sizeClass].first;
            freeLists[sizeClass] = {};
            while (block != nullptr) {
                Header* next = block->next;
                ASAN_UNPOISON_MEMORY_REGION(block, blockSize(sizeClass));
                std::free(block);
                block = next;
            }
        }
    }
};

void startCache() {
    thread_local CacheEnd end;
    (void)end;
    cacheState = CacheState::Live;
}

Header* takeBlock(std::uint32_t sizeClass, std::size_t sizeInBytes) {
    if (sizeClass != kUncached) {
        FreeList& list = freeLists[sizeClass];
        if (Header* block = list.first; block != nullptr) {
            list.first = block->next;
            --list.count;
            ASAN_UNPOISON_MEMORY_REGION(block, blockSize(sizeClass));
            return block;
        }
        sizeInBytes = blockSize(sizeClass);
    }
    auto* block = static_cast<Header*>(std::malloc(sizeInBytes));
    if (block != nullptr) block->sizeClass = sizeClass;
    return block;
}

}  // namespace

BSTR SysAllocStringLen(const OLECHAR* text, UINT length) noexcept {
    constexpr UINT kLongest = (std::numeric_limits<std::uint32_t>::max() - 64) / sizeof(OLECHAR);
    if (length > kLongest) return nullptr;
    const std::size_t lengthInBytes = std::size_t{length} * sizeof(OLECHAR);
    const std::size_t sizeInBytes = sizeof(Header) + lengthInBytes + sizeof(OLECHAR);
    const auto bits = static_cast<std::size_t>(std::bit_width(sizeInBytes - 1));
    const std::size_t wanted = bits <= kSmallestBlockBits ? 0 : bits - kSmallestBlockBits;
    const auto sizeClass = static_cast<std::uint32_t>(wanted < kClassCount ? wanted : kUncached);
    Header* block = takeBlock(sizeClass, sizeInBytes);
    if (block == nullptr) return nullptr;
    block->lengthInBytes = static_cast<std::uint32_t>(lengthInBytes);
    OLECHAR* units = textOfBlock(block);
    if (text != nullptr && length != 0) std::memcpy(units, text, lengthInBytes);
    units[length] = 0;
    return units;
}

BSTR SysAllocString(const OLECHAR* text) noexcept {
    if (text == nullptr) return nullptr;
    const std::size_t length = std::u16string_view(text).size();
    if (length > std::numeric_limits<UINT>::max()) return nullptr;
    return SysAllocStringLen(text, static_cast<UINT>(length));
}

void SysFreeString(BSTR text) noexcept {
    if (text == nullptr) return;
    Header* block = blockOf(text);
    const std::uint32_t sizeClass = block->sizeClass;
    if (sizeClass != kUncached) {
        if (cacheState == CacheState::Unused) startCache();
        FreeList& list = freeLists[sizeClass];
        if (cacheState == CacheState::Live && list.count < kBlocksKept) {
            block->next = list.first;
            list.first = block;
            ++list.count;
            // A sanitizer build catches whoever reads a freed string although its block is kept.
            ASAN_POISON_MEMORY_REGION(textOfBlock(block), blockSize(sizeClass) - sizeof(Header));
            return;
        }
    }
    std::free(block);
}

UINT SysStringLen(const OLECHAR* text) noexcept {
    if (text == nullptr) return 0;
    return (reinterpret_cast<const Header*>(text) - 1)->lengthInBytes / UINT{sizeof(OLECHAR)};
}
