// UTF-8 to UTF-16 as an application would write it for a library whose texts are UTF-8: a plain loop into a
// string that is used again and again.
// Threads: any.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace bench {

// Appends. The input is UTF-8 that a parser has accepted: not checked again.
inline void appendUtf16(std::string_view text, std::u16string& out) {
    const std::size_t before = out.size();
    out.resize(before + text.size());
    char16_t* to = out.data() + before;
    for (std::size_t i = 0; i < text.size();) {
        const auto byte = static_cast<unsigned char>(text[i]);
        if (byte < 0x80) {
            *to++ = static_cast<char16_t>(byte);
            ++i;
            continue;
        }
        const std::size_t length = byte < 0xE0 ? 2 : byte < 0xF0 ? 3 : 4;
        std::uint32_t point = byte & (0xFFu >> (length + 1));
        for (std::size_t k = 1; k < length && i + k < text.size(); ++k)
            point = point << 6 | (static_cast<unsigned char>(text[i + k]) & 0x3Fu);
        i += length;
        if (point < 0x10000) {
            *to++ = static_cast<char16_t>(point);
        } else {
            *to++ = static_cast<char16_t>(0xD7C0 + (point >> 10));
            *to++ = static_cast<char16_t>(0xDC00 + (point & 0x3FF));
        }
    }
    out.resize(static_cast<std::size_t>(to - out.data()));
}

inline std::u16string_view toUtf16(std::string_view text, std::u16string& out) {
    out.clear();
    appendUtf16(text, out);
    return out;
}

}  // namespace bench
