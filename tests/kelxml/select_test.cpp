// `kelxml select` and `kelxml edit`: expressions from the command line.
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

constexpr const char* kShelf =
    "<s xmlns='urn:d' xmlns:p='urn:p'>\n"
    "  <b y='1' p:k='&quot;'>One <i>&amp; more</i><![CDATA[ <]]></b>\n"
    "  <b y='2'/>\n"
    "  <p:c>Three</p:c>\n"
    "</s>";

class SelectTest : public KelxmlTest {
protected:
    const std::string file_ = folder_.write("shelf.xml", kShelf);
};

TEST_F(SelectTest, ShowsNodesAndValuesInEveryForm) {
    struct Row {
        std::vector<std::string> arguments;
        std::string output;
    };
    const std::string file = "\"file\":\"" + file_ + "\"";
    const std::vector<Row> rows{
        {{"//_:b"}, "One & more <\n\n"},
        {{"//p:c"}, "Three\n"},
        {{"-n", "q=urn:p", "//q:c | //_:b[@y=2]"}, "\nThree\n"},
        {{"-n", "p=urn:d", "//p:b[2]/@y"}, "2\n"},  // what is given goes before what is declared
        {{"//@y"}, "1\n2\n"},
        {{"//_:b[1]/text()"}, "One \n <\n"},
        {{"count(//_:b) + 1"}, "3\n"},
        {{"string(//@y)"}, "1\n"},
        {{"//p:c = 'Three'"}, "true\n"},
        {{"--count", "//_:b"}, "2\n"},
        {{"--count", "//@*"}, "3\n"},
        {{"--count", "--as", "json", "//@*"}, "{" + file + ",\"count\":3}\n"},
        {{"--as", "json", "//p:c"},
         "{" + file +
             ",\"line\":4,\"column\":3,\"name\":\"p:c\",\"namespace\":\"urn:p\",\"attributes\":{},\"text\":"
             "\"Three\"}\n"},
        {{"--as", "json", "//@p:k"}, "{" + file + ",\"name\":\"p:k\",\"value\":\"\\\"\"}\n"},
        {{"--as", "json", "1 div 0"}, "{" + file + ",\"value\":\"Infinity\"}\n"},
        {{"--as", "xml", "//p:c"}, "<p:c xmlns:p=\"urn:p\" xmlns=\"urn:d\">Three</p:c>\n"},
        {{"--as", "xml", "//@y"}, "1\n2\n"},
    };
    for (const Row& row : rows) {
        std::vector<std::string> arguments{"select"};
        arguments.insert(arguments.end(), row.arguments.begin(), row.arguments.end());
        arguments.push_back(file_);
        const RunResult result = kelxml(arguments);
        EXPECT_EQ(result.status, 0) << row.arguments.back() << result.errors;
        if (row.arguments.back() == "//p:c" && row.arguments.front() == "--as" && row.arguments[1] == "xml") {
            EXPECT_THAT(result.output, HasSubstr(">Three</p:c>\n"));  // declarations come in any order
            EXPECT_THAT(result.output, HasSubstr("xmlns:p=\"urn:p\""));
            continue;
        }
        EXPECT_EQ(result.output, row.output) << row.arguments.back();
    }
}

TEST_F(SelectTest, SaysWhenNothingWasSelectedOrTheExpressionIsWrong) {
    const RunResult nothing = kelxml({"select", "//absent", file_});
    EXPECT_EQ(nothing.status, 1);
    EXPECT_THAT(nothing.output + nothing.errors, IsEmpty());
    for (const char* const wrong : {"//b[", "//x:b", "nonsense(", "//@y["}) {
        const RunResult result = kelxml({"select", wrong, file_});
        EXPECT_EQ(result.status, 1) << wrong;
        EXPECT_THAT(result.errors, HasSubstr(file_ + ": error: expression '" + wrong + "': ")) << wrong;
    }
}

