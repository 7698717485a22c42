// Everything that a person who has never used the program may try: one clear sentence, and the right status.
#include <csignal>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "runner.h"

namespace {

namespace fs = std::filesystem;

using kel::test::kelxml;
using kel::test::KelxmlTest;
using kel::test::RunResult;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

TEST_F(KelxmlTest, RejectedInputGivesTheParsersCodeAndMessageAndEndsWith1) {
    struct Row {
        const char* trial;
        std::string file;
        std::string message;  // after the file's name
        std::string input = {};
    };
    const std::string folder = folder_.path().string();
    const std::string missing = folder_.pathOf("missing.xml");
    const std::string loop = folder_.pathOf("loop.xml");
    fs::create_symlink("loop.xml", loop);
    const std::string locked = folder_.write("locked.xml", "<a/>");
    fs::permissions(locked, fs::perms::none);
    const std::string rubbish = folder_.write("rubbish.xml", std::string("\x7F"
                                                                         "ELF\x02\x00\x01\xFF",
                                                                         8));
    const std::string sparse = folder_.write("huge.xml", "<a>");
    fs::resize_file(sparse, std::uintmax_t{1} << 33);  // 8 GB that take no room on the disk
    const std::vector<Row> rows{
        {"a missing file", missing, ": error: No such file or directory"},
        {"an empty name", "", "'': error: No such file or directory"},
        {"a folder", folder, ": error: Is a directory"},
        {"a link to itself", loop, ": error: Too many levels of symbolic links"},
        {"no permission", locked, ": error: Permission denied"},
        {"binary rubbish", rubbish, ":1:1: error: "},
        {"an empty file", folder_.write("empty.xml", ""), ":1:1: error: "},
        {"a wrong end tag", folder_.write("unclosed.xml", "<a>\n  <b>\n</a>\n"), ":3:1: error: "},
        {"a huge file of zeros", sparse, ":1:4: error: "},
        {"rubbish from standard input", "-", ":1:7: error: ", "<a><b></a>"},
        {"nothing on standard input", "-", ":1:1: error: "},
    };
    for (const Row& row : rows) {
        if (row.file == locked && ::access(locked.c_str(), R_OK) == 0) continue;  // root may read everything
        for (const char* verb : {"save", "tree", "format", "check"}) {
            SCOPED_TRACE(verb + (' ' + std::string(row.trial)));
            const RunResult result = kelxml({verb, row.file}, {.input = row.input});
            EXPECT_EQ(result.status, 1);
            EXPECT_THAT(result.output, IsEmpty());
            EXPECT_THAT(result.errors, testing::StartsWith(row.file + row.message));
            EXPECT_EQ(std::count(result.errors.begin(), result.errors.end(), '\n'), 1) << result.errors;
        }
    }
    for (const char* verb : {"validate", "transform"})
        EXPECT_EQ(kelxml({verb, missing, missing}).errors, missing + ": error: No such file or directory\n");
}

TEST_F(KelxmlTest, ANamedPipeIsReadLikeAFile) {
    const std::string pipe = folder_.pathOf("pipe");
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    for (const std::string verb : {"tree", "save", "events", "format", "check"}) {
        const std::string shell = "echo '<a/>' > " + pipe + " & " KELXML_PROGRAM " " + verb + " " + pipe;
        EXPECT_EQ(kel::test::run({"/bin/sh", "-c", shell}).status, 0) << verb;
    }
}

TEST_F(KelxmlTest, AClosedPipeEndsQuietlyAndAFullDiskDoesNot) {
    std::string document = "<a>";
    for (int i = 0; i < 50'000; ++i) document += "<b>some text</b>";
    document += "</a>";
    for (const char* verb : {"tree", "save", "format", "events"}) {
        const RunResult result = kelxml({verb, "-"}, {.input = document, .readAtMost = 100});
        EXPECT_EQ(result.status, 0) << verb;
        EXPECT_THAT(result.errors, IsEmpty());
    }
    for (const std::vector<std::string>& arguments : std::vector<std::vector<std::string>>{{"tree", "-"},
                                                                                           {"save", "-"},
                                                                                           {"format", "-"},
                                                                                           {"events", "-"},
                                                                                           {"info"},
                                                                                           {"--help"},
                                                                                           {"manual"}}) {
        const RunResult result = kelxml(arguments, {.input = "<a/>", .outputDevice = "/dev/full"});
        EXPECT_EQ(result.status, 1) << arguments[0];
        EXPECT_THAT(result.errors, HasSubstr("cannot write to standard output: No space left on device"));
    }
}

// Ends when everything has been taken but what fits into a pipe.
void writeWhole(int pipe, std::size_t sizeInBytes) {
    const std::string block(1 << 16, ' ');
    for (std::size_t written = 0; written < sizeInBytes; written += block.size())
        ASSERT_EQ(::write(pipe, block.data(), block.size()), static_cast<ssize_t>(block.size()));
}

// What names other files relative to itself needs a name of its own while it is read.
TEST_F(KelxmlTest, AnInterruptionLeavesNoTemporaryFile) {
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        int input[2];
        ASSERT_EQ(::pipe2(input, O_CLOEXEC), 0);
        const pid_t child = ::fork();
        if (child == 0) {
            ::dup2(input[0], STDIN_FILENO);
            if (::chdir(folder_.path().c_str()) != 0) ::_exit(126);
            for (const int each : {SIGINT, SIGTERM, SIGHUP}) std::signal(each, SIG_DFL);
            ::execl(KELXML_PROGRAM, "kelxml", "transform", "-", "x.xml", nullptr);
            ::_exit(127);
        }
        ::close(input[0]);
        writeWhole(input[1], 1 << 20);  // more than a pipe holds: it has begun to keep its input
        EXPECT_EQ(folder_.fileCount(), 1U);
        ::kill(child, signal);
        int status = 0;
        ASSERT_EQ(::waitpid(child, &status, 0), child);
        ::close(input[1]);
        EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == signal) << "the shell sees why it ended";
        EXPECT_EQ(folder_.fileCount(), 0U);
    }
}

