#include "engine/xslt/functions.h"

#include <libxml/xpathInternals.h>
#include <libxslt/extensions.h>
#include <libxslt/extra.h>
#include <libxslt/templates.h>
#include <libxslt/variables.h>
#include <libxslt/xsltutils.h>

#include <new>

#include "engine/xml2/handles.h"

namespace engine::xslt {

namespace {

using xml2::chars;

constexpr const char* kMicrosoft = "urn:schemas-microsoft-com:xslt";
constexpr const char* kCommon = "http://exslt.org/common";

// EXSLT's node-set also takes a plain value, of which it makes a text node.
void nodeSet(xmlXPathParserContextPtr parser, int count) {
    if (count != 1) return xmlXPathErr(parser, XPATH_INVALID_ARITY);
    if (xmlXPathStackIsNodeSet(parser)) return xsltFunctionNodeSet(parser, count);
    xsltTransformContext* context = xsltXPathGetTransformContext(parser);
    xmlDoc* fragment = context == nullptr ? nullptr : xsltCreateRVT(context);
    if (fragment == nullptr) return xmlXPathErr(parser, XPATH_MEMORY_ERROR);
    (void)xsltRegisterLocalRVT(context, fragment);
    const xml2::TextHandle value(xmlXPathPopString(parser));
    xmlNode* text = xmlNewDocText(fragment, value.get());
    if (text == nullptr) return xmlXPathErr(parser, XPATH_MEMORY_ERROR);
    (void)xmlAddChild(reinterpret_cast<xmlNode*>(fragment), text);
    valuePush(parser, xmlXPathNewNodeSet(text));
}

const char* nameOfType(xmlXPathObjectType type) {
    switch (type) {
        case XPATH_STRING:
            return "string";
        case XPATH_NUMBER:
            return "number";
        case XPATH_BOOLEAN:
            return "boolean";
        case XPATH_NODESET:
            return "node-set";
        case XPATH_XSLT_TREE:
            return "RTF";
        default:
            return "external";
    }
}

void objectType(xmlXPathParserContextPtr parser, int count) {
    if (count != 1) return xmlXPathErr(parser, XPATH_INVALID_ARITY);
    xmlXPathObject* value = valuePop(parser);
    if (value == nullptr) return xmlXPathErr(parser, XPATH_STACK_ERROR);
    const char* name = nameOfType(value->type);
    xmlXPathFreeObject(value);
    valuePush(parser, xmlXPathNewCString(name));
}

void add(xsltTransformContext& context, const char* name, const char* uri, xmlXPathFunction function) {
    if (xsltRegisterExtFunction(&context, chars(name), chars(uri), function) != 0) throw std::bad_alloc();
}

}  // namespace

void addFunctions(xsltTransformContext& context) {
    add(context, "node-set", kMicrosoft, nodeSet);
    add(context, "node-set", kCommon, nodeSet);
    add(context, "object-type", kCommon, objectType);
}

}  // namespace engine::xslt
