// A document as a stream of events, in constant memory however long it is. See msxml_parser/xml.h.
#pragma once

#include <functional>
#include <istream>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>

#include "framework/object/iptr.h"
#include "msxml_parser/ikelsaxxmlv3.h"
#include "msxml_parser/xml/document.h"
#include "msxml_parser/xml/error.h"
#include "msxml_parser/xml/streams.h"
#include "msxml_parser/xml/text.h"
#include "msxml_parser/xmlsax.h"

namespace msxml_parser {

// A name in an event; valid during the event. What is asked for is converted.
class Name final {
public:
    explicit Name(const KelSAXXmlName& name) : name_(name) {}  // borrowed

    // In UTF-8: as written, and its parts; without a prefix, and in no namespace, empty.
    [[nodiscard]] std::string qualified() const { return detail::toUtf8(name_.qualified); }
    [[nodiscard]] std::string local() const { return detail::toUtf8(name_.local); }
    [[nodiscard]] std::string prefix() const { return detail::toUtf8(name_.prefix); }
    [[nodiscard]] std::string namespaceUri() const { return detail::toUtf8(name_.namespaceUri); }
    // As the parser has it, in UTF-16.
    [[nodiscard]] const KelSAXXmlName& units() const noexcept { return name_; }

    // With the qualified name, as written.
    friend bool operator==(const Name& name, std::u16string_view qualified) noexcept {
        return name.name_.qualified == qualified;
    }
    friend bool operator==(const Name& name, std::string_view qualified) {
        std::u16string units;
        return detail::appendUtf16(units, qualified) == std::string_view::npos && name == units;
    }

private:
    const KelSAXXmlName& name_;
};

// The start of an element; valid during the event.
class StartTag final {
public:
    // Borrows what the parser reports.
    StartTag(const KelSAXXmlName& name, std::span<const KelSAXXmlAttribute> attributes,
             std::span<const KelSAXXmlDeclaration> declarations)
        : name_(name), attributes_(attributes), declarations_(declarations) {}

    // The element's.
    [[nodiscard]] Name name() const { return Name(name_); }
    // By qualified name, in UTF-8 and as the parser has it.
    [[nodiscard]] std::optional<std::string> attribute(std::string_view name) const {
        const KelSAXXmlAttribute* const found = find(name);
        if (found == nullptr) return std::nullopt;
        return detail::toUtf8(found->value);
    }
    [[nodiscard]] std::optional<std::u16string_view> attribute(std::u16string_view name) const noexcept {
        for (const KelSAXXmlAttribute& attribute : attributes_) {
            if (attribute.name.qualified == name) return attribute.value;
        }
        return std::nullopt;
    }
    // In document order, as the parser has them; namespace declarations apart.
    [[nodiscard]] std::span<const KelSAXXmlAttribute> attributes() const noexcept { return attributes_; }
    [[nodiscard]] std::span<const KelSAXXmlDeclaration> declarations() const noexcept {
        return declarations_;
    }

private:
    [[nodiscard]] const KelSAXXmlAttribute* find(std::string_view name) const {
        for (const KelSAXXmlAttribute& attribute : attributes_) {
            if (Name(attribute.name) == name) return &attribute;
        }
        return nullptr;
    }

    const KelSAXXmlName& name_;
    std::span<const KelSAXXmlAttribute> attributes_;
    std::span<const KelSAXXmlDeclaration> declarations_;
};

// What is done with the events; what is empty is passed over, and costs nothing. Texts are UTF-8, valid
// during the call.
struct Events {
    std::function<void(const StartTag&)> startElement = {};  // with its attributes
    std::function<void(const Name&)> endElement = {};        // of an empty element, too
    std::function<void(std::string_view)> text = {};     // CDATA included; a run may come in several pieces
    std::function<void(std::string_view)> comment = {};  // without its marks
    // A processing instruction.
    std::function<void(std::string_view target, std::string_view data)> instruction = {};
};

namespace detail {

class EventReceiver final : public KelSAXXmlEvents {
public:
    explicit EventReceiver(const Events& events) : events_(events) {}

    void startElement(const KelSAXXmlName& name, std::span<const KelSAXXmlAttribute> attributes,
                      std::span<const KelSAXXmlDeclaration> declarations) override {
        if (events_.startElement) events_.startElement({name, attributes, declarations});
    }
    void endElement(const KelSAXXmlName& name) override {
        if (events_.endElement) events_.endElement(Name(name));
    }
    void characters(std::u16string_view text) override { deliver(events_.text, text); }
    void comment(std::u16string_view text) override { deliver(events_.comment, text); }
    void processingInstruction(std::u16string_view target, std::u16string_view data) override {
        if (events_.instruction) events_.instruction(toUtf8(target), toUtf8(data));
    }

private:
    void deliver(const std::function<void(std::string_view)>& to, std::u16string_view text) {
        if (!to) return;
        assignUtf8(text_, text);
        to(text_);
    }

