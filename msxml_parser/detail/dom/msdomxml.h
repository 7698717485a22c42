// The DOM parser over one engine document. Its operations are documented with their interfaces.
// Threads: one at a time, the thread whose COM was initialised when it was made.
#pragma once

#include <map>
#include <string>

#include "framework/object/implements.h"
#include "msxml_parser/detail/comptr.h"
#include "msxml_parser/detail/dom/msdomxmlerror.h"
#include "msxml_parser/detail/nodes.h"
#include "msxml_parser/detail/xmlfactory.h"
#include "msxml_parser/ikeldomxml.h"
#include "msxml_parser/ikeldomxmlv3.h"

namespace msxml {
class InputStream;
class OutputStream;
struct WriteSettings;
}  // namespace msxml

class MSDOMXml : public kel::Implements<MSDOMXml, IKelDOMXml, IKelDOMXmlV2>,
                 public virtual IKelDOMXmlV3,
                 public msxml::XmlFactory {
public:
    using Later = kel::InterfaceList<IKelDOMXmlV3, IKelXmlFactory>;

    static constexpr const char* kClassName = "MSDOMXml";
    static constexpr const char* interfaceName() noexcept { return kClassName; }

    // Without a document, and the reason in the error object, if the engine makes none. Raises _com_error if
    // it makes one but fails to set it up.
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

    bool loadBytes(const void* bytes, std::size_t byteCount, unsigned options) override;
    bool loadStream(BinInput& in, unsigned options) override;
    bool loadFile(const KelString& path, unsigned options) override;
    bool writeFile(const KelString& path, unsigned options, const KelString& encoding) override;
    bool writeStream(BinOutput& out, unsigned options, const KelString& encoding) override;
    bool writeString(KelString& out, unsigned options) override;
    IKelDOMXmlElementV2* createElementInNamespace(const KelString& uri, const KelString& name) override;
    bool setPrefix(const KelString& prefix, const KelString& uri) override;
    IKelDOMXmlElementItrV2* select(const KelString& expression, IKelDOMXmlElement* context) override;
    IKelDOMXmlElementV2* selectFirst(const KelString& expression, IKelDOMXmlElement* context) override;
    bool evaluateText(const KelString& expression, IKelDOMXmlElement* context, KelString& out) override;
    bool evaluateNumber(const KelString& expression, IKelDOMXmlElement* context, double& out) override;
    bool evaluateTruth(const KelString& expression, IKelDOMXmlElement* context, bool& out) override;
    IKelDOMXmlNodeItr* selectNodes(const KelString& expression, IKelDOMXmlElement* context) override;
    void replaceRootElement(IKelDOMXmlElement* element) override;

private:
    using ParseError = msxml::ComPtr<IXMLDOMParseError>;

    [[nodiscard]] msxml::Element documentElement() const;
    [[nodiscard]] ParseError lastParseError() const;
    bool finishTransform();
    bool loadFrom(const VARIANT& source, unsigned options, const KelString* path);
    bool loadStreamOf(msxml::InputStream& in, unsigned options);
    template <typename Use>
    bool evaluateAt(const KelString& expression, IKelDOMXmlElement* context, Use&& use);
    [[nodiscard]] KelString writeTo(msxml::OutputStream& out, const msxml::WriteSettings& settings);

    msxml::ComPtr<IXMLDOMDocument2> document_;  // empty only if the engine made none
    MSDOMXmlError error_;
    std::map<std::u16string, std::u16string> prefixes_;  // of expressions
};
