// What all nodes have in common, written once as a template over the COM interface of the kind of node and
// instantiated at the end; then the operations of elements.
#include "engine/dom/nodeobject.h"

#include <algorithm>
#include <concepts>
#include <string>
#include <utility>
#include <vector>

#include "engine/dom/services.h"
#include "engine/dom/utf8text.h"
#include "engine/text/utf.h"

namespace engine::dom {

using com::Exception;
using com::guarded;
using com::nullPointer;
using com::textOf;

void checkInstructionData(std::string_view data) {
    if (data.find("?>") != data.npos) {
        throw Exception(E_INVALIDARG,
                        "The data of a processing instruction cannot contain '?>', which ends it.");
    }
}

namespace {

std::string_view nameOf(const Tree& tree, NodeId node) noexcept {
    switch (tree.kind(node)) {
        case NodeKind::Element:
        case NodeKind::ProcessingInstruction:
            return tree.name(node);
        case NodeKind::Text:
            return "#text";
        case NodeKind::CData:
            return "#cdata-section";
        case NodeKind::Comment:
            return "#comment";
        case NodeKind::DocumentType: {  // the name of the root element that it declares
            std::string_view name = tree.content(node).substr(sizeof "<!DOCTYPE" - 1);
            name.remove_prefix(std::min(name.find_first_not_of(" \t\n"), name.size()));
            return name.substr(0, name.find_first_of(" \t\n[>"));
        }
        default:
            return "#document";
    }
}

bool holdsChildren(NodeKind kind) noexcept {
    return kind == NodeKind::Element || kind == NodeKind::Document;
}

// The text of an element: one piece as it stands, several converted one after the other into one string.
BSTR gatherText(const Tree& tree, NodeId node) {
    const NodeId only = tree.firstChild(node);
    if (only != kNoNode && tree.kind(only) == NodeKind::Text && tree.nextSibling(only) == kNoNode) {
        return com::makeBstr(tree.content(only));
    }
    std::size_t length = 0;
    tree.forEachText(node, [&](std::string_view piece) { length += text::utf16Length(piece); });
    BSTR result = length > 0xFFFFFFFFu ? nullptr : SysAllocStringLen(nullptr, static_cast<UINT>(length));
    if (result == nullptr) throw std::bad_alloc();
    OLECHAR* end = result;
    tree.forEachText(node, [&](std::string_view piece) { end += text::convertToUtf16(piece, end); });
    return result;
}

[[noreturn]] void reject(const std::string& why) {
    throw Exception(E_FAIL, why);
}

// What stands against putting `child` below `parent`, in the place of `replaced` if that is a node. Throws
// Exception.
void checkInsertion(const Binding& parent, const Binding& child, NodeId replaced) {
    const Tree& target = parent.tree();
    const Tree& source = child.tree();
    const NodeKind targetKind = parent.kind();
    const NodeKind kind = child.kind();
    const bool sameTree = &target == &source;
    if (!holdsChildren(targetKind)) {
        reject("A node of the kind '" + std::string(nameOf(target, parent.node())) + "' takes no children.");
    }
    if (kind == NodeKind::Document)
        reject("A document cannot be put into another node; put its document element there.");
    if (sameTree && (source.firstChild(child.node()) != kNoNode || parent.node() == child.node()) &&
        source.isAncestorOrSelf(child.node(), parent.node())) {
        reject("The element '" + std::string(source.name(child.node())) + "' cannot be put below itself.");
    }
    if (kind == NodeKind::DocumentType) reject("A DOCTYPE stays where it was loaded.");
    if (targetKind != NodeKind::Document) return;
    if (kind == NodeKind::Text || kind == NodeKind::CData) {
        reject("Text cannot stand beside the document element; put it into an element.");
    }
    if (kind != NodeKind::Element) return;
    const NodeId root = target.documentElement();
    const bool sameNode = sameTree && root == child.node();
    if (root != kNoNode && root != replaced && !sameNode) {
        reject("The document has a document element, '" + std::string(target.name(root)) +
               "', and cannot take a second one, '" + std::string(source.name(child.node())) + "'.");
    }
}

Binding& childBinding(IXMLDOMNode* child, const char* operation) {
    if (child == nullptr) throw Exception(E_INVALIDARG, std::string(operation) + " was given no node.");
    Binding* binding = Binding::of(child);
    if (binding == nullptr) {
        throw Exception(E_INVALIDARG, std::string(operation) +
                                          " was given a node that cannot be a child, such as an "
                                          "attribute, or one of another XML library.");
    }
    return *binding;
}

// Brings the child into the parent's tree, linked nowhere.
NodeId take(Binding& parent, Binding& child) {
    if (!parent.isSameTree(child)) {
        parent.liveTree().makeRoom();
        return parent.liveTree().adopt(child.liveTree(), child.node());
    }
    child.tree().unlink(child.node());
    return child.node();
}

// What the content of a node that is not an element must not hold. Throws Exception.
void checkContent(NodeKind kind, std::string_view content) {
    const auto holds = [&](std::string_view part) { return content.find(part) != content.npos; };
    if (kind == NodeKind::Document) {
        throw Exception(E_FAIL, "The text of a document cannot be set; set the text of an element.");
    }
    if (kind == NodeKind::DocumentType) throw Exception(E_FAIL, "The text of a DOCTYPE cannot be set.");
    if (kind == NodeKind::ProcessingInstruction) checkInstructionData(content);
    if (kind == NodeKind::CData && holds("]]>")) {
        throw Exception(E_INVALIDARG, "A CDATA section cannot contain ']]>', which ends it.");
    }
    if (kind == NodeKind::Comment && (holds("--") || content.ends_with('-'))) {
        throw Exception(E_INVALIDARG, "A comment cannot contain '--' or end in '-'.");
    }
}

std::string displayed(std::u16string_view text) {
    return text::toUtf8(text.substr(0, 100));
}

Transformer& needTransformer() {
    Transformer* available = transformer();
    if (available == nullptr)
        throw Exception(E_NOTIMPL, "This build has no transformer: it cannot run style sheets.");
    return *available;
}

NodeSource styleSource(IXMLDOMNode* styleSheet) {
    if (styleSheet == nullptr) {
        throw Exception(E_INVALIDARG,
                        "There is no style sheet: the style sheet document has no document element.");
    }
    const Binding* binding = Binding::of(styleSheet);
    if (binding == nullptr) {
        throw Exception(E_INVALIDARG, "The style sheet is not an element or document of this XML library.");
    }
    return binding->liveTree().source(binding->node());
}

// The document that a variant holds to receive a result.
com::Ref<IContentTarget> targetOf(const VARIANT& output) {
    const bool isObject = (output.vt == VT_DISPATCH || output.vt == VT_UNKNOWN) && output.punkVal != nullptr;
    void* target = nullptr;
    if (!isObject || FAILED(output.punkVal->QueryInterface(IID_IContentTarget, &target))) {
        throw Exception(E_INVALIDARG,
                        "The result of a transformation needs a document of this XML library to go to.");
    }
    return com::Ref<IContentTarget>::adopt(static_cast<IContentTarget*>(target));
}

}  // namespace

com::Ref<IXMLDOMNode> nodeObject(LiveTree& tree, NodeId node) {
    using Object = com::Ref<IXMLDOMNode>;
    if (node == kNoNode) return {};
    if (IXMLDOMNode* live = tree.find(node)) return Object::share(live);
    if (IXMLDOMNode* revived = tree.revive(node)) return Object::share(revived);
    switch (tree.tree().kind(node)) {
        case NodeKind::Document:
            return tree.isRetired() ? Object() : Object::share(&tree.document());
        case NodeKind::Element:
            return Object::adopt(new ElementObject(tree, node));
        case NodeKind::Text:
            return Object::adopt(new TextObject(tree, node));
        case NodeKind::ProcessingInstruction:
            return Object::adopt(new ProcessingInstructionObject(tree, node));
        default:
            return Object::adopt(new PlainNodeObject(tree, node));
    }
}

// The operations of all nodes.

template <typename Interface>
NodeObject<Interface>::NodeObject(LiveTree* tree, NodeId node) : Binding(tree, node) {
    if constexpr (!kIsDocument) tree->enter(*this, *this, node);
}

template <typename Interface>
NodeObject<Interface>::~NodeObject() {
    if constexpr (!kIsDocument) liveTree().leave(*this);
}

template <typename Interface>
HRESULT NodeObject<Interface>::get_nodeName(BSTR* name) {
    return com::give(name, "get_nodeName", [&] {
        const Tree& tree = this->tree();
        if (tree.kind(node()) == NodeKind::Element) return makeBstr(tree.names(), tree.nameId(node()));
        return com::makeBstr(nameOf(tree, node()));
    });
}

template <typename Interface>
HRESULT NodeObject<Interface>::get_nodeValue(VARIANT* value) {
    if (value == nullptr) return nullPointer("get_nodeValue");
    VariantInit(value);
    if (holdsChildren(kind())) {
        value->vt = VT_NULL;
        return S_FALSE;
    }
    return guarded([&] {
        value->bstrVal = com::makeBstr(tree().content(node()));
        value->vt = VT_BSTR;
        return S_OK;
    });
}

template <typename Interface>
HRESULT NodeObject<Interface>::get_nodeType(DOMNodeType* type) {
    if (type == nullptr) return nullPointer("get_nodeType");
    *type = static_cast<DOMNodeType>(kind());
    return S_OK;
}

template <typename Interface>
HRESULT NodeObject<Interface>::get_parentNode(IXMLDOMNode** parent) {
    return com::give(parent, "get_parentNode", [&] { return nodeObject(liveTree(), tree().parent(node())); });
}

template <typename Interface>
HRESULT NodeObject<Interface>::get_firstChild(IXMLDOMNode** child) {
    return com::give(child, "get_firstChild",
                     [&] { return nodeObject(liveTree(), tree().firstChild(node())); });
}

template <typename Interface>
HRESULT NodeObject<Interface>::get_nextSibling(IXMLDOMNode** sibling) {
    return com::give(sibling, "get_nextSibling",
                     [&] { return nodeObject(liveTree(), tree().nextSibling(node())); });
}

template <typename Interface>
HRESULT NodeObject<Interface>::get_childNodes(IXMLDOMNodeList** children) {
    return com::give(children, "get_childNodes", [&] { return com::make<ChildList>(*this, *this); });
}

template <typename Interface>
HRESULT NodeObject<Interface>::get_attributes(IXMLDOMNamedNodeMap** attributes) {
    if (attributes == nullptr) return nullPointer("get_attributes");
    *attributes = nullptr;
    return S_FALSE;
}

template <typename Interface>
HRESULT NodeObject<Interface>::appendChild(IXMLDOMNode* newChild, IXMLDOMNode** added) {
    if (added != nullptr) *added = nullptr;
    return guarded([&] {
        Binding& child = childBinding(newChild, "appendChild");
        checkInsertion(*this, child, kNoNode);
        const NodeId taken = take(*this, child);
        tree().append(node(), taken);
        if (added != nullptr) *added = com::Ref<IXMLDOMNode>::share(newChild).detach();
        return S_OK;
    });
}

template <typename Interface>
HRESULT NodeObject<Interface>::insertBefore(IXMLDOMNode* newChild, VARIANT refChild, IXMLDOMNode** inserted) {
    const bool isObject = refChild.vt == VT_DISPATCH || refChild.vt == VT_UNKNOWN;
    if (refChild.vt == VT_EMPTY || refChild.vt == VT_NULL || (isObject && refChild.punkVal == nullptr)) {
        return appendChild(newChild, inserted);
    }
    if (inserted != nullptr) *inserted = nullptr;
    return guarded([&] {
        Binding& child = childBinding(newChild, "insertBefore");
        const Binding* const next = isObject ? Binding::of(refChild.punkVal) : nullptr;
        if (next == nullptr || !isSameTree(*next) || tree().parent(next->node()) != node()) {
            throw Exception(
                E_INVALIDARG,
                "insertBefore was given a node to insert before that is not a child of this node.");
        }
        checkInsertion(*this, child, kNoNode);
        if (&child != next) {
            const NodeId taken = take(*this, child);
            tree().insertAfter(node(), tree().previousSibling(next->node()), taken);
        }
        if (inserted != nullptr) *inserted = com::Ref<IXMLDOMNode>::share(newChild).detach();
        return S_OK;
    });
}

template <typename Interface>
HRESULT NodeObject<Interface>::removeChild(IXMLDOMNode* child, IXMLDOMNode** removed) {
    if (removed != nullptr) *removed = nullptr;
    return guarded([&] {
        const Binding& old = childBinding(child, "removeChild");
        if (!isSameTree(old) || tree().parent(old.node()) != node()) {
            throw Exception(E_INVALIDARG,
                            "removeChild was given a node to remove that is not a child of this node.");
        }
        tree().unlink(old.node());
        if (removed != nullptr) *removed = com::Ref<IXMLDOMNode>::share(child).detach();
        return S_OK;
    });
}

template <typename Interface>
HRESULT NodeObject<Interface>::replaceChild(IXMLDOMNode* newChild, IXMLDOMNode* oldChild,
                                            IXMLDOMNode** replaced) {
    if (replaced != nullptr) *replaced = nullptr;
    return guarded([&] {
        Binding& child = childBinding(newChild, "replaceChild");
        const Binding& old = childBinding(oldChild, "replaceChild");
        if (!isSameTree(old) || tree().parent(old.node()) != node()) {
            throw Exception(E_INVALIDARG,
                            "replaceChild was given a node to replace that is not a child of this node.");
        }
        checkInsertion(*this, child, old.node());
        if (&child != &old) {
            const NodeId replacement = take(*this, child);
            tree().replace(replacement, old.node());
        }
        if (replaced != nullptr) *replaced = com::Ref<IXMLDOMNode>::share(oldChild).detach();
        return S_OK;
    });
}

template <typename Interface>
HRESULT NodeObject<Interface>::get_ownerDocument(IXMLDOMDocument** document) {
    if (document == nullptr) return nullPointer("get_ownerDocument");
    *document = nullptr;
    if (kIsDocument) return S_FALSE;
    *document = com::Ref<IXMLDOMDocument>::share(&liveTree().document()).detach();
    return S_OK;
}

template <typename Interface>
HRESULT NodeObject<Interface>::cloneNode(VARIANT_BOOL deep, IXMLDOMNode** copy) {
    return com::give(copy, "cloneNode", [&] {
        if (kIsDocument) {
            throw Exception(E_NOTIMPL, "A document cannot be copied as a node; copy its document element.");
        }
        liveTree().makeRoom();
        const NodeId made = tree().clone(node(), deep != VARIANT_FALSE);
        return nodeObject(liveTree(), made);
    });
}

template <typename Interface>
HRESULT NodeObject<Interface>::get_text(BSTR* text) {
    return com::give(text, "get_text", [&] {
        return holdsChildren(kind()) ? gatherText(tree(), node()) : com::makeBstr(tree().content(node()));
    });
}

template <typename Interface>
HRESULT NodeObject<Interface>::put_text(BSTR text) {
    return guarded([&] {
        liveTree().makeRoom();
        const Utf8Text content(textOf(text));
        if (kind() != NodeKind::Element) {
            checkContent(kind(), content.view());
            tree().setContent(node(), content.view());
            return S_OK;
        }
        const NodeId only = tree().createText(NodeKind::Text, content.view());
        while (tree().firstChild(node()) != kNoNode) tree().unlink(tree().firstChild(node()));
        if (content.view().empty()) {
            tree().giveUp(only);
        } else {
            tree().append(node(), only);
        }
        return S_OK;
    });
}

template <typename Interface>
HRESULT NodeObject<Interface>::transformNode(IXMLDOMNode* styleSheet, BSTR* text) {
    return com::give(text, "transformNode", [&] {
        const NodeSource style = styleSource(styleSheet);
        return com::makeBstr(needTransformer().toText(liveTree().source(node()), style));
    });
}

template <typename Interface>
HRESULT NodeObject<Interface>::transformNodeToObject(IXMLDOMNode* styleSheet, VARIANT output) {
    return guarded([&] {
        const NodeSource style = styleSource(styleSheet);
        targetOf(output)->replaceContent([&](reader::EventSink& events) {
            needTransformer().toEvents(liveTree().source(node()), style, events);
        });
        return S_OK;
    });
}

namespace {

com::Ref<IXMLDOMNode> selectedObject(LiveTree& tree, const SelectedNode& selected) {
    com::Ref<IXMLDOMNode> node = nodeObject(tree, selected.node);
    if (selected.attribute == SelectedNode::kNoAttribute || !node) return node;
    auto attribute = com::make<AttributeObject>(static_cast<ElementObject&>(*node), selected.attribute);
    return com::Ref<IXMLDOMNode>::adopt(attribute.detach());
}

}  // namespace

template <typename Interface>
HRESULT NodeObject<Interface>::selectNodes(BSTR expression, IXMLDOMNodeList** nodes) {
    return com::give(nodes, "selectNodes", [&] {
        const ExpressionValue value = selectFrom(liveTree(), node(), expression);
        std::vector<com::Ref<IXMLDOMNode>> objects;
        objects.reserve(value.nodes.size());
        for (const SelectedNode& selected : value.nodes)
            objects.push_back(selectedObject(liveTree(), selected));
        return com::make<SelectedList>(std::move(objects));
    });
}

template <typename Interface>
HRESULT NodeObject<Interface>::selectSingleNode(BSTR expression, IXMLDOMNode** node) {
    return com::give(node, "selectSingleNode", [&] {
        const ExpressionValue value = selectFrom(liveTree(), this->node(), expression);
        return value.nodes.empty() ? com::Ref<IXMLDOMNode>()
                                   : selectedObject(liveTree(), value.nodes.front());
    });
}

template <typename Interface>
HRESULT NodeObject<Interface>::get_namespaceURI(BSTR* uri) {
    return com::give(uri, "get_namespaceURI", [&]() -> BSTR {
        if (kind() != NodeKind::Element) return nullptr;
        const std::string_view name = tree().name(node());
        const std::uint32_t prefix = tree().names().prefixLength(tree().nameId(node()));
        const std::string_view found = namespaceOf(tree(), node(), name.substr(0, prefix));
        return found.empty() ? nullptr : com::makeBstr(found);
    });
}

template <typename Interface>
HRESULT NodeObject<Interface>::get_prefix(BSTR* prefix) {
    return com::give(prefix, "get_prefix", [&]() -> BSTR {
        if (kind() != NodeKind::Element) return nullptr;
        const std::uint32_t length = tree().names().prefixLength(tree().nameId(node()));
        return length == 0 ? nullptr : com::makeBstr(tree().name(node()).substr(0, length));
    });
}

template <typename Interface>
HRESULT NodeObject<Interface>::get_baseName(BSTR* name) {
    return com::give(name, "get_baseName", [&]() -> BSTR {
        switch (kind()) {
            case NodeKind::Element:
                return com::makeBstr(tree().names().localName(tree().nameId(node())));
            case NodeKind::ProcessingInstruction:
                return com::makeBstr(tree().name(node()));
            default:
                return nullptr;
        }
    });
}

template class NodeObject<IXMLDOMNode>;
template class NodeObject<IXMLDOMElement>;
template class NodeObject<IXMLDOMText>;
template class NodeObject<IXMLDOMProcessingInstruction>;
template class NodeObject<IXMLDOMDocument2>;

// The operations of elements.

HRESULT ElementObject::get_attributes(IXMLDOMNamedNodeMap** attributes) {
    if (attributes == nullptr) return nullPointer("get_attributes");
    AddRef();  // the map counts with its element
    *attributes = &attributes_;
    return S_OK;
}

HRESULT ElementObject::getAttribute(BSTR name, VARIANT* value) {
    if (value == nullptr) return nullPointer("getAttribute");
    VariantInit(value);
    return guarded([&] {
        const std::optional<std::uint32_t> index =
            tree().findAttribute(node(), liveTree().findName(textOf(name)));
        if (!index) {
            value->vt = VT_NULL;
            return S_FALSE;
        }
        value->bstrVal = com::makeBstr(tree().attributeValue(node(), *index));
        value->vt = VT_BSTR;
        return S_OK;
    });
}

HRESULT ElementObject::setAttribute(BSTR name, VARIANT value) {
    VARIANT converted{};
    const HRESULT status = guarded([&] {
        liveTree().makeRoom();
        const NameId id = liveTree().nameFor(textOf(name), "an attribute");
        if (value.vt != VT_BSTR && FAILED(VariantChangeType(&converted, &value, 0, VT_BSTR))) {
            throw Exception(E_INVALIDARG, "The value for the attribute '" + displayed(textOf(name)) +
                                              "' is not a text and cannot be made one.");
        }
        tree().setAttribute(node(), id, textOf(value.vt == VT_BSTR ? value.bstrVal : converted.bstrVal));
        return S_OK;
    });
    if (converted.vt != VT_EMPTY) VariantClear(&converted);
    return status;
}

HRESULT ElementObject::removeAttribute(BSTR name) {
    return guarded([&] {
        const std::optional<std::uint32_t> index =
            tree().findAttribute(node(), liveTree().findName(textOf(name)));
        if (!index) return S_FALSE;
        AttributeObject::prepareRemoval(*this, *index);
        tree().removeAttribute(node(), *index);
        AttributeObject::finishRemoval(*this, *index);
        return S_OK;
    });
}

}  // namespace engine::dom
