// Conversion between UTF-8 and UTF-16 without loss: a lone surrogate is kept as the three bytes that the
// UTF-8 scheme gives it (WTF-8), so whatever UTF-16 comes in goes out unchanged. Runs of ASCII are converted
// sixteen at a time. Threads: pure functions.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace engine::text {

// Units that `utf8` needs in UTF-16. A byte that belongs to no sequence counts as one unit.
[[nodiscard]] std::size_t utf16Length(std::string_view utf8) noexcept;
// Bytes that `utf16` needs.
[[nodiscard]] std::size_t utf8Length(std::u16string_view utf16) noexcept;

// Convert into a buffer of at least the length given above (at most utf8.size() units; at most 3 bytes for
// each unit) and return what was written. A byte that belongs to no sequence becomes U+FFFD.
std::size_t convertToUtf16(std::string_view utf8, char16_t* out) noexcept;
std::size_t convertToUtf8(std::u16string_view utf16, char* out) noexcept;

// The first of the two for text that is known to be valid, as everything is that a reader delivers; faster.
std::size_t convertValid(std::string_view utf8, char16_t* out) noexcept;

[[nodiscard]] std::u16string toUtf16(std::string_view utf8);
[[nodiscard]] std::string toUtf8(std::u16string_view utf16);

}  // namespace engine::text
