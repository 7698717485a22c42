#include "engine/dom/livetree.h"

#include <new>
#include <utility>
#include <vector>

#include "engine/dom/nodeobject.h"

namespace engine::dom {

Anchor* anchorOf(IUnknown* object) noexcept {
    void* anchor = nullptr;
    if (object == nullptr || FAILED(object->QueryInterface(kAnchorId, &anchor))) return nullptr;
    object->Release();  // the caller's own reference keeps it
    return static_cast<Anchor*>(anchor);
}

void LiveTree::retire() noexcept {
    isCurrent_ = false;
    if (objects_ == 0) delete this;
}

com::Ref<IXMLDOMNode> LiveTree::object(NodeId node) {
    if (node == kNoNode) return {};
    if (const std::uint32_t slot = tree_.handle(node); slot != 0) {
        return com::Ref<IXMLDOMNode>::share(slots_[slot].anchor->object);
    }
    switch (tree_.kind(node)) {
        case NodeKind::Document:
            return isCurrent_ ? com::Ref<IXMLDOMNode>::share(document_) : com::Ref<IXMLDOMNode>();
        case NodeKind::Element:
            return com::Ref<IXMLDOMNode>::adopt(new ElementObject(*this, node));
        case NodeKind::Text:
            return com::Ref<IXMLDOMNode>::adopt(new TextObject(*this, node));
        case NodeKind::ProcessingInstruction:
            return com::Ref<IXMLDOMNode>::adopt(new ProcessingInstructionObject(*this, node));
        default:
            return com::Ref<IXMLDOMNode>::adopt(new PlainNodeObject(*this, node));
    }
}

void LiveTree::place(Anchor& anchor) {
    std::uint32_t slot = firstFree_;
    if (slot == 0) {
        if (slots_.size() == 0) slots_.append({});
        slot = slots_.size();
        slots_.append({});
    } else {
        firstFree_ = slots_[slot].nextFree;
    }
    slots_[slot] = {&anchor, 0};
    tree_.setHandle(anchor.node, slot);
    anchor.tree = this;
}

void LiveTree::clear(std::uint32_t slot) noexcept {
    slots_[slot] = {nullptr, firstFree_};
    firstFree_ = slot;
}

void LiveTree::bind(Anchor& anchor) {
    place(anchor);
    addObjects(1);
}

void LiveTree::unbind(const Anchor& anchor) noexcept {
    clear(tree_.handle(anchor.node));
    tree_.setHandle(anchor.node, 0);
    dropObjects(1);
}

void LiveTree::addObjects(std::uint32_t count) noexcept {
    if (objects_ == 0) document_->AddRef();
    objects_ += count;
}

void LiveTree::dropObjects(std::uint32_t count) noexcept {
    objects_ -= count;
    if (objects_ != 0) return;
    IXMLDOMDocument2* document = document_;
    if (!isCurrent_) delete this;
    document->Release();  // last, for it may destroy a current tree, this one
}

NodeId LiveTree::adopt(LiveTree& source, NodeId node) {
    std::uint32_t objects = 0;
    for (NodeId at = node; at != kNoNode; at = source.tree_.nextInSubtree(at, node)) {
        if (source.tree_.handle(at) != 0) ++objects;
    }
    slots_.reserve(objects + 1);
    const NodeId copy = tree_.copyFrom(source.tree_, node);
    NodeId made = copy;
    for (NodeId at = node; at != kNoNode; at = source.tree_.nextInSubtree(at, node)) {
        if (const std::uint32_t slot = source.tree_.handle(at); slot != 0) {
            Anchor& anchor = *source.slots_[slot].anchor;
            source.clear(slot);
            anchor.node = made;
            place(anchor);
        }
        made = tree_.nextInSubtree(made, copy);
    }
    source.tree_.unlink(node);
    source.tree_.free(node);
    if (objects != 0) {
        addObjects(objects);
        source.dropObjects(objects);  // the source may be gone from here on
    }
    return copy;
}

void LiveTree::makeRoom() {
    if (!tree_.wantsReclaim()) return;
    std::vector<NodeId> roots;
    for (std::uint32_t slot = 1; slot < slots_.size(); ++slot) {
        if (slots_[slot].anchor != nullptr) roots.push_back(slots_[slot].anchor->node);
    }
    tree_.reclaim(roots);
}

}  // namespace engine::dom
