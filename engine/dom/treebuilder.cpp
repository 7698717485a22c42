#include "engine/dom/treebuilder.h"

#include <cassert>
#include <cstring>

namespace engine::dom {

namespace {

bool isWhite(char c) noexcept {
    return c == ' ' || c == '\n' || c == '\t' || c == '\r';
}

bool isAllWhite(std::string_view text) noexcept {
    for (const char c : text) {
        if (!isWhite(c)) return false;
    }
    return true;
}

}  // namespace

void TreeBuilder::startDocument(const reader::Locator& locator) {
    assert(tree_.firstChild(kDocumentNode) == kNoNode);
    locator_ = &locator;
    const bool keepAll = whiteSpace_ == WhiteSpace::KeepAll;
    open_.push_back({kDocumentNode, kNoNode, 0, false, keepAll, keepAll});
}

void TreeBuilder::endDocument() {
    closeText();
    tree_.trim();
    tree_.madeSinceReclaim_ = 0;
    tree_.nodesAtReclaim_ = tree_.nodeCount();
    locator_ = nullptr;
}

void TreeBuilder::addChild(NodeId node) {
    Open& parent = open_.back();
    tree_.insertAfter(parent.node, parent.lastChild, node);
    parent.lastChild = node;
}

void TreeBuilder::startElement(std::string_view name, std::span<const reader::Attribute> attributes) {
    closeText();
    position_ = locator_->position();
    const NodeId element = tree_.createElement(name);
    addChild(element);
    tree_.placed_.append({element, position_});
    Open& parent = open_.back();
    parent.hasElements = true;
    bool preserves = parent.preserves;
    if (!attributes.empty()) {
        addAttributes(element, attributes);
        for (const reader::Attribute& attribute : attributes) {
            if (whiteSpace_ == WhiteSpace::KeepAll || attribute.name != "xml:space") continue;
            if (attribute.value == "preserve") preserves = true;
            if (attribute.value == "default") preserves = false;
        }
    }
    open_.push_back({element, kNoNode, waiting_.size(), false, preserves, preserves});
}

void TreeBuilder::addAttributes(NodeId element, std::span<const reader::Attribute> attributes) {
    if (attributes.size() > tree_.attributes_.most()) detail::tableIsFull();
    const auto count = static_cast<std::uint32_t>(attributes.size());
    const std::uint32_t first = tree_.attributes_.size();
    tree_.attributes_.extend(count);
    for (std::uint32_t i = 0; i < count; ++i) {
        const NameId name = tree_.names_.intern(attributes[i].name);
        const Tree::Span value = tree_.store(attributes[i].value);
        tree_.attributes_[first + i] = {name, value.offset, value.length};
    }
    tree_.nodes_[element].first = first;
    tree_.nodes_[element].count = count;
}

void TreeBuilder::endElement(std::string_view) {
    closeText();
    const Open& closed = open_.back();
    if (!closed.hasElements) keepWaiting();
    waiting_.resize(closed.waiting);
    open_.pop_back();
}

// The open element's waiting texts were no layout after all.
void TreeBuilder::keepWaiting() {
    Open& parent = open_.back();
    for (std::size_t i = parent.waiting; i < waiting_.size(); ++i) {
        const Waiting& text = waiting_[i];
        const NodeId node = tree_.allocate(NodeKind::Text, 0, text.span.offset, text.span.length);
        tree_.insertAfter(parent.node, text.previous, node);
        if (text.previous == parent.lastChild) parent.lastChild = node;
    }
    waiting_.resize(parent.waiting);
    parent.keepsWhiteSpace = true;
}

void TreeBuilder::characters(std::string_view text) {
    if (text.empty()) return;
    if (text.size() > tree_.text_.most()) detail::tableIsFull();
    const auto length = static_cast<std::uint32_t>(text.size());
    if (text_.length == 0) text_.offset = tree_.text_.size();
    std::memcpy(tree_.text_.extend(length), text.data(), length);
    text_.length += length;
    textIsWhite_ = textIsWhite_ && isAllWhite(text);
}

// Makes a node of the text collected, or lets it wait.
void TreeBuilder::closeText() {
    if (text_.length == 0) return;
    Tree::Span span = text_;
    const bool white = textIsWhite_;
    text_ = {0, 0};
    textIsWhite_ = true;
    if (open_.size() < 2) {  // between the document's own children there is only layout
        tree_.text_.truncate(span.offset);
        return;
    }
    if (white) {
        span = shareWhiteSpace(span);
        if (!open_.back().keepsWhiteSpace) {
            waiting_.push_back({open_.back().lastChild, span});
            return;
        }
    } else if (!open_.back().keepsWhiteSpace) {
        keepWaiting();
    }
    addChild(tree_.allocate(NodeKind::Text, 0, span.offset, span.length));
}

// Indentation repeats itself: the same few runs of blanks stand in the store once.
Tree::Span TreeBuilder::shareWhiteSpace(Tree::Span span) {
    const std::string_view text = tree_.textAt(span.offset, span.length);
    std::size_t hash = text.size();
    for (const char c : {text.front(), text.back()}) hash = hash * 31 + static_cast<unsigned char>(c);
    Tree::Span& seen = whiteSpaceSeen_[hash % whiteSpaceSeen_.size()];
    if (seen.length == span.length && tree_.textAt(seen.offset, seen.length) == text) {
        tree_.text_.truncate(span.offset);
    } else {
        seen = span;
    }
    return seen;
}

void TreeBuilder::startCData() {
    closeText();
}

// A section is markup and always kept; what is in it decides, like any other text, whether blanks around are
// layout.
void TreeBuilder::endCData() {
    const Tree::Span span = text_;
    if (!textIsWhite_ && !open_.back().keepsWhiteSpace) keepWaiting();
    text_ = {0, 0};
    textIsWhite_ = true;
    addChild(tree_.allocate(NodeKind::CData, 0, span.offset, span.length));
}

void TreeBuilder::comment(std::string_view text) {
    closeText();
    addChild(tree_.createText(NodeKind::Comment, text));
}

void TreeBuilder::processingInstruction(std::string_view target, std::string_view data) {
    closeText();
    addChild(tree_.createProcessingInstruction(target, data));
}

}  // namespace engine::dom
