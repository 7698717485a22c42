#include "engine/dom/nodeops.h"

#include <string>

#include "engine/com/status.h"
#include "engine/dom/document.h"
#include "engine/dom/lists.h"
#include "engine/dom/services.h"
#include "engine/dom/utf8text.h"
#include "engine/text/utf.h"
#include "engine/text/xmlnames.h"

namespace engine::dom::nodeops {

using com::fail;
using com::Failure;
using com::guarded;
using com::textOf;

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
        default:
            return "#document";
    }
}

bool holdsChildren(NodeKind kind) noexcept {
    return kind == NodeKind::Element || kind == NodeKind::Document;
}

// The node's object for the caller.
HRESULT give(const Anchor& anchor, NodeId node, IXMLDOMNode** result) noexcept {
    *result = nullptr;
    return guarded([&] {
        *result = anchor.tree->object(node).detach();
        return *result == nullptr ? S_FALSE : S_OK;
    });
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

// What stands against putting `child` below `parent`, in the place of `replaced` if that is a node. Throws
// Failure.
void checkInsertion(const Anchor& parent, const Anchor& child, NodeId replaced) {
    const Tree& target = parent.tree->tree();
    const Tree& source = child.tree->tree();
    const NodeKind kind = source.kind(child.node);
    const auto refuse = [](const std::string& why) { throw Failure(E_FAIL, why); };
    if (kind == NodeKind::Document)
        refuse("A document cannot be put into another node; put its document element there.");
    if (parent.tree == child.tree &&
        (source.firstChild(child.node) != kNoNode || parent.node == child.node) &&
        source.isAncestorOrSelf(child.node, parent.node)) {
        refuse("The element '" + std::string(source.name(child.node)) + "' cannot be put below itself.");
    }
    if (target.kind(parent.node) != NodeKind::Document) return;
    if (kind == NodeKind::Text || kind == NodeKind::CData) {
        refuse("Text cannot stand beside the document element; put it into an element.");
    }
    if (kind != NodeKind::Element) return;
    const NodeId root = target.documentElement();
    const bool sameNode = parent.tree == child.tree && root == child.node;
    if (root != kNoNode && root != replaced && !sameNode) {
        refuse("The document has a document element, '" + std::string(target.name(root)) +
               "', and cannot take a second one, '" + std::string(source.name(child.node)) + "'.");
    }
}

Anchor& childAnchor(IXMLDOMNode* child, const char* operation) {
    if (child == nullptr) throw Failure(E_INVALIDARG, std::string(operation) + " was given no node.");
    Anchor* anchor = anchorOf(child);
    if (anchor == nullptr) {
        throw Failure(E_INVALIDARG, std::string(operation) +
                                        " was given a node that cannot be a child, such as an "
                                        "attribute, or one of another XML library.");
    }
    return *anchor;
}

void checkParent(const Anchor& parent) {
    const NodeKind kind = parent.tree->tree().kind(parent.node);
    if (!holdsChildren(kind)) {
        throw Failure(E_FAIL, "A node of the kind '" + std::string(nameOf(parent.tree->tree(), parent.node)) +
                                  "' takes no children.");
    }
}

// Brings the child into the parent's tree, linked nowhere.
NodeId take(Anchor& parent, Anchor& child) {
    if (child.tree != parent.tree) {
        parent.tree->makeRoom();
        return parent.tree->adopt(*child.tree, child.node);
    }
    child.tree->tree().unlink(child.node);
    return child.node;
}

void checkInstructionData(std::u16string_view data) {
    if (data.find(u"?>") != data.npos) {
        throw Failure(E_INVALIDARG,
                      "The data of a processing instruction cannot contain '?>', which ends it.");
    }
}

std::string displayed(std::u16string_view text) {
    return text::toUtf8(text.substr(0, 100));
}

}  // namespace

HRESULT nullPointer(std::string_view operation) noexcept {
    return guarded([&]() -> HRESULT {
        throw Failure(E_POINTER, std::string(operation) + " was given no place for its result.");
    });
}

HRESULT getName(const Anchor& anchor, BSTR* name) noexcept {
    if (name == nullptr) return nullPointer("get_nodeName");
    *name = nullptr;
    return guarded([&] {
        *name = com::makeBstr(nameOf(anchor.tree->tree(), anchor.node));
        return S_OK;
    });
}

HRESULT getValue(const Anchor& anchor, VARIANT* value) noexcept {
    if (value == nullptr) return nullPointer("get_nodeValue");
    VariantInit(value);
    const Tree& tree = anchor.tree->tree();
    if (holdsChildren(tree.kind(anchor.node))) {
        value->vt = VT_NULL;
        return S_FALSE;
    }
    return guarded([&] {
        value->bstrVal = com::makeBstr(tree.content(anchor.node));
        value->vt = VT_BSTR;
        return S_OK;
    });
}

