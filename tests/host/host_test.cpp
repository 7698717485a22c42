#include "host/host.h"

#include <array>
#include <atomic>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "KelBasicTypes/detail/resetbasictypes.h"
#include "KelBasicTypes/directories.h"
#include "KelBasicTypes/ikelerrorservice.h"
#include "KelBasicTypes/ikelstrsupport.h"
#include "KelBasicTypes/memlimitlistener.h"
#include "casemapping.h"
#include "environment.h"
#include "framework/object/detail/resetobject.h"
#include "framework/object/hostlink.h"
#include "framework/object/implements.h"
#include "framework/object/kelweakref.h"
#include "framework/object/sptr.h"
#include "host/directoryservice.h"
#include "host/platform/localestrsupport.h"
#include "host/settings.h"
#include "host/text.h"
#include "tests/support/temporaryfolder.h"

namespace {

using ::testing::AllOf;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

class NoteTaker final : public kel::Implements<NoteTaker, IKelErrorService> {
public:
    static constexpr const char* kClassName = "NoteTaker";
    void report(const KelString& message, const std::int32_t& /*level*/, const char* /*operation*/) override {
        last = kelhost::toUtf8(message);
    }
    std::string last;
};

class HostTest : public ::testing::Test {
protected:
    ~HostTest() override {
        kel::detail::resetStringSupport();
        kel::detail::resetDirectories();
        kel::detail::resetHostLink();
    }
};

template <class Action>
std::string hostErrorOf(Action action) {
    try {
        action();
    } catch (const kelhost::HostError& error) {
        return error.what();
    }
    return "no HostError";
}

TEST_F(HostTest, CountsAtomicallyAndMarksTheDead) {
    const kelhost::Host host;
    constexpr std::int32_t kThreads = 4;
    constexpr std::int32_t kRounds = 50'000;
    std::int32_t count = kThreads * kRounds;
    std::atomic<int> reachedZero = 0;
    std::vector<std::thread> threads;
    for (std::int32_t t = 0; t < kThreads; ++t) {
        threads.emplace_back([&] {
            for (std::int32_t i = 0; i < kRounds; ++i) {
                host.manager().incrementCount(&count);
                if (host.manager().decrementCount(&count)) ++reachedZero;
                if (host.manager().decrementCount(&count)) ++reachedZero;
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(reachedZero, 1);
    EXPECT_EQ(count, -42);
}

TEST_F(HostTest, TheApplicationsOwnObjectsCountThroughItsHost) {
    const kelhost::Host host;
    IPtr<NoteTaker> object(new NoteTaker);
    KelWeakRef* const weak = object->weakRef();
    weak->addRef();
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([copy = object] {
            for (int i = 0; i < 50'000; ++i) const IPtr<NoteTaker> another(copy);
        });
    }
    for (std::thread& thread : threads) thread.join();
    threads.clear();
    EXPECT_EQ(object->refCount(), 1);
    object.reset();
    EXPECT_EQ(weak->target(), nullptr);
    weak->release();
}

TEST_F(HostTest, FindsServicesByNameAndContainerFirst) {
    kelhost::Host host;
    const IPtr<NoteTaker> common(new NoteTaker);
    const IPtr<NoteTaker> special(new NoteTaker);
    host.offer("IKelErrorService", *common);
    host.offer("drawing", "IKelErrorService", *special);

    EXPECT_THAT(host.serviceNames(), Contains("IKelErrorService"));
    EXPECT_EQ(SPtr<IKelErrorService>().get(), common.get());
    kel::setContainerName("drawing");
    EXPECT_EQ(SPtr<IKelErrorService>().get(), special.get());
    EXPECT_TRUE(SPtr<IKelStrSupport>()) << "what the container lacks comes from the host";
    kel::setContainerName("unknown");
    EXPECT_EQ(SPtr<IKelErrorService>().get(), common.get());

    int untouched = 0;
    void* out = &untouched;
    EXPECT_EQ(host.manager().lookupService("ikelerrorservice", &out), 0) << "names are exact";
    EXPECT_EQ(out, nullptr);

    EXPECT_THAT(hostErrorOf([&] { host.offer("IKelErrorService", *special); }),
                HasSubstr("IKelErrorService"));
    EXPECT_THAT(hostErrorOf([&] { host.offer("IKelDirService", *special); }),
                AllOf(HasSubstr("IKelDirService"), HasSubstr("NoteTaker")));
    EXPECT_EQ(SPtr<IKelErrorService>().get(), common.get()) << "a rejected offer changes nothing";
}

TEST_F(HostTest, StringsFollowUnicodeOnceThereIsAHost) {
    const kelhost::Host host;
    // Latin, Greek, beyond 16 bits, a Euro sign: all of it survives the way to 8 bits and back.
    const KelString text(u"na\u00EFve \u03B1\u03B2\u03B3 \U0001F600 \u20AC");
    EXPECT_STREQ(text.narrow(), "na\xC3\xAFve \xCE\xB1\xCE\xB2\xCE\xB3 \xF0\x9F\x98\x80 \xE2\x82\xAC");
    EXPECT_EQ(kelhost::fromUtf8(text.narrow()), text);

    EXPECT_EQ(KelString(u"Stra\u00DFe").toUpper(), kel::test::kStrasseInCapitals);
    EXPECT_EQ(KelString(u"\u0391\u0392\u0393").toLower(), u"\u03B1\u03B2\u03B3");
    EXPECT_EQ(KelString(u"e\u0301 b").mapWhitespace(u'_'), u"\u00E9_b") << "normalised, then mapped";
    EXPECT_TRUE(KelString(u"\u2003").isSpace(0));
    EXPECT_TRUE(KelString(u"\u0664").isDigit(0));
}

TEST_F(HostTest, StringsAreTheSameInEveryLocaleIfTheApplicationSaysSo) {
    const kelhost::Host host({.strSupport = kelhost::makeInvariantStrSupport});
    const KelString text(u"na\u00EFve \u20AC");
    EXPECT_STREQ(text.narrow(), "na\xC3\xAFve \xE2\x82\xAC");
    EXPECT_LT(KelString(u"Zoe"), KelString(u"amy"));
    EXPECT_LT(KelString(u"z"), KelString(u"\u00E4"));
    EXPECT_EQ(KelString(u"az{ \u00DF").toUpper(), u"AZ{ \u00DF");
    EXPECT_EQ(KelString(u"AZ[ \u0391").toLower(), u"az[ \u0391");
    EXPECT_EQ(KelString(u"e\u0301\t\r b").mapWhitespace(u'_'), u"e\u0301___b");
    EXPECT_FALSE(KelString(u"\u2003").isSpace(0));
    EXPECT_TRUE(KelString(u"9").isDigit(0) && !KelString(u":").isDigit(0) &&
                !KelString(u"\u0664").isDigit(0));
}

TEST_F(HostTest, OrdersTextsAsTheLocaleDoesAndDistinguishesAll) {
    struct Row {
        const char* locale;
        const char16_t* smaller;
        const char16_t* larger;
    };
    constexpr std::array kRows{
        Row{"de", u"apple", u"Banana"},   Row{"de", u"r\u00E9sum\u00E9", u"rsvp"}, Row{"de", u"\u00E4", u"z"},
        Row{"sv", u"z", u"\u00E4"},       Row{"en_US_POSIX", u"Banana", u"apple"}, Row{"de", u"", u"a"},
        Row{"de", u"e\u0301", u"\u00E9"},  // one looks like the other, and they are different texts all the
                                           // same
    };
    for (const Row& row : kRows) {
        SCOPED_TRACE(row.locale + (' ' + kelhost::toUtf8(KelString(row.larger))));
        const IPtr<kelhost::LocaleStrSupport> support(new kelhost::LocaleStrSupport(row.locale));
        EXPECT_LT(support->compare(row.smaller, row.larger), 0);
        EXPECT_GT(support->compare(row.larger, row.smaller), 0);
        EXPECT_EQ(support->compare(row.larger, row.larger), 0);
    }
}

TEST_F(HostTest, StandardServicesAreReplacedAndLeftOutAtWill) {
    kelhost::Host host;
    EXPECT_THAT(host.serviceNames(), ElementsAre("IBucketMemoryPool", "IDataStore", "IKelAssertHandlerCB",
                                                 "IKelDirService", "IKelErrorService", "IKelMManager",
                                                 "IKelStrSupport", "IKelTranslatorService", "IMemChecker"));
    for (const std::string& name : host.serviceNames()) {
        void* part = nullptr;
        EXPECT_EQ(host.manager().lookupService(name, &part), 1) << name;
        EXPECT_NE(part, nullptr) << name;
    }
    const SPtr<IKelErrorService> standard;
    const IPtr<NoteTaker> mine(new NoteTaker);
    host.offer("IKelErrorService", *mine);
    EXPECT_EQ(SPtr<IKelErrorService>().get(), mine.get());
    EXPECT_THAT(hostErrorOf([&] { host.offer("IKelErrorService", *mine); }), HasSubstr("offered already"));
    testing::internal::CaptureStderr();
    standard->report(KelString(u"still here"), 1, "");
    EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("still here"))
        << "what was lent stays good";

    host.leaveOut("IKelErrorService");
    host.leaveOut("IKelStrSupport");
    host.leaveOut("no such service");
    EXPECT_FALSE(SPtr<IKelErrorService>());
    const KelString naive(u"na\u00EFve");
    EXPECT_STREQ(naive.narrow(), "nave") << "the fallback without string support";
    host.offer("IKelErrorService", *mine);  // the name is free again
}

TEST_F(HostTest, StartsWithTheSettingsOfAFileAndPassesThemOn) {
    const kel::test::TemporaryFolder folder;
    kelhost::HostOptions options;
    options.settingsFile = folder.write("app.settings", "[Memory]\nMemLimit = 5000\n");
    kelhost::Host host(options);
    const IPtr<MemLimitListener> limit(new MemLimitListener);
    EXPECT_EQ(limit->limitInBytes(), 5000);
    host.settings().set("Memory/MemLimit", "6000");
    EXPECT_EQ(limit->limitInBytes(), 6000);
    host.settings().remove("Memory/MemLimit");
    EXPECT_EQ(limit->limitInBytes(), 0) << "as for a setting that is missing";

    host.directories().set("temp", "/of/the/host");
    KelString path;
    kel::makeTempFileName(path);
    EXPECT_THAT(kelhost::toUtf8(path), ::testing::StartsWith("/of/the/host\\kel-"));
    host.settings().set("Directories/Temp Directory", "/of/the/user");
    kel::makeTempFileName(path);
    EXPECT_THAT(kelhost::toUtf8(path), ::testing::StartsWith("/of/the/user\\kel-"));

    options.settingsFile = folder.write("bad.settings", "nonsense");
    EXPECT_THROW(kelhost::Host{options}, kelhost::SettingsError);
}

TEST_F(HostTest, LoadsAFolderAndSaysWhatItRejected) {
    namespace fs = std::filesystem;
    const kel::test::TemporaryFolder folder;
    const auto pathOf = [&](const char* stem) {
        return folder.pathOf(stem + std::string(kel::test::kLibrarySuffix));
    };
    fs::create_directory(pathOf("folder"));
    folder.write("notes.txt", "no library");
    folder.write(std::string("junk") + kel::test::kLibrarySuffix, "no library, whatever its name says");
    fs::copy_file(KEL_COMPONENT, pathOf("component"));
    fs::copy_file(KEL_LIBRARY_WITHOUT_ENTRY, pathOf("odd"));
    kelhost::Host host;
    const kelhost::LoadedFolder loaded = host.loadFolder(folder.path());
    ASSERT_EQ(loaded.components.size(), 1u);
    EXPECT_EQ(loaded.components[0].name(), "msxml_parser");
    std::vector<std::string> rejected;
    for (const kelhost::RejectedLibrary& library : loaded.rejected) {
        rejected.push_back(library.library.stem().string());
        EXPECT_THAT(library.reason, HasSubstr(rejected.back() == "odd" ? "EntryPoint" : rejected.back()));
    }
    EXPECT_THAT(rejected, ElementsAre("junk", "odd"));
    EXPECT_EQ(host.components().size(), 1u);
    EXPECT_THAT(hostErrorOf([&] { (void)host.loadFolder(folder.pathOf("missing")); }), HasSubstr("missing"));
    EXPECT_THAT(hostErrorOf([&] { (void)host.loadFolder(folder.pathOf("notes.txt")); }),
                HasSubstr("notes.txt"));
    EXPECT_THAT(hostErrorOf([&] { host.load(folder.path()); }), HasSubstr("is a folder"));
}

TEST_F(HostTest, LoadsALibraryOfManyLinksOnce) {
    namespace fs = std::filesystem;
    const kel::test::TemporaryFolder folder;
    std::error_code noLinks;
    fs::create_symlink(KEL_COMPONENT, folder.pathOf("component.so"), noLinks);
    if (noLinks) GTEST_SKIP() << "symbolic links: " << noLinks.message();
    fs::create_symlink(KEL_COMPONENT, folder.pathOf("component.so.6"));
    fs::create_symlink("nowhere", folder.pathOf("lost.so.1.2"));
    kelhost::Host host;
    const kelhost::LoadedFolder loaded = host.loadFolder(folder.path());
    EXPECT_EQ(loaded.components.size(), 1u);
    ASSERT_EQ(loaded.rejected.size(), 1u);
    EXPECT_EQ(loaded.rejected[0].library.filename(), "lost.so.1.2");
    EXPECT_THAT(loaded.rejected[0].reason, HasSubstr("lost.so.1.2"));
}

TEST_F(HostTest, RejectsWhatIsNoComponent) {
    struct Row {
        const char* library;
        const char* reason;
    };
    constexpr std::array kRows{
        Row{"no/such/library.so", "no/such/library.so"},
        Row{KEL_TEST_SOURCE_FILE, "host_test.cpp"},
        Row{KEL_LIBRARY_WITHOUT_ENTRY, "EntryPoint"},
        Row{KEL_LIBRARY_THAT_FAILS, "EntryPoint made no component"},
        Row{KEL_LIBRARY_WITHOUT_COMPONENT, "EntryPoint made no component"},
        Row{KEL_LIBRARY_OF_OTHER_PROTOCOL, "protocol version 99"},
    };
    kelhost::Host host;
    for (const Row& row : kRows) {
        EXPECT_THAT(hostErrorOf([&] { (void)host.load(row.library); }), HasSubstr(row.reason)) << row.library;
    }
}

}  // namespace
