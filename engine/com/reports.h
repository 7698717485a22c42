// What this engine reports beyond the platform's interfaces: asked for by identifier, and absent elsewhere.
// Conventions of com.h.
#pragma once

#include "engine/com/object.h"

// Of the locator that an error handler gets.
struct IXMLErrorPlace : IUnknown {
    // The element that does not fit the schema, as an XPath expression with the names as written:
    // "/list[1]/p:item[2]". Null and S_FALSE: the error is not one of validation.
    virtual HRESULT STDMETHODCALLTYPE getPath(BSTR* path) = 0;
};
inline constexpr IID IID_IXMLErrorPlace{
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

// Statuses of documents that go beyond a limit of this engine: too long, nested too deep, too many
// attributes, entities too large.
[[nodiscard]] constexpr bool isLimitStatus(HRESULT status) noexcept {
    const auto code = static_cast<std::uint32_t>(status);
    return code == 0xA0010004u || code == 0xA0010039u || code == 0xA001003Au || code == 0xA001004Au;
}

// clang-format off
template <> struct engine::com::InterfaceInfo<IXMLErrorPlace>
    : engine::com::detail::InterfaceFacts<IXMLErrorPlace, IID_IXMLErrorPlace, IUnknown> {};
template <> struct engine::com::InterfaceInfo<IXSLReporting>
    : engine::com::detail::InterfaceFacts<IXSLReporting, IID_IXSLReporting, IUnknown> {};
// clang-format on
