// Every class and every operation of the component, each once, on documents small enough to stand here.
#include <algorithm>
#include <cstdio>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <vector>

#include "KelBasicTypes/classidtext.h"
#include "framework/object/ikelselftest.h"
#include "framework/object/implements.h"
#include "host/text.h"
#include "msxml_parser/ikelsaxxml.h"
#include "tools/kelxml/documents/compare.h"
#include "tools/kelxml/report/exception.h"
#include "tools/kelxml/report/message.h"
#include "tools/kelxml/report/output.h"
#include "tools/kelxml/verbs/verbs.h"

namespace kelxml {

namespace {

using ParserPtr = IPtr<IKelDOMXmlV3>;

constexpr const char16_t* kDocument =
    u"<shelf owner=\"Ana\"><book year=\"1815\">Emma</book><book year=\"1008\">\u6E90\u6C0F\u7269\u8A9E</book>"
    u"<book year=\"1869\">\u0412\u043E\u0439\u043D\u0430 &lt;\u0438&gt; \U0001F600</book></shelf>";

constexpr const char16_t* kStyleSheet =
    u"<x:stylesheet version='1.0' xmlns:x='http://www.w3.org/1999/XSL/Transform'><x:output method='text'/>"
    u"<x:template match='/'><x:value-of select='count(//book)'/></x:template></x:stylesheet>";

constexpr const char* kSchema =
    "<s:schema xmlns:s='http://www.w3.org/2001/XMLSchema'><s:element name='shelf'><s:complexType><s:sequence>"
    "<s:element name='book' maxOccurs='unbounded'><s:complexType><s:simpleContent><s:extension "
    "base='s:string'>"
    "<s:attribute name='year' type='s:int' use='required'/></s:extension></s:simpleContent></s:complexType>"
    "</s:element></s:sequence><s:attribute name='owner'/></s:complexType></s:element></s:schema>";

// Throws Exception with what was expected.
void expect(bool holds, const char* what) {
    if (!holds) throw Exception(kRejected, what);
}

void put(const TemporaryFile& file, const std::string& content) {
    std::ofstream stream(file.path(), std::ios::binary);
    stream << content;
    if (!stream.flush())
        throw Exception(kRejected, tr("cannot write the result: %1", kelhost::utf8Of(file.path())));
}

KelString pathOf(const TemporaryFile& file) {
    return kelhost::fromUtf8(kelhost::utf8Of(file.path()));
}

ParserPtr parse(const Session& session, const char16_t* text) {
    ParserPtr parser = session.makeParser();
    if (!parser->loadFromString(text))
        throw Exception(kRejected, kelhost::toUtf8(parser->getError()->getMessage()));
    return parser;
}

// --- the steps ------------------------------------------------------------------------------------------

void createEveryClass(const Session& session) {
    expect(!session.component().classes().empty(), "no classes");
    for (const kelhost::ComponentClass& offered : session.component().classes()) {
        const auto object = session.component().create<IKelUnknown>(offered.id);
        expect(object.get() != nullptr, offered.name.c_str());
    }
}

void walkAndEdit(const Session& session) {
    const ParserPtr parser = parse(session, kDocument);
    const ElementPtr root(parser->getRootElement());
    const ElementPtr added(parser->createElement(u"book"));
    added->setAttribute(u"year", u"1605");
    added->setText(u"Don Quijote");
    root->addChild(added.get());
    const ElementPtr first(root->getChild(u"book"));
    first->setText(u"Persuasion");
    expect(kelhost::toUtf8(first->getText()) == "Persuasion", "setText, getText");
    expect(kelhost::toUtf8(added->getAttribute(u"year")) == "1605", "setAttribute, getAttribute");
    KelString text;
    expect(parser->saveToString(text) && kelhost::toUtf8(text).find("Quijote") != std::string::npos,
           "addChild");
}

void saveAndReadBack(const Session& session) {
    const ParserPtr original = parse(session, kDocument);
    const TemporaryFile file = TemporaryFile::inTemporaryFolder();
    expect(original->saveToFile(pathOf(file)), "saveToFile");
    const ParserPtr copy = session.makeParser();
    expect(copy->loadFromFile(pathOf(file)), "loadFromFile");
    const auto differences = compareTrees(*ElementPtr(original->getRootElement()),
                                          *ElementPtr(copy->getRootElement()), HiddenText::None, 1);
    if (!differences.empty()) throw Exception(kRejected, differences[0].path + ": " + differences[0].what);
}

void transformDocument(const Session& session) {
    const ParserPtr sheet = parse(session, kStyleSheet);
    KelString result;
    expect(parse(session, kDocument)->transformToString(sheet.get(), result), "transformToString");
    expect(kelhost::toUtf8(result) == "3", "3");
}

void validateDocuments(const Session& session) {
    const TemporaryFile schema = TemporaryFile::inTemporaryFolder();
    put(schema, kSchema);
    expect(parse(session, kDocument)->validate(u"", pathOf(schema)), "valid");
    const ParserPtr invalid = parse(session, u"<shelf><book>Emma</book></shelf>");
    expect(!invalid->validate(u"", pathOf(schema)), "invalid");
    expect(kelhost::toUtf8(invalid->getError()->getMessage()).find("year") != std::string::npos, "year");
}

struct Counter final : IKelSAXXmlHandler {
    void startElement(const KelString&, int, const KelSAXXmlAttributes& attributes) override {
        ++starts;
        attributeCount += attributes.size();
    }
    void characters(const KelString& text) override { hasText = hasText || !text.isEmpty(); }
    void endElement(const KelString&) override { ++ends; }

