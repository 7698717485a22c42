// What the component sets up while the library is loaded, in this order and in this one file, for across
// files the order would be the linker's. None of it is ever destroyed: which library calls last while a
// process ends is not known. Its self-test is registered here, too.
#include "KelBasicTypes/selftests.h"
#include "KelBasicTypes/utf8.h"
#include "framework/component/componentstate.h"
#include "framework/component/keldefaultclassfactory.h"
#include "framework/component/kelitemfactory.h"
#include "framework/component/kelstaticbasecomponent.h"
#include "framework/object/hostlink.h"
#include "framework/object/ikelselftest.h"
#include "framework/object/implements.h"
#include "framework/object/iptr.h"
#include "msxml_parser/detail/customizer.h"
#include "msxml_parser/detail/dom/msdomxml.h"
#include "msxml_parser/detail/sax/mssaxxml.h"

namespace {

constexpr KelClassId kDomParserId{
    0xA915F25B, 0x7386, 0x4143, {0xBB, 0x88, 0xD1, 0x1C, 0xC2, 0xE6, 0x9F, 0xC7}};
constexpr KelClassId kSaxParserId{
    0xDFB612BD, 0x5865, 0x4067, {0x97, 0xC1, 0x3F, 0xE4, 0xA7, 0xF4, 0x9A, 0x86}};
constexpr KelClassId kComponentId{
    0x88BC5A8E, 0xCC38, 0x4C51, {0xB3, 0xF1, 0x90, 0x80, 0x05, 0x66, 0xE0, 0xDF}};

// Of the self-test.
constexpr KelClassId kComponentTestId{
    0x2E9C41D3, 0x8A67, 0x4F0B, {0xB5, 0x12, 0x7D, 0xC0, 0x39, 0xE4, 0x86, 0xAF}};
constexpr KelClassId kPoolTestId{
    0x7B03F5A8, 0x14DE, 0x49C2, {0x96, 0xEB, 0x50, 0x2A, 0xC8, 0x71, 0x3D, 0x04}};
constexpr KelClassId kStreamTestId{
    0xD1568E0C, 0x5BF9, 0x4A73, {0x8C, 0x20, 0xF6, 0x9B, 0x14, 0x0D, 0xE7, 0x58}};

// What is wrong, empty if nothing is.
std::string tryDocument() {
    const IPtr<IKelDOMXmlV2> parser(new MSDOMXml);
    if (!parser->loadFromString(u"<shelf><book year=\"1815\">Emma</book></shelf>"))
        return kel::toUtf8(parser->getError()->getMessage().view());
    const IPtr<IKelDOMXmlElement> root(parser->getRootElement());
    const IPtr<IKelDOMXmlElement> book(root->getChild(u"book"));
    if (!book || !(book->getText() == u"Emma") || !(book->getAttribute(u"year") == u"1815"))
        return "expected the text 'Emma' and the year 1815 in the document";
    KelString saved;
    if (!parser->saveToString(saved) || kel::toUtf8(saved.view()).find("Emma") == std::string::npos)
        return "expected the saved document to have the text 'Emma'";
    return {};
}

std::string tryMalformed() {
    const IPtr<IKelDOMXmlV2> parser(new MSDOMXml);
    if (parser->loadFromString(u"<shelf><book></shelf>") ||
        parser->getError()->getCode() != IKelDOMXml::kRejectedByEngine)
        return "expected error 3 for a malformed document";
    return {};
}

std::string tryEvents() {
    const IPtr<IKelSAXXmlV2> parser(new MSSAXXml);
    if (parser->parseFile(u"no/such/file.xml")) return "expected the SAX parser to report a missing file";
    return {};
}

// The component's own self-test: both parsers, on documents of a line. Counts start at 0.
class MSXMLSelfTest final : public kel::Implements<MSXMLSelfTest, IKelSelfTest> {
public:
    static constexpr const char* kClassName = "MSXMLSelfTest";

    // Lets out what the engine throws when it cannot be used at all.
    bool run(std::string& reason) override {
        for (const auto test : {tryDocument, tryMalformed, tryEvents}) {
            reason = test();
            if (!reason.empty()) return false;
        }
        return true;
    }
};

// Registered by being made, as all item factories are; see below.
template <class T>
void registerSelfTest(const KelClassId& id) {
    static auto& factory =
        *new KelTClassItemFactory<T>(&id, T::kClassName, nullptr, KelItemFactory::Listing::SelfTest);
    (void)factory;
}

bool setUpComponent() {
    msxml::keepUntilProcessEnd(new MSXMLParserComponentCustomizer);
    // An item factory registers itself and creates the class factory if it is the first.
    static auto& domParsers =
        *new KelTClassItemFactory<MSDOMXml>(&kDomParserId, MSDOMXml::kClassName, nullptr);
    static auto& saxParsers =
        *new KelTClassItemFactory<MSSAXXml>(&kSaxParserId, MSSAXXml::kClassName, nullptr);
    (void)domParsers;
    (void)saxParsers;
    registerSelfTest<MSXMLSelfTest>(kComponentTestId);
    registerSelfTest<kel::PoolSelfTest>(kPoolTestId);
    registerSelfTest<kel::StreamSelfTest>(kStreamTestId);
    kel::setContainerName("");
    kel::setComponentIdentity({"msxml_parser", MSXML_PARSER_VERSION, kComponentId});
    kel::defaultClassFactory = &KelDefaultClassFactory::instance();
    kel::componentFactory = new KelStaticBaseComponentFact;
    return true;
}

// Only memory can be missing here, and a library that cannot even register itself is better not loaded.
// NOLINTNEXTLINE(cert-err58-cpp)
[[maybe_unused]] const bool isSetUp = setUpComponent();

}  // namespace
