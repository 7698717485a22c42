// The command line itself: what is reported of wrong usage, and what help, manual and completion show.
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "runner.h"

namespace {

using kel::test::kelxml;
using kel::test::KelxmlTest;
using kel::test::kVerbs;
using kel::test::RunResult;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

TEST_F(KelxmlTest, WrongUsageIsExplainedAndEndsWith2) {
    struct Row {
        std::vector<std::string> arguments;
        const char* explanation;
    };
    const std::string notALibrary = folder_.write("not-a-library.so", "text");
    const std::vector<Row> rows{
        {{}, "a verb is missing; the verbs are: check tree"},
        {{"shave", "x.xml"}, "unknown verb 'shave'; did you mean 'save'?"},
        {{"vlaidate", "x"}, "unknown verb 'vlaidate'; did you mean 'validate'?"},
        {{"xyzzy"}, "unknown verb 'xyzzy'; the verbs are: check tree"},
        {{"help", "xyzzy"}, "unknown verb 'xyzzy'; the verbs are: check tree"},
        {{"--diagnostics=xml", "info"}, "'xml' is not one of text|json"},
        {{"--componnet", "x", "info"}, "unknown option '--componnet'; did you mean '--component'?"},
        {{"save", "--froce", "x"}, "save: unknown option '--froce'; did you mean '--force'?"},
        {{"tree", "x", "--json"}, "tree: unknown option '--json'\n"},
        {{"tree", "-x", "x"}, "tree: unknown option '-x'\n"},
        {{"save"}, "save: FILE is missing"},
        {{"transform", "x"}, "transform: FILE is missing"},
        {{"save", "a.xml", "b.xml"}, "save: unexpected argument 'b.xml'"},
        {{"info", "a.xml"}, "info: unexpected argument 'a.xml'"},
        {{"tree", "--depth", "0", "a.xml"}, "'0' is not a number from 1 on"},
        {{"tree", "--depth", "many", "a.xml"}, "'many' is not a number from 1 on"},
        {{"tree", "--depth", "99999999999", "a.xml"}, "'99999999999' is not a number from 1 on"},
        {{"save", "a.xml", "-o"}, "save: option '--output' needs a value"},
        {{"tree", "--color=red", "a.xml"}, "'red' is not one of auto|always|never"},
        {{"completion", "tcsh"}, "'tcsh' is not one of bash|zsh|fish"},
        {{"tree", "-", "-"}, "standard input can be read only once"},
        {{"transform", "-", "-"}, "standard input can be read only once"},
        {{"validate", "-", "-"}, "standard input can be read only once"},
        {{"format", "a.xml", "b.xml"}, "only be formatted with --in-place"},
        {{"format", "-i", "a.xml", "-o", "b.xml"}, "--in-place and --output exclude each other"},
        {{"format", "--indent", "17", "a.xml"}, "'17' is neither a number from 0 to 16 nor 'tab'"},
        {{"format", "--check", "a.xml", "-"}, "--check needs files that can be read twice"},
        {{"edit", "a.xml"}, "there is nothing to change"},
        {{"edit", "--delete", "//a", "a.xml", "b.xml"}, "can only be changed with --in-place"},
        {{"edit", "--delete", "//a", "-i", "a.xml", "-o", "b.xml"},
         "--in-place and --output exclude each other"},
        {{"select", "--as", "yaml", "//a", "a.xml"}, "'yaml' is not one of text|xml|json"},
        {{"select", "-n", "urn:a", "//a", "a.xml"}, "expected PREFIX=URI, found 'urn:a'"},
        {{"transform", "a.xsl", "a.xml", "b.xml", "-o", "c"}, "several results need a --folder"},
        {{"transform", "a.xsl", "a.xml", "-o", "b", "--folder", "c"},
         "--output and --folder exclude each other"},
        {{"check", "--jobs", "0", "a.xml"}, "'0' is not a number from 1 on"},
        {{"--component", "no/such.so", "info"}, "no/such.so"},
        {{"--component", notALibrary, "info"}, "not-a-library.so"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.explanation);
        const RunResult result = kelxml(row.arguments);
        EXPECT_EQ(result.status, 2);
        EXPECT_THAT(result.output, IsEmpty());
        EXPECT_THAT(result.errors, HasSubstr(row.explanation));
    }
}

TEST_F(KelxmlTest, OptionsMayStandAnywhereAndTheLastOneCounts) {
    const std::string file = folder_.write("in.xml", "<a><b/></a>");
    for (const std::vector<std::string>& arguments : std::vector<std::vector<std::string>>{
             {"tree", "--depth", "1", "--color=always", file},
             {"tree", file, "-d1", "--color", "always"},
             {"--color=never", "tree", file, "-d", "7", "--color=always", "--depth=1"},
             {"--color=always", "tree", "-d1", "--", file}}) {
        const RunResult result = kelxml(arguments);
        EXPECT_EQ(result.output, "\x1b[1;34ma\x1b[0m\x1b[2m  (1 child element)\x1b[0m\n") << result.errors;
    }
}

TEST_F(KelxmlTest, HelpAndManualTeachEveryVerb) {
    const std::string help = kelxml({"--help"}).output;
    const std::string manual = kelxml({"manual"}).output;
    for (const std::string& verb : kVerbs) {
        EXPECT_THAT(help, HasSubstr("\n  " + verb + ' '));
        EXPECT_THAT(manual, HasSubstr("\n.Ss " + verb + '\n'));
        const RunResult one = kelxml({verb, "--help"});
        EXPECT_EQ(one.status, 0);
        EXPECT_THAT(one.output, HasSubstr("Usage: kelxml " + verb));
        EXPECT_EQ(one.output, kelxml({"help", verb}).output);
    }
    EXPECT_THAT(kelxml({"tree", "-h"}).output, HasSubstr("\nExamples\n  kelxml tree "));
    EXPECT_EQ(kelxml({"help"}).output, help);
    EXPECT_THAT(kelxml({"help", "format"}, {.environment = {"COLUMNS=40"}}).output,
                HasSubstr("\nOnly white space between elements\nchanges, and "));
    const RunResult version = kelxml({"--version"});
    EXPECT_EQ(version.status, 0);
    EXPECT_THAT(version.output,
                HasSubstr("kelxml " KEL_VERSION "\ncomponent: msxml_parser " KEL_VERSION " ("));
    EXPECT_THAT(version.output, HasSubstr("libraries: "));
}

}  // namespace
