// Our own parser: for documents without a DOCTYPE, of which it is the only judge. It stands in its consumer:
// a sink whose class is known gets its events as direct calls.
//
// One token is looked at after the other, over the buffer of a TextSource. A token that the window does not
// hold whole is looked at again from its start when the window has grown; only text and CDATA sections are
// delivered in pieces. So nothing but the open elements lives from one token to the next, and memory does not
// grow with the document. Every loop stops at the NUL after the text: only where something is not as it
// should be is the end of the window looked for, and what stands there is either cut off there (`cut`: more
// is needed) or an error
// (`fail`). The functions that take a token return where the next one starts, or null and leave the reason in
// `stop_`.
#pragma once

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>
#include <memory>
#include <memory_resource>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "engine/reader/detail/context.h"
#include "engine/reader/reader.h"
#include "engine/source/errors.h"
#include "engine/text/block.h"
#include "engine/text/chars.h"

namespace engine::reader::detail {

// Everything that does not depend on the sink, above all the rare.
class DirectParserBase {
public:
    enum class Outcome : std::uint8_t {
        Done,
        Rejected,  // `error` says why
        Doctype,   // not for this parser: another goes on at `offset`
    };
    [[nodiscard]] ParseError error();
    [[nodiscard]] std::uint64_t offset() const noexcept { return offsetOf(cursor_); }

protected:
    enum class Stop : std::uint8_t { Done, NeedMore, Failed, Doctype };
    struct Open {
        std::uint64_t offset;  // of its start tag
        NameId name;
        std::uint32_t declared;  // namespaces
    };
    // Which name came next when a name was met last; `guesses_` has all of a name side by side.
    enum class After : std::uint8_t { Name, StartTag, EndTag };
    static constexpr std::size_t kGuessesOfName = 4;
    static constexpr std::size_t kFirstNames = 32;
    struct KeptPosition {
        std::uint64_t offset;
        ParseError error;
    };
    struct Name {
        NameId id;
        const char* end;  // null: none, `stop_` says why
    };
    struct Markup {
        std::string_view target;
        std::string_view content;
        const char* end;  // null: none, `stop_` says why
    };

    DirectParserBase(Context& context, const ReadOptions& options)
        : source_(context.source()),
          options_(options),
          context_(context),
          names_(context.names()),
          namespaces_(context.resolved()),
          opens_(context.memory()),
          keptPositions_(context.memory()),
          written_(context.memory()),
          guesses_(context.memory()),
          values_(context.memory()),
          stamps_(context.memory()) {}

    [[nodiscard]] bool begin();
    [[nodiscard]] const char* grow();
    void look() noexcept;  // at the window, which has moved
    [[nodiscard]] std::uint64_t offsetOf(const char* at) const noexcept {
        return static_cast<std::uint64_t>(reinterpret_cast<std::uintptr_t>(at)) + offsetDelta_;
    }
    void event(const char* at) noexcept { context_.event = offsetOf(at); }

    [[nodiscard]] static bool startsWith(const char* at, std::string_view text) noexcept {
        return std::strncmp(at, text.data(), text.size()) == 0;
    }
    [[nodiscard]] static std::string_view view(const char* from, const char* to) noexcept {
        return {from, static_cast<std::size_t>(to - from)};
    }
    [[nodiscard]] static const char* skipSpace(const char* at) noexcept {
        while (isSpace(*at)) ++at;
        return at;
    }
    // Of what may be a name: other characters than ASCII are looked at when a name is new.
    [[nodiscard]] static const char* endOfName(const char* at) noexcept {
        if ((classOf(*at) & kNameStart) == 0) return at;
        for (;;) {
            if ((classOf(at[1]) & kNameChar) == 0) return at + 1;
            if ((classOf(at[2]) & kNameChar) == 0) return at + 2;
            if ((classOf(at[3]) & kNameChar) == 0) return at + 3;
            if ((classOf(at[4]) & kNameChar) == 0) return at + 4;
            at += 4;
        }
    }
    [[nodiscard]] static const char* endOfPlainText(const char* at) noexcept {
        for (;; at += kBlock) {
            const std::uint32_t found = Block::load(at).textStops();
            if (found != 0) return at + std::countr_zero(found);
        }
    }
    // For a quote that is known when compiling: one in a variable costs more than all the rest.
    template <char quote>
    [[nodiscard]] static const char* endOfPlainValue(const char* at) noexcept {
        for (;; at += 2 * kBlock) {  // two at once: a loop of one or two rounds is hard to predict
            const std::uint32_t found =
                Block::load(at).valueStops(quote) | Block::load(at + kBlock).valueStops(quote) << kBlock;
            if (found != 0) return at + std::countr_zero(found);
        }
    }
    [[nodiscard]] static const char* endOfPlainValue(const char* at, char quote) noexcept {
        return quote == '"' ? endOfPlainValue<'"'>(at) : endInApostrophes(at);
    }
    [[nodiscard, gnu::noinline]] static const char* endInApostrophes(const char* at) noexcept {
        return endOfPlainValue<'\''>(at);
    }
    // Where `text` begins first from `at` on, or null.
    [[nodiscard]] const char* find(const char* at, std::string_view text) const;

