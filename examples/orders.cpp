// Load, pick by XPath, edit, remove, save, validate with all errors, transform with a parameter, stream.
#include <iostream>

#include "msxml_parser/xml.h"

namespace xml = msxml_parser;

int main() try {
    // [begin edit]
    xml::Document document;
    document.loadFile("orders.xml");
    for (xml::Element order : document.select("//order[contains(article, 'kanne')]")) {
        std::cout << order.attribute("number").value_or("?") << ": " << order.child("buyer")->text() << '\n';
        order.setAttribute("number", "170");
    }
    if (auto note = document.selectFirst("//note")) note->remove();
    document.saveFile("new-orders.xml", {.indent = true});
    // [end edit]

    // [begin validate]
    xml::Schema schema;
    schema.addFile("orders.xsd");
    std::cout << "valid: " << schema.validate(document).empty() << '\n';
    for (const xml::Violation& wrong : schema.validateFile("bad-orders.xml"))
        std::cout << wrong.line << ':' << wrong.column << ' ' << wrong.path << ": " << wrong.reason << '\n';
    // [end validate]

    // [begin transform]
    xml::StyleSheet sheet;
    sheet.compileFile("summary.xsl");
    sheet.setParameter("title", "Orders of today");
    sheet.onMessage([](std::string_view text) { std::cout << "(" << text << ")\n"; });
    std::cout << sheet.transform(document);
    // [end transform]

    // [begin stream]
    xml::Reader reader;
    int orders = 0;
    reader.readFile("orders.xml", {.startElement = [&](const xml::StartTag& tag) {
                        if (tag.name() == "order") ++orders;
                    }});
    std::cout << orders << " orders\n";
    // [end stream]

    // [begin result]
    if (const auto loaded = document.tryLoadFile("broken.xml"); !loaded) {
        const xml::Error& error = loaded.error();
        std::cout << error.file << ':' << error.line << ':' << error.column << ": " << error.reason << '\n';
    }
    // [end result]
    return 0;
} catch (const xml::Exception& error) {
    std::cerr << error.what() << '\n';
    return 1;
}
