// The host path: a program that loads the library at run time and offers it services.
#include <exception>
#include <iostream>

#include "host/host.h"
#include "msxml_parser/xml.h"

namespace xml = msxml_parser;

int main(int argc, char** argv) try {
    if (argc != 3) return std::cerr << "usage: embed LIBRARY FILE\n", 2;
    // [begin five lines]
    kelhost::Host host;  // counts atomically; 8-bit text is UTF-8, messages are translated
    const kelhost::Component component = host.load(argv[1]);
    xml::Document document(host.create<IKelDOMXmlV2>("MSDOMXml").get());
    document.loadFile(argv[2]);
    // [end five lines]
    std::cout << component.name() << ' ' << component.version() << " read <" << document.root().name()
              << ">\n";
    return 0;
} catch (const std::exception& error) {
    std::cerr << error.what() << '\n';
    return 1;
}
