// The one lock of this library: it guards the lists of the pools and which pool is the current one. Nothing
// is called under it that may wait for anything else, or come back for it.
#pragma once

#include <mutex>

namespace kel::detail {

[[nodiscard]] std::mutex& libraryLock() noexcept;  // lives until the process ends

using LibraryGuard = std::lock_guard<std::mutex>;

}  // namespace kel::detail
