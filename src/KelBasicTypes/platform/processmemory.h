// How much memory this process has. Takes none itself. Threads: any.
#pragma once

#include <cstdint>

namespace kel::platform {

// Physical memory in use by the process, in bytes; 0 where the system does not report it.
[[nodiscard]] std::uint64_t processMemoryInUse() noexcept;

}  // namespace kel::platform
