#include "tests/faults/operations.h"

#include <cstdio>
#include <cstring>
#include <fstream>
#include <sstream>
#include <utility>

#include "KelBasicTypes/binfile.h"
#include "KelBasicTypes/binmemory.h"
#include "KelBasicTypes/utf8.h"
#include "msxml_parser/msxml_parser.h"

namespace faults {

namespace {

using Dom = IPtr<IKelDOMXmlV2>;
using Element = IPtr<IKelDOMXmlElement>;

constexpr const char* kDocument =
    "<shelf xmlns='urn:s' xmlns:p='urn:p'>\n <!-- c --><?pi d?>\n"
    " <book id='b1' p:year='1815'>Emma &amp; <i>others</i></book>\n"
    " <book id='b2'><![CDATA[a < b]]> text long enough to leave every buffer that is inside an "
    "object</book>\n"
    " <p:empty/><book id='b3'/></shelf>";
constexpr const char* kWithDoctype =
    "<!DOCTYPE a [<!ENTITY e 'entity <b>text</b>'><!ATTLIST a d CDATA 'default'>]><a x='&lt;'>&e;<c/>&e;</a>";
constexpr const char* kStyle =
    "<x:stylesheet version='1.0' xmlns:x='http://www.w3.org/1999/XSL/Transform' xmlns:s='urn:s'"
    " xmlns:m='urn:schemas-microsoft-com:xslt' exclude-result-prefixes='s m'>"
    "<x:include href='part.xsl'/><x:output indent='yes'/><x:strip-space elements='*'/>"
    "<x:key name='k' match='s:book' use='@id'/><x:variable name='tree'><n v='1'/><n v='2'/></x:variable>"
    "<x:template match='/'><out count='{count(//s:book)}'><x:apply-templates select='//s:book'>"
    "<x:sort select='@id' order='descending'/></x:apply-templates>"
    "<x:value-of select=\"key('k', 'b2')\"/><x:copy-of select='//s:book[1]'/>"
    "<x:number value='7' format='I'/><x:value-of select=\"format-number(12345.678, '#,##0.00')\"/>"
    "<x:for-each select='m:node-set($tree)/n'><x:element name='e{@v}'><x:attribute name='a'>"
    "<x:value-of select='@v * 2'/></x:attribute></x:element></x:for-each>"
    "<x:value-of select=\"concat(translate('abc', 'b', 'x'), substring-after('a-b', '-'))\"/>"
    "<x:comment>c</x:comment><x:processing-instruction name='t'>d</x:processing-instruction>"
    "<x:choose><x:when test='//s:book[@id=&quot;b9&quot;]'>y</x:when><x:otherwise>n</x:otherwise></x:choose>"
    "</out></x:template></x:stylesheet>";
constexpr const char* kStylePart =
    "<x:stylesheet version='1.0' xmlns:x='http://www.w3.org/1999/XSL/Transform' xmlns:s='urn:s'>"
    "<x:template match='s:book'><x:param name='q' select='position()'/><b n='{$q}'><x:value-of select='@id'/>"
    "</b></x:template></x:stylesheet>";
constexpr const char* kSchema =
    "<xs:schema xmlns:xs='http://www.w3.org/2001/XMLSchema' targetNamespace='urn:s' xmlns='urn:s'"
    " elementFormDefault='qualified'><xs:include schemaLocation='part.xsd'/>"
    "<xs:element name='list'><xs:complexType><xs:sequence><xs:element name='item' type='Item' maxOccurs='9'/>"
    "</xs:sequence></xs:complexType><xs:unique name='u'><xs:selector xpath='item'/><xs:field xpath='@n'/>"
    "</xs:unique></xs:element></xs:schema>";
constexpr const char* kSchemaPart =
    "<xs:schema xmlns:xs='http://www.w3.org/2001/XMLSchema' targetNamespace='urn:s' xmlns='urn:s'"
    " elementFormDefault='qualified'><xs:complexType name='Item'><xs:simpleContent><xs:extension "
    "base='Short'>"
    "<xs:attribute name='n' type='xs:decimal' use='required'/><xs:attribute name='d' type='xs:date'/>"
    "</xs:extension></xs:simpleContent></xs:complexType><xs:simpleType name='Short'><xs:restriction"
    " base='xs:string'><xs:pattern value='[a-z]{1,5}'/><xs:maxLength value='5'/></xs:restriction>"
    "</xs:simpleType></xs:schema>";
constexpr const char* kValid =
    "<list xmlns='urn:s'><item n='1' d='2026-01-31'>abc</item><item n='2'>d</item></list>";
constexpr const char* kInvalid = "<list xmlns='urn:s'><item n='1'>abc</item><item n='1.0'>d</item></list>";

KelString wide(const std::string& utf8) {
    return KelString(std::u16string_view(kel::fromUtf8(utf8)));
}

std::string utf8(const KelString& text) {
    return kel::toUtf8(text.view());
}

std::string saved(IKelDOMXml& parser) {
    KelString out;
    (void)parser.saveToString(out);
    return utf8(out);
}

std::string contentOf(const std::string& path) {
    std::ostringstream content;
    content << std::ifstream(path, std::ios::binary).rdbuf();
    return content.str();
}

Dom newParser() {
    static XmlDOM dom;  // leaves something behind by design, hence one for all runs
    return Dom(dom.getParser());
}

Dom loaded(const std::string& xml) {
    Dom parser = newParser();
    if (!parser->loadFromString(wide(xml)))
        std::fputs("a document of the fault sweep does not load\n", stderr);
    return parser;
}

// What the operations work on, and the two halves of a run as functions of it.
struct Objects {
    Dom document;
    Dom other = newParser();
    Dom style;
    KelString text;
    KelString path;
    KelString schema;
    KelString uri;
    Element element;
};
using Call = std::function<bool(Objects&)>;
using Result = std::function<std::string(Objects&)>;

class DomRun final : public Run {
public:
    DomRun(Objects&& objects, const Call& call, const Result& result)
        : objects_(std::move(objects)), call_(call), result_(result) {}
    bool call() override { return call_(objects_); }
    std::string result() override { return result_(objects_); }

private:
    Objects objects_;
    const Call& call_;
    const Result& result_;
};

std::string documentOf(Objects& objects) {
    return saved(*objects.document);
}
// The verdict of an operation for which "false" is a result, too.
std::string messageOf(Objects& objects) {
    return utf8(objects.document->getError()->getMessage());
}

bool walk(Objects& o) {
    o.text.makeEmpty();
    const IPtr<IKelDOMXmlElementItr> at(o.element->getChildren());
    if (!at) return false;  // as documented, for want of memory
    for (; !at->isEnd(); at->next()) {
        IKelDOMXmlElement* const element = at->getElement();
        if (element == nullptr) return false;  // as documented, for want of memory
        o.text.append(element->getName());
        for (int i = 0; i < element->getAttributeCount(); ++i) {
            o.text.append(element->getAttributeName(i));
            o.text.append(element->getAttributeValue(i));
        }
        o.text.append(element->getText());
    }
    return true;
}

bool edit(Objects& o) {
    const Element made(o.document->createElement(KelString(u"made")));
    const Element copy(o.element->clone());
    const Element child(o.element->getChild(KelString(u"book")));
    if (!made || !copy || !child) return false;  // as documented, for want of memory
    made->setAttribute(KelString(u"name"), KelString(u"a value that is longer than any short string is"));
    made->setText(KelString(u"text"));
    made->addChild(copy.get());
    child->setName(KelString(u"renamed"));
    child->setText(KelString(u"another text"));
    o.element->addChild(made.get());
    return o.document->addProcessingInstruction(KelString(u"target"), KelString(u"data"));
}

// The third version of the document's parser.
IKelDOMXmlV3& third(Objects& o) {
    return *kel::queryInterface<IKelDOMXmlV3>(o.document.get());
}

bool select(Objects& o) {
    o.text.makeEmpty();
    if (!third(o).setPrefix(KelString(u"s"), o.uri)) return false;
    const IPtr<IKelDOMXmlElementItrV2> found(third(o).select(o.path, nullptr));
    if (!found) return false;
    while (const IPtr<IKelDOMXmlElementV2> element{found->takeNext()})
        o.text.append(element->getAttribute(KelString(u"id")));
    double number = 0;
    KelString value;
    if (!third(o).evaluateNumber(KelString(u"count(//s:book)"), nullptr, number) ||
        !third(o).evaluateText(KelString(u"string(//s:book[2])"), nullptr, value))
        return false;
    o.text.append(KelString(number)).append(value);
    return true;
}

bool rearrange(Objects& o) {
    const auto second = [](IKelDOMXmlElement* element) {
        const Element owner(element);
        return IPtr<IKelDOMXmlElementV2>(kel::queryInterface<IKelDOMXmlElementV2>(element));
    };
    const auto root = second(o.document->getRootElement());
    const IPtr<IKelDOMXmlElementV2> made(
        third(o).createElementInNamespace(KelString(u"urn:new"), KelString(u"n:made")));
    if (!root || !made) return false;  // as documented, for want of memory
    const IPtr<IKelDOMXmlElementItrV2> books(root->getChildrenNamed(KelString(u"book")));
    const IPtr<IKelDOMXmlElementV2> first(books->takeNext());
    const IPtr<IKelDOMXmlElementV2> other(books->takeNext());
    root->insertChild(made.get(), first.get());
    root->insertChild(other.get(), made.get());
    first->removeFromParent();
    (void)other->removeAttribute(KelString(u"id"));
    KelString text;
    other->setAttribute(KelString(u"all"), other->getAllText(text));
    return true;
}

std::string writtenOf(Objects& o) {
    KelString text;
    (void)third(o).writeString(text, 0);
    return utf8(text);
}

// Events as text. Its strings are the component's affair while it parses, so they are kept as they come.
class EventLog final : public IKelSAXXmlHandler {
public:
    void startElement(const KelString& name, int, const KelSAXXmlAttributes& attributes) override {
        add('<', name);
        for (const auto& [attribute, value] : attributes) add(' ', attribute), add('=', value);
    }
    void characters(const KelString& text) override { add('"', text); }
    void endElement(const KelString& name) override { add('>', name); }

