// What this engine's documents offer beyond the platform's interfaces. Every document has it; ask for it by
// its identifier. Conventions of com.h. Threads: the document's thread.
#pragma once

#include "engine/com/object.h"

struct IXMLDocumentExtension : IUnknown {
    // Where the start tag of an element of this document stands in what was loaded, from 1, the column in
    // characters. S_FALSE and zeros for what was not loaded. Linear in the source the first time, then
    // constant on average.
    virtual HRESULT STDMETHODCALLTYPE getPosition(IXMLDOMNode* element, LONG* line, LONG* column) = 0;
};
inline constexpr IID IID_IXMLDocumentExtension{
    0x7D1B9A46, 0x20F3, 0x4C58, {0x9E, 0x83, 0x4A, 0xD6, 0x05, 0xC7, 0x1B, 0xF2}};

// clang-format off
template <> struct engine::com::InterfaceInfo<IXMLDocumentExtension>
    : engine::com::detail::InterfaceFacts<IXMLDocumentExtension, IID_IXMLDocumentExtension, IUnknown> {};
// clang-format on
