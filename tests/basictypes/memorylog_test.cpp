// The snapshot file and the configured limit.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <string>
#include <utility>

#include "KelBasicTypes/memlimitlistener.h"
#include "KelBasicTypes/outofmemory.h"
#include "KelBasicTypes/platform/memorystatus.h"
#include "fakeservices.h"
#include "memoryservices.h"
#include "tempdirectory.h"
#include "tests/support/matching.h"

using kel::test::contentsOf;
using kel::test::matches;
using kel::test::TempDirectory;

TEST(MemoryLog, ShowsTheFiguresOfCheckerAndManager) {
    const TempDirectory temp;
    FreshHost host;
    const IPtr<FakeSettings> settings(new FakeSettings);
    const IPtr<FakeMemChecker> checker(new FakeMemChecker);
    const IPtr<FakeManager> manager(new FakeManager);
    settings->texts["Directories/Logs Directory"] = temp.path();
    host->offer<IDataStore>(*settings);
    host->offer<IMemChecker>(*checker);
    host->offer<KelMM::IKelMManager>(*manager);
    kel::writeMemorySnapshot(123456);
    EXPECT_EQ(contentsOf(temp.file("memory.log")),
              "attempted:         123456b\n"
              "\n"
              "system free:        10000k\n"
              "system total:       20000k\n"
              "swap free:              1k\n"
              "swap total:       120563270k\n"
              "\n"
              "kelmm core now:        24k\n"
              "kelmm core limit:     240k\n"
              "kelmm swap now:   96000000000k\n"
              "kelmm swap limit:     480k\n"
              "\n");

    checker->knows = false;
    kel::writeMemorySnapshot(0);
    const std::string log = contentsOf(temp.file("memory.log"));
    EXPECT_EQ(log.rfind("system free:      ", 0), 0U)
        << "replaced, and without a size when none was attempted\n"
        << log;
    EXPECT_EQ(log.find("system total:       20000k"), std::string::npos) << log;
}

TEST(MemoryLog, HasTheSystemsFiguresWithoutServices) {
    const TempDirectory temp;
    const auto before = std::filesystem::current_path();
    std::filesystem::current_path(temp.path());
    kel::writeMemorySnapshot(7);
    std::filesystem::current_path(before);
    const std::string log = contentsOf(temp.file("memory.log"));
    const std::string form(
        "attempted:              7b\n\n"
        "system free:       *[0-9]+k\nsystem total:      *[0-9]+k\n"
        "swap free:         *[0-9]+k\nswap total:        *[0-9]+k\n\n"
        "kelmm not available\n\n");
    EXPECT_TRUE(matches(log, form));
}

TEST(MemoryLog, IsLeftOutWhenItCannotBeOpened) {
    FreshHost host;
    const IPtr<FakeSettings> settings(new FakeSettings);
    settings->texts["Directories/Logs Directory"] = "/nowhere/at/all";
    host->offer<IDataStore>(*settings);
    kel::writeMemorySnapshot(1);
    EXPECT_FALSE(std::filesystem::exists("memory.log"));
}

TEST(MemLimitListener, FollowsTheSetting) {
    const IPtr<MemLimitListener> alone(new MemLimitListener);
    kel::platform::MemoryStatus machine;
    ASSERT_TRUE(kel::platform::readMemoryStatus(machine));
    EXPECT_EQ(alone->limitInBytes(),
              static_cast<std::int64_t>(std::max(machine.totalPhysical, machine.totalVirtual)));

    FreshHost host;
    const IPtr<FakeSettings> settings(new FakeSettings);
    host->offer<IDataStore>(*settings);
    const IPtr<MemLimitListener> unset(new MemLimitListener);
    EXPECT_EQ(unset->limitInBytes(), 0);
    EXPECT_EQ(settings->receiver.get(), kel::queryInterface<IKelDataReceiver>(unset.get()));
    EXPECT_EQ(settings->receiverKey, "Memory/MemLimit");

    settings->numbers["Memory/MemLimit"] = 5e9 + 0.9;
    const IPtr<MemLimitListener> listener(new MemLimitListener);
    EXPECT_EQ(listener->limitInBytes(), 5'000'000'000);
    EXPECT_EQ(listener->dataChanged("Memory/MemLimit", -2.5), 0);
    EXPECT_EQ(listener->limitInBytes(), -2);
    EXPECT_NE(listener->dataChanged("Memory/Memlimit", 99), 0);
    EXPECT_EQ(listener->limitInBytes(), -2);
    constexpr std::int64_t kMax = 9223372036854775807;
    const std::pair<double, std::int64_t> kExtremes[] = {{1e300, kMax},
                                                         {9223372036854775808.0, kMax},
                                                         {9223372036854774784.0, 9223372036854774784},
                                                         {-9223372036854775808.0, -kMax - 1},
                                                         {-1e300, -kMax - 1},
                                                         {std::nan(""), 0}};
    for (const auto& [value, limit] : kExtremes) {
        EXPECT_EQ(listener->dataChanged("Memory/MemLimit", value), 0);
        EXPECT_EQ(listener->limitInBytes(), limit) << value;
    }
    settings->receiver.reset();
}
