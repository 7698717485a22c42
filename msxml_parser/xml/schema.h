// Schemas: compiled once, used for any number of documents. See msxml_parser/xml.h.
#pragma once

#include <cstddef>
#include <functional>
#include <istream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "framework/object/iptr.h"
#include "msxml_parser/ikelxmlfactory.h"
#include "msxml_parser/ikelxmlschema.h"
#include "msxml_parser/xml/document.h"
#include "msxml_parser/xml/error.h"
#include "msxml_parser/xml/streams.h"
#include "msxml_parser/xml/text.h"
#include "msxml_parser/xmldom.h"

namespace msxml_parser {

// One thing in a document that does not fit the schema. UTF-8.
struct Violation {
    int line = 0;      // of the element's start tag, from 1; 0: unknown, as of elements that were not loaded
    int column = 0;    // in characters, from 1
    std::string path;  // the element: "/list[1]/p:item[3]"
    std::string reason;  // in a sentence
    int code = 0;        // the engine's number for this kind of violation
};

namespace detail {

inline ErrorCode xmlErrorCode(int code) noexcept {
    switch (code) {
        case IKelXmlError::kFileNotReadable:
            return ErrorCode::NotReadable;
        case IKelXmlError::kNotWellFormed:
            return ErrorCode::BadDocument;
        case IKelXmlError::kNoEngine:
            return ErrorCode::NoEngine;
        case IKelXmlError::kTransformFailed:
            return ErrorCode::TransformFailed;
        case IKelXmlError::kNotCompiled:
            return ErrorCode::NotCompiled;
        case IKelXmlError::kLimitExceeded:
            return ErrorCode::LimitExceeded;
        case IKelXmlError::kNotValid:
            return ErrorCode::NotValid;
        case IKelXmlError::kInvalidArgument:
            return ErrorCode::InvalidArgument;
        default:
            return ErrorCode::Rejected;
    }
}

inline Error errorFrom(IKelXmlError& record, const std::string& file) {
    Error error;
    error.code = xmlErrorCode(record.getCode());
    error.message = readText<&IKelXmlError::getMessage>(record);
    error.reason = readText<&IKelXmlError::getReason>(record);
    error.file = file;
    error.line = record.getLine();
    error.column = record.getColumn();
    return error;
}

// Hands violations on as values.
class ViolationReceiver final : public IKelXmlViolationHandler {
public:
    using Receive = std::function<bool(Violation)>;
    explicit ViolationReceiver(const Receive& receive) : receive_(receive) {}
    bool violation(const KelXmlViolation& found) override {
        return receive_({found.line, found.column, toUtf8(found.path), toUtf8(found.reason), found.code});
    }

private:
    const Receive& receive_;
};

}  // namespace detail

// Schemas, one for each target namespace, as a set. Threads: one at a time, the thread on which COM was
// initialised when it was made.
class Schema final {
public:
    // Gets each violation in the order in which they are found; false ends the validation.
    using Receiver = detail::ViolationReceiver::Receive;

    Schema() : Schema(IPtr<IKelDOMXmlV2>(XmlDOM().getParser()).get()) {}  // of the linked library
    explicit Schema(IKelUnknown* parser)  // any parser of the component's, which a host made; borrowed
        : schema_(detail::partOf<IKelXmlFactory>(parser)->createSchema()) {
        if (!schema_) throw std::bad_alloc();
    }

    // The set itself, borrowed, for operations of the interfaces.
    [[nodiscard]] IKelXmlSchema& handle() const { return detail::required(schema_); }

    // Compiles the file for one target namespace, empty: none. Another for the same one takes its place.
    void addFile(const Text& file, const Text& namespaceUri = "") {
        if (!detail::guarded([&] { return handle().addFile(namespaceUri.value(), file.value()); }))
            throw Exception(detail::errorFrom(*handle().getError(), file.utf8()));
    }
    [[nodiscard]] Result<void> tryAddFile(const Text& file, const Text& namespaceUri = "") {
        return attempt([&] { addFile(file, namespaceUri); });
    }

    // All violations; none: it is valid. What cannot be validated, such as a file that is not well formed, is
    // an error. The first is the document as it is now; the others hold no tree, however long the input is.
    [[nodiscard]] std::vector<Violation> validate(const Document& document) const {
        return gather([&](const Receiver& to) { validate(document, to); });
    }
    [[nodiscard]] std::vector<Violation> validateFile(const Text& file) const {
        return gather([&](const Receiver& to) { validateFile(file, to); });
    }
    [[nodiscard]] std::vector<Violation> validateBytes(std::string_view bytes) const {
        return gather([&](const Receiver& to) { validateBytes(bytes, to); });
    }
    [[nodiscard]] std::vector<Violation> validateStream(std::istream& stream) const {
        return gather([&](const Receiver& to) { validateStream(stream, to); });
    }
    [[nodiscard]] Result<std::vector<Violation>> tryValidate(const Document& document) const {
        return attempt([&] { return validate(document); });
    }
    [[nodiscard]] Result<std::vector<Violation>> tryValidateFile(const Text& file) const {
        return attempt([&] { return validateFile(file); });
    }

    // Each to a receiver as it is found. Returns whether there was none.
    bool validate(const Document& document, const Receiver& receiver) const {
        return run({}, receiver, [&](auto* to) { return handle().validate(&document.parser(), to); });
    }
    bool validateFile(const Text& file, const Receiver& receiver) const {
        return run(file.utf8(), receiver, [&](auto* to) { return handle().validateFile(file.value(), to); });
    }
    bool validateBytes(std::string_view bytes, const Receiver& receiver) const {
        return run({}, receiver,
                   [&](auto* to) { return handle().validateBytes(bytes.data(), bytes.size(), to); });
    }
    bool validateStream(std::istream& stream, const Receiver& receiver) const {
        detail::StandardInput in(stream);
        return run({}, receiver, [&](auto* to) { return handle().validateStream(in, to); });
    }

    // Whether the document that was validated last, without a tree, may hold a value of type xs:ID twice,
    // which only validating the Document shows. Always true on Windows.
    [[nodiscard]] bool mayRepeatIds() const { return handle().mayRepeatIds(); }

    // Throws NotValid with line, column, path and reason of the first violation.
    void demandValid(const Document& document) const {
        Error first;
        const bool isValid = validate(document, [&](Violation found) {
            first.code = ErrorCode::NotValid;
            first.line = found.line;
            first.column = found.column;
            first.path = std::move(found.path);
            first.reason = std::move(found.reason);
            return false;
        });
        if (isValid) return;
        first.message = detail::errorFrom(*handle().getError(), {}).message;
        throw Exception(std::move(first));
    }

private:
    template <class Validate>
    static std::vector<Violation> gather(Validate&& validate) {
        std::vector<Violation> all;
        validate([&](Violation found) {
            all.push_back(std::move(found));
            return true;
        });
        return all;
    }
    template <class Validate>
    bool run(const std::string& file, const Receiver& receiver, Validate&& validate) const {
        detail::ViolationReceiver to(receiver);
        if (detail::guarded([&] { return validate(&to); })) return true;
        Error error = detail::errorFrom(*handle().getError(), file);
        if (error.code != ErrorCode::NotValid) throw Exception(std::move(error));
        return false;
    }

    IPtr<IKelXmlSchema> schema_;
};

}  // namespace msxml_parser
