// The DOM parser: loading with options.
#include <exception>

#include "KelBasicTypes/pathnormalise.h"
#include "KelBasicTypes/platform/file.h"
#include "msxml_parser/detail/dom/msdomxml.h"
#include "msxml_parser/detail/failure.h"
#include "msxml_parser/detail/inputstream.h"
#include "msxml_parser/detail/text.h"

using msxml::check;
using msxml::fail;

namespace {

using Document = msxml::ComPtr<IXMLDOMDocument2>;

HRESULT prohibitDoctype(const Document& document, bool on) {
    const msxml::BStr name(u"ProhibitDTD");
    VARIANT value;
    VariantInit(&value);
    value.vt = VT_BOOL;
    value.boolVal = on ? VARIANT_TRUE : VARIANT_FALSE;
    return document->setProperty(name.get(), value);
}

// The options of one load, in force while it lives.
class Options final {
public:
    Options(const Document& document, unsigned options) : document_(document), options_(options) {
        check(document->get_validateOnParse(&validates_), document);
    }
    Options(const Options&) = delete;
    Options& operator=(const Options&) = delete;
    ~Options() {  // nothing could be done about a rejection
        (void)document_->put_validateOnParse(validates_);
        if (has(IKelDOMXmlV3::kKeepWhiteSpace)) (void)document_->put_preserveWhiteSpace(1);
        if (!has(IKelDOMXmlV3::kAllowDoctype)) return;
        (void)document_->put_resolveExternals(VARIANT_TRUE);
        try {
            (void)prohibitDoctype(document_, true);
        } catch (const _com_error&) {
        }
    }

    // Apart from the constructor, so that a rejection half-way is undone.
    void apply() const {
        const bool validates = has(IKelDOMXmlV3::kValidate);
        check(document_->put_validateOnParse(validates ? VARIANT_TRUE : VARIANT_FALSE), document_);
        if (has(IKelDOMXmlV3::kKeepWhiteSpace))
            check(document_->put_preserveWhiteSpace(VARIANT_TRUE), document_);
        if (!has(IKelDOMXmlV3::kAllowDoctype)) return;
        check(prohibitDoctype(document_, false), document_);
        check(document_->put_resolveExternals(VARIANT_FALSE), document_);  // nothing external is fetched
    }

private:
    [[nodiscard]] bool has(unsigned option) const noexcept { return (options_ & option) != 0; }

    const Document& document_;
    unsigned options_;
    VARIANT_BOOL validates_ = VARIANT_FALSE;
};

}  // namespace

bool MSDOMXml::loadFrom(const VARIANT& source, unsigned options, const KelString* path) {
    {
        const Options inForce(document_, options);
        inForce.apply();
        VARIANT_BOOL loaded = VARIANT_FALSE;
        check(document_->load(source, &loaded), document_);
        if (loaded == VARIANT_TRUE) return true;
    }
    const msxml::RejectionTexts rejection = msxml::readRejection(lastParseError());
    if (path == nullptr) {
        fail(error_, kRejectedByEngine, "Error while reading Xml  : Line %1, column %2 : %3", rejection.line,
             rejection.column, rejection.reason);
    } else {
        fail(error_, kRejectedByEngine, "Error while reading %1  : Line %2, column %3 : %4", *path,
             rejection.line, rejection.column, rejection.reason);
    }
    error_.setDetails(rejection.position, rejection.reason);
    return false;
}

bool MSDOMXml::loadStreamOf(msxml::InputStream& in, unsigned options) {
    error_.clear();
    if (!document_) return fail(error_, kNoDocument, "Error while reading Xml : No DOM Object");
    VARIANT source;
    VariantInit(&source);
    source.vt = VT_UNKNOWN;
    source.punkVal = static_cast<IStream*>(&in);  // borrowed, never cleared
    const bool loaded = loadFrom(source, options, nullptr);
    in.rethrow();
    if (!loaded && in.hasFailed()) error_.setCode(kFileNotReadable);  // the message says what came of it
    return loaded;
}

bool MSDOMXml::loadBytes(const void* bytes, std::size_t byteCount, unsigned options) {
    return msxml::atBorder([&] {
        const auto* const first = static_cast<const char*>(bytes);
        msxml::InputStream in(bytes == nullptr ? std::string_view() : std::string_view(first, byteCount));
        return loadStreamOf(in, options);
    });
}

bool MSDOMXml::loadStream(BinInput& source, unsigned options) {
    return msxml::atBorder([&] {
        msxml::InputStream in(source);
        return loadStreamOf(in, options);
    });
}

bool MSDOMXml::loadFile(const KelString& path, unsigned options) {
    return msxml::atBorder([&] {
        error_.clear();
        const KelString normalised = kel::normalisePath(path);
        if (!document_)
            return fail(error_, kNoDocument, "Error while reading %1 : No DOM Object", normalised);
        if (!kel::platform::canOpenForReading(normalised.view())) {
            return fail(error_, kFileNotReadable,
                        "Error while reading %1 : The file doesn't exist or you don't have read rights to it",
                        normalised);
        }
        const msxml::Variant source(normalised.view());
        return loadFrom(source.get(), options, &normalised);
    });
}
