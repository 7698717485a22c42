// Compiled style sheets, and for how long they may be used.
#pragma once

#include <memory>

#include "engine/dom/services.h"
#include "engine/xslt/stylesheet.h"

namespace engine::xslt {

// Throw com::Exception for a node of a kind that cannot be one.
void checkStyleNode(const dom::NodeSource& style);
void checkSourceNode(const dom::NodeSource& source);

// A compiled style sheet that stays with its document, for as long as nothing in the document changes.
struct KeptStyle final : dom::Kept {
    explicit KeptStyle(const dom::NodeSource& style)
        : node(style.node), revision(style.tree.revision()), sheet(style) {}

    const dom::NodeId node;
    const std::uint64_t revision;
    StyleSheet sheet;
};

}  // namespace engine::xslt
