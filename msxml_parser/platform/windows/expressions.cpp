// The value of an expression through what this platform's engine has: expressions that select nodes, and
// style sheets, one of which writes the value.
#include <cmath>
#include <limits>
#include <string>

#include "msxml_parser/detail/engineclasses.h"
#include "msxml_parser/detail/enginespecific.h"
#include "msxml_parser/detail/xmltext.h"

namespace msxml {

namespace {

using Document = ComPtr<IXMLDOMDocument2>;

void writeValue(const Document& document, const Node& context, const std::u16string& expression, BStr& out) {
    const BStr property(u"SelectionNamespaces");
    Variant prefixes;
    (void)document->getProperty(property.get(), prefixes.receive());  // none: none was set
    std::u16string sheet = u"<xsl:stylesheet version=\"1.0\" ";
    sheet.append(u"xmlns:xsl=\"http://www.w3.org/1999/XSL/Transform\" ").append(prefixes.text());
    sheet.append(u"><xsl:output method=\"text\"/><xsl:template match=\"/|*\"><xsl:value-of select=\"");
    sheet.append(escapedValue(expression)).append(u"\"/></xsl:template></xsl:stylesheet>");
    Document style;
    const HRESULT made = createEngineObject(kDocumentClass, style);
    if (FAILED(made)) throw _com_error(made);
    const BStr text(sheet);
    VARIANT_BOOL loaded = VARIANT_FALSE;
    check(style->put_async(VARIANT_FALSE), style);
    check(style->loadXML(text.get(), &loaded), style);
    if (loaded != VARIANT_TRUE) throw _com_error(E_INVALIDARG);
    check(context->transformNode(style.get(), out.receive()), context);
}

}  // namespace

void evaluate(const Document& document, const Node& context, const BStr& expression, BStr& text) {
    writeValue(document, context, std::u16string(expression.view()), text);
}

void evaluate(const Document& document, const Node& context, const BStr& expression, double& number) {
    BStr text;
    writeValue(document, context, u"number(" + std::u16string(expression.view()) + u")", text);
    const std::string digits(text.view().begin(), text.view().end());
    number = digits == "Infinity"    ? std::numeric_limits<double>::infinity()
             : digits == "-Infinity" ? -std::numeric_limits<double>::infinity()
             : digits == "NaN"       ? std::numeric_limits<double>::quiet_NaN()
                                     : std::stod(digits);
}

void evaluate(const Document& document, const Node& context, const BStr& expression, bool& truth) {
    BStr text;
    writeValue(document, context, u"boolean(" + std::u16string(expression.view()) + u")", text);
    truth = text.view() == u"true";
}

}  // namespace msxml
