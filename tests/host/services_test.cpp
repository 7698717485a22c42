// The host's standard services, each on its own.
#include <array>
#include <atomic>
#include <chrono>
#include <cmath>
#include <filesystem>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "KelBasicTypes/kelstring.h"
#include "framework/object/implements.h"
#include "framework/object/iptr.h"
#include "host/assertionhandler.h"
#include "host/directoryservice.h"
#include "host/errorservice.h"
#include "host/memory.h"
#include "host/settings.h"
#include "host/text.h"
#include "tests/host/catalogues.h"
#include "tests/support/temporaryfolder.h"

namespace {

using kelhost::Settings;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

// Notes what it receives; reads the setting and sets another one if it has a store.
class Listener final : public kel::Implements<Listener, IKelDataReceiver> {
public:
    static constexpr const char* kClassName = "Listener";
    std::int32_t dataChanged(const char* key, double value) override {
        calls.push_back(std::string(key) + '=' +
                        (std::isnan(value) ? "none" : std::to_string(std::lround(value))));
        if (store != nullptr) store->set("Echo", store->text(key).value_or("gone"));
        return 0;
    }
    std::vector<std::string> calls;
    Settings* store = nullptr;
};

std::string rejectionOf(Settings& settings, const std::string& content) {
    try {
        settings.parse(content, "my.settings");
    } catch (const kelhost::SettingsError& error) {
        return error.what();
    }
    return "accepted";
}

TEST(SettingsTest, AreReadWithTheirTypes) {
    const IPtr<Settings> settings(new Settings);
    const kel::test::TemporaryFolder folder;
    settings->load(folder.write(
        "my.settings",
        "\xEF\xBB\xBFTop = 1\r\n"
        "# a comment\n  ; another\n\n"
        "[Memory]\nMemLimit=2.5e9\nUseErrorService = Yes\n"
        "[ A/B ]\n Two Words = \" kept \" \nPath = C:\\a=b#c\nLand = \xC3\x96sterreich\nNone ="));
    EXPECT_TRUE(settings->readBool("Top", false));
    EXPECT_EQ(settings->readDouble("Memory/MemLimit", 0), 2.5e9);
    EXPECT_TRUE(settings->readBool("Memory/UseErrorService", false));
    const auto text = [&](const char* key) {
        KelString result(u"old");
        settings->readText(key, result);
        return kelhost::toUtf8(result);
    };
    EXPECT_EQ(text("A/B/Two Words"), " kept ");
    EXPECT_EQ(text("A/B/Path"), "C:\\a=b#c");
    EXPECT_EQ(text("A/B/Land"), "\xC3\x96sterreich");
    EXPECT_EQ(text("A/B/None"), "");
    EXPECT_EQ(text("a/b/path"), "") << "keys are case-sensitive";
    for (const bool fallback : {false, true}) EXPECT_EQ(settings->readBool("A/B/Land", fallback), fallback);
    EXPECT_EQ(settings->readDouble("A/B/Path", 7), 7);
    EXPECT_EQ(settings->readDouble("Missing", 8), 8);
}

TEST(SettingsTest, ABadFileIsRejectedWithItsPositionAndChangesNothing) {
    struct Row {
        const char* fault;
        std::string content;
        const char* rejection;
    };
    const std::array rows{
        Row{"no setting", "a = 1\n  what is this\n",
            "my.settings:2:3: neither a setting, 'Name = value', nor a section, '[Name]'"},
        Row{"no name", "\xC3\xA4 = 1\n = 2", "my.settings:2:2: the setting has no name"},
        Row{"open section", "[\xC3\xA4", "my.settings:1:3: the section's name does not end with ']'"},
        Row{"empty section", "[ ]", "my.settings:1:1: the section has no name"},
        Row{"set twice", "[A]\nb=1\n[C]\n[A]\n  b=2", "my.settings:5:3: A/b is set already, in line 2"},
        Row{"open quote", "a = \"b", "my.settings:1:5: the quoted value has no end"},
        Row{"no number", "[Memory]\nMemLimit = 2 GB",
            "my.settings:2:12: Memory/MemLimit is a number, not '2 GB'"},
        Row{"no truth value", "Memory/UseErrorService = \xC3\xA4 maybe",
            "my.settings:1:26: Memory/UseErrorService is yes or no, not '\xC3\xA4 maybe'"},
        Row{"not UTF-8", "a = 1\nb = \xF0\x9F\x98\x80\xEF\xBF\xBD\xC3\xA4 \xE4\n",
            "my.settings:2:9: this is not UTF-8"},
        Row{"a NUL", std::string("a = \0b", 6), "my.settings:1:5: a byte 0 is no text"},
    };
    const IPtr<Settings> settings(new Settings);
    settings->set("kept", "1");
    for (const Row& row : rows) {
        EXPECT_EQ(rejectionOf(*settings, row.content), row.rejection) << row.fault;
        EXPECT_EQ(settings->text("kept"), "1") << row.fault;
        EXPECT_EQ(settings->text("a"), std::nullopt) << row.fault;
    }
    const kel::test::TemporaryFolder folder;
    for (const std::string& file : {folder.pathOf("missing"), folder.path().string()})
        EXPECT_THROW(settings->load(file), kelhost::SettingsError) << file;
}

TEST(SettingsTest, ReceiversAreNotifiedOfEveryChangeOfTheirSetting) {
    const IPtr<Settings> settings(new Settings);
    const IPtr<Listener> listener(new Listener);
    const IPtr<Listener> other(new Listener);
    other->store = settings.get();
    settings->addReceiver(nullptr, "n");
    settings->addReceiver(listener.get(), "n");
    settings->addReceiver(listener.get(), "t");
    settings->addReceiver(other.get(), "n");
    settings->set("n", "5");
    settings->set("n", "5");  // no change
    settings->set("x", "1");
    EXPECT_EQ(settings->text("Echo"), "5") << "a receiver may read and write";
    settings->parse("t = on\nn = words", "file");
    settings->remove("n");
    settings->remove("n");
    EXPECT_THAT(listener->calls, ElementsAre("n=5", "n=none", "t=1", "n=none"));
    EXPECT_EQ(settings->text("Echo"), "gone");
    settings->removeReceiver(*listener);
    EXPECT_EQ(listener->refCount(), 1);
    settings->set("t", "0");
    EXPECT_EQ(listener->calls.size(), 4u);
}

TEST(Directories, FollowThePlatformsConventions) {
    if (kel::test::kFoldersFollowVariables != nullptr) GTEST_SKIP() << kel::test::kFoldersFollowVariables;
    const kel::test::TemporaryFolder folder;
    const std::string home = folder.path().string();
    const IPtr<kelhost::DirectoryService> service(new kelhost::DirectoryService);
    {
        const kel::test::Environment environment({{"HOME", home + '/'},
                                                  {"TMPDIR", ""},
                                                  {"XDG_CONFIG_HOME", ""},
                                                  {"XDG_DATA_HOME", "relative/is/ignored"},
                                                  {"XDG_STATE_HOME", "/state/"},
                                                  {"XDG_RUNTIME_DIR", ""}});
        std::filesystem::create_directory(folder.pathOf(".config"));
        folder.write(
            ".config/user-dirs.dirs",
            "# XDG_MUSIC_DIR=\"/no\"\nXDG_DOCUMENTS_DIR=\"$HOME/Akten\"\n XDG_VIDEOS_DIR=\"/films/\"\n"
            "XDG_PICTURES_DIR=\"relative\"\n");
        struct Row {
            const char* name;
            std::string directory;
        };
        const std::array rows{
            Row{"temp", "/tmp"},
            Row{"home", home},
            Row{"config", home + "/.config"},
            Row{"data", home + "/.local/share"},
            Row{"state", "/state"},
            Row{"runtime", ""},
            Row{"documents", home + "/Akten"},
            Row{"videos", "/films"},
            Row{"desktop", home + "/Desktop"},
            Row{"pictures", home},
            Row{"music", home},
            Row{"nowhere", ""},
        };
        for (const Row& row : rows) EXPECT_EQ(service->directory(row.name), row.directory) << row.name;
    }
    const kel::test::Environment environment({{"TMPDIR", "/var/tmp/"}, {"HOME", ""}});
    EXPECT_EQ(service->directory("temp"), "/var/tmp");
    EXPECT_THAT(service->directory("home"), ::testing::StartsWith("/")) << "from the user data base";
    service->set("temp", "/mine");
    service->set("logs", "/logs");
    EXPECT_EQ(service->directory("temp") + service->directory("logs"), "/mine/logs");
}

TEST(Memory, IsGivenBackByTheApplicationFirst) {
    const IPtr<kelhost::MemoryManager> manager(new kelhost::MemoryManager(std::size_t{24} * 1024 * 2 + 1));
    std::vector<int> asked;
    std::size_t cache = 100;
    manager->addReclaimer([&] {
        asked.push_back(1);
        EXPECT_FALSE(manager->giveMemoryBack()) << "not while it is giving back";
        return std::size_t{0};
    });
    manager->addReclaimer([&] {
        asked.push_back(2);
        return std::exchange(cache, 0);
    });
    EXPECT_EQ(manager->coreInUse(), 3u) << "in units of 24 KB, rounded up";
    EXPECT_TRUE(manager->giveMemoryBack());
    EXPECT_EQ(manager->coreInUse(), 3u);
    EXPECT_TRUE(manager->giveMemoryBack()) << "then the reserve";
    EXPECT_EQ(manager->coreInUse(), 0u);
    EXPECT_FALSE(manager->giveMemoryBack());
    EXPECT_THAT(asked, ElementsAre(1, 2, 1, 2, 1, 2));
    EXPECT_TRUE(manager->restoreReserve());
    EXPECT_EQ(manager->coreInUse(), manager->coreLimit());

    const IPtr<kelhost::MemoryManager> bare(new kelhost::MemoryManager(0));
    EXPECT_FALSE(bare->giveMemoryBack());
}

// A thread that asks while another gives back gets what that one freed; it does not go away with nothing.
TEST(Memory, IsWaitedForWhileAnotherThreadGivesItBack) {
    const IPtr<kelhost::MemoryManager> manager(new kelhost::MemoryManager(24 * 1024));
    std::atomic<bool> isGiving{false};
    std::atomic<bool> isAsking{false};
    std::size_t cache = 100;
    manager->addReclaimer([&] {
        isGiving = true;
        while (!isAsking) std::this_thread::yield();
        std::this_thread::sleep_for(std::chrono::milliseconds(20));  // the other one is now asking
        return std::exchange(cache, 0);
    });
    std::thread giving([&] { EXPECT_TRUE(manager->giveMemoryBack()); });
    while (!isGiving) std::this_thread::yield();
    isAsking = true;
    EXPECT_TRUE(manager->giveMemoryBack());
    giving.join();
    EXPECT_TRUE(manager->giveMemoryBack()) << "the reserve was not needed before";
    EXPECT_FALSE(manager->giveMemoryBack());
}

TEST(Memory, FiguresOfTheMachineAreConsistent) {
    const IPtr<kelhost::MemoryChecker> checker(new kelhost::MemoryChecker);
    ASSERT_TRUE(checker->isAvailable());
    MemoryFigures bytes;
    MemoryFigures megabytes;
    checker->figures(bytes, 0);
    checker->figures(megabytes, 1 << 20);
    EXPECT_GT(bytes.systemFree, std::uint64_t{1} << 20);
    EXPECT_LE(bytes.systemFree, bytes.systemTotal);
    EXPECT_LE(bytes.swapFree, bytes.swapTotal);
    EXPECT_EQ(megabytes.systemTotal, bytes.systemTotal >> 20);
}

TEST(Reports, GoToStandardErrorOrToTheApplication) {
    const IPtr<kelhost::ErrorService> service(new kelhost::ErrorService);
    std::u16string longText(600, u'\u00E9');
    longText += u"\U0001F600";
    testing::internal::CaptureStderr();
    service->report(KelString(longText), 1, "realloc");
    service->report(KelString(u"careful"), kelhost::ErrorService::kLevelWarning, "");
    std::string expected = "error (realloc): ";
    for (int i = 0; i < 600; ++i) expected += "\xC3\xA9";
    EXPECT_EQ(testing::internal::GetCapturedStderr(), expected + "\xF0\x9F\x98\x80\nwarning: careful\n");

    std::vector<std::string> reports;
    const IPtr<kelhost::ErrorService> handed(new kelhost::ErrorService([&](const kelhost::Report& report) {
        reports.push_back(report.message + '|' + std::to_string(report.level) + '|' + report.operation);
    }));
    handed->report(KelString(u"\u00E9"), 1, "realloc");
    EXPECT_THAT(reports, ElementsAre("\xC3\xA9|1|realloc"));
}

TEST(Reports, OfFailedAssertionsTooAndTheOperationGoesOn) {
    const IPtr<kelhost::AssertionHandler> handler(new kelhost::AssertionHandler);
    testing::internal::CaptureStderr();
    handler->assertionFailed("start >= 0", "src/a", 671);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "assertion failed: start >= 0 (src/a, line 671)\n");
    std::string calls;
    const IPtr<kelhost::AssertionHandler> handed(
        new kelhost::AssertionHandler([&](const char* expression, const char* path, std::int32_t line) {
            calls = expression + (path + std::to_string(line));
        }));
    handed->assertionFailed("a", "b", 1);
    EXPECT_EQ(calls, "ab1");
}

}  // namespace
