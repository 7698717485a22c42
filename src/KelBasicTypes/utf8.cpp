#include "KelBasicTypes/utf8.h"

#include <cstddef>
#include <cstdint>

#include "KelBasicTypes/detail/utf8encode.h"

namespace kel {

namespace {

constexpr char32_t kReplacement = 0xFFFD;
constexpr char32_t kFirstSupplementary = 0x10000;

void appendCode(std::u16string& out, char32_t code) {
    if (code < kFirstSupplementary) {
        out.push_back(static_cast<char16_t>(code));
    } else {
        out.push_back(static_cast<char16_t>(0xD800 + ((code - kFirstSupplementary) >> 10)));
        out.push_back(static_cast<char16_t>(0xDC00 + ((code - kFirstSupplementary) & 0x3FF)));
    }
}

struct Decoded {
    char32_t code;
    std::size_t bytes;
};

// The code at the start of `bytes`, which is not empty.
Decoded decode(std::string_view bytes) {
    constexpr char32_t kSmallest[] = {0, 0x80, 0x800, kFirstSupplementary};
    const auto lead = static_cast<unsigned char>(bytes[0]);
    if (lead < 0x80) return {lead, 1};
    const std::size_t more = lead >= 0xF0 ? 3 : lead >= 0xE0 ? 2 : 1;
    if (lead < 0xC2 || lead > 0xF4 || bytes.size() <= more) return {kReplacement, 1};
    char32_t code = lead & (0x3FU >> more);
    for (std::size_t i = 1; i <= more; ++i) {
        const auto next = static_cast<unsigned char>(bytes[i]);
        if ((next & 0xC0) != 0x80) return {kReplacement, 1};
        code = (code << 6) | (next & 0x3FU);
    }
    const bool isSurrogate = code >= 0xD800 && code <= 0xDFFF;
    if (code < kSmallest[more] || code > 0x10FFFF || isSurrogate) return {kReplacement, 1};
    return {code, more + 1};
}

}  // namespace

std::string toUtf8(std::u16string_view text) {
    std::string out;
    out.reserve(text.size());
    detail::appendUtf8(out, text);
    return out;
}

std::u16string fromUtf8(std::string_view bytes) {
    std::u16string out;
    out.reserve(bytes.size());
    while (!bytes.empty()) {
        const Decoded next = decode(bytes);
        appendCode(out, next.code);
        bytes.remove_prefix(next.bytes);
    }
    return out;
}

}  // namespace kel