    // The same, and whether there is nothing but white space before it.
    struct Run {
        const char* end;
        bool isWhite;
    };
    [[nodiscard, gnu::always_inline]] static Run plainText(const char* at) noexcept {
        for (bool isWhite = true;; at += kBlock) {
            const Block block = Block::load(at);
            const std::uint32_t black = block.upTo(' ') ^ 0xFFFF;
            if (isWhite && black != 0) {  // a NUL ends the document, and only NULs follow it
                const char* const first = at + std::countr_zero(black);
                if (*first == '<') return {first, true};
                isWhite = false;
            }
            const std::uint32_t found = block.textStops();
            if (found != 0) return {at + std::countr_zero(found), false};
        }
    }
    // The name at `at`, which is not empty. Documents repeat themselves: `guess`, what followed such a name
    // before, is tried first, and becomes what was found.
    [[nodiscard, gnu::always_inline]] Name nameAt(const char* at, NameId& guess) {
        if (guess != kNoName) [[likely]] {
            const char* const end = names_.endAt(guess, at);
            if (end != nullptr && (classOf(*end) & kNameChar) == 0) [[likely]]
                return {guess, end};
        }
        return nameFor(at, guess);
    }
    [[nodiscard, gnu::noinline]] Name nameFor(const char* at, NameId& guess) {
        const char* const end = endOfName(at);
        if (end == at) [[unlikely]]
            return nameWithin(at);
        const NameId id = names_.internAt(at, static_cast<std::size_t>(end - at), Names::Origin::Scanned);
        if ((names_.flags(id) & Names::kNotAName) != 0) [[unlikely]]
            return nameWithin(at);
        guess = id;
        makeGuesses();
        return {id, end};
    }
    [[nodiscard]] Name nameWithin(const char* at);
    [[nodiscard]] static std::size_t guessAfter(NameId name, After after) noexcept {
        return static_cast<NameId>(name + 1) * kGuessesOfName + static_cast<std::size_t>(after);
    }
    void makeGuesses() {
        const std::size_t needed = (std::size_t{names_.size()} + 1) * kGuessesOfName;
        if (needed > guesses_.size()) [[unlikely]]
            guesses_.resize(std::max(2 * needed, kFirstNames * kGuessesOfName), kNoName);
    }
    [[nodiscard]] bool isAnyDuplicate() {
        constexpr std::uint32_t kFew = 8;
        const std::uint32_t count = attributes_.size();
        if (count > kFew) return findDuplicate() != count;
        for (std::uint32_t i = 1; i < count; ++i) {
            for (std::uint32_t k = 0; k < i; ++k) {
                if (attributes_[i].name == attributes_[k].name) return true;
            }
        }
        return false;
    }
    [[nodiscard]] std::uint32_t findDuplicate();
    [[nodiscard]] const char* attributeAt(std::uint32_t index) const;
    [[nodiscard]] std::span<const Attribute> written();
    [[nodiscard]] const char* expandValue(const char* at, const char* start, char quote);
    [[nodiscard]] const char* reference(const char* start, char32_t& character);
    [[nodiscard]] const char* characterReference(const char* start, char32_t& character);
    [[nodiscard]] Markup comment(const char* at);
    [[nodiscard]] Markup instruction(const char* at);
    [[nodiscard]] const char* outsideRoot(const char* at);
    [[nodiscard]] const char* doctype(const char* at);
    [[nodiscard]] bool isCDataStart(const char* at);

