// The pieces of the result, which are stretches of the template and arguments, are collected first, so that
// their length is known and the text is put together in one block.
#include "KelBasicTypes/substitute.h"

#include <array>
#include <cstring>
#include <functional>

#include "KelBasicTypes/detail/findunit.h"
#include "KelBasicTypes/kelstring.h"

namespace kel {

namespace {

constexpr std::size_t kMaxPlaceholders = 10;
constexpr std::size_t kPlaceholderUnits = 2;

// The placeholders of a template. A number's position is that of its last occurrence: kept, see substitute.h.
struct Placeholders {
    std::array<std::uint32_t, kMaxPlaceholders> position{};   // by argument index
    std::array<std::uint8_t, kMaxPlaceholders> occurrence{};  // argument indexes in order of occurrence
    std::size_t count = 0;
};

Placeholders scan(std::u16string_view text) {
    Placeholders found;
    std::size_t at = detail::findUnit(text, u'%');
    while (at + 1 < text.size() && found.count < kMaxPlaceholders) {
        const char16_t number = text[at + 1];
        if (u'1' <= number && number <= u':') {
            const auto index = static_cast<std::uint8_t>(number - u'1');
            found.position[index] = static_cast<std::uint32_t>(at);  // a text has fewer than 2^30 units
            found.occurrence[found.count++] = index;
        }
        at = detail::findUnit(text, u'%', at + 2);  // the second unit never begins a pair of its own
    }
    return found;
}

// Most pieces are a few words: a call would take longer than the copying. Each step copies its first and last
// units, which may be the same ones.
template <std::size_t kUnits>
bool copyBothEnds(char16_t* out, const char16_t* from, std::size_t units) noexcept {
    if (units < kUnits) return false;
    char16_t first[kUnits];
    char16_t last[kUnits];
    std::memcpy(first, from, sizeof first);
    std::memcpy(last, from + units - kUnits, sizeof last);
    std::memcpy(out, first, sizeof first);
    std::memcpy(out + units - kUnits, last, sizeof last);
    return true;
}

inline void copyPiece(char16_t* out, const char16_t* from, std::size_t units) noexcept {
    if (units > 32) {
        std::memcpy(out, from, units * sizeof(char16_t));
    } else if (!copyBothEnds<16>(out, from, units) && !copyBothEnds<8>(out, from, units) &&
               !copyBothEnds<4>(out, from, units) && !copyBothEnds<2>(out, from, units) && units == 1) {
        *out = *from;
    }
}

// What the completed text is made of.
class Pieces final {
public:
    void add(std::u16string_view piece) noexcept {
        pieces_[count_++] = {piece.data(), piece.size()};
        units_ += piece.size();
    }
    [[nodiscard]] std::size_t units() const noexcept { return units_; }
    void copyTo(char16_t* out) const noexcept {
        for (std::size_t i = 0; i < count_; ++i) {
            copyPiece(out, pieces_[i].text, pieces_[i].units);
            out += pieces_[i].units;
        }
    }

private:
    struct Piece {
        const char16_t* text;
        std::size_t units;
    };
    // Text before and argument of each placeholder, and the text after the last. Only the first count_ are
    // set: clearing the others would take as long as the rest of the work.
    Piece pieces_[2 * kMaxPlaceholders + 1];
    std::size_t count_ = 0;
    std::size_t units_ = 0;
};

bool overlap(std::u16string_view a, std::u16string_view b) noexcept {
    const std::less<> before;
    return !before(a.data() + a.size(), b.data()) && !before(b.data() + b.size(), a.data());
}

struct Range {
    std::size_t start;
    std::size_t end;
};

Range rangeOf(std::u16string_view text, std::int32_t number) {
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
    const Placeholders found = scan(text.view());
    if (found.count == 0) return;
    // A template of usual length is set aside: the completed text then has room where the template was, and a
    // string that is used for one message after the other needs no further buffer.
    constexpr std::size_t kUsualUnits = 256;
    char16_t aside[kUsualUnits];
    const bool isUsual = text.length() <= kUsualUnits;
    if (isUsual) copyPiece(aside, text.c_str(), text.length());
    const std::u16string_view source(isUsual ? aside : text.c_str(), text.length());
    Pieces pieces;
    bool isArgument = false;  // the text, or a part of it
    std::size_t copied = 0;
    for (std::size_t i = 0; i < found.count; ++i) {
        const std::size_t index = found.occurrence[i];
        const std::size_t position = found.position[index];
        if (copied < position) pieces.add(source.substr(copied, position - copied));
        copied = position + kPlaceholderUnits;
        if (index >= arguments.size() || arguments[index] == nullptr) continue;
        const std::u16string_view argument = arguments[index]->view();
        isArgument = isArgument || overlap(argument, text.view());
        pieces.add(argument);
    }
    pieces.add(source.substr(copied));
    const auto write = [&pieces](char16_t* out) { pieces.copyTo(out); };
    if (isUsual && !isArgument) return text.overwrite(pieces.units(), write);
    KelString result;
    result.overwrite(pieces.units(), write);
    text = std::move(result);
}

void substitute(KelString& text, std::int32_t count, const KelString* arguments) {
    for (std::int32_t number = 1; number <= count; ++number) {
        const Range range = rangeOf(text.view(), number);
        text = text.replaceRange(range.start, range.end, arguments[number - 1].view());
    }
}

}  // namespace kel
