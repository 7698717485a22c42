// Where COM and the XML interfaces come from on this platform: its own headers. Each platform has a header of
// this name, which gives the same names and signatures.
#pragma once

#include "msxml_parser/systemcomerror.h"

#if __has_include(<msxml6.h>)
#include <msxml6.h>
#else
#include <msxml2.h>  // the same interfaces, in a compiler's headers that have no file for the version

// Those of the version itself, which these headers lack.
struct IXMLDOMParseErrorCollection;
struct IXMLDOMParseError2 : IXMLDOMParseError {
    virtual HRESULT STDMETHODCALLTYPE get_errorXPath(BSTR* path) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_allErrors(IXMLDOMParseErrorCollection** errors) = 0;
    virtual HRESULT STDMETHODCALLTYPE errorParameters(LONG index, BSTR* parameter) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_errorParametersCount(LONG* count) = 0;
};
struct IXMLDOMParseErrorCollection : IDispatch {
    virtual HRESULT STDMETHODCALLTYPE get_item(LONG index, IXMLDOMParseError2** error) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_length(LONG* length) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_next(IXMLDOMParseError2** error) = 0;
    virtual HRESULT STDMETHODCALLTYPE reset() = 0;
    virtual HRESULT STDMETHODCALLTYPE get__newEnum(IUnknown** enumerator) = 0;
};
inline constexpr IID IID_IXMLDOMParseError2{
    0x3EFAA428, 0x272F, 0x11D2, {0x83, 0x6F, 0x00, 0x00, 0xF8, 0x7A, 0x77, 0x82}};
inline constexpr IID IID_IXMLDOMParseErrorCollection{
    0x3EFAA429, 0x272F, 0x11D2, {0x83, 0x6F, 0x00, 0x00, 0xF8, 0x7A, 0x77, 0x82}};
#endif