// No clean-up can run then: a result has no name until it is whole.
TEST_F(KelxmlTest, AKilledProcessLeavesNothingWhereFilesNeedNoNames) {
    const int probe = ::open(folder_.path().c_str(), O_TMPFILE | O_WRONLY | O_CLOEXEC, 0600);
    if (probe < 0) GTEST_SKIP() << "this file system has no files without names";
    ::close(probe);
    std::string document = "<a>";
    for (int i = 0; i < 3'000'000; ++i) document += "<b/>";
    const std::string file = folder_.write("in.xml", document + "</a>");
    const pid_t child = ::fork();
    if (child == 0) {
        ::execl(KELXML_PROGRAM, "kelxml", "format", "-i", file.c_str(), nullptr);
        ::_exit(127);
    }
    // Killed as soon as it has the result open.
    const fs::path handles = "/proc/" + std::to_string(child) + "/fd";
    bool isOpen = false;
    int status = 0;
    while (!isOpen && ::waitpid(child, &status, WNOHANG) == 0) {
        std::error_code gone;
        for (const fs::directory_entry& handle : fs::directory_iterator(handles, gone)) {
            const std::string target = fs::read_symlink(handle, gone).string();
            isOpen = isOpen || (target.starts_with(folder_.path().string()) && target.ends_with("(deleted)"));
        }
    }
    ASSERT_TRUE(isOpen) << "it ended before";
    ::kill(child, SIGKILL);
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(folder_.fileCount(), 1U);
    EXPECT_EQ(fs::file_size(file), document.size() + 4);
}

