// docs/errors.md against the component: every code that the page has a heading for is provoked, and must come
// with a message that the page quotes below that heading; every row of its table of statuses likewise.
#include <sys/stat.h>

#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "KelBasicTypes/binfile.h"
#include "KelBasicTypes/binmemory.h"
#include "msxml_parser/detail/engineclasses.h"
#include "tests/component/fixture.h"
#include "tests/component/platform/classes.h"
#include "tests/support/matching.h"

namespace {

using namespace component_test;

constexpr const char* kFailingSheet =
    "<x:stylesheet version='1.0' xmlns:x='http://www.w3.org/1999/XSL/Transform'>"
    "<x:template match='/'><x:message terminate='yes'>no</x:message></x:template></x:stylesheet>";
constexpr const char* kSchema =
    "<xs:schema xmlns:xs='http://www.w3.org/2001/XMLSchema'><xs:element name='a' type='xs:int'/></xs:schema>";

template <typename Wanted, typename Parser>
IPtr<Wanted> as(const Parser& parser) {
    return IPtr<Wanted>(kel::queryInterface<Wanted>(parser.get()));
}

class Ignoring final : public KelSAXXmlEvents {};

// A run of events that parses again from inside the first one.
class Nesting final : public IKelSAXXmlHandler {
public:
    Nesting(SaxParser parser, std::string path) : parser_(std::move(parser)), path_(std::move(path)) {}
    void startElement(const KelString&, int, const KelSAXXmlAttributes&) override {
        result = parser_->parseFile(wide(path_)) ? "true " : "false ";
        result += errorOf(parser_);
    }
    void characters(const KelString&) override {}
    void endElement(const KelString&) override {}
    std::string result;

private:
    SaxParser parser_;
    std::string path_;
};

class ErrorsPage : public ::testing::Test {
protected:
    using Provocations = std::map<std::string, std::function<std::string()>>;

    ErrorsPage() {
        std::ifstream in(KEL_TEST_DATA "/../../docs/errors.md");
        for (std::string line; std::getline(in, line);) page_.push_back(line);
        EXPECT_GT(page_.size(), 300u);
    }

    std::string failed(const DomParser& parser, bool done) { return done ? "it succeeds" : errorOf(parser); }
    template <typename Object>
    static std::string messageOf(const Object& object, bool done) {
        KelString text;
        IKelXmlError* const error = object->getError();
        return done ? "it succeeds" : std::to_string(error->getCode()) + ' ' + utf8(error->getMessage(text));
    }
    IPtr<IKelXmlSchema> schema() { return IPtr<IKelXmlSchema>(as<IKelXmlFactory>(dom_)->createSchema()); }
    IPtr<IKelXslStyleSheet> sheet() {
        return IPtr<IKelXslStyleSheet>(as<IKelXmlFactory>(dom_)->createStyleSheet());
    }
    KelString file(const char* name, std::string_view content) { return wide(folder_.write(name, content)); }
    KelString missing() { return wide(folder_.path("missing")); }
    std::string failedSax(bool done) { return done ? "it succeeds" : errorOf(sax_); }
    static DomParser withoutDocument() {
        const FailingClass failing(msxml::kDocumentClass);
        return makeDom();
    }

    Provocations ofDocuments();
    Provocations ofTheRest();
    std::map<std::string, std::function<void()>> ofStatuses();
    // Headings with "Code" and what is quoted below each, as regular expressions.
    [[nodiscard]] std::map<std::string, std::set<std::string>> headings() const;

