// The fast parser: for documents without a DOCTYPE, straight over the window of a TextSource.
//
// It looks at one token after the other. A token that the window does not hold whole is looked at again from
// its start when the window has grown; only text and CDATA sections are delivered in pieces. So nothing but
// the open elements' names lives from one token to the next, and memory does not grow with the document.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "engine/reader/detail/chars.h"
#include "engine/reader/detail/fault.h"
#include "engine/reader/detail/text_source.h"
#include "engine/reader/events.h"
#include "engine/reader/reader.h"

namespace engine::reader::detail {

inline constexpr std::size_t kMostAttributesForLibxml2 = 10'000;

// How far the events have come: another parser can go on from there.
struct Progress {
    std::uint64_t events = 0;     // all but characters
    std::uint64_t textBytes = 0;  // characters since the last of them
};

class DirectParser final : private Locator {
public:
    enum class Outcome : std::uint8_t {
        Done,
        Refused,  // `fault` says why
        Doctype,  // not for this parser
    };

    DirectParser(TextSource& source, const ReadOptions& options, EventSink& sink)
        : source_(source), options_(options), sink_(sink) {}

    // Does not stop at a DOCTYPE but passes over it: for finding the culprit in a document that is refused
    // already. Entities are taken to be declared if `isDeclared` says so.
    void passOverDoctype(std::function<bool(std::string_view)> isDeclared) {
        isDeclared_ = std::move(isDeclared);
    }

    // `source` has been opened and stands at its start. A NamespaceFault of the sink becomes a fault;
    // everything else that the sink throws comes out.
    [[nodiscard]] Outcome run();
    [[nodiscard]] const Fault& fault() const noexcept { return fault_; }
    // A start tag had more attributes than libxml2 should be given: it compares each with each.
    [[nodiscard]] bool isTooWideForLibxml2() const noexcept {
        return isWide_ || attributes_.size() > kMostAttributesForLibxml2;
    }
    [[nodiscard]] const Progress& progress() const noexcept { return progress_; }

private:
    enum class Step : std::uint8_t { Next, More, Stop };
    struct Open {
        std::uint64_t offset;   // of its start tag
        std::size_t nameStart;  // in openNames_
    };

    [[nodiscard]] Position position() const override { return source_.positionOf(source_.offsetOf(event_)); }

    // direct_parser.cpp
    [[nodiscard]] Outcome parse();
    [[nodiscard]] bool grow();
    [[nodiscard]] Step token();
    [[nodiscard]] Step markup();
    [[nodiscard]] Step outsideRoot();
    [[nodiscard]] Step finish();
    void event() noexcept {
        event_ = cursor_;
        ++progress_.events;
        progress_.textBytes = 0;
    }
    void deliver(const char* from, const char* to);
    [[nodiscard]] bool isEnd(const char* at) const noexcept { return at == end_; }
    // The mistake at `culprit`, found at `at`. If the window ends there, the token may only be incomplete.
    [[gnu::cold]] Step refuse(const char* at, ErrorCode code, const char* culprit, std::string reason);
    [[gnu::cold]] Fault unfinishedToken() const;
    [[nodiscard]] std::string_view openName() const noexcept {
        return std::string_view(openNames_).substr(opens_.back().nameStart);
    }

    // direct_tags.cpp
    [[nodiscard]] Step startTag();
    [[nodiscard]] Step attribute(const char*& at);
    [[nodiscard]] Step attributeValue(const char*& at, char quote);
    [[nodiscard]] Step expandValue(const char*& at, const char* start, char quote);
    [[nodiscard]] Step checkDuplicates();
    [[nodiscard]] Step endTag();
    [[gnu::cold]] Step refuseStartTag(const char* at);
    [[gnu::cold]] Step refuseBlank(const char* at);
    [[gnu::cold]] Step refuseEndTag(const char* at);
    [[gnu::cold]] Step refuseInTag(const char* at, std::string_view tagName);

    // direct_text.cpp
    [[nodiscard]] Step text();
    [[nodiscard]] Step reference(const char*& at, char32_t& character);
    [[nodiscard]] Step characterReference(const char*& at, char32_t& character);
    [[nodiscard]] Step comment();
    [[nodiscard]] Step instruction();
    [[nodiscard]] Step startCData();
    [[nodiscard]] Step cData();
    [[nodiscard]] Step doctype();
    [[nodiscard]] Step declarationMarkup();

    TextSource& source_;
    const ReadOptions& options_;
    EventSink& sink_;
    std::function<bool(std::string_view)> isDeclared_;

    const char* cursor_ = nullptr;  // start of the token
    const char* end_ = nullptr;     // of the window
    const char* event_ = nullptr;   // start of what is being delivered
    bool ended_ = false;            // the window will not grow any more
    bool inCData_ = false;
    std::uint64_t cDataOffset_ = 0;  // of the section being delivered
    bool hasRoot_ = false;
    bool isWide_ = false;
    bool hasDoctype_ = false;
    std::vector<Open> opens_;
    std::string openNames_;
    std::vector<Attribute> attributes_;
    std::vector<std::uint32_t> order_;  // scratch of checkDuplicates
    std::vector<char> values_;          // attribute values that are not as written; never grows during a tag
    std::size_t valuesUsed_ = 0;
    Fault fault_;
    Progress progress_;
};

inline constexpr std::string_view kDoctypeProhibited =
    "A DOCTYPE is not allowed here: documents with a document type declaration are refused.";
inline constexpr std::uint32_t kNoCharacter = 0;  // a reference that stands for no text here

}  // namespace engine::reader::detail
