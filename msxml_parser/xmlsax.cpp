#include "msxml_parser/xmlsax.h"

#include "msxml_parser/detail/directparser.h"
#include "msxml_parser/detail/mssaxxml.h"

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
