// The lists that a node hands out: its children, and its attributes with the objects that stand for them. All
// keep the node's object alive and follow it to another tree.
#pragma once

#include "engine/com/object.h"
#include "engine/com/ref.h"
#include "engine/dom/livetree.h"

namespace engine::dom {

class ElementObject;

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

// The attributes of an element, by index. A part of the element's object, with its count, but an identity of
// its own: most elements are asked for their attributes, and so nothing has to be made for that.
class AttributeMap final : public IXMLDOMNamedNodeMap {
public:
    explicit AttributeMap(ElementObject& element) noexcept : element_(element) {}
    AttributeMap(const AttributeMap&) = delete;
    AttributeMap& operator=(const AttributeMap&) = delete;

    HRESULT QueryInterface(REFIID iid, void** object) override;
    ULONG AddRef() override;
    ULONG Release() override;
    HRESULT get_item(LONG index, IXMLDOMNode** node) override;
    HRESULT get_length(LONG* length) override;

private:
    ElementObject& element_;
};

// An attribute of an element, by its index; attributes never change places and are never taken away.
class AttributeObject final : public com::Object<AttributeObject, IXMLDOMAttribute> {
public:
    AttributeObject(ElementObject& element, std::uint32_t index) noexcept;
    ~AttributeObject();

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
    [[nodiscard]] AttributeView view() const noexcept;

    const com::Ref<ElementObject> element_;
    const std::uint32_t index_;
};

}  // namespace engine::dom
