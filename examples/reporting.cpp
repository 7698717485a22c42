// A host with a translator and an error service of the application's own.
#include <cstdio>
#include <exception>
#include <map>
#include <string>

#include "KelBasicTypes/ikelerrorservice.h"
#include "KelBasicTypes/keltrivialtranslator.h"
#include "framework/object/implements.h"
#include "host/host.h"
#include "host/text.h"
#include "msxml_parser/msxml_parser.h"

namespace {

// [begin translator]
// Texts of our own for some messages; the placeholders may stand in any order. All others stay as they are.
class OurTranslator final : public KelTrivialTranslator {
public:
    bool lookUp(const char* key, KelString& result) override {
        static const std::map<std::string, KelString> kTexts{
            {"Error while reading %1  : Line %2, column %3 : %4", u"%4 (%1:%2:%3)"},
        };
        const auto found = kTexts.find(key);
        if (found == kTexts.end()) return KelTrivialTranslator::lookUp(key, result);
        result = found->second;
        return true;
    }
};

// Components ask this service for their translator.
class OurTranslators final : public kel::Implements<OurTranslators, IKelTranslatorService> {
public:
    static constexpr const char* kClassName = "OurTranslators";
    IKelTranslator* translatorFor(const KelClassId& /*component*/) override { return translator_.get(); }

private:
    IPtr<OurTranslator> translator_{new OurTranslator};
};
// [end translator]

// [begin error service]
class OurReports final : public kel::Implements<OurReports, IKelErrorService> {
public:
    static constexpr const char* kClassName = "OurReports";
    void report(const KelString& message, const std::int32_t& level, const char* /*operation*/) override {
        std::printf("report %d: %s\n", static_cast<int>(level), kelhost::toUtf8(message).c_str());
    }
};
// [end error service]

}  // namespace

int main(int argc, char** argv) try {
    if (argc != 3) return std::fputs("usage: reporting LIBRARY FILE\n", stderr), 2;
    // [begin offer]
    kelhost::Host host;
    host.offer("IKelTranslatorService", *new OurTranslators);  // the host takes the reference, and keeps it
    host.offer("IKelErrorService", *new OurReports);
    const kelhost::Component component = host.load(argv[1]);  // what it looks up once, it keeps: offer first
    // [end offer]
    host.setTestStatus('k');
    component.inside().selfTest(nullptr);  // reports to the error service
    const auto parser = host.create<IKelDOMXmlV2>("MSDOMXml");
    if (parser->loadFromFile(kelhost::fromUtf8(argv[2]))) return 0;
    std::printf("%s\n", kelhost::toUtf8(parser->getError()->getMessage()).c_str());
    return 1;
} catch (const std::exception& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
}
