// The demo runs on any document, and what it reports is right.
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "runner.h"

namespace {

using kel::test::readFile;
using kel::test::RunResult;
using ::testing::HasSubstr;
using ::testing::Not;

class DemoTest : public ::testing::Test {
protected:
    [[nodiscard]] RunResult demo(const std::string& file, std::string_view input = {}) const {
        return kel::test::run({DEMO_PROGRAM, file, DEMO_EXAMPLES, folder_.path().string()}, {.input = input});
    }
    kel::test::TemporaryFolder folder_;
};

TEST_F(DemoTest, RunsEveryStepOnASchema) {
    const RunResult result = demo(DEMO_EXAMPLES "/schema-documents.xsd");
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_THAT(result.output, HasSubstr("the same elements, the same attributes, the same texts\n"));
    EXPECT_THAT(result.output, HasSubstr("      valid, found out in "));
    EXPECT_THAT(result.output, HasSubstr("This element is not expected"));
    EXPECT_THAT(result.output, HasSubstr("levels; most frequent: element "));
    EXPECT_THAT(result.output, HasSubstr("de  error 3: Fehler beim Lesen von "));
    EXPECT_THAT(result.output, Not(HasSubstr("loaded?!"))) << "a malformed variant was taken";
}

TEST_F(DemoTest, ReportCountsWhatIsThere) {
    ASSERT_EQ(demo("-", "<a xmlns:x='u'><b i='1'/><b i='2' j='3'/><x:c>t</x:c></a>").status, 0);
    const std::string page = readFile(folder_.path() / "report.html");
    for (const char* fact :
         {"<code>b</code></td>\n<td class=\"number\">2</td>", "<b>5</b> elements", "<b>2</b> levels",
          "<code>i</code></td>\n<td class=\"number\">2</td>", "width: 40.00%", "charset=UTF-8"}) {
        EXPECT_THAT(page, HasSubstr(fact));
    }
}

TEST_F(DemoTest, ReportsWhyADocumentIsRejectedAndReadsItAsEvents) {
    const RunResult result = demo("-", "<!DOCTYPE a [<!ENTITY e 'hello'>]><a>&e;</a>");
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.output, HasSubstr("A DOCTYPE is not allowed here"));
    EXPECT_THAT(result.output, HasSubstr("text  hello"));
    EXPECT_EQ(demo(folder_.pathOf("missing.xml")).status, 1);
}

}  // namespace
