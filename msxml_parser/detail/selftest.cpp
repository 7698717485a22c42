#include "msxml_parser/detail/selftest.h"

#include "KelBasicTypes/utf8.h"
#include "framework/object/iptr.h"
#include "msxml_parser/detail/msdomxml.h"
#include "msxml_parser/detail/mssaxxml.h"

namespace {

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
        parser->getError()->getCode() != IKelDOMXml::kRefusedByEngine)
        return "expected error 3 for a malformed document";
    return {};
}

std::string tryEvents() {
    const IPtr<IKelSAXXmlV2> parser(new MSSAXXml);
    if (parser->parseFile(u"no/such/file.xml")) return "expected the SAX parser to report a missing file";
    return {};
}

}  // namespace

bool MSXMLSelfTest::run(std::string& reason) {
    for (const auto test : {tryDocument, tryMalformed, tryEvents}) {
        reason = test();
        if (!reason.empty()) return false;
    }
    return true;
}
