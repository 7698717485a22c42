// What this engine offers and reports beyond the platform's interfaces: ask for it by identifier; other
// engines do not have it. Conventions of com.h. Threads: those of the object.
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
    OLECHAR indentBy;           // what each level is indented by: a tab or a space
    unsigned char indentCount;  // of those
};

// Of every document.
struct IXMLDocumentExtension : IUnknown {
    // Where the start tag of an element of this document stands in what was loaded, from 1, the column in
    // characters. S_FALSE and zeros for what was not loaded. Linear in the source the first time, then
    // constant on average.
    virtual HRESULT STDMETHODCALLTYPE getPosition(IXMLDOMNode* element, LONG* line, LONG* column) = 0;
    // The value of an expression from the document or one of its elements, in the form whose address is
    // given. Fails as selectNodes does.
    virtual HRESULT STDMETHODCALLTYPE evaluate(IXMLDOMNode* context, BSTR expression, BSTR* text,
                                               double* number, VARIANT_BOOL* truth) = 0;
    // Where the last expression of this document that was wrong went wrong, in characters from 1; 0: not
    // known, or none was wrong since.
    virtual HRESULT STDMETHODCALLTYPE getExpressionError(LONG* column) = 0;
    // Writes the whole document, in pieces of 64 KB. What the stream rejects is returned; E_INVALIDARG with a
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

// Of the locator that an error handler gets.
struct IXMLErrorPath : IUnknown {
    // The element that does not fit the schema, as an XPath expression with the names as written:
    // "/list[1]/p:item[2]". Null and S_FALSE: the error is not one of validation.
    virtual HRESULT STDMETHODCALLTYPE getPath(BSTR* path) = 0;
};
inline constexpr IID IID_IXMLErrorPath{
    0x2C64A1E9, 0x5F0B, 0x4D37, {0x8B, 0x1E, 0x6A, 0xF4, 0x93, 0x0D, 0x72, 0xC5}};

// Gets what a style sheet says while it is compiled and run. Implemented by the caller; borrowed. Texts live
// for the call.
struct IXSLReports : IUnknown {
    // An xsl:message, without its line end. `isLast`: it ends the transformation.
    virtual HRESULT STDMETHODCALLTYPE message(const OLECHAR* text, bool isLast) = 0;
    // Something that is not as it should be and is passed over: "FILE, line N: what".
    virtual HRESULT STDMETHODCALLTYPE warning(const OLECHAR* text) = 0;
};

// Of templates, for what compiling them has to say, and of processors.
struct IXSLReporting : IUnknown {
    virtual HRESULT STDMETHODCALLTYPE putReports(IXSLReports* reports) = 0;  // null: none
};
inline constexpr IID IID_IXSLReporting{
    0x4B70D8F3, 0x9A15, 0x4C2E, {0x86, 0x57, 0xE1, 0x3D, 0x08, 0xB4, 0xC9, 0x62}};

// The status of a warning while a document is validated: it may repeat a value of type xs:ID, which is found
// where it is validated as a tree. Given once a document.
inline constexpr HRESULT kMayRepeatIdStatus = static_cast<HRESULT>(0xA0020000u);

// Statuses of documents that go beyond a limit of this engine: too long, nested too deep, too many
// attributes, names or entities, entities too large.
[[nodiscard]] constexpr bool isLimitStatus(HRESULT status) noexcept {
    const auto code = static_cast<std::uint32_t>(status);
    return code == 0xA0010004u || code == 0xA0010039u || code == 0xA001003Au || code == 0xA001003Bu ||
           code == 0xA001004Au;
}

// clang-format off
template <> struct engine::com::InterfaceInfo<IXMLErrorPath>
    : engine::com::detail::InterfaceFacts<IXMLErrorPath, IID_IXMLErrorPath, IUnknown> {};
template <> struct engine::com::InterfaceInfo<IXSLReporting>
    : engine::com::detail::InterfaceFacts<IXSLReporting, IID_IXSLReporting, IUnknown> {};
// clang-format on
