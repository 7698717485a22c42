// The COM objects for nodes. What all nodes can do stands once, in NodeObject, over the interface that the
// kind of node has; a class for each kind adds what is its own. They count from 1.
// Threads: the document's thread.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <type_traits>

#include "engine/com/object.h"
#include "engine/com/ref.h"
#include "engine/com/status.h"
#include "engine/dom/lists.h"
#include "engine/dom/livetree.h"
#include "engine/tables/names.h"
#include "engine/text/block.h"

namespace engine::dom {

// What the data of a processing instruction must not hold. Throws com::Exception.
void checkInstructionData(std::string_view data);

// A qualified name as callers get it. Throws std::bad_alloc.
[[nodiscard]] inline BSTR makeBstr(const tables::Names& names, NameId id) {
    const std::size_t length = names.length(id);
    return length <= text::kBlock ? com::makeBstrOfBlock(names.start(id), length)
                                  : com::makeBstr(names.text(id));
}

// Each operation keeps the rules of COM: out-parameters cleared first, no exception, error information with
// every failure.
template <typename Interface>
class NodeObject : public Interface, public Binding {
public:
    HRESULT get_nodeName(BSTR* name) final;
    HRESULT get_nodeValue(VARIANT* value) final;
    HRESULT get_nodeType(DOMNodeType* type) final;
    HRESULT get_parentNode(IXMLDOMNode** parent) final;
    HRESULT get_childNodes(IXMLDOMNodeList** children) final;
    HRESULT get_firstChild(IXMLDOMNode** child) final;
    HRESULT get_nextSibling(IXMLDOMNode** sibling) final;
    HRESULT get_attributes(IXMLDOMNamedNodeMap** attributes) override;  // of elements: theirs
    HRESULT insertBefore(IXMLDOMNode* newChild, VARIANT refChild, IXMLDOMNode** inserted) final;
    HRESULT replaceChild(IXMLDOMNode* newChild, IXMLDOMNode* oldChild, IXMLDOMNode** replaced) final;
    HRESULT removeChild(IXMLDOMNode* child, IXMLDOMNode** removed) final;
    HRESULT appendChild(IXMLDOMNode* newChild, IXMLDOMNode** added) final;
    HRESULT get_ownerDocument(IXMLDOMDocument** document) final;
    HRESULT cloneNode(VARIANT_BOOL deep, IXMLDOMNode** copy) final;
    HRESULT get_text(BSTR* text) final;
    HRESULT put_text(BSTR text) final;
    HRESULT transformNode(IXMLDOMNode* styleSheet, BSTR* text) final;
    HRESULT selectNodes(BSTR expression, IXMLDOMNodeList** nodes) final;
    HRESULT selectSingleNode(BSTR expression, IXMLDOMNode** node) final;
    HRESULT get_namespaceURI(BSTR* uri) final;
    HRESULT get_prefix(BSTR* prefix) final;
    HRESULT get_baseName(BSTR* name) final;
    HRESULT transformNodeToObject(IXMLDOMNode* styleSheet, VARIANT output) final;

protected:
    static constexpr bool kIsDocument = std::is_same_v<Interface, IXMLDOMDocument2>;

    // Only the document's object may come without a tree, until it stands in one.
    NodeObject(LiveTree* tree, NodeId node);
    ~NodeObject();

    [[nodiscard]] void* bindingPart(REFIID iid) noexcept {
        return iid == kBindingId ? static_cast<Binding*>(this) : nullptr;
    }
};

// A node below the document node.
template <typename Derived, typename Interface>
class BoundNode : public com::Object<Derived, NodeObject<Interface>> {
public:
    [[nodiscard]] void* part(REFIID iid) noexcept {
        void* found = this->bindingPart(iid);  // the most frequent: with each node that is given to another
        return found != nullptr ? found : com::Object<Derived, NodeObject<Interface>>::part(iid);
    }

    // Waits for another node, if the tree keeps it. One that waits ends with the tree.
    void end() noexcept {
        if (this->node() == kNoNode || !this->liveTree().keep(*this)) delete static_cast<Derived*>(this);
    }

protected:
    BoundNode(LiveTree& tree, NodeId node) : com::Object<Derived, NodeObject<Interface>>(&tree, node) {}
    ~BoundNode() = default;
};

class TextObject final : public BoundNode<TextObject, IXMLDOMText> {
public:
    TextObject(LiveTree& tree, NodeId node) : BoundNode(tree, node) {}
};

class ProcessingInstructionObject final
    : public BoundNode<ProcessingInstructionObject, IXMLDOMProcessingInstruction> {
public:
    ProcessingInstructionObject(LiveTree& tree, NodeId node) : BoundNode(tree, node) {}
};

// Comments and CDATA sections: nothing is asked of them but what every node has.
class PlainNodeObject final : public BoundNode<PlainNodeObject, IXMLDOMNode> {
public:
    PlainNodeObject(LiveTree& tree, NodeId node) : BoundNode(tree, node) {}
};

class ElementObject;

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
    [[nodiscard]] std::string_view value() const noexcept;

    const com::Ref<ElementObject> element_;
    AttributeObject* next_;  // in the element's list
    AttributeObject* previous_ = nullptr;
    std::unique_ptr<Removed> removed_;  // in force once isRemoved_
    std::uint32_t index_;
    bool isRemoved_ = false;
};

class ElementObject final : public BoundNode<ElementObject, IXMLDOMElement> {
public:
    ElementObject(LiveTree& tree, NodeId node) : BoundNode(tree, node) {}

    HRESULT get_attributes(IXMLDOMNamedNodeMap** attributes) override;
    HRESULT get_tagName(BSTR* name) override { return get_nodeName(name); }
    HRESULT getAttribute(BSTR name, VARIANT* value) override;
    HRESULT setAttribute(BSTR name, VARIANT value) override;
    HRESULT removeAttribute(BSTR name) override;

private:
    friend class AttributeObject;

    AttributeMap attributes_{*this};
    AttributeObject* liveAttributes_ = nullptr;  // a list: their indexes change when an attribute goes
};

}  // namespace engine::dom

template <typename Interface>
struct engine::com::InterfaceInfo<engine::dom::NodeObject<Interface>>
    : engine::com::InterfaceInfo<Interface> {};
