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

TEST_F(KelxmlTest, RefusedInputGivesTheParsersCodeAndMessageAndEndsWith1) {
    struct Row {
        const char* trial;
        std::string file;
        std::string message;
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
    const std::string unreadable = " : The file doesn't exist or you don't have read rights to it";
    const std::vector<Row> rows{
        {"a missing file", missing, missing + unreadable + " (No such file or directory)"},
        {"an empty name", "", "Error while reading  : "},
        {"a folder", folder, folder + unreadable + " (Is a directory)"},
        {"a link to itself", loop, loop + unreadable + " (Too many levels of symbolic links)"},
        {"no permission", locked, locked + unreadable + " (Permission denied)"},
        {"binary rubbish", rubbish, rubbish + "  : Line 1, column 1 : "},
        {"an empty file", folder_.write("empty.xml", ""), "empty.xml  : Line 1, column 1 : "},
        {"a wrong end tag", folder_.write("unclosed.xml", "<a>\n  <b>\n</a>\n"),
         "unclosed.xml  : Line 3, column "},
        {"a huge file of zeros", sparse, sparse + "  : Line 1, column 4 : "},
        {"rubbish from standard input", "-", "Error while reading -  : Line 1, column ", "<a><b></a>"},
        {"nothing on standard input", "-", "Error while reading -  : Line 1, column 1 : "},
    };
    for (const Row& row : rows) {
        if (row.file == locked && ::access(locked.c_str(), R_OK) == 0) continue;  // root may read everything
        for (const char* verb : {"save", "tree", "format"}) {
            SCOPED_TRACE(verb + (' ' + std::string(row.trial)));
            const RunResult result = kelxml({verb, row.file}, {.input = row.input});
            EXPECT_EQ(result.status, 1);
            EXPECT_THAT(result.output, IsEmpty());
            EXPECT_THAT(result.errors, testing::StartsWith("kelxml: error "));
            EXPECT_THAT(result.errors, HasSubstr(row.message));
            EXPECT_EQ(std::count(result.errors.begin(), result.errors.end(), '\n'), 1) << result.errors;
        }
    }
}

TEST_F(KelxmlTest, ANamedPipeIsReadLikeAFile) {
    const std::string pipe = folder_.pathOf("pipe");
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    for (const std::string verb : {"tree", "save", "events", "format"}) {
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

TEST_F(KelxmlTest, AnInterruptionLeavesNoTemporaryFile) {
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        int input[2];
        ASSERT_EQ(::pipe2(input, O_CLOEXEC), 0);
        const std::string temporary = "TMPDIR=" + folder_.path().string();
        const pid_t child = ::fork();
        if (child == 0) {
            ::dup2(input[0], STDIN_FILENO);
            ::putenv(const_cast<char*>(temporary.c_str()));
            for (const int each : {SIGINT, SIGTERM, SIGHUP}) std::signal(each, SIG_DFL);
            ::execl(KELXML_PROGRAM, "kelxml", "tree", "-", nullptr);
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

TEST_F(KelxmlTest, TheSelfTestPassesAndSaysSo) {
    const RunResult result = kelxml({"selftest"});
    EXPECT_EQ(result.status, 0) << result.output << result.errors;
    EXPECT_EQ(std::count(result.output.begin(), result.output.end(), '\n'), 10);
    EXPECT_THAT(result.output, HasSubstr("ok  explain what is refused, and where\n"));

    EXPECT_THAT(result.output, HasSubstr("ok  run the component's own test: StreamSelfTest\n"));

    // Without a place for temporary files four of the steps cannot work, and the others still do.
    const RunResult nowhere = kelxml({"selftest"}, {.environment = {"TMPDIR=" + folder_.pathOf("missing")}});
    EXPECT_EQ(nowhere.status, 1);
    EXPECT_THAT(nowhere.output, HasSubstr("FAILED  read events: "));
    EXPECT_THAT(nowhere.output, HasSubstr("ok  transform with a style sheet\n"));
    EXPECT_THAT(nowhere.errors, HasSubstr("4 of 10 steps failed"));
}

}  // namespace
