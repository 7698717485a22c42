// What an engine does beyond the interfaces that all engines share. Each platform has a header of this name,
// which gives the same functions; here nothing is known beyond those interfaces.
#pragma once

#include "msxml_parser/detail/dom/writesettings.h"
#include "msxml_parser/detail/nodes.h"
#include "msxml_parser/detail/text.h"

namespace msxml {

// This platform's engine keeps no positions. Raises as all steps through the tree do.
[[nodiscard]] inline SourcePosition positionOf(const Element& element) {
    if (!element) raiseNullReference();
    return {};
}

// The value of an expression as XPath's string(), number() or boolean() gives it, from `context`, which is
// the document or a node of it. Raise _com_error for a wrong expression. See expressions.cpp.
void evaluate(const ComPtr<IXMLDOMDocument2>& document, const Node& context, const BStr& expression,
              BStr& text);
void evaluate(const ComPtr<IXMLDOMDocument2>& document, const Node& context, const BStr& expression,
              double& number);
void evaluate(const ComPtr<IXMLDOMDocument2>& document, const Node& context, const BStr& expression,
              bool& truth);

// Where the last wrong expression went wrong; 0: not known, as always here: the description shows it.
[[nodiscard]] inline int expressionColumn(const ComPtr<IXMLDOMDocument2>&) noexcept {
    return 0;
}

// Writes the document to the stream. Raises _com_error. See documentwriter.cpp.
void writeDocument(const ComPtr<IXMLDOMDocument2>& document, IStream& stream, const WriteSettings& settings);

}  // namespace msxml
