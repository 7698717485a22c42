// The DOM parser: transformation and validation.
#include <exception>
#include <utility>

#include "KelBasicTypes/pathnormalise.h"
#include "KelBasicTypes/platform/file.h"
#include "framework/object/iptr.h"
#include "msxml_parser/detail/bstr.h"
#include "msxml_parser/detail/engineclasses.h"
#include "msxml_parser/detail/failure.h"
#include "msxml_parser/detail/msdomxml.h"
#include "msxml_parser/detail/msdomxmlelement.h"
#include "msxml_parser/detail/parseerror.h"
#include "msxml_parser/detail/text.h"

using msxml::BStr;
using msxml::check;
using msxml::fail;
using msxml::Variant;

namespace {

// The style sheet is the root element of its parser's document, never the document; empty if there is none.
msxml::Node styleSheetNode(MSDOMXml& styleSheet) {
    const IPtr<IKelDOMXmlElement> root(styleSheet.getRootElement());
    const auto* const ours = kel::queryInterface<MSDOMXmlElement>(root.get());
    return ours != nullptr ? msxml::Node(ours->engineElement()) : msxml::Node();
}

// Every failure of a transformation stays in the error object, memory that ran out included.
template <typename Error, typename Work>
bool reporting(Error& error, Work&& work) {
    try {
        return msxml::atBorder(std::forward<Work>(work));
    } catch (const _com_error& exception) {
        return fail(error, IKelDOMXml::kTransformFailed, "Exception during transform: %1",
                    msxml::descriptionOf(exception));
    }
}

}  // namespace

// Kept: the source's record of its last load decides, after the output has been produced. See behaviour.md,
// "Transforming a source that failed to load".
bool MSDOMXml::finishTransform() {
    const ParseError record = lastParseError();
    if (!msxml::holdsError(record)) return true;
    const msxml::RefusalTexts refusal = msxml::readRefusal(record);
    return fail(error_, kRefusedByEngine, "Error while transforming  : Line %1, column %2 : %3", refusal.line,
                refusal.column, refusal.reason);
}

bool MSDOMXml::transformToDocument(IKelDOMXml* styleSheet, IKelDOMXml* result) {
    error_.clear();
    if (!document_) return fail(error_, kNoDocument, "Error while transforming : No DOM Object");
    auto* const sheet = kel::queryInterface<MSDOMXml>(styleSheet);
    if (sheet == nullptr) {
        return fail(error_, kTransformFailed, "Error while transforming : Invalid StyleSheet");
    }
    const auto* const target = kel::queryInterface<MSDOMXml>(result);
    if (target == nullptr) return fail(error_, kTransformFailed, "Error while transforming : Invalid Result");
    const Variant output(target->document_.get());
    return reporting(error_, [&] {
        const msxml::Node style = styleSheetNode(*sheet);
        check(document_->transformNodeToObject(style.get(), output.get()), document_);
        return finishTransform();
    });
}

bool MSDOMXml::transformToString(IKelDOMXml* styleSheet, KelString& result) {
    error_.clear();
    if (!document_) return fail(error_, kNoDocument, "Error while transforming : No DOM Object");
    auto* const sheet = kel::queryInterface<MSDOMXml>(styleSheet);
    if (sheet == nullptr) {
        return fail(error_, kTransformFailed, "Error while transforming : Invalid StyleSheet");
    }
    return reporting(error_, [&] {
        const msxml::Node style = styleSheetNode(*sheet);
        BStr text;
        check(document_->transformNode(style.get(), text.receive()), document_);
        result.assign(text.view());
        return finishTransform();
    });
}

bool MSDOMXml::validate(const KelString& namespaceUri, const KelString& schemaPath) try {
    error_.clear();
    const KelString normalised = kel::normalisePath(schemaPath);
    if (!document_) {
        return fail(error_, kNoDocument, "Error while validating %1 : No DOM Object", normalised);
    }
    if (!kel::platform::canOpenForReading(normalised.view())) {
        return fail(error_, kValidationNotSetUp,
                    "Error while validating %1 : The file doesn't exist or you don't have read rights to it",
                    normalised);
    }
    msxml::ComPtr<IXMLDOMSchemaCollection> schemas;
    HRESULT status = msxml::createEngineObject(msxml::kSchemaCacheClass, schemas);
    if (FAILED(status)) {
        return fail(error_, kValidationNotSetUp, "Error %1 instantiating XMLSchemaCache60",
                    KelString(static_cast<int>(status)));
    }
    const BStr targetNamespace(namespaceUri.view());
    const Variant schemaSource(normalised.view());
    status = schemas->add(targetNamespace.get(), schemaSource.get());
    check(status, schemas);
    if (FAILED(status)) {  // for an engine layer whose check reports instead of raising
        return fail(error_, kValidationNotSetUp, "Error %1 adding schema to DOM",
                    KelString(static_cast<int>(status)));
    }
    const Variant schemaObject(schemas.get());
    check(document_->putref_schemas(schemaObject.get()), document_);
    ParseError record;
    check(document_->validate(record.receive()), document_);
    if (!msxml::holdsError(record)) return true;
    return fail(error_, kRefusedByEngine, "Error while validating  : %1", msxml::readReason(record));
} catch (const std::exception&) {
    msxml::raiseAsComError();
}