HRESULT getType(const Anchor& anchor, DOMNodeType* type) noexcept {
    if (type == nullptr) return nullPointer("get_nodeType");
    *type = static_cast<DOMNodeType>(anchor.tree->tree().kind(anchor.node));
    return S_OK;
}

HRESULT getParent(const Anchor& anchor, IXMLDOMNode** parent) noexcept {
    if (parent == nullptr) return nullPointer("get_parentNode");
    return give(anchor, anchor.tree->tree().parent(anchor.node), parent);
}

HRESULT getFirstChild(const Anchor& anchor, IXMLDOMNode** child) noexcept {
    if (child == nullptr) return nullPointer("get_firstChild");
    return give(anchor, anchor.tree->tree().firstChild(anchor.node), child);
}

HRESULT getNextSibling(const Anchor& anchor, IXMLDOMNode** sibling) noexcept {
    if (sibling == nullptr) return nullPointer("get_nextSibling");
    return give(anchor, anchor.tree->tree().nextSibling(anchor.node), sibling);
}

HRESULT getChildren(const Anchor& anchor, IXMLDOMNodeList** children) noexcept {
    if (children == nullptr) return nullPointer("get_childNodes");
    *children = nullptr;
    return guarded([&] {
        *children = com::make<ChildList>(anchor).detach();
        return S_OK;
    });
}

HRESULT getAttributes(const Anchor& anchor, IXMLDOMNamedNodeMap** attributes) noexcept {
    if (attributes == nullptr) return nullPointer("get_attributes");
    *attributes = nullptr;
    if (anchor.tree->tree().kind(anchor.node) != NodeKind::Element) return S_FALSE;
    return guarded([&] {
        *attributes = com::make<AttributeMap>(anchor).detach();
        return S_OK;
    });
}

HRESULT appendChild(Anchor& parent, IXMLDOMNode* newChild, IXMLDOMNode** added) noexcept {
    if (added != nullptr) *added = nullptr;
    return guarded([&] {
        Anchor& child = childAnchor(newChild, "appendChild");
        checkParent(parent);
        checkInsertion(parent, child, kNoNode);
        parent.tree->tree().append(parent.node, take(parent, child));
        if (added != nullptr) *added = com::Ref<IXMLDOMNode>::share(newChild).detach();
        return S_OK;
    });
}

HRESULT replaceChild(Anchor& parent, IXMLDOMNode* newChild, IXMLDOMNode* oldChild,
                     IXMLDOMNode** replaced) noexcept {
    if (replaced != nullptr) *replaced = nullptr;
    return guarded([&] {
        Anchor& child = childAnchor(newChild, "replaceChild");
        Anchor& old = childAnchor(oldChild, "replaceChild");
        if (old.tree != parent.tree || old.tree->tree().parent(old.node) != parent.node) {
            throw Failure(E_INVALIDARG,
                          "replaceChild was given a node to replace that is not a child of this node.");
        }
        checkInsertion(parent, child, old.node);
        if (child.object != old.object) {
            const NodeId replacement = take(parent, child);
            parent.tree->tree().replace(replacement, old.node);
        }
        if (replaced != nullptr) *replaced = com::Ref<IXMLDOMNode>::share(oldChild).detach();
        return S_OK;
    });
}

HRESULT getOwner(const Anchor& anchor, IXMLDOMDocument** document) noexcept {
    if (document == nullptr) return nullPointer("get_ownerDocument");
    *document = nullptr;
    if (anchor.tree->tree().kind(anchor.node) == NodeKind::Document) return S_FALSE;
    *document = com::Ref<IXMLDOMDocument>::share(&anchor.tree->document()).detach();
    return S_OK;
}

HRESULT clone(const Anchor& anchor, VARIANT_BOOL deep, IXMLDOMNode** copy) noexcept {
    if (copy == nullptr) return nullPointer("cloneNode");
    *copy = nullptr;
    if (anchor.tree->tree().kind(anchor.node) == NodeKind::Document) {
        return fail(E_NOTIMPL, "A document cannot be copied as a node; copy its document element.");
    }
    return guarded([&] {
        anchor.tree->makeRoom();
        Tree& tree = anchor.tree->tree();
        const NodeId made = tree.clone(anchor.node, deep != VARIANT_FALSE);
        *copy = anchor.tree->object(made).detach();
        return S_OK;
    });
}

HRESULT getText(const Anchor& anchor, BSTR* text) noexcept {
    if (text == nullptr) return nullPointer("get_text");
    *text = nullptr;
    return guarded([&] {
        const Tree& tree = anchor.tree->tree();
        const bool gathers = holdsChildren(tree.kind(anchor.node));
        *text = gathers ? gatherText(tree, anchor.node) : com::makeBstr(tree.content(anchor.node));
        return S_OK;
    });
}

