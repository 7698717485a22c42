// The snapshot file, the memory status behind it and the configured limit.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "KelBasicTypes/memlimitlistener.h"
#include "KelBasicTypes/outofmemory.h"
#include "KelBasicTypes/platform/posix/memorystatusroots.h"
#include "fakeservices.h"
#include "memoryservices.h"
#include "tempdirectory.h"

using kel::platform::MemoryStatus;
using kel::platform::readMemoryStatus;
using kel::test::contentsOf;
using kel::test::TempDirectory;

namespace {

void writeFile(const std::string& path, const std::string& text) {
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    std::ofstream(path) << text;
}

}  // namespace

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
    EXPECT_THAT(log, testing::MatchesRegex(form));
}

TEST(MemoryLog, IsLeftOutWhenItCannotBeOpened) {
    FreshHost host;
    const IPtr<FakeSettings> settings(new FakeSettings);
    settings->texts["Directories/Logs Directory"] = "/nowhere/at/all";
    host->offer<IDataStore>(*settings);
    kel::writeMemorySnapshot(1);
    EXPECT_FALSE(std::filesystem::exists("memory.log"));
}

TEST(MemoryStatusContract, CountsTheTightestControlGroupAsTheMachine) {
    const TempDirectory temp;
    const std::string proc = temp.file("proc");
    const std::string groups = temp.file("cgroup");
    const kel::platform::MemoryStatusRoots roots{proc.c_str(), groups.c_str()};
    writeFile(proc + "/meminfo",
              "MemTotal:       1000 kB\nMemFree:  100 kB\nMemAvailable:    800 kB\nSwapTotal: 50 "
              "kB\nSwapFree: 20 kB\n");
    MemoryStatus status;
    const auto expect = [&](std::uint64_t total, std::uint64_t available) {
        ASSERT_TRUE(readMemoryStatus(status, roots));
        EXPECT_EQ(status.totalPhysical, total);
        EXPECT_EQ(status.availablePhysical, available);
        EXPECT_EQ(status.totalPageFile, 50U * 1024);
        EXPECT_EQ(status.totalVirtual, total + 50 * 1024);
        EXPECT_EQ(status.availableVirtual, available + 20 * 1024);
    };
    expect(1000 * 1024, 800 * 1024);

    writeFile(proc + "/self/cgroup", "3:cpu:/other\n2:memory:/job/step\n0::/unified\n");
    writeFile(groups + "/memory/job/step/memory.limit_in_bytes", "9223372036854771712\n");
    writeFile(groups + "/memory/job/memory.limit_in_bytes", "500000\n");
    writeFile(groups + "/memory/job/memory.usage_in_bytes", "300000\n");
    writeFile(groups + "/memory/job/memory.stat", "inactive_file 1\ntotal_inactive_file 100000\n");
    expect(500000, 300000);

    writeFile(groups + "/unified/memory.max", "max\n");
    expect(500000, 300000);
    writeFile(groups + "/memory.max", "400000\n");
    writeFile(groups + "/memory.current", "500000\n");
    expect(400000, 0);
}

TEST(MemLimitListener, FollowsTheSetting) {
    const IPtr<MemLimitListener> alone(new MemLimitListener);
    EXPECT_GT(alone->limitInBytes(), 0) << "what the machine has";

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
    EXPECT_EQ(listener->dataChanged("Memory/MemLimit", 1e300), 0);
    EXPECT_EQ(listener->limitInBytes(), 9223372036854775807);
    settings->receiver.reset();
}
