// Schemas: a collection of the engine is attached to the document, or to the engine's reader, for one
// validation, and each violation that the engine reports goes to the handler.
#include "msxml_parser/detail/msxmlschema.h"

#include <utility>

#include "KelBasicTypes/pathnormalise.h"
#include "KelBasicTypes/platform/file.h"
#include "msxml_parser/detail/dom/msdomxml.h"
#include "msxml_parser/detail/engineclasses.h"
#include "msxml_parser/detail/enginereports.h"
#include "msxml_parser/detail/failure.h"
#include "msxml_parser/detail/inputstream.h"
#include "msxml_parser/detail/reasons.h"
#include "msxml_parser/detail/text.h"

using msxml::BStr;
using msxml::BStrArgument;
using msxml::check;
using msxml::ComPtr;
using msxml::fail;
using msxml::toOleChars;
using msxml::Variant;
using msxml::ViolationListener;

namespace {

constexpr int kMaxDepth = 10'000;
constexpr const char* kInvalidAt = kel::messageKey("Error while validating %1  : Line %2, column %3 : %4");
constexpr const char* kInvalid = kel::messageKey("Error while validating Xml  : Line %1, column %2 : %3");
constexpr const char* kRejectedAt = kel::messageKey("Error while reading %1  : Line %2, column %3 : %4");
constexpr const char* kRejected = kel::messageKey("Error while reading Xml  : Line %1, column %2 : %3");

ViolationListener::Found foundAt(ISAXLocator* locator, const OLECHAR* message, HRESULT code) {
    ViolationListener::Found found;
    found.status = code;
    found.reason = msxml::trimmedReason(message);
    if (locator == nullptr) return found;
    (void)locator->getLineNumber(&found.line);
    (void)locator->getColumnNumber(&found.column);
    return found;
}

// The document's own schemas, and its finding only the first error, come back at the end.
class Attached final {
public:
    Attached(const ComPtr<IXMLDOMDocument2>& document, const ComPtr<IXMLDOMSchemaCollection>& schemas)
        : document_(document) {
        check(document->get_schemas(before_.receive()), document);
        setAll(VARIANT_TRUE);
        const Variant ours(schemas.get());
        check(document->putref_schemas(ours.get()), document);
    }
    ~Attached() {
        setAll(VARIANT_FALSE);
        (void)document_->putref_schemas(before_.get());
    }
    Attached(const Attached&) = delete;
    Attached& operator=(const Attached&) = delete;

private:
    // An engine that does not know the property finds the first error.
    void setAll(VARIANT_BOOL all) {
        const BStr name(u"MultipleErrorMessages");
        VARIANT value;
        VariantInit(&value);
        value.vt = VT_BOOL;
        value.boolVal = all;
        (void)document_->setProperty(name.get(), value);
    }
    const ComPtr<IXMLDOMDocument2>& document_;
    Variant before_;
};

}  // namespace

// The listener.

ViolationListener::ViolationListener() noexcept : mayRepeatIds_(!msxml::kReportsIdDoubts) {}

void ViolationListener::begin(IKelXmlViolationHandler* handler) {
    mayRepeatIds_ = !msxml::kReportsIdDoubts;
    handler_ = handler;
    violation_ = {};
    fatal_ = {};
    thrown_ = nullptr;
}

void ViolationListener::end() {
    handler_ = nullptr;
    if (thrown_) std::rethrow_exception(std::exchange(thrown_, nullptr));
}

bool ViolationListener::add(const Found& found, std::u16string_view path) {
    if (violation_.status == S_OK) {
        violation_ = found;
        if (violation_.status == S_OK) violation_.status = E_FAIL;
    }
    return handler_ != nullptr &&
           handler_->violation({found.line, found.column, path, found.reason.view(), found.status});
}

HRESULT STDMETHODCALLTYPE ViolationListener::QueryInterface(REFIID iid, void** object) {
    if (object == nullptr) return E_POINTER;
    const bool isOurs = IsEqualIID(iid, IID_IUnknown) || IsEqualIID(iid, IID_ISAXErrorHandler);
    *object = isOurs ? this : nullptr;
    return isOurs ? S_OK : E_NOINTERFACE;
}

HRESULT STDMETHODCALLTYPE ViolationListener::error(ISAXLocator* locator, const OLECHAR* message,
                                                   HRESULT code) {
    try {
        const BStr path = msxml::pathOf(locator);
        return add(foundAt(locator, message, code), path.view()) ? S_OK : E_ABORT;
    } catch (...) {
        thrown_ = std::current_exception();
        return E_ABORT;
    }
}

