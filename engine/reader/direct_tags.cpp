// Start tags, end tags and attributes.
#include <algorithm>
#include <bit>
#include <cstring>

#include "engine/reader/detail/block.h"
#include "engine/reader/detail/direct_parser.h"

namespace engine::reader::detail {
namespace {

constexpr std::size_t kFewAttributes = 8;

const char* skipSpace(const char* at) {
    while (isSpace(*at)) ++at;
    return at;
}

// Names are short and mostly ASCII.
inline const char* endOfName(const char* at) {
    const char* p = at;
    if ((classOf(*p) & (kNameStart | kNonAscii)) == kNameStart) {
        do ++p;
        while ((classOf(*p) & (kNameChar | kNonAscii)) == kNameChar);
        if ((classOf(*p) & kNonAscii) == 0) return p;
    }
    return nameEnd(at);
}

std::string_view view(const char* from, const char* to) {
    return {from, static_cast<std::size_t>(to - from)};
}

// The first place from `at` on that needs a thought in an attribute value, or the window's end.
const char* endOfPlainValue(const char* at, const char* end, char quote) {
    for (;; at += kBlock) {
        const Block block = Block::load(at);
        const std::uint32_t found = block.equal(quote) | block.equal('&') | block.equal('<') |
                                    block.equal('\n') | block.equal('\t') | block.equal('\0');
        if (found == 0) continue;
        at += std::countr_zero(found);
        return std::min(at, end);
    }
}

}  // namespace

DirectParser::Step DirectParser::startTag() {
    isWide_ = isTooWideForLibxml2();  // the tag before
    const char* const nameStart = cursor_ + 1;
    const char* at = endOfName(nameStart);
    if (at == nameStart || at == end_) return refuseStartTag(at);
    const std::string_view name = view(nameStart, at);
    attributes_.clear();
    valuesUsed_ = 0;
    for (;;) {
        const char* const before = at;
        at = skipSpace(at);
        if (*at == '>' || *at == '/') break;
        if (at == before) return refuseBlank(at);
        if (const Step step = attribute(at); step != Step::Next) return step;
    }
    const bool isEmpty = *at == '/';
    if (isEmpty && *++at != '>') return refuseInTag(at == end_ ? at : at - 1, name);
    if (attributes_.size() > 1) {
        if (const Step step = checkDuplicates(); step != Step::Next) return step;
    }
    if (opens_.empty()) {
        if (hasRoot_) {
            return refuse(cursor_, ErrorCode::SecondRoot, cursor_,
                          "A document has one root element: " + quoted(name) + " is a second one.");
        }
        hasRoot_ = true;
    }
    if (opens_.size() >= options_.depthLimit) {
        return refuse(cursor_, ErrorCode::TooDeep, cursor_,
                      "Elements are nested more than " + std::to_string(options_.depthLimit) + " deep.");
    }
    event();
    sink_.startElement(name, attributes_);
    if (isEmpty) {
        event();
        sink_.endElement(name);
    } else {
        opens_.push_back({source_.offsetOf(cursor_), openNames_.size()});
        openNames_ += name;
    }
    cursor_ = at + 1;
    return Step::Next;
}

DirectParser::Step DirectParser::attribute(const char*& at) {
    const char* const nameStart = at;
    const char* const nameStop = endOfName(at);
    if (nameStop == nameStart) {
        return refuseInTag(at, view(cursor_ + 1, nameEnd(cursor_ + 1)));
    }
    at = skipSpace(nameStop);
    if (*at != '=') {
        return refuse(at, ErrorCode::BadAttribute, nameStart,
                      "Attribute " + quoted(view(nameStart, nameStop)) +
                          " has no value: '=' and a value in quotes must follow.");
    }
    at = skipSpace(at + 1);
    const char quote = *at;
    if (quote != '"' && quote != '\'') {
        return refuse(
            at, ErrorCode::BadAttribute, at,
            "The value of attribute " + quoted(view(nameStart, nameStop)) + " must stand in quotes.");
    }
    attributes_.push_back({view(nameStart, nameStop), {}});
    ++at;
    return attributeValue(at, quote);
}

DirectParser::Step DirectParser::attributeValue(const char*& at, char quote) {
    const char* const start = at;
    at = endOfPlainValue(at, end_, quote);
    if (*at != quote) return expandValue(at, start, quote);
    attributes_.back().value = view(start, at);
    ++at;
    return Step::Next;
}

// From the first character on that is not taken as it stands. What is written is never longer than what is
// read, so the window's length is room enough for all values of a tag.
DirectParser::Step DirectParser::expandValue(const char*& at, const char* start, char quote) {
    const auto window = static_cast<std::size_t>(end_ - cursor_);
    if (valuesUsed_ == 0 && values_.size() < window) values_.resize(window);
    char* const value = values_.data() + valuesUsed_;
    char* out = value;
    for (;;) {
        if (at != start) std::memcpy(out, start, static_cast<std::size_t>(at - start));
        out += at - start;
        if (*at == quote) break;
        if (*at == '&') {
            char32_t character = 0;
            if (const Step step = reference(at, character); step != Step::Next) return step;
            if (character != kNoCharacter) out = writeUtf8(out, character);
        } else if (*at == '\n' || *at == '\t') {
            *out++ = ' ';
            ++at;
        } else {
            return refuse(at, ErrorCode::LessThanInValue, at,
                          "'<' is not allowed in the value of attribute " + quoted(attributes_.back().name) +
                              ": write '&lt;', or close the quotes before it.");
        }
        start = at;
        at = endOfPlainValue(at, end_, quote);
    }
    attributes_.back().value = view(value, out);
    valuesUsed_ += static_cast<std::size_t>(out - value);
    ++at;
    return Step::Next;
}

// A few names are compared with each other, many are sorted.
DirectParser::Step DirectParser::checkDuplicates() {
    const std::size_t count = attributes_.size();
    std::size_t culprit = count;
    if (count <= kFewAttributes) {
        for (std::size_t i = 1; i < count && culprit == count; ++i) {
            for (std::size_t k = 0; k < i; ++k) {
                if (attributes_[i].name == attributes_[k].name) culprit = i;
            }
        }
    } else {
        order_.resize(count);
        for (std::uint32_t i = 0; i < count; ++i) order_[i] = i;
        std::sort(order_.begin(), order_.end(), [this](std::uint32_t a, std::uint32_t b) {
            const int order = attributes_[a].name.compare(attributes_[b].name);
            return order == 0 ? a < b : order < 0;
        });
        for (std::size_t i = 1; i < count; ++i) {
            if (attributes_[order_[i - 1]].name == attributes_[order_[i]].name) {
                culprit = std::min<std::size_t>(culprit, order_[i]);
            }
        }
    }
    if (culprit == count) return Step::Next;
    const std::string_view name = attributes_[culprit].name;
    return refuse(cursor_, ErrorCode::DuplicateAttribute, name.data(),
                  "Attribute " + quoted(name) + " is there already: an element has an attribute once.");
}

DirectParser::Step DirectParser::endTag() {
    if (opens_.empty()) return refuseEndTag(cursor_ + 2);
    const std::string_view name = openName();
    const auto left = static_cast<std::size_t>(end_ - cursor_);
    if (left < name.size() + 3 || std::memcmp(cursor_ + 2, name.data(), name.size()) != 0)
        return refuseEndTag(cursor_ + 2);
    const char* at = cursor_ + 2 + name.size();
    if (*at != '>') {
        at = skipSpace(at);
        if (*at != '>') return refuseEndTag(cursor_ + 2);
    }
    event();
    sink_.endElement(name);
    openNames_.resize(opens_.back().nameStart);
    opens_.pop_back();
    cursor_ = at + 1;
    return Step::Next;
}

DirectParser::Step DirectParser::refuseStartTag(const char* at) {
    if (at == end_) return refuse(at, ErrorCode::BadTag, cursor_, {});
    if (isSpace(*at) || *at == '<' || *at == '>' || *at == '=' || *at == '&') {
        return refuse(
            at, ErrorCode::BadTag, cursor_,
            "'<' must be followed by the name of an element; write '&lt;' for the character itself.");
    }
    return refuse(at, ErrorCode::BadName, at,
                  "The name of an element must not start with " + quoted(decodeAt(at).character) + ".");
}

DirectParser::Step DirectParser::refuseBlank(const char* at) {
    if (at != end_ && !attributes_.empty() && nameEnd(at) != at) {
        return refuse(at, ErrorCode::BadAttribute, at,
                      "A blank is missing before attribute " + quoted(view(at, nameEnd(at))) + ".");
    }
    return refuseInTag(at, view(cursor_ + 1, nameEnd(cursor_ + 1)));
}

DirectParser::Step DirectParser::refuseInTag(const char* at, std::string_view tagName) {
    if (at == end_) return refuse(at, ErrorCode::BadTag, at, {});
    if (*at == '<') {
        return refuse(at, ErrorCode::BadTag, cursor_,
                      "The start tag " + quoted(tagName) + " is not finished: '>' is missing.");
    }
    return refuse(at, ErrorCode::BadTag, at,
                  quoted(decodeAt(at).character) + " is out of place in the start tag " + quoted(tagName) +
                      ": an attribute, '>' or '/>' must stand here.");
}

DirectParser::Step DirectParser::refuseEndTag(const char* at) {
    const char* const nameStart = at;
    at = nameEnd(at);
    const std::string_view name = view(nameStart, at);
    if (at == end_) return refuse(at, ErrorCode::BadTag, cursor_, {});
    if (name.empty()) {
        return refuse(at, ErrorCode::BadName, cursor_, "'</' must be followed by the name of an element.");
    }
    const char* const stop = skipSpace(at);
    if (stop == end_) return refuse(stop, ErrorCode::BadTag, cursor_, {});
    if (opens_.empty()) {
        return refuse(cursor_, ErrorCode::UnexpectedEndTag, cursor_,
                      "End tag " + quoted(name) + " has no start tag.");
    }
    if (name != openName()) {
        return refuse(
            cursor_, ErrorCode::MismatchedEndTag, cursor_,
            "End tag " + quoted(name) + " does not match the start tag " + quoted(openName()) + ".");
    }
    return refuse(stop, ErrorCode::BadTag, stop,
                  quoted(decodeAt(stop).character) + " is out of place in the end tag " + quoted(name) +
                      ": '>' must stand here.");
}

}  // namespace engine::reader::detail