    // All return null.
    const char* stop(Stop why) noexcept {
        stop_ = why;
        return nullptr;
    }
    [[gnu::cold]] const char* cut();
    [[gnu::cold]] const char* fail(ErrorCode code, const char* offending, std::string reason);
    [[gnu::cold]] const char* failNames();
    [[gnu::cold]] const char* failStartTag(const char* at);
    [[gnu::cold]] const char* failInStartTag(const char* at);
    [[gnu::cold]] const char* failSpace(const char* at);
    [[gnu::cold]] const char* failAttribute(const char* at, const char* name);
    [[gnu::cold]] const char* failQuote(const char* at, const char* name);
    [[gnu::cold]] const char* failDuplicate();
    [[gnu::cold]] const char* failRoot(std::string_view name);
    [[gnu::cold]] const char* failDepth();
    [[gnu::cold]] const char* failEndTag(const char* at);
    [[gnu::cold]] const char* failCDataEnd(const char* at);
    [[gnu::cold]] const char* failMarkup(const char* at);
    [[gnu::cold]] const char* finish();
    [[gnu::cold]] Fault unfinishedToken() const;

    TextSource& source_;
    const ReadOptions& options_;
    Context& context_;
    Names& names_;
    Namespaces& namespaces_;

    const char* cursor_ = nullptr;   // start of the token
    const char* end_ = nullptr;      // of the window
    std::uint64_t offsetDelta_ = 0;  // from an address in the window to its offset
    Stop stop_ = Stop::Done;
    bool isEnded_ = false;  // the window will not grow any more
    bool isInCData_ = false;
    bool hasRoot_ = false;
    std::size_t nextElement_ = guessAfter(kNoName, After::StartTag);  // among the guesses
    bool isEmpty_ = true;                                             // but for white space
    std::uint64_t cDataOffset_ = 0;                                   // of the section being delivered
    std::pmr::vector<Open> opens_;
    std::pmr::vector<KeptPosition>
        keptPositions_;  // of those that were open when the window moved, the outermost first
    Table<IdAttribute> attributes_;
    std::pmr::vector<Attribute> written_;  // the same for a sink that does not know the names
    std::pmr::vector<NameId> guesses_;     // what comes after no name, and then by name
    std::pmr::vector<std::unique_ptr<std::string>> values_;  // of attributes that are not as written
    std::size_t valuesUsed_ = 0;                             // by the tag
    std::pmr::vector<std::uint32_t> stamps_;  // by name: the last tag of many attributes that had it
    std::uint32_t stamp_ = 0;
    Fault fault_;

private:
    void keepPositions();
    void forgetNames();
    std::size_t namesKept_ = 0;  // bytes, when they were last put together
};

template <typename Sink>
class DirectParser final : public DirectParserBase {
public:
    // Borrows all three.
    DirectParser(Context& context, const ReadOptions& options, Sink& sink)
        : DirectParserBase(context, options), sink_(sink) {}

    // The source has been opened and stands at its start. What the sink throws comes out.
    [[nodiscard]] Outcome run() {
        sink_.startDocument(context_);
        if (!begin()) return Outcome::Rejected;
        const char* at = cursor_;
        for (;;) {
            cursor_ = at;
            at = *at == '<' ? markup(at) : text(at);
            while (at == nullptr) {
                if (stop_ == Stop::Failed) return Outcome::Rejected;
                if (stop_ == Stop::Doctype) return Outcome::Doctype;
                if (stop_ == Stop::Done) {
                    event(end_);
                    sink_.endDocument();
                    return Outcome::Done;
                }
                at = grow();
                if (isInCData_) at = cData(at);
            }
        }
    }

private:
    [[nodiscard]] const char* markup(const char* at) {
        const char c = at[1];
        if (c == '/') return endTag(at);
        if (c == '!') return declarationMarkup(at);
        if (c == '?') {
            const Markup found = instruction(at);
            if (found.end == nullptr) return nullptr;
            event(at);
            sink_.processingInstruction(found.target, found.content);
            return found.end;
        }
        return startTag(at);
    }

