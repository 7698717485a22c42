// How deep the transformer may go: libxslt recurses over templates and trees alike. Threads: pure functions
// of the calling thread's stack.
#pragma once

#include <cstddef>
#include <functional>

namespace engine::xslt {

inline constexpr std::size_t kSourceDepthLimit = 500'000;  // elements one within the other

// Minutes of work: beyond it a transformation is taken for one that would never end.
inline constexpr unsigned long kInstructionLimit = 1'000'000'000;  // sequences of instructions carried out
inline constexpr unsigned long kXPathLimit = 20'000'000'000;       // steps of expressions

// Of a style sheet, which is compiled on the caller's stack.
[[nodiscard]] std::size_t styleSheetDepthLimit() noexcept;

// Runs `work` where there is stack enough for a source of that depth, and tells it how many templates may be
// open at once. What `work` throws comes out.
void runWithStack(std::size_t sourceDepth, const std::function<void(std::size_t templateDepth)>& work);

}  // namespace engine::xslt
