// What an engine does beyond the interfaces that all engines share. Each platform has a header of this name,
// which gives the same functions; here they ask our own engine's extension of a document.
#pragma once

#include "engine/com/extension.h"
#include "msxml_parser/detail/dom/writesettings.h"
#include "msxml_parser/detail/nodes.h"
#include "msxml_parser/detail/text.h"

namespace msxml {

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

// The value of an expression as XPath's string(), number() or boolean() gives it, from `context`, which is
// the document or a node of it. Raise _com_error: E_INVALIDARG for a wrong expression.
inline void evaluate(const ComPtr<IXMLDOMDocument2>& document, const Node& context, const BStr& expression,
                     BStr& text) {
    const auto extension = extensionOf(document);
    check(extension->evaluate(context.get(), expression.get(), text.receive(), nullptr, nullptr), document);
}
inline void evaluate(const ComPtr<IXMLDOMDocument2>& document, const Node& context, const BStr& expression,
                     double& number) {
    const auto extension = extensionOf(document);
    check(extension->evaluate(context.get(), expression.get(), nullptr, &number, nullptr), document);
}
inline void evaluate(const ComPtr<IXMLDOMDocument2>& document, const Node& context, const BStr& expression,
                     bool& truth) {
    VARIANT_BOOL said = VARIANT_FALSE;
    const auto extension = extensionOf(document);
    check(extension->evaluate(context.get(), expression.get(), nullptr, nullptr, &said), document);
    truth = said == VARIANT_TRUE;
}

// Where the last wrong expression went wrong, in characters from 1; 0: not known.
[[nodiscard]] inline int expressionColumn(const ComPtr<IXMLDOMDocument2>& document) {
    LONG column = 0;
    const auto extension = extensionOf(document);
    check(extension->getExpressionError(&column), document);
    return static_cast<int>(column);
}

// Writes the document to the stream, in pieces. Raises _com_error, E_INVALIDARG with a description for what
// cannot be written so.
inline void writeDocument(const ComPtr<IXMLDOMDocument2>& document, IStream& stream,
                          const WriteSettings& settings) {
    using Declaration = WriteSettings::Declaration;
    XMLWriteSettings said{};
    said.encoding = settings.encoding.empty() ? nullptr : toOleChars(settings.encoding.c_str());
    said.declaration = settings.declaration == Declaration::Never      ? XMLWriteSettings::Never
                       : settings.declaration == Declaration::AsLoaded ? XMLWriteSettings::AsLoaded
                                                                       : XMLWriteSettings::WithoutEncoding;
    said.indent = settings.indent;
    said.indentBy = settings.indentUnit.empty() ? OLECHAR{' '} : static_cast<OLECHAR>(settings.indentUnit[0]);
    said.indentCount = static_cast<unsigned char>(settings.indentUnit.size());
    const auto extension = extensionOf(document);
    const HRESULT status = extension->write(&stream, &said);
    if (FAILED(status)) raise(status, extension.get(), IID_IXMLDocumentExtension);
}

}  // namespace msxml
