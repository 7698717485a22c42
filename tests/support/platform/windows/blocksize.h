// How large the runtime made a block of its heap.
#pragma once

#include <malloc.h>

#include <cstddef>

namespace kel::test {

inline std::size_t usableSize(void* block) {
    return _msize(block);
}

}  // namespace kel::test
