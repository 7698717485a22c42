// What this engine's documents offer beyond the platform's interfaces. Every document has it; ask for it by
// its identifier. Conventions of com.h. Threads: the document's thread.
#pragma once

#include "engine/com/object.h"

// How a document is written.
struct XMLWriteSettings {
    enum Declaration {
        AsLoaded,         // what the document began with, or has in an instruction "xml"
        Never,            // only with an encoding that is recognised without: UTF-8 or UTF-16
        WithoutEncoding,  // as loaded, for a text that is kept as characters
    };
    const OLECHAR* encoding;  // its name; null: the one that the document declares, else UTF-8
    Declaration declaration;
    bool indent;                // where a reader that drops layout white space sees no difference
    OLECHAR indentBy;           // what each level is indented by: a tab, or a blank
    unsigned char indentCount;  // of those
};

struct IXMLDocumentExtension : IUnknown {
    // Where the start tag of an element of this document stands in what was loaded, from 1, the column in
    // characters. S_FALSE and zeros for what was not loaded. Linear in the source the first time, then
    // constant on average.
    virtual HRESULT STDMETHODCALLTYPE getPosition(IXMLDOMNode* element, LONG* line, LONG* column) = 0;
    // The value of an expression from the document or one of its elements, in the form that has a place to
    // go. Fails as selectNodes does.
    virtual HRESULT STDMETHODCALLTYPE evaluate(IXMLDOMNode* context, BSTR expression, BSTR* text,
                                               double* number, VARIANT_BOOL* truth) = 0;
    // Where the last expression of this document that was wrong went wrong, in characters from 1; 0: not
    // known, or none was wrong since.
    virtual HRESULT STDMETHODCALLTYPE getExpressionError(LONG* column) = 0;
    // Writes the whole document, in pieces of 64 KB. What the stream refuses is returned; E_INVALIDARG with a
    // description: something that XML, or the encoding, cannot hold, an unknown encoding, a prefix that is
    // not declared. What was written by then stays written.
    virtual HRESULT STDMETHODCALLTYPE write(ISequentialStream* stream, const XMLWriteSettings* settings) = 0;
};
inline constexpr IID IID_IXMLDocumentExtension{
    0x7D1B9A46, 0x20F3, 0x4C58, {0x9E, 0x83, 0x4A, 0xD6, 0x05, 0xC7, 0x1B, 0xF2}};

// clang-format off
template <> struct engine::com::InterfaceInfo<IXMLDocumentExtension>
    : engine::com::detail::InterfaceFacts<IXMLDocumentExtension, IID_IXMLDocumentExtension, IUnknown> {};
// clang-format on