HRESULT STDMETHODCALLTYPE ViolationListener::fatalError(ISAXLocator* locator, const OLECHAR* message,
                                                        HRESULT code) {
    try {
        fatal_ = foundAt(locator, message, code);
    } catch (...) {
        thrown_ = std::current_exception();
    }
    return S_OK;
}

HRESULT STDMETHODCALLTYPE ViolationListener::ignorableWarning(ISAXLocator*, const OLECHAR*, HRESULT code) {
    if (msxml::isIdDoubt(code)) mayRepeatIds_ = true;
    return S_OK;
}

// The schema.

class MSXmlSchema::Busy final {
public:
    explicit Busy(MSXmlSchema& schema) : schema_(schema) {
        if (schema.isBusy_) throw _com_error(E_UNEXPECTED);
        schema.isBusy_ = true;
        schema.error_.clear();
    }
    ~Busy() { schema_.isBusy_ = false; }
    Busy(const Busy&) = delete;
    Busy& operator=(const Busy&) = delete;

private:
    MSXmlSchema& schema_;
};

bool MSXmlSchema::addFile(const KelString& namespaceUri, const KelString& path) try {
    const Busy busy(*this);
    const KelString normalised = kel::normalisePath(path);
    if (!kel::platform::canOpenForReading(normalised.view())) {
        return fail(error_, IKelXmlError::kFileNotReadable,
                    "Error while validating %1 : The file doesn't exist or you don't have read rights to it",
                    normalised);
    }
    ComPtr<IXMLDOMSchemaCollection> schemas = schemas_;
    const HRESULT created = schemas ? S_OK : msxml::createEngineObject(msxml::kSchemaCacheClass, schemas);
    if (FAILED(created)) {
        return fail(error_, IKelXmlError::kNoEngine, "Error %1 instantiating XMLSchemaCache60",
                    KelString(static_cast<int>(created)));
    }
    const BStrArgument targetNamespace(namespaceUri.view());
    const Variant source(normalised.view());
    try {
        check(schemas->add(targetNamespace.get(), source.get()), schemas);
    } catch (const _com_error& error) {
        if (error.Error() == E_OUTOFMEMORY) throw;
        const KelString reason = msxml::descriptionOf(error);
        error_.setDetails(0, 0, reason);
        return fail(error_, IKelXmlError::kRejected, "Error while compiling %1 : %2", normalised,
                    msxml::translatedLocations(reason));
    }
    schemas_ = std::move(schemas);
    reader_ = {};  // holds the collection as it was
    return true;
} catch (const std::exception&) {
    msxml::raiseAsComError();
}

bool MSXmlSchema::begin() {
    return schemas_ ? true
                    : fail(error_, IKelXmlError::kNotCompiled, "There is no schema to validate against");
}

bool MSXmlSchema::reject(const KelString* path, int code, const ViolationListener::Found& found,
                         const char* withPath, const char* without) {
    const KelString line(found.line);
    const KelString column(found.column);
    error_.setDetails(found.line, found.column, found.reason);
    return path != nullptr ? fail(error_, code, withPath, *path, line, column, found.reason)
                           : fail(error_, code, without, line, column, found.reason);
}

// What a validation has come to. `path` is the file's, null: there is none.
bool MSXmlSchema::conclude(const KelString* path, HRESULT status) {
    if (status == E_OUTOFMEMORY) throw _com_error(status);
    const ViolationListener::Found& fatal = listener_.fatal();
    if (fatal.status != S_OK) {
        const int code =
            msxml::isLimitStatus(fatal.status) ? IKelXmlError::kLimitExceeded : IKelXmlError::kNotWellFormed;
        return reject(path, code, fatal, kRejectedAt, kRejected);
    }
    if (listener_.violation().status != S_OK)
        return reject(path, IKelXmlError::kNotValid, listener_.violation(), kInvalidAt, kInvalid);
    if (SUCCEEDED(status)) return true;
    try {  // an engine that reported nothing to the error handler
        check(status, reader_);
    } catch (const _com_error& error) {
        const ViolationListener::Found found{status, 0, 0, msxml::descriptionOf(error)};
        return reject(path, IKelXmlError::kNotWellFormed, found, kRejectedAt, kRejected);
    }
    return true;
}

// False: the engine makes no reader, or one that does not validate.
bool MSXmlSchema::setUpReader() {
    if (reader_) return true;
    const ComPtr<ISAXXMLReader> reader = msxml::makeFullReader(kMaxDepth);
    if (!reader || FAILED(reader->putProperty(toOleChars(u"schemas"), msxml::unknownIn(schemas_.get()))) ||
        FAILED(reader->putFeature(toOleChars(u"schema-validation"), VARIANT_TRUE)) ||
        FAILED(reader->putFeature(toOleChars(u"exhaustive-errors"), VARIANT_TRUE)) ||
        FAILED(reader->putErrorHandler(&listener_))) {
        return fail(error_, IKelXmlError::kNoEngine, "Error while reading Xml : No SAX Object");
    }
    reader_ = reader;
    return true;
}

