// The tree of one document, plain and compact: nodes are records of 32 bytes in one table, linked by their
// indices; attributes are records in another, one run an element. Texts are spans of the document's own
// source, which the tree keeps as it was read, or of a store for what came later or does not stand in the
// source as it must be. Text is UTF-8, in which a lone surrogate is kept as three bytes (see
// engine/text/utf.h).
//
// Ids stay valid until their node is reclaimed. Views of text live until the next operation that is not
// const. No operation recurses. What throws, throws std::bad_alloc, or com::Exception when a table is full,
// and then nothing has changed that a reader of the tree could see. Threads: const operations may run
// together; a change needs the tree to itself.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "engine/dom/starttags.h"
#include "engine/reader/events.h"
#include "engine/source/position.h"
#include "engine/source/sourcetext.h"
#include "engine/tables/names.h"
#include "engine/tables/table.h"

namespace engine::dom {

using tables::FailingAllocation;
using tables::NameId;
using tables::Names;
using tables::Table;

using NodeId = std::uint32_t;
inline constexpr NodeId kNoNode = 0;
inline constexpr NodeId kDocumentNode = 1;

// The numbers are those of the COM node types.
enum class NodeKind : std::uint8_t {
    Free = 0,
    Element = 1,
    Text = 3,
    CData = 4,
    ProcessingInstruction = 7,
    Comment = 8,
    Document = 9,
    DocumentType = 10,  // its content is the whole declaration, as it was written
};

struct AttributeView {
    std::string_view name;  // as written
    std::uint32_t prefixLength;
    std::string_view value;
};

class Tree final {
public:
    // An empty document. The limit is for tests; see Table.
    explicit Tree(std::uint32_t maxTextInBytes = Table<char>::kMax);

    // Reading. All of it in constant time but where stated.
    [[nodiscard]] NodeKind kind(NodeId node) const noexcept {
        return static_cast<NodeKind>(nodes_[node].kindAndName & kKindMask);
    }
    [[nodiscard]] NodeId parent(NodeId node) const noexcept { return nodes_[node].parent; }
    [[nodiscard]] NodeId firstChild(NodeId node) const noexcept { return nodes_[node].firstChild; }
    [[nodiscard]] NodeId lastChild(NodeId node) const noexcept {
        const NodeId first = nodes_[node].firstChild;
        return first == kNoNode ? kNoNode : nodes_[first].previous;
    }
    [[nodiscard]] NodeId nextSibling(NodeId node) const noexcept { return nodes_[node].next; }
    [[nodiscard]] NodeId previousSibling(NodeId node) const noexcept;
    // The node after `node` in document order within the subtree of `root`; kNoNode at its end. Constant on
    // average.
    [[nodiscard]] NodeId nextInSubtree(NodeId node, NodeId root) const noexcept;
    [[nodiscard]] NodeId documentElement() const noexcept;  // linear in the nodes around it
    [[nodiscard]] bool isAncestorOrSelf(NodeId ancestor, NodeId node) const noexcept;  // linear in the depth

    // Of an element, or the target of a processing instruction.
    [[nodiscard]] NameId nameId(NodeId node) const noexcept { return nodes_[node].kindAndName >> kNameShift; }
    [[nodiscard]] std::string_view name(NodeId node) const noexcept { return names_.text(nameId(node)); }
    [[nodiscard]] const Names& names() const noexcept { return names_; }
    // Of a text, CDATA section, comment or processing instruction.
    [[nodiscard]] std::string_view content(NodeId node) const noexcept {
        return textAt(nodes_[node].first, nodes_[node].count);
    }
    // Attributes of an element, in document order, namespace declarations among them.
    [[nodiscard]] std::uint32_t attributeCount(NodeId node) const noexcept {
        return kind(node) == NodeKind::Element ? nodes_[node].count : 0;
    }
    [[nodiscard]] AttributeView attribute(NodeId element, std::uint32_t index) const noexcept;
    [[nodiscard]] NameId attributeNameId(NodeId element, std::uint32_t index) const noexcept {
        return attributes_[nodes_[element].first + index].name;
    }
    [[nodiscard]] std::string_view attributeValue(NodeId element, std::uint32_t index) const noexcept {
        const Attribute& record = attributes_[nodes_[element].first + index];
        return textAt(record.offset, record.length);
    }
    // Linear in the number of the element's attributes.
    [[nodiscard]] std::optional<std::uint32_t> findAttribute(NodeId element, NameId name) const noexcept;
    [[nodiscard]] std::optional<std::uint32_t> findAttribute(NodeId element,
                                                             std::string_view name) const noexcept;
    // Where an element's start tag stands in the source, in bytes; kNoOffset for what was not loaded. Linear
    // in the source of a few elements before it.
    static constexpr std::uint32_t kNoOffset = StartTags::kNoOffset;
    [[nodiscard]] std::uint32_t sourceOffset(NodeId element) const noexcept {
        return startTags_.offsetOf(element, source_.text);
    }
    // The same as line and column, 0 and 0 for what was not loaded. Linear in the source before it: for
    // many positions use an index.
    [[nodiscard]] source::Position position(NodeId element) const noexcept;
    // Line and column of a loaded element, from a source::PositionIndex over the tree's source.
    [[nodiscard]] std::string_view source() const noexcept { return source_.text; }
    [[nodiscard]] source::Position position(NodeId element, source::PositionIndex& index) const {
        const std::uint32_t offset = sourceOffset(element);
        return offset == kNoOffset ? source::Position{} : index.at(offset);
    }

