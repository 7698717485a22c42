// The result is defined by this procedure over a four-row table of characters and entities: a pass counter
// runs from 0 to 3, and the pass of row i replaces its character wherever the text does not already hold the
// entity there. Three traits of it are kept intentionally:
//  - The comparison with the entity counts with the pass counter itself. A pass that compared at all
//  therefore goes
//    on with the row after the index where its last comparison ended (the first difference, or the entity's
//    length), so passes are skipped, or run twice.
//  - The comparison starts after the character, at index 1, and is made only if more units than the entity's
//  length
//    are left from the character on; an entity at the very end is not recognised.
//  - A comparison that agrees leaves the text alone there and goes on after the entity.
//
// Within one pass every decision looks only at units from the current position on, and those are still the
// units the pass began with: replacing happens after the position. So a pass is one scan that reads the old
// text and appends to a new one, without inserting into the middle; "units left" is counted in the old text,
// for replacing lengthens text and position alike.
//
// The number of passes is bounded. Row 0 goes forward only, and so does row 1. A row that runs again (rows 2
// and 3, after a last difference at a small index) finds only occurrences that agreed, so its last comparison
// agrees and ends the passes, or it finds none and goes forward. Each row runs at most twice: the cost is
// linear.
#include "msxml_parser/detail/dom/escapexml.h"

#include <array>
#include <cstddef>
#include <string_view>

namespace msxml {
namespace {

constexpr std::u16string_view kCharacters = u"&<>\"";
constexpr std::array<std::u16string_view, 4> kEntities{u"&amp;", u"&lt;", u"&gt;", u"&quot;"};

// The index of the first difference from `entity`, from index 1 on; the entity's length if there is none.
std::size_t compareBehindFirst(std::u16string_view text, std::u16string_view entity) {
    std::size_t index = 1;
    while (index < entity.size() && text[index] == entity[index]) ++index;
    return index;
}

// One pass of row `row` over `text`, appending to `out`. Returns the row counter as the pass leaves it.
std::size_t runPass(std::size_t row, std::u16string_view text, std::u16string& out) {
    const char16_t character = kCharacters[row];
    const std::u16string_view entity = kEntities[row];
    std::size_t counter = row;
    std::size_t copied = 0;  // units of `text` that are in `out`
    for (std::size_t at = text.find(character); at != text.npos; at = text.find(character, copied)) {
        out.append(text, copied, at - copied);
        copied = at;
        bool isEscaped = false;
        if (text.size() - at > entity.size()) {
            counter =
                compareBehindFirst(text.substr(at), entity);  // Intentional: the row counter counts here.
            isEscaped = counter == entity.size();
        }
        if (isEscaped) {
            out.append(text, at, entity.size());
            copied += entity.size();
        } else {
            out.append(entity);
            ++copied;
        }
    }
    out.append(text, copied);
    return counter;
}

bool holdsSpecial(std::u16string_view text) noexcept {
    using namespace kel::detail;
    for (; text.size() >= kVectorLength; text.remove_prefix(kVectorLength)) {
        const Vector units = loadVector(text.data());
        if (isAnySet(areEither(units, u'"', u'&') | areEither(units, u'<', u'>'))) return true;
    }
    return text.find_first_of(kCharacters) != text.npos;
}

}  // namespace

std::u16string_view XmlEscaper::escape(std::u16string_view text) {
    if (!holdsSpecial(text)) return text;
    for (std::size_t row = 0; row < kEntities.size(); ++row) {
        to_.clear();
        row = runPass(row, text, to_);
        if (to_.size() == text.size()) continue;  // each replacement makes the text longer
        from_.swap(to_);
        text = from_;
    }
    return text;
}

}  // namespace msxml

bool escapeXml(KelString& text) {
    msxml::XmlEscaper escaper;
    const std::u16string_view escaped = escaper.escape(text.view());
    if (escaped.size() != text.length()) text.assign(escaped);
    return true;
}
