#include "tests/endurance/tasks.h"

#include <fstream>
#include <functional>
#include <sstream>
#include <stdexcept>

#include "KelBasicTypes/kelcstring.h"
#include "KelBasicTypes/kelmutex.h"
#include "KelBasicTypes/message.h"
#include "KelBasicTypes/utf8.h"
#include "host/host.h"
#include "msxml_parser/msxml_parser.h"

namespace endurance {
namespace {

using Dom = IPtr<IKelDOMXmlV2>;
using Sax = IPtr<IKelSAXXmlV2>;
using Element = IPtr<IKelDOMXmlElement>;

constexpr const char* kStyle =
    "<x:stylesheet version='1.0' xmlns:x='http://www.w3.org/1999/XSL/Transform' xmlns:s='urn:s'>"
    "<x:output indent='yes'/><x:key name='k' match='s:book' use='@id'/>"
    "<x:template match='/'><list><x:for-each select='//s:book'><x:sort select='@id' order='descending'/>"
    "<item n='{position()}'><x:value-of select='.'/></item></x:for-each>"
    "<x:value-of select=\"format-number(count(key('k', 'b7')), "
    "'0.00')\"/></list></x:template></x:stylesheet>";
constexpr const char* kSchema =
    "<xs:schema xmlns:xs='http://www.w3.org/2001/XMLSchema' targetNamespace='urn:s' xmlns='urn:s'"
    " elementFormDefault='qualified'><xs:element name='shelf'><xs:complexType><xs:sequence>"
    "<xs:element name='book' maxOccurs='unbounded'><xs:complexType><xs:simpleContent>"
    "<xs:extension base='xs:string'><xs:attribute name='id' type='xs:NCName'/>"
    "<xs:attribute name='year' "
    "type='xs:gYear'/></xs:extension></xs:simpleContent></xs:complexType></xs:element>"
    "</xs:sequence></xs:complexType></xs:element></xs:schema>";

kelhost::Host* hostInUse = nullptr;

std::string shelf() {
    std::string text = "<shelf xmlns='urn:s'>";
    for (int i = 0; i < 300; ++i) {
        const std::string number = std::to_string(i);
        text += "\n <book id='b" + number + "' year='" + std::to_string(1800 + i % 200) + "'>Title &lt;" +
                number + "> Gr\u00FC\u00DFe &amp; more</book>";
    }
    return text + "\n</shelf>";
}

std::string withDoctype() {
    std::string text = "<!DOCTYPE r [<!ENTITY e 'entity'><!ATTLIST r d CDATA 'default'>]><r>";
    for (int i = 0; i < 100; ++i) text += "<x a='&e;'>&e; text</x>";
    return text + "</r>";
}

KelString wide(const std::string& utf8) {
    return KelString(std::u16string_view(kel::fromUtf8(utf8)));
}

std::string narrow(const KelString& text) {
    return kel::toUtf8(text.view());
}

Dom newDom() {
    if (hostInUse != nullptr) return hostInUse->create<IKelDOMXmlV2>("MSDOMXml");
    thread_local XmlDOM wrapper;  // which makes the thread ready
    return Dom(wrapper.getParser());
}

// Never given back, by design: one for each thread.
IKelSAXXmlV2& sax() {
    thread_local const Sax parser = [] {
        if (hostInUse != nullptr) return hostInUse->create<IKelSAXXmlV2>("MSSAXXml");
        return Sax(XmlSAX().getParser());
    }();
    return *parser;
}

template <class Parser>
void demand(bool isDone, Parser& parser) {
    if (!isDone) throw std::runtime_error(narrow(parser.getError()->getMessage()));
}

Dom loadedFile(const Workplace& workplace, const char* name) {
    Dom parser = newDom();
    demand(parser->loadFromFile(wide(workplace.folder + "/" + name)), *parser);
    return parser;
}

std::string saved(IKelDOMXml& parser) {
    KelString text;
    demand(parser.saveToString(text), parser);
    return narrow(text);
}

std::string load(const Workplace& workplace) {
    const Dom parser = loadedFile(workplace, "shelf.xml");
    return narrow(Element(parser->getRootElement())->getName());
}

std::string loadText(const Workplace&) {
    const Dom parser = newDom();
    demand(parser->loadFromString(wide(shelf())), *parser);
    return saved(*parser);
}

std::string rejectText(const Workplace&) {
    const Dom parser = newDom();
    if (parser->loadFromString(KelString(u"<a><b></a>")))
        throw std::runtime_error("a bad document was loaded");
    return narrow(parser->getError()->getMessage());
}

std::string edit(const Workplace& workplace) {
    const Dom parser = loadedFile(workplace, "shelf.xml");
    const Element root(parser->getRootElement());
    for (int i = 0; i < 50; ++i) {
        const Element book(parser->createElement(KelString(u"book")));
        book->setAttribute(KelString(u"id"), KelString(u"new"));
        book->setText(KelString(u"a text that is too long for any buffer inside an object"));
        root->addChild(book.get());
    }
    const IPtr<IKelDOMXmlElementItr> books(root->getChildren());
    for (; !books->isEnd(); books->next()) books->getElement()->setText(KelString(u"another"));
    const Element first(root->getChild(KelString(u"book")));
    const Element copy(first->clone());
    root->addChild(copy.get());
    return saved(*parser);
}

std::string saveToFile(const Workplace& workplace) {
    const Dom parser = loadedFile(workplace, "shelf.xml");
    const std::string path = workplace.folder + "/saved" + std::to_string(workplace.thread) + ".xml";
    demand(parser->saveToFile(wide(path)), *parser);
    std::ostringstream content;
    content << std::ifstream(path, std::ios::binary).rdbuf();
    return content.str();
}

std::string transform(const Workplace& workplace) {
    const Dom parser = loadedFile(workplace, "shelf.xml");
    const Dom style = loadedFile(workplace, "style.xsl");
    KelString text;
    demand(parser->transformToString(style.get(), text), *parser);
    return narrow(text);
}

std::string transformToDocument(const Workplace& workplace) {
    const Dom parser = loadedFile(workplace, "shelf.xml");
    const Dom style = loadedFile(workplace, "style.xsl");
    const Dom result = newDom();
    demand(parser->transformToDocument(style.get(), result.get()), *parser);
    return saved(*result);
}

std::string validate(const Workplace& workplace) {
    const Dom parser = loadedFile(workplace, "shelf.xml");
    demand(parser->validate(KelString(u"urn:s"), wide(workplace.folder + "/schema.xsd")), *parser);
    return "valid";
}

class Log final : public IKelSAXXmlHandler {
public:
    void startElement(const KelString& name, int, const KelSAXXmlAttributes& attributes) override {
        text += '<' + narrow(name);
        for (const auto& [attribute, value] : attributes)
            text += ' ' + narrow(attribute) + '=' + narrow(value);
    }
    void characters(const KelString& characters) override { text += narrow(characters); }
    void endElement(const KelString& name) override { text += '>' + narrow(name); }

