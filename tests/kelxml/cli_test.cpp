// The command line from outside: what a person or a script gets to see.
#include <algorithm>
#include <array>
#include <filesystem>
#include <string>
#include <vector>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tests/support/process.h"
#include "tests/support/temporaryfolder.h"

namespace {

namespace fs = std::filesystem;

using kel::test::readFile;
using kel::test::RunOptions;
using kel::test::RunResult;
using kel::test::TemporaryFolder;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

RunResult kelxml(std::vector<std::string> arguments, const RunOptions& options = {}) {
    arguments.insert(arguments.begin(), KELXML_PROGRAM);
    return kel::test::run(arguments, options);
}

// A run of text may be reported in several pieces: joined, they are one.
std::string mergedTexts(std::string lines) {
    const std::string seam = "\"}\n{\"event\":\"text\",\"text\":\"";
    for (std::size_t at = 0; (at = lines.find(seam, at)) != std::string::npos;) {
        const std::size_t start = lines.rfind('\n', at) == std::string::npos ? 0 : lines.rfind('\n', at) + 1;
        if (lines.compare(start, 15, "{\"event\":\"text\"") == 0)
            lines.erase(at, seam.size());
        else
            at += seam.size();
    }
    return lines;
}

class KelxmlTest : public ::testing::Test {
protected:
    TemporaryFolder folder_;
};

TEST_F(KelxmlTest, WrongUsageIsExplainedAndEndsWith2) {
    struct Row {
        std::vector<std::string> arguments;
        const char* explanation;
    };
    const std::string notALibrary = folder_.write("not-a-library.so", "text");
    const std::vector<Row> rows{
        {{}, "a verb is missing"},
        {{"shave", "x.xml"}, "no verb or option 'shave'"},
        {{"--componnet", "x", "info"}, "--componnet"},
        {{"save"}, "FILE is required"},
        {{"tree"}, "FILE is required"},
        {{"tree", "a.xml", "b.xml"}, "b.xml"},
        {{"tree", "--depth", "0", "a.xml"}, "'0' is not a number from 1 on"},
        {{"tree", "--depth", "many", "a.xml"}, "'many' is not a number from 1 on"},
        {{"save", "a.xml", "-o"}, "-o"},
        {{"info", "a.xml"}, "a.xml"},
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

TEST_F(KelxmlTest, RefusedInputGivesTheParsersCodeAndMessageAndEndsWith1) {
    struct Row {
        std::string file;
        const char* input;
        std::string message;
    };
    const std::string missing = folder_.pathOf("missing.xml");
    const std::string unreadable = folder_.pathOf("loop.xml");  // for every user, root too
    fs::create_symlink("loop.xml", unreadable);
    const std::string rubbish = folder_.write("rubbish.xml", std::string("\x7F"
                                                                         "ELF\x02\x00\x01\xFF",
                                                                         8));
    const std::string unclosed = folder_.write("unclosed.xml", "<a>\n  <b>\n</a>\n");
    const std::string empty = folder_.write("empty.xml", "");
    const std::vector<Row> rows{
        {missing, "",
         "error 1: Error while reading " + missing + " : The file doesn't exist or you don't have read"},
        {unreadable, "",
         "error 1: Error while reading " + unreadable + " : The file doesn't exist or you don't have"},
        {folder_.path().string(), "", "error 1: Error while reading " + folder_.path().string()},
        {rubbish, "", "error 3: Error while reading " + rubbish + "  : Line 1, column 1 : "},
        {unclosed, "", "error 3: Error while reading " + unclosed + "  : Line 3, column "},
        {empty, "", "error 3: Error while reading " + empty + "  : Line 1, column 1 : "},
        {"-", "<a><b></a>", "error 3: Error while reading -  : Line 1, column "},
        {"-", "", "error 3: Error while reading -  : Line 1, column 1 : "},
    };
    for (const Row& row : rows) {
        for (const char* verb : {"save", "tree"}) {
            SCOPED_TRACE(verb + (' ' + row.file));
            const RunResult result = kelxml({verb, row.file}, {.input = row.input});
            EXPECT_EQ(result.status, 1);
            EXPECT_THAT(result.output, IsEmpty());
            EXPECT_THAT(result.errors, HasSubstr("kelxml: " + row.message));
        }
    }
}

TEST_F(KelxmlTest, SaveWritesInTheComponentsFormAndSavingAgainChangesNothing) {
    const std::string file = folder_.write(
        "in.xml",
        "<?xml version='1.0' encoding='ISO-8859-1'?><!--c--><a x='1'><b>caf\xE9 &lt; &#x20AC;</b><c/></a>");
    const std::string out = folder_.pathOf("out.xml");
    ASSERT_EQ(kelxml({"save", file, "-o", out}).status, 0);
    const std::string expected = "<a x=\"1\">\n\t<b>caf\xC3\xA9 &lt; \xE2\x82\xAC</b>\n\t<c />\n</a>\n";
    EXPECT_EQ(readFile(out), expected);

    const RunResult again = kelxml({"save", "-"}, {.input = expected});
    EXPECT_EQ(again.status, 0);
    EXPECT_EQ(again.output, expected);
    EXPECT_THAT(again.errors, IsEmpty());
}

TEST_F(KelxmlTest, SaveRefusesAResultThatSaysSomethingElseUnlessForced) {
    struct Row {
        const char* fault;
        std::string document;
        const char* place;
    };
    const std::vector<Row> rows{
        {"mixed content is written twice", "<a><p>x<i>y</i>z</p><p>x<i>y</i></p></a>",
         "/a/p[1]: text \"xz\" reads back"},
        {"the second place is named, too", "<a><p>x<i>y</i>z</p><p>x<i>y</i></p></a>",
         "/a/p[2]: text \"x\" reads back"},
        {"a CDATA section alone is not written", "<a><b/><c><![CDATA[x]]></c></a>",
         "/a/c: the text of a CDATA"},
        {"a CDATA section beside elements", "<a><b/><c><![CDATA[x]]><d/></c></a>",
         "/a/c: the text of a CDATA"},
        {"an ampersand hides what follows it", "<a>Q&amp;A &lt; 3 x</a>",
         "would not be well formed: error 3: "},
        {"an escaped look is left alone", "<a><b>&amp;lt;</b><b>a&amp;amp;b c</b></a>",
         "/a/b[2]: text \"a&amp;b c\" reads"},
        {"a line feed in an attribute", "<a b='1&#10;2'/>",
         "/a: attribute b=\"1\\n2\" reads back as \"1 2\""},
        {"a carriage return", "<a>1&#13;2</a>", "/a: text \"1\\r2\" reads back as \"1\\n2\""},
    };
    const std::string out = folder_.write("out.xml", "what was there");
    for (const Row& row : rows) {
        SCOPED_TRACE(row.fault);
        const std::string file = folder_.write("in.xml", row.document);
        const RunResult refused = kelxml({"save", file, "-o", out});
        EXPECT_EQ(refused.status, 1);
        EXPECT_THAT(refused.errors, HasSubstr(row.place));
        EXPECT_EQ(readFile(out), "what was there");
        EXPECT_EQ(folder_.fileCount(), 2U) << "no temporary file is left";
        EXPECT_THAT(kelxml({"save", file}).output, IsEmpty());

        const RunResult forced = kelxml({"save", "--force", file});
        EXPECT_EQ(forced.status, 0);
        EXPECT_THAT(forced.errors, HasSubstr(row.place));
        EXPECT_THAT(forced.output, HasSubstr("<a"));
    }
}

TEST_F(KelxmlTest, SaveAcceptsTextAroundCDataThatIsWrittenWhole) {
    const RunResult result =
        kelxml({"save", "-"}, {.input = "<a><b>1 <![CDATA[< 2]]> &lt; 3</b><b><!--c-->x<!--c-->y</b></a>"});
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_EQ(result.output, "<a>\n\t<b>1 &lt; 2 &lt; 3</b>\n\t<b>xy</b>\n</a>\n");
}

TEST_F(KelxmlTest, SaveReplacesFilesAndWritesToEverythingElse) {
    const std::string file = folder_.write("in.xml", "<a/>");
    const std::string target = folder_.write("target.xml", "old");
    fs::permissions(target, fs::perms::owner_read | fs::perms::owner_write | fs::perms::group_read);
    fs::create_symlink("target.xml", folder_.path() / "link.xml");

    EXPECT_EQ(kelxml({"save", file, "-o", folder_.pathOf("link.xml")}).status, 0);
    EXPECT_TRUE(fs::is_symlink(folder_.path() / "link.xml"));
    EXPECT_EQ(readFile(target), "<a />\n");
    EXPECT_EQ(fs::status(target).permissions(),
              fs::perms::owner_read | fs::perms::owner_write | fs::perms::group_read);

    EXPECT_EQ(kelxml({"save", file, "-o", file}).status, 0) << "onto itself";
    EXPECT_EQ(readFile(file), "<a />\n");

    EXPECT_EQ(kelxml({"save", file, "-o", "/dev/null"}).status, 0);
    EXPECT_TRUE(fs::is_character_file("/dev/null"));

    for (const std::string& impossible : {folder_.pathOf("no/such/folder.xml"), folder_.path().string()}) {
        const RunResult result = kelxml({"save", file, "-o", impossible});
        EXPECT_EQ(result.status, 1);
        EXPECT_THAT(result.errors, HasSubstr("cannot write the result: ")) << impossible;
    }
}

TEST_F(KelxmlTest, TreeOutlinesTheDocument) {
    const std::string file = folder_.write("in.xml", "<a x='1' y='2'><b>one\n  two</b><b><c/><d/></b></a>");
    EXPECT_EQ(kelxml({"tree", file}).output, "a x=\"1\" y=\"2\"\n  b  one two\n  b\n    c\n    d\n");
    EXPECT_EQ(kelxml({"tree", "--depth", "2", file}).output,
              "a x=\"1\" y=\"2\"\n  b  one two\n  b  (2 child elements)\n");
    EXPECT_EQ(kelxml({"tree", "--depth", "1", "-"}, {.input = "<a><b/></a>"}).output,
              "a  (1 child elements)\n");
}

TEST_F(KelxmlTest, EventsAreReportedForPeopleAndForPrograms) {
    const std::string document =
        "<!--c--><p:a xmlns:p='u' q=\"x&quot;\\\" >1 &lt; \xF0\x9F\x98\x80<b/>&#9;<![CDATA[<]]></p:a>";
    const RunResult json = kelxml({"events", "--json", "-"}, {.input = document});
    EXPECT_EQ(json.status, 0);
    EXPECT_EQ(mergedTexts(json.output),
              "{\"event\":\"start\",\"name\":\"a\",\"depth\":0,\"attributes\":{\"q\":\"x\\\"\\\\\"}}\n"
              "{\"event\":\"text\",\"text\":\"1 < \xF0\x9F\x98\x80\"}\n"
              "{\"event\":\"start\",\"name\":\"b\",\"depth\":1,\"attributes\":{}}\n"
              "{\"event\":\"end\",\"name\":\"b\"}\n"
              "{\"event\":\"text\",\"text\":\"\\u0009<\"}\n"
              "{\"event\":\"end\",\"name\":\"a\"}\n");
    EXPECT_EQ(json.errors, "2 elements, 1 attributes, 7 characters\n");

    const RunResult plain = kelxml({"events", "-"}, {.input = "<a x='1'><b>t</b></a>"});
    EXPECT_EQ(plain.output, "start a x=\"1\"\n  start b\n    text  \"t\"\n  end   b\nend   a\n");
}

TEST_F(KelxmlTest, EventsOfAMalformedDocumentEndWith1) {
    for (const char* document : {"", "text", "<a><b></a>", "<a>"}) {
        const RunResult result = kelxml({"events", "-"}, {.input = document});
        EXPECT_EQ(result.status, 1) << document;
        EXPECT_THAT(result.errors, HasSubstr("not well formed")) << document;
    }
    const RunResult missing = kelxml({"events", folder_.pathOf("missing.xml")});
    EXPECT_EQ(missing.status, 1);
    EXPECT_THAT(missing.errors, HasSubstr("error 1: Error while reading " + folder_.pathOf("missing.xml")));
}

TEST_F(KelxmlTest, FormatIndentsWithoutLossAndOnlyOnce) {
    const std::string document =
        "<!--1--><?p i?><a x='&#10;'><b>x<i>y</i> &amp;\xC3\xA9</b><!--2--><c><![CDATA[<]]></c><d> "
        "</d></a><!--3-->";
    const RunResult once = kelxml({"format", "-"}, {.input = document});
    EXPECT_EQ(once.status, 0) << once.errors;
    EXPECT_EQ(once.output,
              "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!--1-->\n<?p i?>\n<a x=\"&#10;\">\n"
              "  <b>x<i>y</i> &amp;\xC3\xA9</b>\n  <!--2-->\n  <c>&lt;</c>\n  <d> </d>\n</a>\n<!--3-->\n");
    EXPECT_EQ(kelxml({"format", "-"}, {.input = once.output}).output, once.output);
    EXPECT_EQ(kelxml({"format", "-"}, {.input = "<a>"}).status, 1);
}

TEST_F(KelxmlTest, TransformWritesUtf8AndSaysSo) {
    const auto sheet = [&](const std::string& method, const std::string& body) {
        return folder_.write("sheet.xsl",
                             "<x:stylesheet version='1.0' xmlns:x='http://www.w3.org/1999/XSL/Transform'>"
                             "<x:output method='" +
                                 method + "'/><x:template match='/'>" + body +
                                 "</x:template></x:stylesheet>");
    };
    const std::string out = folder_.pathOf("out");
    const RunOptions input{.input = "<a>\xE2\x82\xAC</a>"};
    EXPECT_EQ(kelxml({"transform", sheet("text", "<x:value-of select='a'/>"), "-", "-o", out}, input).status,
              0);
    EXPECT_EQ(readFile(out), "\xE2\x82\xAC");
    EXPECT_THAT(kelxml({"transform", sheet("xml", "<b/>"), "-"}, input).output,
                HasSubstr("encoding=\"UTF-8\"?>"));
    EXPECT_THAT(kelxml({"transform", sheet("html", "<html><head/></html>"), "-"}, input).output,
                HasSubstr("charset=UTF-8"));

    struct Row {
        std::string style;
        const char* explanation;
    };
    const std::vector<Row> refused{
        {folder_.write("no-sheet.xsl", "<a/>"), "error 6: Exception during transform: "},
        {folder_.pathOf("missing.xsl"), "error 1: Error while reading "},
        {sheet("xml", "<x:message terminate='yes'>enough</x:message>"), "enough"},
    };
    for (const Row& row : refused) {
        const RunResult result = kelxml({"transform", row.style, "-", "-o", out}, input);
        EXPECT_EQ(result.status, 1) << row.explanation;
        EXPECT_THAT(result.errors, HasSubstr(row.explanation));
        EXPECT_EQ(readFile(out), "\xE2\x82\xAC") << "what was there stays";
    }
    EXPECT_THAT(kelxml({"transform", "-", folder_.write("a.xml", "<a/>")}, input).errors,
                HasSubstr("error 6: Exception during transform: -"));
    EXPECT_EQ(kelxml({"transform", "-", "-"}, input).status, 2);
}

TEST_F(KelxmlTest, ValidateAnswersForEachDocument) {
    const std::string schema =
        folder_.write("s.xsd",
                      "<s:schema xmlns:s='http://www.w3.org/2001/XMLSchema' targetNamespace='urn:a'>"
                      "<s:element name='a' type='s:int'/></s:schema>");
    const std::string valid = folder_.write("valid.xml", "<a xmlns='urn:a'>1</a>");
    const std::string invalid = folder_.write("invalid.xml", "<a xmlns='urn:a'>one</a>");
    const std::string missing = folder_.pathOf("missing.xml");

    const RunResult one = kelxml({"validate", schema, valid});
    EXPECT_EQ(one.status, 0) << one.errors;
    EXPECT_EQ(one.output, valid + ": valid\n");

    const RunResult three = kelxml({"validate", schema, invalid, valid, missing});
    EXPECT_EQ(three.status, 1);
    EXPECT_EQ(three.output, valid + ": valid\n");
    EXPECT_THAT(three.errors, HasSubstr(invalid + ": error 3: Error while validating  : "));
    EXPECT_THAT(three.errors, HasSubstr(missing + ": error 1: "));
    EXPECT_THAT(three.errors, HasSubstr("2 of 3 documents"));

    EXPECT_EQ(kelxml({"validate", "--namespace", "urn:b", schema, valid}).status, 1);
    EXPECT_EQ(kelxml({"validate", valid, valid}).status, 1) << "a file that is no schema";
}

TEST_F(KelxmlTest, ADocumentCannotSpeakToTheTerminal) {
    const RunResult result = kelxml({"tree", "-"}, {.input = "<a b='\xC2\x9B"
                                                             "31m'>\xC2\x9Bred\x7F</a>"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output, "a b=\"?31m\"  ?red?\n");
}

TEST_F(KelxmlTest, DeepDocumentsNeedNoStack) {
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

TEST_F(KelxmlTest, AClosedPipeEndsQuietlyAndAFullDiskDoesNot) {
    std::string document = "<a>";
    for (int i = 0; i < 50'000; ++i) document += "<b>some text</b>";
    document += "</a>";
    for (const char* verb : {"tree", "save"}) {
        const RunResult result = kelxml({verb, "-"}, {.input = document, .readAtMost = 100});
        EXPECT_EQ(result.status, 0) << verb;
        EXPECT_THAT(result.errors, IsEmpty());
    }
    for (const char* verb : {"tree", "save", "info"}) {
        std::vector<std::string> arguments{verb};
        if (std::string(verb) != "info") arguments.emplace_back("-");
        const RunResult result = kelxml(arguments, {.input = "<a/>", .outputDevice = "/dev/full"});
        EXPECT_EQ(result.status, 1) << verb;
        EXPECT_THAT(result.errors, HasSubstr("cannot write to standard output"));
    }
}

// A terminal that a test reads in place of a person. Not every container gives one out.
class Terminal {
public:
    Terminal() : reading_(::posix_openpt(O_RDWR | O_NOCTTY)) {
        if (reading_ < 0 || ::grantpt(reading_) != 0 || ::unlockpt(reading_) != 0) return;
        const char* name = ::ptsname(reading_);
        // Kept open: what was written would be gone with the last one who has it open.
        if (name != nullptr) writing_ = ::open(name, O_RDWR | O_NOCTTY);
        if (writing_ >= 0) name_ = name;
    }
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;
    ~Terminal() {
        if (writing_ >= 0) ::close(writing_);
        if (reading_ >= 0) ::close(reading_);
    }

    [[nodiscard]] bool isThere() const { return !name_.empty(); }

    [[nodiscard]] std::string show(const std::vector<std::string>& command) const {
        EXPECT_EQ(kel::test::run(command, {.outputDevice = name_}).status, 0);
        std::array<char, 4096> block{};
        const ssize_t size = ::read(reading_, block.data(), block.size());
        return {block.data(), static_cast<std::size_t>(std::max<ssize_t>(size, 0))};
    }

private:
    int reading_;
    int writing_ = -1;
    std::string name_;
};

TEST_F(KelxmlTest, ColoursAreForTerminalsWithoutNoColor) {
    const std::string file = folder_.write("in.xml", "<a b='1'/>");
    EXPECT_THAT(kelxml({"tree", file}).output, Not(HasSubstr("\x1b[")));
    const Terminal terminal;
    if (!terminal.isThere()) GTEST_SKIP() << "this system gives out no terminals";
    EXPECT_THAT(terminal.show({KELXML_PROGRAM, "tree", file}), HasSubstr("\x1b["));
    EXPECT_THAT(terminal.show({"/usr/bin/env", "NO_COLOR=1", KELXML_PROGRAM, "tree", file}),
                Not(HasSubstr("\x1b[")));
}

TEST_F(KelxmlTest, InfoTellsWhoTheComponentIs) {
    const RunResult result = kelxml({"info"});
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.output, HasSubstr("msxml_parser"));
    EXPECT_THAT(result.output, HasSubstr("6.3.0.0"));
    EXPECT_THAT(result.output, HasSubstr("{88BC5A8E-CC38-4C51-B3F1-90800566E0DF}"));
    EXPECT_THAT(result.output, HasSubstr("{A915F25B-7386-4143-BB88-D11CC2E69FC7}  MSDOMXml"));
    EXPECT_THAT(result.output, HasSubstr("{DFB612BD-5865-4067-97C1-3FE4A7F49A86}  MSSAXXml"));
    EXPECT_THAT(result.output, HasSubstr("IKelStrSupport"));
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