    [[nodiscard]] std::string text() const { return {log_, used_}; }

private:
    void add(char mark, const KelString& text) {
        if (used_ < sizeof log_) log_[used_++] = mark;
        for (const char16_t unit : text.view()) {
            if (used_ < sizeof log_) log_[used_++] = static_cast<char>(unit);
        }
    }
    char log_[4096];
    std::size_t used_ = 0;
};

class SaxRun final : public Run {
public:
    explicit SaxRun(const std::string& path) : path_(wide(path)) { parser().pushHandler(&log_); }
    ~SaxRun() override { parser().popHandler(); }
    bool call() override { return parser().parseFile(path_); }
    std::string result() override { return log_.text(); }

private:
    // Never given back by design, hence one for all runs.
    static IKelSAXXmlV2& parser() {
        static const IPtr<IKelSAXXmlV2> theParser(XmlSAX().getParser());
        return *theParser.get();
    }
    KelString path_;
    EventLog log_;
};

// All events of the third version, in the same way.
class FullEventLog final : public IKelSAXXmlHandlerV2 {
public:
    void startDocument() override { add('{', {}); }
    void endDocument() override { add('}', {}); }
    void startElement(const KelSAXXmlName& name, std::span<const KelSAXXmlAttribute> attributes,
                      std::span<const KelSAXXmlDeclaration> declarations) override {
        add('<', name.qualified), add('|', name.namespaceUri);
        for (const auto& one : declarations) add('@', one.prefix), add('=', one.namespaceUri);
        for (const auto& one : attributes)
            add(' ', one.name.local), add('|', one.name.namespaceUri), add('=', one.value);
    }
    void endElement(const KelSAXXmlName& name) override { add('>', name.local); }
    void characters(std::u16string_view text) override { add('"', text); }
    void startCData() override { add('[', {}); }
    void endCData() override { add(']', {}); }
    void comment(std::u16string_view text) override { add('!', text); }
    void processingInstruction(std::u16string_view target, std::u16string_view data) override {
        add('?', target), add(' ', data);
    }
    void clear() noexcept { used_ = 0; }
    [[nodiscard]] std::string text() const { return {log_, used_}; }

private:
    void add(char mark, std::u16string_view text) {
        if (used_ < sizeof log_) log_[used_++] = mark;
        for (const char16_t unit : text) {
            if (used_ < sizeof log_) log_[used_++] = static_cast<char>(unit);
        }
    }
    char log_[4096];
    std::size_t used_ = 0;
};

class FullSaxRun final : public Run {
public:
    explicit FullSaxRun(const char* bytes) : bytes_(bytes) { (void)reader(); }  // made without faults
    bool call() override { return reader().readBytes(bytes_, std::strlen(bytes_), log_); }
    std::string result() override { return log_.text(); }

private:
    // One for all runs, as in SaxRun.
    static IKelSAXXmlV3& reader() {
        static const IPtr<IKelSAXXmlV3> theReader(kel::queryInterface<IKelSAXXmlV3>(XmlSAX().getParser()));
        return *theReader.get();
    }
    const char* bytes_;
    FullEventLog log_;
};

// Counts the violations, and keeps the last as it comes.
class ViolationLog final : public IKelXmlViolationHandler {
public:
    bool violation(const KelXmlViolation& found) override {
        ++count_;
        used_ = 0;
        for (const std::u16string_view text : {found.path, found.reason}) {
            for (const char16_t unit : text) {
                if (used_ < sizeof last_) last_[used_++] = static_cast<char>(unit);
            }
        }
        return true;
    }
    [[nodiscard]] std::string text() const { return std::to_string(count_) + std::string(last_, used_); }

private:
    int count_ = 0;
    char last_[1024];
    std::size_t used_ = 0;
};

class SchemaRun final : public Run {
public:
    // A null document: it compiles the schema only.
    SchemaRun(const std::string& schema, const char* document, bool isStream)
        : path_(wide(schema)), uri_(wide("urn:s")), document_(document), isStream_(isStream) {
        const Dom parser = newParser();
        schema_ = kel::queryInterface<IKelXmlFactory>(parser.get())->createSchema();
        if (document == nullptr) return;
        if (!schema_->addFile(uri_, path_)) std::fputs("the schema does not compile\n", stderr);
        tree_ = loaded(document);
    }
    bool call() override {
        if (document_ == nullptr) return schema_->addFile(uri_, path_);
        const bool isValid = isStream_ ? schema_->validateBytes(document_, std::strlen(document_), &log_)
                                       : schema_->validate(tree_.get(), &log_);
        return isValid || schema_->getError()->getCode() == IKelXmlError::kNotValid;
    }
    std::string result() override { return log_.text(); }

private:
    KelString path_;
    KelString uri_;
    const char* document_;
    bool isStream_;
    IPtr<IKelXmlSchema> schema_;
    Dom tree_;
    ViolationLog log_;
};

class StyleSheetRun final : public Run {
public:
    explicit StyleSheetRun(const std::string& style) : path_(wide(style)), source_(loaded(kDocument)) {
        sheet_ = kel::queryInterface<IKelXmlFactory>(source_.get())->createStyleSheet();
    }
    bool call() override {
        return sheet_->compileFile(path_) && sheet_->setTextParameter(name_, none_, value_) &&
               sheet_->transformToString(source_.get(), text_);
    }
    std::string result() override { return utf8(text_); }

private:
    KelString path_;
    KelString name_{u"parameter"};
    KelString none_{u""};
    KelString value_{u"a value that is longer than any short string is"};
    Dom source_;
    IPtr<IKelXslStyleSheet> sheet_;
    KelString text_;
};

class Sweep {
public:
    explicit Sweep(const std::string& folder) : folder_(folder) {}