    std::string text;
};

std::string events(const std::string& path) {
    Log log;
    sax().pushHandler(&log);
    const bool isOpened = sax().parseFile(wide(path));
    sax().popHandler();
    demand(isOpened, sax());
    return log.text;
}

std::string parseEvents(const Workplace& workplace) {
    return events(workplace.folder + "/shelf.xml");
}

std::string parseDoctype(const Workplace& workplace) {
    return events(workplace.folder + "/doctype.xml");
}

std::string strings(const Workplace&) {
    KelString text;
    for (int i = 0; i < 200; ++i) {
        KelString line;
        kel::translate(line, "Error while reading %1  : Line %2, column %3 : %4", KelString(u"file"),
                       KelString(i), KelString(7), KelString(u"reason"));
        text.append(line);
    }
    return narrow(text);
}

std::string lockMutex(const Workplace&) {
    KelMutex mutex;
    if (!mutex.create()) throw std::runtime_error("no mutex");
    mutex.lock();
    mutex.unlock();
    return "locked";
}

}  // namespace

void enterHost() {
    static kelhost::Host host;
    host.load(KEL_COMPONENT);
    hostInUse = &host;
}

const std::vector<Task>& tasks() {
    static const std::vector<Task> all{
        {"load a file", load},
        {"load a string", loadText},
        {"reject a string", rejectText},
        {"edit", edit},
        {"save to a file", saveToFile},
        {"transform to a string", transform},
        {"transform to a document", transformToDocument},
        {"validate", validate},
        {"parse a file", parseEvents},
        {"parse a file with a DOCTYPE", parseDoctype},
        {"strings", strings},
        {"mutex", lockMutex},
    };
    return all;
}

void writeInputs(const std::string& folder) {
    const auto write = [&folder](const char* name, const std::string& content) {
        std::ofstream(folder + "/" + name, std::ios::binary) << content;
    };
    write("shelf.xml", shelf());
    write("style.xsl", kStyle);
    write("schema.xsd", kSchema);
    write("doctype.xml", withDoctype());
}

}  // namespace endurance
