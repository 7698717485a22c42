// The SAX reader's object: features and properties, the parse, and its errors and violations as calls of the
// error handler.
#include "engine/sax/saxreader.h"

#include <memory>
#include <new>
#include <string>
#include <utility>

#include "engine/com/classtable.h"
#include "engine/com/extension.h"
#include "engine/com/object.h"
#include "engine/com/status.h"
#include "engine/reader/detail/parse.h"
#include "engine/source/comstream.h"
#include "engine/text/utf.h"
#include "engine/text/worded.h"

namespace engine::sax {
namespace {

constexpr std::u16string_view kExternalGeneral = u"http://xml.org/sax/features/external-general-entities";
constexpr std::u16string_view kExternalParameter = u"http://xml.org/sax/features/external-parameter-entities";
constexpr std::u16string_view kLexicalHandler = u"http://xml.org/sax/properties/lexical-handler";
constexpr std::u16string_view kSchemas = u"schemas";
constexpr std::u16string_view kDepth = u"max-element-depth";

HRESULT unknownName(const char* sort, std::u16string_view name) noexcept {
    return com::guarded([&]() -> HRESULT {
        throw com::Exception(E_INVALIDARG, "The reader has no " + std::string(sort) + " '" +
                                               text::toUtf8(name.substr(0, 100)) + "'.");
    });
}

static_assert(isLimitStatus(statusOf(source::ErrorCode::TooLong)) &&
              isLimitStatus(statusOf(source::ErrorCode::TooDeep)) &&
              isLimitStatus(statusOf(source::ErrorCode::TooManyAttributes)) &&
              isLimitStatus(statusOf(source::ErrorCode::TooManyNames)) &&
              isLimitStatus(statusOf(source::ErrorCode::EntityTooLarge)));

// The object in a variant; null for none. Throws com::Exception if it is something else, or has no such
// interface.
template <typename T>
com::Ref<T> objectIn(const VARIANT& value, REFIID iid, const char* what) {
    if (value.vt == VT_NULL || value.vt == VT_EMPTY) return {};
    const bool isObject = value.vt == VT_DISPATCH || value.vt == VT_UNKNOWN;
    if (isObject && value.punkVal == nullptr) return {};
    void* object = nullptr;
    if (!isObject || FAILED(value.punkVal->QueryInterface(iid, &object)))
        throw com::Exception(E_INVALIDARG, "The value is not " + std::string(what) + ".");
    return com::Ref<T>::adopt(static_cast<T*>(object));
}

// Where an error is, for the error handler; stays right for as long as it is kept.
class ErrorLocator final : public com::Object<ErrorLocator, ISAXLocator, IXMLErrorPath> {
public:
    ErrorLocator(source::Position position, std::string path) : position_(position), path_(std::move(path)) {}

    HRESULT getColumnNumber(int* column) override { return give(position_.column, column); }
    HRESULT getLineNumber(int* line) override { return give(position_.line, line); }
    HRESULT getPath(BSTR* path) override {
        return com::give(path, "getPath",
                         [&] { return path_.empty() ? nullptr : com::makeBstr(std::string_view(path_)); });
    }

private:
    static HRESULT give(std::uint32_t number, int* out) noexcept {
        if (out == nullptr) return E_POINTER;
        *out = static_cast<int>(number);
        return S_OK;
    }
    const source::Position position_;
    const std::string path_;
};

// Shows each event to the validator before the handlers.
class ValidatedEvents final : public reader::EventSink {
public:
    ValidatedEvents(reader::EventSink& validator, SaxEvents& events) noexcept
        : validator_(validator), events_(events) {}

