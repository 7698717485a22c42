// A tree together with the COM objects that stand for its nodes. An object is made when it is first asked for
// and goes with its last reference; meanwhile asking again gives the same one. While a tree has such objects
// it keeps its document alive, and itself, even when the document has loaded another tree since.
//
// Reading a tree makes and drops an object for nearly every node. So some objects stay when they are dropped,
// bound to no node, and the next node gets one of them; and the node's record, which says where its object
// is, is left as it was: it counts only while the object there is bound to that node. Threads: everything
// belongs to the document's thread.
#pragma once

#include <array>
#include <memory>
#include <string>

#include "engine/com/blocks.h"
#include "engine/com/msxml.h"
#include "engine/com/ref.h"
#include "engine/dom/recentnames.h"
#include "engine/dom/services.h"
#include "engine/dom/tree.h"

namespace engine::dom {

class LiveTree;

// Which node of which tree a node object represents; part of the object. A node that moves to another tree
// takes its object along.
class Binding {
public:
    Binding(const Binding&) = delete;
    Binding& operator=(const Binding&) = delete;

    // Of one of this engine's node objects, borrowed from it; null for null and for other objects.
    [[nodiscard]] static Binding* of(IUnknown* object) noexcept;

    [[nodiscard]] LiveTree& liveTree() const noexcept { return *tree_; }
    [[nodiscard]] Tree& tree() const noexcept;
    [[nodiscard]] NodeId node() const noexcept { return node_; }  // kNoNode while it waits for a node
    [[nodiscard]] NodeKind kind() const noexcept { return tree().kind(node_); }
    [[nodiscard]] bool isSameTree(const Binding& other) const noexcept { return tree_ == other.tree_; }

protected:
    Binding(LiveTree* tree, NodeId node) noexcept : tree_(tree), node_(node) {}
    ~Binding() = default;

    // For the document, whose tree changes. Borrowed: its owner is the document.
    void standIn(LiveTree& tree) noexcept { tree_ = &tree; }

private:
    friend class LiveTree;

    LiveTree* tree_;  // it lives as long as its objects do
    NodeId node_;
    std::uint32_t slot_ = 0;  // in the tree's table; 0: the document's object, which has none
};
inline constexpr IID kBindingId{0x5E0C9D0B, 0x51D7, 0x4C0F, {0x9B, 0x0A, 0x3D, 0x7E, 0x52, 0x6C, 0x18, 0xA4}};

class LiveTree final : public com::Pooled {
public:
    // Belongs to `document`, which outlives it or is kept alive by it, until `retire`.
    LiveTree(IXMLDOMDocument2& document, std::uint32_t maxTextInBytes)
        : document_(&document), tree_(maxTextInBytes) {}
    LiveTree(const LiveTree&) = delete;
    LiveTree& operator=(const LiveTree&) = delete;

    // The document lets go of the tree. It goes now, or with its last node object.
    void retire() noexcept;

    [[nodiscard]] Tree& tree() noexcept { return tree_; }
    [[nodiscard]] IXMLDOMDocument2& document() const noexcept { return *document_; }
    // Never had a node, nor stood for a file.
    [[nodiscard]] bool isUnused() const noexcept { return tree_.isUnused() && url_.empty(); }
    [[nodiscard]] bool isRetired() const noexcept { return !isCurrent_; }
    // Where it was loaded from: a path, or empty. UTF-8.
    [[nodiscard]] const std::string& url() const noexcept { return url_; }
    void setUrl(std::string url) noexcept { url_ = std::move(url); }
    // As a new one: after a load that failed, before any node got an object.
    void reset() noexcept;
    // Where a loaded element's start tag stands in the source; 0 and 0 for what was not loaded.
    [[nodiscard]] source::Position position(NodeId element) {
        if (positions_ == nullptr) positions_ = std::make_unique<source::PositionIndex>(tree_.source());
        return tree_.position(element, *positions_);
    }
    // The id of a qualified name as a caller writes it, a new one if needed. Throws com::Exception otherwise,
    // with words about `what`: "an element".
    [[nodiscard]] NameId nameFor(std::u16string_view name, const char* what) {
        const NameId recent = recentNames_ ? recentNames_->find(name, tree_.names()) : tables::kNoName;
        return recent != tables::kNoName ? recent : lookUpName(name, what);
    }
    // The same for a name that may not occur: kNoName then.
    [[nodiscard]] NameId findName(std::u16string_view name);
    // A node as a service takes it.
    [[nodiscard]] NodeSource source(NodeId node) noexcept {
        return {tree_, node, url_, &keptStyle_, &keptCopy_};
    }

