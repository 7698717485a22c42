// The engine's classes that the component creates, and its streaming reader as the newer interfaces use it.
// Threads: any.
#pragma once

#include "msxml_parser/detail/comptr.h"
#include "msxml_parser/detail/platformcom.h"

namespace msxml {

inline constexpr CLSID kDocumentClass{
    0x88D96A05, 0xF192, 0x11D4, {0xA6, 0x5F, 0x00, 0x40, 0x96, 0x32, 0x51, 0xE5}};  // DOMDocument60
inline constexpr CLSID kSchemaCacheClass{
    0x88D96A07, 0xF192, 0x11D4, {0xA6, 0x5F, 0x00, 0x40, 0x96, 0x32, 0x51, 0xE5}};  // XMLSchemaCache60
// SAXXMLReader, the one that does not depend on a version.
inline constexpr CLSID kSaxReaderClass{
    0x079AA557, 0x4A18, 0x424A, {0x8E, 0xEE, 0xE3, 0x9F, 0x0A, 0x8D, 0x41, 0xB9}};

inline constexpr CLSID kSaxReader60Class{
    0x88D96A0C, 0xF192, 0x11D4, {0xA6, 0x5F, 0x00, 0x40, 0x96, 0x32, 0x51, 0xE5}};  // SAXXMLReader60

inline constexpr CLSID kFreeDocumentClass{
    0x88D96A06,
    0xF192,
    0x11D4,
    {0xA6, 0x5F, 0x00, 0x40, 0x96, 0x32, 0x51, 0xE5}};  // FreeThreadedDOMDocument60
inline constexpr CLSID kTemplateClass{
    0x88D96A08, 0xF192, 0x11D4, {0xA6, 0x5F, 0x00, 0x40, 0x96, 0x32, 0x51, 0xE5}};  // XSLTemplate60

// A reader that expands entities, reads nothing external, and takes no more than this depth. Empty if the
// engine makes none. A feature that an engine does not know stays as it is there.
[[nodiscard]] ComPtr<ISAXXMLReader> makeFullReader(int depthLimit);

// VT_UNKNOWN; the object is borrowed.
[[nodiscard]] inline VARIANT unknownIn(IUnknown* object) noexcept {
    VARIANT value;
    VariantInit(&value);
    value.vt = VT_UNKNOWN;
    value.punkVal = object;
    return value;
}

}  // namespace msxml
