// A pause between two looks at a word that another processor is about to change.
#pragma once

namespace kel::platform {

inline void relaxProcessor() noexcept {
#if defined(__x86_64__) || defined(__i386__)
    __builtin_ia32_pause();
#elif defined(__aarch64__)
    asm volatile("isb" ::: "memory");
#endif
}

}  // namespace kel::platform
