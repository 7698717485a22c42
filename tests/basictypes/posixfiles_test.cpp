// Files and folders of sorts that only POSIX systems have.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdio>
#include <filesystem>
#include <string>

#include "KelBasicTypes/directories.h"
#include "KelBasicTypes/kelstring.h"
#include "KelBasicTypes/platform/file.h"
#include "KelBasicTypes/utf8.h"
#include "printing.h"
#include "tempdirectory.h"

namespace platform = kel::platform;
using kel::test::TempDirectory;

TEST(PosixFiles, APipeIsReadableThoughNobodyWrites) {
    const TempDirectory folder;
    const std::string pipe = folder.file("pipe");
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    EXPECT_TRUE(platform::canOpenForReading(kel::fromUtf8(pipe)));
}

TEST(PosixFiles, TellOnClosingThatTheDiskIsFull) {
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
