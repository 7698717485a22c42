// What an engine does beyond the interfaces that all engines share. Each platform has a header of this name,
// which gives the same functions; here nothing is known beyond those interfaces.
#pragma once

#include "msxml_parser/detail/nodes.h"

namespace msxml {

struct SourcePosition {
    int line = 0;  // 0: unknown
    int column = 0;
};

// This platform's engine keeps no positions. Raises as all steps through the tree do.
[[nodiscard]] inline SourcePosition positionOf(const Element& element) {
    if (!element) raiseNullReference();
    return {};
}

}  // namespace msxml
