// The command line from outside: what a person or a script gets to see.
#include <algorithm>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "KelBasicTypes/kelfilewrite.h"
#include "KelBasicTypes/utf8.h"
#include "enginetraits.h"
#include "lineends.h"
#include "runner.h"
#include "tests/support/matching.h"

namespace {

namespace traits = kel::test::traits;

using kel::test::kelxml;
using kel::test::KelxmlTest;
using kel::test::matches;
using kel::test::readFile;
using kel::test::RunOptions;
using kel::test::RunResult;
using kel::test::withLineFeeds;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;

TEST_F(KelxmlTest, SaveWritesInTheComponentsFormAndSavingAgainChangesNothing) {
    const std::string file = folder_.write(
        "in.xml",
        "<?xml version='1.0' encoding='ISO-8859-1'?><!--c--><a x='1'><b>caf\xE9 &lt; &#x20AC;</b><c/></a>");
    const std::string out = folder_.pathOf("out.xml");
    ASSERT_EQ(kelxml({"save", file, "-o", out}).status, 0);
    const std::string expected = "<a x=\"1\">\n\t<b>caf\xC3\xA9 &lt; \xE2\x82\xAC</b>\n\t<c />\n</a>\n";
    EXPECT_EQ(withLineFeeds(readFile(out)), expected);

    const RunResult again = kelxml({"save", "-"}, {.input = expected});
    EXPECT_EQ(again.status, 0);
    EXPECT_EQ(withLineFeeds(again.output), expected);
    EXPECT_THAT(again.errors, IsEmpty());
}

TEST_F(KelxmlTest, SaveRejectsAResultThatSaysSomethingElseUnlessForced) {
    struct Row {
        const char* fault;
        std::string document;
        const char* position;
    };
    const std::vector<Row> rows{
        {"mixed content is written twice", "<a><p>x<i>y</i>z</p><p>x<i>y</i></p></a>",
         "/a/p[1]: text \"xz\" reads back"},
        {"the second position is named, too", "<a><p>x<i>y</i>z</p><p>x<i>y</i></p></a>",
         "/a/p[2]: text \"x\" reads back"},
        {"a CDATA section alone is not written", "<a><b/><c><![CDATA[x]]></c></a>",
         "/a/c: the text of a CDATA"},
        {"a CDATA section beside elements", "<a><b/><c><![CDATA[x]]><d/></c></a>",
         "/a/c: the text of a CDATA"},
        {"an ampersand hides what follows it", "<a>Q&amp;A &lt; 3 x</a>", "would not be well formed: 1:"},
        {"an escaped look is left alone", "<a><b>&amp;lt;</b><b>a&amp;amp;b c</b></a>",
         "/a/b[2]: text \"a&amp;b c\" reads"},
        {"a line feed in an attribute", "<a b='1&#10;2'/>",
         "/a: attribute b=\"1\\n2\" reads back as \"1 2\""},
        {"a carriage return", "<a>1&#13;2</a>", "/a: text \"1\\r2\" reads back as \"1\\n2\""},
    };
    const std::string out = folder_.write("out.xml", "what was there");
    for (const Row& row : rows) {
        SCOPED_TRACE(row.fault);
        if (std::string_view(row.position).starts_with("would not") &&
            traits::kSaysWhatIsMalformed != nullptr)
            continue;
        const std::string file = folder_.write("in.xml", row.document);
        const RunResult rejected = kelxml({"save", file, "-o", out});
        EXPECT_EQ(rejected.status, 1);
        EXPECT_THAT(rejected.errors, HasSubstr(row.position));
        EXPECT_EQ(readFile(out), "what was there");
        EXPECT_EQ(folder_.fileCount(), 2U) << "no temporary file is left";
        EXPECT_THAT(kelxml({"save", file}).output, IsEmpty());

        const RunResult forced = kelxml({"save", "--force", file});
        EXPECT_EQ(forced.status, 0);
        EXPECT_THAT(forced.errors, HasSubstr(row.position));
        EXPECT_THAT(forced.output, HasSubstr("<a"));
    }
}

TEST_F(KelxmlTest, SaveAcceptsTextAroundCDataThatIsWrittenWhole) {
    if (traits::kKeepsWhiteSpaceOfTexts != nullptr) GTEST_SKIP() << traits::kKeepsWhiteSpaceOfTexts;
    const RunResult result =
        kelxml({"save", "-"}, {.input = "<a><b>1 <![CDATA[< 2]]> &lt; 3</b><b><!--c-->x<!--c-->y</b></a>"});
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_EQ(withLineFeeds(result.output), "<a>\n\t<b>1 &lt; 2 &lt; 3</b>\n\t<b>xy</b>\n</a>\n");
}

std::string withBackslashesDoubled(std::string path) {
    for (std::size_t at = 0; (at = path.find('\\', at)) != std::string::npos; at += 2)
        path.insert(at, 1, '\\');
    return path;
}

TEST_F(KelxmlTest, TreeOutlinesTheDocument) {
    const std::string file = folder_.write("in.xml", "<a x='1' y='2'><b>one\n  two</b><b><c/><d/></b></a>");
    EXPECT_EQ(kelxml({"tree", file}).output, "a x=\"1\" y=\"2\"\n  b  one two\n  b\n    c\n    d\n");
    EXPECT_EQ(kelxml({"tree", "--depth", "2", file}).output,
              "a x=\"1\" y=\"2\"\n  b  one two\n  b  (2 child elements)\n");
    EXPECT_EQ(kelxml({"tree", "--depth", "1", "-"}, {.input = "<a><b/></a>"}).output,
              "a  (1 child element)\n");
}

TEST_F(KelxmlTest, EventsAreReportedForPeopleAndForPrograms) {
    if (traits::kDeliversInstructions != nullptr) GTEST_SKIP() << traits::kDeliversInstructions;
    const std::string document =
        "<!--c--><p:a xmlns:p='u' q=\"x&quot;\\\" p:q='2'>1 &lt; \xF0\x9F\x98\x80&#32;"
        "<b/>&#9;<![CDATA[<]]></p:a><?t d?>";
    const RunResult json = kelxml({"events", "--json", "-"}, {.input = document});
    EXPECT_EQ(json.status, 0);
    EXPECT_EQ(json.output,
              "{\"event\":\"comment\",\"text\":\"c\"}\n"
              "{\"event\":\"start\",\"name\":\"p:a\",\"namespace\":\"u\",\"depth\":0,\"attributes\":{"
              "\"q\":\"x\\\"\\\\\",\"p:q\":\"2\"},\"declarations\":{\"p\":\"u\"}}\n"
              "{\"event\":\"text\",\"text\":\"1 < \xF0\x9F\x98\x80 \"}\n"
              "{\"event\":\"start\",\"name\":\"b\",\"depth\":1,\"attributes\":{}}\n"
              "{\"event\":\"end\",\"name\":\"b\"}\n"
              "{\"event\":\"text\",\"text\":\"\\u0009<\"}\n"
              "{\"event\":\"end\",\"name\":\"p:a\"}\n"
              "{\"event\":\"instruction\",\"target\":\"t\",\"data\":\"d\"}\n");
    EXPECT_EQ(json.errors, "-: elements 2, attributes 2, characters 8\n");

    const RunResult plain = kelxml({"events", "-"}, {.input = "<a x='1'><b>t</b></a>"});
    EXPECT_EQ(plain.output, "start a x=\"1\"\n  start b\n    text  \"t\"\n  end   b\nend   a\n");
}

TEST_F(KelxmlTest, EventsAndCheckSayWhatIsMalformedAndWhere) {
    if (traits::kPlacesErrorsOfEvents != nullptr) GTEST_SKIP() << traits::kPlacesErrorsOfEvents;
    using namespace std::string_literals;
    struct Row {
        const char* fault;
        std::string document;
        const char* position;
    };
    std::string deep;
    for (int i = 0; i < 20'000; ++i) deep += "<a>";
    for (int i = 0; i < 20'000; ++i) deep += "</a>";
    const std::vector<Row> rows{
        {"nothing", "", "-:1:1: error: "},
        {"a wrong end tag", "<a>\n<b></a>", "-:2:4: error: "},
        {"no end", "\n<a>", "-:2:1: error: "},
        {"a second root element", "<a>\n<b/>\n</a>\n\n<a/>", "-:5:1: error: "},
        {"text", "<a/>text", "-:1:5: error: "},
        {"a comment that does not end", "<a/>\n<!--", "-:2:"},
        {"UTF-16", "\xFF\xFE<\0a\0/\0>\0\n\0x\0"s, "-:2:1: error: "},
        {"too deep, which is another thing", deep, "nested more than 10000 deep"},
    };
    for (const Row& row : rows) {
        for (const char* const verb : {"events", "check"}) {
            SCOPED_TRACE(verb + (": " + std::string(row.fault)));
            const RunResult result = kelxml({verb, "-"}, {.input = row.document});
            EXPECT_EQ(result.status, 1);
            EXPECT_THAT(result.errors, HasSubstr(row.position));
            EXPECT_EQ(std::ranges::count(result.errors, '\n'), 1) << result.errors;
        }
    }
    EXPECT_THAT(kelxml({"events", "-"}, {.input = "<a>\n<b></a>"}).output, HasSubstr("start b\n"))
        << "what came before the error";
}

TEST_F(KelxmlTest, EventsTakeEverythingThatAWellFormedDocumentMayHold) {
    if (traits::kReadsEveryDocument != nullptr) GTEST_SKIP() << traits::kReadsEveryDocument;
    using namespace std::string_literals;
    for (const std::string& document : {
             "<!DOCTYPE a [<!ENTITY e '</a>'><!-- ' --><?p ' ]> ?><!ATTLIST a b CDATA '>'>]>\n<a>&lt;</a>"s,
             "<a b='/>' c=\"'>\"><!-- </a> --><?p </a>?><![CDATA[</a>]]]]><b/></a>\r\n<!----><!-- <x/> -->"s,
             "<a/><?xml-stylesheet href='?'?><?p?><?p ?\?>\n"s,
             "\xEF\xBB\xBF<a></a>\n\n"s,
         }) {
        const RunResult result = kelxml({"events", "-"}, {.input = document});
        EXPECT_EQ(result.status, 0) << document << result.errors;
        const RunResult checked = kelxml({"check", "-"}, {.input = document});
        EXPECT_EQ(checked.status, 0) << document << checked.errors;
        EXPECT_THAT(checked.output + checked.errors, IsEmpty());
    }
}

TEST_F(KelxmlTest, EventsKnowTheEndInEveryEncoding) {
    if (traits::kReadsManyEncodings != nullptr) GTEST_SKIP() << traits::kReadsManyEncodings;
    const RunResult result =
        kelxml({"events", "-"}, {.input = "<?xml version='1.0' encoding='Shift_JIS'?><a>\x83\x5C</a>"});
    EXPECT_EQ(result.status, 0) << result.errors;
}

TEST_F(KelxmlTest, SeveralFilesAreReportedOneByOne) {
    const std::string good = folder_.write("good.xml", "<a/>");
    const std::string bad = folder_.write("bad.xml", "<a>");
    const std::string missing = folder_.pathOf("missing.xml");

    const RunResult trees = kelxml({"tree", good, bad, missing, good});
    EXPECT_EQ(trees.status, 1);
    EXPECT_EQ(trees.output, "==> " + good + " <==\na\n==> " + good + " <==\na\n");
    EXPECT_THAT(trees.errors, HasSubstr(bad));
    EXPECT_THAT(trees.errors, HasSubstr(missing + ": error: No such file or directory\n"));
    EXPECT_THAT(trees.errors, HasSubstr("kelxml: 2 of 4 documents were rejected\n"));

    const RunResult json = kelxml({"events", "--json", good, bad});
    EXPECT_EQ(json.status, 1);
    EXPECT_THAT(json.output,
                StartsWith("{\"event\":\"document\",\"file\":\"" + withBackslashesDoubled(good) + "\"}\n"));

    const std::string ugly = folder_.write("ugly.xml", "<a><b/></a>");
    EXPECT_EQ(kelxml({"format", "-i", ugly, bad, good}).status, 1);
    EXPECT_TRUE(matches(readFile(ugly), "[^]*\n[ \t]+<b/>[^]*"));
    EXPECT_EQ(readFile(bad), "<a>");
    EXPECT_EQ(folder_.fileCount(), 3U) << "no temporary file is left";
}

class TransformTest : public KelxmlTest {
protected:
    [[nodiscard]] std::string sheet(const std::string& method, const std::string& body) const {
        return folder_.write("sheet.xsl",
                             "<x:stylesheet version='1.0' xmlns:x='http://www.w3.org/1999/XSL/Transform'>"
                             "<x:output method='" +
                                 method + "'/><x:template match='/'>" + body +
                                 "</x:template></x:stylesheet>");
    }
    const RunOptions input_{.input = "<a>\xE2\x82\xAC</a>"};
};

TEST_F(TransformTest, WritesUtf8AndSaysSo) {
    if (traits::kWritesEncodings != nullptr) GTEST_SKIP() << traits::kWritesEncodings;
    const std::string out = folder_.pathOf("out");
    EXPECT_EQ(kelxml({"transform", sheet("text", "<x:value-of select='a'/>"), "-", "-o", out}, input_).status,
              0);
    EXPECT_EQ(readFile(out), "\xE2\x82\xAC");
    EXPECT_TRUE(
        matches(kelxml({"transform", sheet("xml", "<b/>"), "-"}, input_).output, traits::kDeclarationOfUtf8));
    EXPECT_TRUE(matches(kelxml({"transform", sheet("html", "<html><head/></html>"), "-"}, input_).output,
                        "[^]*charset=UTF-8[^]*"));
}

TEST_F(TransformTest, KeepsWhatWasThereWhenItFails) {
    if (traits::kRejectsBadStyleSheets != nullptr) GTEST_SKIP() << traits::kRejectsBadStyleSheets;
    const std::string out = folder_.write("out", "what was there");
    struct Row {
        std::string style;
        const char* explanation;
    };
    const std::vector<Row> rejected{
        {folder_.write("no-sheet.xsl", "<a/>"), "no-sheet.xsl:1: error: "},
        {folder_.pathOf("missing.xsl"), "missing.xsl: error: "},
        {sheet("xml", "<x:message terminate='yes'>enough</x:message>"), "enough"},
    };
    for (const Row& row : rejected) {
        const RunResult result = kelxml({"transform", row.style, "-", "-o", out}, input_);
        EXPECT_EQ(result.status, 1) << row.explanation;
        EXPECT_THAT(result.errors, HasSubstr(row.explanation));
        EXPECT_EQ(readFile(out), "what was there");
    }
    EXPECT_THAT(kelxml({"transform", "-", folder_.write("a.xml", "<a/>")}, input_).errors,
                StartsWith("-:1: error: "));
}

TEST_F(KelxmlTest, WhatComesFromStandardInputNamesOtherFilesFromTheWorkingFolder) {
    folder_.write("part.xsl",
                  "<x:stylesheet version='1.0' xmlns:x='http://www.w3.org/1999/XSL/Transform'><x:template "
                  "match='/'>imported</x:template></x:stylesheet>");
    folder_.write("part.xsd",
                  "<s:schema xmlns:s='http://www.w3.org/2001/XMLSchema'><s:element name='a'/></s:schema>");
    folder_.write("in.xml", "<a/>");
    const RunResult transformed =
        kelxml({"transform", "-", "in.xml"},
               {.input = "<x:stylesheet version='1.0' xmlns:x='http://www.w3.org/1999/XSL/Transform'>"
                         "<x:import href='part.xsl'/><x:output method='text'/></x:stylesheet>",
                .folder = folder_.path().string()});
    if (traits::kWritesEncodings == nullptr) {
        EXPECT_EQ(transformed.output, "imported") << transformed.errors;
    }
    const RunResult validated =
        kelxml({"validate", "-", "in.xml"},
               {.input = "<s:schema xmlns:s='http://www.w3.org/2001/XMLSchema'><s:include "
                         "schemaLocation='part.xsd'/></s:schema>",
                .folder = folder_.path().string()});
    EXPECT_EQ(validated.output, "in.xml: valid\n") << validated.errors;
    EXPECT_EQ(folder_.fileCount(), 3U) << "nothing is left behind";
}

TEST_F(KelxmlTest, ValidateReportsEveryViolationOfEachDocument) {
    if (traits::kFindsAllViolations != nullptr) GTEST_SKIP() << traits::kFindsAllViolations;
    const std::string schema =
        folder_.write("s.xsd",
                      "<s:schema xmlns:s='http://www.w3.org/2001/XMLSchema' targetNamespace='urn:a' "
                      "elementFormDefault='qualified'><s:element name='a'><s:complexType><s:sequence>"
                      "<s:element name='b' type='s:int' maxOccurs='unbounded'/></s:sequence>"
                      "<s:attribute name='id' type='s:ID'/></s:complexType></s:element></s:schema>");
    const std::string valid = folder_.write("valid.xml", "<a xmlns='urn:a'><b>1</b></a>");
    const std::string invalid =
        folder_.write("invalid.xml", "<a xmlns='urn:a'>\n<b>1</b>\n <b>one</b>\n<b/><c/></a>");
    const std::string missing = folder_.pathOf("missing.xml");

    const RunResult one = kelxml({"validate", schema, valid});
    EXPECT_EQ(one.status, 0) << one.errors;
    EXPECT_EQ(one.output, valid + ": valid\n");
    EXPECT_THAT(kelxml({"validate", "--quiet", schema, valid}).output, IsEmpty());

    const RunResult three = kelxml({"validate", schema, invalid, valid, missing});
    EXPECT_EQ(three.status, 1);
    EXPECT_EQ(three.output, valid + ": valid\n");
    for (const char* const position : {":3:2: error: ", ":4:1: error: ", ":4:5: error: "})
        EXPECT_THAT(three.errors, HasSubstr(invalid + position));
    EXPECT_THAT(three.errors, HasSubstr(missing + ": error: No such file or directory"));
    EXPECT_THAT(three.errors, HasSubstr("2 of 3 documents were rejected"));
    EXPECT_EQ(std::ranges::count(three.errors, '\n'), 5);

    // What is found while reading is not reported twice where a tree is needed, too.
    const std::string ids = folder_.write(
        "ids.xsd",
        "<s:schema xmlns:s='http://www.w3.org/2001/XMLSchema'><s:element name='a'><s:complexType>"
        "<s:sequence><s:any minOccurs='0' maxOccurs='9'/></s:sequence><s:attribute name='id' "
        "type='s:ID'/><s:attribute name='n' type='s:int'/></s:complexType></s:element></s:schema>");
    const RunResult repeated = kelxml(
        {"validate", ids, folder_.write("ids.xml", "<a id='i'>\n<a n='x'/>\n<a id='j'/><a id='i'/></a>")});
    EXPECT_THAT(repeated.errors, HasSubstr("ids.xml:2:1: error: "));
    EXPECT_THAT(repeated.errors, HasSubstr("ids.xml:3:12: error: "));
    EXPECT_EQ(std::ranges::count(repeated.errors, '\n'), 2) << repeated.errors;

    // Beyond 16 MB a document is never made a tree.
    std::string longer = "<a xmlns='urn:a'>";
    while (longer.size() < (std::size_t{17} << 20)) longer += "<b>1234567890</b><b>12345678</b>";
    EXPECT_EQ(kelxml({"validate", schema, folder_.write("long.xml", longer + "</a>")}).status, 0);
    EXPECT_THAT(kelxml({"validate", schema, folder_.write("long.xml", longer + "\n<c/></a>")}).errors,
                HasSubstr("long.xml:2:1: error: "));

    EXPECT_THAT(kelxml({"validate", "--namespace", "urn:b", schema, valid}).errors,
                StartsWith(schema + ":1: error: "));
    EXPECT_EQ(kelxml({"validate", valid, valid}).status, 1) << "a file that is no schema";
    const std::string bad = folder_.write(
        "bad.xsd",
        "<s:schema xmlns:s='http://www.w3.org/2001/XMLSchema'>\n<s:element name='a' type='x'/>\n"
        "<s:element name='b' type='y'/></s:schema>");
    const RunResult schemaErrors = kelxml({"validate", bad, valid, valid});
    EXPECT_THAT(schemaErrors.errors, HasSubstr(bad + ":2: error: "));
    EXPECT_THAT(schemaErrors.errors, HasSubstr(bad + ":3: error: "));
    EXPECT_EQ(std::ranges::count(schemaErrors.errors, '\n'), 2) << "a schema is reported once";
}

TEST_F(KelxmlTest, ADocumentSendsNoControlSequencesToTheTerminal) {
    const RunResult result = kelxml({"tree", "-"}, {.input = "<a b='\xC2\x9B"
                                                             "31m'>\xC2\x9Bred\x7F</a>"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output, "a b=\"?31m\"  ?red?\n");
}

TEST_F(KelxmlTest, DeepDocumentsNeedNoStack) {
    if (traits::kBearsDepth != nullptr) GTEST_SKIP() << traits::kBearsDepth;
    constexpr int kDepth = 2000;
    std::string document;
    for (int i = 0; i < kDepth; ++i) document += "<a>";
    for (int i = 0; i < kDepth; ++i) document += "</a>";
    const RunResult tree = kelxml({"tree", "-"}, {.input = document});
    EXPECT_EQ(std::ranges::count(tree.output, '\n'), kDepth) << tree.errors;
    const RunResult saved = kelxml({"save", "-"}, {.input = document});
    EXPECT_EQ(saved.status, 0) << saved.errors;
    EXPECT_EQ(std::ranges::count(saved.output, '\n'), 2 * kDepth - 1);
}

TEST_F(KelxmlTest, InfoIdentifiesTheComponent) {
    const RunResult result = kelxml({"info"});
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.output, HasSubstr("msxml_parser"));
    EXPECT_THAT(result.output, HasSubstr(KEL_VERSION));
    EXPECT_THAT(result.output, HasSubstr("{88BC5A8E-CC38-4C51-B3F1-90800566E0DF}"));
    EXPECT_THAT(result.output, HasSubstr("{A915F25B-7386-4143-BB88-D11CC2E69FC7}  MSDOMXml"));
    EXPECT_THAT(result.output, HasSubstr("{DFB612BD-5865-4067-97C1-3FE4A7F49A86}  MSSAXXml"));
    EXPECT_THAT(result.output, HasSubstr("IKelStrSupport"));
}

TEST_F(KelxmlTest, DumpsDataModelFilesUpToTheirDamage) {
    const std::string path = folder_.pathOf("shelf.kel");
    {
        KelFileWrite writer(KelString(kel::fromUtf8(path)));
        const std::int64_t years[] = {1, 2, 3, 4, 5, 6, 7, 8, 9};
        writer.beginBlock(kel::dataTag("shlf"), BinIO_Version(3, 7));
        writer.writeText(kel::dataTag("titl"), u"Em\u0007ma");
        writer.writeIntegers(kel::dataTag("year"), years, 9);
        writer.endBlock();
        writer.writeBool(7, true);
        writer.writeReal(kel::dataTag("wdth"), -0.5);
        writer.writeBytes(kel::dataTag("blob"), "\x01\xFF", 2);
        writer.writeClassId(kel::dataTag("clid"), KelClassId{});
        ASSERT_TRUE(writer.finish());
    }
    const std::string records =
        "        16  shlf block 3.7\n"
        "        32    titl text \"Em?ma\"\n"
        "        54    year integers 1 2 3 4 5 6 7 8 ... (9)\n";
    const RunResult whole = kelxml({"dump", path});
    EXPECT_EQ(whole.output, records +
                                "       138  0x00000007 bool true\n"
                                "       151  wdth reals -0.5\n"
                                "       171  blob bytes 01 ff\n"
                                "       185  clid class-id {00000000-0000-0000-0000-000000000000}\n")
        << whole.errors;
    std::string content = readFile(path);
    content[150] = 9;  // the truth value
    const RunResult damaged = kelxml({"dump", "-"}, {.input = content});
    EXPECT_EQ(damaged.status, 1);
    EXPECT_EQ(damaged.output, records);
    EXPECT_THAT(damaged.errors, HasSubstr("byte 150: expected 0 or 1 in '0x00000007', found 9"));
}

TEST_F(KelxmlTest, SavesARealDocumentWithoutLoss) {
    const std::string schema = "/usr/share/xml/docbook/schema/xsd/5.0/docbook.xsd";
    const RunResult first = kelxml({"save", schema});
    ASSERT_EQ(first.status, 0) << first.errors;
    EXPECT_GT(first.output.size(), 600'000U);
    const RunResult second = kelxml({"save", "-"}, {.input = first.output});
    EXPECT_EQ(second.output, first.output);
}

}  // namespace