    std::string file(const std::string& name, const std::string& content) const {
        const std::string path = folder_ + '/' + name;
        std::ofstream(path, std::ios::binary) << content;
        return path;
    }

    void dom(const std::string& name, std::function<Objects()> prepare, Call call, Result result) {
        operations.push_back(
            {name, [prepare = std::move(prepare), call = std::move(call), result = std::move(result)] {
                 return std::make_unique<DomRun>(prepare(), call, result);
             }});
    }

    void addLoading() {
        const auto empty = [](const std::string& path) {
            return [path] {
                Objects o;
                o.document = newParser();
                o.path = wide(path);
                return o;
            };
        };
        const Call load = [](Objects& o) { return o.document->loadFromFile(o.path); };
        std::string utf16 = "\xFF\xFE";
        for (const char* c = kDocument; *c != '\0'; ++c) utf16 += {*c, '\0'};
        dom("load a file", empty(file("document.xml", kDocument)), load, documentOf);
        dom("load a file in UTF-16", empty(file("utf16.xml", utf16)), load, documentOf);
        dom("load a file in another encoding",
            empty(file("koi8.xml", std::string("<?xml version='1.0' encoding='KOI8-R'?>") + kDocument)), load,
            documentOf);
        dom(
            "load a string",
            [] {
                Objects o;
                o.document = newParser();
                o.text = wide(kDocument);
                return o;
            },
            [](Objects& o) { return o.document->loadFromString(o.text); }, documentOf);
        operations.push_back(
            {"parse a file",
             [path = file("events.xml", kDocument)] { return std::make_unique<SaxRun>(path); },
             Exception::SucceedsAlways});
        operations.push_back(
            {"parse a file with a DOCTYPE",
             [path = file("doctype.xml", kWithDoctype)] { return std::make_unique<SaxRun>(path); },
             Exception::SucceedsAlways});
    }

