// kelxml's own messages, in the language of the person who reads them.
// Keys are the English texts. %1 to %9 stand for the arguments, in any order, each as often as a language
// likes; what an argument holds is never looked into. tests/kelxml holds every key against the catalogues.
#pragma once

#include <initializer_list>
#include <string>
#include <string_view>

namespace kelxml {

// The text for a key that is known not to need completing.
[[nodiscard]] std::string tr(const char* key);

[[nodiscard]] std::string completed(std::string_view text, std::initializer_list<std::string_view> arguments);

template <class... Arguments>
[[nodiscard]] std::string tr(const char* key, const Arguments&... arguments) {
    return completed(tr(key), {std::string_view(arguments)...});
}

// Marks a key that is looked up later.
[[nodiscard]] constexpr const char* trKey(const char* key) noexcept {
    return key;
}

}  // namespace kelxml
