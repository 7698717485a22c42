// The tree's records and links.
//
// The children of a node form a list whose links to the next end at the last child, while those to the
// previous one run in a circle: the first child's previous is the last child. So both ends, and cutting a
// node out, are reached without a field for the last child.
//
// An element's attributes are a run of records. A run that has to grow moves to the end of its table and
// leaves spare records after it, as many as it has attributes, so that adding one costs constant time on
// average.
#include "engine/dom/tree.h"

#include <algorithm>
#include <atomic>
#include <cassert>
#include <cstring>

#include "engine/dom/utf8text.h"
#include "engine/text/utf.h"

namespace engine::dom {

namespace {

// How many bytes a text of an edit is given, so that it may grow a little.
constexpr std::size_t roomFor(std::size_t lengthInBytes) noexcept {
    constexpr std::size_t kRoundedTo = 8;
    return (lengthInBytes + kRoundedTo - 1) / kRoundedTo * kRoundedTo;
}
constinit std::atomic<std::uint64_t> lastSerial{0};
}  // namespace

Tree::Tree(std::uint32_t maxTextInBytes)
    : maxText_(maxTextInBytes), text_(maxTextInBytes), serial_(++lastSerial) {
    nodes_.append({});
    (void)allocate(NodeKind::Document, 0, 0, 0);
}

NodeId Tree::previousSibling(NodeId node) const noexcept {
    const NodeId previous = nodes_[node].previous;
    return previous == kNoNode || nodes_[previous].next == kNoNode ? kNoNode : previous;
}

NodeId Tree::nextInSubtree(NodeId node, NodeId root) const noexcept {
    if (nodes_[node].firstChild != kNoNode) return nodes_[node].firstChild;
    while (node != root) {
        if (nodes_[node].next != kNoNode) return nodes_[node].next;
        node = nodes_[node].parent;
    }
    return kNoNode;
}

NodeId Tree::documentElement() const noexcept {
    NodeId node = firstChild(kDocumentNode);
    while (node != kNoNode && kind(node) != NodeKind::Element) node = nextSibling(node);
    return node;
}

bool Tree::isAncestorOrSelf(NodeId ancestor, NodeId node) const noexcept {
    while (node != kNoNode && node != ancestor) node = parent(node);
    return node == ancestor;
}

AttributeView Tree::attribute(NodeId element, std::uint32_t index) const noexcept {
    const Attribute& record = attributes_[nodes_[element].first + index];
    return {names_.text(record.name), names_.prefixLength(record.name), textAt(record.offset, record.length)};
}

std::optional<std::uint32_t> Tree::findAttribute(NodeId element, NameId name) const noexcept {
    const std::uint32_t count = attributeCount(element);
    const Attribute* run = attributes_.data() + nodes_[element].first;
    for (std::uint32_t i = 0; i < count; ++i) {
        if (run[i].name == name) return i;
    }
    return std::nullopt;
}

std::optional<std::uint32_t> Tree::findAttribute(NodeId element, std::string_view name) const noexcept {
    if (attributeCount(element) == 0) return std::nullopt;
    const std::optional<NameId> id = names_.find(name);
    return id ? findAttribute(element, *id) : std::nullopt;
}

source::Position Tree::position(NodeId element) const noexcept {
    const std::uint32_t offset = sourceOffset(element);
    if (offset == kNoOffset) return {};
    source::TextMark mark;
    source::advance(mark, source_.text.data(), offset);
    return mark.position;
}

void Tree::adoptSource(source::SourceText source) {
    assert(nodes_.size() == kDocumentNode + 1);
    if (source.text.size() > maxText_) tables::detail::tableIsFull();
    source_ = std::move(source);
    text_ = Table<char>(maxText_ - sourceSize());
    ++otherRevision_;
}

void Tree::reset() noexcept {
    nodes_.truncate(kDocumentNode);
    firstFree_ = kNoNode;
    freeCount_ = 0;
    (void)allocate(NodeKind::Document, 0, 0, 0);  // in the record that it had: cannot fail
    attributes_ = Table<Attribute>();
    source_ = {};
    text_ = Table<char>(maxText_);
    startTags_ = {};
    names_.clear();
    madeSinceReclaim_ = 0;
    nodesAtReclaim_ = 0;
    mayHoldLoose_ = false;
    wastedBytes_ = 0;
    roomsFrom_ = 0;
    sharesTexts_ = false;
    ++orderRevision_;
    trim();
}

std::optional<Tree::Span> Tree::spanWithin(std::string_view text) noexcept {
    const auto length = static_cast<std::uint32_t>(text.size());
    if (text.empty()) return Span{0, 0};
    if (isWithin(text.data(), source_.text))
        return Span{static_cast<std::uint32_t>(text.data() - source_.text.data()), length};
    if (!isWithin(text.data(), {text_.data(), text_.size()})) return std::nullopt;
    sharesTexts_ = true;
    return Span{sourceSize() + static_cast<std::uint32_t>(text.data() - text_.data()), length};
}

Tree::Span Tree::store(std::string_view text) {
    if (const std::optional<Span> span = spanWithin(text)) return *span;
    const std::size_t room = roomFor(text.size());
    if (text_.max() < sizeof(Room) || room > text_.max() - sizeof(Room)) tables::detail::tableIsFull();
    const std::uint32_t offset = sourceSize() + text_.size() + std::uint32_t{sizeof(Room)};
    const auto recorded = static_cast<Room>(room);
    char* const to = text_.extend(recorded + std::uint32_t{sizeof(Room)});
    std::memcpy(to, &recorded, sizeof recorded);
    std::memcpy(to + sizeof(Room), text.data(), text.size());
    return {offset, static_cast<std::uint32_t>(text.size())};
}

// A short text is converted where it stays; there must be room for the most that it may take.
Tree::Span Tree::store(std::u16string_view text) {
    if (text.empty()) return {0, 0};
    const auto most = static_cast<std::uint32_t>(
        sizeof(Room) + roomFor(std::min(text.size(), Utf8Text::kShort) * Utf8Text::kBytesForUnit));
    if (text.size() > Utf8Text::kShort || most > text_.max() - text_.size()) {
        const Utf8Text narrow(text);
        return store(narrow.view());
    }
    text_.reserve(most);
    const std::uint32_t offset = sourceSize() + text_.size() + std::uint32_t{sizeof(Room)};
    char* const to = text_.data() + text_.size();
    const std::size_t length = text::convertToUtf8(text, to + sizeof(Room));
    const auto room = static_cast<Room>(roomFor(length));
    std::memcpy(to, &room, sizeof room);
    (void)text_.extend(room + std::uint32_t{sizeof(Room)});
    return {offset, static_cast<std::uint32_t>(length)};
}

Tree::Span Tree::storeLoaded(std::string_view text) {
    if (const std::optional<Span> span = spanWithin(text)) return *span;
    if (text.size() > text_.max()) tables::detail::tableIsFull();
    const auto length = static_cast<std::uint32_t>(text.size());
    const std::uint32_t offset = sourceSize() + text_.size();
    std::memcpy(text_.extend(length), text.data(), length);
    return {offset, length};
}

Tree::Room Tree::roomAt(std::uint32_t offset) const noexcept {
    Room room;
    std::memcpy(&room, text_.data() + (offset - sourceSize()) - sizeof room, sizeof room);
    return room;
}

Tree::Span Tree::replaceText(Span old, std::string_view text) {
    if (!text.empty() && hasRoom(old.offset, old.length) && text.size() <= roomAt(old.offset)) {
        std::memmove(text_.data() + (old.offset - sourceSize()), text.data(), text.size());
        return {old.offset, static_cast<std::uint32_t>(text.size())};
    }
    const Span span = store(text);
    waste(old.offset, old.length);
    return span;
}

NodeId Tree::allocate(NodeKind kind, NameId name, std::uint32_t first, std::uint32_t count) {
    NodeId node = firstFree_;
    if (node == kNoNode) {
        node = nodes_.size();
        nodes_.append({});
    } else {
        firstFree_ = nodes_[node].next;
        --freeCount_;
    }
    const std::uint32_t kindAndName = static_cast<std::uint32_t>(kind) | (name << kNameShift);
    nodes_[node] = {kNoNode, kNoNode, kNoNode, node, kindAndName, first, count, 0};
    ++madeSinceReclaim_;
    return node;
}

// The node's record may be used again; a position in the file is no longer its own.
void Tree::release(NodeId node) noexcept {
    Node& record = nodes_[node];
    if (kind(node) == NodeKind::Element) {
        for (std::uint32_t i = 0; i < record.count; ++i) {
            const Attribute& attribute = attributes_[record.first + i];
            waste(attribute.offset, attribute.length);
        }
        wastedBytes_ += std::uint64_t{record.count} * sizeof(Attribute);
    } else {
        waste(record.first, record.count);
    }
    startTags_.forget(node);
    record = {kNoNode, kNoNode, firstFree_, kNoNode, 0, 0, 0, 0};
    firstFree_ = node;
    ++freeCount_;
}

NodeId Tree::createText(NodeKind kind, std::string_view text) {
    const Span span = store(text);
    return allocate(kind, 0, span.offset, span.length);
}

NodeId Tree::createText(NodeKind kind, std::u16string_view text) {
    const Span span = store(text);
    return allocate(kind, 0, span.offset, span.length);
}

NodeId Tree::createProcessingInstruction(NameId target, std::string_view data) {
    const Span span = store(data);
    return allocate(NodeKind::ProcessingInstruction, target, span.offset, span.length);
}

// Copies a subtree node by node with `copy`, which makes one unlinked node. When that throws, the nodes made
// so far belong nowhere and are reclaimed like any others.
template <typename Copy>
NodeId Tree::copySubtree(const Tree& source, NodeId node, Copy copy) {
    const NodeId root = copy(node);
    NodeId at = node;
    NodeId made = root;
    while (true) {
        NodeId parent = made;
        if (source.nodes_[at].firstChild != kNoNode) {
            at = source.nodes_[at].firstChild;
        } else {
            while (at != node && source.nodes_[at].next == kNoNode) {
                at = source.nodes_[at].parent;
                made = nodes_[made].parent;
            }
            if (at == node) return root;
            at = source.nodes_[at].next;
            parent = nodes_[made].parent;
        }
        made = copy(at);
        append(parent, made);
    }
}

NodeId Tree::clone(NodeId node, bool deep) {
    sharesTexts_ = true;
    const auto copy = [this](NodeId from) {
        const Node original = nodes_[from];
        std::uint32_t first = original.first;
        if (kind(from) == NodeKind::Element && original.count != 0) {
            first = attributes_.size();
            Attribute* run = attributes_.extend(original.count);
            std::copy_n(attributes_.data() + original.first, original.count, run);
        }
        return allocate(kind(from), original.kindAndName >> kNameShift, first, original.count);
    };
    return deep ? copySubtree(*this, node, copy) : copy(node);
}

NodeId Tree::copyNode(const Tree& source, NodeId node) {
    switch (source.kind(node)) {
        case NodeKind::Element:
            break;
        case NodeKind::ProcessingInstruction:
            return createProcessingInstruction(intern(source.name(node)), source.content(node));
        default:
            return createText(source.kind(node), source.content(node));
    }
    const NameId name = names_.intern(source.name(node));
    const std::uint32_t count = source.attributeCount(node);
    const std::uint32_t first = attributes_.size();
    for (std::uint32_t i = 0; i < count; ++i) {
        const AttributeView view = source.attribute(node, i);
        const NameId attributeName = names_.intern(view.name);
        const Span span = store(view.value);
        attributes_.append({attributeName, span.offset, span.length});
    }
    return allocate(NodeKind::Element, name, first, count);
}

NodeId Tree::copyFrom(const Tree& source, NodeId node) {
    return copySubtree(source, node, [&](NodeId from) { return copyNode(source, from); });
}

void Tree::setContent(NodeId node, std::string_view text) {
    Node& record = nodes_[node];
    const Span span = replaceText({record.first, record.count}, text);
    ++otherRevision_;
    record.first = span.offset;
    record.count = span.length;
}

void Tree::setAttributeValue(NodeId element, std::uint32_t index, std::string_view value) {
    Attribute& record = attributes_[nodes_[element].first + index];
    const Span span = replaceText({record.offset, record.length}, value);
    ++otherRevision_;
    record.offset = span.offset;
    record.length = span.length;
}

void Tree::setAttribute(NodeId element, NameId name, std::string_view value) {
    if (const std::optional<std::uint32_t> index = findAttribute(element, name))
        return setAttributeValue(element, *index, value);
    addAttribute(element, name, store(value));
}

void Tree::setAttribute(NodeId element, NameId name, std::u16string_view value) {
    if (const std::optional<std::uint32_t> index = findAttribute(element, name)) {
        const Utf8Text narrow(value);
        return setAttributeValue(element, *index, narrow.view());
    }
    addAttribute(element, name, store(value));
}

void Tree::addAttribute(NodeId element, NameId name, Span value) {
    growAttributes(element);
    ++otherRevision_;
    Node& record = nodes_[element];
    attributes_[record.first + record.count++] = {name, value.offset, value.length};
}

void Tree::removeAttribute(NodeId element, std::uint32_t index) noexcept {
    Node& record = nodes_[element];
    Attribute* const run = attributes_.data() + record.first;
    ++otherRevision_;
    waste(run[index].offset, run[index].length);
    wastedBytes_ += sizeof(Attribute);
    std::copy(run + index + 1, run + record.count, run + index);
    run[--record.count] = {kSpare, 0, 0};
}

// Makes sure that the record after the element's run is free for it.
void Tree::growAttributes(NodeId element) {
    Node& record = nodes_[element];
    const std::uint32_t end = record.first + record.count;
    if (record.count != 0 && end < attributes_.size() && attributes_[end].name == kSpare) return;
    const std::uint32_t room = std::max(record.count * 2, 2u);
    const std::uint32_t first = attributes_.size();
    Attribute* run = attributes_.extend(room);
    for (std::uint32_t i = 0; i < room; ++i) run[i] = {kSpare, 0, 0};
    for (std::uint32_t i = 0; i < record.count; ++i) {
        Attribute& old = attributes_[record.first + i];
        run[i] = old;
        old = {kSpare, 0, 0};  // for the run before it, should it need room
    }
    wastedBytes_ += record.count * sizeof(Attribute);
    record.first = first;
}

void Tree::append(NodeId parent, NodeId child) noexcept {
    insertAfter(parent, lastChild(parent), child);
}

void Tree::insertAfter(NodeId parent, NodeId previous, NodeId child) noexcept {
    Node& added = nodes_[child];
    Node& above = nodes_[parent];
    const NodeId first = above.firstChild;
    const bool isLast = previous == kNoNode ? first == kNoNode : nodes_[previous].next == kNoNode;
    ++(isLast ? otherRevision_ : orderRevision_);
    added.parent = parent;
    if (previous == kNoNode) {
        added.next = first;
        added.previous = first == kNoNode ? child : nodes_[first].previous;
        if (first != kNoNode) nodes_[first].previous = child;
        above.firstChild = child;
        return;
    }
    added.next = nodes_[previous].next;
    added.previous = previous;
    nodes_[added.next == kNoNode ? first : added.next].previous = child;
    nodes_[previous].next = child;
}

void Tree::unlink(NodeId node) noexcept {
    Node& removed = nodes_[node];
    if (removed.parent == kNoNode) return;
    ++orderRevision_;
    Node& above = nodes_[removed.parent];
    const NodeId first = above.firstChild;
    const NodeId after = removed.next == kNoNode ? first : removed.next;  // whose previous this node is
    if (after != node) nodes_[after].previous = removed.previous;
    if (first == node) {
        above.firstChild = removed.next;
    } else {
        nodes_[removed.previous].next = removed.next;
    }
    removed.parent = kNoNode;
    removed.next = kNoNode;
    removed.previous = node;
    mayHoldLoose_ = true;
}

void Tree::replace(NodeId replacement, NodeId replaced) noexcept {
    const NodeId above = parent(replaced);
    insertAfter(above, replaced, replacement);
    unlink(replaced);
}

// Goes down to a leaf, takes it back, and goes on with what follows it.
void Tree::free(NodeId root) noexcept {
    assert(nodes_[root].parent == kNoNode);
    NodeId at = root;
    while (at != kNoNode) {
        if (const NodeId child = nodes_[at].firstChild; child != kNoNode) {
            at = child;
            continue;
        }
        const NodeId above = nodes_[at].parent;
        const NodeId next = nodes_[at].next;
        if (above != kNoNode) nodes_[above].firstChild = next;
        const bool last = at == root;
        release(at);
        at = last ? kNoNode : next != kNoNode ? next : above;
    }
}

void Tree::trim() noexcept {
    try {
        nodes_.trim();
        attributes_.trim();
        text_.trim();
        startTags_.trim();
        names_.trim();
    } catch (const std::bad_alloc&) {  // a table then keeps what it has, which is as good
    }
}

std::size_t Tree::sizeInBytes() const noexcept {
    return std::size_t{nodes_.capacity()} * sizeof(Node) +
           std::size_t{attributes_.capacity()} * sizeof(Attribute) + text_.capacity() +
           startTags_.sizeInBytes() + source_.text.size() + names_.sizeInBytes();
}

std::string_view namespaceOf(const Tree& tree, NodeId element, std::string_view prefix) {
    if (prefix == "xml") return "http://www.w3.org/XML/1998/namespace";
    if (prefix == "xmlns") return "http://www.w3.org/2000/xmlns/";
    std::string declaration = "xmlns";
    if (!prefix.empty()) declaration.append(":").append(prefix);
    if (!tree.names().find(declaration)) return {};
    for (NodeId at = element; at != kNoNode; at = tree.parent(at)) {
        if (const std::optional<std::uint32_t> index = tree.findAttribute(at, declaration))
            return tree.attribute(at, *index).value;
    }
    return {};
}

}  // namespace engine::dom
