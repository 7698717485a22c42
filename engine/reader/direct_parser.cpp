#include "engine/reader/detail/direct_parser.h"

#include <algorithm>
#include <cstring>

#include "engine/reader/detail/declaration.h"
#include "engine/reader/detail/namespace_layer.h"

namespace engine::reader::detail {
namespace {

constexpr std::string_view kDoctype = "<!DOCTYPE";

bool startsWith(const char* at, std::string_view text) {
    return std::strncmp(at, text.data(), text.size()) == 0;
}

}  // namespace

DirectParser::Outcome DirectParser::run() {
    try {
        return parse();
    } catch (NamespaceFault& found) {
        // The event came from the window as it is now, and so did the names of its attributes.
        const char* culprit = event_;
        if (found.attribute != NamespaceFault::kElement) culprit = attributes_[found.attribute].name.data();
        fault_ = {found.code, source_.offsetOf(culprit), std::move(found.reason)};
        return Outcome::Refused;
    }
}

DirectParser::Outcome DirectParser::parse() {
    cursor_ = source_.begin();
    event();
    sink_.startDocument(*this);
    const Declaration declaration = readDeclaration(source_);
    if (declaration.fault) {
        fault_ = declaration.fault;
        return Outcome::Refused;
    }
    cursor_ = source_.begin() + declaration.length;
    end_ = source_.end();
    for (;;) {
        Step step = Step::More;
        if (cursor_ != end_) {
            step = token();
        } else if (ended_) {
            step = finish();
            if (step == Step::Next) return Outcome::Done;
        }
        if (step == Step::Stop) return fault_ ? Outcome::Refused : Outcome::Doctype;
        if (step == Step::More && !grow()) ended_ = true;
    }
}

bool DirectParser::grow() {
    const std::uint64_t at = source_.offsetOf(cursor_);
    const bool grown = source_.fill(at);
    cursor_ = source_.at(at);
    end_ = source_.end();
    return grown;
}

DirectParser::Step DirectParser::token() {
    if (inCData_) return cData();
    if (*cursor_ == '<') return markup();
    return opens_.empty() ? outsideRoot() : text();
}

DirectParser::Step DirectParser::markup() {
    switch (cursor_[1]) {
        case '/':
            return endTag();
        case '?':
            return instruction();
        case '!':
            return declarationMarkup();
        default:
            return startTag();
    }
}

DirectParser::Step DirectParser::declarationMarkup() {
    const auto left = static_cast<std::size_t>(end_ - cursor_);
    if (startsWith(cursor_, "<!--")) return comment();
    if (startsWith(cursor_, "<![CDATA[")) return startCData();
    if (startsWith(cursor_, kDoctype)) return doctype();
    for (std::string_view known : {std::string_view("<!--"), std::string_view("<![CDATA["), kDoctype}) {
        if (left < known.size() && known.starts_with(std::string_view(cursor_, left))) {
            return refuse(end_, ErrorCode::BadMarkup, cursor_, {});
        }
    }
    return refuse(cursor_, ErrorCode::BadMarkup, cursor_,
                  "'<!' must begin a comment '<!--'" +
                      std::string(opens_.empty() ? " here." : " or a CDATA section '<![CDATA[' here."));
}

DirectParser::Step DirectParser::outsideRoot() {
    const char* at = cursor_;
    while (isSpace(*at)) ++at;
    cursor_ = at;
    if (at == end_ || *at == '<') return Step::Next;
    if (hasRoot_)
        return refuse(at, ErrorCode::TextOutsideRoot, at, "Text is not allowed after the root element.");
    return refuse(at, ErrorCode::TextOutsideRoot, at, "Text is not allowed before the root element.");
}

// The text has ended, and so must the document.
DirectParser::Step DirectParser::finish() {
    if (source_.fault()) {
        fault_ = source_.fault();
        return Step::Stop;
    }
    if (inCData_) {
        fault_ = unfinishedToken();
        return Step::Stop;
    }
    if (!opens_.empty()) {
        const std::string name = quoted(openName());
        fault_ = {ErrorCode::UnclosedElement, opens_.back().offset,
                  "Element " + name + " is not closed: its end tag is missing."};
        return Step::Stop;
    }
    if (!hasRoot_) {
        const bool isEmpty = progress_.events == 1 && !hasDoctype_;
        fault_ = {isEmpty ? ErrorCode::EmptyDocument : ErrorCode::NoRoot, source_.offsetOf(end_),
                  isEmpty ? "The document is empty: a root element is missing."
                          : "The document has no root element."};
        return Step::Stop;
    }
    event();
    sink_.endDocument();
    return Step::Next;
}

void DirectParser::deliver(const char* from, const char* to) {
    if (from == to) return;
    event_ = from;
    const auto length = static_cast<std::size_t>(to - from);
    progress_.textBytes += length;
    sink_.characters({from, length});
}

Fault DirectParser::unfinishedToken() const {
    const std::string_view token(cursor_, static_cast<std::size_t>(end_ - cursor_));
    const auto name = [&](std::size_t skip) {
        const char* start = cursor_ + std::min(skip, token.size());
        return quoted(std::string_view(start, static_cast<std::size_t>(nameEnd(start) - start)));
    };
    const std::uint64_t offset = inCData_ ? cDataOffset_ : source_.offsetOf(cursor_);
    const auto fault = [&](ErrorCode code, std::string reason) {
        return Fault{code, offset, std::move(reason)};
    };
    if (inCData_ || token.starts_with("<![")) {
        return fault(ErrorCode::BadCData, "This CDATA section is not closed: ']]>' is missing.");
    }
    if (token.starts_with("<!-"))
        return fault(ErrorCode::BadComment, "This comment is not closed: '-->' is missing.");
    if (token.starts_with("<?")) {
        return fault(ErrorCode::BadInstruction,
                     "The processing instruction " + name(2) + " is not closed: '?>' is missing.");
    }
    if (token.starts_with("</")) {
        return fault(ErrorCode::BadTag, "The end tag " + name(2) + " is not finished: '>' is missing.");
    }
    if (token.starts_with("<!D"))
        return fault(ErrorCode::BadDoctype, "This DOCTYPE is not finished: '>' is missing.");
    if (token.starts_with("<!")) return fault(ErrorCode::BadMarkup, "The document ends after '<!'.");
    if (token == "<") return fault(ErrorCode::BadTag, "The document ends after '<'.");
    if (token.starts_with("<")) {
        return fault(ErrorCode::BadTag, "The start tag " + name(1) + " is not finished: '>' is missing.");
    }
    return fault(ErrorCode::BareAmpersand,
                 "The reference " + quoted(token) + " is not finished: ';' is missing.");
}

DirectParser::Step DirectParser::refuse(const char* at, ErrorCode code, const char* culprit,
                                        std::string reason) {
    if (isEnd(at)) {
        if (!ended_) return Step::More;
        fault_ = source_.fault() ? source_.fault() : unfinishedToken();
        return Step::Stop;
    }
    fault_ = {code, source_.offsetOf(culprit), std::move(reason)};
    return Step::Stop;
}

}  // namespace engine::reader::detail
