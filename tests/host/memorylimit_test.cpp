// The memory limit, the figures by pool, the renderer, and receivers of settings that come and go.
#include <atomic>
#include <cmath>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "KelBasicTypes/ibucketmemorypool.h"
#include "KelBasicTypes/ikeldirservicev2.h"
#include "KelBasicTypes/oxadatareceiver.h"
#include "KelBasicTypes/platform/processmemory.h"
#include "framework/object/iptr.h"
#include "host/directoryservice.h"
#include "host/errorservice.h"
#include "host/host.h"
#include "host/memory.h"
#include "host/memorylimit.h"
#include "host/rendereradapter.h"
#include "host/settings.h"
#include "host/text.h"
#include "tests/support/temporaryfolder.h"

namespace {

using kelhost::MemoryLimit;
using kelhost::MemoryManager;
using kelhost::Settings;

TEST(MemoryLimitTest, CrossingItReclaimsAndReportsOnce) {
    const IPtr<Settings> settings(new Settings);
    const IPtr<MemoryManager> manager(new MemoryManager(0));
    std::uint64_t inUse = 0;
    int reclaimed = 0;
    std::vector<std::string> reports;
    manager->addReclaimer([&] { return ++reclaimed, std::size_t{1}; });
    manager->addReclaimer([&] { return ++reclaimed, std::size_t{1}; });
    static MemoryLimit* limit = nullptr;  // never destroyed
    limit = new MemoryLimit(
        *settings, *manager, [&] { return inUse; },
        [&](std::uint64_t used, std::int64_t max) {
            reports.push_back(std::to_string(used) + '>' + std::to_string(max));
            limit->check();  // comes back while a look is under way
        });
    const struct {
        const char* setting;
        std::uint64_t inUse;
        bool isBelow;
        int reclaimed;
        std::size_t reports;
    } kSteps[] = {
        {"", 5000, true, 0, 0},                                    // no limit
        {"1000", 1000, true, 0, 0},                                // at it
        {"1000", 1001, false, 2, 1}, {"1000", 2000, false, 4, 1},  // still above: no second report
        {"1000", 950, true, 4, 1},   {"1000", 1001, false, 6, 1},  // not far enough below
        {"1000", 900, true, 6, 1},   {"1000", 1001, false, 8, 2},
        {"-1", 5000, true, 8, 2},    {"text", 5000, true, 8, 2},
    };
    for (const auto& step : kSteps) {
        SCOPED_TRACE(std::string(step.setting) + ' ' + std::to_string(step.inUse));
        settings->set("Memory/MemLimit", step.setting);
        inUse = step.inUse;
        EXPECT_EQ(limit->check(), step.isBelow);
        EXPECT_EQ(reclaimed, step.reclaimed);
        EXPECT_EQ(reports.size(), step.reports);
    }
    EXPECT_EQ(reports.at(0), "1001>1000");
}

TEST(MemoryLimitTest, TheHostWatchesTheProcess) {
    ASSERT_GT(kel::platform::processMemoryInUse(), 0U);
    static std::atomic<int> warnings{0};  // hosts live until the process ends
    kelhost::Host host;
    host.offer("IKelErrorService", *new kelhost::ErrorService([&](const kelhost::Report& report) {
                   if (report.level == kelhost::ErrorService::kLevelWarning &&
                       report.message.find("Memory/MemLimit") != std::string::npos)
                       ++warnings;
               }));
    EXPECT_TRUE(host.checkMemoryLimit());
    host.settings().set("Memory/MemLimit", "1e15");
    EXPECT_TRUE(host.checkMemoryLimit());
    host.settings().set("Memory/MemLimit", "1");  // the watching thread may be first to see it
    while (warnings == 0) host.checkMemoryLimit();
    EXPECT_FALSE(host.checkMemoryLimit());
    host.settings().set("Memory/MemLimit", "0");
    EXPECT_TRUE(host.checkMemoryLimit());
    EXPECT_EQ(warnings, 1);
}

TEST(MemoryUsage, IsSummedOverThePools) {
    constexpr std::size_t kUnit = KelMM::IKelMManager::kUnitInBytes;
    const IPtr<MemoryManager> manager(new MemoryManager(kUnit));
    manager->addPool("cache", [](std::uint64_t& inUse, std::uint64_t& limit) {
        inUse = 2 * kUnit + 1;
        limit = 5 * kUnit;
    });
    const auto usage = manager->usageByPool();
    ASSERT_EQ(usage.size(), 2U);
    EXPECT_EQ(usage[0].name + ' ' + usage[1].name, "reserve cache");
    EXPECT_EQ(usage[1].inUse, 2 * kUnit + 1);
    EXPECT_EQ(manager->coreInUse(), 4U) << "part of a unit counts as one";
    EXPECT_EQ(manager->coreLimit(), 6U);
    ASSERT_TRUE(manager->giveMemoryBack());
    EXPECT_EQ(manager->coreInUse(), 3U) << "without the reserve";
    EXPECT_EQ(manager->reclaimAll(), 0U);
}

TEST(MemoryUsage, ListsTheBuffersThatTheHostKeeps) {
    const kelhost::Host host;
    const auto kept = [&] {
        for (const auto& pool : host.memory().usageByPool()) {
            if (pool.name == "buffers") return pool.inUse;
        }
        return std::uint64_t{0};
    };
    void* part = nullptr;
    ASSERT_EQ(host.manager().lookupService(IBucketMemoryPool::interfaceName(), &part), 1);
    const IPtr<IBucketMemoryPool> pool(static_cast<IBucketMemoryPool*>(part));
    constexpr std::int32_t kSize = 200000;  // too large for what threads keep for themselves
    std::uint32_t actual = 0;
    void* block = pool->allocate(kSize, actual);
    const std::uint64_t before = kept();
    EXPECT_TRUE(pool->giveBack(kSize, block));
    EXPECT_EQ(kept() - before, actual);
}

TEST(Renderer, PassesTheTwoCallsOn) {
    std::string calls;
    const IPtr<kelhost::RendererAdapter> renderer(
        new kelhost::RendererAdapter([&] { calls += "before "; }, [&] { calls += "after "; }));
    auto* const service = kel::queryInterface<IGfxRenderer>(renderer.get());
    service->beforeReport();
    service->afterMessageBox();
    EXPECT_EQ(calls, "before after ");
    const IPtr<kelhost::RendererAdapter> none(new kelhost::RendererAdapter(nullptr, nullptr));
    none->beforeReport();
}

TEST(DataReceiver, TakesAFunctionForEachKeyAndEndsWithItself) {
    const IPtr<Settings> settings(new Settings);
    std::string log;
    auto receiver = std::make_unique<OxaDataReceiver>(*settings);
    EXPECT_TRUE(receiver->receive("Width", [&](double) { log += "replaced "; }));
    EXPECT_TRUE(receiver->receive(
        "Width", [&](double value) { log += "w" + std::to_string(std::lround(value)) + ' '; }));
    EXPECT_TRUE(
        receiver->receive("Height", [&](double value) { log += std::isnan(value) ? "h-none " : "h "; }));
    EXPECT_TRUE(receiver->receive("Idle", nullptr));
    settings->set("Width", "80");
    settings->set("Height", "tall");
    settings->set("Idle", "1");
    EXPECT_EQ(log, "w80 h-none ");
    const std::int32_t before = settings->refCount();
    receiver.reset();
    EXPECT_LT(settings->refCount(), before) << "it kept the store alive";
    settings->set("Width", "90");
    EXPECT_EQ(log, "w80 h-none ");
    OxaDataReceiver homeless;
    (void)homeless;  // whether there is a host does not matter to its end
}

TEST(DataReceiver, MayEndInsideItsOwnFunction) {
    const IPtr<Settings> settings(new Settings);
    auto receiver = std::make_unique<OxaDataReceiver>(*settings);
    std::string calls;
    receiver->receive("Key", [&receiver, &calls, text = std::string(100, 'x')](double) {
        receiver.reset();
        calls += text.substr(0, 1);  // what the function holds is still there
    });
    settings->set("Key", "1");
    settings->set("Key", "2");
    EXPECT_EQ(calls, "x");
}

TEST(DataReceiver, ItsEndWaitsForACallOnAnotherThread) {
    for (int round = 0; round < 200; ++round) {
        const IPtr<Settings> settings(new Settings);
        auto receiver = std::make_unique<OxaDataReceiver>(*settings);
        auto target = std::make_unique<int>(0);
        receiver->receive("Key", [&](double) { ++*target; });  // a dead target is what a sanitizer sees
        std::thread changer([&] {
            for (int i = 0; i < 20; ++i) settings->set("Key", std::to_string(i));
        });
        receiver.reset();
        target.reset();
        changer.join();
    }
}

TEST(Directories, TheServiceListsMakesAndEntersThem) {
    const kel::test::TemporaryFolder folder;
    const IPtr<kelhost::DirectoryService> service(new kelhost::DirectoryService);
    auto* const folders =
        kel::queryInterface<IKelDirServiceV2>(kel::queryInterface<IKelDirService>(service.get()));
    ASSERT_NE(folders, nullptr);
    const KelString made = kelhost::fromUtf8(folder.pathOf("a/b"));
    EXPECT_TRUE(folders->create(made));
    kel::DirectoryListing listing;
    EXPECT_TRUE(folders->list(kelhost::fromUtf8(folder.pathOf("a")), {}, listing));
    ASSERT_EQ(listing.entries.size(), 1U);
    EXPECT_TRUE(listing.entries[0].name == u"b");
    EXPECT_FALSE(folders->list(kelhost::fromUtf8(folder.pathOf("none")), {}, listing));
    EXPECT_TRUE(listing.entries.empty());
    EXPECT_FALSE(folders->change(kelhost::fromUtf8(folder.pathOf("none"))));
}

}  // namespace
