// Validates a document against an XML Schema and reports what is wrong, and where.
#include <cstdio>
#include <string>

#include "KelBasicTypes/utf8.h"
#include "msxml_parser/comerror.h"
#include "msxml_parser/msxml_parser.h"

namespace {

void printError(IKelDOMXmlV2& parser) {
    IKelDOMXmlError* const error = parser.getError();
    std::printf("error %d: %s\n", error->getCode(), kel::toUtf8(error->getMessage().view()).c_str());
}

// [begin validate]
bool isValid(IKelDOMXmlV2& document, const KelString& schema, const KelString& file) {
    try {
        if (!document.loadFromFile(file)) return printError(document), false;  // not well-formed
        if (document.validate(u"", schema)) return true;                       // u"": no target namespace
        // The schema is attached now. A load validates against it, and knows the line and the column.
        document.setValidateOnParse(true);
        if (document.loadFromFile(file)) return true;
        return printError(document), false;
    } catch (const _com_error&) {
        std::printf("%s is no schema\n", kel::toUtf8(schema.view()).c_str());
        return false;
    }
}
// [end validate]

}  // namespace

int main(int argc, char** argv) {
    if (argc < 3) return std::fputs("usage: validate SCHEMA FILE...\n", stderr), 2;
    XmlDOM xml;
    int rejected = 0;
    for (int i = 2; i < argc; ++i) {
        IPtr<IKelDOMXmlV2> document(xml.getParser());
        if (isValid(*document, kel::fromUtf8(argv[1]), kel::fromUtf8(argv[i]))) {
            std::printf("%s is valid\n", argv[i]);
        } else {
            ++rejected;
        }
    }
    return rejected == 0 ? 0 : 1;
}
