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

// Statuses of documents that go beyond a limit of this engine: too long, nested too deep, too many
// attributes, entities too large.
[[nodiscard]] constexpr bool isLimitStatus(HRESULT status) noexcept {
    const auto code = static_cast<std::uint32_t>(status);
    return code == 0xA0010004u || code == 0xA0010039u || code == 0xA001003Au || code == 0xA001004Au;
}

// clang-format off
template <> struct engine::com::InterfaceInfo<IXMLErrorPlace>
    : engine::com::detail::InterfaceFacts<IXMLErrorPlace, IID_IXMLErrorPlace, IUnknown> {};
// clang-format on
