// How much stack there is, and work that needs more of it than the calling thread has.
#pragma once

#include <cstddef>
#include <functional>

namespace engine::xslt::platform {

// In bytes, from the caller's frame to the end of the stack. A careful guess where the system does not report
// it.
[[nodiscard]] std::size_t stackLeftInBytes() noexcept;

// Runs `work` on a stack of its own while the caller waits: on another thread, which is gone afterwards.
// What `work` throws comes out here. False: the system has no room for such a stack, and nothing has run.
[[nodiscard]] bool runOnStack(std::size_t sizeInBytes, const std::function<void()>& work);

}  // namespace engine::xslt::platform
