#include "engine/text/chars.h"

#include <algorithm>
#include <cstdio>
#include <span>

namespace engine::text {
namespace {

struct Range {
    char32_t first;
    char32_t last;
};

constexpr Range kNameStartRanges[] = {
    {0xC0, 0xD6},     {0xD8, 0xF6},     {0xF8, 0x2FF},    {0x370, 0x37D},
    {0x37F, 0x1FFF},  {0x200C, 0x200D}, {0x2070, 0x218F}, {0x2C00, 0x2FEF},
    {0x3001, 0xD7FF}, {0xF900, 0xFDCF}, {0xFDF0, 0xFFFD}, {0x10000, 0xEFFFF},
};
constexpr Range kNameOnlyRanges[] = {{0xB7, 0xB7}, {0x300, 0x36F}, {0x203F, 0x2040}};

bool inRanges(std::span<const Range> ranges, char32_t c) noexcept {
    return std::any_of(ranges.begin(), ranges.end(), [c](Range r) { return c >= r.first && c <= r.last; });
}

char32_t next(std::u16string_view text, std::size_t& at) noexcept {
    const char32_t first = text[at++];
    const bool pair = (first & 0xFC00) == 0xD800 && at < text.size() && (text[at] & 0xFC00) == 0xDC00;
    return pair ? 0x10000 + ((first & 0x3FF) << 10) + (text[at++] & 0x3FFu) : first;
}

// With at most `colonsAllowed` colons, each between two names.
bool isName(std::u16string_view text, std::size_t colonsAllowed) noexcept {
    bool starts = true;  // a part of the name, which the next character has to begin
    for (std::size_t at = 0; at < text.size();) {
        const char32_t c = next(text, at);
        if (c == ':') {
            if (starts || colonsAllowed-- == 0) return false;
        } else if (starts ? !isNameStart(c) : !isNameCharacter(c)) {
            return false;
        }
        starts = c == ':';
    }
    return !starts;
}

}  // namespace

bool isXmlCharacter(char32_t c) noexcept {
    if (c < 0x20) return c == '\t' || c == '\n' || c == '\r';
    return c < 0xD800 || (c >= 0xE000 && c != 0xFFFE && c != 0xFFFF && c <= 0x10FFFF);
}

bool isNameStart(char32_t c) noexcept {
    if (c < 0x80) return (kCharClasses[c] & kNameStart) != 0;
    return inRanges(kNameStartRanges, c);
}

bool isNameCharacter(char32_t c) noexcept {
    if (c < 0x80) return (kCharClasses[c] & kNameChar) != 0;
    return inRanges(kNameStartRanges, c) || inRanges(kNameOnlyRanges, c);
}

Decoded decodeAt(const char* at) noexcept {
    const auto byte = [at](std::size_t i) {
        return static_cast<char32_t>(static_cast<unsigned char>(at[i]));
    };
    const char32_t first = byte(0);
    if (first < 0x80) return {first, 1};
    if (first < 0xE0) return {((first & 0x1F) << 6) | (byte(1) & 0x3F), 2};
    if (first < 0xF0) return {((first & 0x0F) << 12) | ((byte(1) & 0x3F) << 6) | (byte(2) & 0x3F), 3};
    return {((first & 0x07) << 18) | ((byte(1) & 0x3F) << 12) | ((byte(2) & 0x3F) << 6) | (byte(3) & 0x3F),
            4};
}

char* writeUtf8(char* to, char32_t c) noexcept {
    if (c < 0x80) {
        *to++ = static_cast<char>(c);
        return to;
    }
    if (c < 0x800) {
        *to++ = static_cast<char>(0xC0 | (c >> 6));
    } else {
        if (c < 0x10000) {
            *to++ = static_cast<char>(0xE0 | (c >> 12));
        } else {
            *to++ = static_cast<char>(0xF0 | (c >> 18));
            *to++ = static_cast<char>(0x80 | ((c >> 12) & 0x3F));
        }
        *to++ = static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    }
    *to++ = static_cast<char>(0x80 | (c & 0x3F));
    return to;
}

void appendUtf8(std::string& to, char32_t c) {
    char bytes[4];
    to.append(bytes, writeUtf8(bytes, c));
}

const char* nameEnd(const char* at) noexcept {
    const char* p = at;
    if ((classOf(*p) & (kNameStart | kNonAscii)) == kNameStart) ++p;
    for (;;) {
        while ((classOf(*p) & (kNameChar | kNonAscii)) == kNameChar && p != at) ++p;
        if ((classOf(*p) & kNonAscii) == 0) return p;
        const Decoded next = decodeAt(p);
        if (p == at ? !isNameStart(next.character) : !isNameCharacter(next.character)) return p;
        p += next.length;
    }
}

bool isNcName(std::u16string_view text) noexcept {
    return isName(text, 0);
}

bool isQualifiedName(std::u16string_view text) noexcept {
    return isName(text, 1);
}

std::string quoted(char32_t c) {
    char number[16];
    std::snprintf(number, sizeof number, "U+%04X", static_cast<unsigned>(c));
    if (c <= 0x20 || (c >= 0x7F && c <= 0xA0) || !isXmlCharacter(c)) return number;
    std::string text = "'";
    appendUtf8(text, c);
    text += '\'';
    if (c > 0x7F) text += std::string(" (") + number + ")";
    return text;
}

std::string shown(std::string_view text) {
    constexpr std::size_t kLongest = 80;
    std::size_t length = std::min(text.size(), kLongest);
    while (length > 0 && length < text.size() && (static_cast<unsigned char>(text[length]) & 0xC0) == 0x80)
        --length;
    std::string result(text.substr(0, length));
    std::replace_if(
        result.begin(), result.end(), [](char c) { return c == '\n' || c == '\t'; }, ' ');
    if (length < text.size()) result += "...";
    return result;
}

}  // namespace engine::text