TEST_F(SelectTest, EditsWhatIsSelectedAndNothingElse) {
    struct Row {
        std::vector<std::string> arguments;
        std::string from;  // the part of the document that changes
        std::string to;
    };
    const std::vector<Row> rows{
        {{"--set", "//_:b[@y=2]", "a<b"}, "<b y='2'/>", "<b y='2'>a&lt;b</b>"},
        {{"--set", "//_:b[1]", "new"}, ">One <i>&amp; more</i><![CDATA[ <]]><", ">new<"},
        {{"--set", "//_:b/@y", "9"}, "y='1'", "y='9'"},
        {{"--set", "//p:c/@new", "1"}, "<p:c>", "<p:c new='1'>"},
        {{"--delete", "//_:b[2]"}, "<b y='2'/>", ""},
        {{"--delete", "//@p:k"}, " p:k='&quot;'", ""},
        {{"--rename", "//_:i", "em"}, "<i>&amp; more</i>", "<em>&amp; more</em>"},
        {{"--rename", "//_:b[2]/@y", "year"}, "y='2'", "year='2'"},
        {{"--append", "//p:c", "<x/><p:y>1</p:y>"}, "Three", "Three<x/><p:y>1</p:y>"},
        {{"--before", "//_:b[2]", "<x/><y/>"}, "<b y='2'/>", "<x/><y/><b y='2'/>"},
        {{"--after", "//_:b[2]", "<x/><y/>"}, "<b y='2'/>", "<b y='2'/><x/><y/>"},
        {{"--rename", "//p:c", "d", "--set", "//_:d", "4", "--delete", "//_:b/@y"},
         "<p:c>Three</p:c>",
         "<d>4</d>"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.arguments[0] + ' ' + row.arguments[1]);
        std::string expected = kShelf;
        expected.replace(expected.find(row.from), row.from.size(), row.to);
        if (row.arguments.back() == "9") expected.replace(expected.find("y='2'"), 5, "y='9'");
        if (row.arguments.back() == "//_:b/@y") {
            expected.erase(expected.find(" y='1'"), 6);
            expected.erase(expected.find(" y='2'"), 6);
        }
        std::vector<std::string> arguments{"edit"};
        arguments.insert(arguments.end(), row.arguments.begin(), row.arguments.end());
        arguments.push_back(file_);
        const RunResult result = kelxml(arguments);
        EXPECT_EQ(result.status, 0) << result.errors;
        EXPECT_THAT(result.errors, IsEmpty());
        // Written the same way by the program itself, whatever the quotes.
        const std::string same = folder_.write("expected.xml", expected);
        EXPECT_EQ(kelxml({"events", "--json", "-"}, {.input = result.output}).output,
                  kelxml({"events", "--json", same}).output);
    }
    const std::string around =
        folder_.write("around.xml", "<!--1-->\n<a x=\"1\"><!--2--><b/></a>\n<!--3-->\n");
    EXPECT_EQ(kelxml({"edit", "--set", "/a", "t", around}).output, "<!--1-->\n<a x=\"1\">t</a>\n<!--3-->\n");
}

TEST_F(SelectTest, EditsInPlaceOrNotAtAll) {
    const std::string other = folder_.write("other.xml", "<o/>");
    const RunResult result =
        kelxml({"edit", "-i", "--delete", "//*[@y]", file_, "--set", "/o/@x", "1", other});
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.errors, HasSubstr(other + ": warning: expression '//*[@y]' selects nothing"));
    EXPECT_EQ(readFile(other), "<o x=\"1\"/>\n");
    EXPECT_THAT(readFile(file_), testing::Not(HasSubstr("<b")));

    const std::string before = readFile(file_);
    for (const std::vector<std::string>& wrong :
         std::vector<std::vector<std::string>>{{"--rename", "//p:c", "not a name"},
                                               {"--delete", "/*"},
                                               {"--append", "/*", "<open>"},
                                               {"--append", "/*", "text"},
                                               {"--after", "/*", "<second/>"},
                                               {"--rename", "//p:c", "undeclared:name"}}) {
        std::vector<std::string> arguments{"edit", "-i"};
        arguments.insert(arguments.end(), wrong.begin(), wrong.end());
        arguments.push_back(file_);
        const RunResult rejected = kelxml(arguments);
        EXPECT_NE(rejected.status, 0) << wrong.back();
        EXPECT_THAT(rejected.errors, HasSubstr("error: ")) << wrong.back();
        EXPECT_EQ(readFile(file_), before) << wrong.back();
    }
    EXPECT_EQ(folder_.fileCount(), 2U);
}

}  // namespace
