// The one lock of this library: the pool, its selection and its default allocator run under it.
#pragma once

#include "KelBasicTypes/platform/criticalsection.h"

namespace kel::detail {

[[nodiscard]] platform::CriticalSection& libraryLock() noexcept;  // lives until the process ends

}  // namespace kel::detail
