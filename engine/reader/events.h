// What a reader tells about a document, in document order, and how it says that it cannot go on.
// Threads: a reader, its sink and its input belong to one thread at a time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace engine::reader {

// A place in the document as an editor shows it: both count from 1, columns in characters (code points).
struct Position {
    std::uint32_t line = 0;  // 0: no position
    std::uint32_t column = 0;
};

// Why a document was refused. `code` is negative, as a COM status is; 0 means that nothing is wrong.
struct ParseError {
    std::int32_t code = 0;
    Position position;
    std::string reason;      // UTF-8, one line of plain English, no trailing newline, names the culprit
    std::string sourceText;  // UTF-8, the line that holds the culprit (long lines are cut to a window)
    std::uint64_t filePosition = 0;  // offset of the culprit in characters from the start of the document

    [[nodiscard]] bool failed() const noexcept { return code != 0; }
};

struct Attribute {
    std::string_view name;   // as written, prefix included
    std::string_view value;  // normalised, references expanded
};

// A name taken apart. The views live as long as the event that they belong to.
struct ExpandedName {
    std::string_view uri;  // empty: in no namespace
    std::string_view prefix;
    std::string_view local;
};

struct NamespaceDeclaration {
    std::string_view prefix;  // empty: the default namespace
    std::string_view uri;     // empty: the default namespace is taken back
};

// The names of the element whose startElement or endElement is being delivered, resolved.
class Namespaces {
public:
    [[nodiscard]] virtual ExpandedName element() const = 0;
    // By index into the attributes of the event; startElement only. Attributes without a prefix are in no
    // namespace.
    [[nodiscard]] virtual ExpandedName attribute(std::size_t index) const = 0;
    [[nodiscard]] virtual bool isDeclaration(std::size_t index) const = 0;  // xmlns="..." or xmlns:p="..."
    // What the element itself declares, in document order; in endElement what goes out of scope.
    [[nodiscard]] virtual std::span<const NamespaceDeclaration> declarations() const = 0;

protected:
    ~Namespaces() = default;
};

// Asks the running reader where it stands; valid during a callback only.
class Locator {
public:
    // Start of the event being delivered: the '<' of a tag, the first character of a text.
    [[nodiscard]] virtual Position position() const = 0;
    // Resolved names, lent until `read` returns; null from a source of events that does not resolve them.
    [[nodiscard]] virtual const Namespaces* namespaces() const { return nullptr; }

protected:
    ~Locator() = default;
};

// Receives the events. All text is UTF-8, borrowed for the duration of the call.
// A sink may throw: the reader unwinds cleanly, forgets the document and lets the exception out of `read`.
class EventSink {
public:
    virtual ~EventSink() = default;

    // Called once, before everything else; the locator lives until `read` returns.
    virtual void startDocument(const Locator& locator) = 0;
    virtual void endDocument() = 0;  // only after a document that is well formed to its end

    // Attributes stand in document order, namespace declarations included; names are unique as written.
    virtual void startElement(std::string_view name, std::span<const Attribute> attributes) = 0;
    virtual void endElement(std::string_view name) = 0;

    // Character data, complete and in order, split anywhere between two code points.
    virtual void characters(std::string_view text) = 0;
    // The content of one CDATA section; a section may arrive as several calls between start and end.
    virtual void startCData() = 0;
    virtual void endCData() = 0;
    virtual void comment(std::string_view text) = 0;
    virtual void processingInstruction(std::string_view target, std::string_view data) = 0;
};

}  // namespace engine::reader
