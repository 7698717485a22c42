#include "KelBasicTypes/substitute.h"

#include <algorithm>
#include <array>

#include "KelBasicTypes/kelstring.h"

namespace kel {

namespace {

constexpr std::size_t kMaxPlaceholders = 10;
constexpr std::size_t kPlaceholderUnits = 2;

// The placeholders of a template. A number's position is that of its last occurrence: kept, see substitute.h.
struct Placeholders {
    std::array<std::size_t, kMaxPlaceholders> position{};    // by argument index
    std::array<std::size_t, kMaxPlaceholders> occurrence{};  // argument indexes in order of occurrence
    std::size_t count = 0;
};

Placeholders scan(std::u16string_view text) {
    Placeholders found;
    for (std::size_t at = 0; at + 1 < text.size() && found.count < kMaxPlaceholders; ++at) {
        if (text[at] != u'%') continue;
        const char16_t number = text[at + 1];
        if (u'1' <= number && number <= u':') {
            const auto index = static_cast<std::size_t>(number - u'1');
            found.position[index] = at;
            found.occurrence[found.count++] = index;
        }
        ++at;  // the second unit never begins a pair of its own
    }
    return found;
}

struct Range {
    std::size_t start;
    std::size_t end;
};

Range placeOf(std::u16string_view text, std::int32_t number) {
    const auto digit = static_cast<char16_t>(u'0' + (number < 10 ? number : number / 10));
    const std::size_t units = number < 10 ? 2 : 3;  // the units digit is spanned but not looked at
    for (std::size_t at = 0; at + 1 < text.size(); ++at) {
        if (text[at] == u'%' && text[at + 1] == digit) return {at, at + units};
    }
    const std::size_t last = text.size() <= 1 ? 0 : text.size() - 1;
    return {last, last + units};
}

}  // namespace

void substitute(KelString& text, std::span<const KelString* const> arguments) {
    const std::u16string_view source = text.view();
    const Placeholders found = scan(source);
    if (found.count == 0) return;
    const auto argumentAt = [&](std::size_t occurrence) -> const KelString* {
        const std::size_t index = found.occurrence[occurrence];
        return index < arguments.size() ? arguments[index] : nullptr;
    };
    std::size_t units = source.size();
    for (std::size_t i = 0; i < found.count; ++i) {
        if (const KelString* const argument = argumentAt(i)) units += argument->length();
    }
    KelString result;
    result.reserve(units);
    std::size_t copied = 0;
    for (std::size_t i = 0; i < found.count; ++i) {
        const std::size_t position = found.position[found.occurrence[i]];
        if (copied < position) result.append(source.substr(copied, position - copied));
        copied = position + kPlaceholderUnits;
        if (const KelString* const argument = argumentAt(i)) result.append(*argument);
    }
    result.append(source.substr(copied));
    text = std::move(result);
}

void substitute(KelString& text, std::int32_t count, const KelString* arguments) {
    for (std::int32_t number = 1; number <= count; ++number) {
        const Range place = placeOf(text.view(), number);
        text = text.replaceRange(place.start, place.end, arguments[number - 1].view());
    }
}

}  // namespace kel
