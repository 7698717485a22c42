// What folders hold.
#include "KelBasicTypes/directorylisting.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "KelBasicTypes/utf8.h"
#include "tests/basictypes/tempdirectory.h"

namespace {

namespace fs = std::filesystem;

using kel::DirectoryEntry;
using kel::EntryKind;
using kel::ListingOptions;

class Listing : public testing::Test {
protected:
    [[nodiscard]] KelString path(const char* name = "") const {
        return KelString(kel::fromUtf8(folder_.path() + '/' + name));
    }
    void write(const char* name, const char* content) const { std::ofstream(folder_.file(name)) << content; }

    [[nodiscard]] std::string names(const ListingOptions& options) const {
        std::string text;
        for (const DirectoryEntry& entry : kel::listDirectory(path(), options).entries)
            text += kel::toUtf8(entry.name.view()) + ' ';
        return text;
    }

    kel::test::TempDirectory folder_;
};

TEST_F(Listing, HasNameKindSizeAndTimeInOrder) {
    write("b.xml", "12345");
    write("a.TXT", "");
    fs::create_directory(folder_.file("sub"));
    using namespace std::chrono;
    fs::last_write_time(folder_.file("b.xml"),
                        fs::file_time_type::clock::from_sys(sys_seconds(seconds(1'700'000'000))));
    const kel::DirectoryListing listing = kel::listDirectory(path());
    ASSERT_TRUE(listing.isRead);
    ASSERT_EQ(listing.entries.size(), 3U);
    EXPECT_TRUE(listing.entries[0].name == u"a.TXT");
    const DirectoryEntry& file = listing.entries[1];
    EXPECT_TRUE(file.name == u"b.xml");
    EXPECT_EQ(file.kind, EntryKind::File);
    EXPECT_EQ(file.sizeInBytes, 5U);
    EXPECT_EQ(file.modifiedSeconds, 1'700'000'000);
    EXPECT_TRUE(file.isReadable && !file.isLink);
    EXPECT_EQ(listing.entries[2].kind, EntryKind::Folder);
}

TEST_F(Listing, RecursionListsWhatFitsAndLooksEverywhere) {
    ASSERT_TRUE(kel::createDirectory(path("one/two")));
    write("a.xml", "");
    write("one/b.txt", "");
    write("one/two/c.xml", "");
    EXPECT_EQ(names({u"*.xml"}), "a.xml ");
    EXPECT_EQ(names({u"*.xml", false, true}), "a.xml one\\two\\c.xml ") << "in folders that do not fit";
    EXPECT_EQ(names({u"*.*"}), "a.xml one ") << "a point is not needed";
    EXPECT_EQ(names({u"*", false, true}), "a.xml one one\\b.txt one\\two one\\two\\c.xml ");
}

TEST_F(Listing, AFolderThatCannotBeReadSaysWhy) {
    for (const char* const name : {"missing", "file"}) {
        write("file", "");
        const kel::DirectoryListing listing = kel::listDirectory(path(name));
        EXPECT_FALSE(listing.isRead);
        EXPECT_NE(listing.reason, "");
        EXPECT_TRUE(listing.entries.empty());
    }
}

TEST_F(Listing, FoldersAreMadeAndEntered) {
    std::string reason;
    EXPECT_TRUE(kel::createDirectory(path("a\\b/c"), &reason)) << reason;
    EXPECT_TRUE(kel::createDirectory(path("a/b"))) << "there already";
    write("file", "");
    EXPECT_FALSE(kel::createDirectory(path("file"), &reason));
    EXPECT_FALSE(kel::createDirectory(path("file/below"), &reason));
    EXPECT_NE(reason, "");
    const fs::path before = fs::current_path();
    EXPECT_FALSE(kel::changeDirectory(path("missing"), &reason));
    EXPECT_EQ(fs::current_path(), before);
    EXPECT_TRUE(kel::changeDirectory(path("a/b")));
    EXPECT_TRUE(fs::exists("c"));
    fs::current_path(before);
}

struct PatternCase {
    const char16_t* name;
    const char16_t* pattern;
    bool fits;
    bool fitsWithoutCase;
};
constexpr PatternCase kPatterns[] = {
    {u"", u"", true, true},
    {u"", u"*", true, true},
    {u"a", u"", false, false},
    {u"a", u"?", true, true},
    {u"", u"?", false, false},
    {u"ab", u"a", false, false},
    {u"a.xml", u"*.XML", false, true},
    {u"aXbXc", u"a*X?", true, true},
    {u"aXbXc", u"a*x?", false, true},
    {u"mississippi", u"*iss*ip*", true, true},
    {u"mississippi", u"*iss?pp*", true, true},
    {u"mississippi", u"*iss*ipp", false, false},
    {u"abc", u"***c", true, true},
    {u"a*c", u"a*c", true, true},
    {u"\u00C9", u"\u00E9", false, false},
};

TEST(Pattern, StarsTakeAsMuchAsTheyMust) {
    for (const PatternCase& c : kPatterns) {
        SCOPED_TRACE(kel::toUtf8(c.name) + " / " + kel::toUtf8(c.pattern));
        EXPECT_EQ(kel::fitsPattern(c.name, c.pattern, false), c.fits);
        EXPECT_EQ(kel::fitsPattern(c.name, c.pattern, true), c.fitsWithoutCase);
    }
    // Exponential matchers never come back from this one.
    const std::u16string name(2000, u'a');
    std::u16string pattern;
    for (int i = 0; i < 500; ++i) pattern += u"*a";
    EXPECT_TRUE(kel::fitsPattern(name, pattern, false));
    EXPECT_FALSE(kel::fitsPattern(name, pattern + u"b", false));
}

}  // namespace
