// The XML interfaces that this project uses, each with exactly the operations in use, under the platform's
// own names and in its relative order. Conventions of com.h: every out-parameter is the caller's own; a
// failed call clears its out-parameters and leaves error information for GetErrorInfo.
#pragma once

#include "engine/com/com.h"

struct IXMLDOMDocument;
struct IXMLDOMElement;
struct IXMLDOMNamedNodeMap;
struct IXMLDOMNodeList;
struct IXMLDOMParseError;
struct IXMLDOMProcessingInstruction;
struct IXMLDOMText;

enum DOMNodeType {
    NODE_INVALID = 0,
    NODE_ELEMENT = 1,
    NODE_ATTRIBUTE = 2,
    NODE_TEXT = 3,
    NODE_CDATA_SECTION = 4,
    NODE_ENTITY_REFERENCE = 5,
    NODE_ENTITY = 6,
    NODE_PROCESSING_INSTRUCTION = 7,
    NODE_COMMENT = 8,
    NODE_DOCUMENT = 9,
    NODE_DOCUMENT_TYPE = 10,
    NODE_DOCUMENT_FRAGMENT = 11,
    NODE_NOTATION = 12,
};

// Asking twice for one node gives the same object while the first result lives. Attribute nodes are made
// anew.
struct IXMLDOMNode : IDispatch {
    virtual HRESULT STDMETHODCALLTYPE get_nodeName(BSTR* name) = 0;
    virtual HRESULT STDMETHODCALLTYPE
    get_nodeValue(VARIANT* value) = 0;  // VT_NULL and S_FALSE where there is none
    virtual HRESULT STDMETHODCALLTYPE get_nodeType(DOMNodeType* type) = 0;
    virtual HRESULT STDMETHODCALLTYPE
    get_parentNode(IXMLDOMNode** parent) = 0;  // null and S_FALSE where none, so below
    virtual HRESULT STDMETHODCALLTYPE get_childNodes(IXMLDOMNodeList** children) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_firstChild(IXMLDOMNode** child) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_nextSibling(IXMLDOMNode** sibling) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_attributes(IXMLDOMNamedNodeMap** attributes) = 0;
    // `inserted`, `replaced`, `removed` and `added` may be null; else they get a reference on the node put in
    // or taken out. A null or empty `refChild`: at the end.
    virtual HRESULT STDMETHODCALLTYPE insertBefore(IXMLDOMNode* newChild, VARIANT refChild,
                                                   IXMLDOMNode** inserted) = 0;
    virtual HRESULT STDMETHODCALLTYPE replaceChild(IXMLDOMNode* newChild, IXMLDOMNode* oldChild,
                                                   IXMLDOMNode** replaced) = 0;
    virtual HRESULT STDMETHODCALLTYPE removeChild(IXMLDOMNode* child, IXMLDOMNode** removed) = 0;
    virtual HRESULT STDMETHODCALLTYPE appendChild(IXMLDOMNode* newChild, IXMLDOMNode** added) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_ownerDocument(IXMLDOMDocument** document) = 0;
    virtual HRESULT STDMETHODCALLTYPE cloneNode(VARIANT_BOOL deep, IXMLDOMNode** clone) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_text(BSTR* text) = 0;
    virtual HRESULT STDMETHODCALLTYPE put_text(BSTR text) = 0;
    virtual HRESULT STDMETHODCALLTYPE transformNode(IXMLDOMNode* styleSheet, BSTR* text) = 0;
    // XPath 1.0 from this document or element, in document order; the prefixes are those of the document's
    // "SelectionNamespaces". The list holds what was selected when it was made. E_INVALIDARG with a
    // description: the expression is wrong, selects no nodes, or takes more work than is allowed.
    virtual HRESULT STDMETHODCALLTYPE selectNodes(BSTR expression, IXMLDOMNodeList** nodes) = 0;
    virtual HRESULT STDMETHODCALLTYPE selectSingleNode(BSTR expression,
                                                       IXMLDOMNode** node) = 0;  // none: null and S_FALSE
    // Of an element or attribute; null and S_FALSE: in no namespace, without a prefix. A prefix that is not
    // declared around the node is bound to no namespace.
    virtual HRESULT STDMETHODCALLTYPE get_namespaceURI(BSTR* uri) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_prefix(BSTR* prefix) = 0;
    // The name without its prefix; of an instruction its target; null and S_FALSE of nodes without a name.
    virtual HRESULT STDMETHODCALLTYPE get_baseName(BSTR* name) = 0;
    virtual HRESULT STDMETHODCALLTYPE transformNodeToObject(IXMLDOMNode* styleSheet, VARIANT output) = 0;
};

