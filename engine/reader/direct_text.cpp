// Text, references, comments, processing instructions, CDATA sections, and passing over a DOCTYPE.
#include <algorithm>
#include <array>
#include <bit>
#include <cstring>

#include "engine/reader/detail/block.h"
#include "engine/reader/detail/direct_parser.h"

namespace engine::reader::detail {
namespace {

constexpr std::array<std::pair<std::string_view, char32_t>, 5> kPredefined{
    {{"lt", '<'}, {"gt", '>'}, {"amp", '&'}, {"quot", '"'}, {"apos", '\''}}};

std::string_view view(const char* from, const char* to) {
    return {from, static_cast<std::size_t>(to - from)};
}

// The first place from `at` on that needs a thought in text, or the window's end.
const char* endOfPlainText(const char* at, const char* end) {
    for (;; at += kBlock) {
        const Block block = Block::load(at);
        const std::uint32_t found =
            block.equal('<') | block.equal('&') | block.equal('>') | block.equal('\0');
        if (found == 0) continue;
        at += std::countr_zero(found);
        return std::min(at, end);
    }
}

// Where `text` begins first from `at` on, or null.
const char* find(const char* at, const char* end, std::string_view text) {
    const std::size_t found = view(at, end).find(text);
    return found == std::string_view::npos ? nullptr : at + found;
}

// The first of `stops` outside quotes from `at` on, or null.
const char* findUnquoted(const char* at, const char* end, std::string_view stops) {
    for (; at != end; ++at) {
        if (stops.find(*at) != std::string_view::npos) return at;
        if (*at != '"' && *at != '\'') continue;
        at = std::find(at + 1, end, *at);
        if (at == end) break;
    }
    return nullptr;
}

// Behind the ']' of the internal subset whose text begins at `at`, or null.
const char* pastSubset(const char* at, const char* end) {
    while (at != end && *at != ']') {
        std::string_view close = ">";
        if (view(at, end).starts_with("<!--")) {
            close = "-->";
            at = find(at + 4, end, close);
        } else if (view(at, end).starts_with("<?")) {
            close = "?>";
            at = find(at + 2, end, close);
        } else if (*at == '<') {
            at = findUnquoted(at, end, close);
        } else {
            ++at;
            continue;
        }
        if (at == nullptr) return nullptr;
        at += close.size();
    }
    return at == end ? nullptr : at + 1;
}

bool isReservedTarget(std::string_view target) {
    return target.size() == 3 && (target[0] | 0x20) == 'x' && (target[1] | 0x20) == 'm' &&
           (target[2] | 0x20) == 'l';
}

int digitValue(char c, int radix) {
    int value = -1;
    if (c >= '0' && c <= '9') value = c - '0';
    if (c >= 'a' && c <= 'f') value = c - 'a' + 10;
    if (c >= 'A' && c <= 'F') value = c - 'A' + 10;
    return value < radix ? value : -1;
}

}  // namespace

DirectParser::Step DirectParser::text() {
    const char* at = cursor_;
    for (;;) {
        at = endOfPlainText(at, end_);
        if (at == end_) {
            // Brackets at the end may turn out to be the start of "]]>".
            if (!ended_) {
                for (int i = 0; i < 2 && at != cursor_ && at[-1] == ']'; ++i) --at;
            }
            deliver(cursor_, at);
            cursor_ = at;
            return ended_ ? Step::Next : Step::More;
        }
        if (*at == '>') {
            if (at - cursor_ >= 2 && at[-1] == ']' && at[-2] == ']') {
                deliver(cursor_, at - 2);  // as it would be in smaller pieces
                return refuse(at, ErrorCode::CDataEndInText, at - 2,
                              "']]>' is not allowed in text: write ']]&gt;'.");
            }
            ++at;
            continue;
        }
        deliver(cursor_, at);
        cursor_ = at;
        if (*at == '<') return Step::Next;
        char32_t character = 0;
        if (const Step step = reference(at, character); step != Step::Next) return step;
        if (character != kNoCharacter) {
            char bytes[4];
            const auto length = static_cast<std::size_t>(writeUtf8(bytes, character) - bytes);
            event_ = cursor_;
            progress_.textBytes += length;
            sink_.characters({bytes, length});
        }
        cursor_ = at;
    }
}

DirectParser::Step DirectParser::reference(const char*& at, char32_t& character) {
    const char* const start = at;
    if (start[1] == '#') return characterReference(at, character);
    const char* const stop = nameEnd(start + 1);
    if (stop == end_) return refuse(stop, ErrorCode::BareAmpersand, start, {});
    const std::string_view name = view(start + 1, stop);
    if (name.empty()) {
        return refuse(stop, ErrorCode::BareAmpersand, start,
                      "'&' must begin a reference such as '&amp;'; write '&amp;' for the character itself.");
    }
    if (*stop != ';') {
        return refuse(stop, ErrorCode::BareAmpersand, start,
                      "The reference " + quoted(view(start, stop)) +
                          " must end with ';'; write '&amp;' for a plain '&'.");
    }
    at = stop + 1;
    for (const auto& [known, meaning] : kPredefined) {
        if (name == known) {
            character = meaning;
            return Step::Next;
        }
    }
    character = kNoCharacter;
    if (isDeclared_ && isDeclared_(name)) return Step::Next;
    return refuse(start, ErrorCode::UnknownEntity, start, "Entity " + quoted(name) + " is not declared.");
}

DirectParser::Step DirectParser::characterReference(const char*& at, char32_t& character) {
    const char* const start = at;
    const int radix = start[2] == 'x' ? 16 : 10;
    const char* const digits = start + (radix == 16 ? 3 : 2);
    const char* stop = digits;
    character = 0;
    for (int digit = 0; (digit = digitValue(*stop, radix)) >= 0; ++stop) {
        constexpr char32_t kBeyond = 0x110000;
        character = std::min<char32_t>(
            character * static_cast<char32_t>(radix) + static_cast<char32_t>(digit), kBeyond);
    }
    if (stop == end_) return refuse(stop, ErrorCode::BadCharacterReference, start, {});
    if (stop == digits || *stop != ';') {
        return refuse(stop, ErrorCode::BadCharacterReference, start,
                      "The character reference " + quoted(view(start, stop)) +
                          (stop == digits ? " must hold a number." : " must end with ';'."));
    }
    if (!isXmlCharacter(character)) {
        return refuse(start, ErrorCode::BadCharacterReference, start,
                      "The character reference " + quoted(view(start, stop + 1)) +
                          " stands for a character that XML does not allow.");
    }
    at = stop + 1;
    return Step::Next;
}

DirectParser::Step DirectParser::comment() {
    const char* const text = cursor_ + 4;
    const char* const stop = find(text, end_, "--");
    if (stop == nullptr) return refuse(end_, ErrorCode::BadComment, cursor_, {});
    if (stop + 2 == end_) return refuse(end_, ErrorCode::BadComment, cursor_, {});
    if (stop[2] != '>') {
        return refuse(stop, ErrorCode::BadComment, stop, "'--' is not allowed inside a comment.");
    }
    event();
    sink_.comment(view(text, stop));
    cursor_ = stop + 3;
    return Step::Next;
}

DirectParser::Step DirectParser::instruction() {
    const char* const target = cursor_ + 2;
    const char* const targetEnd = nameEnd(target);
    const std::string_view name = view(target, targetEnd);
    if (targetEnd == end_) return refuse(end_, ErrorCode::BadInstruction, cursor_, {});
    if (name.empty()) {
        return refuse(target, ErrorCode::BadInstruction, target,
                      "A processing instruction must begin with a name, not with " +
                          quoted(decodeAt(target).character) + ".");
    }
    if (isReservedTarget(name)) {
        if (name == "xml") {
            return refuse(cursor_, ErrorCode::LateDeclaration, cursor_,
                          "The XML declaration is allowed at the very start of the document only.");
        }
        return refuse(cursor_, ErrorCode::BadInstruction, target,
                      "The name " + quoted(name) + " is reserved: no processing instruction may have it.");
    }
    const char* data = targetEnd;
    while (isSpace(*data)) ++data;
    const char* const stop = find(targetEnd, end_, "?>");
    if (data == targetEnd && stop != targetEnd && end_ - targetEnd > 1) {
        return refuse(
            targetEnd, ErrorCode::BadInstruction, targetEnd,
            "A blank or '?>' must follow the name " + quoted(name) + " of the processing instruction.");
    }
    if (stop == nullptr) return refuse(end_, ErrorCode::BadInstruction, cursor_, {});
    event();
    sink_.processingInstruction(name, view(std::min(data, stop), stop));
    cursor_ = stop + 2;
    return Step::Next;
}

DirectParser::Step DirectParser::startCData() {
    if (opens_.empty()) {
        return refuse(cursor_, ErrorCode::TextOutsideRoot, cursor_,
                      "A CDATA section is allowed inside the root element only.");
    }
    event();
    sink_.startCData();
    inCData_ = true;
    cDataOffset_ = source_.offsetOf(cursor_);
    cursor_ += 9;
    return Step::Next;
}

// A section may be long: what the window holds is delivered at once, but for what may be the start of "]]>".
DirectParser::Step DirectParser::cData() {
    const char* const stop = find(cursor_, end_, "]]>");
    if (stop == nullptr) {
        const char* safe = end_;
        for (int i = 0; i < 2 && safe != cursor_ && safe[-1] == ']'; ++i) --safe;
        deliver(cursor_, safe);
        cursor_ = safe;
        return refuse(end_, ErrorCode::BadCData, end_, {});
    }
    deliver(cursor_, stop);
    cursor_ = stop;
    inCData_ = false;
    event();
    sink_.endCData();
    cursor_ = stop + 3;
    return Step::Next;
}

DirectParser::Step DirectParser::doctype() {
    if (hasRoot_ || hasDoctype_) {
        return refuse(
            cursor_, ErrorCode::MisplacedDoctype, cursor_,
            hasRoot_ ? "A DOCTYPE must stand before the root element." : "A document has one DOCTYPE.");
    }
    if (options_.dtd == ReadOptions::Dtd::Prohibit) {
        return refuse(
            cursor_, ErrorCode::DoctypeProhibited, cursor_,
            "A DOCTYPE is not allowed here: documents with a document type declaration are refused.");
    }
    if (!isDeclared_) return Step::Stop;

    const char* at = findUnquoted(cursor_ + 2, end_, "[>");
    if (at != nullptr && *at == '[') {
        at = pastSubset(at + 1, end_);
        if (at != nullptr) at = findUnquoted(at, end_, ">");
    }
    if (at == nullptr) return refuse(end_, ErrorCode::BadDoctype, cursor_, {});
    hasDoctype_ = true;
    cursor_ = at + 1;
    return Step::Next;
}

}  // namespace engine::reader::detail
