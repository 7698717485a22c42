// Fills an empty tree with the events of a parser.
//
// Texts that stand in the tree's source as they must be are spans of it; pieces that do not follow each other
// there are put together in the tree's store.
//
// Layout white space is decided where an element ends: if it has child elements and all its text is white
// space, that text was layout and is not kept, unless xml:space="preserve" is in force. Until then such texts
// wait, and take their places among the children when the element turns out to have other text, or no child
// elements. Threads: as the tree.
#pragma once

#include <array>
#include <cstddef>
#include <memory_resource>
#include <string_view>
#include <vector>

#include "engine/dom/tree.h"
#include "engine/reader/reader.h"

namespace engine::dom {

enum class WhiteSpace : std::uint8_t { DropLayout, KeepAll };

class TreeBuilder final : public reader::EventSink {
public:
    // Borrows the tree, which must be empty. Events let out what the tree's operations throw; the tree is
    // then good for nothing but being destroyed.
    TreeBuilder(Tree& tree, WhiteSpace whiteSpace) noexcept : tree_(tree), whiteSpace_(whiteSpace) {}

    void startDocument(const reader::Locator& locator) override;
    void endDocument() override;
    [[nodiscard]] Names* names() override { return &tree_.names_; }
    void startElement(std::string_view name, std::span<const reader::Attribute> attributes) override;
    // The same with ids among names().
    void startElement(const reader::StartTag& tag) {
        const NodeId element = addElement(tag);
        bool preserves = open_.back().preserves;
        if ((tag.flags & Names::kPrefixed) != 0) preserves = preservesWhiteSpace(tag.attributes, preserves);
        // Part by part: a record made elsewhere would be loaded as a whole right after its parts are stored,
        // for which a processor waits.
        Open& open = open_.emplace_back();
        open.node = element;
        open.waiting = static_cast<std::uint32_t>(waiting_.size());
        open.keepsWhiteSpace = preserves;
        open.preserves = preserves;
    }
    // Start and end at once.
    void emptyElement(const reader::StartTag& tag) { (void)addElement(tag); }
    [[gnu::always_inline]] void endElement(std::string_view) override {
        closeText();
        const Open& closed = open_.back();
        if (waiting_.size() != closed.waiting) endWaiting();
        if (closed.lastChild != kNoNode) closeChildren(closed);
        open_.pop_back();
    }
    // A text up to the markup after it, or the last piece of one.
    void text(std::string_view text, bool isWhite) {
        if (text_.length != 0 || !Tree::isWithin(text.data(), tree_.source_.text)) {
            characters(text);
            return flushText();
        }
        addText(spanOf(text), isWhite);
    }
    void characters(std::string_view text) override;
    void startCData() override;
    void endCData() override;
    void comment(std::string_view text) override;
    void processingInstruction(std::string_view target, std::string_view data) override;

    // Where the newest element stands: as near as can be said when the tree itself gives up.
    [[nodiscard]] source::Position position() const noexcept;

private:
    struct Open {
        NodeId node = kNoNode;
        NodeId lastChild = kNoNode;
        std::uint32_t waiting = 0;  // where its waiting texts start
        bool hasElements = false;
        bool keepsWhiteSpace = false;  // xml:space, the tree's mode, or other text seen before
        bool preserves = false;        // the same without the other text: what its children inherit
    };
    struct alignas(16) Waiting {
        NodeId previous;  // the sibling it follows, kNoNode for the first
        Tree::Span span;
    };

