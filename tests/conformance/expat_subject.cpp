#include <expat.h>
#include <iconv.h>

#include <memory>

#include "tests/conformance/canonical.h"
#include "tests/conformance/subject.h"

namespace conformance {
namespace {

// Expat knows UTF-8, UTF-16, ISO-8859-1 and US-ASCII by itself; of others it takes a table of one-byte codes.
int provideTable(void*, const XML_Char* name, XML_Encoding* table) {
    const iconv_t converter = iconv_open("UTF-32LE", name);
    if (converter == reinterpret_cast<iconv_t>(-1)) return XML_STATUS_ERROR;
    for (int code = 0; code < 256; ++code) {
        char byte = static_cast<char>(code);
        char32_t character = 0;
        char* in = &byte;
        char* out = reinterpret_cast<char*>(&character);
        std::size_t inLeft = 1;
        std::size_t outLeft = sizeof character;
        const bool isWhole = iconv(converter, &in, &inLeft, &out, &outLeft) == 0 && outLeft == 0;
        table->map[code] = isWhole ? static_cast<int>(character) : -1;
    }
    iconv_close(converter);
    return XML_STATUS_OK;
}

}  // namespace

Outcome tryExpat(const std::string& path) {
    const std::string bytes = readFile(path);
    const std::unique_ptr<XML_ParserStruct, void (*)(XML_Parser)> parser(XML_ParserCreateNS(nullptr, '\n'),
                                                                         XML_ParserFree);
    XML_SetUnknownEncodingHandler(parser.get(), provideTable, nullptr);
    Outcome outcome;
    const XML_Status status = XML_Parse(parser.get(), bytes.data(), static_cast<int>(bytes.size()), XML_TRUE);
    outcome.accepted = status == XML_STATUS_OK;
    if (!outcome.accepted) {
        outcome.reason = std::to_string(XML_GetCurrentLineNumber(parser.get())) + ": " +
                         XML_ErrorString(XML_GetErrorCode(parser.get()));
    }
    return outcome;
}

}  // namespace conformance
