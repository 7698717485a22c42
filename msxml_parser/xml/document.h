// A document: loaded, edited, searched and saved. See msxml_parser/xml.h.
#pragma once

#include <iosfwd>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "framework/object/iptr.h"
#include "msxml_parser/ikeldomxmlv3.h"
#include "msxml_parser/xml/element.h"
#include "msxml_parser/xml/error.h"
#include "msxml_parser/xml/streams.h"
#include "msxml_parser/xml/text.h"
#include "msxml_parser/xmldom.h"

namespace msxml_parser {

// What a load keeps and allows.
struct LoadOptions {
    // Without it, white space that only lays out elements is dropped.
    bool keepWhiteSpace = false;
    // The internal subset of a DOCTYPE is read, within limits; nothing external ever is. Without it, a
    // document that has one is rejected.
    bool allowDoctype = false;
};

// How a document is written.
struct SaveOptions {
    bool indent = false;        // an element a line, where no reader sees a difference
    bool declaration = true;    // the XML declaration; only UTF-8 and UTF-16 go without
    std::string encoding = {};  // empty: the one that the document declares, else UTF-8
};

namespace detail {

// An interface of a parser that a host made; a reference is taken. Null, or a parser of another kind:
// NoEngine.
template <class Interface>
IPtr<Interface> partOf(IKelUnknown* parser) {
    IPtr<Interface> part(kel::queryInterface<Interface>(parser));
    if (!part)
        fail(ErrorCode::NoEngine,
             std::string("There is no parser with the interface ") + Interface::interfaceName());
    return part;
}

inline ErrorCode documentErrorCode(int code) noexcept {
    switch (code) {
        case IKelDOMXml::kFileNotReadable:
            return ErrorCode::NotReadable;
        case IKelDOMXml::kRejectedByEngine:
            return ErrorCode::BadDocument;
        case IKelDOMXml::kInvalidElement:
            return ErrorCode::InvalidArgument;
        case IKelDOMXml::kNoDocument:
            return ErrorCode::NoEngine;
        case IKelDOMXmlV3::kNotWritable:
            return ErrorCode::NotWritable;
        case IKelDOMXmlV3::kNotWritten:
            return ErrorCode::NotWritten;
        case IKelDOMXmlV3::kBadExpression:
            return ErrorCode::BadExpression;
        case IKelDOMXmlV3::kNotElements:
            return ErrorCode::NotElements;
        default:
            return ErrorCode::Rejected;
    }
}

}  // namespace detail

// Owns a document. It moves and is not copied: copies of a tree are made from its bytes. Its elements keep
// what is behind it alive, and after a further load still see the old content. File names are UTF-8 or
// UTF-16. Threads: one at a time; COM must be initialised on its thread, which the first constructor does.
class Document final {
public:
    // Empty. From the library that the program is linked to.
    Document() : Document(IPtr<IKelDOMXmlV2>(XmlDOM().getParser()).get()) {}
    // On a parser of the component's, which a host made: host.create<IKelDOMXmlV2>("MSDOMXml").get(). Takes a
    // reference. The parser must not be null.
    explicit Document(IKelUnknown* parser) : parser_(detail::partOf<IKelDOMXmlV3>(parser)) {}
    Document(const Document&) = delete;
    Document& operator=(const Document&) = delete;
    Document(Document&&) noexcept = default;
    Document& operator=(Document&&) noexcept = default;
    ~Document() = default;

    // The parser behind it, borrowed, for operations of the interfaces.
    [[nodiscard]] IKelDOMXmlV3& parser() const { return detail::required(parser_); }

    // --- Loading replaces the content; after a failure the document is empty, but for NotReadable ---------
    // In the encoding that a byte-order mark or the declaration says, else UTF-8, as are bytes and streams.
    void loadFile(const Text& file, const LoadOptions& options = {}) {
        demand(file.utf8(), [&] { return parser().loadFile(file.value(), flagsOf(options)); });
    }
    // The bytes are not needed afterwards.
    void loadBytes(std::string_view bytes, const LoadOptions& options = {}) {
        demand({}, [&] { return parser().loadBytes(bytes.data(), bytes.size(), flagsOf(options)); });
    }
    // From where the stream stands to its end.
    void loadStream(std::istream& stream, const LoadOptions& options = {}) {
        detail::StandardInput in(stream);
        demand({}, [&] { return parser().loadStream(in, flagsOf(options)); });
    }
    // Text that is decoded already: a declared encoding is ignored. Without options.
    void loadText(std::u16string_view text) {
        demand({}, [&] { return parser().loadFromString(Text(text).value()); });
    }
    [[nodiscard]] Result<void> tryLoadFile(const Text& file, const LoadOptions& options = {}) {
        return attempt([&] { loadFile(file, options); });
    }
    [[nodiscard]] Result<void> tryLoadBytes(std::string_view bytes, const LoadOptions& options = {}) {
        return attempt([&] { loadBytes(bytes, options); });
    }
    [[nodiscard]] Result<void> tryLoadStream(std::istream& stream, const LoadOptions& options = {}) {
        return attempt([&] { loadStream(stream, options); });
    }
    [[nodiscard]] Result<void> tryLoadText(std::u16string_view text) {
        return attempt([&] { loadText(text); });
    }