    // A new node, the last child of the element that is open. Its previous sibling's link is complete when
    // the element ends; see closeChildren.
    NodeId add(NodeKind kind, NameId name, std::uint32_t first, std::uint32_t count) {
        Open& parent = open_.back();
        const NodeId node = tree_.nodes_.size();
        const NodeId before = parent.lastChild;
        *tree_.nodes_.extend(1) = {parent.node,
                                   kNoNode,
                                   kNoNode,
                                   before == kNoNode ? node : before,
                                   static_cast<std::uint32_t>(kind) | (name << Tree::kNameShift),
                                   first,
                                   count,
                                   0};
        (before == kNoNode ? tree_.nodes_[parent.node].firstChild : tree_.nodes_[before].next) = node;
        parent.lastChild = node;
        return node;
    }
    void closeChildren(const Open& open) noexcept {
        tree_.nodes_[tree_.nodes_[open.node].firstChild].previous = open.lastChild;
    }
    NodeId addElement(const reader::StartTag& tag) {
        closeText();
        open_.back().hasElements = true;
        const std::uint32_t first = tag.attributes.empty() ? 0 : addAttributes(tag.attributes);
        const NodeId element =
            add(NodeKind::Element, tag.id, first, static_cast<std::uint32_t>(tag.attributes.size()));
        if (hasSource_) setOffset(element, tag.name);
        return element;
    }
    [[nodiscard, gnu::always_inline]] std::uint32_t addAttributes(
        std::span<const reader::IdAttribute> attributes) {
        if (attributes.size() > tree_.attributes_.max()) tables::detail::tableIsFull();
        const std::uint32_t first = tree_.attributes_.size();
        Tree::Attribute* to = tree_.attributes_.extend(static_cast<std::uint32_t>(attributes.size()));
        for (const reader::IdAttribute& attribute : attributes) {
            const Tree::Span value = spanOf(attribute.value);
            *to++ = {attribute.name, value.offset, value.length};
        }
        return first;
    }
    [[nodiscard]] Tree::Span spanOf(std::string_view text) {
        if (!Tree::isWithin(text.data(), tree_.source_.text)) [[unlikely]]
            return tree_.storeLoaded(text);
        return {static_cast<std::uint32_t>(text.data() - tree_.source_.text.data()),
                static_cast<std::uint32_t>(text.size())};
    }
    void setOffset(NodeId element, std::string_view name) {
        if (!Tree::isWithin(name.data(), tree_.source_.text)) [[unlikely]]
            return tree_.startTags_.addReported(element, static_cast<std::uint32_t>(locator_->offset()),
                                                tree_.source_.text);
        tree_.startTags_.add(element,
                             static_cast<std::uint32_t>(name.data() - tree_.source_.text.data()) - 1);
    }
    void addText(Tree::Span span, bool isWhite) {
        Open& parent = open_.back();
        if (!parent.keepsWhiteSpace) {
            if (isWhite) return waiting_.push_back({parent.lastChild, span});
            if (waiting_.size() == parent.waiting) {
                parent.keepsWhiteSpace = true;
            } else {
                keepWaiting();
            }
        }
        (void)add(NodeKind::Text, 0, span.offset, span.length);
    }
    void closeText() {
        if (text_.length != 0) flushText();
    }
    void flushText();
    void appendText(std::string_view text);
    void endWaiting();
    void keepWaiting();
    [[nodiscard]] bool preservesWhiteSpace(std::span<const reader::IdAttribute> attributes,
                                           bool inherited) const noexcept;

    Tree& tree_;
    WhiteSpace whiteSpace_;
    bool hasSource_ = false;  // the tree has the source
    const reader::Locator* locator_ = nullptr;
    std::array<std::byte, 1024> firstMemory_;  // enough for a small document
    std::pmr::monotonic_buffer_resource memory_{firstMemory_.data(), firstMemory_.size()};
    std::pmr::vector<Open> open_{&memory_};  // the document first
    std::pmr::vector<Waiting> waiting_{&memory_};
    std::vector<reader::IdAttribute> attributes_;  // scratch
    Tree::Span text_{0, 0};  // being collected: in the source, or at the end of the store
};

// Reads a document into an empty tree, which keeps its source. A tree that becomes too large is an error like
// any other, with the status that the tree's operations give. Throws std::bad_alloc; the tree is good for
// nothing then, nor after an error. Where a DOCTYPE is allowed, it becomes a node that holds it as it was
// written; what it declares is in the tree: entities expanded, defaults of attributes added.
[[nodiscard]] source::ParseError load(Tree& tree, const source::Input& input, WhiteSpace whiteSpace,
                                      reader::ReadOptions::Dtd dtd = reader::ReadOptions::Dtd::Prohibit);

}  // namespace engine::dom