struct IXMLDOMElement : IXMLDOMNode {
    virtual HRESULT STDMETHODCALLTYPE get_tagName(BSTR* name) = 0;
    virtual HRESULT STDMETHODCALLTYPE getAttribute(BSTR name,
                                                   VARIANT* value) = 0;  // absent: VT_NULL and S_FALSE
    virtual HRESULT STDMETHODCALLTYPE setAttribute(BSTR name, VARIANT value) = 0;
    virtual HRESULT STDMETHODCALLTYPE removeAttribute(BSTR name) = 0;  // absent: S_FALSE
};

struct IXMLDOMAttribute : IXMLDOMNode {};
struct IXMLDOMText : IXMLDOMNode {};
struct IXMLDOMProcessingInstruction : IXMLDOMNode {};

struct IXMLDOMNodeList : IDispatch {
    virtual HRESULT STDMETHODCALLTYPE get_item(LONG index,
                                               IXMLDOMNode** node) = 0;  // outside: null and S_FALSE
    virtual HRESULT STDMETHODCALLTYPE get_length(LONG* length) = 0;
};

struct IXMLDOMNamedNodeMap : IDispatch {
    virtual HRESULT STDMETHODCALLTYPE get_item(LONG index,
                                               IXMLDOMNode** node) = 0;  // outside: null and S_FALSE
    virtual HRESULT STDMETHODCALLTYPE get_length(LONG* length) = 0;
};

// A record of one load or validation; it does not change afterwards.
struct IXMLDOMParseError : IDispatch {
    virtual HRESULT STDMETHODCALLTYPE get_errorCode(LONG* code) = 0;  // 0 and S_FALSE: nothing was wrong
    virtual HRESULT STDMETHODCALLTYPE get_reason(BSTR* reason) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_srcText(BSTR* text) = 0;    // the line with the offending token
    virtual HRESULT STDMETHODCALLTYPE get_line(LONG* line) = 0;       // from 1; 0: no position
    virtual HRESULT STDMETHODCALLTYPE get_linepos(LONG* column) = 0;  // in characters, from 1; 0: no position
    virtual HRESULT STDMETHODCALLTYPE get_filepos(LONG* position) = 0;  // in characters from the start
};

struct IXMLDOMParseErrorCollection;

// Every error of one validation, if the document has the property "MultipleErrorMessages"; else the first.
struct IXMLDOMParseError2 : IXMLDOMParseError {
    // The element, as an XPath expression with the names as written; empty: none, or not looked for.
    virtual HRESULT STDMETHODCALLTYPE get_errorXPath(BSTR* path) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_allErrors(IXMLDOMParseErrorCollection** errors) = 0;
};

struct IXMLDOMParseErrorCollection : IDispatch {
    virtual HRESULT STDMETHODCALLTYPE get_item(LONG index,
                                               IXMLDOMParseError2** error) = 0;  // outside: null, S_FALSE
    virtual HRESULT STDMETHODCALLTYPE get_length(LONG* length) = 0;
};

struct IXMLDOMDocument : IXMLDOMNode {
    virtual HRESULT STDMETHODCALLTYPE get_documentElement(IXMLDOMElement** element) = 0;
    virtual HRESULT STDMETHODCALLTYPE createElement(BSTR name, IXMLDOMElement** element) = 0;
    virtual HRESULT STDMETHODCALLTYPE createTextNode(BSTR text, IXMLDOMText** node) = 0;
    virtual HRESULT STDMETHODCALLTYPE createProcessingInstruction(BSTR target, BSTR data,
                                                                  IXMLDOMProcessingInstruction** node) = 0;
    // Elements alone (NODE_ELEMENT as a number). A namespace is declared on the new element.
    virtual HRESULT STDMETHODCALLTYPE createNode(VARIANT type, BSTR name, BSTR namespaceUri,
                                                 IXMLDOMNode** node) = 0;
    // From a path or file URL (VT_BSTR), or the bytes of an ISequentialStream.
    virtual HRESULT STDMETHODCALLTYPE load(VARIANT source, VARIANT_BOOL* loaded) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_parseError(IXMLDOMParseError** error) = 0;
    virtual HRESULT STDMETHODCALLTYPE put_async(VARIANT_BOOL async) = 0;
    virtual HRESULT STDMETHODCALLTYPE loadXML(BSTR text, VARIANT_BOOL* loaded) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_validateOnParse(VARIANT_BOOL* validate) = 0;
    virtual HRESULT STDMETHODCALLTYPE put_validateOnParse(VARIANT_BOOL validate) = 0;
    virtual HRESULT STDMETHODCALLTYPE put_resolveExternals(VARIANT_BOOL resolve) = 0;
    virtual HRESULT STDMETHODCALLTYPE put_preserveWhiteSpace(VARIANT_BOOL preserve) = 0;
};