    // Calls `use` with each piece of the text in the subtree of `node`, in document order. Linear.
    template <typename Use>
    void forEachText(NodeId node, Use&& use) const {
        for (NodeId at = node; at != kNoNode; at = nextInSubtree(at, node)) {
            if (kind(at) == NodeKind::Text || kind(at) == NodeKind::CData) use(content(at));
        }
    }

    // Takes the text that the document is about to be read from; the tree must be empty. Throws
    // com::Exception if it is longer than the tree's limit.
    void adoptSource(source::SourceText source);
    // Back to an empty document; no id may be in use but the document's. For a tree that could not be filled.
    void reset() noexcept;
    [[nodiscard]] std::uint32_t maxTextInBytes() const noexcept { return maxText_; }

    // The id of a name, a new one if needed. Names are taken as they are.
    [[nodiscard]] NameId intern(std::string_view name) { return names_.intern(name); }
    // Making nodes, which belong nowhere at first.
    [[nodiscard]] NodeId createElement(NameId name) { return allocate(NodeKind::Element, name, 0, 0); }
    [[nodiscard]] NodeId createElement(std::string_view name) { return createElement(intern(name)); }
    [[nodiscard]] NodeId createText(NodeKind kind, std::string_view text);  // also CData and Comment
    [[nodiscard]] NodeId createText(NodeKind kind, std::u16string_view text);
    [[nodiscard]] NodeId createProcessingInstruction(NameId target, std::string_view data);
    // A copy of the node, with all below it if `deep`. Attributes always come along; texts are shared, not
    // copied.
    [[nodiscard]] NodeId clone(NodeId node, bool deep);
    // A copy of a whole subtree of another tree.
    [[nodiscard]] NodeId copyFrom(const Tree& source, NodeId node);

    // Changing.
    void setContent(NodeId node, std::string_view text);  // `text` may lie in this tree
    // Creates or overwrites. Constant on average but for the search.
    void setAttribute(NodeId element, NameId name, std::string_view value);
    void setAttribute(NodeId element, NameId name, std::u16string_view value);
    void setAttribute(NodeId element, std::string_view name, std::string_view value) {
        setAttribute(element, intern(name), value);
    }
    void setAttributeValue(NodeId element, std::uint32_t index, std::string_view value);
    // Those after it move up by one. Linear in their number.
    void removeAttribute(NodeId element, std::uint32_t index) noexcept;
    // Linking: `child` must be linked nowhere. The caller sees to it that no node comes below itself.
    void append(NodeId parent, NodeId child) noexcept;
    void insertAfter(NodeId parent, NodeId previous, NodeId child) noexcept;  // kNoNode: as the first
    void replace(NodeId replacement, NodeId replaced) noexcept;
    void unlink(NodeId node) noexcept;
    // Takes an unlinked subtree back at once; no id of it may be in use.
    void free(NodeId node) noexcept;

    [[nodiscard]] bool isUnused() const noexcept { return nodes_.size() == kDocumentNode + 1; }

    // Distinguishes this tree from every other of the process.
    [[nodiscard]] std::uint64_t serial() const noexcept { return serial_; }
    // Counts the changes that move a child to another index; appending one after the others does not.
    [[nodiscard]] std::uint64_t orderRevision() const noexcept { return orderRevision_; }
    // Counts all changes.
    [[nodiscard]] std::uint64_t revision() const noexcept { return orderRevision_ + otherRevision_; }

    // Nodes that are neither in the document nor in a subtree that holds one of `roots` are taken back.
    // Worth a call when `wantsReclaim`; linear then, so constant on average for each node made.
    [[nodiscard]] bool wantsReclaim() const noexcept;
    void reclaim(std::span<const NodeId> roots) noexcept;

    // What a node's owner keeps with it: its live COM object's index in a table of theirs, 0 for none.
    [[nodiscard]] std::uint32_t handle(NodeId node) const noexcept { return nodes_[node].handle; }
    void setHandle(NodeId node, std::uint32_t handle) noexcept { nodes_[node].handle = handle; }
    // The owner needs the node no longer. If it stands nowhere, it may be taken back.
    void giveUp(NodeId node) noexcept {
        if (nodes_[node].parent == kNoNode) mayHoldLoose_ = true;
    }

