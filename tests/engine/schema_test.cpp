// Schema collections through the COM interfaces: what they reject, what they find, and when.
#include <gmock/gmock.h>
#include <sys/stat.h>

#include <array>
#include <filesystem>

#include "engine/schema/schemaset.h"
#include "tests/engine/dom_fixture.h"
#include "tests/support/temporaryfolder.h"

namespace {

using namespace domtest;
using kel::test::TemporaryFolder;
using testing::HasSubstr;

using Cache = Ref<IXMLDOMSchemaCollection>;

std::string schema(std::string_view uri, std::string_view body) {
    std::string text =
        "<xs:schema xmlns:xs='http://www.w3.org/2001/XMLSchema' elementFormDefault='qualified'";
    if (!uri.empty()) text += " targetNamespace='" + std::string(uri) + "' xmlns='" + std::string(uri) + "'";
    return text + ">\n" + std::string(body) + "</xs:schema>";
}

constexpr const char* kNumbers =
    "<xs:element name='p'><xs:complexType><xs:sequence>"
    "<xs:element name='n' type='xs:int' maxOccurs='unbounded'/></xs:sequence>"
    "<xs:attribute name='k' type='xs:boolean'/></xs:complexType></xs:element>";

struct Outcome {
    LONG code = 0;
    LONG line = 0;
    LONG column = 0;
    std::string reason;
};

class Validating : public DomTest {
protected:
    TemporaryFolder folder_;

