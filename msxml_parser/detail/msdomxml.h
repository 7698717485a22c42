// The DOM parser over one engine document. Its operations are documented with their interfaces.
// Threads: one at a time, the thread whose COM was initialised when it was made.
#pragma once

#include "framework/object/implements.h"
#include "msxml_parser/detail/comptr.h"
#include "msxml_parser/detail/msdomxmlerror.h"
#include "msxml_parser/detail/nodes.h"
#include "msxml_parser/detail/xmlfactory.h"
#include "msxml_parser/ikeldomxml.h"

class MSDOMXml : public kel::Implements<MSDOMXml, IKelDOMXml, IKelDOMXmlV2>, public msxml::XmlFactory {
public:
    using Later = kel::InterfaceList<IKelXmlFactory>;
    static constexpr const char* kClassName = "MSDOMXml";
    static constexpr const char* interfaceName() noexcept { return kClassName; }

    // Without a document, and the reason in the error object, if the engine makes none. Raises _com_error if
    // it makes one but refuses to set it up.
    MSDOMXml();

    // Empty only if the engine made none.
    [[nodiscard]] const msxml::ComPtr<IXMLDOMDocument2>& engineDocument() const noexcept { return document_; }

    bool loadFromStream(BinInput& in) override;
    bool loadFromString(const KelString& text) override;
    bool loadFromFile(const KelString& path) override;
    bool saveToStream(BinOutput& out) override;
    bool saveToString(KelString& out) override;
    bool saveToFile(const KelString& path) override;
    IKelDOMXmlElement* getRootElement() override;
    IKelDOMXmlElement* createElement(const KelString& name) override;
    IKelDOMXmlElementItr* getRootElementItr() override;
    void setRootElement(IKelDOMXmlElement* element) override;
    IKelDOMXmlError* getError() override { return &error_; }

    bool transformToDocument(IKelDOMXml* styleSheet, IKelDOMXml* result) override;
    bool transformToString(IKelDOMXml* styleSheet, KelString& result) override;
    void setValidateOnParse(bool on) override;
    bool getValidateOnParse() override;
    bool validate(const KelString& namespaceUri, const KelString& schemaPath) override;
    bool addProcessingInstruction(const KelString& target, const KelString& data) override;

private:
    using ParseError = msxml::ComPtr<IXMLDOMParseError>;

    [[nodiscard]] msxml::Element documentElement() const;
    [[nodiscard]] ParseError lastParseError() const;
    bool finishTransform();

    msxml::ComPtr<IXMLDOMDocument2> document_;  // empty only if the engine made none
    MSDOMXmlError error_;
};
