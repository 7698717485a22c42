// What an engine does beyond the interfaces that all engines share. Each platform has a header of this name,
// which gives the same functions; here they ask our own engine's extension of a document.
#pragma once

#include "engine/com/extension.h"
#include "msxml_parser/detail/nodes.h"

namespace msxml {

struct SourcePosition {
    int line = 0;  // 0: unknown
    int column = 0;
};

// Null, and nothing raised, if the document is of an engine without the extension.
template <typename T>
[[nodiscard]] ComPtr<IXMLDocumentExtension> extensionOf(const ComPtr<T>& document) {
    ComPtr<IXMLDocumentExtension> extension;
    if (FAILED(document->QueryInterface(IID_IXMLDocumentExtension,
                                        reinterpret_cast<void**>(extension.receive()))))
        return {};
    return extension;
}

// Where the element's start tag stands in the source. Raises as all steps through the tree do.
[[nodiscard]] inline SourcePosition positionOf(const Element& element) {
    ComPtr<IXMLDOMDocument> document;
    check(element->get_ownerDocument(document.receive()), element);
    const auto extension = extensionOf(document);
    LONG line = 0;
    LONG column = 0;
    if (extension && FAILED(extension->getPosition(element.get(), &line, &column)))
        raise(E_FAIL, extension.get(), IID_IXMLDocumentExtension);
    return {static_cast<int>(line), static_cast<int>(column)};
}

}  // namespace msxml
