// Whether this process has one thread only. Each platform has a header of this name, found through the
// include path, for the answer has to cost less than the lock that it saves.
#pragma once

namespace kel::platform {

// False may also mean "not known", and this system does not tell.
[[nodiscard]] constexpr bool isSingleThreaded() noexcept {
    return false;
}

}  // namespace kel::platform