    void addTree() {
        const auto document = [path = folder_ + "/saved.xml"] {
            Objects o;
            o.document = loaded(kDocument);
            o.element = Element(o.document->getRootElement());
            o.path = wide(path);
            return o;
        };
        dom(
            "save to a string", document,
            [](Objects& o) { return o.text.makeEmpty(), o.document->saveToString(o.text); },
            [](Objects& o) { return utf8(o.text); });
        dom(
            "save to a file", document, [](Objects& o) { return o.document->saveToFile(o.path); },
            [path = folder_ + "/saved.xml"](Objects&) { return contentOf(path); });
        operations.back().exception = Exception::KeepsOnFailure;
        dom("walk", document, walk, [](Objects& o) { return utf8(o.text); });
        dom("edit", document, edit, documentOf);
    }

    void addThirdVersion() {
        const auto prepared = [](const std::string& path) {
            return [path] {
                Objects o;
                o.document = loaded(kDocument);
                o.path = wide(path);
                o.uri = wide("urn:s");
                return o;
            };
        };
        const std::string path = folder_ + "/written.xml";
        const auto content = [path](Objects&) { return contentOf(path); };
        dom(
            "load bytes", prepared(""),
            [](Objects& o) { return third(o).loadBytes(kWithDoctype, std::strlen(kWithDoctype), 3); },
            writtenOf);
        dom(
            "load a stream", prepared(""),
            [](Objects& o) {
                BinInputMemory in({reinterpret_cast<const std::uint8_t*>(kDocument), std::strlen(kDocument)});
                return third(o).loadStream(in, 0);
            },
            writtenOf);
        dom(
            "write a file", prepared(path),
            [](Objects& o) { return third(o).writeFile(o.path, IKelDOMXmlV3::kIndent, KelString()); },
            content);
        dom(
            "write a file in another encoding", prepared(path),
            [](Objects& o) { return third(o).writeFile(o.path, 0, KelString(u"KOI8-R")); }, content);
        dom(
            "write a string", prepared(""), [](Objects& o) { return third(o).writeString(o.text, 1); },
            [](Objects& o) { return utf8(o.text); });
        dom("select", prepared("//s:book[starts-with(@id, 'b')][position() < 3]"), select,
            [](Objects& o) { return utf8(o.text); });
        dom("rearrange", prepared(""), rearrange, writtenOf);
    }