    std::vector<std::string> page_;
    const Folder folder_;
    const DomParser dom_ = load("<a>1</a>");
    const IPtr<IKelDOMXmlV3> dom3_ = as<IKelDOMXmlV3>(dom_);
    const SaxParser sax_ = makeSax();
    const IPtr<IKelSAXXmlV3> sax3_ = as<IKelSAXXmlV3>(sax_);
    Ignoring events_;
};

ErrorsPage::Provocations ErrorsPage::ofDocuments() {
    return {
        {"DOM: loading/Code 1: the file cannot be read",
         [&] { return failed(dom_, dom_->loadFromFile(missing())); }},
        {"DOM: loading/Code 3: the file was rejected",
         [&] { return failed(dom_, dom_->loadFromFile(file("bad", "<a>"))); }},
        {"DOM: loading/Code 3: the text was rejected",
         [&] { return failed(dom_, dom_->loadFromString(u"<!DOCTYPE a><a/>")); }},
        {"DOM: loading/Code 5: no document",
         [&] {
             const DomParser none = withoutDocument();
             EXPECT_TRUE(errorOf(none).starts_with("5 Error -2147221164 instantiating")) << errorOf(none);
             return failed(none, none->loadFromString(u"<a/>"));
         }},
        {"DOM: loading/Code 4: not an element of this component",
         [&] {
             dom_->setRootElement(nullptr);
             return errorOf(dom_);
         }},
        {"DOM: saving/Code 0: the file cannot be written",
         [&] { return failed(dom_, dom_->saveToFile(wide(folder_.path("no/such")))); }},
        {"DOM: saving/Code 5: no document to write",
         [&] {
             const DomParser none = withoutDocument();
             KelString out;
             return failed(none, none->saveToString(out));
         }},
        {"DOM: saving/Code 8: the file cannot be created",
         [&] { return failed(dom_, dom3_->writeFile(wide(folder_.path("no/such")), 0, u"")); }},
        {"DOM: saving/Code 9: the document cannot be written",
         [&] { return failed(dom_, dom3_->writeFile(wide(folder_.path("out")), 0, u"no-such-encoding")); }},
        {"DOM: expressions/Code 10: the expression is wrong",
         [&] { return failed(dom_, dom3_->selectFirst(u"//[", nullptr) != nullptr); }},
        {"DOM: expressions/Code 11: the expression selects other nodes than elements",
         [&] { return failed(dom_, dom3_->selectFirst(u"//text()", nullptr) != nullptr); }},
        {"DOM: transforming/Code 6: the transformation failed",
         [&] {
             KelString out;
             return failed(dom_, dom_->transformToString(load(kFailingSheet).get(), out));
         }},
        {"DOM: transforming/Code 6: nothing to transform with",
         [&] {
             KelString out;
             return failed(dom_, dom_->transformToString(nullptr, out));
         }},
        {"DOM: transforming/Code 3: the source had failed to load",
         [&] {
             KelString out;
             EXPECT_FALSE(dom_->loadFromString(u"<a>"));
             const DomParser good =
                 load("<r xsl:version='1.0' xmlns:xsl='http://www.w3.org/1999/XSL/Transform'/>");
             return failed(dom_, dom_->transformToString(good.get(), out));
         }},
        {"DOM: transforming/Code 5: no document to transform",
         [&] {
             KelString out;
             const DomParser none = withoutDocument();
             return failed(none, none->transformToString(dom_.get(), out));
         }},
        {"DOM: validating/Code 7: the schema cannot be read",
         [&] { return failed(dom_, dom_->validate(u"", wide("http://example.org/a.xsd"))); }},
        {"DOM: validating/Code 7: validation could not be set up",
         [&] {
             const KelString path = file("a.xsd", kSchema);
             const FailingClass failing(msxml::kSchemaCacheClass);
             return failed(dom_, dom_->validate(u"", path));
         }},
        {"DOM: validating/Code 3: the document is not valid",
         [&] {
             const DomParser invalid = load("<a>x</a>");
             return failed(invalid, invalid->validate(u"", file("a.xsd", kSchema)));
         }},
        {"DOM: validating/Code 5: no document to validate",
         [&] {
             const DomParser none = withoutDocument();
             return failed(none, none->validate(u"", missing()));
         }},
    };
}

ErrorsPage::Provocations ErrorsPage::ofTheRest() {
    return {
        {"SAX/Code 1: the file to stream cannot be read",
         [&] { return failedSax(sax_->parseFile(missing())); }},
        {"SAX/Code 5: no reader",
         [&] {
             const FailingClass failing(msxml::kSaxReaderClass);
             const SaxParser none = makeSax();
             return none->parseFile(missing()) ? "it succeeds" : errorOf(none);
         }},
        {"SAX, third version/Code 3: the document was rejected",
         [&] { return failedSax(sax3_->readString(u"<a>", events_)); }},
        {"SAX, third version/Code 8: the document is beyond a limit",
         [&] {
             std::string deep;
             for (int i = 0; i <= IKelSAXXmlV3::kMaxDepth; ++i) deep += "<a>";
             return failedSax(sax3_->readBytes(deep.data(), deep.size(), events_));
         }},
        {"SAX, third version/Code 5: no reader for the third version",
         [&] {
             const SaxParser fresh = makeSax();
             const FailingClass failing(msxml::kSaxReader60Class);
             return as<IKelSAXXmlV3>(fresh)->readString(u"<a/>", events_) ? "it succeeds" : errorOf(fresh);
         }},
        {"Schemas and style sheets/Code 6: the style sheet failed",
         [&] {
             const IPtr<IKelXslStyleSheet> failing = sheet();
             KelString out;
             EXPECT_TRUE(failing->compileString(wide(kFailingSheet)));
             return messageOf(failing, failing->transformToString(dom_.get(), out));
         }},
        {"Schemas and style sheets/Code 7: nothing has been compiled",
         [&] {
             const IPtr<IKelXmlSchema> empty = schema();
             return messageOf(empty, empty->validate(dom_.get(), nullptr));
         }},
        {"Schemas and style sheets/Code 9: the document is not valid",
         [&] {
             const IPtr<IKelXmlSchema> compiled = schema();
             EXPECT_TRUE(compiled->addFile(u"", file("a.xsd", kSchema)));
             return messageOf(compiled, compiled->validateBytes("<b/>", 4, nullptr));
         }},
        {"Schemas and style sheets/Code 10: no schema, or no style sheet",
         [&] {
             const IPtr<IKelXmlSchema> empty = schema();
             return messageOf(empty, empty->addFile(u"urn:other", file("a.xsd", kSchema)));
         }},
        {"Schemas and style sheets/Code 11: an argument is rejected",
         [&] {
             const IPtr<IKelXslStyleSheet> any = sheet();
             return messageOf(any, any->setTextParameter(u"p:q", u"", u""));
         }},
        {"Schemas and style sheets/Code 1: the result cannot be written",
         [&] {
             const IPtr<IKelXslStyleSheet> good = sheet();
             EXPECT_TRUE(good->compileString(
                 wide("<r xsl:version='1.0' xmlns:xsl='http://www.w3.org/1999/XSL/Transform'/>")));
             BinOutputFile nowhere(wide(folder_.path("no/such")));
             return messageOf(good, good->transformToStream(dom_.get(), nowhere));
         }},
    };
}

std::map<std::string, std::function<void()>> ErrorsPage::ofStatuses() {
    return {
        {"an attribute position beyond the last", [&] { rootOf(dom_)->getAttributeName(0); }},
        {"any use of the root of an empty document", [] { rootOf(makeDom())->getName(); }},
        {"any use of the parent of the root element", [&] { Element(rootOf(dom_)->getParent())->getName(); }},
        {"saving a document without root element",
         [] {
             KelString out;
             makeDom()->saveToString(out);
         }},
        {"renaming an element without parent", [&] { Element(dom_->createElement(u"e"))->setName(u"f"); }},
        {"a name that is no XML name", [&] { Element(dom_->createElement(u"a b")); }},
        {"a second root element", [&] { dom_->setRootElement(Element(dom_->createElement(u"e")).get()); }},
        {"an element put below itself", [&] { rootOf(dom_)->addChild(rootOf(dom_).get()); }},
        {"`createElement` with a prefix that is nowhere declared",
         [&] { Element(dom_->createElement(u"p:e")); }},
        {"`createElementInNamespace` with a prefix and no namespace",
         [&] { Element(dom3_->createElementInNamespace(u"", u"p:e")); }},
        {"`removeChild` of an element that is no child",
         [&] {
             const Element root = rootOf(dom_);
             as<IKelDOMXmlElementV2>(root)->removeChild(Element(dom_->createElement(u"e")).get());
         }},
        {"`insertChild` of null",
         [&] { as<IKelDOMXmlElementV2>(rootOf(dom_))->insertChild(nullptr, nullptr); }},
        {"`validate` with a file that is no schema", [&] { dom_->validate(u"", file("no.xsd", "<a/>")); }},
        {"`validate` with a schema of another namespace",
         [&] { dom_->validate(u"urn:other", file("a.xsd", kSchema)); }},
        {"an operation of `IKelSAXXmlV3` inside an event of the same parser",
         [&] {
             class Again final : public KelSAXXmlEvents {
             public:
                 explicit Again(IKelSAXXmlV3& reader) : reader_(reader) {}
                 void startDocument() override { reader_.readString(u"<a/>", *this); }

             private:
                 IKelSAXXmlV3& reader_;
             } again(*sax3_);
             sax3_->readString(u"<a/>", again);
         }},
    };
}

std::map<std::string, std::set<std::string>> ErrorsPage::headings() const {
    std::map<std::string, std::set<std::string>> found;
    std::string section;
    std::string heading;
    for (const std::string& line : page_) {
        if (line.starts_with("## ")) section = line.substr(3);
        if (line.starts_with("#")) heading.clear();
        if (line.starts_with("### Code ")) found[heading = section + '/' + line.substr(4)];
        if (heading.empty() || !line.starts_with("> ")) continue;
        const std::size_t open = line.find('`');
        if (open == std::string::npos) {  // "the messages of code 3"
            for (const auto& [other, messages] : std::map(found))
                if (other.starts_with(section + "/Code 3"))
                    found[heading].insert(messages.begin(), messages.end());
            continue;
        }
        std::string text = line.substr(open + 1, line.rfind('`') - open - 1);
        for (const char special : {'.', '(', ')'}) {
            for (std::size_t at = 0; (at = text.find(special, at)) != std::string::npos; at += 2)
                text.insert(at, 1, '\\');
        }
        for (std::size_t at = 0; (at = text.find('%', at)) != std::string::npos;) text.replace(at, 2, "[^]*");
        found[heading].insert(text);
    }
    return found;
}

TEST_F(ErrorsPage, HasEveryCodeWithItsMessage) {
    Provocations provocations = ofDocuments();
    provocations.merge(ofTheRest());
    const auto documented = headings();
    for (const auto& [heading, messages] : documented) {
        SCOPED_TRACE(heading);
        const auto provocation = provocations.find(heading);
        if (provocation == provocations.end()) {
            ADD_FAILURE() << "nothing provokes it";
            continue;
        }
        const std::string error = provocation->second();
        const std::size_t number = heading.find("Code ") + 5;
        std::string expression;
        for (const std::string& message : messages) expression += (expression.empty() ? "" : "|") + message;
        EXPECT_TRUE(kel::test::matches(
            error, heading.substr(number, heading.find(':', number) - number) + " (" + expression + ")"));
        EXPECT_TRUE(dom_->loadFromString(u"<a>1</a>"));  // for the next one
    }
    EXPECT_EQ(provocations.size(), documented.size());
}

TEST_F(ErrorsPage, HasEveryStatus) {
    auto provocations = ofStatuses();
    for (const std::string& line : page_) {
        const std::size_t end = line.find(" | `0x");
        const bool isAccepted = line.ends_with(" | accepted |");
        if (!line.starts_with("| ") || (end == std::string::npos && !isAccepted)) continue;
        const auto row = provocations.extract(line.substr(2, (isAccepted ? line.rfind(" | ") : end) - 2));
        ASSERT_TRUE(row) << "nothing provokes: " << line;
        const HRESULT status = statusOf(row.mapped());
        std::ostringstream text;
        text << "`0x" << std::hex << std::uppercase << static_cast<std::uint32_t>(status) << '`';
        EXPECT_EQ(isAccepted ? S_OK : status, status) << line;
        EXPECT_TRUE(isAccepted || line.find(text.str()) == end + 3) << line << " is " << text.str();
    }
    for (const auto& [left, provocation] : provocations) ADD_FAILURE() << "the page has no row: " << left;
}

// What the page says of events inside events.
TEST_F(ErrorsPage, NestedParsesReportSuccess) {
    const std::string path = folder_.write("a.xml", "<a/>");
    Nesting nesting(sax_, path);
    sax_->pushHandler(&nesting);
    EXPECT_TRUE(sax_->parseFile(wide(path)));
    sax_->popHandler();
    EXPECT_EQ(nesting.result, "true 0 ");
}

}  // namespace
