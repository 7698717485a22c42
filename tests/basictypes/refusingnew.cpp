// In a file of its own: where the compiler saw both ends of an allocation, it would judge them a mismatch.
#include "refusingnew.h"

#include <cstdlib>
#include <new>

bool kel::test::isNewRefused = false;

void* operator new(std::size_t size) {
    void* const block = kel::test::isNewRefused ? nullptr : std::malloc(size != 0 ? size : 1);
    if (block == nullptr) throw std::bad_alloc();
    return block;
}
void operator delete(void* block) noexcept {
    std::free(block);
}
void operator delete(void* block, std::size_t) noexcept {
    std::free(block);
}
