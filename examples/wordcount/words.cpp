// Two components in one host: one reads a document, the other counts its words.
#include <cstdio>
#include <exception>

#include "host/host.h"
#include "host/settings.h"
#include "host/text.h"
#include "ikelwordcounter.h"
#include "msxml_parser/msxml_parser.h"

namespace {

// Collects the text of each element, which may come in several pieces, and passes it on whole.
class TextReader final : public IKelSAXXmlHandler {
public:
    explicit TextReader(IKelWordCounter& counter) : counter_(counter) {}

    void startElement(const KelString& /*name*/, int /*depth*/,
                      const KelSAXXmlAttributes& /*attributes*/) override {
        passOn();
    }
    void characters(const KelString& text) override { text_ += text; }
    void endElement(const KelString& /*name*/) override { passOn(); }

private:
    void passOn() {
        counter_.add(text_);
        text_.makeEmpty();
    }

    IKelWordCounter& counter_;
    KelString text_;
};

}  // namespace

int main(int argc, char** argv) try {
    if (argc != 4) return std::fputs("usage: words XML-LIBRARY WORDCOUNT-LIBRARY FILE\n", stderr), 2;
    kelhost::Host host;
    host.settings().set("Words/Shortest", "3");  // read by the component while it is initialised
    for (const char* library : {argv[1], argv[2]}) {
        const kelhost::Component component = host.load(library);
        std::printf("%s %s\n", component.name().c_str(), component.version().c_str());
    }
    const auto counter = host.create<IKelWordCounter>("WordCounter");
    const auto parser = host.create<IKelSAXXmlV2>("MSSAXXml");
    TextReader reader(*counter);
    parser->pushHandler(&reader);
    if (!parser->parseFile(kelhost::fromUtf8(argv[3])))
        return std::fprintf(stderr, "%s\n", kelhost::toUtf8(parser->getError()->getMessage()).c_str()), 1;
    std::printf("%lld words\n", static_cast<long long>(counter->wordCount()));
    KelString word;
    std::int64_t count = 0;
    for (std::int32_t rank = 1; rank <= 3 && counter->frequentWord(rank, word, count); ++rank)
        std::printf("%lld %s\n", static_cast<long long>(count), kelhost::toUtf8(word).c_str());
    return 0;
} catch (const std::exception& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
}
