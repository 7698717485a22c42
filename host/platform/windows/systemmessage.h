// The system's own words for its error codes.
#pragma once

#include <windows.h>

#include <cstdio>
#include <string>

#include "host/platform/windows/wide.h"

namespace kelhost::platform {

// One line of UTF-8; the number where the system has no words.
[[nodiscard]] inline std::string systemMessage(DWORD code) {
    wchar_t text[512];
    constexpr DWORD kHow =
        FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS | FORMAT_MESSAGE_MAX_WIDTH_MASK;
    DWORD length = FormatMessageW(kHow, nullptr, code, 0, text, static_cast<DWORD>(std::size(text)), nullptr);
    while (length > 0 && text[length - 1] <= L' ') --length;
    return length > 0 ? utf8FromWide({text, length}) : "system error " + std::to_string(code);
}

}  // namespace kelhost::platform
