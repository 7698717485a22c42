#include "KelBasicTypes/utf8.h"

#include <cstddef>
#include <cstdint>

namespace kel {

namespace {

constexpr char32_t kReplacement = 0xFFFD;
constexpr char32_t kFirstSupplementary = 0x10000;

bool isHighSurrogate(char16_t unit) {
    return unit >= 0xD800 && unit <= 0xDBFF;
}
bool isLowSurrogate(char16_t unit) {
    return unit >= 0xDC00 && unit <= 0xDFFF;
}

void appendCode(std::string& out, char32_t code) {
    const auto put = [&out](char32_t byte) { out.push_back(static_cast<char>(byte)); };
    if (code < 0x80) {
        put(code);
    } else if (code < 0x800) {
        put(0xC0 | (code >> 6));
        put(0x80 | (code & 0x3F));
    } else if (code < kFirstSupplementary) {
        put(0xE0 | (code >> 12));
        put(0x80 | ((code >> 6) & 0x3F));
        put(0x80 | (code & 0x3F));
    } else {
        put(0xF0 | (code >> 18));
        put(0x80 | ((code >> 12) & 0x3F));
        put(0x80 | ((code >> 6) & 0x3F));
        put(0x80 | (code & 0x3F));
    }
}

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
    for (std::size_t at = 0; at < text.size(); ++at) {
        char32_t code = text[at];
        if (isHighSurrogate(text[at]) && at + 1 < text.size() && isLowSurrogate(text[at + 1])) {
            code = kFirstSupplementary + ((code - 0xD800) << 10) + (text[at + 1] - 0xDC00U);
            ++at;
        }
        appendCode(out, code);
    }
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
