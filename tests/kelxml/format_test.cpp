// `kelxml format`: nothing but layout changes, once.
#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "runner.h"

namespace {

namespace fs = std::filesystem;

using kel::test::kelxml;
using kel::test::KelxmlTest;
using kel::test::readFile;
using kel::test::RunResult;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

TEST_F(KelxmlTest, FormatChangesLayoutAndNothingElse) {
    const std::string document =
        "<?xml version='1.0' encoding='ISO-8859-1' standalone='yes'?><!--1--><?p i?>"
        "<a x='&#10;'><b>x<i>y</i> &amp;\xE9</b><!--2--><c><![CDATA[a < b]]></c><d> </d><e><!-- none --></e>"
        "<f xml:space='preserve'><i/><i/></f><g><![CDATA[ ]]></g><h><i><j/></i></h></a><!--3-->";
    const RunResult once = kelxml({"format", "-"}, {.input = document});
    EXPECT_EQ(once.status, 0) << once.errors;
    EXPECT_EQ(once.output,
              "<?xml version='1.0' encoding='ISO-8859-1' standalone='yes'?>\n<!--1-->\n<?p i?>\n"
              "<a x=\"&#10;\">\n  <b>x<i>y</i> &amp;\xE9</b>\n  <!--2-->\n  <c><![CDATA[a < b]]></c>\n"
              "  <d> </d>\n  <e><!-- none --></e>\n  <f xml:space=\"preserve\"><i/><i/></f>\n"
              "  <g><![CDATA[ ]]></g>\n  <h>\n    <i>\n      <j/>\n    </i>\n  </h>\n</a>\n<!--3-->\n");
    EXPECT_EQ(kelxml({"format", "-"}, {.input = once.output}).output, once.output);
    EXPECT_THAT(kelxml({"format", "--indent", "tab", "-"}, {.input = document}).output,
                HasSubstr("\n\t<h>\n\t\t<i>\n\t\t\t<j/>\n"));
    EXPECT_THAT(kelxml({"format", "--indent=0", "-"}, {.input = document}).output,
                HasSubstr("\n<h>\n<i>\n<j/>\n"));
    EXPECT_EQ(kelxml({"format", "-"}, {.input = "<a>"}).status, 1);
}

// Without a limit the spaces alone would be 200 MB.
TEST_F(KelxmlTest, FormatDoesNotLetDeepDocumentsGrow) {
    std::string document;
    for (int i = 0; i < 9'000; ++i) document += "<a>";
    for (int i = 0; i < 9'000; ++i) document += "</a>";
    const RunResult result = kelxml({"format", "-"}, {.input = document});
    EXPECT_LT(result.output.size(), 5'000'000U);
    EXPECT_EQ(kelxml({"format", "-"}, {.input = result.output}).output, result.output);
}

// Elements, texts, white space, comments, instructions, CDATA sections and xml:space, in any order.
class Generator {
public:
    explicit Generator(unsigned seed) : random_(seed) {}

    std::string document() { return "<r>" + content(4) + "</r>"; }

private:
    std::string content(int depth) {
        static const std::vector<std::string> kPieces{" ",        "\n  ",    "text",          " t ",
                                                      "<!--c-->", "<?p d?>", "<![CDATA[ ]]>", "<![CDATA[x]]>",
                                                      "&#10;",    "<e/>",    "<e>\n</e>",     "&amp;"};
        std::string result;
        for (auto i = random_() % 5; i > 0; --i) {
            const auto choice = random_() % 18;
            if (choice < kPieces.size() || depth == 0) {
                result += kPieces[choice % kPieces.size()];
                continue;
            }
            const char* const space = choice == 12   ? " xml:space='preserve'"
                                      : choice == 13 ? " xml:space='default'"
                                                     : "";
            result += std::string("<n") + space + ">" + content(depth - 1) + "</n>";
        }
        return result;
    }

    std::minstd_rand random_;
};

// Many documents as the children of one: a process each would take minutes. What is stable and keeps its
// texts as a part does so alone, for the layout of an element depends on what is around it by xml:space
// alone.
TEST_F(KelxmlTest, FormattingTwiceIsFormattingOnce) {
    std::string documents = "<all>";
    for (unsigned seed = 1; seed <= 1500; ++seed) documents += Generator(seed).document();
    documents += "</all>";
    const std::string file = folder_.write("in.xml", documents);
    const std::string once = kelxml({"format", file}).output;
    const std::string again = folder_.write("once.xml", once);
    EXPECT_EQ(kelxml({"format", again}).output, once);
    EXPECT_EQ(kelxml({"format", "--check", again}).status, 0);
    // The events of both, white space left out, are the same.
    const auto events = [&](const std::string& path) {
        std::string kept;
        for (const char unit : kelxml({"events", "--json", path}).output)
            if (unit != ' ' && unit != '\n') kept += unit;
        for (const std::string space : {"\\u000a", R"({"event":"text","text":""})"}) {
            for (std::size_t at = 0; (at = kept.find(space, at)) != std::string::npos;)
                kept.erase(at, space.size());
        }
        return kept;
    };
    EXPECT_EQ(events(file), events(again));
}

TEST_F(KelxmlTest, CheckingTheFormatChangesNothing) {
    const std::string ugly = folder_.write("ugly.xml", "<a><b/></a>");
    const std::string fine = folder_.write("fine.xml", "<a>\n  <b/>\n</a>\n");
    const RunResult result = kelxml({"format", "--check", fine, ugly});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.output, IsEmpty());
    EXPECT_EQ(result.errors,
              ugly + ": error: the document is not formatted\nkelxml: 1 of 2 documents was rejected\n");
    EXPECT_EQ(readFile(ugly), "<a><b/></a>");
    EXPECT_EQ(kelxml({"format", "--check", fine}).status, 0);
    EXPECT_EQ(kelxml({"format", "--check", "--indent=4", fine}).status, 1);
}

TEST_F(KelxmlTest, FormattingInPlaceKeepsOwnerAndModeAndLeavesWhatIsFormattedAlone) {
    const std::string file = folder_.write("in.xml", "<a><b/></a>");
    ::chmod(file.c_str(), 02750);
    const bool isRoot = ::geteuid() == 0;
    if (isRoot) {
        ASSERT_EQ(::chown(file.c_str(), 12345, 54321), 0);
        ::chmod(file.c_str(), 02750);
    }
    ASSERT_EQ(kelxml({"format", "-i", file}).status, 0);
    struct stat now {};
    ASSERT_EQ(::stat(file.c_str(), &now), 0);
    EXPECT_EQ(now.st_mode & 07777, 02750U);
    if (isRoot) {
        EXPECT_EQ(now.st_uid, 12345U);
        EXPECT_EQ(now.st_gid, 54321U);
    }
    ASSERT_EQ(kelxml({"format", "-i", file}).status, 0);
    struct stat later {};
    ASSERT_EQ(::stat(file.c_str(), &later), 0);
    EXPECT_EQ(later.st_ino, now.st_ino) << "nothing to change, and yet replaced";
}

TEST_F(KelxmlTest, DoctypesAreReadOnRequest) {
    const std::string document = "<!DOCTYPE a [<!ENTITY e 'v'>]>\n<a b=\"1\">&e;</a>\n";
    const std::string file = folder_.write("in.xml", document);
    const std::string sheet =
        folder_.write("s.xsl",
                      "<x:stylesheet version='1.0' xmlns:x='http://www.w3.org/1999/XSL/Transform'><x:output "
                      "method='text'/></x:stylesheet>");
    for (const std::vector<std::string>& arguments :
         std::vector<std::vector<std::string>>{{"tree", file},
                                               {"format", file},
                                               {"save", file},
                                               {"select", "/a", file},
                                               {"edit", "--set", "/a/@b", "2", file},
                                               {"transform", sheet, file}}) {
        const RunResult rejected = kelxml(arguments);
        EXPECT_EQ(rejected.status, 1) << arguments[0];
        EXPECT_THAT(rejected.errors, HasSubstr("--allow-dtd"));
        std::vector<std::string> allowed = arguments;
        allowed.emplace_back("--allow-dtd");
        const RunResult read = kelxml(allowed);
        EXPECT_EQ(read.status, 0) << arguments[0] << read.errors;
        EXPECT_THAT(read.output, HasSubstr("v")) << arguments[0];
    }
    EXPECT_EQ(kelxml({"format", "--allow-dtd", file}).output,
              "<!DOCTYPE a [<!ENTITY e 'v'>]>\n<a b=\"1\">v</a>\n");
}

}  // namespace
