// The DOM parser as its first two versions have it: the tree, loading, the component's own writer,
// transformation and validation. Each operation translates to one or two calls of the engine's document; what
// the engine reports becomes a code with a message. The third version's operations are in msdomxmlv3*.cpp.
#include "msxml_parser/detail/dom/msdomxml.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <memory>
#include <utility>

#include "KelBasicTypes/binio.h"
#include "KelBasicTypes/binnumbers.h"
#include "KelBasicTypes/pathnormalise.h"
#include "KelBasicTypes/platform/file.h"
#include "framework/object/iptr.h"
#include "msxml_parser/detail/customizer.h"
#include "msxml_parser/detail/dom/msdomxmlelement.h"
#include "msxml_parser/detail/dom/msdomxmlelementitr.h"
#include "msxml_parser/detail/engineclasses.h"
#include "msxml_parser/detail/failure.h"
#include "msxml_parser/detail/reasons.h"
#include "msxml_parser/detail/text.h"

using msxml::BStr;
using msxml::BStrArgument;
using msxml::check;
using msxml::fail;

MSDOMXml::MSDOMXml() {
    const HRESULT status = msxml::createEngineObject(msxml::kDocumentClass, document_);
    if (FAILED(status)) {
        fail(error_, kNoDocument, "Error %1 instantiating DOMDocument60",
             KelString(static_cast<int>(status)));
        return;
    }
    check(document_->put_async(VARIANT_FALSE), document_);
    check(document_->put_resolveExternals(VARIANT_TRUE), document_);
    // Intentional: 1, which is not VARIANT_TRUE, and whatever the engine says to it. Layout white space is
    // dropped.
    (void)document_->put_preserveWhiteSpace(1);
}

// The tree.

msxml::Element MSDOMXml::documentElement() const {
    msxml::Element element;
    check(document_->get_documentElement(element.receive()), document_);
    return element;
}

IKelDOMXmlElement* MSDOMXml::getRootElement() {
    return MSDOMXmlElement::create(documentElement());
}

IKelDOMXmlElement* MSDOMXml::createElement(const KelString& name) {
    const BStrArgument tagName(name.view());
    msxml::Element element;
    check(document_->createElement(tagName.get(), element.receive()), document_);
    return MSDOMXmlElement::create(std::move(element));
}

IKelDOMXmlElementV2* MSDOMXml::createElementInNamespace(const KelString& uri, const KelString& name) {
    const BStrArgument tagName(name.view());
    const BStrArgument namespaceUri(uri.view());
    VARIANT type;
    VariantInit(&type);
    type.vt = VT_I4;
    type.lVal = NODE_ELEMENT;
    msxml::Node node;
    check(document_->createNode(type, tagName.get(), namespaceUri.get(), node.receive()), document_);
    return MSDOMXmlElement::create(node.as<IXMLDOMElement>());
}

IKelDOMXmlElementItr* MSDOMXml::getRootElementItr() {
    return MSDOMXmlElementItr::create(documentElement());
}

// Intentional: an append, no replacement. A document that has a root element is an error of the engine.
void MSDOMXml::setRootElement(IKelDOMXmlElement* element) {
    error_.clear();
    const auto* const ours = kel::queryInterface<MSDOMXmlElement>(element);
    if (ours == nullptr) {
        fail(error_, kInvalidElement, "Invalid Element Type");
        return;
    }
    msxml::Node added;
    check(document_->appendChild(ours->engineElement().get(), added.receive()), document_);
}

void MSDOMXml::replaceRootElement(IKelDOMXmlElement* element) {
    const auto* const ours = kel::queryInterface<MSDOMXmlElement>(element);
    msxml::ComPtr<IXMLDOMElement> root;
    check(document_->get_documentElement(root.receive()), document_);
    if (ours == nullptr || !root) return setRootElement(element);
    error_.clear();
    msxml::Node replaced;
    check(document_->replaceChild(ours->engineElement().get(), root.get(), replaced.receive()), document_);
}

bool MSDOMXml::addProcessingInstruction(const KelString& target, const KelString& data) {
    const BStrArgument targetText(target.view());
    const BStrArgument dataText(data.view());
    msxml::ComPtr<IXMLDOMProcessingInstruction> instruction;
    check(document_->createProcessingInstruction(targetText.get(), dataText.get(), instruction.receive()),
          document_);
    msxml::Node added;
    check(document_->appendChild(instruction.get(), added.receive()), document_);
    return static_cast<bool>(instruction);
}

// Validation while parsing.

void MSDOMXml::setValidateOnParse(bool on) {
    if (document_) check(document_->put_validateOnParse(on ? VARIANT_TRUE : VARIANT_FALSE), document_);
}

bool MSDOMXml::getValidateOnParse() {
    if (!document_) return false;
    VARIANT_BOOL on = VARIANT_FALSE;
    check(document_->get_validateOnParse(&on), document_);
    return on == VARIANT_TRUE;
}

MSDOMXml::ParseError MSDOMXml::lastParseError() const {
    ParseError record;
    check(document_->get_parseError(record.receive()), document_);
    return record;
}

// Loading.

