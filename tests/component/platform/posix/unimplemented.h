// Engine objects that implement nothing, for tests to stand on: what is not overridden returns E_NOTIMPL.
#pragma once

#include "msxml_parser/detail/platformcom.h"

namespace component_test {

class UnimplementedDocument : public IXMLDOMDocument2 {
public:
    HRESULT STDMETHODCALLTYPE get_nodeName(BSTR*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE get_nodeValue(VARIANT*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE get_nodeType(DOMNodeType*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE get_parentNode(IXMLDOMNode**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE get_childNodes(IXMLDOMNodeList**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE get_firstChild(IXMLDOMNode**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE get_nextSibling(IXMLDOMNode**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE get_attributes(IXMLDOMNamedNodeMap**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE insertBefore(IXMLDOMNode*, VARIANT, IXMLDOMNode**) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE removeChild(IXMLDOMNode*, IXMLDOMNode**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE selectNodes(BSTR, IXMLDOMNodeList**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE selectSingleNode(BSTR, IXMLDOMNode**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE get_namespaceURI(BSTR*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE get_prefix(BSTR*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE get_baseName(BSTR*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE createNode(VARIANT, BSTR, BSTR, IXMLDOMNode**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE replaceChild(IXMLDOMNode*, IXMLDOMNode*, IXMLDOMNode**) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE appendChild(IXMLDOMNode*, IXMLDOMNode**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE get_ownerDocument(IXMLDOMDocument**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE cloneNode(VARIANT_BOOL, IXMLDOMNode**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE get_text(BSTR*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE put_text(BSTR) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE transformNode(IXMLDOMNode*, BSTR*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE transformNodeToObject(IXMLDOMNode*, VARIANT) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE get_documentElement(IXMLDOMElement**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE createElement(BSTR, IXMLDOMElement**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE createTextNode(BSTR, IXMLDOMText**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE createProcessingInstruction(BSTR, BSTR,
                                                          IXMLDOMProcessingInstruction**) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE load(VARIANT, VARIANT_BOOL*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE get_parseError(IXMLDOMParseError**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE loadXML(BSTR, VARIANT_BOOL*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE get_validateOnParse(VARIANT_BOOL*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE put_async(VARIANT_BOOL) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE put_resolveExternals(VARIANT_BOOL) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE put_preserveWhiteSpace(VARIANT_BOOL) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE put_validateOnParse(VARIANT_BOOL) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE get_schemas(VARIANT*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE putref_schemas(VARIANT) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE validate(IXMLDOMParseError**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE setProperty(BSTR, VARIANT) override { return E_NOTIMPL; }
};

class UnimplementedAttributes : public ISAXAttributes {
public:
    HRESULT STDMETHODCALLTYPE getLength(int*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE getLocalName(int, const OLECHAR**, int*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE getName(int, const OLECHAR**, int*, const OLECHAR**, int*, const OLECHAR**,
                                      int*) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE getValue(int, const OLECHAR**, int*) override { return E_NOTIMPL; }
};

}  // namespace component_test