    const Events& events_;
    std::string text_;
};

}  // namespace detail

// Reads any number of documents, one after the other. Events come on the calling thread before the operation
// returns; the events before an error are delivered. A DOCTYPE is read and its entities are expanded; nothing
// outside the document is read. Threads: one at a time, the thread on which COM was initialised.
class Reader final {
public:
    Reader() : Reader(IPtr<IKelSAXXmlV2>(XmlSAX().getParser()).get()) {}  // of the linked library
    // On a parser of the component's, which a host made: host.create<IKelSAXXmlV2>("MSSAXXml").get(). Takes a
    // reference.
    explicit Reader(IKelUnknown* parser) : parser_(detail::partOf<IKelSAXXmlV3>(parser)) {}

    // The parser behind it, borrowed, for operations of the interfaces.
    [[nodiscard]] IKelSAXXmlV3& parser() const { return detail::required(parser_); }

    // The whole document, in the encoding that a byte-order mark or the declaration says, else UTF-8.
    void readFile(const Text& file, const Events& events) {
        detail::EventReceiver to(events);
        readFile(file, to);
    }
    void readBytes(std::string_view bytes, const Events& events) {
        detail::EventReceiver to(events);
        readBytes(bytes, to);
    }
    void readStream(std::istream& stream, const Events& events) {
        detail::EventReceiver to(events);
        readStream(stream, to);
    }
    [[nodiscard]] Result<void> tryReadFile(const Text& file, const Events& events) {
        return attempt([&] { readFile(file, events); });
    }
    [[nodiscard]] Result<void> tryReadBytes(std::string_view bytes, const Events& events) {
        return attempt([&] { readBytes(bytes, events); });
    }
    [[nodiscard]] Result<void> tryReadStream(std::istream& stream, const Events& events) {
        return attempt([&] { readStream(stream, events); });
    }

    // To a receiver of the component's kind, which gets all texts in UTF-16 and nothing converted.
    void readFile(const Text& file, IKelSAXXmlHandlerV2& handler) {
        demand(file.utf8(), [&] { return parser().readFile(file.value(), handler); });
    }
    void readBytes(std::string_view bytes, IKelSAXXmlHandlerV2& handler) {
        demand({}, [&] { return parser().readBytes(bytes.data(), bytes.size(), handler); });
    }
    void readStream(std::istream& stream, IKelSAXXmlHandlerV2& handler) {
        detail::StandardInput in(stream);
        demand({}, [&] { return parser().readStream(in, handler); });
    }

    void stop() { parser().stop(); }  // during an event: it is the last one, and reading succeeds
    [[nodiscard]] bool wasStopped() const { return parser().wasStopped(); }  // the last reading, by stop()
    // During an event: where it starts, on Windows where it ends. None at any other time.
    [[nodiscard]] std::optional<Position> position() const {
        const Position found{parser().getLine(), parser().getColumn()};
        if (found.line == 0) return std::nullopt;
        return found;
    }

private:
    [[nodiscard]] static ErrorCode codeOf(int code) noexcept {
        switch (code) {
            case IKelSAXXml::kFileNotReadable:
                return ErrorCode::NotReadable;
            case IKelSAXXmlV3::kNotWellFormed:
                return ErrorCode::BadDocument;
            case IKelSAXXmlV3::kLimitExceeded:
                return ErrorCode::LimitExceeded;
            default:
                return ErrorCode::NoEngine;
        }
    }
    template <class Operation>
    void demand(const std::string& file, Operation&& operation) const {
        if (detail::guarded(operation)) return;
        IKelSAXXmlError* const record = parser().getError();
        Error error;
        error.code = codeOf(record->getCode());
        error.message = detail::toUtf8(record->getMessage().view());
        error.file = file;
        if (auto* const details = kel::queryInterface<IKelSAXXmlErrorV2>(record)) {
            error.line = details->getLine();
            error.column = details->getColumn();
            error.reason = detail::readText<&IKelSAXXmlErrorV2::getReason>(*details);
        }
        throw Exception(std::move(error));
    }

    IPtr<IKelSAXXmlV3> parser_;
};

}  // namespace msxml_parser