struct IXMLDOMDocument2 : IXMLDOMDocument {
    virtual HRESULT STDMETHODCALLTYPE get_schemas(VARIANT* schemas) = 0;  // VT_NULL and S_FALSE: none
    virtual HRESULT STDMETHODCALLTYPE putref_schemas(VARIANT schemas) = 0;
    virtual HRESULT STDMETHODCALLTYPE validate(IXMLDOMParseError** error) = 0;
    // "ProhibitDTD" (VT_BOOL, true at first): a load rejects a DOCTYPE. Where it is allowed, the internal
    // subset is read under the reader's limits, and nothing external is. "SelectionNamespaces" (VT_BSTR): the
    // prefixes of expressions, as declarations are written in a start tag. "MultipleErrorMessages" (VT_BOOL,
    // false at first): `validate` finds every error, not just the first. Others: E_INVALIDARG.
    virtual HRESULT STDMETHODCALLTYPE setProperty(BSTR name, VARIANT value) = 0;
};

struct IXMLDOMSchemaCollection : IDispatch {
    virtual HRESULT STDMETHODCALLTYPE add(BSTR namespaceUri, VARIANT source) = 0;
};

// Transformation.

struct IXSLProcessor : IDispatch {
    virtual HRESULT STDMETHODCALLTYPE put_input(VARIANT input) = 0;  // a document or node
    // An object with ISequentialStream, which gets the bytes in the encoding that the style sheet asks for,
    // or a document, whose content is replaced; VT_EMPTY: the result becomes a text.
    virtual HRESULT STDMETHODCALLTYPE put_output(VARIANT output) = 0;
    virtual HRESULT STDMETHODCALLTYPE
    get_output(VARIANT* output) = 0;  // the text, or the object that was put
    virtual HRESULT STDMETHODCALLTYPE transform(VARIANT_BOOL* done) = 0;
    // VT_BSTR, VT_R8, VT_I4 or VT_BOOL; VT_EMPTY takes it away. One that the style sheet has not is ignored.
    virtual HRESULT STDMETHODCALLTYPE addParameter(BSTR name, VARIANT value, BSTR namespaceUri) = 0;
};

struct IXSLTemplate : IDispatch {
    // Compiles the style sheet, a document or element. If its document changes, it is compiled anew.
    virtual HRESULT STDMETHODCALLTYPE putref_stylesheet(IXMLDOMNode* styleSheet) = 0;
    virtual HRESULT STDMETHODCALLTYPE createProcessor(IXSLProcessor** processor) = 0;
};

// Streaming. Texts come with their length in units and are borrowed for the call.

struct ISAXLocator : IUnknown {
    virtual HRESULT STDMETHODCALLTYPE getColumnNumber(int* column) = 0;
    virtual HRESULT STDMETHODCALLTYPE getLineNumber(int* line) = 0;
};

struct ISAXAttributes : IUnknown {
    virtual HRESULT STDMETHODCALLTYPE getLength(int* count) = 0;
    virtual HRESULT STDMETHODCALLTYPE getLocalName(int index, const OLECHAR** name, int* length) = 0;
    virtual HRESULT STDMETHODCALLTYPE getName(int index, const OLECHAR** uri, int* uriLength,
                                              const OLECHAR** localName, int* localNameLength,
                                              const OLECHAR** qualifiedName, int* qualifiedNameLength) = 0;
    virtual HRESULT STDMETHODCALLTYPE getValue(int index, const OLECHAR** value, int* length) = 0;
};

