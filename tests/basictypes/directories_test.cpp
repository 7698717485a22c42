#include "KelBasicTypes/directories.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <string>

#include "KelBasicTypes/platform/process.h"
#include "fakeservices.h"
#include "memoryservices.h"
#include "printing.h"
#include "tempdirectory.h"

using kel::test::TempDirectory;

namespace {

// Runs a test in another current directory.
class WorkingDirectory final {
public:
    explicit WorkingDirectory(const std::string& path) : before_(std::filesystem::current_path()) {
        std::filesystem::current_path(path);
    }
    WorkingDirectory(const WorkingDirectory&) = delete;
    WorkingDirectory& operator=(const WorkingDirectory&) = delete;
    ~WorkingDirectory() { std::filesystem::current_path(before_); }

private:
    std::filesystem::path before_;
};

KelString absolute(KelString path) {
    kel::makeAbsolute(path);
    return path;
}

}  // namespace

TEST(Directories, KnowAbsolutePaths) {
    for (const char16_t* path : {u"c:\\data", u"Z:", u"\\share\\x", u"/usr"}) {
        EXPECT_TRUE(kel::isAbsolutePath(path)) << kel::toUtf8(path);
    }
    for (const char16_t* path : {u"", u"data\\x", u".\\x", u"c", u"1:\\x", u"\u00e4:\\x"}) {
        EXPECT_FALSE(kel::isAbsolutePath(path)) << kel::toUtf8(path);
    }
}

TEST(Directories, CollapseParentStepsThatHaveSomethingBefore) {
    struct Case {
        const char16_t* path;
        const char16_t* collapsed;
    };
    for (const Case& c : {
             Case{u"a\\b\\..\\c", u"a\\c"},
             Case{u"a\\b\\..\\..\\c", u"a\\..\\c"},  // the second step has no separator before it
             Case{u"\\a\\b\\..\\..\\c", u"\\c"},
             Case{u"/a/b/../c", u"/a/c"},
             Case{u"/a/b\\..\\c", u"/a\\c"},
             Case{u"\\x/y/../z", u"/z"},  // a backslash anywhere before goes before a nearer slash
             Case{u"\\..\\c", u"\\..\\c"},
             Case{u"a\\..", u"a\\.."},
             Case{u"a\\b\\...\\c", u"a\\b\\...\\c"},
             Case{u"", u""},
         }) {
        KelString path(c.path);
        const bool isChanged = kel::collapseParentSteps(path);
        EXPECT_EQ(path, KelString(c.collapsed));
        EXPECT_EQ(isChanged, !(path == c.path)) << kel::toUtf8(c.path);
    }
}

TEST(Directories, CompletePathsAgainstTheCurrentOne) {
    const TempDirectory temp;
    std::filesystem::create_directories(temp.file("one/two"));
    const WorkingDirectory here(temp.file("one/two"));
    const std::u16string base = kel::fromUtf8(std::filesystem::canonical(temp.path()).string());
    EXPECT_EQ(absolute(u"x\\y"), KelString(base + u"/one/two\\x\\y"));
    EXPECT_EQ(absolute(u".\\.\\x"), KelString(base + u"/one/two\\x"));
    EXPECT_EQ(absolute(u"..\\x"), KelString(base + u"/one\\x"));
    EXPECT_EQ(absolute(u".\\..\\..\\x"), KelString(base + u"\\x"));
    EXPECT_EQ(absolute(u"../x"),
              KelString(base + u"/one/two\\../x"));  // only steps with a backslash are taken here
    EXPECT_EQ(absolute(u"d\\..\\x"), KelString(base + u"/one/two\\x"));
    EXPECT_EQ(absolute(u"c:x"), u"c:x");
}

TEST(Directories, StopAtTheRoot) {
    const WorkingDirectory here("/");
    EXPECT_EQ(absolute(u"x"), u"/x");
    EXPECT_EQ(absolute(u"..\\..\\x"), u"/x");
    const WorkingDirectory below("/usr");
    EXPECT_EQ(absolute(u"..\\..\\x"), u"/x");
}

TEST(Directories, LeaveAPathWhoseDirectoryIsTooLongOrNoText) {
    const TempDirectory temp;
    for (const std::string& name : {std::string(250, 'd'), std::string("\xff")}) {
        std::filesystem::create_directory(temp.file(name));
        const WorkingDirectory here(temp.file(name));
        EXPECT_EQ(absolute(u"..\\x"), u"..\\x");
    }
}

TEST(Directories, MakeTemporaryNames) {
    KelString first(u"old");
    KelString second;
    EXPECT_TRUE(kel::makeTempFileName(first));
    EXPECT_TRUE(kel::makeTempFileName(second));
    EXPECT_NE(first, second);
    char process[16];
    std::snprintf(process, sizeof process, "%08x", kel::platform::processId());
    const std::string pattern = std::string("\\\\kel-") + process + "-[0-9a-f]{8}-temp";
    EXPECT_THAT(first.narrow(), testing::MatchesRegex(pattern));
    EXPECT_EQ(kel::specialDirectory("temp"), "");

    FreshHost host;
    const IPtr<FakeDirService> directories(new FakeDirService);
    const IPtr<FakeSettings> settings(new FakeSettings);
    host->offer<IKelDirService>(*directories);
    EXPECT_EQ(kel::specialDirectory("temp"), "/special/temp");
    kel::makeTempFileName(first);
    EXPECT_THAT(first.narrow(), testing::MatchesRegex("/special/temp" + pattern));
    host->offer<IDataStore>(*settings);
    kel::makeTempFileName(first);
    EXPECT_THAT(first.narrow(), testing::MatchesRegex("/special/temp" + pattern));
    settings->texts["Directories/Temp Directory"] = "c:\\temp";
    kel::makeTempFileName(first);
    EXPECT_THAT(first.narrow(), testing::MatchesRegex("c:\\\\temp" + pattern));
}
