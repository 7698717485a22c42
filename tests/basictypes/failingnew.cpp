// In a file of its own: where the compiler saw both ends of an allocation, it would judge them a mismatch.
// All forms are here, for the address sanitizer brings its own of each and distinguishes blocks by the form
// that made them.
#include "failingnew.h"

#include <cstdlib>
#include <new>

bool kel::test::isNewFailing = false;

void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return kel::test::isNewFailing ? nullptr : std::malloc(size != 0 ? size : 1);
}
void* operator new(std::size_t size) {
    void* const block = operator new(size, std::nothrow);
    if (block == nullptr) throw std::bad_alloc();
    return block;
}
void* operator new[](std::size_t size) {
    return operator new(size);
}
void* operator new[](std::size_t size, const std::nothrow_t& tag) noexcept {
    return operator new(size, tag);
}
void operator delete(void* block) noexcept {
    std::free(block);
}
void operator delete(void* block, std::size_t) noexcept {
    std::free(block);
}
void operator delete[](void* block) noexcept {
    std::free(block);
}
void operator delete[](void* block, std::size_t) noexcept {
    std::free(block);
}
