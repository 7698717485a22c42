// A host with string support of its own: what is saved is plain ASCII, and loses nothing.
#include <algorithm>
#include <cstdio>
#include <exception>
#include <string>

#include "KelBasicTypes/ikelstrsupport.h"
#include "framework/object/implements.h"
#include "host/host.h"
#include "host/text.h"
#include "msxml_parser/msxml_parser.h"

namespace {

// [begin string support]
// The 8-bit form writes every character beyond ASCII as a character reference: &#233; for é. Comparison and
// case know nothing but ASCII, as without any string support.
class ReferenceSupport final : public kel::Implements<ReferenceSupport, IKelStrSupport> {
public:
    static constexpr const char* kClassName = "ReferenceSupport";

    std::string& toNarrow(const char16_t* text, std::string& result) override {
        result.clear();
        for (; *text != 0; ++text) {
            char32_t code = *text;
            const bool isPair = (code & 0xFC00) == 0xD800 && (text[1] & 0xFC00) == 0xDC00;
            if (isPair) code = 0x10000 + ((code & 0x3FF) << 10) + (*++text & 0x3FF);
            if (code < 0x80) {
                result += static_cast<char>(code);
            } else {
                result += "&#" + std::to_string(static_cast<unsigned>(code)) + ';';
            }
        }
        return result;
    }
    std::int32_t compare(const char16_t* a, const char16_t* b) override {
        return std::u16string_view(a).compare(b);
    }
    bool isSpace(char16_t unit) override { return unit == u' ' || (unit >= u'\t' && unit <= u'\r'); }
    bool isDigit(char16_t unit) override { return unit >= u'0' && unit <= u'9'; }
    void normalise(KelString& /*text*/) override {}
    void toLower(KelString& text) override { shift(text, u'A', u'Z', 'a' - 'A'); }
    void toUpper(KelString& text) override { shift(text, u'a', u'z', 'A' - 'a'); }

private:
    static void shift(KelString& text, char16_t first, char16_t last, int distance) {
        std::u16string units(text.view());
        for (char16_t& unit : units) {
            if (unit >= first && unit <= last) unit = static_cast<char16_t>(unit + distance);
        }
        text.assign(std::u16string_view(units));
    }
};
// [end string support]

}  // namespace

int main(int argc, char** argv) try {
    if (argc != 4) return std::fputs("usage: references LIBRARY FILE OUT\n", stderr), 2;
    // [begin offer]
    kelhost::Host host;
    host.offer("IKelStrSupport", *new ReferenceSupport);
    host.load(argv[1]);
    const auto parser = host.create<IKelDOMXmlV2>("MSDOMXml");
    if (!parser->loadFromFile(kelhost::fromUtf8(argv[2])) ||
        !parser->saveToFile(kelhost::fromUtf8(argv[3]))) {
        std::fprintf(stderr, "%s\n", kelhost::toUtf8(parser->getError()->getMessage()).c_str());
        return 1;
    }
    // [end offer]
    const auto again = host.create<IKelDOMXmlV2>("MSDOMXml");
    KelString before;
    KelString after;
    parser->saveToString(before);
    if (!again->loadFromFile(kelhost::fromUtf8(argv[3]))) return 1;
    again->saveToString(after);
    std::puts(before == after ? "nothing is lost" : "something is lost");
    return before == after ? 0 : 1;
} catch (const std::exception& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
}