    // --- Saving: the document as it is, comments, instructions and CDATA sections included ----------------
    // Written beside the old file, which it then replaces: the old one is whole if anything fails.
    void saveFile(const Text& file, const SaveOptions& options = {}) const {
        demand(file.utf8(), [&] {
            return parser().writeFile(file.value(), flagsOf(options), Text(options.encoding).value());
        });
    }
    // Flushed. After a failure a part may have been written.
    void saveStream(std::ostream& stream, const SaveOptions& options = {}) const {
        detail::StandardOutput out(stream);
        writeTo(out, options);
    }
    // The same bytes in memory.
    [[nodiscard]] std::string toBytes(const SaveOptions& options = {}) const {
        detail::StringOutput out;
        writeTo(out, options);
        return out.take();
    }
    // As text: the declaration names no encoding, and the option for one is ignored.
    [[nodiscard]] std::u16string toText(const SaveOptions& options = {}) const {
        KelString out;
        demand({}, [&] { return parser().writeString(out, flagsOf(options)); });
        return std::u16string(out.view());
    }
    [[nodiscard]] Result<void> trySaveFile(const Text& file, const SaveOptions& options = {}) const {
        return attempt([&] { saveFile(file, options); });
    }
    [[nodiscard]] Result<void> trySaveStream(std::ostream& stream, const SaveOptions& options = {}) const {
        return attempt([&] { saveStream(stream, options); });
    }
    [[nodiscard]] Result<std::string> tryToBytes(const SaveOptions& options = {}) const {
        return attempt([&] { return toBytes(options); });
    }

    // --- Elements -----------------------------------------------------------------------------------------
    [[nodiscard]] Element root() const {  // NoElement: the document is empty
        std::optional<Element> root = findRoot();
        if (!root) detail::fail(ErrorCode::NoElement, "The document has no root element");
        return std::move(*root);
    }
    [[nodiscard]] bool isEmpty() const { return !findRoot(); }  // there is no root element
    void setRoot(const Element& element) {                      // of an empty document; else Rejected
        detail::guarded([&] { parser().setRootElement(&element.handle()); });
    }
    void replaceRoot(const Element& element) {  // where the root stands, which then has no parent
        detail::guarded([&] { parser().replaceRootElement(&element.handle()); });
    }
    // New ones, which belong to no parent yet.
    [[nodiscard]] Element createElement(const Text& name) const {
        return detail::guarded(
            [&] { return detail::takeElement(parser().createElement(name.value())).value(); });
    }
    [[nodiscard]] Element createElement(const Text& namespaceUri, const Text& name) const {  // declares it
        return detail::guarded([&] {
            IKelDOMXmlElementV2* const element =
                parser().createElementInNamespace(namespaceUri.value(), name.value());
            return detail::takeElement(element).value();
        });
    }

    // --- XPath 1.0, from the document or one of its elements ----------------------------------------------
    // The namespace that a prefix is bound to in expressions, whatever the document declares; an empty URI
    // takes it away.
    void setPrefix(const Text& prefix, const Text& uri) {
        const bool isDone = detail::guarded([&] { return parser().setPrefix(prefix.value(), uri.value()); });
        if (!isDone) {
            detail::fail(ErrorCode::InvalidArgument,
                         "'" + prefix.utf8() + "' cannot be a prefix of expressions");
        }
    }
    // The elements in document order, whatever is edited afterwards.
    [[nodiscard]] ElementRange select(const Text& expression) const { return selectAt(expression, nullptr); }
    [[nodiscard]] ElementRange select(const Text& expression, const Element& context) const {
        return selectAt(expression, &context.handle());
    }
    // The first of them; none: there is no such element.
    [[nodiscard]] std::optional<Element> selectFirst(const Text& expression) const {
        return selectFirstAt(expression, nullptr);
    }
    [[nodiscard]] std::optional<Element> selectFirst(const Text& expression, const Element& context) const {
        return selectFirstAt(expression, &context.handle());
    }
    [[nodiscard]] Result<ElementRange> trySelect(const Text& expression) const {
        return attempt([&] { return select(expression); });
    }
    [[nodiscard]] Result<std::optional<Element>> trySelectFirst(const Text& expression) const {
        return attempt([&] { return selectFirst(expression); });
    }
    // The values of nodes of every kind, such as attributes: select("//book/@year") is an error, this is not.
    [[nodiscard]] std::vector<std::string> selectValues(const Text& expression) const {
        return selectValuesAt(expression, nullptr);
    }
    [[nodiscard]] std::vector<std::string> selectValues(const Text& expression,
                                                        const Element& context) const {
        return selectValuesAt(expression, &context.handle());
    }
    // Values, as string(), number() and boolean() give them.
    [[nodiscard]] std::string evaluateText(const Text& expression) const {
        return textAt(expression, nullptr);
    }
    [[nodiscard]] std::string evaluateText(const Text& expression, const Element& context) const {
        return textAt(expression, &context.handle());
    }
    [[nodiscard]] double evaluateNumber(const Text& expression) const {
        return numberAt(expression, nullptr);
    }
    [[nodiscard]] double evaluateNumber(const Text& expression, const Element& context) const {
        return numberAt(expression, &context.handle());
    }
    [[nodiscard]] bool evaluateTruth(const Text& expression) const { return truthAt(expression, nullptr); }
    [[nodiscard]] bool evaluateTruth(const Text& expression, const Element& context) const {
        return truthAt(expression, &context.handle());
    }

private:
    [[nodiscard]] static unsigned flagsOf(const LoadOptions& options) noexcept {
        return (options.keepWhiteSpace ? IKelDOMXmlV3::kKeepWhiteSpace : 0U) |
               (options.allowDoctype ? IKelDOMXmlV3::kAllowDoctype : 0U);
    }
    [[nodiscard]] static unsigned flagsOf(const SaveOptions& options) noexcept {
        return (options.indent ? IKelDOMXmlV3::kIndent : 0U) |
               (options.declaration ? 0U : IKelDOMXmlV3::kNoDeclaration);
    }

