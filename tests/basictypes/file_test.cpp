#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "KelBasicTypes/pathnormalise.h"
#include "KelBasicTypes/platform/file.h"
#include "KelBasicTypes/platform/rawfile.h"
#include "printing.h"
#include "tempdirectory.h"

namespace {

namespace platform = kel::platform;

// Paths come in the framework's spelling, with backslashes.
class FileTest : public testing::Test {
protected:
    [[nodiscard]] std::u16string pathOf(std::u16string_view name) const {
        return kel::fromUtf8(folder_.path()) + u"\\" + std::u16string(name);
    }

    kel::test::TempDirectory folder_;
};

TEST_F(FileTest, WritesAndReadsByFrameworkPath) {
    const std::u16string path = pathOf(u"gr\x00FC\x00DF \xD83D\xDE00.xml");
    platform::FileHandle file = platform::openFile(path, "w");
    ASSERT_NE(file, nullptr);
    EXPECT_GE(std::fputs("text", file.get()), 0);
    EXPECT_TRUE(platform::closeFile(std::move(file)));
    std::string content;
    std::ifstream(std::filesystem::path(folder_.path()) / u8"gr\u00FC\u00DF \U0001F600.xml") >> content;
    EXPECT_EQ(content, "text");
    EXPECT_TRUE(platform::canOpenForReading(path));
    EXPECT_NE(platform::openFile(path, "rb"), nullptr);
}

TEST_F(FileTest, RejectsWhatCannotBeRead) {
    EXPECT_TRUE(platform::closeFile(platform::openFile(pathOf(u"file"), "w")));
    const struct {
        const char* fault;
        std::u16string path;
    } kCases[] = {
        {"empty path", u""},
        {"missing file", pathOf(u"missing")},
        {"a folder", pathOf(u"")},
        {"a path cut by a NUL is another file", pathOf(u"file") + std::u16string(1, u'\0') + u"x"},
        {"a lone surrogate names no file", pathOf(u"\xD800")},
    };
    for (const auto& c : kCases) {
        SCOPED_TRACE(c.fault);
        EXPECT_FALSE(platform::canOpenForReading(c.path));
        EXPECT_EQ(platform::openFile(c.path, "rb"), nullptr);
    }
    EXPECT_EQ(platform::openFile(pathOf(u"missing\\file"), "w"), nullptr);
    EXPECT_FALSE(platform::closeFile(nullptr));
}

TEST(NormalisePath, CompletesABareDriveOnly) {
    const struct {
        const char16_t* path;
        const char16_t* expected;
    } kCases[] = {
        {u"c:", u"c:\\"}, {u"::", u"::\\"}, {u"c:x", u"c:x"},       {u"c:\\", u"c:\\"},
        {u":", u":"},     {u"", u""},       {u"a/../b", u"a/../b"},
    };
    for (const auto& c : kCases) EXPECT_EQ(kel::normalisePath(c.path), c.expected);
}

TEST(Utf8, KeepsEveryTextApartAndReplacesWhatIsNone) {
    const struct {
        const char16_t* text;
        const char* bytes;
    } kBothWays[] = {
        {u"a", "a"},
        {u"\x007F\x0080\x07FF\x0800", "\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80"},
        {u"\xFFFF\xD800\xDC00\xDBFF\xDFFF", "\xEF\xBF\xBF\xF0\x90\x80\x80\xF4\x8F\xBF\xBF"},
    };
    for (const auto& c : kBothWays) {
        EXPECT_EQ(kel::toUtf8(c.text), c.bytes);
        EXPECT_EQ(kel::fromUtf8(c.bytes), c.text);
    }
    EXPECT_EQ(kel::toUtf8(u"\xDC00\xD800x"), "\xED\xB0\x80\xED\xA0\x80x");
    const char* const kNotUtf8[] = {"\x80",
                                    "\xC0\x80",
                                    "\xC1\xBF",
                                    "\xE0\x80\x80",
                                    "\xED\xA0\x80",
                                    "\xF0\x80\x80\x80",
                                    "\xF4\x90\x80\x80",
                                    "\xF5\x80\x80\x80",
                                    "\xFF",
                                    "\xE2\x82",
                                    "\xC3"};
    for (const char* const bytes : kNotUtf8) {
        EXPECT_EQ(kel::fromUtf8(std::string(bytes) + "z"),
                  std::u16string(std::string_view(bytes).size(), u'\xFFFD') + u"z");
    }
    EXPECT_EQ(kel::fromUtf8("a\xE2\x82"), u"a\xFFFD\xFFFD");
}

// An existing file may belong to another user, or be a link to one.
TEST_F(FileTest, ATemporaryFileIsNeverOneThatExists) {
    std::ofstream(folder_.file("taken")) << "kept";
    const platform::RawFile taken(pathOf(u"taken"), platform::RawFile::Creation::NewTemporary);
    EXPECT_FALSE(taken.isOpen());
    EXPECT_EQ(kel::test::contentsOf(folder_.file("taken")), "kept");
    {
        platform::RawFile fresh(pathOf(u"fresh"), platform::RawFile::Creation::NewTemporary);
        char byte = 0;
        EXPECT_TRUE(fresh.isOpen() && fresh.write("x", 1) && fresh.seekToStart() && fresh.read(&byte, 1));
    }
    EXPECT_FALSE(std::filesystem::exists(folder_.file("fresh")));
}

}  // namespace
