// Many files: side by side, in order, each with its own messages.
#include <algorithm>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "runner.h"

namespace {

using kel::test::kelxml;
using kel::test::KelxmlTest;
using kel::test::readFile;
using kel::test::RunResult;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

// Long and short documents by turns, every seventh malformed: what is finished early must wait, and what is
// longer than may be kept must not mix with others.
TEST_F(KelxmlTest, OutputComesInTheOrderOfTheFilesWhateverTheNumberOfJobs) {
    std::vector<std::string> files;
    for (int i = 0; i < 40; ++i) {
        std::string document = "<a n='" + std::to_string(i) + "'>";
        for (int k = i % 5 == 0 ? 60'000 : 1; k > 0; --k) document += "<b>some text that takes room</b>";
        files.push_back(folder_.write(std::to_string(i), document + (i % 7 == 6 ? "</b>" : "</a>")));
    }
    for (const char* const verb : {"tree", "events", "check"}) {
        SCOPED_TRACE(verb);
        std::vector<std::string> arguments{verb, "--jobs", "1"};
        arguments.insert(arguments.end(), files.begin(), files.end());
        const RunResult expected = kelxml(arguments);
        EXPECT_EQ(expected.status, 1);
        EXPECT_THAT(expected.errors, HasSubstr("kelxml: 5 of 40 documents were rejected\n"));
        for (const char* const jobs : {"2", "7", "100"}) {
            arguments[2] = jobs;
            const RunResult result = kelxml(arguments);
            EXPECT_TRUE(result.output == expected.output) << jobs;
            EXPECT_EQ(result.errors, expected.errors) << jobs;
            EXPECT_EQ(result.status, 1);
        }
    }
}

TEST_F(KelxmlTest, AReaderThatLeavesEndsAllJobs) {
    std::vector<std::string> arguments{"tree", "--jobs", "4"};
    std::string document = "<a>";
    for (int i = 0; i < 100'000; ++i) document += "<b>some text</b>";
    for (int i = 0; i < 8; ++i) arguments.push_back(folder_.write(std::to_string(i), document + "</a>"));
    const RunResult result = kelxml(arguments, {.readAtMost = 100});
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.errors, IsEmpty());
}

TEST_F(KelxmlTest, DiagnosticsAreJsonForPrograms) {
    const std::string bad = folder_.write("bad \"1\".xml", "<a>\n <b></a>");
    const RunResult result = kelxml({"--diagnostics=json", "check", bad, folder_.pathOf("none")});
    EXPECT_EQ(result.status, 1);
    const std::string folder = folder_.path().string();
    EXPECT_EQ(result.errors,
              "{\"severity\":\"error\",\"file\":\"" + folder +
                  "/bad \\\"1\\\".xml\",\"line\":2,\"column\":5,\"code\":3,\"reason\":\"End tag 'a' does not "
                  "match the start tag 'b'.\"}\n"
                  "{\"severity\":\"error\",\"file\":\"" +
                  folder +
                  "/none\",\"code\":1,\"reason\":\"No such file or directory\"}\n"
                  "{\"severity\":\"note\",\"reason\":\"2 of 2 documents were rejected\"}\n");
    EXPECT_EQ(std::ranges::count(kelxml({"-q", "check", bad, bad}).errors, '\n'), 2) << "no summary";
}

TEST_F(KelxmlTest, CountsAreInTheFormsOfTheLanguage) {
    const std::string good = folder_.write("good.xml", "<a><b/></a>");
    const std::string bad = folder_.write("bad.xml", "<a>");
    struct Row {
        const char* language;
        const char* one;
        const char* two;
    };
    const Row rows[]{
        {"C.UTF-8", "1 of 3 documents was rejected", "2 of 3 documents were rejected"},
        {"de", "1 von 3 Dokumenten wurde abgelehnt", "2 von 3 Dokumenten wurden abgelehnt"},
        {"fr", "1 document sur 3 a été rejeté", "2 documents sur 3 ont été rejetés"},
        {"ja", "3 個の文書のうち 1 個が", "3 個の文書のうち 2 個が"},
    };
    for (const Row& row : rows) {
        const kel::test::RunOptions user{
            .environment = {"LANG=C.UTF-8", std::string("LC_ALL=") + row.language}};
        EXPECT_THAT(kelxml({"check", good, bad, good}, user).errors, HasSubstr(row.one));
        EXPECT_THAT(kelxml({"check", bad, bad, good}, user).errors, HasSubstr(row.two));
    }
}

class StyleSheetTest : public KelxmlTest {
protected:
    [[nodiscard]] std::string sheet(const std::string& body) const {
        return folder_.write("sheet.xsl",
                             "<x:stylesheet version='1.0' xmlns:x='http://www.w3.org/1999/XSL/Transform'>"
                             "<x:param name='p' select=\"'none'\"/><x:output method='text'/>\n" +
                                 body + "</x:stylesheet>");
    }
};

TEST_F(StyleSheetTest, TakesParametersAndManyDocuments) {
    const std::string style = sheet(
        "<x:template match='/'><x:value-of select='concat($p, name(*), $p + 1, "
        "boolean($p = true()))'/>;</x:template>");
    const std::string a = folder_.write("a.xml", "<a/>");
    const std::string b = folder_.write("b.xml", "<b/>");
    EXPECT_EQ(kelxml({"transform", "-p", "p=1=2", style, a, b, "--jobs", "2"}).output,
              "1=2aNaNtrue;1=2bNaNtrue;");
    EXPECT_EQ(kelxml({"transform", style, a, "--number", "p=41"}).output, "41a42true;");
    EXPECT_EQ(kelxml({"transform", style, a, "--truth", "p=false"}).output, "falsea1false;");
    EXPECT_EQ(kelxml({"transform", style, a, "--number", "p=x"}).status, 2);
    EXPECT_EQ(kelxml({"transform", style, a, "-p", "x:p=1"}).status, 2);

    const std::string folder = folder_.path().string();
    ASSERT_EQ(kelxml({"transform", style, a, b, "--folder", folder, "--extension", ".txt"}).status, 0);
    EXPECT_EQ(readFile(folder_.path() / "a.txt"), "noneaNaNtrue;");
    EXPECT_EQ(readFile(folder_.path() / "b.txt"), "nonebNaNtrue;");
}

TEST_F(StyleSheetTest, SaysWhatItDoesAndWhatItCannotDo) {
    const std::string style = sheet(
        "<x:template match='/'>\n<x:message>from <x:value-of "
        "select='name(*)'/></x:message>\n<x:bogus/></x:template>");
    const std::string a = folder_.write("a.xml", "<a/>");
    const RunResult result = kelxml({"transform", style, a, a});
    EXPECT_THAT(result.errors, HasSubstr(a + ": from a\n"));
    EXPECT_THAT(result.errors, HasSubstr("bogus"));
    EXPECT_THAT(kelxml({"transform", "--quiet", style, a}).errors, Not(HasSubstr("from a")));

    const std::string failing = sheet("<x:template match='/'>\n<x:value-of select='$absent'/></x:template>");
    const RunResult failed = kelxml({"transform", failing, a});
    EXPECT_EQ(failed.status, 1);
    EXPECT_THAT(failed.output, IsEmpty());
    EXPECT_THAT(failed.errors, HasSubstr("sheet.xsl:3: error: "));
}

}  // namespace