struct ISAXContentHandler : IUnknown {
    virtual HRESULT STDMETHODCALLTYPE putDocumentLocator(ISAXLocator* locator) = 0;
    virtual HRESULT STDMETHODCALLTYPE startDocument() = 0;
    virtual HRESULT STDMETHODCALLTYPE endDocument() = 0;
    virtual HRESULT STDMETHODCALLTYPE startPrefixMapping(const OLECHAR* prefix, int prefixLength,
                                                         const OLECHAR* uri, int uriLength) = 0;
    virtual HRESULT STDMETHODCALLTYPE endPrefixMapping(const OLECHAR* prefix, int prefixLength) = 0;
    virtual HRESULT STDMETHODCALLTYPE startElement(const OLECHAR* uri, int uriLength,
                                                   const OLECHAR* localName, int localNameLength,
                                                   const OLECHAR* qualifiedName, int qualifiedNameLength,
                                                   ISAXAttributes* attributes) = 0;
    virtual HRESULT STDMETHODCALLTYPE endElement(const OLECHAR* uri, int uriLength, const OLECHAR* localName,
                                                 int localNameLength, const OLECHAR* qualifiedName,
                                                 int qualifiedNameLength) = 0;
    virtual HRESULT STDMETHODCALLTYPE characters(const OLECHAR* text, int length) = 0;
    virtual HRESULT STDMETHODCALLTYPE ignorableWhitespace(const OLECHAR* text, int length) = 0;
    virtual HRESULT STDMETHODCALLTYPE processingInstruction(const OLECHAR* target, int targetLength,
                                                            const OLECHAR* data, int dataLength) = 0;
    virtual HRESULT STDMETHODCALLTYPE skippedEntity(const OLECHAR* name, int length) = 0;
};

// This engine reports comments and CDATA sections, and of nothing else.
struct ISAXLexicalHandler : IUnknown {
    virtual HRESULT STDMETHODCALLTYPE startDTD(const OLECHAR* name, int nameLength, const OLECHAR* publicId,
                                               int publicIdLength, const OLECHAR* systemId,
                                               int systemIdLength) = 0;
    virtual HRESULT STDMETHODCALLTYPE endDTD() = 0;
    virtual HRESULT STDMETHODCALLTYPE startEntity(const OLECHAR* name, int length) = 0;
    virtual HRESULT STDMETHODCALLTYPE endEntity(const OLECHAR* name, int length) = 0;
    virtual HRESULT STDMETHODCALLTYPE startCDATA() = 0;
    virtual HRESULT STDMETHODCALLTYPE endCDATA() = 0;
    virtual HRESULT STDMETHODCALLTYPE comment(const OLECHAR* text, int length) = 0;
};

// The locator stands where the error is; it is borrowed for the call.
struct ISAXErrorHandler : IUnknown {
    virtual HRESULT STDMETHODCALLTYPE error(ISAXLocator* locator, const OLECHAR* message, HRESULT code) = 0;
    virtual HRESULT STDMETHODCALLTYPE fatalError(ISAXLocator* locator, const OLECHAR* message,
                                                 HRESULT code) = 0;
    virtual HRESULT STDMETHODCALLTYPE ignorableWarning(ISAXLocator* locator, const OLECHAR* message,
                                                       HRESULT code) = 0;
};