    // A function of its own: in one with all the others there are too few registers for either.
    [[nodiscard, gnu::noinline]] const char* startTag(const char* at) {
        const char* const nameStart = at + 1;
        const Name element = nameAt(nameStart, guesses_[nextElement_]);
        if (element.end == nullptr) [[unlikely]]
            return nullptr;
        std::uint8_t flags = 0;  // of the attributes
        at = attributes(element, flags);
        if (at == nullptr) [[unlikely]]
            return nullptr;
        const bool isEmpty = *at == '/';
        if (isEmpty && *++at != '>') [[unlikely]]
            return failInStartTag(at == end_ ? at : at - 1);
        const StartTag tag{
            element.id, view(nameStart, element.end), {attributes_.data(), attributes_.size()}, flags};
        if (!isAllowed(tag)) [[unlikely]]
            return nullptr;
        event(cursor_);
        const std::uint32_t declared = namespaces_.declared();
        nextElement_ = guessAfter(tag.id, isEmpty ? After::EndTag : After::StartTag);
        if (!isEmpty) {
            startElement(tag);
            // Written, and read in endTag, part by part: a processor waits with loading the whole of what has
            // just been stored in parts.
            Open& open = opens_.emplace_back();
            open.offset = context_.event;
            open.name = tag.id;
            open.declared = declared;
        } else if constexpr (requires { sink_.emptyElement(tag); }) {
            sink_.emptyElement(tag);
            namespaces_.leave(declared);
        } else {
            startElement(tag);
            namespaces_.beginLeave(tag.id, declared);
            sink_.endElement(tag.name);
            namespaces_.leave(declared);
        }
        return at + 1;
    }

    void startElement(const StartTag& tag) {
        if constexpr (requires { sink_.startElement(tag); }) {
            sink_.startElement(tag);
        } else {
            sink_.startElement(tag.name, written());
        }
    }

    // Reads the attributes of a tag, up to its '/' or '>', and adds their names' flags.
    [[nodiscard, gnu::always_inline]] const char* attributes(const Name& element, std::uint8_t& flags) {
        attributes_.truncate(0);
        valuesUsed_ = 0;
        NameId last = element.id;
        for (const char* at = element.end;;) {
            const char* const before = at;
            if (*at == ' ') ++at;
            if (isSpace(*at)) at = skipSpace(at + 1);
            if (*at == '>' || *at == '/') return at;
            if (at == before) [[unlikely]]
                return failSpace(at);
            const Name name = nameAt(at, guesses_[guessAfter(last, After::Name)]);
            if (name.end == nullptr) [[unlikely]]
                return nullptr;
            last = name.id;
            flags |= names_.flags(name.id);
            at = value(name, at);
            if (at == nullptr) [[unlikely]]
                return nullptr;
        }
    }

    // Adds the attribute whose name starts at `nameStart`, and returns where its value ends.
    [[nodiscard, gnu::always_inline]] const char* value(const Name& name, const char* nameStart) {
        const char* at = name.end;
        if (*at != '=') [[unlikely]] {
            at = skipSpace(at);
            if (*at != '=') return failAttribute(at, nameStart);
        }
        ++at;
        if (*at != '"' && *at != '\'') [[unlikely]] {
            at = skipSpace(at);
            if (*at != '"' && *at != '\'') return failQuote(at, nameStart);
        }
        const char quote = *at++;
        const char* const start = at;
        at = endOfPlainValue(at, quote);
        *attributes_.extend(1) = {name.id, view(start, at)};
        if (*at != quote) [[unlikely]]
            return expandValue(at, start, quote);
        return at + 1;
    }

    // What a well-formed tag may still do wrong.
    [[nodiscard, gnu::always_inline]] bool isAllowed(const StartTag& tag) {
        if (tag.attributes.size() > 1 && isAnyDuplicate()) [[unlikely]]
            return failDuplicate() != nullptr;
        if (opens_.empty()) [[unlikely]] {
            if (std::exchange(hasRoot_, true)) return failRoot(tag.name) != nullptr;
        }
        if (opens_.size() >= options_.depthLimit) [[unlikely]]
            return failDepth() != nullptr;
        if (!namespaces_.enter(tag.id, tag.attributes, tag.flags)) [[unlikely]]
            return failNames() != nullptr;
        return true;
    }

