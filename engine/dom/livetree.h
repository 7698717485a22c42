// A tree together with the COM objects that stand for its nodes. An object is made when somebody asks for its
// node and goes when its last reference does; meanwhile asking again gives the same one. While a tree has
// such objects it keeps its document alive, and itself, even when the document has loaded another tree since.
// Threads: everything belongs to the document's thread.
#pragma once

#include <memory>
#include <string>

#include "engine/com/blocks.h"
#include "engine/com/msxml.h"
#include "engine/com/ref.h"
#include "engine/dom/services.h"
#include "engine/dom/tree.h"

namespace engine::dom {

class LiveTree;

// What every node object holds: which node it stands for. Nodes that move to another tree take their objects
// along.
struct Anchor {
    IXMLDOMNode* object;  // the whole it is part of
    LiveTree* tree;
    NodeId node;
    ULONG count;
};

// The anchor of one of this engine's node objects, borrowed from it; null for null and for foreign objects.
[[nodiscard]] Anchor* anchorOf(IUnknown* object) noexcept;
inline constexpr IID kAnchorId{0x5E0C9D0B, 0x51D7, 0x4C0F, {0x9B, 0x0A, 0x3D, 0x7E, 0x52, 0x6C, 0x18, 0xA4}};

class LiveTree final : public com::Pooled {
public:
    // Belongs to `document`, which outlives it or is kept alive by it, until `retire`.
    LiveTree(IXMLDOMDocument2& document, std::uint32_t mostTextInBytes)
        : document_(&document), tree_(mostTextInBytes) {}
    LiveTree(const LiveTree&) = delete;
    LiveTree& operator=(const LiveTree&) = delete;

    // The document lets go of the tree. It goes now, or with its last node object.
    void retire() noexcept;

    [[nodiscard]] Tree& tree() noexcept { return tree_; }
    [[nodiscard]] const Tree& tree() const noexcept { return tree_; }
    [[nodiscard]] IXMLDOMDocument2& document() const noexcept { return *document_; }
    // Where it was loaded from: a path, or empty. UTF-8.
    [[nodiscard]] const std::string& url() const noexcept { return url_; }
    void setUrl(std::string url) noexcept { url_ = std::move(url); }

    // What the transformer has made of it as a style sheet.
    [[nodiscard]] std::unique_ptr<Kept>& keptStyle() noexcept { return keptStyle_; }

    // The object of a node; empty for kNoNode, and for the document node of a tree that the document has
    // replaced.
    [[nodiscard]] com::Ref<IXMLDOMNode> object(NodeId node);
    // For node objects only: from their construction, and to their destruction.
    void bind(Anchor& anchor);
    void unbind(const Anchor& anchor) noexcept;

    // Moves a subtree of another tree here, unlinked; its objects now stand for the copies. All or nothing.
    NodeId adopt(LiveTree& source, NodeId node);
    // Takes back nodes that nobody can reach any more, now and then. Call before an edit that makes nodes or
    // texts, while every node in hand has its object.
    void makeRoom();

private:
    struct Slot {
        Anchor* anchor;
        std::uint32_t nextFree;
    };

    ~LiveTree() = default;
    void addObjects(std::uint32_t count) noexcept;
    void dropObjects(std::uint32_t count) noexcept;  // may destroy the tree and its document
    void place(Anchor& anchor);
    void clear(std::uint32_t slot) noexcept;

    IXMLDOMDocument2* document_;  // counted while there are objects
    Tree tree_;
    std::string url_;
    Table<Slot> slots_;  // the first is never used: 0 means none
    std::uint32_t firstFree_ = 0;
    std::uint32_t objects_ = 0;
    std::unique_ptr<Kept> keptStyle_;  // refers to the tree and the address
    bool isCurrent_ = true;
};

}  // namespace engine::dom
