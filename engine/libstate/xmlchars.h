// Texts of libxml2, which are zero-terminated UTF-8, as ours. Threads: no shared state.
#pragma once

#include <libxml/xmlstring.h>

#include <string>
#include <string_view>

namespace engine::libstate {

// Null is empty.
[[nodiscard]] inline std::string_view view(const xmlChar* text) noexcept {
    return text == nullptr ? std::string_view() : reinterpret_cast<const char*>(text);
}
// Zero-terminated as `text` is.
[[nodiscard]] inline const xmlChar* chars(const std::string& text) noexcept {
    return reinterpret_cast<const xmlChar*>(text.c_str());
}
[[nodiscard]] inline const xmlChar* chars(const char* text) noexcept {
    return reinterpret_cast<const xmlChar*>(text);
}

}  // namespace engine::libstate
