// The operations that all nodes share, on the node that an anchor stands for. Each keeps the rules of a COM
// operation: out-parameters cleared first, no exception, error information with every failure.
#pragma once

#include <string_view>

#include "engine/dom/livetree.h"

namespace engine::dom::nodeops {

HRESULT getName(const Anchor& anchor, BSTR* name) noexcept;
HRESULT getValue(const Anchor& anchor, VARIANT* value) noexcept;
HRESULT getType(const Anchor& anchor, DOMNodeType* type) noexcept;
HRESULT getParent(const Anchor& anchor, IXMLDOMNode** parent) noexcept;
HRESULT getChildren(const Anchor& anchor, IXMLDOMNodeList** children) noexcept;
HRESULT getFirstChild(const Anchor& anchor, IXMLDOMNode** child) noexcept;
HRESULT getNextSibling(const Anchor& anchor, IXMLDOMNode** sibling) noexcept;
HRESULT getAttributes(const Anchor& anchor, IXMLDOMNamedNodeMap** attributes) noexcept;
HRESULT replaceChild(Anchor& parent, IXMLDOMNode* newChild, IXMLDOMNode* oldChild,
                     IXMLDOMNode** replaced) noexcept;
HRESULT appendChild(Anchor& parent, IXMLDOMNode* newChild, IXMLDOMNode** added) noexcept;
HRESULT getOwner(const Anchor& anchor, IXMLDOMDocument** document) noexcept;
HRESULT clone(const Anchor& anchor, VARIANT_BOOL deep, IXMLDOMNode** copy) noexcept;
HRESULT getText(const Anchor& anchor, BSTR* text) noexcept;
HRESULT putText(Anchor& anchor, BSTR text) noexcept;
HRESULT transformToText(const Anchor& anchor, IXMLDOMNode* styleSheet, BSTR* text) noexcept;
HRESULT transformToObject(const Anchor& anchor, IXMLDOMNode* styleSheet, const VARIANT& output) noexcept;

// Of elements.
HRESULT getAttribute(const Anchor& anchor, BSTR name, VARIANT* value) noexcept;
HRESULT setAttribute(Anchor& anchor, BSTR name, const VARIANT& value) noexcept;

// For an operation that was handed no place for its result, or no object.
HRESULT nullPointer(std::string_view operation) noexcept;

}  // namespace engine::dom::nodeops
