// Style sheets through the COM interfaces: results, rejections, and what may not happen to the host.
#include <gmock/gmock.h>
#include <libxml/globals.h>
#include <libxml/parser.h>
#include <libxml/parserInternals.h>
#include <libxslt/security.h>
#include <libxslt/transform.h>
#include <libxslt/xsltutils.h>
#include <sys/stat.h>

#include <array>
#include <atomic>
#include <filesystem>
#include <regex>
#include <thread>
#include <vector>

#include "engine/xml2/errors.h"
#include "engine/xslt/platform/stack.h"
#include "tests/engine/dom_fixture.h"
#include "tests/support/temporaryfolder.h"

namespace {

using namespace domtest;
using kel::test::readFile;
using kel::test::TemporaryFolder;
using testing::HasSubstr;
using testing::Not;

std::string sheet(std::string_view body, std::string_view attributes = "") {
    return "<xsl:stylesheet version='1.0' xmlns:xsl='http://www.w3.org/1999/XSL/Transform' " +
           std::string(attributes) + ">\n" + std::string(body) + "</xsl:stylesheet>";
}

std::string repeated(std::string_view piece, int count) {
    std::string text;
    for (int i = 0; i < count; ++i) text += piece;
    return text;
}

class Transforming : public DomTest {
protected:
    static DocumentRef parsed(std::string_view xml) { return loaded(engine::text::toUtf16(xml)); }
    static DocumentRef loadedFile(const std::string& path) {
        DocumentRef document = newDocument();
        EXPECT_EQ(document->put_preserveWhiteSpace(VARIANT_TRUE), S_OK);
        VARIANT_BOOL loaded = VARIANT_FALSE;
        EXPECT_GE(document->load(Bstr(path).variant(), &loaded), S_OK);
        EXPECT_EQ(loaded, VARIANT_TRUE) << reason(*document);
        return document;
    }
    // The result, or "!" and the description.
    static std::string run(IXMLDOMNode& source, IXMLDOMNode* style) {
        BSTR text = nullptr;
        const HRESULT status = source.transformNode(style, &text);
        if (status == S_OK) return takeUtf8(text);
        EXPECT_EQ(text, nullptr);
        return "!" + lastDescription();
    }
    static std::string runFile(const std::string& stylePath, std::string_view source = "<a><b>x</b></a>") {
        return run(*parsed(source), root(*loadedFile(stylePath)).get());
    }
    static std::string runText(std::string_view style, std::string_view source = "<a><b>x</b></a>") {
        return run(*parsed(source), root(*parsed(style)).get());
    }
};

// The folder holds every instruction and function once; the results were compared with another program's.
TEST_F(Transforming, GivesTheResultsInTheTestData) {
    const std::filesystem::path folder = KEL_TEST_DATA "/xslt";
    int count = 0;
    for (const auto& file : std::filesystem::directory_iterator(folder)) {
        if (file.path().extension() != ".out") continue;
        SCOPED_TRACE(file.path().string());
        std::filesystem::path style = file.path();
        std::filesystem::path source = file.path();
        style.replace_extension(".xsl");
        source.replace_extension(".xml");
        const DocumentRef document = loadedFile(source.string());
        EXPECT_EQ(run(*document, root(*loadedFile(style.string())).get()), readFile(file.path()));
        ++count;
    }
    EXPECT_GE(count, 7);
}

// In the copy that is transformed short texts lie in their nodes, and equal ones next to each other lie once.
TEST_F(Transforming, TextsOfEveryLengthComeThrough) {
    std::string source = "<a>";
    for (int round = 0; round < 4; ++round) {
        for (std::size_t length = 1; length < 140; ++length) {
            const std::string text(length, static_cast<char>('k' + round / 2));
            source += "<b c=\"" + text + "\">" + text + "<!--" + text + "--><?p " + text + "?></b>" + text;
        }
    }
    source += "</a>";
    const std::string output = "<xsl:output omit-xml-declaration='yes'/>";
    for (const std::string rules : {
             "<xsl:template match='@*|node()'><xsl:copy><xsl:apply-templates select='@*|node()'/></xsl:copy>"
             "</xsl:template>",
             "<xsl:template match='/'><xsl:copy-of select='a'/></xsl:template>",
             "<xsl:strip-space elements='*'/><xsl:template match='/'><xsl:copy-of "
             "select='a'/></xsl:template>",
         }) {
        EXPECT_TRUE(runText(sheet(output + rules), source) == source + '\n') << rules;  // too long to show
    }
}

TEST_F(Transforming, TakesAnElementOrADocumentOnBothSides) {
    const DocumentRef style = parsed("<box xmlns:x='urn:x' xmlns='urn:outer'>" +
                                     sheet("<xsl:template match='/'><r><xsl:value-of select='name(*)'/>"
                                           "<xsl:value-of select='count(//x:i)'/></r></xsl:template>") +
                                     "</box>");
    const DocumentRef source = parsed("<x:a xmlns:x='urn:x'><x:b><x:i/></x:b><x:i/></x:a>");
    const Node inner = first(*root(*style));
    const std::string start =
        "<?xml version=\"1.0\" encoding=\"UTF-16\"?>\n<r xmlns=\"urn:outer\" xmlns:x=\"urn:x\">";
    EXPECT_EQ(run(*source, inner.get()), start + "x:a2</r>\n");
    EXPECT_EQ(run(*first(*root(*source)), inner.get()), start + "x:b1</r>\n");
    const DocumentRef whole = parsed(sheet("<xsl:template match='/'>whole</xsl:template>"));
    EXPECT_THAT(run(*source, whole.get()), HasSubstr("whole"));
    const Node textNode = text(*source, u"t");
    EXPECT_THAT(run(*source, textNode.get()), HasSubstr("not a node of another kind"));
    EXPECT_THAT(run(*textNode, whole.get()), HasSubstr("not a node of another kind"));
}

TEST_F(Transforming, SeesEditsAndRejectsUndeclaredPrefixes) {
    const DocumentRef source = parsed("<a/>");
    const DocumentRef style =
        parsed(sheet("<xsl:template match='/'><xsl:copy-of select='/'/></xsl:template>"));
    Ref<IXMLDOMElement> added = element(*source, "p:e");
    Node ignored;
    ASSERT_EQ(root(*source)->appendChild(added.get(), ignored.receive()), S_OK);
    EXPECT_EQ(
        run(*source, root(*style).get()),
        "!The prefix of 'p:e' is not declared; an attribute 'xmlns:p' on the element or around it would "
        "declare it.");
    ASSERT_EQ(added->setAttribute(Bstr(u"xmlns:p"), Bstr(u"urn:p").variant()), S_OK);
    EXPECT_THAT(run(*source, root(*style).get()), HasSubstr("<a><p:e xmlns:p=\"urn:p\"/></a>"));
}

// A compiled style sheet stays with its document. Whatever changes there, or in a file that it brings in,
// must be seen the next time.
TEST_F(Transforming, SeesEveryChangeOfAStyleSheetThatItHasRunBefore) {
    const DocumentRef source = parsed("<a><b>x</b><b>y</b></a>");
    const DocumentRef style =
        parsed(sheet("<xsl:template match='/'><r><xsl:value-of select='a/b'/>t<xsl:value-of "
                     "select=\"count(document('')//*)\"/></r></xsl:template>"));
    const auto result = [&] {
        const std::string text = run(*source, root(*style).get());
        EXPECT_EQ(text, run(*source, root(*style).get())) << "once more, from the kept one";
        const std::size_t start = text.find("<r");
        return start == std::string::npos ? text : text.substr(start, text.rfind('>') + 1 - start);
    };
    EXPECT_EQ(result(), "<r>xt5</r>");
    const Node rule = first(*root(*style));
    const Node literal = first(*rule);
    const Node value = first(*literal);
    Ref<IXMLDOMElement> valueElement;
    ASSERT_EQ(value->QueryInterface(IID_IXMLDOMElement, reinterpret_cast<void**>(valueElement.receive())),
              S_OK);
    ASSERT_EQ(valueElement->setAttribute(Bstr(u"select"), Bstr(u"a/b[2]").variant()), S_OK);
    EXPECT_EQ(result(), "<r>yt5</r>");
    const Node words = next(*value);
    ASSERT_EQ(words->put_text(Bstr(u"u")), S_OK);
    EXPECT_EQ(result(), "<r>yu5</r>");
    ASSERT_EQ(literal->appendChild(element(*style, "e").get(), nullptr), S_OK);
    EXPECT_EQ(result(), "<r>yu6<e/></r>");
    ASSERT_EQ(literal->replaceChild(element(*style, "f").get(), value.get(), nullptr), S_OK);
    EXPECT_EQ(result(), "<r><f/>u6<e/></r>");
    EXPECT_THAT(run(*source, style.get()), HasSubstr("<r><f/>u6<e/></r>")) << "the document, not its element";
    ASSERT_TRUE(load(*style, engine::text::toUtf16(sheet("<xsl:template match='/'><r/></xsl:template>"))));
    EXPECT_EQ(result(), "<r/>");
    const TemporaryFolder folder;
    folder.write("part.xsl", sheet("<xsl:template match='/'>one</xsl:template>"));
    const DocumentRef inParts = loadedFile(
        folder.write("style.xsl", sheet("<xsl:import href='part.xsl'/><xsl:output method='text'/>")));
    EXPECT_EQ(run(*source, root(*inParts).get()), "one");
    folder.write("part.xsl", sheet("<xsl:template match='/'>two</xsl:template>"));
    EXPECT_EQ(run(*source, root(*inParts).get()), "two");
}

TEST_F(Transforming, GivesUtf16WhateverTheStyleSheetAsksFor) {
    const std::string result =
        runText(sheet("<xsl:output encoding='US-ASCII'/><xsl:template match='/'><r a='{.}'><xsl:value-of "
                      "select='.'/></r></xsl:template>"),
                "<a>é𝄞ü</a>");
    EXPECT_EQ(result, "<?xml version=\"1.0\" encoding=\"UTF-16\"?>\n<r a=\"é𝄞ü\">é𝄞ü</r>\n");
}

struct Rejection {
    const char* fault;
    std::string body;
    std::vector<std::string> says;
};

TEST_F(Transforming, SaysFileLineAndCauseOfARejection) {
    const TemporaryFolder folder;
    folder.write("loop.xsl", sheet("<xsl:import href='style.xsl'/>"));
    folder.write("broken.xsl", "<a>\n<b></a>");
    folder.write("inner.xsl", sheet("\n\n<xsl:include href='absent.xsl'/>"));
    ASSERT_EQ(::mkfifo(folder.pathOf("pipe").c_str(), 0600), 0);
    // Each imports the next one twice: twelve files become 4,095.
    for (int i = 0; i < 12; ++i) {
        const std::string next = "<xsl:import href='double" + std::to_string(i + 1) + ".xsl'/>";
        folder.write("double" + std::to_string(i) + ".xsl", sheet(i == 11 ? "" : next + next));
    }
    std::string swollen = "<!DOCTYPE x [<!ATTLIST d a CDATA '" + std::string(2000, 'a') + "'>]>";
    swollen += sheet("<xsl:template name='t'>" + repeated("<d/>", 10'000) + "</xsl:template>");
    folder.write("swollen.xsl", swollen);
    const std::string here = folder.pathOf("style.xsl") + ", line 2: ";
    constexpr const char* kExtension = "xmlns:xt='http://www.jclark.com/xt' extension-element-prefixes='xt'";
    const auto inTemplate = [](std::string_view body) {
        return "<xsl:template match='/'>" + std::string(body) + "</xsl:template>";
    };
    const std::array cases{
        Rejection{"bad expression", inTemplate("<xsl:value-of select='1 +'/>"), {here, "'1 +'"}},
        Rejection{"unknown function", inTemplate("<xsl:value-of select='nofun()'/>"), {here, "nofun"}},
        Rejection{"missing template", inTemplate("<xsl:call-template name='none'/>"), {here, "none"}},
        Rejection{
            "missing import", "<xsl:import href='absent.xsl'/>", {here, "absent.xsl", "does not exist"}},
        Rejection{"import of a folder", "<xsl:import href='.'/>", {here, "directory"}},
        Rejection{"import of a pipe without a writer", "<xsl:import href='pipe'/>", {here, "regular file"}},
        Rejection{"imports that double", "<xsl:import href='double0.xsl'/>", {"more than 2000 files"}},
        Rejection{"attribute defaults by the megabyte", "<xsl:import href='swollen.xsl'/>", {"swollen.xsl"}},
        Rejection{"network import",
                  "<xsl:import href='http://x.test/a.xsl'/>",
                  {here, "http://x.test/a.xsl", "never the network"}},
        Rejection{"import in a loop", "<xsl:import href='loop.xsl'/>", {"loop.xsl, line 2: ", "recursion"}},
        Rejection{"import that is not well formed",
                  "<xsl:import href='broken.xsl'/>",
                  {"broken.xsl, line 2: ", "'b'"}},
        Rejection{"include of a missing file in an import",
                  "<xsl:import href='inner.xsl'/>",
                  {"inner.xsl, line 4: ", "absent.xsl"}},
        Rejection{"another file",
                  inTemplate("<xsl:copy-of select=\"document('broken.xsl')\"/>"),
                  {here, "broken.xsl", "refused"}},
        Rejection{"the network",
                  inTemplate("<xsl:copy-of select=\"document('http://x.test/')\"/>"),
                  {here, "http://x.test/", "refused"}},
        Rejection{
            "end by message",
            inTemplate("<xsl:message>note</xsl:message><xsl:message terminate='yes'>the end</xsl:message>"),
            {here + "the end"}},
        Rejection{"writing a file",
                  inTemplate("<xt:document href='" + folder.pathOf("written") + "'>x</xt:document>"),
                  {here, "written", "refused"}},
    };
    for (const Rejection& c : cases) {
        SCOPED_TRACE(c.fault);
        const std::string result = runFile(folder.write("style.xsl", sheet(c.body, kExtension)));
        EXPECT_TRUE(result.starts_with("!")) << result;
        for (const std::string& words : c.says) EXPECT_THAT(result, HasSubstr(words));
        EXPECT_THAT(result, Not(HasSubstr("note")));
    }
    EXPECT_FALSE(std::filesystem::exists(folder.pathOf("written")));
    std::string declarations;
    for (int i = 0; i < 1001; ++i) declarations += " xmlns:p" + std::to_string(i) + "='urn:p'";
    EXPECT_THAT(runText(sheet(""), "<a><b" + declarations + "/></a>"),
                HasSubstr("'b' declares more than 1000"));
    std::string attributes;
    for (int i = 0; i < 10001; ++i) attributes += " a" + std::to_string(i) + "=''";
    EXPECT_THAT(runText(sheet(""), "<a><b" + attributes + "/></a>"),
                HasSubstr("'b' has more than 10000 attributes"));
    EXPECT_TRUE(run(*parsed("<a/>"), nullptr).starts_with("!"));
    EXPECT_THAT(runText("<not-a-style-sheet/>"), HasSubstr("!"));
}

TEST_F(Transforming, FindsFilesBesideTheStyleSheetOrInTheWorkingDirectory) {
    const TemporaryFolder folder;
    std::filesystem::create_directory(folder.path() / "sub dir");
    folder.write("sub dir/deep.xsl", sheet("<xsl:template match='b'>deep</xsl:template>"));
    folder.write("part.xsl", sheet("<xsl:include href='sub%20dir/deep.xsl'/>"));
    const std::string style = sheet("<xsl:import href='part.xsl'/><xsl:output method='text'/>");
    EXPECT_EQ(runFile(folder.write("style.xsl", style)), "deep");
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(folder.path());
    EXPECT_EQ(runText(style), "deep");
    std::filesystem::current_path(before);
    EXPECT_THAT(runText(style), HasSubstr("part.xsl"));
}

// The steps and unions that are taken out of the library's hands must come to the nodes that it comes to.
TEST_F(Transforming, FindsTheNodesThatTheLibraryFinds) {
    constexpr std::array kExpressions{
        "//b/preceding::*",
        "//b/following::*[1]",
        "//b/ancestor::*[position() = last()]",
        "//c/..",
        "//b//c",
        "//c/ancestor-or-self::b",
        "//b/preceding-sibling::*[2] | //c | //b[1]",
        "(//c)[last()]/preceding::b[1]",
        "//b[c/following::b]/descendant::c[position() &lt; 3]",
        "//@i/..",
        "//b/namespace::*/..",
        "$all/.//c",
        "$all[2]/following-sibling::node()[not(self::b)]",
        "//b[count(preceding::c | following::c) = 3]",
        "key('k', 'x')/../b | id('none') | $all",
        "//processing-instruction('p')/following::text()/..",
        "//b[@i = //c/../@i]//c[-1 + 2]",
        "current()//b/parent::*",
        "//b[. div 2 - 1 > -5 or a-b]/descendant-or-self::*",
        "//*[name() = \"c\" and @i mod 2 = 1]/preceding::*[contains('it|s', '|')][1]",
    };
    const std::string source =
        "<a i='1'><b i='2' k='x'>1<c i='3'/><?p q?><c i='4'>t<c i='5'/></c></b><b i='6'><b i='7'><c "
        "i='8'/></b>"
        "<!-- n --><a-b i='9'/>u</b><c i='10' k='x'/><b i='11'><c i='12'/><c i='13'/></b></a>";
    for (const char* const expression : kExpressions) {
        SCOPED_TRACE(expression);
        const std::string style = sheet(
            "<xsl:output method='text'/><xsl:key name='k' match='*' use='@k'/><xsl:variable name='all' "
            "select='//b'/><xsl:template match='/'><xsl:for-each select=\"" +
            std::string(expression) +
            "\"><xsl:value-of select='@i'/>,<xsl:apply-templates select='.' "
            "mode='m'/></xsl:for-each></xsl:template>"
            "<xsl:template mode='m' match=\"*[.//c/.. and contains('[]', ']')]\">m<xsl:number value='1' "
            "format=\"{{{substring('}1', count(//b/c/..) div count(//b/c/..) + 1)}\"/></xsl:template>"
            "<xsl:template mode='m' match='node()|@*'/>");
        const std::string text = std::regex_replace(style, std::regex("\"c\""), "&quot;c&quot;");
        xmlDoc* const sheetDoc = xmlReadMemory(text.data(), static_cast<int>(text.size()), "s", nullptr, 0);
        xsltStylesheet* const compiled = xsltParseStylesheetDoc(sheetDoc);
        ASSERT_NE(compiled, nullptr);
        xmlDoc* const document =
            xmlReadMemory(source.data(), static_cast<int>(source.size()), "d", nullptr, 0);
        xmlDoc* const result = xsltApplyStylesheet(compiled, document, nullptr);
        xmlChar* expected = nullptr;
        int length = 0;
        EXPECT_EQ(xsltSaveResultToString(&expected, &length, result, compiled), 0);
        const std::string theirs(reinterpret_cast<const char*>(expected), static_cast<std::size_t>(length));
        EXPECT_EQ(runText(text, source), theirs);
        xmlFree(expected);
        for (xmlDoc* const one : {result, document}) xmlFreeDoc(one);
        xsltFreeStylesheet(compiled);
    }
}

// Removing duplicates is work as well: libxml2 alone took a minute for the first. Errors name what was
// written.
TEST_F(Transforming, TakesNoLongerForManyNodesThanTheirStepsSay) {
    const std::string source = "<r>" + repeated("<a><b/></a>", 4'000) + "</r>";
    const auto count = [](const std::string& expression) {
        return sheet("<xsl:output method='text'/><xsl:template match='/'><xsl:value-of select='count(" +
                     expression + ")'/></xsl:template>");
    };
    EXPECT_EQ(runText(count("//a/preceding::*"), source), "7998");
    EXPECT_EQ(runText(count("//a | //b | //a/.."), source), "8001");
    EXPECT_THAT(runText(count("//a/nofun()/.."), source), HasSubstr("//a/nofun()/.."));
    EXPECT_THAT(runText(count("//a/..[nofun(//b/..)]"), source), HasSubstr("nofun"));
}

// An external entity of an included style sheet would carry any file into the result; left out silently, it
// would make another style sheet.
TEST_F(Transforming, RejectsExternalEntitiesOfAnIncludedStyleSheet) {
    const TemporaryFolder folder;
    folder.write("secret.txt", "SECRET");
    struct Case {
        const char* doctype;
        const char* use;
        const char* outcome;
    };
    constexpr std::array kCases{
        Case{"[<!ENTITY in 'inside'><!ENTITY out SYSTEM 'secret.txt'>]", "&in;", "inside"},
        Case{"SYSTEM 'secret.txt' [<!ENTITY in 'inside'>]", "&in;", "inside"},
        Case{"[<!ENTITY out SYSTEM 'secret.txt'>]", "\n&out;",
             "part.xsl, line 3: Entity 'out' is external ('secret.txt') and not read; the file itself would "
             "have "
             "to declare its text."},
        Case{"[\n<!ENTITY % more SYSTEM 'more.ent'>\n%more;]", "",
             "part.xsl, line 3: Entity 'more' is external ('more.ent') and not read"},
        Case{
            "SYSTEM 'more.dtd'", "&out;",
            "part.xsl, line 2: Entity 'out' is not declared in the file itself, and the external part of its "
            "DOCTYPE is not read."},
    };
    for (const Case& c : kCases) {
        SCOPED_TRACE(c.doctype);
        folder.write("part.xsl",
                     "<!DOCTYPE x " + std::string(c.doctype) + ">" +
                         sheet("<xsl:template match='b'>" + std::string(c.use) + "</xsl:template>"));
        EXPECT_THAT(runFile(folder.write("style.xsl",
                                         sheet("<xsl:import href='part.xsl'/><xsl:output method='text'/>"))),
                    HasSubstr(c.outcome));
    }
}

TEST_F(Transforming, KnowsTheStyleSheetAsADocumentAndTheNodeSetFunctions) {
    const char* const names = "xmlns:m='urn:schemas-microsoft-com:xslt' xmlns:e='http://exslt.org/common'";
    const std::string body =
        "<xsl:output method='text'/><xsl:variable name='t'><i>1</i><i>2</i></xsl:variable>"
        "<xsl:template match='/'><xsl:value-of select=\"concat(count(document('')//xsl:variable), "
        "count(m:node-set($t)/i), sum(e:node-set($t)/i), e:object-type($t), e:node-set('s'), "
        "function-available('m:node-set'))\"/></xsl:template>";
    EXPECT_EQ(runText(sheet(body, names)), "123RTFstrue");
    const TemporaryFolder folder;
    EXPECT_EQ(runFile(folder.write("style.xsl", sheet(body, names))), "123RTFstrue");
}

TEST_F(Transforming, PutsAResultTreeIntoADocument) {
    const DocumentRef source = parsed("<a><b k='v'>x&amp;y</b></a>");
    const DocumentRef target = parsed("<old/>");
    const Element oldRoot = root(*target);
    VARIANT output{};
    output.vt = VT_DISPATCH;
    output.pdispVal = target.get();
    const DocumentRef style = parsed(
        sheet("<xsl:output cdata-section-elements='c'/><xsl:template match='/'><xsl:comment>top</xsl:comment>"
              "<p:r xmlns:p='urn:p' p:a='{//@k}'><xsl:copy-of select='//b'/><c>1&lt;2</c> "
              "<xsl:processing-instruction name='t'>d</xsl:processing-instruction></p:r></xsl:template>"));
    ASSERT_EQ(source->transformNodeToObject(root(*style).get(), output), S_OK) << lastDescription();
    EXPECT_EQ(outline(*target),
              "<!top><p:r xmlns:p=\"urn:p\" p:a=\"v\"><b k=\"v\">x&y</><c>[1<2]</><?t d></>");
    EXPECT_EQ(nameOf(*oldRoot), "old") << "a node of the old content stays readable";
    for (const char* const rejected :
         {"text only", "<a/><b/>", "<a/>and text", "<xsl:comment>c</xsl:comment>"}) {
        SCOPED_TRACE(rejected);
        const DocumentRef bad =
            parsed(sheet("<xsl:template match='/'>" + std::string(rejected) + "</xsl:template>"));
        EXPECT_LT(source->transformNodeToObject(root(*bad).get(), output), 0);
        EXPECT_THAT(lastDescription(), HasSubstr("is not a document"));
        EXPECT_EQ(nameOf(*root(*target)), "p:r");
    }
}

// What would overflow the stack ends in an error, or works on a bigger one.
TEST_F(Transforming, SurvivesDepthOnSmallStacks) {
    constexpr std::size_t kDepth = 9'900;
    std::string deep;
    for (std::size_t i = 0; i < kDepth; ++i) deep += "<a>";
    deep += "<z/>";
    for (std::size_t i = 0; i < kDepth; ++i) deep += "</a>";
    const std::string shallow = "<a><a><a><z/></a></a></a>";
    struct Case {
        const char* body;
        bool fails;
    };
    constexpr std::array kCases{
        Case{"<xsl:template match='/' name='r'><xsl:call-template name='r'/></xsl:template>", true},
        Case{"<xsl:template match='z'><xsl:apply-templates select='/'/></xsl:template>", true},
        Case{"<xsl:template match='/' name='r'><xsl:variable name='v'><xsl:call-template "
             "name='r'/></xsl:variable>"
             "</xsl:template>",
             true},
        Case{"<xsl:template match='z'>bottom</xsl:template>", false},
        Case{"<xsl:template match='/'><xsl:copy-of select='.'/></xsl:template>", false},
    };
    for (const std::size_t stack : {std::size_t{256} << 10, std::size_t{1} << 20}) {
        for (const Case& c : kCases) {
            SCOPED_TRACE(c.body);
            for (const std::string* source : std::array<const std::string*, 2>{&shallow, &deep}) {
                const bool ran = engine::xslt::platform::runOnStack(stack, [&] {
                    const std::string result = runText(sheet(c.body), *source);
                    EXPECT_EQ(result.starts_with("!"), c.fails) << result.substr(0, 200);
                });
                EXPECT_TRUE(ran);
            }
        }
        std::string nested;
        for (int i = 0; i < 9'900; ++i) nested += "<xsl:for-each select='*'>";
        for (int i = 0; i < 9'900; ++i) nested += "</xsl:for-each>";
        EXPECT_TRUE(engine::xslt::platform::runOnStack(stack, [&] {
            EXPECT_THAT(runText(sheet("<xsl:template match='/'>" + nested + "</xsl:template>")),
                        HasSubstr("nested more than"));
        }));
    }
}

// Work and memory that would double and double end in an error, whichever way they grow.
TEST_F(Transforming, EndsWhatWouldNotEnd) {
    const auto calling = [](std::string_view start, std::string_view body) {
        return sheet("<xsl:template match='/' name='r'><xsl:param name='p' select='" + std::string(start) +
                         "'/>" + std::string(body) + "</xsl:template>",
                     "xmlns:e='http://exslt.org/common'");
    };
    const auto again = [](std::string_view value) {
        return "<xsl:call-template name='r'><xsl:with-param name='p' select='" + std::string(value) +
               "'/></xsl:call-template>";
    };
    const auto fragment = [](std::string_view content) {
        return "<xsl:call-template name='r'><xsl:with-param name='p'>" + std::string(content) +
               "</xsl:with-param></xsl:call-template>";
    };
    const std::string twice = again("$p - 1") + again("$p - 1");
    constexpr const char* kEndless = "line 2: Stopped as endless";
    const std::array cases{
        Rejection{"calls", calling("40", "<xsl:if test='$p > 0'>" + twice + "</xsl:if>"), {kEndless}},
        Rejection{"result",
                  calling("40", "<xsl:if test='$p > 0'><e/><xsl:copy-of select='/'/>" + twice + "</xsl:if>"),
                  {kEndless}},
        Rejection{"literal elements",
                  calling("40", "<e a='1' b='2' c='3'/>text<xsl:if test='$p > 0'>" + twice + "</xsl:if>"),
                  {kEndless}},
        Rejection{"string", calling("1", again("concat($p, $p)")), {"'$p' has grown to more than 67"}},
        Rejection{"attribute",
                  calling("1", "<xsl:variable name='t'><e a='{$p}{$p}'/></xsl:variable>" +
                                   again("string(e:node-set($t)/e/@a)")),
                  {"'$p' has grown to more than 67"}},
        Rejection{"text of a fragment",
                  calling("1", fragment("<xsl:value-of select='$p'/><xsl:value-of select='$p'/>")),
                  {kEndless}},
        Rejection{"fragment",
                  calling("/", fragment("<xsl:copy-of select='$p'/><xsl:copy-of select='$p'/>")),
                  {kEndless}},
        Rejection{
            "expression",
            sheet("<xsl:template match='/'><xsl:value-of select='count(//*[count(//*[count(//*[count(//*"
                  "[count(//*) > 0]) > 0]) > 0]) > 0])'/></xsl:template>"),
            {kEndless}},
    };
    std::string source = "<a>";
    for (int i = 0; i < 100; ++i) source += "<b>x</b>";
    source += "</a>";
    for (const Rejection& c : cases) {
        SCOPED_TRACE(c.fault);
        const std::string result = runText(c.body, source);
        EXPECT_TRUE(result.starts_with("!")) << result.substr(0, 200);
        for (const std::string& words : c.says) EXPECT_THAT(result, HasSubstr(words));
        EXPECT_EQ(result.find('\n'), std::string::npos) << "one cause: " << result;
    }
}

// Settings that the host may have made, for its thread and for the process.
struct HostSettings {
    std::vector<const void*> pointers;
    std::vector<int> numbers;

    static HostSettings read() {
        HostSettings now;
        const auto add = [&](auto* pointer) {
            now.pointers.push_back(reinterpret_cast<const void*>(pointer));
        };
        add(xmlStructuredError);
        add(static_cast<char*>(xmlStructuredErrorContext));
        add(xmlGenericError);
        add(static_cast<char*>(xmlGenericErrorContext));
        add(xmlGetExternalEntityLoader());
        add(xmlTreeIndentString);
        add(xsltGenericError);
        add(static_cast<char*>(xsltGenericErrorContext));
        add(xsltGetDefaultSecurityPrefs());
        const xmlParserInputBufferCreateFilenameFunc open =
            xmlParserInputBufferCreateFilenameDefault(nullptr);
        (void)xmlParserInputBufferCreateFilenameDefault(open);
        add(open);
        now.numbers = {xmlKeepBlanksDefaultValue,
                       xmlSubstituteEntitiesDefaultValue,
                       xmlLineNumbersDefaultValue,
                       xmlLoadExtDtdDefaultValue,
                       xmlDoValidityCheckingDefaultValue,
                       xmlPedanticParserDefaultValue,
                       xmlIndentTreeOutput,
                       xmlSaveNoEmptyTags,
                       xsltMaxDepth,
                       xsltMaxVars,
                       xsltGetXIncludeDefault(),
                       static_cast<int>(xmlParserMaxDepth)};
        return now;
    }
    bool operator==(const HostSettings&) const = default;
};

std::atomic<int> hostHeard{0};
void hostHandler(void*, const char*, ...) {
    ++hostHeard;
}
void hostStructured(void*, engine::xml2::ErrorPointer) {
    ++hostHeard;
}
xmlParserInputBufferPtr hostOpen(const char*, xmlCharEncoding) {
    ++hostHeard;
    return nullptr;
}

TEST_F(Transforming, LeavesTheHostsSettingsAlone) {
    std::thread([] {
        const int marker = 0;
        void* const context = const_cast<int*>(&marker);
        xmlSetStructuredErrorFunc(context, hostStructured);
        xmlSetGenericErrorFunc(context, hostHandler);
        xsltSetGenericErrorFunc(context, hostHandler);
        (void)xmlParserInputBufferCreateFilenameDefault(hostOpen);
        (void)xmlKeepBlanksDefault(0);
        (void)xmlSubstituteEntitiesDefault(1);
        (void)xmlLineNumbersDefault(0);
        xmlLoadExtDtdDefaultValue = 6;
        xmlIndentTreeOutput = 0;
        xmlSaveNoEmptyTags = 1;
        xmlTreeIndentString = "~";
        xmlDocPtr broken = xmlReadMemory("<a>", 3, "host.xml", nullptr, 0);
        EXPECT_EQ(broken, nullptr);
        const std::string lastError = xmlGetLastError()->message;
        hostHeard = 0;
        const HostSettings before = HostSettings::read();
        EXPECT_EQ(
            runText(sheet("<xsl:output indent='yes'/><xsl:template match='/'><r><e/></r></xsl:template>")),
            "<?xml version=\"1.0\" encoding=\"UTF-16\"?>\n<r>\n  <e/>\n</r>\n");
        for (const char* const bad :
             {"<xsl:import href='absent.xsl'/>", "<xsl:template match='['/>",
              "<xsl:template match='/'><xsl:value-of select='f()'/></xsl:template>",
              "<xsl:template match='/'><xsl:copy-of select=\"document('x')\"/></xsl:template>"}) {
            EXPECT_TRUE(runText(sheet(bad)).starts_with("!")) << bad;
        }
        EXPECT_EQ(HostSettings::read(), before);
        EXPECT_EQ(hostHeard, 0) << "the host heard of, or was asked for, what is not its business";
        ASSERT_NE(xmlGetLastError(), nullptr);
        EXPECT_EQ(xmlGetLastError()->message, lastError);
        xmlResetLastError();
        xsltSetGenericErrorFunc(nullptr, nullptr);
    }).join();
}

// libxslt has one handler for the whole process: what another thread says must not get lost or mixed up.
TEST_F(Transforming, RunsOnSeveralThreadsAtOnceBesideAHostThatUsesTheLibraryItself) {
    hostHeard = 0;
    xsltSetGenericErrorFunc(nullptr, hostHandler);
    std::atomic<bool> stop{false};
    std::atomic<int> reported{0};
    std::thread host([&] {
        while (!stop) {
            xsltTransformError(nullptr, nullptr, nullptr, "host\n");
            ++reported;
        }
    });
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([i] {
            const std::string name = "missing" + std::to_string(i);
            for (int round = 0; round < 20; ++round) {
                const std::string result = runText(
                    sheet("<xsl:template match='/'><xsl:call-template name='" + name + "'/></xsl:template>"));
                EXPECT_THAT(result, HasSubstr(name));
                EXPECT_THAT(result, Not(HasSubstr("host")));
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    stop = true;
    host.join();
    EXPECT_EQ(hostHeard, 2 * reported) << "a location and a text each";
    xsltSetGenericErrorFunc(nullptr, nullptr);
}

}  // namespace
