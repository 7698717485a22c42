// What a parser reports about a document, in document order, and how it says that it cannot go on.
// Threads: a reader, its sink and its input belong to one thread at a time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "engine/reader/namespaces.h"
#include "engine/source/errors.h"

namespace engine::reader {

using source::ParseError;
using source::Position;

// Asks the running reader where it stands; valid during a callback only.
class Locator {
public:
    // Start of the event being delivered: the '<' of a tag, the first character of a text.
    [[nodiscard]] virtual Position position() const = 0;
    // The same as an offset into the text of the document, in bytes of UTF-8 with line feeds as line ends.
    [[nodiscard]] virtual std::uint64_t offset() const { return 0; }
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

    // The names that ids in events refer to; null: the sink has none, and ids mean nothing to it. One sink
    // has the same ones throughout.
    [[nodiscard]] virtual Names* names() { return nullptr; }

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
