// Reasons in words: English texts whose placeholders %1 to %9 are filled in. Every text that is given to
// `worded` is collected from the sources and translated (po/CMakeLists.txt); what is shown of a document, a
// path or a number is therefore an argument, never a part of the text. A name or a value stands in quotes
// ('%1'); an argument without them may be a text of this kind itself. Threads: pure functions.
#pragma once

#include <cstddef>
#include <initializer_list>
#include <string>
#include <string_view>

namespace engine::text {

// Each number once; one without an argument stays, and so does every other '%'.
[[nodiscard]] std::string filledIn(std::string_view text, std::initializer_list<std::string_view> arguments);

template <typename... Arguments>
requires(sizeof...(Arguments) != 0) [[nodiscard]] std::string
    worded(std::string_view text, const Arguments&... arguments) {
    return filledIn(text, {std::string_view(arguments)...});
}

// A text without arguments, or one that is filled in later.
template <std::size_t size>
[[nodiscard]] constexpr const char* worded(const char (&text)[size]) noexcept {
    return text;
}

}  // namespace engine::text