HRESULT putText(Anchor& anchor, BSTR text) noexcept {
    return guarded([&] {
        anchor.tree->makeRoom();
        Tree& tree = anchor.tree->tree();
        const Utf8Text content(textOf(text));
        const NodeKind kind = tree.kind(anchor.node);
        if (kind == NodeKind::Document) {
            throw Failure(E_FAIL, "The text of a document cannot be set; set the text of an element.");
        }
        if (kind == NodeKind::ProcessingInstruction) checkInstructionData(textOf(text));
        if (kind == NodeKind::CData && content.view().find("]]>") != std::string_view::npos) {
            throw Failure(E_INVALIDARG, "A CDATA section cannot contain ']]>', which ends it.");
        }
        if (kind == NodeKind::Comment &&
            (content.view().find("--") != std::string_view::npos || content.view().ends_with('-'))) {
            throw Failure(E_INVALIDARG, "A comment cannot contain '--' or end in '-'.");
        }
        if (kind != NodeKind::Element) {
            tree.setContent(anchor.node, content.view());
            return S_OK;
        }
        const NodeId only = tree.createText(NodeKind::Text, content.view());
        while (tree.firstChild(anchor.node) != kNoNode) tree.unlink(tree.firstChild(anchor.node));
        if (!content.view().empty()) tree.append(anchor.node, only);
        return S_OK;
    });
}

HRESULT getAttribute(const Anchor& anchor, BSTR name, VARIANT* value) noexcept {
    if (value == nullptr) return nullPointer("getAttribute");
    VariantInit(value);
    return guarded([&] {
        const Tree& tree = anchor.tree->tree();
        const Utf8Text wanted(textOf(name));
        const std::optional<std::uint32_t> index = tree.findAttribute(anchor.node, wanted.view());
        if (!index) {
            value->vt = VT_NULL;
            return S_FALSE;
        }
        value->bstrVal = com::makeBstr(tree.attribute(anchor.node, *index).value);
        value->vt = VT_BSTR;
        return S_OK;
    });
}

HRESULT setAttribute(Anchor& anchor, BSTR name, const VARIANT& value) noexcept {
    VARIANT converted{};
    const HRESULT status = guarded([&] {
        if (!text::isQualifiedName(textOf(name))) {
            throw Failure(E_INVALIDARG,
                          "'" + displayed(textOf(name)) + "' is not a name that an attribute can have.");
        }
        if (value.vt != VT_BSTR && FAILED(VariantChangeType(&converted, &value, 0, VT_BSTR))) {
            throw Failure(E_INVALIDARG, "The value for the attribute '" + displayed(textOf(name)) +
                                            "' is not a text and cannot be made one.");
        }
        anchor.tree->makeRoom();
        const Utf8Text wanted(textOf(name));
        const Utf8Text content(textOf(value.vt == VT_BSTR ? value.bstrVal : converted.bstrVal));
        anchor.tree->tree().setAttribute(anchor.node, wanted.view(), content.view());
        return S_OK;
    });
    VariantClear(&converted);
    return status;
}

namespace {

NodeSource sourceOf(const Anchor& anchor) {
    return {anchor.tree->tree(), anchor.node, anchor.tree->url(), &anchor.tree->keptStyle()};
}

Transformer& needTransformer() {
    Transformer* available = transformer();
    if (available == nullptr)
        throw Failure(E_NOTIMPL, "This build has no transformer: it cannot run style sheets.");
    return *available;
}

const Anchor& styleAnchor(IXMLDOMNode* styleSheet) {
    if (styleSheet == nullptr) {
        throw Failure(E_INVALIDARG,
                      "There is no style sheet: the style sheet document has no document element.");
    }
    const Anchor* anchor = anchorOf(styleSheet);
    if (anchor == nullptr) {
        throw Failure(E_INVALIDARG, "The style sheet is not an element or document of this XML library.");
    }
    return *anchor;
}

}  // namespace

HRESULT transformToText(const Anchor& anchor, IXMLDOMNode* styleSheet, BSTR* text) noexcept {
    if (text == nullptr) return nullPointer("transformNode");
    *text = nullptr;
    return guarded([&] {
        const Anchor& style = styleAnchor(styleSheet);
        *text = com::makeBstr(needTransformer().toText(sourceOf(anchor), sourceOf(style)));
        return S_OK;
    });
}

HRESULT transformToObject(const Anchor& anchor, IXMLDOMNode* styleSheet, const VARIANT& output) noexcept {
    return guarded([&] {
        const Anchor& style = styleAnchor(styleSheet);
        const bool isObject = output.vt == VT_DISPATCH || output.vt == VT_UNKNOWN;
        Document* target = isObject ? Document::of(output.punkVal) : nullptr;
        if (target == nullptr) {
            throw Failure(E_INVALIDARG,
                          "The result of a transformation needs a document of this XML library to go to.");
        }
        target->replaceContent([&](reader::EventSink& events) {
            needTransformer().toEvents(sourceOf(anchor), sourceOf(style), events);
        });
        return S_OK;
    });
}

}  // namespace engine::dom::nodeops
