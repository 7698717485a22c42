// workload FOLDER: uses the library as applications do. Built with KEL_PROFILE, which lets the compiler
// watch, it shows which ways through the library are the usual ones. Files go to the folder, which exists.
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "KelBasicTypes/kelcstring.h"
#include "KelBasicTypes/kelstring.h"
#include "KelBasicTypes/message.h"
#include "KelBasicTypes/utf8.h"
#include "framework/object/iptr.h"
#include "msxml_parser/msxml_parser.h"
#include "msxml_parser/xml.h"
#include "tools/workload/documents.h"

namespace workload {
namespace {

namespace xml = msxml_parser;
using kel::fromUtf8;

constexpr std::size_t kLong = 400'000;  // bytes of a document that is not short
// What is seen rarely is compiled for size: the small must be repeated until it counts beside the large.
constexpr int kShortLoads = 10'000;
constexpr int kBuilds = 40;
constexpr int kEdits = 20;

class Folder {
public:
    explicit Folder(std::string path) : path_(std::move(path)) {}
    [[nodiscard]] std::string pathOf(const std::string& name) const { return path_ + '/' + name; }
    [[nodiscard]] std::string write(const std::string& name, const std::string& text) const {
        std::ofstream file(pathOf(name), std::ios::binary);
        file << text;
        if (!file.flush()) throw std::runtime_error("cannot write " + pathOf(name));
        return pathOf(name);
    }

private:
    std::string path_;
};

void demand(bool done, IKelDOMXmlV2& parser) {
    if (!done) throw std::runtime_error(kel::toUtf8(parser.getError()->getMessage().view()));
}

IPtr<IKelDOMXmlV2> newParser() {
    static XmlDOM dom;
    return IPtr<IKelDOMXmlV2>(dom.getParser());
}

// Every name, attribute and text, in strings that are used again. Element names are wide.
template <class String>
void walk(IKelDOMXmlElement& element, KelString& name, String& value) {
    element.getName(name);
    const int count = element.getAttributeCount();
    for (int i = 0; i < count; ++i) {
        element.getAttributeName(i, value);
        element.getAttributeValue(i, value);
    }
    element.getText(value);
    const IPtr<IKelDOMXmlElementItr> children(element.getChildren());
    for (; !children->isEnd(); children->next()) walk(*children->getElement(), name, value);
}

// The same through the header for programs.
template <class Storage>
void walk(const xml::Element& element, Storage& name, Storage& value) {
    element.name(name);
    for (const xml::Attribute& attribute : element.attributes()) {
        attribute.name(name);
        attribute.value(value);
    }
    element.ownText(value);
    for (const xml::Element child : element.children()) walk(child, name, value);
}

void edit(IKelDOMXmlV2& parser) {
    const KelString mark(u"mark");
    int number = 0;
    KelString value;
    const IPtr<IKelDOMXmlElementItr> children(parser.getRootElementItr());
    for (; !children->isEnd(); children->next()) {
        IKelDOMXmlElement& element = *children->getElement();
        element.setAttribute(mark, fromUtf8(std::to_string(++number)));
        element.getAttribute(mark, value);
        if (number % 3 == 0) element.setText(u"another text, somewhat longer than the one before");
        if (number % 3 == 1) element.setText(value);
    }
}

class Counter final : public IKelSAXXmlHandler {
public:
    void startElement(const KelString&, int, const KelSAXXmlAttributes& attributes) override {
        count_ += 1 + attributes.size();
    }
    void characters(const KelString& text) override { count_ += text.length(); }
    void endElement(const KelString&) override {}

private:
    std::size_t count_ = 0;
};

void stream(const std::string& path) {
    static XmlSAX sax;
    const IPtr<IKelSAXXmlV2> parser(sax.getParser());
    Counter counter;
    parser->pushHandler(&counter);
    for (int i = 0; i < 3; ++i) {
        if (!parser->parseFile(fromUtf8(path))) throw std::runtime_error("cannot stream " + path);
    }
    parser->popHandler();
}

void useDocument(const Folder& folder, const std::string& path, const std::string& text) {
    const IPtr<IKelDOMXmlV2> parser = newParser();
    demand(parser->loadFromString(fromUtf8(text)), *parser);
    for (int i = 0; i < 3; ++i) demand(parser->loadFromFile(fromUtf8(path)), *parser);
    {
        const IPtr<IKelDOMXmlElement> root(parser->getRootElement());
        KelString name;
        KelString value;
        KelCString narrow;
        walk(*root, name, value);
        walk(*root, name, value);
        walk(*root, name, narrow);
    }
    KelString saved;
    demand(parser->saveToString(saved), *parser);
    demand(parser->saveToFile(fromUtf8(folder.pathOf("saved.xml"))), *parser);
    for (int i = 0; i < kEdits; ++i) edit(*parser);
    demand(parser->saveToString(saved), *parser);
    xml::Document faithful;
    faithful.loadFile(path, {.keepWhiteSpace = true});
    faithful.saveFile(folder.pathOf("saved.xml"));
    xml::Buffer wideName;
    xml::Buffer wideValue;
    walk(faithful.root(), wideName, wideValue);
    xml::Utf8Buffer utf8Name;
    xml::Utf8Buffer utf8Value;
    walk(faithful.root(), utf8Name, utf8Value);
    stream(path);
}

void useShortDocument(const std::string& path, const std::string& text) {
    const KelString wideText = fromUtf8(text);
    const KelString widePath = fromUtf8(path);
    KelString saved;
    KelString name;
    KelString value;
    for (int i = 0; i < kShortLoads; ++i) {
        const IPtr<IKelDOMXmlV2> parser = newParser();
        demand(i % 3 == 0 ? parser->loadFromFile(widePath) : parser->loadFromString(wideText), *parser);
        walk(*IPtr<IKelDOMXmlElement>(parser->getRootElement()), name, value);
        if (i % 4 == 0) demand(parser->saveToString(saved), *parser);
        if (i % 8 == 0) stream(path);
    }
}

void build() {
    constexpr int kElements = 5000;
    const KelString article(fromUtf8("article"));
    const IPtr<IKelDOMXmlV2> parser = newParser();
    const IPtr<IKelDOMXmlElement> root(parser->createElement(u"parts"));
    parser->setRootElement(root.get());
    const KelString name(u"part");
    const KelString key(u"key");
    const KelString kind(u"kind");
    for (int i = 0; i < kElements; ++i) {
        const IPtr<IKelDOMXmlElement> child(parser->createElement(name));
        child->setAttribute(key, fromUtf8("P-" + std::to_string(i)));
        child->setAttribute(kind, i % 2 == 0 ? article : KelString(u"spare"));
        child->setText(i % 8 == 0 ? u"für das große Lager" : u"kept in the small store");
        root->addChild(child.get());
    }
    edit(*parser);
    KelString saved;
    demand(parser->saveToString(saved), *parser);
}

// Transforming, validating, selecting: most of it is libxslt's and libxml2's work, but trees go there and
// come back.
void useTable(const Folder& folder, const std::string& path) {
    xml::Document table;
    table.loadFile(path);
    xml::StyleSheet report;
    report.compileFile(folder.write("report.xsl", tableReport()));
    (void)report.transform(table);
    xml::Schema schema;
    schema.addFile(folder.write("table.xsd", tableSchema()));
    if (!schema.validate(table).empty() || !schema.validateFile(path).empty())
        throw std::runtime_error("the table is not valid");
    for (xml::Element record : table.select("//record[price > 400]")) record.setAttribute("dear", "yes");
}

// Strings are used in every program, most of all by itself: what is seen rarely would be compiled for size.
void useStrings() {
    constexpr int kStrings = 200'000;
    const KelString reason(u"The end tag does not match the start tag.");
    KelString joined;
    KelString message;
    std::size_t units = 0;
    for (int i = 0; i < kStrings; ++i) {
        KelString copy(reason);
        copy = i % 3 == 0 ? KelString(u"short") : reason;
        copy.append(u"; see there");
        if (i % 64 == 0) joined = KelString();
        joined.append(copy);
        kel::translate(message, "%1, line %2: %3", copy, KelString(i), reason);
        units += joined.length() + message.length();
    }
    if (units == 0) throw std::runtime_error("strings are lost");
}

void run(const Folder& folder) {
    const std::vector<std::pair<std::string, std::string>> documents{
        {"registry.xml", registry(kLong)},
        {"book.xml", book(kLong)},
        {"warehouse.xml", warehouse(kLong)},
        {"table.xml", table(kLong)},
    };
    for (const auto& [name, text] : documents) useDocument(folder, folder.write(name, text), text);
    useTable(folder, folder.pathOf("table.xml"));
    for (const std::string& text : {configuration(), response()})
        useShortDocument(folder.write("short.xml", text), text);
    for (int i = 0; i < kBuilds; ++i) build();
    useStrings();
}

}  // namespace
}  // namespace workload

int main(int argc, char** argv) try {
    if (argc != 2) return std::fputs("usage: workload FOLDER\n", stderr), 2;
    workload::run(workload::Folder(argv[1]));
    return 0;
} catch (const std::exception& error) {
    std::fprintf(stderr, "workload: %s\n", error.what());
    return 1;
}
