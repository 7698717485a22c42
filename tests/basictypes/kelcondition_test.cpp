#include "KelBasicTypes/kelcondition.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <deque>
#include <memory>
#include <thread>
#include <vector>

#include "KelBasicTypes/detail/resetbasictypes.h"
#include "KelBasicTypes/kelevent.h"
#include "KelBasicTypes/kelmutex.h"
#include "environment.h"

namespace {

class Locked final {
public:
    explicit Locked(KelMutex& mutex) : mutex_(mutex) { mutex_.lock(); }
    Locked(const Locked&) = delete;
    Locked& operator=(const Locked&) = delete;
    ~Locked() { mutex_.unlock(); }

private:
    KelMutex& mutex_;
};

void joinAll(std::vector<std::thread>& threads) {
    for (std::thread& thread : threads) thread.join();
}

}  // namespace

TEST(KelCondition, BroadcastReturnsAfterEveryWaiterWoke) {
    constexpr int kWaiters = 12;
    constexpr int kRounds = 100;
    KelMutex mutex;
    ASSERT_TRUE(mutex.create());
    KelCondition condition;
    int waiting = 0;
    int round = 0;
    int wakeUps = 0;
    std::atomic<int> woken{0};  // counted when a waiter has the mutex again
    std::vector<std::thread> threads;
    for (int t = 0; t < kWaiters; ++t) {
        threads.emplace_back([&] {
            for (int mine = 1; mine <= kRounds; ++mine) {
                const Locked locked(mutex);
                ++waiting;
                while (round < mine) {
                    condition.wait(mutex);
                    ++wakeUps;
                }
                ++woken;
            }
        });
    }
    for (int mine = 1; mine <= kRounds; ++mine) {
        bool done = false;
        while (!done) {
            {
                const Locked locked(mutex);
                if (waiting == kWaiters) {
                    waiting = 0;
                    round = mine;
                    condition.broadcast();
                    // nothing waits: one that still counted as waiting would cost a wake-up
                    condition.signal();
                    done = true;
                }
            }
            std::this_thread::yield();
        }
        while (woken < mine * kWaiters) std::this_thread::yield();
    }
    joinAll(threads);
    EXPECT_EQ(woken, kWaiters * kRounds);
    EXPECT_EQ(wakeUps, kWaiters * kRounds);
}

// A waiter that is signalled alone after a broadcast must not take itself for the last of that broadcast: the
// next one would then return at once.
TEST(KelCondition, ASignalAfterABroadcastEndsNoLaterBroadcast) {
    constexpr int kRounds = 50;
    KelMutex mutex;
    ASSERT_TRUE(mutex.create());
    KelCondition condition;
    std::atomic<int> wakeUps{0};
    const auto startWaiters = [&](int count) {
        std::vector<std::thread> threads;
        for (int t = 0; t < count; ++t) {
            std::atomic<bool> holds{false};
            threads.emplace_back([&] {
                const Locked locked(mutex);
                holds = true;
                condition.wait(mutex);
                ++wakeUps;
            });
            while (!holds) std::this_thread::yield();
            const Locked queued(mutex);
        }
        return threads;
    };
    for (int round = 0; round < kRounds; ++round) {
        std::vector<std::thread> several = startWaiters(6);
        {
            const Locked locked(mutex);
            condition.broadcast();
            condition.signal();  // no thread waits
        }
        joinAll(several);
        std::vector<std::thread> alone = startWaiters(1);
        for (int i = 0; i < 20; ++i) std::this_thread::yield();
        EXPECT_EQ(wakeUps, 7 * round + 6) << "woken by what the broadcast left behind";
        condition.signal();
        joinAll(alone);
    }
}

TEST(KelCondition, SignalledQueueLosesNothing) {
    constexpr int kItems = 3000;
    constexpr int kConsumers = 6;
    KelMutex mutex;
    ASSERT_TRUE(mutex.create());
    KelCondition filled;
    std::deque<int> queue;
    long sum = 0;
    std::vector<std::thread> consumers;
    for (int t = 0; t < kConsumers; ++t) {
        consumers.emplace_back([&] {
            for (;;) {
                const Locked locked(mutex);
                while (queue.empty()) filled.wait(mutex);
                const int item = queue.front();
                queue.pop_front();
                if (item < 0) return;
                sum += item;
            }
        });
    }
    for (int i = 1; i <= kItems + kConsumers; ++i) {
        {
            const Locked locked(mutex);
            queue.push_back(i <= kItems ? i : -1);
        }
        filled.signal();
    }
    joinAll(consumers);
    EXPECT_EQ(sum, static_cast<long>(kItems) * (kItems + 1) / 2);
}

TEST(KelCondition, SignalAndBroadcastWithoutWaitersLeaveNothingBehind) {
    KelMutex mutex;
    ASSERT_TRUE(mutex.create());
    KelCondition condition;
    condition.signal();
    mutex.lock();
    condition.broadcast();
    mutex.unlock();
    std::atomic<bool> waits{false};
    std::atomic<int> wakeUps{0};
    std::thread waiter([&] {
        const Locked locked(mutex);
        waits = true;
        condition.wait(mutex);
        ++wakeUps;
    });
    while (!waits) std::this_thread::yield();
    mutex.lock();  // the waiter has queued
    EXPECT_EQ(wakeUps, 0);
    mutex.unlock();
    for (int i = 0; i < 100; ++i) std::this_thread::yield();
    EXPECT_EQ(wakeUps, 0);
    condition.signal();
    waiter.join();
}

