#include "KelBasicTypes/directories.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <string>

#include "KelBasicTypes/platform/process.h"
#include "fakeservices.h"
#include "memoryservices.h"
#include "printing.h"
#include "tempdirectory.h"
#include "tests/support/matching.h"

using kel::test::matches;
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
    const std::filesystem::path two = std::filesystem::current_path();
    const std::u16string base = two.parent_path().parent_path().u16string();
    const std::u16string one = two.parent_path().u16string();
    EXPECT_EQ(absolute(u"x\\y"), KelString(two.u16string() + u"\\x\\y"));
    EXPECT_EQ(absolute(u".\\.\\x"), KelString(two.u16string() + u"\\x"));
    EXPECT_EQ(absolute(u"..\\x"), KelString(one + u"\\x"));
    EXPECT_EQ(absolute(u".\\..\\..\\x"), KelString(base + u"\\x"));
    EXPECT_EQ(absolute(u"d\\..\\x"), KelString(two.u16string() + u"\\x"));
    EXPECT_EQ(absolute(u"c:x"), u"c:x");
    // Only steps with a backslash are taken here; what is left of them is collapsed like any other path.
    KelString collapsed(two.u16string() + u"\\../x");
    kel::collapseParentSteps(collapsed);
    EXPECT_EQ(absolute(u"../x"), collapsed);
}

TEST(Directories, StopAtTheRoot) {
    const TempDirectory temp;
    std::filesystem::path below = temp.path();
    while (below.parent_path() != below.root_path()) below = below.parent_path();
    const std::u16string root = below.root_path().u16string();
    const WorkingDirectory inRoot(below.root_path().string());
    EXPECT_EQ(absolute(u"x"), KelString(root + u"x"));
    EXPECT_EQ(absolute(u"..\\..\\x"), KelString(root + u"x"));
    const WorkingDirectory inFolder(below.string());
    EXPECT_EQ(absolute(u"..\\..\\x"), KelString(root + u"x"));
}

TEST(Directories, LeaveAPathWhoseDirectoryIsTooLong) {
    constexpr std::size_t kMaxLengthInUnits = 256;
    const TempDirectory temp;
    const WorkingDirectory here(temp.path());
    const std::size_t length = std::filesystem::current_path().u16string().size();
    for (const std::size_t excess : {std::size_t{0}, std::size_t{1}}) {
        const std::string name(kMaxLengthInUnits - length - 1 + excess, 'd');
        std::filesystem::create_directory(temp.file(name));
        const WorkingDirectory deep(temp.file(name));
        const std::u16string whole = std::filesystem::current_path().u16string();
        ASSERT_EQ(whole.size(), kMaxLengthInUnits + excess);
        EXPECT_EQ(absolute(u".\\x"), excess == 0 ? KelString(whole + u"\\x") : KelString(u".\\x"));
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
    EXPECT_TRUE(matches(first.narrow(), pattern));
    EXPECT_EQ(kel::specialDirectory("temp"), "");

    FreshHost host;
    const IPtr<FakeDirService> directories(new FakeDirService);
    const IPtr<FakeSettings> settings(new FakeSettings);
    host->offer<IKelDirService>(*directories);
    EXPECT_EQ(kel::specialDirectory("temp"), "/special/temp");
    kel::makeTempFileName(first);
    EXPECT_TRUE(matches(first.narrow(), "/special/temp" + pattern));
    host->offer<IDataStore>(*settings);
    kel::makeTempFileName(first);
    EXPECT_TRUE(matches(first.narrow(), "/special/temp" + pattern));
    settings->texts["Directories/Temp Directory"] = "c:\\temp";
    kel::makeTempFileName(first);
    EXPECT_TRUE(matches(first.narrow(), "c:\\\\temp" + pattern));
}
