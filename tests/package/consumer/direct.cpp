// The direct path from outside: load, walk, edit, save, load again; and the library's exception caught out
// here.
#include "expect.h"
#include "msxml_parser/comerror.h"
#include "msxml_parser/msxml_parser.h"

namespace {

using Parser = IPtr<IKelDOMXmlV2>;
using Element = IPtr<IKelDOMXmlElement>;
using Children = IPtr<IKelDOMXmlElementItr>;

constexpr std::uint32_t kInvalidPointer = 0x80004003;

void editAndReload(XmlDOM& xml) {
    const Parser parser(xml.getParser());
    expect(parser->loadFromString(u"<a><b n='1'>one</b><c/></a>"), "a well-formed text loads");
    const Element root(parser->getRootElement());
    const Element b(root->getChild(u"b"));
    b->setAttribute(u"n", u"2");
    b->setText(u"1 < 2");
    const Element c(root->getChild(u"c"));
    c->setName(u"d");
    const Element added(parser->createElement(u"e"));
    root->addChild(added.get());
    KelString text;
    expect(parser->saveToString(text), "it is written");
    expect(text == u"<a>\n\t<b n=\"2\">1 &lt; 2</b>\n\t<d />\n\t<e />\n</a>\n", "as it was edited");

    expect(parser->saveToFile(u"edited.xml"), "it is written to a file");
    const Parser again(createIKelDOMXml());
    expect(again->loadFromFile(u"edited.xml"), "which loads again");
    const Element sameRoot(again->getRootElement());
    int count = 0;
    for (const Children child(sameRoot->getChildren()); !child->isEnd(); child->next()) ++count;
    expect(count == 3, "with as many children");
}

void reportFailures(XmlDOM& xml) {
    const Parser parser(xml.getParser());
    expect(!parser->loadFromString(u"<a>\n  <b></a>"), "a malformed text is rejected");
    IKelDOMXmlError* const error = parser->getError();
    expect(error->getCode() == 3, "with the code of an engine's rejection");
    const KelString& message = error->getMessage();
    expect(message.view().starts_with(u"Error while reading Xml  : Line 2, column "), "and a position");
}

void catchTheLibrarysException(XmlDOM& xml) {
    const Parser parser(xml.getParser());
    const Element nothing(parser->getRootElement());
    bool caught = false;
    try {
        (void)nothing->getName();
    } catch (const _com_error& error) {
        caught = static_cast<std::uint32_t>(error.Error()) == kInvalidPointer;
    }
    expect(caught, "_com_error reaches the program with its status");
}

}  // namespace

int main() {
    XmlDOM xml;
    editAndReload(xml);
    reportFailures(xml);
    catchTheLibrarysException(xml);
    return failures == 0 ? 0 : 1;
}
