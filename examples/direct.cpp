// The direct path: a program that links the library and runs no host.
#include <iostream>

#include "msxml_parser/xml.h"

namespace xml = msxml_parser;

int main() try {
    xml::Document document;
    document.loadBytes("<shelf><book year='1815'>Emma</book><book>Ivanhoe</book></shelf>");
    xml::Element shelf = document.root();
    for (const xml::Element book : shelf.children("book"))
        std::cout << book.text() << ", " << book.attribute("year").value_or("undated") << '\n';
    for (xml::Element book : document.select("//book[not(@year)]")) book.remove();
    xml::Element added = document.createElement("book");
    added.setAttribute("year", "1817");
    added.setText("Persuasion");
    shelf.append(added);
    document.saveFile("shelf.xml", {.indent = true});
    return 0;
} catch (const xml::Exception& error) {
    std::cerr << error.what() << '\n';
    return 1;
}
