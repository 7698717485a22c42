// The host path: a program that loads the library at run time and offers it services.
#include <cstdio>
#include <exception>

#include "host/host.h"
#include "host/text.h"
#include "msxml_parser/msxml_parser.h"

int main(int argc, char** argv) try {
    if (argc != 3) return std::fputs("usage: embed LIBRARY FILE\n", stderr), 2;
    // [begin five lines]
    kelhost::Host host;  // counts atomically; 8-bit text is UTF-8, messages are translated
    const kelhost::Component component = host.load(argv[1]);
    const auto parser = host.create<IKelDOMXmlV2>("MSDOMXml");
    if (!parser->loadFromFile(kelhost::fromUtf8(argv[2])))
        return std::fprintf(stderr, "%s\n", parser->getError()->getMessage().narrow()), 1;
    // [end five lines]
    const IPtr<IKelDOMXmlElement> root(parser->getRootElement());
    const KelString name = root->getName();
    std::printf("%s %s read <%s>\n", component.name().c_str(), component.version().c_str(), name.narrow());
    return 0;
} catch (const std::exception& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
}