    // Gives back what the tables have left over. Throws nothing.
    void trim() noexcept;
    [[nodiscard]] std::size_t sizeInBytes() const noexcept;
    [[nodiscard]] std::uint32_t nodeCount() const noexcept { return nodes_.size() - 1 - freeCount_; }

private:
    friend class TreeBuilder;

    struct Node {
        NodeId parent;
        NodeId firstChild;
        NodeId next;
        NodeId previous;  // of a first child the last one
        std::uint32_t kindAndName;
        std::uint32_t first;  // of its attributes, or of its text
        std::uint32_t count;  // of its attributes, or the length of its text in bytes
        std::uint32_t handle;
    };
    static_assert(sizeof(Node) == 32);
    struct Attribute {
        NameId name;  // kSpare: room for the run before it
        std::uint32_t offset;
        std::uint32_t length;
    };
    struct Span {
        std::uint32_t offset;
        std::uint32_t length;
    };

    static constexpr std::uint32_t kKindMask = 0xF;
    static constexpr std::uint32_t kMark = 0x10;
    static constexpr std::uint32_t kNameShift = 5;
    static constexpr NameId kSpare = 0xFFFFFFFF;

    // Offsets go on from the source to the store.
    [[nodiscard]] std::uint32_t sourceSize() const noexcept {
        return static_cast<std::uint32_t>(source_.text.size());
    }
    [[nodiscard]] std::string_view textAt(std::uint32_t offset, std::uint32_t length) const noexcept {
        const std::uint32_t sourceEnd = sourceSize();
        return {offset < sourceEnd ? source_.text.data() + offset : text_.data() + (offset - sourceEnd),
                length};
    }
    [[nodiscard]] static bool isWithin(const char* at, std::string_view text) noexcept {
        return static_cast<std::uintptr_t>(at - text.data()) < text.size();
    }
    // A text made by an edit has its room in front, in bytes, so that a later one may take its place. Those
    // that were loaded have none: they are many, and seldom replaced.
    using Room = std::uint32_t;
    Span store(std::string_view text);
    Span store(std::u16string_view text);
    Span storeLoaded(std::string_view text);
    [[nodiscard]] std::optional<Span> spanWithin(
        std::string_view text) noexcept;  // if it stands here already
    // A text for that of a node or attribute: in its place, if it has the room. Throws as store does.
    [[nodiscard]] Span replaceText(Span old, std::string_view text);
    [[nodiscard]] bool hasRoom(std::uint32_t offset, std::uint32_t length) const noexcept {
        return length != 0 && offset >= roomsFrom_ && !sharesTexts_;
    }
    [[nodiscard]] Room roomAt(std::uint32_t offset) const noexcept;
    void waste(std::uint32_t offset, std::uint32_t length) noexcept {
        if (hasRoom(offset, length)) {
            wastedBytes_ += sizeof(Room) + roomAt(offset);
        } else if (offset >= sourceSize()) {  // the source stays as it is
            wastedBytes_ += length;
        }
    }
    NodeId allocate(NodeKind kind, NameId name, std::uint32_t first, std::uint32_t count);
    void release(NodeId node) noexcept;
    NodeId copyNode(const Tree& source, NodeId node);
    template <typename Copy>
    NodeId copySubtree(const Tree& source, NodeId node, Copy copy);
    void addAttribute(NodeId element, NameId name, Span value);
    void growAttributes(NodeId element);
    void markSubtree(NodeId root) noexcept;
    void compact();

    Table<Node> nodes_;
    Table<Attribute> attributes_;
    std::uint32_t maxText_;  // in source and store together
    source::SourceText source_;
    Table<char> text_;  // the store
    StartTags startTags_;
    Names names_;
    NodeId firstFree_ = kNoNode;
    std::uint32_t freeCount_ = 0;
    std::uint64_t serial_;
    std::uint64_t orderRevision_ = 0;
    std::uint64_t otherRevision_ = 0;
    std::uint32_t madeSinceReclaim_ = 0;
    std::uint32_t nodesAtReclaim_ = 0;
    bool mayHoldLoose_ = false;      // nodes that were cut out or given up, since the last reclaim
    std::uint64_t wastedBytes_ = 0;  // estimate of what compact would give back
    std::uint32_t roomsFrom_ = 0;    // the offset from which on texts of the store have their room in front
    bool sharesTexts_ = false;       // a text of the store may belong to two nodes
};

// The namespace that a prefix (empty: the default) is bound to at an element: of its innermost declaration
// there or around it; empty: nothing. Lives as views of the tree's text do. Linear in the depth.
[[nodiscard]] std::string_view namespaceOf(const Tree& tree, NodeId element, std::string_view prefix);

}  // namespace engine::dom
