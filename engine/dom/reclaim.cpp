// Taking back what edits left behind.
//
// Nodes cut out of the document live while there is a COM object for a node of their subtree. When
// as many nodes were made as there were, and some were cut out or never put in, the document and those
// subtrees are marked, and the unmarked rest goes to the free list. Replaced texts and moved attribute runs
// are only counted; when half of the stores may be waste, the live ones are copied together. The source stays
// as it is: positions refer to it. Both cost time linear in the tree (texts: a sort on top) and come seldom
// enough to be constant on average for each edit.
#include <algorithm>
#include <cstring>
#include <new>
#include <vector>

#include "engine/com/status.h"
#include "engine/dom/tree.h"

namespace engine::dom {

namespace {
constexpr std::uint32_t kNodesNotWorthIt = 1024;
constexpr std::uint64_t kTimesWithoutLoose = 8;  // for what an operation that failed half-way left behind
constexpr std::uint64_t kBytesNotWorthIt = std::uint64_t{64} << 10;
}  // namespace

bool Tree::wantsReclaim() const noexcept {
    const std::uint64_t stored = text_.size() + std::uint64_t{attributes_.size()} * sizeof(Attribute);
    const std::uint64_t times = mayHoldLoose_ ? 1 : kTimesWithoutLoose;
    return madeSinceReclaim_ > times * (kNodesNotWorthIt + std::uint64_t{nodesAtReclaim_}) ||
           wastedBytes_ > kBytesNotWorthIt + stored / 2;
}

void Tree::markSubtree(NodeId root) noexcept {
    for (NodeId at = root; at != kNoNode; at = nextInSubtree(at, root)) nodes_[at].kindAndName |= kMark;
}

void Tree::reclaim(std::span<const NodeId> roots) noexcept {
    markSubtree(kDocumentNode);
    mayHoldLoose_ = false;
    for (const NodeId held : roots) {
        if ((nodes_[held].kindAndName & kMark) != 0) continue;  // so that a shared way up is gone only once
        NodeId root = held;
        while (nodes_[root].parent != kNoNode) root = nodes_[root].parent;
        markSubtree(root);
        // The object of a subtree's own root says when it goes; one below it does not.
        if (root != held) mayHoldLoose_ = true;
    }
    for (NodeId node = kDocumentNode; node < nodes_.size(); ++node) {
        std::uint32_t& kindAndName = nodes_[node].kindAndName;
        if ((kindAndName & kMark) != 0) {
            kindAndName &= ~kMark;
        } else if (kind(node) != NodeKind::Free) {
            release(node);
        }
    }
    madeSinceReclaim_ = 0;
    nodesAtReclaim_ = nodeCount();
    const std::uint64_t stored = text_.size() + std::uint64_t{attributes_.size()} * sizeof(Attribute);
    if (wastedBytes_ <= kBytesNotWorthIt + stored / 2) return;
    try {
        compact();
    } catch (const std::bad_alloc&) {  // everything is still where it was
    } catch (const com::Exception&) {
    }
    wastedBytes_ = 0;
}

namespace {

// Maps the live spans of the old store to a new one. Spans that overlap are kept together, so that shared
// text stays shared.
class SpanMap final {
public:
    // The store's first byte has the offset `start`; spans before it are none of ours and stay where they
    // are.
    explicit SpanMap(std::uint32_t start) noexcept : start_(start) {}

    void add(std::uint32_t offset, std::uint32_t length) {
        if (length != 0 && offset >= start_) pieces_.push_back({offset, offset + length, 0});
    }
    void moveTo(Table<char>& target, const Table<char>& source) {
        std::sort(pieces_.begin(), pieces_.end(),
                  [](const Piece& a, const Piece& b) { return a.begin < b.begin; });
        std::size_t kept = 0;
        for (const Piece& piece : pieces_) {
            if (kept != 0 && piece.begin < pieces_[kept - 1].end) {
                pieces_[kept - 1].end = std::max(pieces_[kept - 1].end, piece.end);
            } else {
                pieces_[kept++] = piece;
            }
        }
        pieces_.resize(kept);
        for (Piece& piece : pieces_) {
            const std::uint32_t length = piece.end - piece.begin;
            piece.moved = start_ + target.size() + std::uint32_t{sizeof length};
            char* const to = target.extend(length + std::uint32_t{sizeof length});
            std::memcpy(to, &length, sizeof length);  // its room
            std::memcpy(to + sizeof length, source.data() + (piece.begin - start_), length);
        }
    }
    [[nodiscard]] std::uint32_t moved(std::uint32_t offset, std::uint32_t length) const noexcept {
        if (length == 0) return 0;
        if (offset < start_) return offset;
        const auto after =
            std::upper_bound(pieces_.begin(), pieces_.end(), offset,
                             [](std::uint32_t at, const Piece& piece) { return at < piece.begin; });
        const Piece& piece = *(after - 1);
        return piece.moved + (offset - piece.begin);
    }

private:
    struct Piece {
        std::uint32_t begin;
        std::uint32_t end;
        std::uint32_t moved;
    };
    std::uint32_t start_;
    std::vector<Piece> pieces_;
};

}  // namespace

// Builds both stores beside the old ones; from the first change to a node on, nothing can fail.
void Tree::compact() {
    SpanMap spans(sourceSize());
    std::uint32_t attributeTotal = 0;
    for (NodeId node = kDocumentNode; node < nodes_.size(); ++node) {
        const Node& record = nodes_[node];
        if (kind(node) != NodeKind::Element) {
            spans.add(record.first, record.count);
            continue;
        }
        attributeTotal += record.count;
        for (std::uint32_t i = 0; i < record.count; ++i) {
            spans.add(attributes_[record.first + i].offset, attributes_[record.first + i].length);
        }
    }
    Table<char> text(text_.max());
    spans.moveTo(text, text_);
    Table<Attribute> attributes;
    attributes.reserve(attributeTotal);
    for (NodeId node = kDocumentNode; node < nodes_.size(); ++node) {
        Node& record = nodes_[node];
        if (kind(node) != NodeKind::Element) {
            record.first = spans.moved(record.first, record.count);
            continue;
        }
        const std::uint32_t first = attributes.size();
        for (std::uint32_t i = 0; i < record.count; ++i) {
            Attribute moved = attributes_[record.first + i];
            moved.offset = spans.moved(moved.offset, moved.length);
            attributes.append(moved);
        }
        record.first = first;
    }
    text_ = std::move(text);
    roomsFrom_ = sourceSize();
    attributes_ = std::move(attributes);
}

}  // namespace engine::dom