template <typename Parse>
HRESULT MSXmlSchema::run(IKelXmlViolationHandler* handler, Parse&& parse) {
    listener_.begin(handler);
    const HRESULT status = parse();
    listener_.end();
    return status;
}

bool MSXmlSchema::validateFile(const KelString& path, IKelXmlViolationHandler* handler) try {
    const Busy busy(*this);
    if (!begin() || !setUpReader()) return false;
    const KelString normalised = kel::normalisePath(path);
    if (!kel::platform::canOpenForReading(normalised.view())) {
        return fail(error_, IKelXmlError::kFileNotReadable,
                    "Error while reading %1 : The file doesn't exist or you don't have read rights to it",
                    normalised);
    }
    return conclude(&normalised,
                    run(handler, [&] { return reader_->parseURL(toOleChars(normalised.c_str())); }));
} catch (const std::exception&) {
    msxml::raiseAsComError();
}

bool MSXmlSchema::validateBytes(const void* bytes, std::size_t byteCount,
                                IKelXmlViolationHandler* handler) try {
    const Busy busy(*this);
    if (!begin() || !setUpReader()) return false;
    msxml::InputStream stream(std::string_view(static_cast<const char*>(bytes), byteCount));
    return conclude(nullptr, run(handler, [&] { return reader_->parse(msxml::unknownIn(&stream)); }));
} catch (const std::exception&) {
    msxml::raiseAsComError();
}

bool MSXmlSchema::validateStream(BinInput& in, IKelXmlViolationHandler* handler) try {
    const Busy busy(*this);
    if (!begin() || !setUpReader()) return false;
    msxml::InputStream stream(in);
    const HRESULT status = run(handler, [&] { return reader_->parse(msxml::unknownIn(&stream)); });
    stream.rethrow();
    const bool isValid = conclude(nullptr, status);
    if (!isValid && stream.hasFailed()) error_.setCode(IKelXmlError::kFileNotReadable);
    return isValid;
} catch (const std::exception&) {
    msxml::raiseAsComError();
}

// Every error of the record, in the engine's order.
void MSXmlSchema::collect(const ComPtr<IXMLDOMParseError>& record) {
    const auto take = [&](const auto& error) {
        LONG code = 0;
        LONG line = 0;
        LONG column = 0;
        check(error->get_errorCode(&code), error);
        check(error->get_line(&line), error);
        check(error->get_linepos(&column), error);
        BStr reason;
        check(error->get_reason(reason.receive()), error);
        return ViolationListener::Found{static_cast<HRESULT>(code), static_cast<int>(line),
                                        static_cast<int>(column), msxml::trimmedReason(reason.get())};
    };
    const ComPtr<IXMLDOMParseError2> detailed = record.as<IXMLDOMParseError2>();
    ComPtr<IXMLDOMParseErrorCollection> all;
    if (!detailed || FAILED(detailed->get_allErrors(all.receive())) || !all) {
        (void)listener_.add(take(record), {});
        return;
    }
    LONG count = 0;
    check(all->get_length(&count), all);
    for (LONG i = 0; i < count; ++i) {
        ComPtr<IXMLDOMParseError2> one;
        check(all->get_item(i, one.receive()), all);
        BStr path;
        check(one->get_errorXPath(path.receive()), one);
        if (!listener_.add(take(one), path.view())) return;
    }
}

bool MSXmlSchema::validate(IKelDOMXml* document, IKelXmlViolationHandler* handler) try {
    const Busy busy(*this);
    if (!begin()) return false;
    auto* const ours = kel::queryInterface<MSDOMXml>(document);
    if (ours == nullptr || !ours->engineDocument())
        return fail(error_, IKelXmlError::kInvalidArgument, "Invalid Document Type");
    const ComPtr<IXMLDOMDocument2> engine = ours->engineDocument();
    listener_.begin(handler);
    try {
        const Attached attached(engine, schemas_);
        ComPtr<IXMLDOMParseError> record;
        check(engine->validate(record.receive()), engine);
        if (msxml::holdsError(record)) collect(record);
    } catch (const _com_error& error) {
        listener_.begin(nullptr);
        if (error.Error() == E_OUTOFMEMORY) throw;
        const ViolationListener::Found found{error.Error(), 0, 0, msxml::descriptionOf(error)};
        return reject(nullptr, IKelXmlError::kNotWellFormed, found, kInvalidAt, kInvalid);
    }
    listener_.end();
    return conclude(nullptr, S_OK);
} catch (const std::exception&) {
    msxml::raiseAsComError();
}
