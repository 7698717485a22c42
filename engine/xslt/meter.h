// Counts the work of a running transformation, and stops one that would not end. libxslt counts instructions
// and the steps of expressions by itself, whatever the size of what they copy; here the copies are charged to
// the same accounts, and no variable's value may outgrow its limit. So time and memory are bounded together.
// Threads: as the context.
#pragma once

#include <libxslt/xsltInternals.h>

#include "engine/xslt/limits.h"

namespace engine::xslt {

class Meter final {
public:
    // Once for each compiled style sheet: its value-of and copy-of, and those of its imports, are charged
    // for.
    static void equip(xsltStylesheet& style) noexcept;

    // Borrows the context, which must not be used after this object is gone.
    Meter(xsltTransformContext& context, const WorkLimits& limits) noexcept;
    Meter(const Meter&) = delete;
    Meter& operator=(const Meter&) = delete;

private:
    static xmlXPathObject* lookUp(void* meter, const xmlChar* name, const xmlChar* uri) noexcept;
    [[nodiscard]] bool admits(const xmlXPathObject& value) noexcept;

    xsltTransformContext& context_;
    std::size_t stringInBytes_;
};

}  // namespace engine::xslt