// Features: "schema-validation", "exhaustive-errors" (validation goes on after an error, which is then
// reported by `error`), "prohibit-dtd" and the two of external entities, which are never read. Properties:
// "schemas", "max-element-depth" and the lexical handler's. Others are E_INVALIDARG.
struct ISAXXMLReader : IUnknown {
    virtual HRESULT STDMETHODCALLTYPE getFeature(const OLECHAR* name, VARIANT_BOOL* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE putFeature(const OLECHAR* name, VARIANT_BOOL value) = 0;
    virtual HRESULT STDMETHODCALLTYPE getProperty(const OLECHAR* name, VARIANT* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE putProperty(const OLECHAR* name, VARIANT value) = 0;
    virtual HRESULT STDMETHODCALLTYPE putContentHandler(ISAXContentHandler* handler) = 0;
    virtual HRESULT STDMETHODCALLTYPE putErrorHandler(ISAXErrorHandler* handler) = 0;
    // A text (VT_BSTR), or an object with ISequentialStream.
    virtual HRESULT STDMETHODCALLTYPE parse(VARIANT input) = 0;
    virtual HRESULT STDMETHODCALLTYPE parseURL(const OLECHAR* url) = 0;
};

// Identifiers.

namespace engine::com::detail {
// The document interfaces share all but the first field's last byte.
constexpr GUID domId(std::uint32_t last) noexcept {
    return {0x2933BF00u | last, 0x7B36, 0x11D2, {0xB2, 0x0E, 0x00, 0xC0, 0x4F, 0x98, 0x3E, 0x60}};
}
}  // namespace engine::com::detail

inline constexpr IID IID_IXMLDOMNode = engine::com::detail::domId(0x80);
inline constexpr IID IID_IXMLDOMDocument = engine::com::detail::domId(0x81);
inline constexpr IID IID_IXMLDOMNodeList = engine::com::detail::domId(0x82);
inline constexpr IID IID_IXMLDOMNamedNodeMap = engine::com::detail::domId(0x83);
inline constexpr IID IID_IXMLDOMAttribute = engine::com::detail::domId(0x85);
inline constexpr IID IID_IXMLDOMElement = engine::com::detail::domId(0x86);
inline constexpr IID IID_IXMLDOMText = engine::com::detail::domId(0x87);
inline constexpr IID IID_IXMLDOMProcessingInstruction = engine::com::detail::domId(0x89);
inline constexpr IID IID_IXMLDOMDocument2 = engine::com::detail::domId(0x95);
inline constexpr IID IID_IXSLProcessor = engine::com::detail::domId(0x92);
inline constexpr IID IID_IXSLTemplate = engine::com::detail::domId(0x93);
inline constexpr IID IID_IXMLDOMParseError2{
    0x3EFAA428, 0x272F, 0x11D2, {0x83, 0x6F, 0x00, 0x00, 0xF8, 0x7A, 0x77, 0x82}};
inline constexpr IID IID_IXMLDOMParseErrorCollection{
    0x3EFAA429, 0x272F, 0x11D2, {0x83, 0x6F, 0x00, 0x00, 0xF8, 0x7A, 0x77, 0x82}};
inline constexpr IID IID_IXMLDOMParseError{
    0x3EFAA426, 0x272F, 0x11D2, {0x83, 0x6F, 0x00, 0x00, 0xF8, 0x7A, 0x77, 0x82}};
inline constexpr IID IID_IXMLDOMSchemaCollection{
    0x373984C8, 0xB845, 0x449B, {0x91, 0xE7, 0x45, 0xAC, 0x83, 0x03, 0x6A, 0xDE}};
inline constexpr IID IID_ISAXXMLReader{
    0xA4F96ED0, 0xF829, 0x476E, {0x81, 0xC0, 0xCD, 0xC7, 0xBD, 0x2A, 0x08, 0x02}};
inline constexpr IID IID_ISAXContentHandler{
    0x1545CDFA, 0x9E4E, 0x4497, {0xA8, 0xA4, 0x2B, 0xF7, 0xD0, 0x11, 0x2C, 0x44}};
inline constexpr IID IID_ISAXLexicalHandler{
    0x7F85D5F5, 0x47A8, 0x4497, {0xBD, 0xA5, 0x84, 0xBA, 0x04, 0x81, 0x9E, 0xA6}};
inline constexpr IID IID_ISAXErrorHandler{
    0xA60511C4, 0xCCF5, 0x479E, {0x98, 0xA3, 0xDC, 0x8D, 0xC5, 0x45, 0xB7, 0xD0}};
inline constexpr IID IID_ISAXAttributes{
    0xF078ABE1, 0x45D2, 0x4832, {0x91, 0xEA, 0x44, 0x66, 0xCE, 0x2F, 0x25, 0xC9}};
inline constexpr IID IID_ISAXLocator{
    0x9B7E472A, 0x0DE4, 0x4640, {0xBF, 0xF3, 0x84, 0xD3, 0x8A, 0x05, 0x1C, 0x31}};

inline constexpr CLSID CLSID_DOMDocument60{
    0x88D96A05, 0xF192, 0x11D4, {0xA6, 0x5F, 0x00, 0x40, 0x96, 0x32, 0x51, 0xE5}};
inline constexpr CLSID CLSID_FreeThreadedDOMDocument60{
    0x88D96A06, 0xF192, 0x11D4, {0xA6, 0x5F, 0x00, 0x40, 0x96, 0x32, 0x51, 0xE5}};
inline constexpr CLSID CLSID_XSLTemplate60{
    0x88D96A08, 0xF192, 0x11D4, {0xA6, 0x5F, 0x00, 0x40, 0x96, 0x32, 0x51, 0xE5}};
inline constexpr CLSID CLSID_XMLSchemaCache60{
    0x88D96A07, 0xF192, 0x11D4, {0xA6, 0x5F, 0x00, 0x40, 0x96, 0x32, 0x51, 0xE5}};
inline constexpr CLSID CLSID_SAXXMLReader60{
    0x88D96A0C, 0xF192, 0x11D4, {0xA6, 0x5F, 0x00, 0x40, 0x96, 0x32, 0x51, 0xE5}};
inline constexpr CLSID CLSID_SAXXMLReader{
    0x079AA557, 0x4A18, 0x424A, {0x8E, 0xEE, 0xE3, 0x9F, 0x0A, 0x8D, 0x41, 0xB9}};
