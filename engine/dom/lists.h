// The lists that a node hands out: its children, and what an expression selected. They keep the nodes'
// objects alive and follow them to another tree. Threads: the document's thread.
#pragma once

#include <utility>
#include <vector>

#include "engine/com/object.h"
#include "engine/com/ref.h"
#include "engine/dom/livetree.h"

namespace engine::dom {

// Children by index. Remembers where it was, so that going through them in order costs constant time for
// each, even while other children are appended, here or elsewhere.
class ChildList final : public com::Object<ChildList, IXMLDOMNodeList> {
public:
    // `parent` is the binding of `owner`.
    ChildList(IXMLDOMNode& owner, const Binding& parent) noexcept
        : owner_(com::Ref<IXMLDOMNode>::share(&owner)), parent_(parent) {}

    HRESULT get_item(LONG index, IXMLDOMNode** node) override;
    HRESULT get_length(LONG* length) override;

private:
    [[nodiscard]] NodeId seek(std::uint32_t index) noexcept;
    void checkCursor() noexcept;

    com::Ref<IXMLDOMNode> owner_;
    const Binding& parent_;  // of owner_
    // The child at a known index, and the last one counted. They hold until a child of the tree changes its
    // index.
    std::uint64_t serial_ = 0;
    std::uint64_t revision_ = 0;
    NodeId cursor_ = kNoNode;
    std::uint32_t cursorIndex_ = 0;
    NodeId lastCounted_ = kNoNode;
    LONG counted_ = 0;
};

// What an expression selected: the objects themselves, so that edits change nothing about it.
class SelectedList final : public com::Object<SelectedList, IXMLDOMNodeList> {
public:
    explicit SelectedList(std::vector<com::Ref<IXMLDOMNode>> nodes) noexcept : nodes_(std::move(nodes)) {}

    HRESULT get_item(LONG index, IXMLDOMNode** node) override;
    HRESULT get_length(LONG* length) override;

private:
    const std::vector<com::Ref<IXMLDOMNode>> nodes_;
};

}  // namespace engine::dom
