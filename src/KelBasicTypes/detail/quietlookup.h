// Services for code that may run when there is no memory left.
#pragma once

#include "framework/object/sptr.h"

namespace kel::detail {

// The host's service; null also when the lookup throws, for a service that costs memory we do not have is no
// service.
template <class T>
[[nodiscard]] IPtr<T> findService() noexcept {
    if (hostCore == nullptr) return {};  // the usual case costs not even a name
    try {
        return SPtr<T>();
    } catch (...) {
        return {};
    }
}

}  // namespace kel::detail
