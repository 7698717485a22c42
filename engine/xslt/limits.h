// How deep the transformer may go, for libxslt recurses over templates and trees alike, and how much it may
// do. Threads: pure functions of the arguments and of the calling thread's stack.
#pragma once

#include <cstddef>
#include <functional>

namespace engine::xslt {

inline constexpr std::size_t kSourceDepthLimit = 500'000;  // elements one within the other
// Namespaces on one element: when it is copied, libxslt compares each with each.
inline constexpr std::size_t kDeclarationLimit = 1'000;
// Of one element: copying it, libxslt compares each new attribute with those that are there.
inline constexpr std::size_t kAttributeLimit = 10'000;

// What one transformation may do: beyond it, it is taken for one that would never end. A small source gets
// seconds of work, a large one more.
struct WorkLimits {
    unsigned long instructions;  // carried out
    unsigned long xpathSteps;    // nodes looked at by expressions
    std::size_t writtenInBytes;  // memory for results and fragments, those that are gone again included
    std::size_t stringInBytes;   // of one variable's or parameter's value
};
[[nodiscard]] WorkLimits workLimits(std::size_t sourceNodes, std::size_t sourceTextInBytes) noexcept;

// Of a style sheet, which is compiled on the caller's stack.
[[nodiscard]] std::size_t styleSheetDepthLimit() noexcept;

// Runs `work` where there is stack enough for a source of that depth, and tells it how many templates may be
// open at once. What `work` throws comes out.
void runWithStack(std::size_t sourceDepth, const std::function<void(std::size_t templateDepth)>& work);

}  // namespace engine::xslt
