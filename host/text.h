// UTF-8, as files, terminals and command lines have it, from and to the framework's strings.
#pragma once

#include <string>
#include <string_view>

#include "KelBasicTypes/kelstring.h"
#include "KelBasicTypes/utf8.h"

namespace kelhost {

// Text ends at its first NUL, as a KelString does. What is not text is kept apart as KelBasicTypes/utf8.h
// says.
[[nodiscard]] inline KelString fromUtf8(std::string_view utf8) {
    return {kel::fromUtf8(utf8)};
}
[[nodiscard]] inline std::string toUtf8(const KelString& text) {
    return kel::toUtf8(text.view());
}

}  // namespace kelhost
