// The interfaces themselves, without msxml_parser/xml.h.
#include <cstdio>

#include "msxml_parser/msxml_parser.h"

int main() {
    // [begin document]
    XmlDOM xml;  // makes the thread ready; every getParser() is a new document
    IPtr<IKelDOMXmlV2> parser(xml.getParser());
    if (!parser->loadFromString(u"<shelf><book year=\"1815\">Emma</book></shelf>")) {
        std::fprintf(stderr, "%s\n", parser->getError()->getMessage().narrow());
        return 1;
    }
    IPtr<IKelDOMXmlElement> shelf(parser->getRootElement());
    for (IPtr<IKelDOMXmlElementItr> book(shelf->getChildren()); !book->isEnd(); book->next()) {
        const KelString title = book->getElement()->getText();
        const KelString year = book->getElement()->getAttribute(u"year");
        std::printf("%s, %s\n", title.narrow(), year.narrow());
    }
    IPtr<IKelDOMXmlElement> added(parser->createElement(u"book"));
    added->setAttribute(u"year", u"1817");
    added->setText(u"Persuasion");
    shelf->addChild(added.get());
    const bool isSaved = parser->saveToFile(u"shelf.xml");
    // [end document]
    return isSaved ? 0 : 1;
}
