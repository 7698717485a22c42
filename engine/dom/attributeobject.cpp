// Attributes as objects. An attribute is an index into its element's attributes; the element keeps a list of
// the live ones to correct their indices when one goes.
#include "engine/dom/nodeobject.h"
#include "engine/dom/utf8text.h"

namespace engine::dom {

using com::fail;
using com::guarded;
using com::nullPointer;

namespace {

constexpr std::string_view kNoChildren = "An attribute takes no children; set its text.";

constexpr std::string_view kNoContext = "Expressions start at a document or an element.";

template <typename T>
HRESULT nothing(T** result, std::string_view operation) noexcept {
    if (result == nullptr) return nullPointer(operation);
    *result = nullptr;
    return S_FALSE;
}

template <typename T>
HRESULT reject(T** result, HRESULT status, std::string_view description) noexcept {
    if (result != nullptr) *result = nullptr;
    return fail(status, description);
}

}  // namespace

HRESULT AttributeMap::QueryInterface(REFIID iid, void** object) {
    if (object == nullptr) return E_POINTER;
    *object = nullptr;
    if (!com::isInterface<IXMLDOMNamedNodeMap>(iid)) return E_NOINTERFACE;
    *object = static_cast<IXMLDOMNamedNodeMap*>(this);
    AddRef();
    return S_OK;
}

ULONG AttributeMap::AddRef() {
    return element_.AddRef();
}

ULONG AttributeMap::Release() {
    return element_.Release();
}

HRESULT AttributeMap::get_item(LONG index, IXMLDOMNode** node) {
    return com::give(node, "get_item", [&] {
        const auto wanted = static_cast<std::uint32_t>(index);
        if (index < 0 || wanted >= element_.tree().attributeCount(element_.node()))
            return com::Ref<AttributeObject>();
        return com::make<AttributeObject>(element_, wanted);
    });
}

HRESULT AttributeMap::get_length(LONG* length) {
    if (length == nullptr) return nullPointer("get_length");
    *length = static_cast<LONG>(element_.tree().attributeCount(element_.node()));
    return S_OK;
}

AttributeObject::AttributeObject(ElementObject& element, std::uint32_t index) noexcept
    : element_(com::Ref<ElementObject>::share(&element)), next_(element.liveAttributes_), index_(index) {
    if (next_ != nullptr) next_->previous_ = this;
    element.liveAttributes_ = this;
}

AttributeObject::~AttributeObject() {
    (previous_ == nullptr ? element_->liveAttributes_ : previous_->next_) = next_;
    if (next_ != nullptr) next_->previous_ = previous_;
}

void AttributeObject::prepareRemoval(const ElementObject& element, std::uint32_t index) {
    for (AttributeObject* at = element.liveAttributes_; at != nullptr; at = at->next_) {
        if (at->isRemoved_ || at->index_ != index) continue;
        const AttributeView view = at->view();
        at->removed_ = std::make_unique<Removed>(
            Removed{std::string(view.name), view.prefixLength, std::string(view.value)});
    }
}

void AttributeObject::finishRemoval(const ElementObject& element, std::uint32_t index) noexcept {
    for (AttributeObject* at = element.liveAttributes_; at != nullptr; at = at->next_) {
        if (at->isRemoved_ || at->index_ < index) continue;
        if (at->index_ == index) {
            at->isRemoved_ = true;
        } else {
            --at->index_;
        }
    }
}

AttributeView AttributeObject::view() const noexcept {
    if (isRemoved_) return {removed_->name, removed_->prefixLength, removed_->value};
    return element_->tree().attribute(element_->node(), index_);
}

std::string_view AttributeObject::value() const noexcept {
    return isRemoved_ ? removed_->value : element_->tree().attributeValue(element_->node(), index_);
}

HRESULT AttributeObject::get_nodeName(BSTR* name) {
    return com::give(name, "get_nodeName", [&] {
        if (isRemoved_) return com::makeBstr(removed_->name);
        const Tree& tree = element_->tree();
        return makeBstr(tree.names(), tree.attributeNameId(element_->node(), index_));
    });
}

HRESULT AttributeObject::get_nodeValue(VARIANT* value) {
    if (value == nullptr) return nullPointer("get_nodeValue");
    VariantInit(value);
    return guarded([&] {
        value->bstrVal = com::makeBstr(this->value());
        value->vt = VT_BSTR;
        return S_OK;
    });
}

HRESULT AttributeObject::get_nodeType(DOMNodeType* type) {
    if (type == nullptr) return nullPointer("get_nodeType");
    *type = NODE_ATTRIBUTE;
    return S_OK;
}

HRESULT AttributeObject::get_text(BSTR* text) {
    return com::give(text, "get_text", [&] { return com::makeBstr(value()); });
}

HRESULT AttributeObject::put_text(BSTR text) {
    return guarded([&] {
        element_->liveTree().makeRoom();
        const Utf8Text value(com::textOf(text));
        if (isRemoved_) {
            removed_->value = value.view();
            return S_OK;
        }
        element_->tree().setAttributeValue(element_->node(), index_, value.view());
        return S_OK;
    });
}

HRESULT AttributeObject::get_ownerDocument(IXMLDOMDocument** document) {
    return element_->get_ownerDocument(document);
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
    return reject(children, E_NOTIMPL, "The value of an attribute is not offered as nodes; take it as text.");
}
HRESULT AttributeObject::insertBefore(IXMLDOMNode*, VARIANT, IXMLDOMNode** inserted) {
    return reject(inserted, E_FAIL, kNoChildren);
}
HRESULT AttributeObject::replaceChild(IXMLDOMNode*, IXMLDOMNode*, IXMLDOMNode** replaced) {
    return reject(replaced, E_FAIL, kNoChildren);
}
HRESULT AttributeObject::removeChild(IXMLDOMNode*, IXMLDOMNode** removed) {
    return reject(removed, E_FAIL, kNoChildren);
}
HRESULT AttributeObject::appendChild(IXMLDOMNode*, IXMLDOMNode** added) {
    return reject(added, E_FAIL, kNoChildren);
}
HRESULT AttributeObject::selectNodes(BSTR, IXMLDOMNodeList** nodes) {
    return reject(nodes, E_NOTIMPL, kNoContext);
}
HRESULT AttributeObject::selectSingleNode(BSTR, IXMLDOMNode** node) {
    return reject(node, E_NOTIMPL, kNoContext);
}
HRESULT AttributeObject::get_namespaceURI(BSTR* uri) {
    return com::give(uri, "get_namespaceURI", [&]() -> BSTR {
        const AttributeView attribute = view();
        const bool isDefaultDeclaration = attribute.name == "xmlns";
        if (attribute.prefixLength == 0 && !isDefaultDeclaration) return nullptr;
        const std::string_view prefix =
            isDefaultDeclaration ? attribute.name : attribute.name.substr(0, attribute.prefixLength);
        const std::string_view found = namespaceOf(element_->tree(), element_->node(), prefix);
        return found.empty() ? nullptr : com::makeBstr(found);
    });
}
HRESULT AttributeObject::get_prefix(BSTR* prefix) {
    return com::give(prefix, "get_prefix", [&]() -> BSTR {
        const AttributeView attribute = view();
        if (attribute.prefixLength == 0) return nullptr;
        return com::makeBstr(attribute.name.substr(0, attribute.prefixLength));
    });
}
HRESULT AttributeObject::get_baseName(BSTR* name) {
    return com::give(name, "get_baseName", [&] {
        const AttributeView attribute = view();
        return com::makeBstr(
            attribute.name.substr(attribute.prefixLength == 0 ? 0 : attribute.prefixLength + 1));
    });
}
HRESULT AttributeObject::cloneNode(VARIANT_BOOL, IXMLDOMNode** copy) {
    return reject(copy, E_NOTIMPL, "An attribute cannot be copied by itself; copy its element.");
}
HRESULT AttributeObject::transformNode(IXMLDOMNode*, BSTR* text) {
    return reject(text, E_NOTIMPL, "An attribute cannot be transformed by itself.");
}
HRESULT AttributeObject::transformNodeToObject(IXMLDOMNode*, VARIANT) {
    return fail(E_NOTIMPL, "An attribute cannot be transformed by itself.");
}

}  // namespace engine::dom
