// Tells AddressSanitizer which memory nobody may touch. Without it this does nothing; and a compiler that
// comes without its headers has no sanitizer either.
#pragma once

#if __has_include(<sanitizer/asan_interface.h>)
#include <sanitizer/asan_interface.h>
#endif

#include <cstddef>

namespace engine::com {

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

}  // namespace engine::com