    void startDocument(const reader::Locator& locator) override {
        validator_.startDocument(locator);
        events_.startDocument(locator);
    }
    void endDocument() override {
        validator_.endDocument();
        events_.endDocument();
    }
    void startElement(std::string_view name, std::span<const reader::Attribute> attributes) override {
        validator_.startElement(name, attributes);
        events_.startElement(name, attributes);
    }
    // The validator asks the locator for the attributes.
    void startElement(const reader::StartTag& tag) {
        validator_.startElement(tag.name, {});
        events_.startElement(tag);
    }
    void endElement(std::string_view name) override {
        validator_.endElement(name);
        events_.endElement(name);
    }
    void characters(std::string_view text) override {
        validator_.characters(text);
        events_.characters(text);
    }
    void startCData() override { events_.startCData(); }
    void endCData() override { events_.endCData(); }
    void comment(std::string_view text) override { events_.comment(text); }
    void processingInstruction(std::string_view target, std::string_view data) override {
        events_.processingInstruction(target, data);
    }

private:
    reader::EventSink& validator_;
    SaxEvents& events_;
};

// reader::read with the parser compiled into this sink.
template <typename Sink>
source::ParseError read(const source::Input& input, const reader::ReadOptions& options, Sink& sink) {
    using source::TextSource;
    TextSource source(input, options, TextSource::Extent::Window);
    if (const source::Fault fault = source.open()) return source.describe(fault);
    return reader::detail::parse(source, options, sink);
}

// Thrown through the reader by the first violation, if one is enough.
struct Invalid {
    source::ParseError error;
};

}  // namespace

HRESULT SaxReader::create(REFIID iid, void** object) noexcept {
    auto created = com::Ref<SaxReader>::adopt(new (std::nothrow) SaxReader);
    if (!created) return com::fail(E_OUTOFMEMORY, "There is no memory for a reader.");
    return created->QueryInterface(iid, object);
}

HRESULT SaxReader::QueryInterface(REFIID iid, void** object) {
    if (object == nullptr) return E_POINTER;
    *object = nullptr;
    if (iid != IID_IUnknown && iid != IID_ISAXXMLReader) return E_NOINTERFACE;
    AddRef();
    *object = static_cast<ISAXXMLReader*>(this);
    return S_OK;
}

ULONG SaxReader::AddRef() {
    return ++count_;
}

ULONG SaxReader::Release() {
    const std::uint32_t left = --count_;
    if (left == 0) delete this;
    return left;
}

// What can be asked of a reader.

bool* SaxReader::featureOf(std::u16string_view name) noexcept {
    if (name == u"schema-validation") return &validates_;
    if (name == u"exhaustive-errors") return &isExhaustive_;
    if (name == u"prohibit-dtd") return &prohibitsDtd_;
    return nullptr;
}

HRESULT SaxReader::getFeature(const OLECHAR* name, VARIANT_BOOL* value) {
    if (name == nullptr || value == nullptr) return com::nullPointer("getFeature");
    *value = VARIANT_FALSE;
    if (const bool* const feature = featureOf(name)) {
        *value = *feature ? VARIANT_TRUE : VARIANT_FALSE;
        return S_OK;
    }
    return name == kExternalGeneral || name == kExternalParameter ? S_OK : unknownName("feature", name);
}

HRESULT SaxReader::putFeature(const OLECHAR* name, VARIANT_BOOL value) {
    if (name == nullptr) return com::nullPointer("putFeature");
    if (bool* const feature = featureOf(name)) {
        *feature = value != VARIANT_FALSE;
        return S_OK;
    }
    if (name != kExternalGeneral && name != kExternalParameter) return unknownName("feature", name);
    return value == VARIANT_FALSE ? S_OK : com::fail(E_NOTIMPL, "External entities are never read.");
}

HRESULT SaxReader::getProperty(const OLECHAR* name, VARIANT* value) {
    if (name == nullptr || value == nullptr) return com::nullPointer("getProperty");
    VariantInit(value);
    if (name == kDepth) {
        value->vt = VT_I4;
        value->lVal = static_cast<LONG>(depthLimit_);
        return S_OK;
    }
    if (name != kSchemas && name != kLexicalHandler) return unknownName("property", name);
    value->vt = VT_UNKNOWN;
    value->punkVal = name == kSchemas ? com::Ref<IUnknown>(schemas_).detach()
                                      : com::Ref<ISAXLexicalHandler>(handlers_.lexical).detach();
    return S_OK;
}

HRESULT SaxReader::putProperty(const OLECHAR* name, VARIANT value) {
    if (name == nullptr) return com::nullPointer("putProperty");
    return com::guarded([&]() -> HRESULT {
        if (name == kSchemas) {
            auto validation = objectIn<reader::ISchemaStream>(value, reader::IID_ISchemaStream,
                                                              "a schema collection of this XML library");
            schemas_ = objectIn<IUnknown>(value, IID_IUnknown, "an object");
            validation_ = std::move(validation);
            return S_OK;
        }
        if (name == kLexicalHandler) {
            exchange(handlers_.lexical,
                     objectIn<ISAXLexicalHandler>(value, IID_ISAXLexicalHandler, "a lexical handler"));
            return S_OK;
        }
        if (name != kDepth) return unknownName("property", name);
        if (value.vt != VT_I4 || value.lVal <= 0)
            throw com::Exception(E_INVALIDARG, "The depth of elements must be a positive number.");
        depthLimit_ = static_cast<std::uint32_t>(value.lVal);
        return S_OK;
    });
}

template <typename Handler>
void SaxReader::exchange(com::Ref<Handler>& handler, com::Ref<Handler> next) {
    if (isParsing_) retired_.push_back(com::Ref<IUnknown>::share(handler.get()));
    handler = std::move(next);
}

HRESULT SaxReader::putContentHandler(ISAXContentHandler* handler) {
    return com::guarded([&] {
        exchange(handlers_.content, com::Ref<ISAXContentHandler>::share(handler));
        return S_OK;
    });
}

HRESULT SaxReader::putErrorHandler(ISAXErrorHandler* handler) {
    return com::guarded([&] {
        exchange(errorHandler_, com::Ref<ISAXErrorHandler>::share(handler));
        return S_OK;
    });
}

// Parsing.

reader::ReadOptions SaxReader::options() const {
    reader::ReadOptions options;
    options.dtd = prohibitsDtd_ ? reader::ReadOptions::Dtd::Prohibit : reader::ReadOptions::Dtd::Internal;
    options.depthLimit = depthLimit_;
    return options;
}

HRESULT SaxReader::parseURL(const OLECHAR* url) {
    if (url == nullptr) return com::fail(E_POINTER, "There is no path or address to read from.");
    source::Input input;
    const HRESULT status = com::guarded([&] {
        input = source::Input::location(url);
        return S_OK;
    });
    return FAILED(status) ? status : parse(input, options());
}

HRESULT SaxReader::parse(VARIANT input) {
    if (input.vt == VT_BSTR) return parse(source::Input::text(com::textOf(input.bstrVal)), options());
    com::Ref<ISequentialStream> stream;
    const HRESULT status = com::guarded([&] {
        stream = objectIn<ISequentialStream>(input, IID_ISequentialStream, "a text or a stream of bytes");
        if (!stream) throw com::Exception(E_INVALIDARG, "There is nothing to read from.");
        return S_OK;
    });
    if (FAILED(status)) return status;
    source::ComByteStream bytes(*stream);
    return parse(source::Input::stream(bytes), options());
}

HRESULT SaxReader::parse(const source::Input& input, const reader::ReadOptions& options) {
    if (isParsing_)
        return com::fail(E_UNEXPECTED, "The reader is reading already: an event cannot start another parse.");
    // The caller may let go of the reader during an event.
    const auto self = com::Ref<SaxReader>::share(this);
    struct Parsing {
        SaxReader& reader;
        explicit Parsing(SaxReader& r) : reader(r) { reader.isParsing_ = true; }
        ~Parsing() {
            reader.isParsing_ = false;
            reader.retired_.clear();
        }
    } const parsing(*this);
    bool inHandler = false;
    try {
        return parseGuarded(input, options, inHandler);
    } catch (const HandlerStatus& ended) {
        return ended.status;
    } catch (...) {
        if (inHandler) throw;
        return com::detail::translateException();
    }
}

HRESULT SaxReader::parseGuarded(const source::Input& input, const reader::ReadOptions& options,
                                bool& inHandler) {
    lastError_ = {};
    SaxEvents events(handlers_, inHandler);
    if (!validates_ || !validation_) {
        lastError_ = read(input, options, events);
    } else {
        try {
            const auto validator = validation_->newValidator(
                [&](const reader::Violation& violation) { reportViolation(violation, inHandler); });
            ValidatedEvents validated(*validator, events);
            lastError_ = read(input, options, validated);
        } catch (const Invalid& invalid) {
            lastError_ = invalid.error;
            return com::fail(lastError_.code, lastError_.reason);
        }
    }
    return lastError_.failed() ? reportError(lastError_, inHandler) : S_OK;
}

HRESULT SaxReader::reportError(const source::ParseError& error, bool& inHandler) {
    if (errorHandler_) {
        const auto locator = com::make<ErrorLocator>(error.position, std::string());
        const std::u16string reason = text::toUtf16(error.reason);
        callHandler(errorHandler_.get(), inHandler, [&](ISAXErrorHandler& handler) {
            (void)handler.fatalError(locator.get(), reason.c_str(), error.code);  // it is over either way
            return S_OK;
        });
    }
    std::string description = error.reason;
    if (error.position.line != 0) {
        description = text::worded("Line %1, column %2: %3", std::to_string(error.position.line),
                                   std::to_string(error.position.column), description);
    }
    return com::fail(error.code, description);
}

void SaxReader::reportViolation(const reader::Violation& violation, bool& inHandler) {
    const bool goesOn = isExhaustive_ && errorHandler_;
    const auto locator = com::make<ErrorLocator>(violation.error.position, violation.path);
    const std::u16string reason = text::toUtf16(violation.error.reason);
    if (violation.isDoubt) {
        return callHandler(errorHandler_.get(), inHandler, [&](ISAXErrorHandler& handler) {
            return handler.ignorableWarning(locator.get(), reason.c_str(), violation.error.code);
        });
    }
    callHandler(errorHandler_.get(), inHandler, [&](ISAXErrorHandler& handler) {
        return goesOn ? handler.error(locator.get(), reason.c_str(), violation.error.code)
                      : handler.fatalError(locator.get(), reason.c_str(), violation.error.code);
    });
    if (!goesOn) throw Invalid{violation.error};
}

}  // namespace engine::sax

namespace {

engine::com::ClassEntry readerClass{CLSID_SAXXMLReader, engine::sax::SaxReader::create};
engine::com::ClassEntry readerClass60{CLSID_SAXXMLReader60, engine::sax::SaxReader::create};

}  // namespace

// The name by which the link takes this file in; see CMakeLists.txt.
extern "C" const bool engineSaxRegistered;
const bool engineSaxRegistered =
    engine::com::registerClass(readerClass) && engine::com::registerClass(readerClass60);
