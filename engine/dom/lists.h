// The lists that a node hands out: its children, and its attributes with the objects that stand for them. All
// hold a reference to the node's object, so they follow it to another tree.
#pragma once

#include "engine/com/blocks.h"
#include "engine/com/ref.h"
#include "engine/dom/livetree.h"

namespace engine::dom {

// Children by index. Remembers where it was, so that going through them in order costs constant time for
// each, even while other children are appended, here or elsewhere.
class ChildList final : public IXMLDOMNodeList, public com::Pooled {
public:
    explicit ChildList(const Anchor& parent) noexcept
        : owner_(com::Ref<IXMLDOMNode>::share(parent.object)), parent_(parent) {}
    ChildList(const ChildList&) = delete;
    ChildList& operator=(const ChildList&) = delete;

    HRESULT QueryInterface(REFIID iid, void** object) override;
    ULONG AddRef() override { return ++count_; }
    ULONG Release() override;
    HRESULT get_item(LONG index, IXMLDOMNode** node) override;
    HRESULT get_length(LONG* length) override;

private:
    ~ChildList() = default;
    [[nodiscard]] NodeId seek(std::uint32_t index) noexcept;
    void checkCursor() noexcept;

    com::Ref<IXMLDOMNode> owner_;
    const Anchor& parent_;  // of owner_
    ULONG count_ = 1;
    // The child at a known index, and the last one counted. They hold until a child of the tree changes its
    // index.
    std::uint64_t serial_ = 0;
    std::uint64_t revision_ = 0;
    NodeId cursor_ = kNoNode;
    std::uint32_t cursorIndex_ = 0;
    NodeId lastCounted_ = kNoNode;
    LONG counted_ = 0;
};

class AttributeMap final : public IXMLDOMNamedNodeMap, public com::Pooled {
public:
    explicit AttributeMap(const Anchor& element) noexcept
        : owner_(com::Ref<IXMLDOMNode>::share(element.object)), element_(element) {}
    AttributeMap(const AttributeMap&) = delete;
    AttributeMap& operator=(const AttributeMap&) = delete;

    HRESULT QueryInterface(REFIID iid, void** object) override;
    ULONG AddRef() override { return ++count_; }
    ULONG Release() override;
    HRESULT get_item(LONG index, IXMLDOMNode** node) override;
    HRESULT get_length(LONG* length) override;

private:
    ~AttributeMap() = default;

    com::Ref<IXMLDOMNode> owner_;
    const Anchor& element_;  // of owner_
    ULONG count_ = 1;
};

// An attribute of an element, by its index; attributes never change places and are never taken away.
class AttributeObject final : public IXMLDOMAttribute, public com::Pooled {
public:
    AttributeObject(const Anchor& element, std::uint32_t index) noexcept
        : owner_(com::Ref<IXMLDOMNode>::share(element.object)), element_(element), index_(index) {}
    AttributeObject(const AttributeObject&) = delete;
    AttributeObject& operator=(const AttributeObject&) = delete;

    HRESULT QueryInterface(REFIID iid, void** object) override;
    ULONG AddRef() override { return ++count_; }
    ULONG Release() override;
    HRESULT get_nodeName(BSTR* name) override;
    HRESULT get_nodeValue(VARIANT* value) override;
    HRESULT get_nodeType(DOMNodeType* type) override;
    HRESULT get_parentNode(IXMLDOMNode** parent) override;
    HRESULT get_childNodes(IXMLDOMNodeList** children) override;
    HRESULT get_firstChild(IXMLDOMNode** child) override;
    HRESULT get_nextSibling(IXMLDOMNode** sibling) override;
    HRESULT get_attributes(IXMLDOMNamedNodeMap** attributes) override;
    HRESULT replaceChild(IXMLDOMNode* newChild, IXMLDOMNode* oldChild, IXMLDOMNode** replaced) override;
    HRESULT appendChild(IXMLDOMNode* newChild, IXMLDOMNode** added) override;
    HRESULT get_ownerDocument(IXMLDOMDocument** document) override;
    HRESULT cloneNode(VARIANT_BOOL deep, IXMLDOMNode** copy) override;
    HRESULT get_text(BSTR* text) override;
    HRESULT put_text(BSTR text) override;
    HRESULT transformNode(IXMLDOMNode* styleSheet, BSTR* text) override;
    HRESULT transformNodeToObject(IXMLDOMNode* styleSheet, VARIANT output) override;

private:
    ~AttributeObject() = default;
    [[nodiscard]] AttributeView view() const noexcept {
        return element_.tree->tree().attribute(element_.node, index_);
    }

    com::Ref<IXMLDOMNode> owner_;
    const Anchor& element_;  // of owner_
    ULONG count_ = 1;
    std::uint32_t index_;
};

}  // namespace engine::dom
