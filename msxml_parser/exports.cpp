// What the library exports: its entry for hosts, and the parsers for programs without one; and the schemas
// and style sheets that parsers make.
#include "framework/component/componentstate.h"
#include "framework/component/ikelcomponentfactory.h"
#include "msxml_parser/detail/customizer.h"
#include "msxml_parser/detail/dom/msdomxml.h"
#include "msxml_parser/detail/msxmlschema.h"
#include "msxml_parser/detail/msxslstylesheet.h"
#include "msxml_parser/detail/sax/mssaxxml.h"
#include "msxml_parser/detail/xmlfactory.h"
#include "msxml_parser/entrypoint.h"
#include "msxml_parser/xmldom.h"
#include "msxml_parser/xmlsax.h"

namespace {

// The component handed out last; for debuggers.
[[maybe_unused]] constinit IKelComponent* theComponent = nullptr;

}  // namespace

int EntryPoint(std::uint32_t* version, IKelComponent** component) {
    constexpr std::uint32_t kEntryProtocolVersion = 100;
    if (component == nullptr || kel::componentFactory == nullptr) return 0;
    IKelComponent* created = nullptr;  // a local: another thread may be storing its own
    try {
        created = kel::componentFactory->createComponent();
    } catch (...) {
        *version = 0;
        *component = nullptr;
        return 0;
    }
    theComponent = created;
    *component = created;
    *version = kEntryProtocolVersion;
    return 1;
}

XmlDOM::XmlDOM() : customizer_(msxml::startCustomizer()) {}

// Does nothing on purpose: see startCustomizer.
XmlDOM::~XmlDOM() {}

// NOLINTNEXTLINE(bugprone-unhandled-self-assignment): a pointer is copied
XmlDOM& XmlDOM::operator=(const XmlDOM& other) {
    customizer_ = other.customizer_;
    return *this;
}

IKelDOMXmlV2* XmlDOM::getParser() {
    return msxml::makeParser<MSDOMXml>();
}

IKelDOMXmlV2* createIKelDOMXml() {
    static XmlDOM dom;
    return dom.getParser();
}

XmlSAX::XmlSAX() : customizer_(msxml::startCustomizer()) {}

// Does nothing on purpose: see startCustomizer.
XmlSAX::~XmlSAX() {}

// NOLINTNEXTLINE(bugprone-unhandled-self-assignment): a pointer is copied
XmlSAX& XmlSAX::operator=(const XmlSAX& other) {
    customizer_ = other.customizer_;
    return *this;
}

IKelSAXXmlV2* XmlSAX::getParser() {
    return msxml::makeParser<MSSAXXml>();
}

namespace msxml {

IKelXmlSchema* XmlFactory::createSchema() {
    return makeParser<MSXmlSchema>();
}

IKelXslStyleSheet* XmlFactory::createStyleSheet() {
    return makeParser<MSXslStyleSheet>();
}

}  // namespace msxml
