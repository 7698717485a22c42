#include "engine/dom/lists.h"

#include "engine/com/status.h"
#include "engine/dom/nodeops.h"
#include "engine/dom/utf8text.h"

namespace engine::dom {

using com::fail;
using com::guarded;

namespace {

// The answers of an object with one interface of its own below `Base`.
template <typename Base, typename Object>
HRESULT answer(Object* self, REFIID iid, REFIID own, void** object) noexcept {
    if (object == nullptr) return E_POINTER;
    *object = nullptr;
    const bool known = iid == own || iid == IID_IDispatch || iid == IID_IUnknown;
    if (!known) return E_NOINTERFACE;
    *object = static_cast<Base*>(self);
    self->AddRef();
    return S_OK;
}

template <typename T>
HRESULT nothing(T** result, std::string_view operation) noexcept {
    if (result == nullptr) return nodeops::nullPointer(operation);
    *result = nullptr;
    return S_FALSE;
}

template <typename T>
HRESULT refuse(T** result, HRESULT status, std::string_view description) noexcept {
    if (result != nullptr) *result = nullptr;
    return fail(status, description);
}

}  // namespace

HRESULT ChildList::QueryInterface(REFIID iid, void** object) {
    return answer<IXMLDOMNodeList>(this, iid, IID_IXMLDOMNodeList, object);
}

ULONG ChildList::Release() {
    const ULONG left = --count_;
    if (left == 0) delete this;
    return left;
}

void ChildList::checkCursor() noexcept {
    const Tree& tree = parent_.tree->tree();
    if (serial_ == tree.serial() && revision_ == tree.orderRevision()) return;
    serial_ = tree.serial();
    revision_ = tree.orderRevision();
    cursor_ = kNoNode;
    lastCounted_ = kNoNode;
    counted_ = 0;
}

NodeId ChildList::seek(std::uint32_t index) noexcept {
    checkCursor();
    const Tree& tree = parent_.tree->tree();
    if (index < cursorIndex_ || cursor_ == kNoNode) {
        cursor_ = tree.firstChild(parent_.node);
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
    if (node == nullptr) return nodeops::nullPointer("get_item");
    *node = nullptr;
    if (index < 0) return S_FALSE;
    return guarded([&] {
        *node = parent_.tree->object(seek(static_cast<std::uint32_t>(index))).detach();
        return *node == nullptr ? S_FALSE : S_OK;
    });
}

HRESULT ChildList::get_length(LONG* length) {
    if (length == nullptr) return nodeops::nullPointer("get_length");
    checkCursor();
    const Tree& tree = parent_.tree->tree();
    NodeId at = lastCounted_ == kNoNode ? tree.firstChild(parent_.node) : tree.nextSibling(lastCounted_);
    for (; at != kNoNode; at = tree.nextSibling(at)) {
        lastCounted_ = at;
        ++counted_;
    }
    *length = counted_;
    return S_OK;
}

HRESULT AttributeMap::QueryInterface(REFIID iid, void** object) {
    return answer<IXMLDOMNamedNodeMap>(this, iid, IID_IXMLDOMNamedNodeMap, object);
}

ULONG AttributeMap::Release() {
    const ULONG left = --count_;
    if (left == 0) delete this;
    return left;
}

HRESULT AttributeMap::get_item(LONG index, IXMLDOMNode** node) {
    if (node == nullptr) return nodeops::nullPointer("get_item");
    *node = nullptr;
    const auto wanted = static_cast<std::uint32_t>(index);
    if (index < 0 || wanted >= element_.tree->tree().attributeCount(element_.node)) return S_FALSE;
    return guarded([&] {
        *node = com::make<AttributeObject>(element_, wanted).detach();
        return S_OK;
    });
}

HRESULT AttributeMap::get_length(LONG* length) {
    if (length == nullptr) return nodeops::nullPointer("get_length");
    *length = static_cast<LONG>(element_.tree->tree().attributeCount(element_.node));
    return S_OK;
}

HRESULT AttributeObject::QueryInterface(REFIID iid, void** object) {
    const bool node = iid == IID_IXMLDOMNode;
    return answer<IXMLDOMAttribute>(this, node ? IID_IXMLDOMAttribute : iid, IID_IXMLDOMAttribute, object);
}

ULONG AttributeObject::Release() {
    const ULONG left = --count_;
    if (left == 0) delete this;
    return left;
}

HRESULT AttributeObject::get_nodeName(BSTR* name) {
    if (name == nullptr) return nodeops::nullPointer("get_nodeName");
    *name = nullptr;
    return guarded([&] {
        *name = com::makeBstr(view().name);
        return S_OK;
    });
}

HRESULT AttributeObject::get_nodeValue(VARIANT* value) {
    if (value == nullptr) return nodeops::nullPointer("get_nodeValue");
    VariantInit(value);
    return guarded([&] {
        value->bstrVal = com::makeBstr(view().value);
        value->vt = VT_BSTR;
        return S_OK;
    });
}

HRESULT AttributeObject::get_nodeType(DOMNodeType* type) {
    if (type == nullptr) return nodeops::nullPointer("get_nodeType");
    *type = NODE_ATTRIBUTE;
    return S_OK;
}

HRESULT AttributeObject::get_text(BSTR* text) {
    if (text == nullptr) return nodeops::nullPointer("get_text");
    *text = nullptr;
    return guarded([&] {
        *text = com::makeBstr(view().value);
        return S_OK;
    });
}

HRESULT AttributeObject::put_text(BSTR text) {
    return guarded([&] {
        element_.tree->makeRoom();
        const Utf8Text value(com::textOf(text));
        element_.tree->tree().setAttributeValue(element_.node, index_, value.view());
        return S_OK;
    });
}

HRESULT AttributeObject::get_ownerDocument(IXMLDOMDocument** document) {
    return owner_->get_ownerDocument(document);
}

HRESULT AttributeObject::get_parentNode(IXMLDOMNode** parent) {
    return nothing(parent, "get_parentNode");
}
HRESULT AttributeObject::get_firstChild(IXMLDOMNode** child) {
    return nothing(child, "get_firstChild");
}
HRESULT AttributeObject::get_nextSibling(IXMLDOMNode** sibling) {
    return nothing(sibling, "get_nextSibling");
}
HRESULT AttributeObject::get_attributes(IXMLDOMNamedNodeMap** attributes) {
    return nothing(attributes, "get_attributes");
}
HRESULT AttributeObject::get_childNodes(IXMLDOMNodeList** children) {
    return refuse(children, E_NOTIMPL, "The value of an attribute is not offered as nodes; take it as text.");
}
HRESULT AttributeObject::replaceChild(IXMLDOMNode*, IXMLDOMNode*, IXMLDOMNode** replaced) {
    return refuse(replaced, E_FAIL, "An attribute takes no children; set its text.");
}
HRESULT AttributeObject::appendChild(IXMLDOMNode*, IXMLDOMNode** added) {
    return refuse(added, E_FAIL, "An attribute takes no children; set its text.");
}
HRESULT AttributeObject::cloneNode(VARIANT_BOOL, IXMLDOMNode** copy) {
    return refuse(copy, E_NOTIMPL, "An attribute cannot be copied by itself; copy its element.");
}
HRESULT AttributeObject::transformNode(IXMLDOMNode*, BSTR* text) {
    return refuse(text, E_NOTIMPL, "An attribute cannot be transformed by itself.");
}
HRESULT AttributeObject::transformNodeToObject(IXMLDOMNode*, VARIANT) {
    return fail(E_NOTIMPL, "An attribute cannot be transformed by itself.");
}

}  // namespace engine::dom
