// The exception that carries a failed engine call, `_com_error`, as callers of the component catch it: the
// platform's own on Windows, elsewhere our engine's, with the same operations. Threads: a value.
#pragma once

#include <string>

#include "msxml_parser/systemcomerror.h"

namespace msxml {

// The description attached to the failure, in UTF-16; empty when there is none.
[[nodiscard]] inline std::u16string descriptionTextOf(const _com_error& error) {
    const _bstr_t description = error.Description();
    const OLECHAR* const text = description;
    if (text == nullptr) return {};
    return {reinterpret_cast<const char16_t*>(text), description.length()};  // one unit under two names
}

}  // namespace msxml
