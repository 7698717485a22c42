// kelxml's own messages, in the language of the person who reads them.
// Keys are the English texts. %1 to %9 stand for the arguments, in any order, each as often as a language
// likes; what an argument holds is never looked into. tests/kelxml holds every key against the catalogues.
#pragma once

#include <cstdint>
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

// The form of a text that the language has for a count.
[[nodiscard]] std::string pluralText(const char* one, const char* several, std::uint64_t count);

// The same with the count as %1 and the arguments as %2 to %9.
template <class... Arguments>
[[nodiscard]] std::string trCount(const char* one, const char* several, std::uint64_t count,
                                  const Arguments&... arguments) {
    return completed(pluralText(one, several, count),
                     {std::string_view(std::to_string(count)), std::string_view(arguments)...});
}

// The messages of the basic types inside this program are translated from now on. They are in the catalogue
// of the library, which has basic types of its own and a translator from the host.
void translateBasicTypes();

// Marks a key that is looked up later.
[[nodiscard]] constexpr const char* trKey(const char* key) noexcept {
    return key;
}

}  // namespace kelxml
