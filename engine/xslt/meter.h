// How deep the transformer may go, for libxslt recurses over templates and trees alike, and how much it may
// do, and the meter that holds it to that. Threads: the functions are pure, apart from the calling thread's
// stack.
#pragma once

#include <cstddef>
#include <deque>
#include <functional>
#include <string_view>

#include <libxslt/xsltInternals.h>

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

// Runs `work` where there is stack enough for a source of that depth, and passes it how many templates may be
// open at once. What `work` throws comes out.
void runWithStack(std::size_t sourceDepth, const std::function<void(std::size_t templateDepth)>& work);

// Whether it is an element of XSLT, of that name unless it is empty.
[[nodiscard]] bool isInstruction(const xmlNode& node, std::string_view name = {}) noexcept;

class Steps;

// Measures the work of a running transformation, and stops one that would not end. libxslt counts
// instructions and the steps of expressions by itself; what is written, and how long texts get, is measured
// here, so that memory is bounded as well as time. Threads: as the context.
class Meter final {
public:
    // An entry for the literal part of a sequence of instructions, which libxslt carries out with the rest.
    struct Charge : xsltElemPreComp {
        std::size_t bytes = 0;  // that the literal part writes, roughly
    };
    using Charges = std::deque<Charge>;

    // Once for each compiled style sheet, which refers to the charges from then on. Throws std::bad_alloc.
    [[nodiscard]] static Charges equip(xsltStylesheet& style);

    // Borrows the context, which must not be used after this object is gone, and the style sheet's steps.
    Meter(xsltTransformContext& context, const WorkLimits& limits, const Steps& steps) noexcept;
    Meter(const Meter&) = delete;
    Meter& operator=(const Meter&) = delete;

    // The meter of a running transformation.
    [[nodiscard]] static Meter& of(const xsltTransformContext& context) noexcept;
    void written(std::size_t bytes) noexcept;
    [[nodiscard]] const Steps& steps() const noexcept { return steps_; }

private:
    static xmlXPathObject* lookUp(void* meter, const xmlChar* name, const xmlChar* uri) noexcept;
    [[nodiscard]] bool admits(const xmlXPathObject& value) noexcept;

    xsltTransformContext& context_;
    WorkLimits limits_;
    const Steps& steps_;
    std::size_t writtenInBytes_ = 0;
};

}  // namespace engine::xslt
