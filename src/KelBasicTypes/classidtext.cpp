#include "KelBasicTypes/classidtext.h"

#include <charconv>
#include <cstdio>

namespace kel {

namespace {

constexpr std::size_t kLength = 36;  // without braces

// Exactly `digits` digits, taken from the front of the text.
template <class Number>
bool takeNumber(std::string_view& text, std::size_t digits, Number& number) noexcept {
    std::uint32_t value = 0;
    const char* const end = text.data() + digits;
    const auto [stop, error] = std::from_chars(text.data(), end, value, 16);
    if (error != std::errc() || stop != end) return false;
    number = static_cast<Number>(value);
    text.remove_prefix(digits);
    return true;
}

bool takeDash(std::string_view& text) noexcept {
    if (text.front() != '-') return false;
    text.remove_prefix(1);
    return true;
}

}  // namespace

std::string classIdText(const KelClassId& id, ClassIdBraces braces) {
    char text[kLength + 1];
    const auto& d = id.data4;
    std::snprintf(text, sizeof text, "%08X-%04X-%04X-%02X%02X-%02X%02X%02X%02X%02X%02X", id.data1, id.data2,
                  id.data3, d[0], d[1], d[2], d[3], d[4], d[5], d[6], d[7]);
    return braces == ClassIdBraces::With ? '{' + std::string(text) + '}' : text;
}

std::optional<KelClassId> classIdOf(std::string_view text) noexcept {
    if (text.size() == kLength + 2 && text.front() == '{' && text.back() == '}')
        text = text.substr(1, kLength);
    if (text.size() != kLength) return std::nullopt;
    KelClassId id;
    if (!takeNumber(text, 8, id.data1) || !takeDash(text) || !takeNumber(text, 4, id.data2) ||
        !takeDash(text) || !takeNumber(text, 4, id.data3) || !takeDash(text))
        return std::nullopt;
    for (std::size_t i = 0; i < id.data4.size(); ++i) {
        if (i == 2 && !takeDash(text)) return std::nullopt;
        if (!takeNumber(text, 2, id.data4[i])) return std::nullopt;
    }
    return id;
}

}  // namespace kel
