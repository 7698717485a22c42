// Small blocks of memory for strings and COM objects, kept per thread so that what a call makes and drops
// costs no heap call. Threads: a block may be given back on another thread than the one that took it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <new>

namespace engine::com {

// A block of at least `sizeInBytes`, aligned to 8 bytes; null when memory runs out.
[[nodiscard]] void* takeBlock(std::size_t sizeInBytes) noexcept;
// `sizeInBytes` is what it was taken with.
void giveBlock(void* block, std::size_t sizeInBytes) noexcept;

// Blocks taken less blocks given back on this thread: what a test looks at to find a lost reference or
// string.
[[nodiscard]] std::int64_t blocksInUse() noexcept;

// Base of classes whose objects live in such blocks.
class Pooled {
public:
    // NOLINTNEXTLINE(misc-new-delete-overloads): the check does not know the sized form below.
    static void* operator new(std::size_t sizeInBytes) {
        void* block = takeBlock(sizeInBytes);
        if (block == nullptr) throw std::bad_alloc();
        return block;
    }
    static void operator delete(void* block, std::size_t sizeInBytes) noexcept {
        giveBlock(block, sizeInBytes);
    }

protected:
    ~Pooled() = default;
};

}  // namespace engine::com