    int starts = 0;
    int ends = 0;
    std::size_t attributeCount = 0;
    bool hasText = false;
};

void readEvents(const Session& session) {
    const TemporaryFile file = TemporaryFile::inTemporaryFolder();
    put(file, "<shelf owner='Ana'><book year='1815'>Emma</book></shelf>");
    const auto parser = session.component().create<IKelSAXXmlV2>(session.component().classNamed("MSSAXXml"));
    Counter counter;
    parser->pushHandler(&counter);
    expect(parser->parseFile(pathOf(file)), "parseFile");
    parser->popHandler();
    expect(counter.starts == 2 && counter.ends == 2 && counter.attributeCount == 2 && counter.hasText,
           "startElement, characters, endElement");
}

void rejectMalformed(const Session& session) {
    const ParserPtr parser = session.makeParser();
    expect(!parser->loadFromString(u"<shelf>\n  <book></shelf>"), "</shelf>");
    expect(parser->getError()->getCode() == IKelDOMXml::kRejectedByEngine, "error 3");
    const std::string message = kelhost::toUtf8(parser->getError()->getMessage());
    if (message.find('2') == std::string::npos || message.find("book") == std::string::npos)
        throw Exception(kRejected, message);
    expect(!parser->loadFromFile(u"no/such/file.xml"), "no/such/file.xml");
    expect(parser->getError()->getCode() == IKelDOMXml::kFileNotReadable, "error 1");
}

// The component's own tests, in the order in which it names them.
class OwnTests final : public kel::Implements<OwnTests, IKelTestReceiver> {
public:
    static constexpr const char* kClassName = "OwnTests";
    void receive(const KelClassId& id) override { ids.push_back(id); }
    std::vector<KelClassId> ids;
};

std::vector<KelClassId> ownTestsOf(const Session& session) {
    const IPtr<OwnTests> tests(new OwnTests);
    session.component().inside().selfTest(tests.get());
    return tests->ids;
}

void runOwnTest(const Session& session, const KelClassId& id) {
    const auto test = session.component().create<IKelSelfTest>(id);
    std::string reason;
    if (!test->run(reason)) throw Exception(kRejected, reason);
}

struct Step {
    const char* name;
    void (*run)(const Session&);
};

constexpr Step kStepOfEach{trKey("create an object of every class"), createEveryClass};
constexpr Step kStepsOfXml[]{
    {trKey("walk and edit a document"), walkAndEdit},
    {trKey("save a document, read it back and compare"), saveAndReadBack},
    {trKey("transform with a style sheet"), transformDocument},
    {trKey("validate documents, valid and invalid ones"), validateDocuments},
    {trKey("read events"), readEvents},
    {trKey("explain what is rejected, and where"), rejectMalformed},
};

// A component of another purpose has its own tests alone. Ours is tried whole, whatever it offers.
bool isForXml(const kelhost::Component& component) {
    return component.name() == "msxml_parser" ||
           std::any_of(component.classes().begin(), component.classes().end(),
                       [](const kelhost::ComponentClass& offered) { return offered.name == "MSDOMXml"; });
}

// Whether it went well.
bool report(Output& output, const std::string& name, const std::function<void()>& run) {
    std::string complaint;
    try {
        run();
    } catch (...) {
        complaint = currentException().what();
    }
    if (complaint.empty())
        output.write(tr("ok"), Ink::Text);
    else
        output.write(tr("FAILED"), Ink::Alarm);
    output.write("  " + name + (complaint.empty() ? "" : ": " + complaint) + '\n');
    return complaint.empty();
}

}  // namespace

void selfTest(Session& session) {
    Output output;
    std::vector<Step> steps{kStepOfEach};
    if (isForXml(session.component()))
        steps.insert(steps.end(), std::begin(kStepsOfXml), std::end(kStepsOfXml));
    std::size_t failed = 0;
    for (const Step& step : steps)
        failed += report(output, tr(step.name), [&] { step.run(session); }) ? 0 : 1;
    const std::vector<KelClassId> ownTests = ownTestsOf(session);
    for (const KelClassId& id : ownTests) {
        const char* const name = session.component().inside().classNameOf(id);
        const std::string step =
            tr("run the component's own test") + ": " + (name != nullptr ? name : kel::classIdText(id));
        failed += report(output, step, [&] { runOwnTest(session, id); }) ? 0 : 1;
    }
    output.finish();
    if (failed > 0)
        throw Exception(kRejected, trCount("%1 of %2 steps failed", "%1 of %2 steps failed",
                                           static_cast<std::uint64_t>(failed),
                                           std::to_string(steps.size() + ownTests.size())));
}

}  // namespace kelxml
