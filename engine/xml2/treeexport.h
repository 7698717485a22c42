// Copies our tree into a document of libxml2's. Names are interned once, nodes linked by hand, and namespaces
// found on a stack of the declarations in force, so the copy costs a fraction of what is done with it.
// Every copied node carries its node id; see nodeOf. Threads: as the tree.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "engine/dom/tree.h"
#include "engine/xml2/handles.h"

namespace engine::xml2 {

struct ExportOptions {
    // What is done with the copy. One that is only read lies in a few large blocks, which saves half the work
    // of making it and nearly all of freeing it. One that is changed (nodes taken out, texts replaced) is
    // made of libxml2's own memory, node by node, and has line numbers, for libxml2 to place its errors.
    enum class Use : std::uint8_t { Read, Change };

    std::string uri;             // of the copy, what relative references in it are seen from
    xmlDict* dict = nullptr;     // where names go, borrowed; null: a dictionary of the copy's own
    std::size_t depthLimit = 0;  // of elements, 0: none
    Use use = Use::Read;
    std::size_t declarationLimit = 0;  // of namespaces on one element, 0: none
    std::size_t attributeLimit = 0;    // of one element, declarations included, 0: none
};

// How large a copy is.
struct Extent {
    std::size_t depth = 0;        // of its elements
    std::size_t nodes = 0;        // attributes counted as one each
    std::size_t textInBytes = 0;  // of texts, comments and values of attributes
};

class ExportedTree final {
public:
    ExportedTree(DocHandle doc, Extent extent, std::vector<std::unique_ptr<char[]>> blocks) noexcept
        : doc_(std::move(doc)), extent_(extent), blocks_(std::move(blocks)) {}
    ExportedTree(ExportedTree&&) noexcept = default;
    ExportedTree& operator=(ExportedTree&&) = delete;
    ~ExportedTree() {
        if (doc_ != nullptr && !blocks_.empty())
            doc_->children = doc_->last = nullptr;  // not libxml2's to free
    }

    [[nodiscard]] xmlDoc& doc() const noexcept { return *doc_; }
    [[nodiscard]] const Extent& extent() const noexcept { return extent_; }
    // Use::Change only: the copy on its own.
    [[nodiscard]] DocHandle takeDoc() noexcept { return std::move(doc_); }

private:
    DocHandle doc_;
    Extent extent_;
    std::vector<std::unique_ptr<char[]>> blocks_;
};

// The subtree of `root`, which is the document or an element; an element brings along the namespaces in
// scope. Character data next to each other becomes one text. Throws com::Exception with a description: for an
// undeclared prefix, a limit that is exceeded, a single text of 2 GB or more.
[[nodiscard]] ExportedTree exportTree(const dom::Tree& tree, dom::NodeId root, const ExportOptions& options);

// The node that a node of an exported tree was copied from, or kNoNode. For an attribute: its element.
[[nodiscard]] dom::NodeId nodeOf(const xmlNode* node) noexcept;

}  // namespace engine::xml2
