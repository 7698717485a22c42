// Which characters and names XML allows (XML 1.0, fifth edition; Namespaces in XML), and UTF-8 a character
// at a time. Threads: pure functions.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace engine::text {

enum CharClass : std::uint8_t {
    kSpace = 1,      // space, tab, line feed (carriage returns are gone before)
    kNameStart = 2,  // set for every byte above 0x7F too: those need a look at the whole character
    kNameChar = 4,
    kNonAscii = 8,
    kColon = 16,
};

inline constexpr std::array<std::uint8_t, 256> kCharClasses = [] {
    std::array<std::uint8_t, 256> classes{};
    for (const char c : {' ', '\t', '\n'}) classes[static_cast<unsigned char>(c)] = kSpace;
    for (unsigned c = 'a'; c <= 'z'; ++c) classes[c] = classes[c - 32] = kNameStart | kNameChar;
    for (const char c : {':', '_'}) classes[static_cast<unsigned char>(c)] = kNameStart | kNameChar;
    classes[':'] |= kColon;
    for (unsigned c = '0'; c <= '9'; ++c) classes[c] = kNameChar;
    for (const char c : {'-', '.'}) classes[static_cast<unsigned char>(c)] = kNameChar;
    for (unsigned c = 0x80; c <= 0xFF; ++c) classes[c] = kNameStart | kNameChar | kNonAscii;
    return classes;
}();

[[nodiscard]] inline std::uint8_t classOf(char c) noexcept {
    return kCharClasses[static_cast<unsigned char>(c)];
}
[[nodiscard]] inline bool isSpace(char c) noexcept {
    return (classOf(c) & kSpace) != 0;
}

[[nodiscard]] bool isXmlCharacter(char32_t c) noexcept;
[[nodiscard]] bool isNameStart(char32_t c) noexcept;  // the colon counts
[[nodiscard]] bool isNameCharacter(char32_t c) noexcept;

// The character at `at`, which stands in valid UTF-8, and how many bytes it takes.
struct Decoded {
    char32_t character;
    std::size_t length;
};
[[nodiscard]] Decoded decodeAt(const char* at) noexcept;
void appendUtf8(std::string& to, char32_t c);
// Writes the 1 to 4 bytes of `c` and returns their end.
char* writeUtf8(char* to, char32_t c) noexcept;

// The end of the name at `at`, or `at` if none starts there. The text ends in a NUL, which is in no name.
[[nodiscard]] const char* nameEnd(const char* at) noexcept;
[[nodiscard]] bool isNcName(std::u16string_view text) noexcept;         // a name without a colon
[[nodiscard]] bool isQualifiedName(std::u16string_view text) noexcept;  // with a prefix or without

// How a message shows a character: quoted; by code point if it cannot be seen.
[[nodiscard]] std::string quoted(char32_t c);
// How a message shows a piece of text, between its quotes: on one line, and cut if it is long.
[[nodiscard]] std::string shown(std::string_view text);

}  // namespace engine::text