    // The live object of a node, borrowed; null if there is none. The document's object is not among them.
    [[nodiscard]] IXMLDOMNode* find(NodeId node) const noexcept {
        const Slot* const slot = findSlot(node);
        return slot == nullptr ? nullptr : slot->object;
    }
    // A dropped object that waited for another node like this one; it is the node's now. Null if none did.
    [[nodiscard]] IXMLDOMNode* revive(NodeId node) noexcept {
        Idle* const idle = idleFor(node);
        if (idle == nullptr || idle->count == 0) return nullptr;
        const Slot& slot = slots_[idle->slots[--idle->count]];
        bind(*slot.binding, node);
        return slot.object;
    }

    // For node objects only. A new object enters and is bound to its node. A dropped one is kept, if there is
    // room for it, or else leaves. The tree and its document may be gone after the last two, and all objects
    // kept with them.
    void enter(IXMLDOMNode& object, Binding& binding, NodeId node);
    [[nodiscard]] bool keep(Binding& binding) noexcept {
        Idle* const idle = idleFor(binding.node_);
        if (idle == nullptr || idle->count == idle->slots.size()) return false;
        idle->slots[idle->count++] = binding.slot_;
        tree_.giveUp(binding.node_);
        binding.node_ = kNoNode;
        dropObjects(1);
        return true;
    }
    void leave(Binding& binding) noexcept;

    // Moves a subtree of another tree here, unlinked; its objects now stand for the copies. All or nothing.
    NodeId adopt(LiveTree& source, NodeId node);
    // Takes back nodes that cannot be reached any more, now and then. Call before an edit that makes nodes or
    // texts, while every node in hand has its object.
    void makeRoom() {
        if (tree_.wantsReclaim()) reclaim();
    }

private:
    struct Slot {
        IXMLDOMNode* object = nullptr;
        Binding* binding = nullptr;  // null: free
        std::uint32_t nextFree = 0;
    };

    // Dropped objects of one kind, bound to no node: few enough to stay in the processor's cache.
    struct Idle {
        std::array<std::uint32_t, 16> slots{};
        std::uint32_t count = 0;
    };

    ~LiveTree();
    [[nodiscard]] Idle* idleFor(NodeId node) noexcept {
        const NodeKind kind = tree_.kind(node);
        return kind == NodeKind::Element ? &idleElements_ : kind == NodeKind::Text ? &idleTexts_ : nullptr;
    }
    [[nodiscard]] const Slot* findSlot(NodeId node) const noexcept {
        const std::uint32_t handle = tree_.handle(node);
        if (handle == 0) return nullptr;
        const Slot& slot = slots_[handle];
        return slot.binding != nullptr && slot.binding->node_ == node ? &slot : nullptr;
    }
    void bind(Binding& binding, NodeId node) noexcept {
        binding.node_ = node;
        tree_.setHandle(node, binding.slot_);
        addObjects(1);
    }
    void addObjects(std::uint32_t count) noexcept {
        if (objects_ == 0) document_->AddRef();
        objects_ += count;
    }
    void dropObjects(std::uint32_t count) noexcept {
        objects_ -= count;
        if (objects_ == 0) dropDocument();
    }
    void dropDocument() noexcept;  // may destroy the tree and its document
    void growSlots();
    void vacate(std::uint32_t slot) noexcept;
    void place(const Slot& object) noexcept;  // in a free slot, which there must be
    void reclaim();
    [[nodiscard]] NameId lookUpName(std::u16string_view name, const char* what);
    void remember(std::u16string_view name, NameId id);

    IXMLDOMDocument2* document_;  // counted while there are objects
    Tree tree_;
    std::string url_;
    Table<Slot> slots_;  // the first is never used: 0 means none
    std::uint32_t firstFree_ = 0;
    std::uint32_t objects_ = 0;  // that are bound to a node
    Idle idleElements_;
    Idle idleTexts_;
    std::unique_ptr<Kept>
        keptStyle_;  // what the transformer has made of it; refers to the tree and the address
    std::unique_ptr<source::PositionIndex> positions_;  // of the source, made on first use
    std::unique_ptr<Kept> keptCopy_;                    // what expressions look at
    std::unique_ptr<RecentNames> recentNames_;          // made on first use
    bool isCurrent_ = true;
};

inline Tree& Binding::tree() const noexcept {
    return tree_->tree();
}

// The object of a node, made if there is none; empty for kNoNode, and for the document node of a tree that
// the document has replaced. (nodeobject.cpp)
[[nodiscard]] com::Ref<IXMLDOMNode> nodeObject(LiveTree& tree, NodeId node);

// The nodes that an expression selects from a node, with the prefixes of the tree's document. Throws
// Exception; the document then knows the position in the expression. (document.cpp)
[[nodiscard]] ExpressionValue selectFrom(LiveTree& tree, NodeId node, BSTR expression);

}  // namespace engine::dom