    void addTransforming() {
        (void)file("part.xsl", kStylePart);
        const auto prepared = [path = file("style.xsl", kStyle)] {
            Objects o;
            o.document = loaded(kDocument);
            o.style = newParser();
            if (!o.style->loadFromFile(wide(path))) std::fputs("the style sheet does not load\n", stderr);
            return o;
        };
        dom(
            "transform to a string", prepared,
            [](Objects& o) { return o.document->transformToString(o.style.get(), o.text); },
            [](Objects& o) { return utf8(o.text); });
        dom(
            "transform to a document", prepared,
            [](Objects& o) { return o.document->transformToDocument(o.style.get(), o.other.get()); },
            [](Objects& o) { return saved(*o.other); });
    }

    void addValidating() {
        (void)file("part.xsd", kSchemaPart);
        const auto prepared = [path = file("schema.xsd", kSchema)](const char* document) {
            return [path, document] {
                Objects o;
                o.document = loaded(document);
                o.uri = wide("urn:s");
                o.schema = wide(path);
                o.text = wide(document);
                return o;
            };
        };
        const Call validate = [](Objects& o) {
            // "false" with code 3 is a verdict; it must be the right one, too
            return o.document->validate(o.uri, o.schema) || o.document->getError()->getCode() == 3;
        };
        dom("validate a valid document", prepared(kValid), validate, messageOf);
        dom("validate an invalid document", prepared(kInvalid), validate, messageOf);
        dom(
            "validate while loading",
            [prepare = prepared(kValid)] {
                Objects o = prepare();
                (void)o.document->validate(o.uri, o.schema);
                o.document->setValidateOnParse(true);
                return o;
            },
            [](Objects& o) { return o.document->loadFromString(o.text); }, documentOf);
    }

