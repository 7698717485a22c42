#include "KelBasicTypes/substitute.h"

#include <algorithm>
#include <array>

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
            std::char_traits<char16_t>::copy(out, pieces_[i].text, pieces_[i].units);
            out += pieces_[i].units;
        }
    }

private:
    struct Piece {
        const char16_t* text;
        std::size_t units;
    };
    // Text before and argument of each placeholder, and the text behind the last. Only the first count_ are
    // set: clearing the others would take as long as the rest of the work.
    Piece pieces_[2 * kMaxPlaceholders + 1];
    std::size_t count_ = 0;
    std::size_t units_ = 0;
};

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
    Pieces pieces;
    std::size_t copied = 0;
    for (std::size_t i = 0; i < found.count; ++i) {
        const std::size_t index = found.occurrence[i];
        const std::size_t position = found.position[index];
        if (copied < position) pieces.add(source.substr(copied, position - copied));
        copied = position + kPlaceholderUnits;
        if (index < arguments.size() && arguments[index] != nullptr) pieces.add(arguments[index]->view());
    }
    pieces.add(source.substr(copied));
    KelString result;
    result.overwrite(pieces.units(), [&pieces](char16_t* out) { pieces.copyTo(out); });
    text = std::move(result);
}

void substitute(KelString& text, std::int32_t count, const KelString* arguments) {
    for (std::int32_t number = 1; number <= count; ++number) {
        const Range place = placeOf(text.view(), number);
        text = text.replaceRange(place.start, place.end, arguments[number - 1].view());
    }
}

}  // namespace kel
