// Where results go: files, links, devices, terminals.
#include <algorithm>
#include <array>
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include "runner.h"

namespace {

namespace fs = std::filesystem;

using kel::test::kelxml;
using kel::test::KelxmlTest;
using kel::test::readFile;
using kel::test::RunResult;
using ::testing::HasSubstr;
using ::testing::Not;

// How each verb with a result writes it, and what it makes of "<a/>".
struct Writer {
    std::vector<std::string> arguments;
    std::string result;
};

class ResultTest : public KelxmlTest {
protected:
    std::vector<Writer> writers(const std::string& file) const {
        const std::string sheet = folder_.write(
            "copy.xsl",
            "<x:stylesheet version='1.0' xmlns:x='http://www.w3.org/1999/XSL/Transform'><x:output "
            "omit-xml-declaration='yes'/><x:template match='/'><x:copy-of select='.'/></x:template>"
            "</x:stylesheet>");
        return {{{"save", file}, "<a />\n"},
                {{"format", file}, "<a/>\n"},
                {{"transform", sheet, file}, "<a/>\n"}};
    }

    static RunResult write(const Writer& writer, const std::string& out) {
        std::vector<std::string> arguments = writer.arguments;
        arguments.insert(arguments.end(), {"-o", out});
        return kelxml(arguments);
    }
};

TEST_F(ResultTest, ReplacesFilesAndIsWrittenToEverythingElse) {
    constexpr auto kMode = fs::perms::owner_read | fs::perms::owner_write | fs::perms::group_read;
    const std::string file = folder_.pathOf("in.xml");
    const std::string target = folder_.write("target.xml", "old");
    const std::string link = folder_.pathOf("link.xml");
    fs::permissions(target, kMode);
    fs::create_symlink("target.xml", link);
    for (const Writer& writer : writers(file)) {
        SCOPED_TRACE(writer.arguments[0]);
        folder_.write("in.xml", "<a/>");
        EXPECT_EQ(write(writer, link).status, 0);
        EXPECT_TRUE(fs::is_symlink(link));
        EXPECT_EQ(readFile(target), writer.result);
        EXPECT_EQ(fs::status(target).permissions(), kMode);

        EXPECT_EQ(write(writer, file).status, 0) << "onto the input";
        EXPECT_EQ(readFile(file), writer.result);

        EXPECT_EQ(write(writer, "/dev/null").status, 0);
        EXPECT_TRUE(fs::is_character_file("/dev/null"));
        EXPECT_EQ(write(writer, "-").output, writer.result);
        EXPECT_EQ(folder_.fileCount(), 4U) << "no temporary file is left";
    }
}

TEST_F(ResultTest, ThatCannotBeWrittenIsAFailureAndLeavesNothing) {
    const std::string file = folder_.write("in.xml", "<a/>");
    for (const Writer& writer : writers(file)) {
        for (const std::string& out :
             {folder_.pathOf("no/such/folder.xml"), folder_.path().string(), std::string("/dev/full")}) {
            const RunResult result = write(writer, out);
            EXPECT_EQ(result.status, 1) << writer.arguments[0] << out;
            EXPECT_THAT(result.errors, HasSubstr("cannot write the result: ")) << writer.arguments[0] << out;
        }
        EXPECT_EQ(folder_.fileCount(), 2U) << "no temporary file is left";
    }
}

// A file that may not grow is as good as a full disk.
TEST_F(ResultTest, ThatTheDiskDoesNotTakeLeavesTheFileOfBefore) {
    const std::string file = folder_.write("in.xml", "<a><b>" + std::string(100'000, 'x') + "</b></a>");
    const std::string out = folder_.write("out.xml", "<good/>");
    for (Writer writer : writers(file)) {
        for (const char* const option : {"", "--force"}) {
            std::string command = "trap '' XFSZ; ulimit -f 8; exec \"$0\" \"$@\"";
            std::vector<std::string> shell{"/bin/sh", "-c", command, KELXML_PROGRAM};
            shell.insert(shell.end(), writer.arguments.begin(), writer.arguments.end());
            if (writer.arguments[0] == "save" && *option != '\0') shell.emplace_back(option);
            shell.insert(shell.end(), {"-o", out});
            const RunResult result = kel::test::run(shell, {.environment = {"LC_ALL=C.UTF-8", "LANGUAGE="}});
            EXPECT_EQ(result.status, 1) << writer.arguments[0] << option;
            EXPECT_THAT(result.errors, HasSubstr("cannot write the result: "))
                << writer.arguments[0] << option;
            EXPECT_EQ(readFile(out), "<good/>") << writer.arguments[0] << option;
        }
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

    void setColumns(unsigned short columns) const {
        struct winsize size {};
        size.ws_col = columns;
        EXPECT_EQ(::ioctl(writing_, TIOCSWINSZ, &size), 0);
    }

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

// Commands are not broken: they are there to be copied.
TEST_F(KelxmlTest, HelpIsAsWideAsTheTerminal) {
    const Terminal terminal;
    if (!terminal.isThere()) GTEST_SKIP() << "this system gives out no terminals";
    for (const std::size_t columns : {40u, 120u}) {
        terminal.setColumns(static_cast<unsigned short>(columns));
        std::istringstream help(
            terminal.show({"/usr/bin/env", "LC_ALL=C.UTF-8", KELXML_PROGRAM, "check", "-h"}));
        std::size_t longest = 0;
        for (std::string line; std::getline(help, line);) {
            if (line.ends_with('\r')) line.pop_back();
            if (line.find("kelxml check") == std::string::npos) longest = std::max(longest, line.size());
        }
        EXPECT_LE(longest, columns);
        EXPECT_GT(longest + 15, columns);
    }
}

}  // namespace
