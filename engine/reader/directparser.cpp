// The parts of our own parser that know no sink: the window that moves over the text, the tokens that are
// rare or need more than a glance (references, values with line ends, attributes given twice), and what ends
// a parse. The loop over the tokens stands in the header, where it is compiled into its consumer.
#include "engine/reader/detail/directparser.h"

#include <algorithm>
#include <array>
#include <utility>

#include "engine/reader/detail/declaration.h"

namespace engine::reader::detail {
namespace {

constexpr std::string_view kDoctype = "<!DOCTYPE";
constexpr std::string_view kCData = "<![CDATA[";
constexpr std::size_t kNamesInBytes = std::size_t{4} << 20;  // of our own, before they are put together anew
constexpr std::array<std::pair<std::string_view, char32_t>, 5> kPredefined{
    {{"lt", '<'}, {"gt", '>'}, {"amp", '&'}, {"quot", '"'}, {"apos", '\''}}};

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

std::string_view nameIn(const char* at) {
    return {at, static_cast<std::size_t>(nameEnd(at) - at)};
}

}  // namespace

// --- the window
// ---------------------------------------------------------------------------------------------

bool DirectParserBase::begin() {
    Declaration declaration = readDeclaration(source_);
    cursor_ = source_.begin() + declaration.length;
    look();
    if (declaration.length != 0) isEmpty_ = false;
    context_.isStandalone = declaration.isStandalone;
    makeGuesses();
    opens_.reserve(16);
    fault_ = std::move(declaration.fault);
    return !fault_;
}

void DirectParserBase::look() noexcept {
    end_ = source_.end();
    offsetDelta_ = source_.offsetOf(source_.begin()) -
                   static_cast<std::uint64_t>(reinterpret_cast<std::uintptr_t>(source_.begin()));
}

const char* DirectParserBase::grow() {
    const std::uint64_t at = offsetOf(cursor_);
    keepPositions();
    if (context_.ownsNames() && names_.sizeInBytes() > kNamesInBytes + 2 * namesKept_) forgetNames();
    isEnded_ = !source_.fill(at);
    cursor_ = source_.at(at);
    look();
    return cursor_;
}

// The window is about to move on: the starts of the open elements are still at hand.
void DirectParserBase::keepPositions() {
    std::size_t known = 0;
    while (known < keptPositions_.size() && known < opens_.size() &&
           keptPositions_[known].offset == opens_[known].offset)
        ++known;
    keptPositions_.resize(known);
    for (; known < opens_.size(); ++known)
        keptPositions_.push_back({opens_[known].offset, source_.errorAt(opens_[known].offset)});
}

void DirectParserBase::forgetNames() {
    std::vector<NameId*> used;
    for (Open& open : opens_) used.push_back(&open.name);
    namespaces_.addPrefixes(used);
    names_.compact(used);
    namespaces_.renamed();
    stamps_.clear();
    guesses_.clear();
    nextElement_ = guessAfter(kNoName, After::StartTag);
    makeGuesses();
    namesKept_ = names_.sizeInBytes();
}

ParseError DirectParserBase::error() {
    ParseError error = source_.describe(fault_);
    if (fault_.offset == kNoOffset || source_.holds(fault_.offset)) return error;
    const auto kept =
        std::find_if(keptPositions_.begin(), keptPositions_.end(),
                     [this](const KeptPosition& known) { return known.offset == fault_.offset; });
    if (kept == keptPositions_.end()) return error;
    error.position = kept->error.position;
    error.filePosition = kept->error.filePosition;
    return error;
}

const char* DirectParserBase::find(const char* at, std::string_view text) const {
    const std::size_t found = view(at, end_).find(text);
    return found == std::string_view::npos ? nullptr : at + found;
}

// --- tokens
// -------------------------------------------------------------------------------------------------

// What looked like a name holds a character that no name may: the name ends before it.
DirectParserBase::Name DirectParserBase::nameWithin(const char* at) {
    const char* const end = nameEnd(at);
    if (end != at) {
        const NameId id = names_.internAt(at, static_cast<std::size_t>(end - at), Names::Origin::Scanned);
        makeGuesses();
        return {id, end};
    }
    return {kNoName, at == cursor_ + 1 ? failStartTag(at) : failInStartTag(at)};
}

// The first attribute whose name an earlier one has; linear, as each name remembers the last tag that had it.
std::uint32_t DirectParserBase::findDuplicate() {
    if (stamps_.size() < names_.size()) stamps_.resize(names_.size(), 0);
    if (++stamp_ == 0) {
        std::fill(stamps_.begin(), stamps_.end(), 0);
        stamp_ = 1;
    }
    std::uint32_t index = 0;
    while (index != attributes_.size() && std::exchange(stamps_[attributes_[index].name], stamp_) != stamp_)
        ++index;
    return index;
}

// Where the name of an attribute of the tag at the cursor stands, which has been read before.
const char* DirectParserBase::attributeAt(std::uint32_t index) const {
    const char* at = nameEnd(cursor_ + 1);
    for (;; --index) {
        at = skipSpace(at);
        if (index == 0) return at;
        at = skipSpace(skipSpace(nameEnd(at)) + 1);  // over the '='
        at = std::find(at + 1, end_, *at) + 1;       // over the value
    }
}

std::span<const Attribute> DirectParserBase::written() {
    written_.clear();
    for (std::uint32_t i = 0; i < attributes_.size(); ++i)
        written_.push_back({names_.text(attributes_[i].name), attributes_[i].value});
    return written_;
}

// From the first character on that is not taken as it stands; `start` is where the value begins.
const char* DirectParserBase::expandValue(const char* at, const char* start, char quote) {
    if (valuesUsed_ == values_.size()) values_.push_back(std::make_unique<std::string>());
    std::string& value = *values_[valuesUsed_++];
    value.clear();
    for (;;) {
        value.append(start, at);
        if (*at == quote) break;
        if (*at == '&') {
            char32_t character = 0;
            at = reference(at, character);
            if (at == nullptr) return nullptr;
            appendUtf8(value, character);
        } else if (*at == '\n' || *at == '\t') {
            value += ' ';
            ++at;
        } else if (at == end_) {
            return cut();
        } else {
            return fail(ErrorCode::LessThanInValue, at,
                        worded("'<' is not allowed in the value of attribute '%1': write '&lt;', or close "
                               "the quotes before it.",
                               shown(names_.text(attributes_.back().name))));
        }
        start = at;
        at = endOfPlainValue(at, quote);
    }
    attributes_.back().value = value;
    return at + 1;
}

const char* DirectParserBase::reference(const char* start, char32_t& character) {
    if (start[1] == '#') return characterReference(start, character);
    const std::string_view name = nameIn(start + 1);
    const char* const stop = start + 1 + name.size();
    if (stop == end_) return cut();
    if (name.empty()) {
        return fail(
            ErrorCode::BareAmpersand, start,
            worded("'&' must begin a reference such as '&amp;'; write '&amp;' for the character itself."));
    }
    if (*stop != ';') {
        return fail(ErrorCode::BareAmpersand, start,
                    worded("The reference '%1' must end with ';'; write '&amp;' for a plain '&'.",
                           shown(view(start, stop))));
    }
    for (const auto& [known, meaning] : kPredefined) {
        if (name == known) {
            character = meaning;
            return stop + 1;
        }
    }
    return fail(ErrorCode::UnknownEntity, start, worded("Entity '%1' is not declared.", shown(name)));
}

const char* DirectParserBase::characterReference(const char* start, char32_t& character) {
    const int radix = start[2] == 'x' ? 16 : 10;
    const char* const digits = start + (radix == 16 ? 3 : 2);
    const char* stop = digits;
    character = 0;
    for (int digit = 0; (digit = digitValue(*stop, radix)) >= 0; ++stop) {
        constexpr char32_t kBeyond = 0x110000;
        character = std::min<char32_t>(
            character * static_cast<char32_t>(radix) + static_cast<char32_t>(digit), kBeyond);
    }
    if (stop == end_) return cut();
    if (stop == digits || *stop != ';') {
        return fail(ErrorCode::BadCharacterReference, start,
                    worded(stop == digits ? worded("The character reference '%1' must contain a number.")
                                          : worded("The character reference '%1' must end with ';'."),
                           shown(view(start, stop))));
    }
    if (!isXmlCharacter(character)) {
        return fail(ErrorCode::BadCharacterReference, start,
                    worded("The character reference '%1' refers to a character that XML does not allow.",
                           shown(view(start, stop + 1))));
    }
    return stop + 1;
}

DirectParserBase::Markup DirectParserBase::comment(const char* at) {
    isEmpty_ = false;
    const char* const text = at + 4;
    const char* const stop = find(text, "--");
    if (stop == nullptr || stop + 2 == end_) return {{}, {}, cut()};
    if (stop[2] != '>')
        return {{}, {}, fail(ErrorCode::BadComment, stop, worded("'--' is not allowed inside a comment."))};
    return {{}, view(text, stop), stop + 3};
}

DirectParserBase::Markup DirectParserBase::instruction(const char* at) {
    isEmpty_ = false;
    const char* const target = at + 2;
    const std::string_view name = nameIn(target);
    const char* const targetEnd = target + name.size();
    if (targetEnd == end_) return {{}, {}, cut()};
    const auto failed = [](const char* null) { return Markup{{}, {}, null}; };
    if (name.empty()) {
        return failed(fail(ErrorCode::BadInstruction, target,
                           worded("A processing instruction must begin with a name, not with %1.",
                                  quoted(decodeAt(target).character))));
    }
    if (name == "xml") {
        return failed(fail(ErrorCode::LateDeclaration, at,
                           worded("The XML declaration is allowed at the very start of the document only.")));
    }
    if (isReservedTarget(name)) {
        return failed(
            fail(ErrorCode::BadInstruction, target,
                 worded("The name '%1' is reserved: no processing instruction may have it.", shown(name))));
    }
    const char* const data = skipSpace(targetEnd);
    const char* const stop = find(targetEnd, "?>");
    if (data == targetEnd && stop != targetEnd && end_ - targetEnd > 1) {
        return failed(
            fail(ErrorCode::BadInstruction, targetEnd,
                 worded("Whitespace or '?>' is missing after the name '%1' of the processing instruction.",
                        shown(name))));
    }
    if (stop == nullptr) return failed(cut());
    if (name.find(':') != std::string_view::npos) {
        return failed(fail(
            ErrorCode::BadQualifiedName, at,
            worded("The target '%1' of a processing instruction must not contain a colon.", shown(name))));
    }
    return {name, view(std::min(data, stop), stop), stop + 2};
}

const char* DirectParserBase::outsideRoot(const char* at) {
    at = skipSpace(at);
    cursor_ = at;
    if (*at == '<') return at;
    if (at == end_) return isEnded_ ? finish() : stop(Stop::NeedMore);
    return fail(ErrorCode::TextOutsideRoot, at,
                hasRoot_ ? worded("Text is not allowed after the root element.")
                         : worded("Text is not allowed before the root element."));
}

bool DirectParserBase::isCDataStart(const char* at) {
    if (!startsWith(at, kCData)) return false;
    if (opens_.empty()) {
        fail(ErrorCode::TextOutsideRoot, at,
             worded("A CDATA section is allowed inside the root element only."));
    }
    return true;
}

const char* DirectParserBase::doctype(const char* at) {
    isEmpty_ = false;
    if (!startsWith(at, kDoctype)) return failMarkup(at);
    if (hasRoot_) {
        return fail(ErrorCode::MisplacedDoctype, at, worded("A DOCTYPE must precede the root element."));
    }
    if (options_.dtd == ReadOptions::Dtd::Internal && options_.parser != ReadOptions::Parser::Direct)
        return stop(Stop::Doctype);
    return fail(ErrorCode::DoctypeProhibited, at, kDoctypeProhibited);
}

// --- what ends a parse
// --------------------------------------------------------------------------------------

// The window ends in the middle of something.
const char* DirectParserBase::cut() {
    if (!isEnded_) return stop(Stop::NeedMore);
    fault_ = source_.fault() ? source_.fault() : unfinishedToken();
    return stop(Stop::Failed);
}

const char* DirectParserBase::fail(ErrorCode code, const char* offending, std::string reason) {
    fault_ = {code, offsetOf(offending), std::move(reason)};
    return stop(Stop::Failed);
}

// The text has ended, and so must the document.
const char* DirectParserBase::finish() {
    if (source_.fault()) {
        fault_ = source_.fault();
    } else if (!opens_.empty()) {
        fault_ = {ErrorCode::UnclosedElement, opens_.back().offset,
                  worded("Element '%1' is not closed: its end tag is missing.",
                         shown(names_.text(opens_.back().name)))};
    } else if (!hasRoot_) {
        fault_ = {isEmpty_ ? ErrorCode::EmptyDocument : ErrorCode::NoRoot, offsetOf(end_),
                  isEmpty_ ? worded("The document is empty: a root element is missing.")
                           : worded("The document has no root element.")};
    } else {
        return stop(Stop::Done);
    }
    return stop(Stop::Failed);
}

Fault DirectParserBase::unfinishedToken() const {
    const std::string_view token = view(cursor_, end_);
    const auto name = [&](std::size_t skip) { return shown(nameIn(cursor_ + std::min(skip, token.size()))); };
    const std::uint64_t offset = isInCData_ ? cDataOffset_ : offsetOf(cursor_);
    const auto fault = [&](ErrorCode code, std::string reason) {
        return Fault{code, offset, std::move(reason)};
    };
    if (isInCData_ || token.starts_with("<![")) {
        return fault(ErrorCode::BadCData, worded("This CDATA section is not closed: ']]>' is missing."));
    }
    if (token.starts_with("<!-")) {
        return fault(ErrorCode::BadComment, worded("This comment is not closed: '-->' is missing."));
    }
    if (token.starts_with("<?")) {
        return fault(ErrorCode::BadInstruction,
                     worded("The processing instruction '%1' is not closed: '?>' is missing.", name(2)));
    }
    if (token.starts_with("</")) {
        return fault(ErrorCode::BadTag, worded("The end tag '%1' is not finished: '>' is missing.", name(2)));
    }
    if (token.starts_with("<!D")) {
        return fault(ErrorCode::BadDoctype, worded("This DOCTYPE is not finished: '>' is missing."));
    }
    if (token.starts_with("<!")) return fault(ErrorCode::BadMarkup, worded("The document ends after '<!'."));
    if (token == "<") return fault(ErrorCode::BadTag, worded("The document ends after '<'."));
    if (token.starts_with("<")) {
        return fault(ErrorCode::BadTag,
                     worded("The start tag '%1' is not finished: '>' is missing.", name(1)));
    }
    return fault(ErrorCode::BareAmpersand,
                 worded("The reference '%1' is not finished: ';' is missing.", shown(token)));
}

const char* DirectParserBase::failNames() {
    Namespaces::Error& found = namespaces_.error();
    // The event would have come from the window as it is now, and so did the names of its attributes.
    const char* const offending = found.attribute == Namespaces::kElement
                                      ? cursor_
                                      : attributeAt(static_cast<std::uint32_t>(found.attribute));
    return fail(found.code, offending, std::move(found.reason));
}

const char* DirectParserBase::failStartTag(const char* at) {
    if (at == end_) return cut();
    if (isSpace(*at) || *at == '<' || *at == '>' || *at == '=' || *at == '&') {
        return fail(
            ErrorCode::BadTag, cursor_,
            worded("'<' must be followed by the name of an element; write '&lt;' for the character itself."));
    }
    return fail(ErrorCode::BadName, at,
                worded("The name of an element must not start with %1.", quoted(decodeAt(at).character)));
}

const char* DirectParserBase::failSpace(const char* at) {
    if (at != end_ && attributes_.size() != 0 && nameEnd(at) != at) {
        return fail(ErrorCode::BadAttribute, at,
                    worded("Whitespace is missing before attribute '%1'.", shown(nameIn(at))));
    }
    return failInStartTag(at);
}

const char* DirectParserBase::failInStartTag(const char* at) {
    if (at == end_) return cut();
    const std::string tag = shown(nameIn(cursor_ + 1));
    if (*at == '<') {
        return fail(ErrorCode::BadTag, cursor_,
                    worded("The start tag '%1' is not finished: '>' is missing.", tag));
    }
    return fail(ErrorCode::BadTag, at,
                worded("Unexpected %1 in start tag '%2'; expected an attribute, '>' or '/>'.",
                       quoted(decodeAt(at).character), tag));
}

const char* DirectParserBase::failAttribute(const char* at, const char* name) {
    if (at == end_) return cut();
    return fail(
        ErrorCode::BadAttribute, name,
        worded("Attribute '%1' has no value: '=' and a value in quotes must follow.", shown(nameIn(name))));
}

const char* DirectParserBase::failQuote(const char* at, const char* name) {
    if (at == end_) return cut();
    return fail(ErrorCode::BadAttribute, at,
                worded("The value of attribute '%1' must be quoted.", shown(nameIn(name))));
}

const char* DirectParserBase::failDuplicate() {
    const std::uint32_t index = findDuplicate();
    return fail(ErrorCode::DuplicateAttribute, attributeAt(index),
                worded("Duplicate attribute '%1'.", shown(names_.text(attributes_[index].name))));
}

const char* DirectParserBase::failRoot(std::string_view name) {
    return fail(ErrorCode::SecondRoot, cursor_,
                worded("A document has one root element: '%1' is a second one.", shown(name)));
}

const char* DirectParserBase::failDepth() {
    return fail(ErrorCode::TooDeep, cursor_,
                worded("Elements are nested more than %1 deep.", std::to_string(options_.depthLimit)));
}

const char* DirectParserBase::failEndTag(const char* at) {
    const std::string_view name = nameIn(at);
    at += name.size();
    if (at == end_) return cut();
    if (name.empty()) {
        return fail(ErrorCode::BadName, cursor_, worded("'</' must be followed by the name of an element."));
    }
    at = skipSpace(at);
    if (at == end_) return cut();
    if (opens_.empty()) {
        return fail(ErrorCode::UnexpectedEndTag, cursor_,
                    worded("End tag '%1' has no start tag.", shown(name)));
    }
    const std::string_view open = names_.text(opens_.back().name);
    if (name != open) {
        return fail(ErrorCode::MismatchedEndTag, cursor_,
                    worded("End tag '%1' does not match the start tag '%2'.", shown(name), shown(open)));
    }
    return fail(
        ErrorCode::BadTag, at,
        worded("Unexpected %1 in end tag '%2'; expected '>'.", quoted(decodeAt(at).character), shown(name)));
}

const char* DirectParserBase::failCDataEnd(const char* at) {
    return fail(ErrorCode::CDataEndInText, at, worded("']]>' is not allowed in text: write ']]&gt;'."));
}

const char* DirectParserBase::failMarkup(const char* at) {
    const std::string_view rest = view(at, end_);
    for (const std::string_view known : {std::string_view("<!--"), kCData, kDoctype}) {
        if (rest.size() < known.size() && known.starts_with(rest)) return cut();
    }
    return fail(ErrorCode::BadMarkup, at,
                opens_.empty()
                    ? worded("'<!' must begin a comment '<!--' here.")
                    : worded("'<!' must begin a comment '<!--' or a CDATA section '<![CDATA[' here."));
}

}  // namespace engine::reader::detail
