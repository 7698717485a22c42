// Between UTF-8 and UTF-16, for msxml_parser/xml.h. A surrogate without its partner is the three bytes of its
// own code in UTF-8, and those bytes are the surrogate again. Threads: no shared state.
#pragma once

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>

namespace msxml_parser::detail {

inline constexpr char32_t kNoCode = 0xFFFFFFFF;

// The code that starts at `at`, which then stands after it; kNoCode, and `at` unmoved, if there is none.
inline char32_t decodeUtf8(std::string_view bytes, std::size_t& at) noexcept {
    constexpr char32_t kSmallest[] = {0, 0x80, 0x800, 0x10000};
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(bytes[i]); };
    const unsigned char lead = byte(at);
    const std::size_t more = lead < 0x80 ? 0 : lead >= 0xF0 ? 3 : lead >= 0xE0 ? 2 : 1;
    if ((lead >= 0x80 && lead < 0xC2) || lead > 0xF4 || bytes.size() - at <= more) return kNoCode;
    char32_t code = more == 0 ? lead : lead & (0x3FU >> more);
    for (std::size_t i = 1; i <= more; ++i) {
        if ((byte(at + i) & 0xC0) != 0x80) return kNoCode;
        code = (code << 6) | (byte(at + i) & 0x3FU);
    }
    if (code < kSmallest[more] || code > 0x10FFFF) return kNoCode;
    at += more + 1;
    return code;
}

// Without U+0000.
inline bool isAscii(std::string_view bytes) noexcept {
    return std::all_of(bytes.begin(), bytes.end(),
                       [](char byte) { return static_cast<unsigned char>(byte) - 1U < 0x7F; });
}

// Appends the units; returns where the bytes stop being text without U+0000, npos: nowhere.
inline std::size_t appendUtf16(std::u16string& out, std::string_view bytes) {
    out.reserve(out.size() + bytes.size());
    for (std::size_t at = 0; at < bytes.size();) {
        const std::size_t start = at;
        const char32_t code = decodeUtf8(bytes, at);
        if (code == kNoCode || code == 0) return start;
        if (code >= 0x10000) {
            out += static_cast<char16_t>(0xD7C0 + (code >> 10));
            out += static_cast<char16_t>(0xDC00 + (code & 0x3FF));
        } else {
            out += static_cast<char16_t>(code);
        }
    }
    return std::string_view::npos;
}

// Writes the code's bytes; returns where the next go.
inline char* putUtf8(char* to, char32_t code) noexcept {
    const auto continued = [code](unsigned shift) {
        return static_cast<char>(0x80U | ((code >> shift) & 0x3FU));
    };
    if (code < 0x80) {
        *to++ = static_cast<char>(code);
        return to;
    }
    if (code < 0x800) {
        *to++ = static_cast<char>(0xC0U | (code >> 6));
    } else {
        if (code < 0x10000) {
            *to++ = static_cast<char>(0xE0U | (code >> 12));
        } else {
            *to++ = static_cast<char>(0xF0U | (code >> 18));
            *to++ = continued(12);
        }
        *to++ = continued(6);
    }
    *to++ = continued(0);
    return to;
}

inline void assignUtf8Slowly(std::string& out, std::u16string_view units) {
    out.resize(units.size() * 3);  // at most
    char* to = out.data();
    for (std::size_t i = 0; i < units.size(); ++i) {
        char32_t code = units[i];
        const bool isPair =
            (code & 0xFC00) == 0xD800 && i + 1 < units.size() && (units[i + 1] & 0xFC00) == 0xDC00;
        if (isPair) code = 0x10000 + ((code & 0x3FF) << 10) + (units[++i] & 0x3FFU);
        to = putUtf8(to, code);
    }
    out.resize(static_cast<std::size_t>(to - out.data()));
}

// Replaces what `out` held. Most texts are short and ASCII: those take one pass.
inline void assignUtf8(std::string& out, std::u16string_view units) {
    out.resize(units.size());
    char* to = out.data();
    for (const char16_t unit : units) {
        if (unit >= 0x80) return assignUtf8Slowly(out, units);
        *to++ = static_cast<char>(unit);
    }
}

inline std::string toUtf8(std::u16string_view units) {
    std::string out;
    assignUtf8(out, units);
    return out;
}

}  // namespace msxml_parser::detail
