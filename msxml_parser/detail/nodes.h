// Checked steps through the engine's tree. Failures raise _com_error, empty references E_POINTER.
#pragma once

#include <utility>

#include "msxml_parser/detail/comptr.h"

namespace msxml {

using Node = ComPtr<IXMLDOMNode>;
using Element = ComPtr<IXMLDOMElement>;

template <typename T>
[[nodiscard]] Node firstChildOf(const ComPtr<T>& node) {
    Node child;
    check(node->get_firstChild(child.receive()), node);
    return child;
}

template <typename T>
[[nodiscard]] Node nextSiblingOf(const ComPtr<T>& node) {
    Node sibling;
    check(node->get_nextSibling(sibling.receive()), node);
    return sibling;
}

[[nodiscard]] inline DOMNodeType typeOf(const Node& node) {
    DOMNodeType type{};
    check(node->get_nodeType(&type), node);
    return type;
}

// `node` itself or the first sibling after it that is an element; empty if there is none.
[[nodiscard]] inline Node skipToElementNode(Node node) {
    while (node && typeOf(node) != NODE_ELEMENT) node = nextSiblingOf(node);
    return node;
}
// The same, for what only elements can do.
[[nodiscard]] inline Element skipToElement(Node node) {
    return skipToElementNode(std::move(node)).as<IXMLDOMElement>();
}

}  // namespace msxml
