// Style sheets: a template of the engine, made by a compilation, and a processor for each transformation.
#include "msxml_parser/detail/msxslstylesheet.h"

#include <utility>

#include "KelBasicTypes/pathnormalise.h"
#include "KelBasicTypes/platform/file.h"
#include "msxml_parser/detail/dom/msdomxml.h"
#include "msxml_parser/detail/engineclasses.h"
#include "msxml_parser/detail/failure.h"
#include "msxml_parser/detail/outputstream.h"
#include "msxml_parser/detail/reasons.h"
#include "msxml_parser/detail/text.h"

using msxml::BStr;
using msxml::BStrArgument;
using msxml::check;
using msxml::ComPtr;
using msxml::fail;
using msxml::Variant;

namespace {

// Borrows the text.
VARIANT variantOf(const std::variant<KelString, double, bool>& value, const BStr& text) noexcept {
    VARIANT result;
    VariantInit(&result);
    if (const auto* const number = std::get_if<double>(&value)) {
        result.vt = VT_R8;
        result.dblVal = *number;
    } else if (const auto* const truth = std::get_if<bool>(&value)) {
        result.vt = VT_BOOL;
        result.boolVal = *truth ? VARIANT_TRUE : VARIANT_FALSE;
    } else {
        result.vt = VT_BSTR;
        result.bstrVal = text.get();
    }
    return result;
}

BStr textOf(const std::variant<KelString, double, bool>& value) {
    const auto* const text = std::get_if<KelString>(&value);
    return text != nullptr ? BStr(text->view()) : BStr();
}

bool isParameterName(std::u16string_view name) noexcept {
    return !name.empty() && name.find_first_of(u": \t\r\n<>&\"'{}/") == std::u16string_view::npos;
}

}  // namespace

// One operation at a time; each begins with a clear error.
class MSXslStyleSheet::Busy final {
public:
    explicit Busy(MSXslStyleSheet& sheet) : sheet_(sheet) {
        if (sheet.isBusy_) throw _com_error(E_UNEXPECTED);
        sheet.isBusy_ = true;
        sheet.error_.clear();
    }
    ~Busy() { sheet_.isBusy_ = false; }
    Busy(const Busy&) = delete;
    Busy& operator=(const Busy&) = delete;

private:
    MSXslStyleSheet& sheet_;
};

// Compiling.

bool MSXslStyleSheet::rejectSource(const KelString* path, const ComPtr<IXMLDOMDocument2>& document) {
    ComPtr<IXMLDOMParseError> record;
    check(document->get_parseError(record.receive()), document);
    LONG line = 0;
    LONG column = 0;
    check(record->get_line(&line), record);
    check(record->get_linepos(&column), record);
    const msxml::RejectionTexts texts = msxml::readRejection(record);
    error_.setDetails(static_cast<int>(line), static_cast<int>(column), texts.reason);
    return path != nullptr ? fail(error_, IKelXmlError::kNotWellFormed,
                                  "Error while reading %1  : Line %2, column %3 : %4", *path, texts.line,
                                  texts.column, texts.reason)
                           : fail(error_, IKelXmlError::kNotWellFormed,
                                  "Error while reading Xml  : Line %1, column %2 : %3", texts.line,
                                  texts.column, texts.reason);
}

bool MSXslStyleSheet::reject(const KelString* path, const _com_error& error) {
    if (error.Error() == E_OUTOFMEMORY) throw _com_error(error);
    const KelString reason = msxml::descriptionOf(error);
    error_.setDetails(0, 0, reason);
    const KelString causes = msxml::translatedLocations(reason);
    return path != nullptr
               ? fail(error_, IKelXmlError::kRejected, "Error while compiling %1 : %2", *path, causes)
               : fail(error_, IKelXmlError::kRejected, "Error while compiling Xml : %1", causes);
}

// Templates want documents that may be used on any thread, so the style sheet has one of its own.
template <typename Load>
bool MSXslStyleSheet::compile(const KelString* path, Load&& load) {
    ComPtr<IXMLDOMDocument2> document;
    ComPtr<IXSLTemplate> made;
    if (FAILED(msxml::createEngineObject(msxml::kFreeDocumentClass, document)) ||
        FAILED(msxml::createEngineObject(msxml::kTemplateClass, made))) {
        return fail(error_, IKelXmlError::kNoEngine, "Error while transforming : No DOM Object");
    }
    check(document->put_async(VARIANT_FALSE), document);
    check(document->put_validateOnParse(VARIANT_FALSE), document);
    check(document->put_resolveExternals(VARIANT_TRUE), document);
    check(document->put_preserveWhiteSpace(VARIANT_TRUE), document);
    VARIANT_BOOL isLoaded = VARIANT_FALSE;
    check(load(*document.operator->(), isLoaded), document);
    if (isLoaded != VARIANT_TRUE) return rejectSource(path, document);
    reports_.attachTo(made.get());
    const HRESULT status = made->putref_stylesheet(document.get());
    reports_.rethrow();
    try {
        check(status, made);
    } catch (const _com_error& error) {
        return reject(path, error);
    }
    template_ = std::move(made);
    return true;
}

