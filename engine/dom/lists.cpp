#include "engine/dom/lists.h"

#include "engine/com/status.h"

namespace engine::dom {

using com::nullPointer;

void ChildList::checkCursor() noexcept {
    const Tree& tree = parent_.tree();
    if (serial_ == tree.serial() && revision_ == tree.orderRevision()) return;
    serial_ = tree.serial();
    revision_ = tree.orderRevision();
    cursor_ = kNoNode;
    lastCounted_ = kNoNode;
    counted_ = 0;
}

NodeId ChildList::seek(std::uint32_t index) noexcept {
    checkCursor();
    const Tree& tree = parent_.tree();
    if (index < cursorIndex_ || cursor_ == kNoNode) {
        cursor_ = tree.firstChild(parent_.node());
        cursorIndex_ = 0;
    }
    NodeId at = cursor_;
    std::uint32_t atIndex = cursorIndex_;
    for (; at != kNoNode && atIndex != index; ++atIndex) at = tree.nextSibling(at);
    if (at != kNoNode) {
        cursor_ = at;
        cursorIndex_ = atIndex;
    }
    return at;
}

HRESULT ChildList::get_item(LONG index, IXMLDOMNode** node) {
    return com::give(node, "get_item", [&] {
        const NodeId found = index < 0 ? kNoNode : seek(static_cast<std::uint32_t>(index));
        return nodeObject(parent_.liveTree(), found);
    });
}

HRESULT ChildList::get_length(LONG* length) {
    if (length == nullptr) return nullPointer("get_length");
    checkCursor();
    const Tree& tree = parent_.tree();
    NodeId at = lastCounted_ == kNoNode ? tree.firstChild(parent_.node()) : tree.nextSibling(lastCounted_);
    for (; at != kNoNode; at = tree.nextSibling(at)) {
        lastCounted_ = at;
        ++counted_;
    }
    *length = counted_;
    return S_OK;
}

HRESULT SelectedList::get_item(LONG index, IXMLDOMNode** node) {
    return com::give(node, "get_item", [&] {
        const auto wanted = static_cast<std::size_t>(index);
        return index < 0 || wanted >= nodes_.size() ? com::Ref<IXMLDOMNode>() : nodes_[wanted];
    });
}

HRESULT SelectedList::get_length(LONG* length) {
    if (length == nullptr) return nullPointer("get_length");
    *length = static_cast<LONG>(nodes_.size());
    return S_OK;
}

}  // namespace engine::dom