TEST(KelCondition, MayBeDestroyedAsSoonAsItsBroadcastReturned) {
    for (int i = 0; i < 300; ++i) {
        KelMutex mutex;
        ASSERT_TRUE(mutex.create());
        auto condition = std::make_unique<KelCondition>();
        std::atomic<int> waiting{0};
        std::vector<std::thread> threads;
        for (int t = 0; t < 3; ++t) {
            threads.emplace_back([&] {
                const Locked locked(mutex);
                ++waiting;
                condition->wait(mutex);
            });
        }
        while (waiting < 3) std::this_thread::yield();
        mutex.lock();
        condition->broadcast();
        condition.reset();
        mutex.unlock();
        joinAll(threads);
    }
}

TEST(KelCondition, TimedWaitEndsByItselfAndHoldsTheMutexAgain) {
    KelMutex mutex;
    ASSERT_TRUE(mutex.create());
    KelCondition condition;
    const Locked locked(mutex);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(condition.waitFor(mutex, 0.02));
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(20));
    std::thread([&] { EXPECT_FALSE(mutex.tryLock()) << "the waiter has it"; }).join();
    condition.signal();
    condition.broadcast();  // would never return if the wait were still counted
    EXPECT_FALSE(condition.waitFor(mutex, 0));
    KelMutex free;
    ASSERT_TRUE(free.create());
    EXPECT_FALSE(condition.waitFor(free, 0.001));
    std::thread([&] { EXPECT_FALSE(free.tryLock()) << "held afterwards, if not before"; }).join();
    free.unlock();
    KelMutex none;
    EXPECT_FALSE(condition.waitFor(none, 0.001));
}

// Time-outs race with signals and broadcasts: no broadcast may wait for a thread that has given up, and no
// wake-up meant for one thread may end with another that no longer waits.
TEST(KelCondition, TimeOutsAmongWakeUpsLoseNothing) {
    constexpr int kRounds = 400;
    KelMutex mutex;
    ASSERT_TRUE(mutex.create());
    KelCondition condition;
    int round = 0;
    std::atomic<int> done{0};
    std::atomic<int> timeOuts{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 6; ++t) {
        const bool isPatient = t % 2 == 0;
        threads.emplace_back([&, isPatient] {
            for (int mine = 1; mine <= kRounds; ++mine) {
                const Locked locked(mutex);
                while (round < mine) {
                    if (isPatient) {
                        condition.wait(mutex);
                    } else if (!condition.waitFor(mutex, 0.001)) {
                        ++timeOuts;
                    }
                }
                ++done;
            }
        });
    }
    for (int mine = 1; mine <= kRounds; ++mine) {
        {
            const Locked locked(mutex);
            round = mine;
            if (mine % 2 == 0) condition.broadcast();
        }
        if (mine % 2 != 0) {
            while (done < 6 * mine) condition.signal();
        }
        while (done < 6 * mine) std::this_thread::yield();
        if (mine % 40 == 0 && mine < kRounds) {
            const int before = timeOuts;
            while (timeOuts == before) std::this_thread::yield();  // the impatient do give up
        }
    }
    joinAll(threads);
    EXPECT_GT(timeOuts, 0);
}

TEST(KelCondition, TakesItsSpinCountFromTheEnvironmentOnce) {
    struct Case {
        const char* text;
        std::int32_t spinCount;
    };
    for (const Case& c :
         {Case{"4000", 4000}, Case{"-7", -1}, Case{"0", 0}, Case{"many", 0}, Case{nullptr, -1}}) {
        SCOPED_TRACE(c.text == nullptr ? "unset" : c.text);
        kel::detail::resetSpinCount();
        kel::test::unsetVariable("KEL_SPIN_COUNT");
        if (c.text != nullptr) kel::test::setVariable("KEL_SPIN_COUNT", c.text);
        const KelCondition first;
        kel::test::setVariable("KEL_SPIN_COUNT", "12");
        const KelCondition second;
        EXPECT_EQ(first.spinCount(), c.spinCount);
        EXPECT_EQ(second.spinCount(), c.spinCount);
    }
    kel::test::unsetVariable("KEL_SPIN_COUNT");
    kel::detail::resetSpinCount();
}

TEST(KelEvent, ReleasesEveryWaiterUntilReset) {
    KelEvent event;
    EXPECT_FALSE(event.set());
    EXPECT_FALSE(event.close());
    ASSERT_TRUE(event.create());
    EXPECT_FALSE(event.create());
    EXPECT_FALSE(event.waitFor(0));
    EXPECT_TRUE(event.set());
    EXPECT_TRUE(event.waitFor(0));
    EXPECT_TRUE(event.wait());
    EXPECT_TRUE(event.reset());
    EXPECT_FALSE(event.waitFor(1));
    EXPECT_TRUE(event.close());
    EXPECT_TRUE(event.isNull());
}
