// Between the framework's 16-bit text and UTF-8. Threads: pure functions.
#pragma once

#include <string>
#include <string_view>

namespace kel {

// A surrogate without its partner becomes the three bytes of its own code, so that different texts stay
// different.
[[nodiscard]] std::string toUtf8(std::u16string_view text);

// Bytes that are not UTF-8 become U+FFFD, one for each byte.
[[nodiscard]] std::u16string fromUtf8(std::string_view bytes);

}  // namespace kel