TEST_F(KelxmlTest, EveryNameThatTheSystemHasCanBeGiven) {
    const std::string schema =
        "<s:schema xmlns:s='http://www.w3.org/2001/XMLSchema'><s:element name='a'/></s:schema>";
    for (const std::string name : {"back\\slash", "Latin-1 \xE9", "new\nline", "%20;&"}) {
        const std::string file = folder_.pathOf(name) + ".xml";
        std::ofstream(file) << "<a/>";
        const std::string xsd = folder_.pathOf(name) + ".xsd";
        std::ofstream(xsd) << schema;
        for (const std::vector<std::string>& arguments :
             std::vector<std::vector<std::string>>{{"check", file},
                                                   {"tree", file},
                                                   {"save", file, "-o", file},
                                                   {"format", "-i", "--indent", "tab", file},
                                                   {"select", "/a", file},
                                                   {"validate", xsd, file}}) {
            const RunResult result = kelxml(arguments);
            EXPECT_EQ(result.status, 0) << arguments[0] << ' ' << name << result.errors;
        }
    }
    EXPECT_EQ(folder_.fileCount(), 8U);
}

// The locale is made for the test: not every system has one in another encoding than UTF-8.
TEST_F(KelxmlTest, MessagesAreInTheEncodingOfTheTerminal) {
    const std::string locale = folder_.pathOf("de_DE.ISO-8859-1");
    if (::access("/usr/bin/localedef", X_OK) != 0 || ::access("/usr/share/i18n/charmaps", R_OK) != 0)
        GTEST_SKIP() << "no locale can be made here";
    const RunResult made =
        kel::test::run({"/usr/bin/localedef", "-c", "-i", "de_DE", "-f", "ISO-8859-1", locale});
    if (::access(locale.c_str(), R_OK) != 0) GTEST_SKIP() << made.errors;
    const RunResult result = kelxml(
        {"save", "a.xml", "-o"},
        {.environment = {"LOCPATH=" + folder_.path().string(), "LC_ALL=de_DE.ISO-8859-1", "LANGUAGE=fr"}});
    EXPECT_THAT(result.errors, HasSubstr("l'option"));
    EXPECT_THAT(result.errors, HasSubstr("erreur\xA0: "));
    // English needs no locale for its words, but one for what they name
    const RunResult english = kelxml(
        {"check", "caf\xC3\xA9.xml"},
        {.environment = {"LOCPATH=" + folder_.path().string(), "LC_ALL=de_DE.ISO-8859-1", "LANGUAGE=en"}});
    EXPECT_THAT(english.errors, HasSubstr("caf\xE9.xml"));
}

// The system's loader lists what a program needs. ICU's part of the host took a sixth of each start.
TEST_F(KelxmlTest, StartsWithoutLibrariesThatItDoesNotUse) {
    const RunResult result = kelxml({}, {.environment = {"LD_TRACE_LOADED_OBJECTS=1"}});
    EXPECT_THAT(result.output, HasSubstr("libstdc++"));
    EXPECT_THAT(result.output, testing::Not(HasSubstr("libicu")));
}

TEST_F(KelxmlTest, TheSelfTestPassesAndSaysSo) {
    const RunResult result = kelxml({"selftest"});
    EXPECT_EQ(result.status, 0) << result.output << result.errors;
    EXPECT_EQ(std::count(result.output.begin(), result.output.end(), '\n'), 10);
    EXPECT_THAT(result.output, HasSubstr("ok  explain what is rejected, and where\n"));

    EXPECT_THAT(result.output, HasSubstr("ok  run the component's own test: StreamSelfTest\n"));

    // Without a folder for temporary files four of the steps cannot work, and the others still do.
    const RunResult nowhere = kelxml({"selftest"}, {.environment = {"TMPDIR=" + folder_.pathOf("missing")}});
    EXPECT_EQ(nowhere.status, 1);
    EXPECT_THAT(nowhere.output, HasSubstr("FAILED  read events: TMPDIR: No such file or directory\n"));
    EXPECT_THAT(nowhere.output, HasSubstr("ok  transform with a style sheet\n"));
    EXPECT_THAT(nowhere.errors, HasSubstr("4 of 10 steps failed"));
}

}  // namespace
