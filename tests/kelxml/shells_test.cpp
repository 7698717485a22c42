// What shells and the reader of manual pages make of what the program writes for them.
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "runner.h"

namespace {

using kel::test::kelxml;
using kel::test::KelxmlTest;
using kel::test::kVerbs;
using kel::test::RunResult;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

// Bold and underlined characters of a terminal that prints on paper.
std::string withoutOverstrikes(const std::string& text) {
    std::string result;
    for (const char unit : text) {
        if (unit != '\b') {
            result += unit;
        } else if (!result.empty()) {
            result.pop_back();
        }
    }
    return result;
}

TEST_F(KelxmlTest, TheManualPagesAreWellFormed) {
    const std::string page = folder_.write("kelxml.1", kelxml({"manual"}).output);
    if (::access("/usr/bin/mandoc", X_OK) == 0) {
        const RunResult lint = kel::test::run({"/usr/bin/mandoc", "-T", "lint", "-W", "style", page});
        EXPECT_EQ(lint.status, 0) << lint.output << lint.errors;
    }
    if (::access("/usr/bin/man", X_OK) != 0) GTEST_SKIP() << "man is not installed";
    for (const std::string language : {"en", "de", "fr", "ja"}) {
        SCOPED_TRACE(language);
        folder_.write("kelxml.1",
                      kelxml({"manual"}, {.environment = {"LC_ALL=C.UTF-8", "LANGUAGE=" + language}}).output);
        const RunResult shown =
            kel::test::run({"/usr/bin/man", "--warnings", "-E", "UTF-8", "-l", "-Tutf8", page},
                           {.environment = {"MANWIDTH=80"}});
        EXPECT_EQ(shown.status, 0);
        EXPECT_THAT(shown.errors, IsEmpty());
        const std::string text = withoutOverstrikes(shown.output);
        EXPECT_NE(text.find("\n     kelxml check FILE ...\n     kelxml tree ["), text.npos)
            << "synopsis run together";
    }
}

// What bash offers for the last word of a command line.
std::string offeredByBash(const std::string& folder, const std::string& words) {
    static const std::string kAsk =
        "source ./script; COMP_WORDS=(kelxml \"$@\"); COMP_CWORD=$#; _kelxml; echo \"${COMPREPLY[*]}\"";
    return kel::test::run({"/bin/bash", "-c", "set -- " + words + "; " + kAsk}, {.folder = folder}).output;
}

TEST_F(KelxmlTest, BashCompletesVerbsOptionsChoicesAndFiles) {
    folder_.write("script", kelxml({"completion", "bash"}).output);
    folder_.write("fine document.xml", "");
    struct Row {
        const char* words;
        const char* offered;
    };
    constexpr Row kRows[]{
        {"tr", "tree transform\n"},
        {"tree --de", "--depth\n"},
        {"tree --js", "\n"},
        {"events --js", "--json\n"},
        {"tree fi", "fine document.xml\n"},
        {"save -o fi", "fine document.xml\n"},
        {"validate --namespace fi", "\n"},
        {"--color a", "auto always\n"},
        {"--color = n", "never\n"},
        {"--color = never val", "validate\n"},
        {"--color never completion ''", "bash zsh fish\n"},
        {"completion f", "fish\n"},
        {"help self", "selftest\n"},
        {"info f", "\n"},
    };
    for (const Row& row : kRows)
        EXPECT_EQ(offeredByBash(folder_.path().string(), row.words), row.offered) << row.words;
}

TEST_F(KelxmlTest, EveryShellTakesItsCompletionScript) {
    struct Row {
        const char* shell;
        const char* program;
    };
    for (const Row& row :
         {Row{"bash", "/bin/bash"}, Row{"zsh", "/usr/bin/zsh"}, Row{"fish", "/usr/bin/fish"}}) {
        const std::string script = folder_.write("script", kelxml({"completion", row.shell}).output);
        for (const std::string& verb : kVerbs) EXPECT_THAT(kel::test::readFile(script), HasSubstr(verb));
        if (::access(row.program, X_OK) != 0) continue;  // not every shell is everywhere
        const RunResult result = kel::test::run({row.program, "-n", script});
        EXPECT_EQ(result.status, 0) << row.shell;
        EXPECT_THAT(result.errors, IsEmpty()) << row.shell;
    }
}

// A translation may hold quotes, colons and brackets of its own, which mean something to a shell.
TEST_F(KelxmlTest, CompletionStaysAScriptInEveryLanguage) {
    for (const std::string language : {"de", "fr", "ja"}) {
        const std::string script = folder_.write(
            "script",
            kelxml({"completion", "bash"}, {.environment = {"LANG=C.UTF-8", "LC_ALL=" + language}}).output);
        EXPECT_EQ(kel::test::run({"/bin/bash", "-n", script}).status, 0) << language;
    }
}

}  // namespace
