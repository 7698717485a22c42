// Fills an empty tree with the events of a reader.
//
// Layout white space is decided where an element ends: if it has child elements and all its text is white
// space, that text was layout and is not kept, unless xml:space="preserve" is in force. Until then such texts
// wait, and take their places among the children when the element turns out to have other text, or no child
// elements. Threads: as the tree.
#pragma once

#include <array>
#include <string_view>
#include <vector>

#include "engine/dom/tree.h"

namespace engine::dom {

enum class WhiteSpace : std::uint8_t { DropLayout, KeepAll };

class TreeBuilder final : public reader::EventSink {
public:
    // Borrows the tree, which must be empty. Events let out what the tree's operations throw; the tree is
    // then good for nothing but being destroyed.
    TreeBuilder(Tree& tree, WhiteSpace whiteSpace) noexcept : tree_(tree), whiteSpace_(whiteSpace) {}

    void startDocument(const reader::Locator& locator) override;
    void endDocument() override;
    void startElement(std::string_view name, std::span<const reader::Attribute> attributes) override;
    void endElement(std::string_view name) override;
    void characters(std::string_view text) override;
    void startCData() override;
    void endCData() override;
    void comment(std::string_view text) override;
    void processingInstruction(std::string_view target, std::string_view data) override;

    // Where the newest element stood: as near as can be told when the tree itself gives up.
    [[nodiscard]] reader::Position position() const noexcept { return position_; }

private:
    struct Open {
        NodeId node;
        NodeId lastChild;
        std::size_t waiting;  // where its waiting texts start
        bool hasElements;
        bool keepsWhiteSpace;  // xml:space, the tree's mode, or other text seen before
        bool preserves;        // the same without the other text: what its children inherit
    };
    struct Waiting {
        NodeId previous;  // the sibling it follows, kNoNode for the first
        Tree::Span span;
    };

    void addChild(NodeId node);
    void closeText();
    void keepWaiting();
    void addAttributes(NodeId element, std::span<const reader::Attribute> attributes);
    Tree::Span shareWhiteSpace(Tree::Span span);

    Tree& tree_;
    WhiteSpace whiteSpace_;
    const reader::Locator* locator_ = nullptr;
    reader::Position position_;
    std::vector<Open> open_;  // the document first
    std::vector<Waiting> waiting_;
    // The text being collected, always at the end of the tree's store.
    Tree::Span text_{0, 0};
    bool textIsWhite_ = true;
    std::array<Tree::Span, 256> whiteSpaceSeen_{};
};

}  // namespace engine::dom
