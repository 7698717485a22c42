#include "host/messages.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/detail/catalogue.h"
#include "tests/host/catalogues.h"
#include "tests/support/temporaryfolder.h"

namespace {

namespace fs = std::filesystem;
using kelhost::Catalogue;
using kelhost::Messages;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

const fs::path kShipped = fs::path(KEL_BUILD_FOLDER) / "share" / "locale";

TEST(Languages, AreReadFromListsOfLocaleNames) {
    EXPECT_THAT(kelhost::languagesOf("de_AT.UTF-8@euro:fr"), ElementsAre("de_AT@euro", "de_AT", "de", "fr"));
    EXPECT_THAT(kelhost::languagesOf("pt-BR"), ElementsAre("pt_BR", "pt"));
    EXPECT_THAT(kelhost::languagesOf("de:en_GB:fr"), ElementsAre("de")) << "the keys are English";
    EXPECT_THAT(kelhost::languagesOf(":../../etc::ja"), ElementsAre("ja")) << "no way out of the folder";
    for (const char* const english : {"", "C", "POSIX", "C.UTF-8", "en_US.UTF-8"})
        EXPECT_THAT(kelhost::languagesOf(english), IsEmpty()) << english;
}

TEST(Languages, OfTheUserFollowTheEnvironmentAsGettextDoes) {
    struct Row {
        const char *language, *all, *messages, *lang;
        std::vector<std::string> expected;
    };
    const std::array rows{
        Row{"", "", "", "de_DE.UTF-8", {"de_DE", "de"}},
        Row{"", "", "fr", "de", {"fr"}},
        Row{"", "ja", "fr", "de", {"ja"}},
        Row{"ja:fr", "", "", "de", {"ja", "fr"}},
        Row{"ja", "C", "", "de", {}},  // LC_ALL=C asks for untranslated texts
        Row{"ja", "C.UTF-8", "", "", {"ja"}},
        Row{"", "", "", "", {}},
    };
    for (const Row& row : rows) {
        const kel::test::Environment environment({{"LANGUAGE", row.language},
                                                  {"LC_ALL", row.all},
                                                  {"LC_MESSAGES", row.messages},
                                                  {"LANG", row.lang}});
        EXPECT_EQ(kelhost::userLanguages(), row.expected)
            << row.language << '|' << row.all << '|' << row.lang;
    }
}

TEST(Messages, ComeFromTheFirstLanguageThatHasThem) {
    const kel::test::TemporaryFolder folder;
    kel::test::writeCatalogue(folder, "xx_YY", {{"one", "eins"}});
    kel::test::writeCatalogue(
        folder, "xx", {{"one", "1"}, {"two %1 %2", "%2 zwei %1"}, {"plural", std::string("p\0q", 3)}});
    const std::array folders{folder.path()};
    const std::array languages{std::string("xx_YY"), std::string("xx"), std::string("zz")};
    const Messages messages(kel::test::kDomain, folders, languages);
    EXPECT_TRUE(messages.hasTranslations());
    EXPECT_THAT(messages.problems(), IsEmpty()) << "a language without a catalogue is none";
    EXPECT_EQ(messages.text("one"), "eins");
    EXPECT_EQ(messages.text("three"), "three") << "a missing entry falls back to the key";
    EXPECT_EQ(messages.text(""), "") << "the header is no message";
    EXPECT_EQ(messages.text("plural"), "p");
    EXPECT_EQ(messages.text("one", "several", 1), "eins");
    EXPECT_EQ(messages.format("two %1 %2", {"%2", "b%1"}), "b%1 zwei %2") << "arguments are not templates";
    EXPECT_EQ(messages.format("%1%%2%3%", {"a"}), "a%%2%3%");
    EXPECT_FALSE(Messages("other", folders, languages).hasTranslations());
}

TEST(Messages, HaveTheFormThatTheLanguageHasForACount) {
    struct Row {
        const char* rule;
        std::string forms;  // expected for 0, 1, 2, 5, 11, 21, 102
    };
    // As the languages have them, then what a malformed file may hold.
    const std::array rows{
        Row{"nplurals=2; plural=n != 1;",
            "bab"
            "bbbb"},
        Row{"nplurals=2; plural=(n > 1);",
            "aab"
            "bbbb"},
        Row{"nplurals=1; plural=0;",
            "aaa"
            "aaaa"},
        Row{"nplurals=3; plural=n%10==1 && n%100!=11 ? 0 : n%10>=2 && n%10<=4 && (n%100<10 || n%100>=20) ? 1 "
            ": 2;",
            "cab"
            "ccab"},
        Row{"nplurals=3; plural=(n==1 ? 0 : (n==0 || (n%100 > 0 && n%100 < 20)) ? 1 : 2);",
            "bab"
            "bbcb"},
        Row{"nplurals=2; plural=!(n-1)*1+0/1 == 1 ? 0 : 1;",
            "bab"
            "bbbb"},
        Row{"nplurals=2; plural=n / 0;",
            "aaa"
            "aaaa"},
        Row{"nplurals=2; plural=n;",
            "aba"
            "aaaa"},
        Row{"nplurals=2; plural=n != ;",
            "aaa"
            "aaaa"},
        Row{"nplurals=2; plural=((((((((((((((((((((((((((((((((((((((((n))))))));",
            "aaa"
            "aaaa"},
        Row{"nplurals=0; plural=n != 1;",
            "aaa"
            "aaaa"},
        Row{"plural=n != 1;",
            "aaa"
            "aaaa"},
    };
    constexpr std::array<std::uint64_t, 7> kCounts{0, 1, 2, 5, 11, 21, 102};
    for (const Row& row : rows) {
        const Catalogue catalogue =
            Catalogue::parse(kel::test::catalogue({{std::string("one\0more", 8), std::string("a\0b\0c", 5)}},
                                                  std::string("UTF-8\nPlural-Forms: ") + row.rule));
        std::string forms;
        for (const std::uint64_t count : kCounts) forms += catalogue.find("one", count);
        EXPECT_EQ(forms, row.forms) << row.rule;
    }
    const Messages none;
    EXPECT_EQ(none.text("one", "more", 1), "one");
    EXPECT_EQ(none.text("one", "more", 0), "more");
}

// Cut anywhere, with any number replaced by a wild one: rejected or read, never a read beyond the file.
TEST(Messages, DamagedCataloguesArePassedOverAndNamed) {
    const std::string whole = kel::test::catalogue({{"one", "eins"}, {"two", "zwei"}});
    EXPECT_EQ(Catalogue::parse(whole).find("two"), "zwei");
    std::string swapped =
        whole;  // of a machine with the other order of bytes: all numbers come before the texts
    for (std::size_t at = 0; at < 28 + 3 * 16; at += 4)
        std::reverse(swapped.begin() + static_cast<std::ptrdiff_t>(at),
                     swapped.begin() + static_cast<std::ptrdiff_t>(at) + 4);
    EXPECT_EQ(Catalogue::parse(swapped).find("two"), "zwei");
    for (std::size_t length = 0; length < whole.size(); ++length)
        EXPECT_THROW((void)Catalogue::parse(whole.substr(0, length)), std::runtime_error) << length;
    for (std::size_t at = 0; at + 4 <= whole.size(); ++at) {
        for (const char fill : {'\0', '\x7f', '\xff'}) {
            std::string damaged = whole;
            damaged.replace(at, 4, 4, fill);
            try {
                (void)Catalogue::parse(damaged).find("one");
            } catch (const std::runtime_error&) {
                continue;
            }
        }
    }

    const kel::test::TemporaryFolder folder;
    kel::test::writeCatalogue(folder, "xx", {{"one", "1"}});
    const std::string damaged =
        kel::test::writeCatalogueFile(folder, "yy", "no catalogue, whatever its name says");
    const std::string foreign =
        kel::test::writeCatalogueFile(folder, "zz", kel::test::catalogue({{"one", "\xE9"}}, "ISO-8859-1"));
    const std::array folders{folder.path()};
    const std::array languages{std::string("yy"), std::string("zz"), std::string("xx")};
    const Messages messages(kel::test::kDomain, folders, languages);
    EXPECT_EQ(messages.text("one"), "1");
    EXPECT_THAT(messages.problems(),
                ElementsAre(damaged + ": not a message catalogue", foreign + ": its encoding is not UTF-8"));
}

std::vector<std::string> placeholders(std::string_view text) {
    std::vector<std::string> found;
    for (std::size_t at = text.find('%'); at != std::string_view::npos; at = text.find('%', at + 1))
        found.emplace_back(text.substr(at, 2));
    std::ranges::sort(found);
    return found;
}

TEST(ShippedCatalogues, HaveThePlaceholdersOfTheirKeys) {
    int texts = 0;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(kShipped)) {
        if (entry.path().extension() != ".mo") continue;
        const Catalogue catalogue = Catalogue::read(entry.path());
        for (const std::string_view key : catalogue.keys()) {
            if (key.empty()) continue;
            ++texts;
            EXPECT_EQ(placeholders(key), placeholders(catalogue.find(key))) << entry.path() << ": " << key;
        }
    }
    EXPECT_GE(texts, 3 * 22);
}

TEST(ShippedCatalogues, MayPutArgumentsInAnotherOrder) {
    const std::array folders{kShipped};
    const std::array languages{std::string("ja")};
    const Messages messages("msxml_parser", folders, languages);
    EXPECT_EQ(messages.format("Error while reading %1  : Line %2, column %3 : %4", {"a.xml", "7", "2", "no"}),
              "a.xml を読み込めません: no（7 行 2 列）");
}

TEST(ShippedCatalogues, AreFoundFromEveryFolderOfAnInstalledFile) {
    const kel::test::TemporaryFolder prefix;
    const fs::path root = fs::canonical(prefix.path());
    fs::create_directories(root / "share" / "locale");
    for (const char* const file : {"bin/kelxml", "lib/liba.so", "lib/x86_64-linux-gnu/liba.so"})
        EXPECT_THAT(kelhost::catalogueFoldersNear(root / file), ElementsAre(root / "share/locale")) << file;
    EXPECT_THAT(kelhost::catalogueFoldersNear(root / "a/b/c/kelxml"), IsEmpty());
}

}  // namespace
