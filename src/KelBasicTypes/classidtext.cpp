// Texts of class identifiers, and of the tags and kinds of data-model records.
#include "KelBasicTypes/classidtext.h"

#include <charconv>
#include <cstdio>

#include "KelBasicTypes/datamodel.h"

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

std::string dataTagText(DataTag tag) {
    std::string text;
    for (int shift = 24; shift >= 0; shift -= 8) {
        const auto byte = static_cast<unsigned char>(tag >> shift & 0xFF);
        if (byte < 0x20 || byte > 0x7E) {
            char number[sizeof "0x00000000"];
            std::snprintf(number, sizeof number, "0x%08X", tag);
            return number;
        }
        text += static_cast<char>(byte);
    }
    return text;
}

std::string dataKindText(DataKind kind) {
    switch (kind) {
        case DataKind::Block:
            return "block";
        case DataKind::Bool:
            return "bool";
        case DataKind::Integers:
            return "integers";
        case DataKind::Reals:
            return "reals";
        case DataKind::Text:
            return "text";
        case DataKind::Bytes:
            return "bytes";
        case DataKind::ClassId:
            return "class-id";
    }
    return "kind " + std::to_string(static_cast<int>(kind));
}

}  // namespace kel
