// Copies our tree into a document of libxml2's. Names are interned once, nodes linked by hand, and namespaces
// found on a stack of the declarations in force, so the copy costs a fraction of what is done with it.
// Every copied node carries its node id; see nodeOf. Threads: as the tree.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "engine/dom/tree.h"
#include "engine/xml2/handles.h"

namespace engine::xml2 {

struct HandOver {
    std::string uri;             // of the copy, what relative references in it are seen from
    xmlDict* dict = nullptr;     // where names go, borrowed; null: a dictionary of the copy's own
    std::size_t depthLimit = 0;  // of elements, 0: none
    // With lines, for documents whose errors libxml2 itself places. Without, short texts are kept inside
    // their nodes, which only code that reads the copy can stand.
    bool lines = false;
};

struct HandedOver {
    DocHandle doc;
    std::size_t depth = 0;  // of its elements
};

// The subtree of `root`, which is the document or an element; an element brings along the namespaces in
// scope. Character data next to each other becomes one text. Throws com::Failure with a description: for an
// undeclared prefix, a tree deeper than the limit, a single text of 2 GB or more.
[[nodiscard]] HandedOver handOver(const dom::Tree& tree, dom::NodeId root, const HandOver& options);

// The node that a node of a hand-over was copied from, or kNoNode. An attribute answers its element.
[[nodiscard]] dom::NodeId nodeOf(const xmlNode* node) noexcept;

}  // namespace engine::xml2
