// Between the engine's texts and the framework's strings.
#pragma once

#include <algorithm>
#include <string_view>

#include "KelBasicTypes/kelcstring.h"
#include "KelBasicTypes/kelstring.h"
#include "msxml_parser/comerror.h"
#include "msxml_parser/detail/bstr.h"

namespace msxml {

// Replaces the string's content, in its own buffer if that is large enough. The engine's texts hold no NUL,
// so that none has to be looked for.
inline void assign(KelString& out, std::u16string_view text) {
    out.overwrite(text.size(), [&](char16_t* to) { std::copy(text.begin(), text.end(), to); });
}
inline void assign(KelCString& out, std::u16string_view text) {
    out.assignLowBytes(text);
}  // the low bytes

// What an engine says is wrong, without the line end that the platform's texts have; null is empty.
[[nodiscard]] KelString trimmedReason(const OLECHAR* message);

// The description attached to an engine failure; empty if there is none.
[[nodiscard]] KelString descriptionOf(const _com_error& error);

}  // namespace msxml
