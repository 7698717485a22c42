// Each open element has a record on a stack: what has been collected for it, whether it has elements, which
// texts wait.
#include "engine/dom/treebuilder.h"

#include <algorithm>
#include <cassert>
#include <cstring>

#include "engine/com/status.h"
#include "engine/reader/detail/parse.h"

namespace engine::dom {

namespace {

// How often a character that begins a node or an attribute may occur in a source. Tables grow if there are
// more, but what was reserved for nothing is a page fault for each page when it is given back and taken
// again.
std::uint32_t expectedCount(std::string_view source, char c, std::size_t bytesForEach) noexcept {
    constexpr std::size_t kSampleInBytes = std::size_t{16} << 10;
    if (source.size() < 2 * kSampleInBytes) return static_cast<std::uint32_t>(source.size() / bytesForEach);
    const char* const sample = source.data() + (source.size() - kSampleInBytes) / 2;
    const auto found = static_cast<std::size_t>(std::count(sample, sample + kSampleInBytes, c));
    constexpr std::size_t kMinBytesForEach = 8;  // whatever the sample is full of
    return static_cast<std::uint32_t>(
        std::min(found * (source.size() / kSampleInBytes), source.size() / kMinBytesForEach));
}

bool isAllWhite(std::string_view text) noexcept {
    return std::all_of(text.begin(), text.end(),
                       [](char c) { return c == ' ' || c == '\n' || c == '\t' || c == '\r'; });
}

}  // namespace

void TreeBuilder::startDocument(const reader::Locator& locator) {
    assert(tree_.firstChild(kDocumentNode) == kNoNode);
    locator_ = &locator;
    tree_.roomsFrom_ = Tree::kNoOffset;  // until the end
    const std::string_view source = tree_.source_.text;
    hasSource_ = source.data() != nullptr;
    const std::uint32_t expected = expectedCount(source, '<', 24);
    tree_.nodes_.reserve(expected + 8);
    if (hasSource_) tree_.startTags_.reserve(expected + 8);
    tree_.attributes_.reserve(expectedCount(source, '=', 32));
    const bool keepAll = whiteSpace_ == WhiteSpace::KeepAll;
    open_.reserve(16);
    waiting_.reserve(16);
    open_.push_back({kDocumentNode, kNoNode, 0, false, keepAll, keepAll});
}

void TreeBuilder::endDocument() {
    closeText();
    closeChildren(open_.front());
    tree_.trim();
    tree_.roomsFrom_ = tree_.sourceSize() + tree_.text_.size();
    tree_.madeSinceReclaim_ = 0;
    tree_.nodesAtReclaim_ = tree_.nodeCount();
    locator_ = nullptr;
}

source::Position TreeBuilder::position() const noexcept {
    for (NodeId node = tree_.nodes_.size() - 1; node > kDocumentNode; --node) {
        if (tree_.sourceOffset(node) != Tree::kNoOffset) return tree_.position(node);
    }
    return {};
}

bool TreeBuilder::preservesWhiteSpace(std::span<const reader::IdAttribute> attributes,
                                      bool inherited) const noexcept {
    if (whiteSpace_ == WhiteSpace::KeepAll) return true;
    for (const reader::IdAttribute& attribute : attributes) {
        if (tree_.names_.text(attribute.name) != "xml:space") continue;
        if (attribute.value == "preserve") inherited = true;
        if (attribute.value == "default") inherited = false;
    }
    return inherited;
}

void TreeBuilder::startElement(std::string_view name, std::span<const reader::Attribute> attributes) {
    attributes_.clear();
    std::uint8_t flags = 0;
    for (const reader::Attribute& attribute : attributes) {
        const NameId id = tree_.names_.intern(attribute.name);
        flags |= tree_.names_.flags(id);
        attributes_.push_back({id, attribute.value});
    }
    startElement({tree_.names_.intern(name), name, attributes_, flags});
}

void TreeBuilder::characters(std::string_view text) {
    if (!Tree::isWithin(text.data(), tree_.source_.text)) return appendText(text);
    const auto offset = static_cast<std::uint32_t>(text.data() - tree_.source_.text.data());
    const auto length = static_cast<std::uint32_t>(text.size());
    if (text_.length == 0) {
        text_ = {offset, length};
    } else if (text_.offset + text_.length == offset) {
        text_.length += length;
    } else {
        appendText(text);
    }
}

// The texts that wait in an element that ends: layout, if it has elements and no other text.
void TreeBuilder::endWaiting() {
    const std::uint32_t waiting = open_.back().waiting;
    if (!open_.back().hasElements) keepWaiting();
    waiting_.resize(waiting);
}

// The open element's waiting texts were no layout after all.
void TreeBuilder::keepWaiting() {
    Open& parent = open_.back();
    for (std::size_t i = parent.waiting; i < waiting_.size(); ++i) {
        const Waiting& text = waiting_[i];
        if (text.previous == parent.lastChild) {
            (void)add(NodeKind::Text, 0, text.span.offset, text.span.length);
            continue;
        }
        Table<Tree::Node>& nodes = tree_.nodes_;
        const NodeId node = nodes.size();
        const NodeId next =
            text.previous == kNoNode ? nodes[parent.node].firstChild : nodes[text.previous].next;
        nodes.append({parent.node, kNoNode, next, text.previous == kNoNode ? node : text.previous,
                      static_cast<std::uint32_t>(NodeKind::Text), text.span.offset, text.span.length, 0});
        nodes[next].previous = node;
        (text.previous == kNoNode ? nodes[parent.node].firstChild : nodes[text.previous].next) = node;
    }
    waiting_.resize(parent.waiting);
    parent.keepsWhiteSpace = true;
}

// A piece that does not follow the one before it in the source, or does not stand there at all.
void TreeBuilder::appendText(std::string_view text) {
    if (text.empty()) return;
    const std::uint32_t storeStart = tree_.sourceSize();
    if (text.size() > tree_.text_.max()) tables::detail::tableIsFull();
    if (text_.length == 0) {
        text_.offset = storeStart + tree_.text_.size();
    } else if (text_.offset < storeStart) {
        const std::string_view before = tree_.textAt(text_.offset, text_.length);
        text_.offset = storeStart + tree_.text_.size();
        std::memcpy(tree_.text_.extend(text_.length), before.data(), before.size());
    }
    const auto length = static_cast<std::uint32_t>(text.size());
    std::memcpy(tree_.text_.extend(length), text.data(), length);
    text_.length += length;
}

// Makes a node of the text collected, or lets it wait.
void TreeBuilder::flushText() {
    const Tree::Span span = text_;
    text_ = {0, 0};
    if (open_.size() < 2) return;  // between the document's own children there is only layout
    addText(span, isAllWhite(tree_.textAt(span.offset, span.length)));
}

void TreeBuilder::startCData() {
    closeText();
}

// A section is markup and always kept; what is in it decides, like any other text, whether white space around
// is layout.
void TreeBuilder::endCData() {
    const Tree::Span span = text_;
    text_ = {0, 0};
    if (!open_.back().keepsWhiteSpace && !isAllWhite(tree_.textAt(span.offset, span.length))) keepWaiting();
    (void)add(NodeKind::CData, 0, span.offset, span.length);
}

void TreeBuilder::comment(std::string_view text) {
    closeText();
    const Tree::Span span = tree_.storeLoaded(text);
    (void)add(NodeKind::Comment, 0, span.offset, span.length);
}

void TreeBuilder::processingInstruction(std::string_view target, std::string_view data) {
    closeText();
    const NameId name = tree_.names_.intern(target);
    const Tree::Span span = tree_.storeLoaded(data);
    (void)add(NodeKind::ProcessingInstruction, name, span.offset, span.length);
}

namespace {

// Where the DOCTYPE of a well-formed document stands, and how many comments and instructions stand before it,
// and after it before the root element.
struct Prolog {
    std::string_view doctype;  // empty: there is none
    std::uint32_t before = 0;
    std::uint32_t after = 0;
};

std::size_t endOfDoctype(std::string_view text) {
    bool isInSubset = false;
    for (std::size_t at = 0; at < text.size(); ++at) {
        const std::string_view rest = text.substr(at);
        if (rest.starts_with("<!--")) {
            at = text.find("-->", at + 4) + 2;
        } else if (rest.starts_with("<?")) {
            at = text.find("?>", at + 2) + 1;
        } else if (text[at] == '"' || text[at] == '\'') {
            at = text.find(text[at], at + 1);
        } else if (text[at] == '[') {
            isInSubset = true;
        } else if (text[at] == ']') {
            isInSubset = false;
        } else if (text[at] == '>' && !isInSubset) {
            return at + 1;
        }
    }
    return text.size();
}

Prolog prologOf(std::string_view text) {
    Prolog prolog;
    std::size_t at = text.starts_with("<?xml") && !text.starts_with("<?xml-") ? text.find("?>") + 2 : 0;
    while ((at = text.find('<', at)) < text.size()) {
        const std::string_view rest = text.substr(at);
        if (rest.starts_with("<!DOCTYPE")) {
            prolog.doctype = rest.substr(0, endOfDoctype(rest));
            at += prolog.doctype.size();
            continue;
        }
        const bool isComment = rest.starts_with("<!--");
        if (!isComment && !rest.starts_with("<?")) break;
        ++(prolog.doctype.empty() ? prolog.before : prolog.after);
        at = text.find(isComment ? "-->" : "?>", at + 2) + 2;
    }
    return prolog;
}

// The reader reports the instructions in a DOCTYPE like those beside it; they are part of its node instead.
void addDoctype(Tree& tree) {
    const Prolog prolog = prologOf(tree.source());
    if (prolog.doctype.empty()) return;
    NodeId before = kNoNode;
    NodeId next = tree.firstChild(kDocumentNode);
    for (std::uint32_t i = 0; i < prolog.before && next != kNoNode; ++i) {
        before = next;
        next = tree.nextSibling(next);
    }
    std::uint32_t rest = 0;
    for (NodeId at = next; at != kNoNode && tree.kind(at) != NodeKind::Element; at = tree.nextSibling(at))
        ++rest;
    for (; rest > prolog.after; --rest) {
        const NodeId inside = next;
        next = tree.nextSibling(next);
        tree.unlink(inside);
        tree.free(inside);
    }
    tree.insertAfter(kDocumentNode, before, tree.createText(NodeKind::DocumentType, prolog.doctype));
    tree.trim();
}

}  // namespace

source::ParseError load(Tree& tree, const source::Input& input, WhiteSpace whiteSpace,
                        reader::ReadOptions::Dtd dtd) {
    reader::ReadOptions options;
    options.dtd = dtd;
    options.lengthLimitInBytes = tree.maxTextInBytes();
    source::TextSource source(input, options, source::TextSource::Extent::Whole);
    TreeBuilder builder(tree, whiteSpace);
    try {
        if (const source::Fault fault = source.open()) return source.describe(fault);
        if (source.fault().code == source::ErrorCode::TooLong) tables::detail::tableIsFull();
        tree.adoptSource(source.takeText());
        source::ParseError error = reader::detail::parse(source, options, builder);
        if (!error.failed() && dtd == reader::ReadOptions::Dtd::Internal) addDoctype(tree);
        return error;
    } catch (const com::Exception& failure) {
        return {failure.status(), builder.position(), failure.description(), {}, 0};
    }
}

}  // namespace engine::dom
