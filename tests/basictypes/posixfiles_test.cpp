// Files and folders of sorts that only POSIX systems have.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>

#include "KelBasicTypes/directories.h"
#include "KelBasicTypes/kelstring.h"
#include "KelBasicTypes/platform/file.h"
#include "KelBasicTypes/utf8.h"
#include "printing.h"
#include "tempdirectory.h"

namespace platform = kel::platform;
using kel::test::TempDirectory;

TEST(PosixFiles, APipeWithoutAWriterIsReadable) {
    const TempDirectory folder;
    const std::string pipe = folder.file("pipe");
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    EXPECT_TRUE(platform::canOpenForReading(kel::fromUtf8(pipe)));
}

TEST(PosixFiles, AskingLeavesThePipesWriterToItsReader) {
    const TempDirectory folder;
    const std::string pipe = folder.file("pipe");
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    std::thread writer([&] { std::ofstream(pipe) << "text"; });
    std::this_thread::sleep_for(std::chrono::milliseconds(50));  // by then it waits for a reader
    EXPECT_TRUE(platform::canOpenForReading(kel::fromUtf8(pipe)));
    std::string text;
    std::ifstream(pipe) >> text;
    writer.join();
    EXPECT_EQ(text, "text");
}

TEST(PosixFiles, ReportOnClosingThatTheDiskIsFull) {
    platform::FileHandle full = platform::openFile(u"/dev/full", "w");
    if (full == nullptr) GTEST_SKIP() << "no /dev/full here";
    EXPECT_GE(std::fputs("text", full.get()), 0);
    EXPECT_FALSE(platform::closeFile(std::move(full)));
}

TEST(PosixFiles, APathStaysWhereTheDirectorysNameIsNoText) {
    const TempDirectory temp;
    const std::string name = temp.file("\xff");
    std::filesystem::create_directory(name);
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(name);
    KelString path(u"..\\x");
    kel::makeAbsolute(path);
    std::filesystem::current_path(before);
    EXPECT_EQ(path, u"..\\x");
}
