// The lists that a node hands out: its children, and its attributes with the objects that stand for them. All
// keep the node's object alive and follow it to another tree.
#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

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

// What an expression selected: the objects themselves, so that edits change nothing about it.
class SelectedList final : public com::Object<SelectedList, IXMLDOMNodeList> {
public:
    explicit SelectedList(std::vector<com::Ref<IXMLDOMNode>> nodes) noexcept : nodes_(std::move(nodes)) {}

    HRESULT get_item(LONG index, IXMLDOMNode** node) override;
    HRESULT get_length(LONG* length) override;

private:
    const std::vector<com::Ref<IXMLDOMNode>> nodes_;
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

// An attribute of an element, by its index. The element keeps the index right when attributes before this one
// go; one that is removed itself keeps the name and value that it had.
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
    HRESULT insertBefore(IXMLDOMNode* newChild, VARIANT refChild, IXMLDOMNode** inserted) override;
    HRESULT replaceChild(IXMLDOMNode* newChild, IXMLDOMNode* oldChild, IXMLDOMNode** replaced) override;
    HRESULT removeChild(IXMLDOMNode* child, IXMLDOMNode** removed) override;
    HRESULT appendChild(IXMLDOMNode* newChild, IXMLDOMNode** added) override;
    HRESULT get_ownerDocument(IXMLDOMDocument** document) override;
    HRESULT cloneNode(VARIANT_BOOL deep, IXMLDOMNode** copy) override;
    HRESULT get_text(BSTR* text) override;
    HRESULT put_text(BSTR text) override;
    HRESULT transformNode(IXMLDOMNode* styleSheet, BSTR* text) override;
    HRESULT selectNodes(BSTR expression, IXMLDOMNodeList** nodes) override;
    HRESULT selectSingleNode(BSTR expression, IXMLDOMNode** node) override;
    HRESULT get_namespaceURI(BSTR* uri) override;
    HRESULT get_prefix(BSTR* prefix) override;
    HRESULT get_baseName(BSTR* name) override;
    HRESULT transformNodeToObject(IXMLDOMNode* styleSheet, VARIANT output) override;

    // For the element, around the removal of an attribute. The first may throw std::bad_alloc and changes
    // nothing that shows.
    static void prepareRemoval(const ElementObject& element, std::uint32_t index);
    static void finishRemoval(const ElementObject& element, std::uint32_t index) noexcept;

private:
    struct Removed {
        std::string name;
        std::uint32_t prefixLength;
        std::string value;
    };

    [[nodiscard]] AttributeView view() const noexcept;

    const com::Ref<ElementObject> element_;
    AttributeObject* next_;  // in the element's list
    AttributeObject* previous_ = nullptr;
    std::unique_ptr<Removed> removed_;  // in force once isRemoved_
    std::uint32_t index_;
    bool isRemoved_ = false;
};

}  // namespace engine::dom
