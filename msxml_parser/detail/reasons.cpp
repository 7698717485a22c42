// A text with placeholders is a sequence of literal pieces and gaps. It fits a reason that begins with its
// first piece, ends with its last and has the others in between, in this order; each gap takes as little as
// it can. Of several texts that fit, the one with the longest pieces is meant. Reasons are made of few
// hundred short texts, so that trying all of them costs some microseconds, for each error that is reported.
#include "msxml_parser/detail/reasons.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <optional>
#include <utility>

#include "KelBasicTypes/message.h"
#include "KelBasicTypes/substitute.h"

namespace msxml {

namespace {

constexpr std::size_t kMaxArguments = 9;
constexpr int kMaxNesting = 3;  // of texts that are arguments of others

// What replaces %1 to %9 in a reason.
struct Arguments {
    struct Argument {
        std::u16string_view text;
        bool isQuoted = false;  // a name or a value, never a text of ours
    };
    std::array<Argument, kMaxArguments> list;
    std::size_t count = 0;
    std::size_t literalUnits = 0;
};

bool isEqual(std::u16string_view text, std::string_view ascii) noexcept {
    return std::equal(text.begin(), text.end(), ascii.begin(), ascii.end(),
                      [](char16_t unit, char c) { return unit == static_cast<unsigned char>(c); });
}

std::size_t find(std::u16string_view text, std::string_view ascii) noexcept {
    const auto found =
        std::search(text.begin(), text.end(), ascii.begin(), ascii.end(),
                    [](char16_t unit, char c) { return unit == static_cast<unsigned char>(c); });
    return found == text.end() ? text.npos : static_cast<std::size_t>(found - text.begin());
}

bool isPlaceholder(std::string_view pattern, std::size_t at) noexcept {
    return pattern[at] == '%' && at + 1 < pattern.size() && '1' <= pattern[at + 1] && pattern[at + 1] <= '9';
}

std::size_t endOfPiece(std::string_view pattern) noexcept {
    std::size_t at = 0;
    while (at < pattern.size() && !isPlaceholder(pattern, at)) ++at;
    return at;
}

// Of the first piece if the text begins with it; most do not, which shows at once.
std::optional<std::size_t> endOfFirstPiece(std::string_view pattern, std::u16string_view text) noexcept {
    std::size_t at = 0;
    for (; at < pattern.size() && !isPlaceholder(pattern, at); ++at) {
        if (at == text.size() || text[at] != static_cast<unsigned char>(pattern[at])) return std::nullopt;
    }
    return at;
}

std::optional<Arguments> match(std::string_view pattern, std::u16string_view reason) noexcept {
    const std::optional<std::size_t> first = endOfFirstPiece(pattern, reason);
    if (!first) return std::nullopt;
    std::string_view piece = pattern.substr(0, *first);
    Arguments result;
    result.literalUnits = piece.size();
    reason.remove_prefix(piece.size());
    pattern.remove_prefix(piece.size());
    while (!pattern.empty()) {
        Arguments::Argument& argument = result.list[static_cast<std::size_t>(pattern[1] - '1')];
        result.count = std::max(result.count, static_cast<std::size_t>(pattern[1] - '0'));
        argument.isQuoted = piece.ends_with('\'');
        pattern.remove_prefix(2);
        piece = pattern.substr(0, endOfPiece(pattern));
        pattern.remove_prefix(piece.size());
        result.literalUnits += piece.size();
        const std::size_t last = reason.size() - std::min(reason.size(), piece.size());
        const std::size_t end = !pattern.empty()                      ? find(reason, piece)
                                : isEqual(reason.substr(last), piece) ? last
                                                                      : reason.npos;
        if (end == reason.npos) return std::nullopt;
        argument.text = reason.substr(0, end);
        reason.remove_prefix(end + piece.size());
    }
    return reason.empty() ? std::optional(result) : std::nullopt;
}

KelString translatedText(std::u16string_view text, int nesting);

// The text that is looked up for the key; null if that is the key itself, or there is none.
KelString translationOf(const char* key) {
    KelString text;
    if (!kel::currentTranslator().lookUp(key, text) || isEqual(text.view(), key)) return {};
    return text;
}

KelString filledIn(KelString text, const Arguments& arguments, int nesting) {
    std::array<KelString, kMaxArguments> texts;
    std::array<const KelString*, kMaxArguments> pointers{};
    for (std::size_t i = 0; i < arguments.count; ++i) {
        const Arguments::Argument& argument = arguments.list[i];
        texts[i] = argument.isQuoted ? KelString(argument.text) : translatedText(argument.text, nesting + 1);
        pointers[i] = &texts[i];
    }
    kel::substitute(text, std::span(pointers.data(), arguments.count));
    return text;
}

KelString translatedText(std::u16string_view text, int nesting) {
    const char* meant = nullptr;
    Arguments arguments;
    for (const std::string_view pattern : reasonTemplates()) {
        if (nesting > kMaxNesting) break;
        const std::optional<Arguments> found = match(pattern, text);
        if (!found || (meant != nullptr && found->literalUnits <= arguments.literalUnits)) continue;
        meant = pattern.data();
        arguments = *found;
    }
    KelString translation = meant != nullptr ? translationOf(meant) : KelString();
    return translation.isNull() ? KelString(text) : filledIn(std::move(translation), arguments, nesting);
}

// "FILE, line N: " or "line N: " at the start of a line.
struct Location {
    std::u16string_view file;
    std::u16string_view line;
    std::size_t length = 0;  // of the whole; 0: there is none
};

Location locationIn(std::u16string_view text) noexcept {
    constexpr std::u16string_view kLine = u"line ";
    constexpr std::u16string_view kFileLine = u", line ";
    const bool hasFile = !text.starts_with(kLine);
    const std::size_t mark = hasFile ? text.find(kFileLine) : 0;
    if (mark == text.npos) return {};
    const std::size_t digits = mark + (hasFile ? kFileLine : kLine).size();
    const std::size_t end = text.find_first_not_of(u"0123456789", digits);
    if (end == text.npos || end == digits || !text.substr(end).starts_with(u": ")) return {};
    return {text.substr(0, mark), text.substr(digits, end - digits), end + 2};
}

// Each line of the text as `translate` has it.
template <typename Translate>
KelString byLine(std::u16string_view text, Translate&& translate) {
    KelString result;
    for (;;) {
        const std::size_t end = std::min(text.find(u'\n'), text.size());
        result.append(translate(text.substr(0, end)));
        if (end == text.size()) return result;
        result.append(u"\n");
        text.remove_prefix(end + 1);
    }
}

}  // namespace

KelString translatedReason(std::u16string_view reason) {
    return byLine(reason, [](std::u16string_view line) {
        const std::size_t locationLength = locationIn(line).length;
        KelString result(line.substr(0, locationLength));
        return result.append(translatedText(line.substr(locationLength), 0));
    });
}

KelString translatedLocations(const KelString& reason) {
    return byLine(reason.view(), [](std::u16string_view line) {
        const Location location = locationIn(line);
        const bool hasFile = !location.file.empty();
        KelString text;
        if (location.length != 0)
            text = translationOf(hasFile ? kel::messageKey("%1, line %2: ") : kel::messageKey("line %1: "));
        if (text.isNull()) return KelString(line);
        const KelString file(location.file);
        const KelString number(location.line);
        const std::array arguments{hasFile ? &file : &number, &number};
        kel::substitute(text, arguments);
        return text.append(line.substr(location.length));
    });
}

}  // namespace msxml
