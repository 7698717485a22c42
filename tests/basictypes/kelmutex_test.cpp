#include "KelBasicTypes/kelmutex.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cmath>
#include <limits>
#include <string>
#include <thread>
#include <vector>

#include "KelBasicTypes/platform/process.h"

namespace {

// Test programs that run at the same time must not meet.
std::string uniqueName(const char* stem) {
    return std::string("Kel test/") + stem + std::to_string(kel::platform::processId());
}

}  // namespace

TEST(KelMutex, CutsItsTimeLimitToMillisecondsAndWaitsOneAtLeast) {
    struct Case {
        double seconds;
        std::uint32_t milliseconds;
    };
    for (const Case& c : {Case{0.0004, 1}, Case{2.5, 2500}, Case{0.0019, 1}, Case{1.9999, 1999}, Case{0, 1},
                          Case{-3, 1}, Case{std::nan(""), 1}, Case{1e300, 4294967294U}}) {
        EXPECT_EQ(KelMutex::timeoutMs(c.seconds), c.milliseconds) << c.seconds;
    }
}

TEST(KelMutex, WithoutAHandleEveryOperationReturnsFalse) {
    KelMutex mutex;
    EXPECT_TRUE(mutex.isNull());
    EXPECT_FALSE(mutex.lock());
    EXPECT_FALSE(mutex.tryLock());
    EXPECT_FALSE(mutex.timedLock(0.001));
    EXPECT_FALSE(mutex.unlock());
    EXPECT_FALSE(mutex.close());
    EXPECT_FALSE(mutex.open(uniqueName("unused").c_str()));
    EXPECT_FALSE(mutex.create(""));
    EXPECT_FALSE(mutex.create(nullptr));
    EXPECT_FALSE(mutex.create(std::string(400, 'n').c_str()));
    EXPECT_TRUE(mutex.isNull());
}

TEST(KelMutex, KeepsTheHandleItHas) {
    const std::string name = uniqueName("kept");
    KelMutex mutex;
    ASSERT_TRUE(mutex.create());
    EXPECT_FALSE(mutex.create(name.c_str()));
    EXPECT_FALSE(mutex.create());
    EXPECT_FALSE(mutex.open(name.c_str()));
    EXPECT_TRUE(mutex.lock());
    EXPECT_TRUE(mutex.unlock());
    EXPECT_TRUE(mutex.close());
    EXPECT_TRUE(mutex.create(name.c_str()));
}

TEST(KelMutex, ANameLastsAsLongAsItsLastHolder) {
    const std::string name = uniqueName("shared name \xc3\xa4");
    KelMutex first;
    KelMutex second;
    KelMutex late;
    ASSERT_TRUE(first.create(name.c_str()));
    ASSERT_TRUE(second.create(name.c_str()));
    EXPECT_TRUE(first.close());
    EXPECT_TRUE(late.open(name.c_str()));
    EXPECT_TRUE(late.close());
    EXPECT_TRUE(second.close());
    EXPECT_FALSE(late.open(name.c_str()));
}

TEST(KelMutex, HandlesOfOneNameExcludeEachOther) {
    const std::string name = uniqueName("excluding");
    std::atomic<long> unguarded{0};  // read and written apart, so that two at once lose a count
    std::vector<std::thread> threads;
    for (int t = 0; t < 3; ++t) {
        threads.emplace_back([&] {
            for (int i = 0; i < 200; ++i) {
                KelMutex mutex;  // opened and closed all the time: the name comes and goes under the others
                if (!mutex.create(name.c_str())) continue;
                mutex.lock();
                unguarded = unguarded.load() + 1;
                mutex.unlock();
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(unguarded, 600);
}

// The system's list of the mutexes that a thread holds leads through their memory.
TEST(KelMutex, ObjectsOfOneNameMayBeClosedInAnyOrderByTheThreadThatHoldsThem) {
    const std::string name = uniqueName("twice");
    KelMutex first;
    KelMutex second;
    KelMutex another;
    ASSERT_TRUE(first.create(name.c_str()) && second.open(name.c_str()) && another.create());
    EXPECT_TRUE(first.lock());
    EXPECT_TRUE(second.lock());
    EXPECT_TRUE(first.close());
    EXPECT_TRUE(another.lock());
    std::thread([&] { EXPECT_FALSE(second.tryLock()) << "still held by what was not closed"; }).join();
    EXPECT_TRUE(second.unlock());
    EXPECT_TRUE(another.unlock());
    std::thread([&] {
        EXPECT_TRUE(second.tryLock());
        EXPECT_TRUE(second.unlock());
    }).join();
}

TEST(KelMutex, ATimedLockWaitsAsLongAsItSays) {
    KelMutex mutex;
    ASSERT_TRUE(mutex.create());
    std::atomic<bool> isHeld{false};
    std::thread owner([&] {
        mutex.lock();
        isHeld = true;
        std::this_thread::sleep_for(std::chrono::milliseconds(30));
        mutex.unlock();
    });
    while (!isHeld) std::this_thread::yield();
    EXPECT_TRUE(mutex.timedLock(60)) << "gave up before its minute was over";
    mutex.unlock();
    owner.join();
}