    [[nodiscard]] const char* endTag(const char* at) {
        if (opens_.empty()) [[unlikely]]
            return failEndTag(at + 2);
        const NameId name = opens_.back().name;
        const std::uint32_t declared = opens_.back().declared;
        const char* const nameStart = at + 2;
        const char* const nameEnd = names_.endAt(name, nameStart);
        if (nameEnd == nullptr) [[unlikely]]
            return failEndTag(nameStart);
        at = nameEnd;
        if (*at != '>') [[unlikely]] {
            at = skipSpace(at);
            if (*at != '>') return failEndTag(nameStart);
        }
        event(cursor_);
        namespaces_.beginLeave(name, declared);
        sink_.endElement(view(nameStart, nameEnd));
        namespaces_.leave(declared);
        opens_.pop_back();
        nextElement_ = guessAfter(name, After::EndTag);
        return at + 1;
    }

    [[nodiscard]] const char* text(const char* at) {
        if (opens_.empty()) [[unlikely]]
            return outsideRoot(at);
        const Run run = plainText(at);
        const char* from = at;
        at = run.end;
        if (*at == '<') [[likely]] {
            event(from);
            if constexpr (requires { sink_.text(std::string_view(), true); }) {
                sink_.text(view(from, at), run.isWhite);
            } else {
                sink_.characters(view(from, at));
            }
            return at;
        }
        for (;; at = endOfPlainText(at)) {
            if (*at == '<') {
                deliver(from, at);
                return at;
            }
            if (at == end_) return textAtEnd(from);
            if (*at == '>') {
                if (at - from >= 2 && at[-1] == ']' && at[-2] == ']') {
                    deliver(from, at - 2);  // as it would be in smaller pieces
                    return failCDataEnd(at - 2);
                }
                ++at;
                continue;
            }
            deliver(from, at);
            cursor_ = at;
            char32_t character = 0;
            at = reference(at, character);
            if (at == nullptr) return nullptr;
            char bytes[4];
            event(cursor_);
            sink_.characters({bytes, static_cast<std::size_t>(writeUtf8(bytes, character) - bytes)});
            cursor_ = from = at;
        }
    }

    // Brackets at the end may turn out to be the start of "]]>".
    [[nodiscard]] const char* textAtEnd(const char* from) {
        const char* safe = end_;
        for (int i = 0; i < 2 && !isEnded_ && safe != from && safe[-1] == ']'; ++i) --safe;
        deliver(from, safe);
        cursor_ = safe;
        return isEnded_ ? finish() : stop(Stop::NeedMore);
    }

    void deliver(const char* from, const char* to) {
        if (from == to) return;
        event(from);
        sink_.characters(view(from, to));
    }

    [[nodiscard]] const char* declarationMarkup(const char* at) {
        if (startsWith(at, "<!--")) {
            const Markup found = comment(at);
            if (found.end == nullptr) return nullptr;
            event(at);
            sink_.comment(found.content);
            return found.end;
        }
        if (!isCDataStart(at)) return doctype(at);
        if (stop_ == Stop::Failed) return nullptr;
        event(at);
        sink_.startCData();
        isInCData_ = true;
        cDataOffset_ = context_.event;
        cursor_ = at + 9;
        return cData(cursor_);
    }

    // A section may be long: what the window holds is delivered at once, but for what may be the start of
    // "]]>".
    [[nodiscard]] const char* cData(const char* at) {
        const char* const end = find(at, "]]>");
        if (end == nullptr) {
            const char* safe = end_;
            for (int i = 0; i < 2 && safe != at && safe[-1] == ']'; ++i) --safe;
            deliver(at, safe);
            cursor_ = safe;
            return cut();
        }
        deliver(at, end);
        isInCData_ = false;
        event(end);
        sink_.endCData();
        return end + 3;
    }

    Sink& sink_;
};

}  // namespace engine::reader::detail