bool MSXslStyleSheet::compileFile(const KelString& path) try {
    const Busy busy(*this);
    const KelString normalised = kel::normalisePath(path);
    if (!kel::platform::canOpenForReading(normalised.view())) {
        return fail(error_, IKelXmlError::kFileNotReadable,
                    "Error while reading %1 : The file doesn't exist or you don't have read rights to it",
                    normalised);
    }
    const Variant source(normalised.view());
    return compile(&normalised, [&](IXMLDOMDocument2& document, VARIANT_BOOL& isLoaded) {
        return document.load(source.get(), &isLoaded);
    });
} catch (const std::exception&) {
    msxml::raiseAsComError();
}

bool MSXslStyleSheet::compileString(const KelString& text) try {
    const Busy busy(*this);
    const BStrArgument xml(text.view());
    return compile(nullptr, [&](IXMLDOMDocument2& document, VARIANT_BOOL& isLoaded) {
        return document.loadXML(xml.get(), &isLoaded);
    });
} catch (const std::exception&) {
    msxml::raiseAsComError();
}

// Parameters.

bool MSXslStyleSheet::setParameter(const KelString& name, const KelString& namespaceUri, Value value) {
    error_.clear();
    if (!isParameterName(name.view()))
        return fail(error_, IKelXmlError::kInvalidArgument, "Invalid Parameter Name");
    for (Parameter& known : parameters_) {
        if (known.name == name && known.namespaceUri == namespaceUri) {
            known.value = std::move(value);
            return true;
        }
    }
    parameters_.push_back({name, namespaceUri, std::move(value)});
    return true;
}

bool MSXslStyleSheet::setTextParameter(const KelString& name, const KelString& namespaceUri,
                                       const KelString& value) {
    return msxml::atBorder([&] { return setParameter(name, namespaceUri, value); });
}

bool MSXslStyleSheet::setNumberParameter(const KelString& name, const KelString& namespaceUri, double value) {
    return msxml::atBorder([&] { return setParameter(name, namespaceUri, value); });
}

bool MSXslStyleSheet::setTruthParameter(const KelString& name, const KelString& namespaceUri, bool value) {
    return msxml::atBorder([&] { return setParameter(name, namespaceUri, value); });
}

// Transforming.

template <typename Before, typename After>
bool MSXslStyleSheet::transform(IKelDOMXml* source, Before&& before, After&& after) {
    if (!template_)
        return fail(error_, IKelXmlError::kNotCompiled, "Error while transforming : Invalid StyleSheet");
    auto* const ours = kel::queryInterface<MSDOMXml>(source);
    if (ours == nullptr || !ours->engineDocument())
        return fail(error_, IKelXmlError::kInvalidArgument, "Invalid Document Type");
    try {
        ComPtr<IXSLProcessor> processor;
        check(template_->createProcessor(processor.receive()), template_);
        const Variant input(ours->engineDocument().get());
        check(processor->put_input(input.get()), processor);
        for (const Parameter& one : parameters_) {
            const BStrArgument name(one.name.view());
            const BStrArgument uri(one.namespaceUri.view());
            const BStr text = textOf(one.value);
            check(processor->addParameter(name.get(), variantOf(one.value, text), uri.get()), processor);
        }
        before(processor);
        reports_.attachTo(processor.get());
        VARIANT_BOOL isDone = VARIANT_FALSE;
        const HRESULT status = processor->transform(&isDone);
        reports_.rethrow();
        check(status, processor);
        after(processor);
        return true;
    } catch (const _com_error& error) {
        if (error.Error() == E_OUTOFMEMORY) throw;
        const KelString reason = msxml::descriptionOf(error);
        error_.setDetails(0, 0, reason);
        return fail(error_, IKelXmlError::kTransformFailed, "Exception during transform: %1",
                    msxml::translatedLocations(reason));
    }
}

bool MSXslStyleSheet::transformToString(IKelDOMXml* source, KelString& result) try {
    const Busy busy(*this);
    return transform(
        source, [](const ComPtr<IXSLProcessor>&) {},
        [&](const ComPtr<IXSLProcessor>& processor) {
            Variant text;
            check(processor->get_output(text.receive()), processor);
            result.assign(text.text());
        });
} catch (const std::exception&) {
    msxml::raiseAsComError();
}

bool MSXslStyleSheet::transformToDocument(IKelDOMXml* source, IKelDOMXml* result) try {
    const Busy busy(*this);
    auto* const target = kel::queryInterface<MSDOMXml>(result);
    if (target == nullptr || !target->engineDocument()) {
        return fail(error_, IKelXmlError::kInvalidArgument, "Error while transforming : Invalid Result");
    }
    return transform(
        source,
        [&](const ComPtr<IXSLProcessor>& processor) {
            const Variant output(target->engineDocument().get());
            check(processor->put_output(output.get()), processor);
        },
        [](const ComPtr<IXSLProcessor>&) {});
} catch (const std::exception&) {
    msxml::raiseAsComError();
}

bool MSXslStyleSheet::transformToStream(IKelDOMXml* source, BinOutput& out) try {
    const Busy busy(*this);
    msxml::OutputStream stream(out);
    const bool isDone = transform(
        source,
        [&](const ComPtr<IXSLProcessor>& processor) {
            check(processor->put_output(msxml::unknownIn(&stream)), processor);
        },
        [](const ComPtr<IXSLProcessor>&) {});
    stream.rethrow();
    if (isDone && !out.flush() && !out.good()) {
        return fail(error_, IKelXmlError::kFileNotReadable, "Error while writing the result");
    }
    return isDone || !stream.hasFailed()
               ? isDone
               : fail(error_, IKelXmlError::kFileNotReadable, "Error while writing the result");
} catch (const std::exception&) {
    msxml::raiseAsComError();
}
