// Whether this process has one thread only. Each platform has a header of this name, found through the
// include path, for the answer has to cost less than the lock that it saves.
#pragma once

#if __has_include(<sys/single_threaded.h>)
#include <sys/single_threaded.h>
#endif

namespace kel::platform {

// True: no other thread runs, and none will before the caller starts one. False may also mean "not known".
[[nodiscard]] inline bool isSingleThreaded() noexcept {
#if __has_include(<sys/single_threaded.h>)
    return __libc_single_threaded != 0;
#else
    return false;
#endif
}

}  // namespace kel::platform
