// The engine's streaming reader as the newer interfaces use it: entities are expanded, nothing external is
// read, and the depth of elements is ours to limit.
#pragma once

#include "msxml_parser/detail/comptr.h"

namespace msxml {

// Empty if the engine makes none. A feature that an engine does not know stays as it is there.
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
