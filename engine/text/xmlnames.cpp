#include "engine/text/xmlnames.h"

#include <algorithm>
#include <array>

namespace engine::text {

namespace {

struct Range {
    char32_t first;
    char32_t last;
};

// NameStartChar of XML 1.0 beyond ASCII, without the colon.
constexpr std::array kStart{
    Range{0xC0, 0xD6},     Range{0xD8, 0xF6},     Range{0xF8, 0x2FF},    Range{0x370, 0x37D},
    Range{0x37F, 0x1FFF},  Range{0x200C, 0x200D}, Range{0x2070, 0x218F}, Range{0x2C00, 0x2FEF},
    Range{0x3001, 0xD7FF}, Range{0xF900, 0xFDCF}, Range{0xFDF0, 0xFFFD}, Range{0x10000, 0xEFFFF},
};
// What NameChar has beyond that and ASCII.
constexpr std::array kFurther{Range{0xB7, 0xB7}, Range{0x300, 0x36F}, Range{0x203F, 0x2040}};

template <std::size_t N>
bool isIn(const std::array<Range, N>& ranges, char32_t c) noexcept {
    return std::any_of(ranges.begin(), ranges.end(), [c](Range r) { return c >= r.first && c <= r.last; });
}

// What an ASCII character may be in a name.
constexpr unsigned char kStartMark = 1;
constexpr unsigned char kFurtherMark = 2;
constexpr auto kAscii = [] {
    std::array<unsigned char, 0x80> marks{};
    for (std::size_t c = 0; c < marks.size(); ++c) {
        const bool letter = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
        const bool further = (c >= '0' && c <= '9') || c == '-' || c == '.';
        marks[c] = letter ? kStartMark | kFurtherMark : further ? kFurtherMark : 0;
    }
    return marks;
}();

char32_t next(std::u16string_view text, std::size_t& at) noexcept {
    const char32_t first = text[at++];
    const bool pair = (first & 0xFC00) == 0xD800 && at < text.size() && (text[at] & 0xFC00) == 0xDC00;
    return pair ? 0x10000 + ((first & 0x3FF) << 10) + (text[at++] & 0x3FFu) : first;
}

bool isName(std::u16string_view text, std::size_t colonsAllowed) noexcept {
    bool starts = true;  // a part of the name, which the next character has to begin
    for (std::size_t at = 0; at < text.size();) {
        if (const char16_t unit = text[at]; unit < 0x80 && (kAscii[unit] & kFurtherMark) != 0) {
            if (starts && (kAscii[unit] & kStartMark) == 0) return false;
            ++at;
        } else if (unit == u':') {
            if (starts || colonsAllowed-- == 0) return false;
            starts = true;
            ++at;
            continue;
        } else {
            const char32_t c = next(text, at);
            if (!isIn(kStart, c) && (starts || !isIn(kFurther, c))) return false;
        }
        starts = false;
    }
    return !starts;
}

}  // namespace

bool isNcName(std::u16string_view text) noexcept {
    return isName(text, 0);
}

bool isQualifiedName(std::u16string_view text) noexcept {
    return isName(text, 1);
}

}  // namespace engine::text
