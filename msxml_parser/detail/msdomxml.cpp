#include "msxml_parser/detail/msdomxml.h"

#include "msxml_parser/detail/bstr.h"
#include "msxml_parser/detail/engineclasses.h"
#include "msxml_parser/detail/failure.h"
#include "msxml_parser/detail/msdomxmlelement.h"
#include "msxml_parser/detail/msdomxmlelementitr.h"

using msxml::BStr;
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
    // Kept: 1, which is not VARIANT_TRUE, and whatever the engine says to it. Layout white space is dropped.
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
    const BStr tagName(name.view());
    msxml::Element element;
    check(document_->createElement(tagName.get(), element.receive()), document_);
    return MSDOMXmlElement::create(std::move(element));
}

IKelDOMXmlElementV2* MSDOMXml::createElementInNamespace(const KelString& uri, const KelString& name) {
    const BStr tagName(name.view());
    const BStr namespaceUri(uri.view());
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

// Kept: an append, no replacement. A document that has a root element makes the engine refuse.
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

bool MSDOMXml::addProcessingInstruction(const KelString& target, const KelString& data) {
    const BStr targetText(target.view());
    const BStr dataText(data.view());
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
