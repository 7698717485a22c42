#include "msxml_parser/detail/xmltext.h"

#include <algorithm>
#include <cstddef>
#include <span>

namespace msxml {
namespace {

struct Range {
    char32_t first;
    char32_t last;
};
constexpr Range kNameStarts[] = {
    {'A', 'Z'},       {'_', '_'},       {'a', 'z'},       {0xC0, 0xD6},     {0xD8, 0xF6},
    {0xF8, 0x2FF},    {0x370, 0x37D},   {0x37F, 0x1FFF},  {0x200C, 0x200D}, {0x2070, 0x218F},
    {0x2C00, 0x2FEF}, {0x3001, 0xD7FF}, {0xF900, 0xFDCF}, {0xFDF0, 0xFFFD}, {0x10000, 0xEFFFF},
};
constexpr Range kFurther[] = {{'-', '.'}, {'0', '9'}, {0xB7, 0xB7}, {0x300, 0x36F}, {0x203F, 0x2040}};

bool isIn(std::span<const Range> ranges, char32_t code) noexcept {
    return std::any_of(ranges.begin(), ranges.end(),
                       [code](const Range& range) { return range.first <= code && code <= range.last; });
}

// The character at `at`, which then stands after it; a surrogate without its partner is in no range.
char32_t take(std::u16string_view text, std::size_t& at) noexcept {
    const char32_t unit = text[at++];
    const bool isPair = (unit & 0xFC00) == 0xD800 && at < text.size() && (text[at] & 0xFC00) == 0xDC00;
    return isPair ? 0x10000 + ((unit & 0x3FF) << 10) + (text[at++] & 0x3FFU) : unit;
}

}  // namespace

bool isUnprefixedName(std::u16string_view name) noexcept {
    std::size_t at = 0;
    if (name.empty() || !isIn(kNameStarts, take(name, at))) return false;
    while (at < name.size()) {
        const char32_t code = take(name, at);
        if (!isIn(kNameStarts, code) && !isIn(kFurther, code)) return false;
    }
    return true;
}

std::u16string escapedValue(std::u16string_view value) {
    std::u16string text;
    for (const char16_t unit : value) {
        switch (unit) {
            case u'&':
                text += u"&amp;";
                break;
            case u'<':
                text += u"&lt;";
                break;
            case u'"':
                text += u"&quot;";
                break;
            default:
                text += unit;
        }
    }
    return text;
}

}  // namespace msxml
