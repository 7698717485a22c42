// Measures the work of a running transformation, and stops one that would not end. libxslt counts
// instructions and the steps of expressions by itself; what is written, and how long texts get, is measured
// here, so that memory is bounded as well as time. Threads: as the context.
#pragma once

#include <libxslt/xsltInternals.h>

#include <deque>

#include "engine/xslt/limits.h"

namespace engine::xslt {

class Steps;

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