// Intentional: the bytes are widened one by one, not decoded, and a zero byte ends the text. See
// behaviour.md, "Loading from a stream".
bool MSDOMXml::loadFromStream(BinInput& in) try {
    (void)in.seek(0, true);  // a stream that cannot be positioned comes up short
    (void)in.seek(0, false);
    const std::int64_t byteCount = in.tell();
    (void)in.seek(0, true);
    if (byteCount < 0) return false;
    const auto length = static_cast<std::size_t>(byteCount);
    KelString text;
    {
        // the length is what the stream claims: only the allocator can judge it
        const std::unique_ptr<char[]> bytes(new (std::nothrow) char[length + 1]);
        if (bytes == nullptr) throw std::bad_alloc();
        if (!kel::readRecords(in, bytes.get(), 1, length)) return false;
        bytes[length] = '\0';
        text.assignNarrow(bytes.get());
    }
    return loadFromString(text);
} catch (const std::exception&) {
    msxml::raiseAsComError();
}

bool MSDOMXml::loadFromString(const KelString& text) {
    error_.clear();
    if (!document_) return fail(error_, kNoDocument, "Error while reading Xml : No DOM Object");
    {
        const msxml::BStrArgument xml(text.view());
        VARIANT_BOOL loaded = VARIANT_FALSE;
        check(document_->loadXML(xml.get(), &loaded), document_);
        if (loaded == VARIANT_TRUE) return true;
    }
    const msxml::RejectionTexts rejection = msxml::readRejection(lastParseError());
    error_.setDetails(rejection.position, rejection.reason);
    return fail(error_, kRejectedByEngine, "Error while reading Xml  : Line %1, column %2 : %3",
                rejection.line, rejection.column, rejection.reason);
}

bool MSDOMXml::loadFromFile(const KelString& path) try {
    error_.clear();
    const KelString normalised = kel::normalisePath(path);
    if (!document_) {
        return fail(error_, kNoDocument, "Error while reading %1 : No DOM Object", normalised);
    }
    if (!kel::platform::canOpenForReading(normalised.view())) {
        return fail(error_, kFileNotReadable,
                    "Error while reading %1 : The file doesn't exist or you don't have read rights to it",
                    normalised);
    }
    const msxml::Variant source(normalised.view());
    VARIANT_BOOL loaded = VARIANT_FALSE;
    check(document_->load(source.get(), &loaded), document_);
    if (loaded == VARIANT_TRUE) return true;
    const msxml::RejectionTexts rejection = msxml::readRejection(lastParseError());
    error_.setDetails(rejection.position, rejection.reason);
    return fail(error_, kRejectedByEngine, "Error while reading %1  : Line %2, column %3 : %4", normalised,
                rejection.line, rejection.column, rejection.reason);
} catch (const std::exception&) {
    msxml::raiseAsComError();
}

// Writing.

namespace {

constexpr const char16_t* kIndentUnit = u"\t";
constexpr std::size_t kFileBufferInBytes = std::size_t{1} << 16;

// Made by getRootElement for one call and not shared: deleted outright, not released by count.
using RootElement = std::unique_ptr<IKelDOMXmlElement>;

void writeRoot(const RootElement& root, std::FILE* file, KelString& out) {
    if (root == nullptr) throw _com_error(E_OUTOFMEMORY);
    (void)root->write(file, out, KelString(u""), KelString(kIndentUnit), false);  // always returns true
}

}  // namespace

bool MSDOMXml::saveToStream(BinOutput&) {
    return false;
}

bool MSDOMXml::saveToString(KelString& out) {
    error_.clear();
    if (!document_) return fail(error_, kNoDocument, "Error while writing XML : No DOM Object");
    const RootElement root(getRootElement());
    writeRoot(root, nullptr, out);
    return true;
}

bool MSDOMXml::saveToFile(const KelString& path) try {
    error_.clear();
    const KelString normalised = kel::normalisePath(path);
    if (!document_) {
        return fail(error_, kNoDocument, "Error while writing %1 : No DOM Object", normalised);
    }
    kel::platform::FileHandle file = kel::platform::openFile(normalised.view(), "w");
    if (file == nullptr) {
        // Intentional: the code stays 0. See behaviour.md, "Saving to a file that cannot be written".
        msxml::setMessage(
            error_,
            "Error while writing to XML file %1  : The file doesn't exist or you don't have write "
            "rights to it",
            normalised);
        return false;
    }
    // The writer flushes every few lines; the system is called when there is something worth its while.
    (void)std::setvbuf(file.get(), nullptr, _IOFBF, kFileBufferInBytes);
    RootElement root;
    try {
        root.reset(getRootElement());
        KelString scratch;
        writeRoot(root, file.get(), scratch);
    } catch (...) {
        // Intentional: the file stays open and the element alive. See behaviour.md, "Saving without a root
        // element".
        (void)file.release();
        msxml::keepUntilProcessEnd(root.release());
        throw;
    }
    return true;
} catch (const std::exception&) {
    msxml::raiseAsComError();
}

// Transformation and validation.

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
                    msxml::translatedLocations(msxml::descriptionOf(exception)));
    }
}

}  // namespace

// Intentional: the source's record of its last load decides, after the output has been produced. See
// behaviour.md, "Transforming a source that failed to load".
bool MSDOMXml::finishTransform() {
    const ParseError record = lastParseError();
    if (!msxml::holdsError(record)) return true;
    const msxml::RejectionTexts rejection = msxml::readRejection(record);
    return fail(error_, kRejectedByEngine, "Error while transforming  : Line %1, column %2 : %3",
                rejection.line, rejection.column, rejection.reason);
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
    const BStrArgument targetNamespace(namespaceUri.view());
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
    return fail(error_, kRejectedByEngine, "Error while validating  : %1", msxml::readReason(record));
} catch (const std::exception&) {
    msxml::raiseAsComError();
}