    static Cache newCache() {
        Cache cache;
        EXPECT_EQ(CoCreateInstance(CLSID_XMLSchemaCache60, nullptr, CLSCTX_ALL, IID_IXMLDOMSchemaCollection,
                                   reinterpret_cast<void**>(cache.receive())),
                  S_OK);
        return cache;
    }
    // "" or the description.
    static std::string add(IXMLDOMSchemaCollection& cache, std::string_view uri, const std::string& path) {
        return SUCCEEDED(cache.add(Bstr(uri), Bstr(path).variant())) ? std::string() : lastDescription();
    }
    Cache cacheOf(std::string_view uri, const std::string& text) {
        Cache cache = newCache();
        EXPECT_EQ(add(*cache, uri, folder_.write("main.xsd", text)), "");
        return cache;
    }
    static void attach(IXMLDOMDocument2& document, IXMLDOMSchemaCollection* cache) {
        VARIANT schemas{};
        schemas.vt = VT_DISPATCH;
        schemas.pdispVal = cache;
        EXPECT_EQ(document.putref_schemas(schemas), S_OK);
    }
    static Outcome outcomeOf(IXMLDOMParseError& error) {
        Outcome outcome;
        BSTR text = nullptr;
        (void)error.get_errorCode(&outcome.code);
        (void)error.get_line(&outcome.line);
        (void)error.get_linepos(&outcome.column);
        EXPECT_EQ(error.get_reason(&text), S_OK);
        outcome.reason = takeUtf8(text);
        return outcome;
    }
    static Outcome validated(IXMLDOMDocument2& document, IXMLDOMSchemaCollection* cache) {
        attach(document, cache);
        Ref<IXMLDOMParseError> error;
        EXPECT_GE(document.validate(error.receive()), S_OK) << lastDescription();
        return error ? outcomeOf(*error) : Outcome{};
    }
    static Outcome validated(std::string_view xml, IXMLDOMSchemaCollection* cache) {
        return validated(*loaded(engine::text::toUtf16(xml)), cache);
    }
};

TEST_F(Validating, ReportsTheFirstViolation) {
    const Cache cache = cacheOf("urn:p", schema("urn:p", kNumbers));
    EXPECT_EQ(validated("<p xmlns='urn:p' k='true'><n>1</n><n>-2</n></p>", cache.get()).code, 0);
    struct Case {
        const char* xml;
        int number;
        int line;
        int column;
        const char* says;
    };
    constexpr std::array kCases{
        Case{"<p xmlns='urn:p'>\n  <n>1</n> <n>x</n><m/></p>", 1824, 2, 12, "'x' is not a valid value"},
        Case{"<p xmlns='urn:p'>\n<m/></p>", 1871, 2, 1,
             "This element is not expected. Expected is ( {urn:p}n )."},
        Case{"<p xmlns='urn:p'/>", 1871, 1, 1, "Missing child element(s)"},
        Case{"<p xmlns='urn:p' k='maybe'><n>1</n></p>", 1824, 1, 1, "attribute 'k'"},
        Case{"<p xmlns='urn:p' z=''><n>1</n></p>", 1866, 1, 1, "attribute 'z' is not allowed"},
        Case{"<p xmlns='urn:p'>t<n>1</n></p>", 1843, 1, 1, "Character content"},
        Case{"<q xmlns='urn:p'/>", 1845, 1, 1, "No matching global declaration"},
        Case{"<p/>", 1845, 1, 1, "No matching global declaration"},
    };
    for (const Case& c : kCases) {
        SCOPED_TRACE(c.xml);
        const Outcome outcome = validated(c.xml, cache.get());
        EXPECT_EQ(outcome.code, engine::schema::statusOfViolation(c.number));
        EXPECT_LT(outcome.code, 0);
        EXPECT_EQ(outcome.line, c.line);
        EXPECT_EQ(outcome.column, c.column);
        EXPECT_THAT(outcome.reason, HasSubstr(c.says));
        EXPECT_EQ(outcome.reason.find('\n'), std::string::npos);
    }
}

TEST_F(Validating, SeesEditsAndRejectsAnUndeclaredPrefix) {
    const Cache cache = cacheOf("urn:p", schema("urn:p", kNumbers));
    const DocumentRef document = loaded(u"<p xmlns='urn:p'><n>1</n></p>");
    const Node number = first(*root(*document));
    ASSERT_EQ(number->put_text(Bstr(u"many")), S_OK);
    EXPECT_THAT(validated(*document, cache.get()).reason, HasSubstr("'many'"));
    ASSERT_EQ(number->put_text(Bstr(u"7")), S_OK);
    EXPECT_EQ(validated(*document, cache.get()).code, 0);
    const Element stray = element(*document, "x:y");
    ASSERT_EQ(number->appendChild(stray.get(), nullptr), S_OK);
    Ref<IXMLDOMParseError> error;
    EXPECT_LT(document->validate(error.receive()), 0);
    EXPECT_THAT(lastDescription(), HasSubstr("'x:y' is not declared"));
    EXPECT_FALSE(error);
}

TEST_F(Validating, RejectsWhatIsNoSchemaForTheNamespace) {
    const std::string good = folder_.write("good.xsd", schema("urn:p", kNumbers));
    const std::string broken =
        folder_.write("broken.xsd", "<xs:schema xmlns:xs='http://www.w3.org/2001/XMLSchema'>\n<");
    const std::string other = folder_.write("other.xml", "<!-- no schema -->\n<a/>");
    const std::string invalid =
        folder_.write("invalid.xsd", schema("urn:p", "<xs:element/>\n<xs:element/>\n"));
    const std::string dangling = folder_.write(
        "dangling.xsd", schema("urn:p",
                               "<!-- two\nlines -->\n\n<xs:element\n name='a'>\n<xs:complexType>\n"
                               "<xs:attribute name='k' type='nothing'/></xs:complexType></xs:element>"));
    const std::string missing =
        folder_.write("missing.xsd", schema("urn:p", "<xs:include schemaLocation='absent.xsd'/>"));
    const std::string remote = folder_.write(
        "remote.xsd", schema("urn:p",
                             "<xs:import namespace='urn:r' schemaLocation='http://x.test/r.xsd'/>"
                             "<xs:element name='a' xmlns:r='urn:r'><xs:complexType><xs:attribute ref='r:k'/>"
                             "</xs:complexType></xs:element>"));
    ASSERT_EQ(::mkfifo(folder_.pathOf("pipe").c_str(), 0600), 0);
    const std::string pipe =
        folder_.write("pipe.xsd", schema("urn:p", "<xs:include schemaLocation='pipe'/>"));
    struct Case {
        const char* uri;
        std::string path;
        std::vector<std::string> says;
    };
    const std::array cases{
        Case{"urn:q", good, {good + ", line 1: ", "'urn:p'", "'urn:q'"}},
        Case{"", good, {"'urn:p'", "no target namespace"}},
        Case{"urn:p", broken, {broken + ", line 2: "}},
        Case{"urn:p", other, {other + ", line 2: ", "not an XML Schema", "'a'"}},
        Case{"urn:p", invalid, {invalid + ", line 2: ", "'name' is required", "\n" + invalid + ", line 3: "}},
        Case{"urn:p", dangling, {dangling + ", line 8: ", "nothing"}},
        Case{"urn:p", missing, {missing + ", line 2: ", "absent.xsd", "does not exist"}},
        Case{"urn:p", pipe, {pipe + ", line 2: ", "regular file"}},
        Case{"urn:p", remote, {"http://x.test/r.xsd", "never the network", "'{urn:r}k'"}},
        Case{"urn:p", folder_.pathOf("absent.xsd"), {"absent.xsd"}},
        Case{"urn:p", "http://x.test/p.xsd", {"http://x.test/p.xsd", "never the network"}},
    };
    const Cache cache = newCache();
    ASSERT_EQ(add(*cache, "urn:p", good), "");
    for (const Case& c : cases) {
        SCOPED_TRACE(c.path);
        const std::string description = add(*cache, c.uri, c.path);
        for (const std::string& words : c.says) EXPECT_THAT(description, HasSubstr(words));
    }
    VARIANT number{};
    number.vt = VT_I4;
    EXPECT_EQ(cache->add(Bstr(u"urn:p"), number), E_INVALIDARG);
    EXPECT_EQ(validated("<p xmlns='urn:p'><n>1</n></p>", cache.get()).code, 0)
        << "the collection is unchanged";
}

TEST_F(Validating, FollowsLocalImportsAndIncludesAndNothingTheDocumentSays) {
    std::filesystem::create_directory(folder_.path() / "parts");
    folder_.write("parts/types.xsd",
                  "<!DOCTYPE x [<!ENTITY most '9'>]>" +
                      schema("",
                             "<xs:simpleType name='digit'><xs:restriction base='xs:int'>"
                             "<xs:maxInclusive value='&most;'/></xs:restriction></xs:simpleType>"));
    folder_.write("parts/other.xsd", schema("urn:o", "<xs:element name='o' type='xs:date'/>"));
    const Cache cache =
        cacheOf("urn:p",
                schema("urn:p",
                       "<xs:include schemaLocation='parts/types.xsd'/>\n"
                       "<xs:import namespace='urn:o' schemaLocation='parts/other.xsd'/>\n"
                       "<xs:import namespace='urn:unused' schemaLocation='http://x.test/never.xsd'/>"
                       "<xs:element name='p'><xs:complexType><xs:sequence><xs:element name='d' type='digit'/>"
                       "<xs:any namespace='urn:o'/></xs:sequence></xs:complexType></xs:element>"));
    const std::string start =
        "<p xmlns='urn:p' xmlns:o='urn:o' xmlns:xsi='http://www.w3.org/2001/XMLSchema-instance' "
        "xsi:schemaLocation='urn:p http://x.test/p.xsd'>";
    EXPECT_EQ(validated(start + "<d>9</d><o:o>2026-01-31</o:o></p>", cache.get()).code, 0);
    EXPECT_THAT(validated(start + "<d>10</d><o:o>2026-01-31</o:o></p>", cache.get()).reason,
                HasSubstr("'10'"));
    EXPECT_THAT(validated(start + "<d>9</d><o:o>soon</o:o></p>", cache.get()).reason, HasSubstr("'soon'"));
}

TEST_F(Validating, HoldsSeveralNamespacesAndReplacesOneThatComesAgain) {
    const Cache cache = cacheOf("urn:p", schema("urn:p", kNumbers));
    ASSERT_EQ(add(*cache, "", folder_.write("plain.xsd", schema("", "<xs:element name='a' type='xs:int'/>"))),
              "");
    EXPECT_EQ(validated("<a>1</a>", cache.get()).code, 0);
    EXPECT_NE(validated("<a>x</a>", cache.get()).code, 0);
    EXPECT_EQ(validated("<p xmlns='urn:p'><n>1</n></p>", cache.get()).code, 0);
    ASSERT_EQ(
        add(*cache, "", folder_.write("newer.xsd", schema("", "<xs:element name='a' type='xs:date'/>"))), "");
    EXPECT_NE(validated("<a>1</a>", cache.get()).code, 0);
    EXPECT_NE(validated("<p xmlns='urn:p'/>", cache.get()).code, 0);
}

TEST_F(Validating, WhileLoadingRejectsTheDocumentWithItsPosition) {
    const DocumentRef document = newDocument();
    {
        const Cache cache = cacheOf("urn:p", schema("urn:p", kNumbers));
        attach(*document, cache.get());
    }  // the document keeps the schemas
    EXPECT_TRUE(load(*document, u"<p xmlns='urn:p'><n>1</n></p>"));
    EXPECT_FALSE(load(*document, u"<p xmlns='urn:p'>\n <n>one</n></p>"));
    Ref<IXMLDOMParseError> error;
    ASSERT_EQ(document->get_parseError(error.receive()), S_OK);
    const Outcome outcome = outcomeOf(*error);
    EXPECT_EQ(outcome.code, engine::schema::statusOfViolation(1824));
    EXPECT_EQ(outcome.line, 2);
    EXPECT_EQ(outcome.column, 2);
    EXPECT_THAT(outcome.reason, HasSubstr("'one'"));
    EXPECT_FALSE(root(*document)) << "a document that was rejected is empty";
    EXPECT_EQ(document->put_validateOnParse(VARIANT_FALSE), S_OK);
    EXPECT_TRUE(load(*document, u"<p xmlns='urn:p'>\n <n>one</n></p>"));
    EXPECT_EQ(document->put_validateOnParse(VARIANT_TRUE), S_OK);
    EXPECT_TRUE(load(*newDocument(), u"<p/>")) << "without schemas nothing is validated";
}

TEST_F(Validating, NeedsSchemas) {
    const DocumentRef document = loaded(u"<a/>");
    Ref<IXMLDOMParseError> error;
    EXPECT_LT(document->validate(error.receive()), 0);
    EXPECT_THAT(lastDescription(), HasSubstr("no schemas"));
    attach(*document, newCache().get());
    EXPECT_LT(document->validate(error.receive()), 0);
    EXPECT_THAT(lastDescription(), HasSubstr("no schema to validate against"));
    EXPECT_FALSE(load(*document, u"<a/>"));
    EXPECT_THAT(reason(*document), HasSubstr("no schema to validate against"))
        << "in the record of a load, too";
}

}  // namespace
