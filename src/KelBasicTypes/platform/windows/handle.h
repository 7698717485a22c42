// A system handle, closed with its owner. Threads: as the object behind it.
#pragma once

#include <windows.h>

#include <memory>
#include <type_traits>

namespace kel::platform {

struct HandleCloser {
    void operator()(HANDLE handle) const noexcept { (void)CloseHandle(handle); }  // ours: it cannot fail
};
using OwnedHandle = std::unique_ptr<std::remove_pointer_t<HANDLE>, HandleCloser>;

}  // namespace kel::platform
