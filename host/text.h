// UTF-8, as files and terminals have it, from and to the framework's strings. Threads: pure functions.
#pragma once

#include <filesystem>
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

// Paths, whatever the system's own narrow text is.
[[nodiscard]] inline std::filesystem::path pathOf(std::string_view utf8) {
    return {std::u8string(utf8.begin(), utf8.end())};
}
[[nodiscard]] inline std::string utf8Of(const std::filesystem::path& path) {
    const std::u8string utf8 = path.u8string();
    return {utf8.begin(), utf8.end()};
}

}  // namespace kelhost
