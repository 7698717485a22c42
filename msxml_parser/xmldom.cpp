#include "msxml_parser/xmldom.h"

#include "msxml_parser/detail/directparser.h"
#include "msxml_parser/detail/msdomxml.h"

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
