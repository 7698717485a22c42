#include "engine/libstate/refusedmemory.h"

#include <cerrno>
#include <new>

namespace engine::libstate {

RefusedMemory::RefusedMemory() noexcept : previous_(errno) {
    errno = 0;
}

RefusedMemory::~RefusedMemory() {
    if (!happened()) errno = previous_;
}

bool RefusedMemory::happened() const noexcept {
    return errno == ENOMEM;
}

void RefusedMemory::throwIfHappened() const {
    if (happened()) throw std::bad_alloc();
}

KeepErrno::KeepErrno() noexcept : before_(errno) {}

KeepErrno::~KeepErrno() {
    if (before_ == ENOMEM) errno = ENOMEM;
}

}  // namespace engine::libstate