    // Runs what returns false for a failure, and throws what the parser then says.
    template <class Operation>
    void demand(const std::string& file, Operation&& operation) const {
        if (!detail::guarded(operation)) fail(file);
    }
    [[noreturn]] void fail(const std::string& file) const {
        IKelDOMXmlError* const record = parser().getError();
        Error error;
        error.code = detail::documentErrorCode(record->getCode());
        error.message = detail::toUtf8(record->getMessage().view());
        error.file = file;
        if (auto* const details = kel::queryInterface<IKelDOMXmlErrorV2>(record)) {
            error.line = details->getLine();
            error.column = details->getColumn();
            error.reason = detail::readText<&IKelDOMXmlErrorV2::getReason>(*details);
        }
        throw Exception(std::move(error));
    }

    void writeTo(BinOutput& out, const SaveOptions& options) const {
        demand({},
               [&] { return parser().writeStream(out, flagsOf(options), Text(options.encoding).value()); });
    }

    // The component returns a handle on nothing for an empty document, which only a use of it shows.
    [[nodiscard]] std::optional<Element> findRoot() const {
        std::optional<Element> root =
            detail::guarded([&] { return detail::takeElement(parser().getRootElement()); });
        const auto found = attempt([&] { (void)root->handle().getAttributeCount(); });
        return found ? std::move(root) : std::nullopt;
    }

    [[nodiscard]] ElementRange selectAt(const Text& expression, IKelDOMXmlElement* context) const {
        IPtr<IKelDOMXmlElementItrV2> cursor;
        demand({}, [&] {
            cursor = parser().select(expression.value(), context);
            return static_cast<bool>(cursor);
        });
        return ElementRange(cursor.get());
    }
    [[nodiscard]] std::optional<Element> selectFirstAt(const Text& expression,
                                                       IKelDOMXmlElement* context) const {
        std::optional<Element> first;
        demand({}, [&] {
            first = detail::takeElement(parser().selectFirst(expression.value(), context));
            return first.has_value() || parser().getError()->getCode() == 0;
        });
        return first;
    }
    [[nodiscard]] std::vector<std::string> selectValuesAt(const Text& expression,
                                                          IKelDOMXmlElement* context) const {
        IPtr<IKelDOMXmlNodeItr> nodes;
        demand({}, [&] {
            nodes = parser().selectNodes(expression.value(), context);
            return static_cast<bool>(nodes);
        });
        std::vector<std::string> values;
        detail::guarded([&] {
            for (; !nodes->isEnd(); nodes->next())
                values.push_back(detail::readText<&IKelDOMXmlNodeItr::getValue>(*nodes));
        });
        return values;
    }
    [[nodiscard]] std::string textAt(const Text& expression, IKelDOMXmlElement* context) const {
        KelString value;
        demand({}, [&] { return parser().evaluateText(expression.value(), context, value); });
        return detail::toUtf8(value.view());
    }
    [[nodiscard]] double numberAt(const Text& expression, IKelDOMXmlElement* context) const {
        double value = 0;
        demand({}, [&] { return parser().evaluateNumber(expression.value(), context, value); });
        return value;
    }
    [[nodiscard]] bool truthAt(const Text& expression, IKelDOMXmlElement* context) const {
        bool value = false;
        demand({}, [&] { return parser().evaluateTruth(expression.value(), context, value); });
        return value;
    }

    IPtr<IKelDOMXmlV3> parser_;
};

}  // namespace msxml_parser
