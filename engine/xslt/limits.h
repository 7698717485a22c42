// How deep the transformer may go: libxslt recurses over templates and trees alike. Threads: pure functions
// of the calling thread's stack.
#pragma once

#include <cstddef>
#include <functional>

namespace engine::xslt {

inline constexpr std::size_t kSourceDepthLimit = 500'000;  // elements one within the other

// Of a style sheet, which is compiled on the caller's stack.
[[nodiscard]] std::size_t styleSheetDepthLimit() noexcept;

// Runs `work` where there is stack enough for a source of that depth, and tells it how many templates may be
// open at once. What `work` throws comes out.
void runWithStack(std::size_t sourceDepth, const std::function<void(std::size_t templateDepth)>& work);

}  // namespace engine::xslt
