// Applies an XSLT style sheet to a document.
#include <cstdio>

#include "KelBasicTypes/utf8.h"
#include "msxml_parser/msxml_parser.h"

namespace {

int failed(IKelDOMXmlV2& parser) {
    IKelDOMXmlError* const error = parser.getError();
    std::fprintf(stderr, "error %d: %s\n", error->getCode(), kel::toUtf8(error->getMessage().view()).c_str());
    return 1;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) return std::fputs("usage: transform STYLE FILE\n", stderr), 2;
    // [begin transform]
    XmlDOM xml;
    IPtr<IKelDOMXmlV2> style(xml.getParser());
    if (!style->loadFromFile(kel::fromUtf8(argv[1]))) return failed(*style);
    IPtr<IKelDOMXmlV2> document(xml.getParser());
    if (!document->loadFromFile(kel::fromUtf8(argv[2]))) return failed(*document);
    KelString result;
    if (!document->transformToString(style.get(), result)) return failed(*document);
    // [end transform]
    std::fputs(kel::toUtf8(result.view()).c_str(), stdout);
    return 0;
}