    void addNewer() {
        const auto add = [&](const char* name, std::function<std::unique_ptr<Run>()> prepare) {
            operations.push_back({name, std::move(prepare)});
        };
        add("read bytes", [] { return std::make_unique<FullSaxRun>(kDocument); });
        add("read bytes with a DOCTYPE", [] { return std::make_unique<FullSaxRun>(kWithDoctype); });
        const std::string schema = folder_ + "/schema.xsd";
        add("compile a schema", [=] { return std::make_unique<SchemaRun>(schema, nullptr, false); });
        add("find violations", [=] { return std::make_unique<SchemaRun>(schema, kInvalid, false); });
        add("validate a stream", [=] { return std::make_unique<SchemaRun>(schema, kValid, true); });
        add("find violations in a stream",
            [=] { return std::make_unique<SchemaRun>(schema, kInvalid, true); });
        add("compile and run a style sheet",
            [path = folder_ + "/style.xsl"] { return std::make_unique<StyleSheetRun>(path); });
    }

    std::vector<Operation> operations;

private:
    std::string folder_;
};

}  // namespace

std::vector<Operation> operationsIn(const std::string& folder) {
    Sweep sweep(folder);
    sweep.addLoading();
    sweep.addTree();
    sweep.addThirdVersion();
    sweep.addTransforming();
    sweep.addValidating();
    sweep.addNewer();
    return std::move(sweep.operations);
}

}  // namespace faults
