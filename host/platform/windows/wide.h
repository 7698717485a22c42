// Between UTF-8, framework units and the system's wide characters.
#pragma once

#include <string>
#include <string_view>

#include "KelBasicTypes/platform/windows/wide.h"
#include "KelBasicTypes/utf8.h"

namespace kelhost::platform {

[[nodiscard]] inline std::wstring wideFromUtf8(std::string_view utf8) {
    return kel::platform::toWide(kel::fromUtf8(utf8).c_str());
}
[[nodiscard]] inline std::string utf8FromWide(std::wstring_view text) {
    return kel::toUtf8({kel::platform::toUnits(text.data()), text.size()});
}

}  // namespace kelhost::platform
