// The contract of the platform's synchronisation objects: every platform's implementation runs these.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>
#include <utility>
#include <vector>

#include "KelBasicTypes/platform/criticalsection.h"
#include "KelBasicTypes/platform/event.h"
#include "KelBasicTypes/platform/mutex.h"
#include "KelBasicTypes/platform/semaphore.h"
#include "tests/support/rendezvous.h"

using namespace kel::platform;

namespace {

constexpr std::int32_t kNoMaximum = 2147483647;

// Lets the other threads get to where they block. Tests hold without it; it only makes the waiting path
// likely.
void letOthersRun() {
    for (int i = 0; i < 50; ++i) std::this_thread::yield();
}

}  // namespace

TEST(CriticalSectionContract, ExcludesOthersAndLetsItsOwnerInAgain) {
    for (const std::int32_t spins : {-5, 0, 4000}) {
        SCOPED_TRACE(spins);
        CriticalSection section(spins);
        EXPECT_EQ(section.spinCount(), spins < 0 ? CriticalSection::kNoSpinCount : spins);
        long unguarded = 0;
        kel::test::Rendezvous together(4);  // threads that run one after the other would prove nothing
        std::vector<std::thread> threads;
        for (int t = 0; t < 4; ++t) {
            threads.emplace_back([&] {
                together.arriveAndWait();
                for (int i = 0; i < 20000; ++i) {
                    const SectionGuard outer(section);
                    const SectionGuard inner(section);
                    ++unguarded;
                }
            });
        }
        for (std::thread& thread : threads) thread.join();
        EXPECT_EQ(unguarded, 80000);
    }
}

TEST(CriticalSectionContract, StaysHeldUntilTheOutermostLeave) {
    CriticalSection section;
    section.enter();
    section.enter();
    section.leave();
    bool entered = true;
    std::thread([&] { entered = section.tryEnter(); }).join();
    EXPECT_FALSE(entered);
    section.leave();
    std::thread([&] {
        entered = section.tryEnter();
        if (entered) section.leave();
    }).join();
    EXPECT_TRUE(entered);
}

// The single-thread shortcut must leave a word that the first second thread respects.
TEST(CriticalSectionContract, HeldSinceBeforeTheSecondThreadItStillExcludes) {
    CriticalSection section;
    section.enter();
    std::atomic<bool> entered{false};
    std::thread other([&] {
        const SectionGuard guard(section);
        entered = true;
    });
    letOthersRun();
    EXPECT_FALSE(entered);
    section.leave();
    other.join();
    EXPECT_TRUE(entered);
}

TEST(SemaphoreContract, CountsAndRejectsMoreThanItsMaximum) {
    const auto semaphore = Semaphore::create(1, 3);
    EXPECT_FALSE(semaphore->release(3));
    EXPECT_FALSE(semaphore->release(0));
    EXPECT_FALSE(semaphore->release(-1));
    EXPECT_TRUE(semaphore->release(2));
    for (int i = 0; i < 3; ++i) EXPECT_TRUE(semaphore->tryWait());
    EXPECT_FALSE(semaphore->tryWait());
}

TEST(SemaphoreContract, LetsThroughExactlyAsManyAsReleased) {
    const auto semaphore = Semaphore::create(0, kNoMaximum);
    std::atomic<int> through{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 8; ++t) {
        threads.emplace_back([&] {
            semaphore->wait();
            ++through;
        });
    }
    letOthersRun();
    EXPECT_TRUE(semaphore->release(3));
    while (through < 3) std::this_thread::yield();
    letOthersRun();
    EXPECT_EQ(through, 3);
    EXPECT_TRUE(semaphore->release(5));
    for (std::thread& thread : threads) thread.join();
    EXPECT_FALSE(semaphore->tryWait());
}

TEST(SemaphoreContract, WakesThreadsInTheOrderInWhichTheyCame) {
    constexpr int kThreads = 5;
    const auto semaphore = Semaphore::create(0, kNoMaximum);
    const auto mutex = Mutex::create();
    std::atomic<int> lastThrough{-1};
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        std::atomic<bool> holds{false};
        threads.emplace_back([&, t] {
            EXPECT_EQ(mutex->lock(), LockResult::Acquired);
            holds = true;
            EXPECT_TRUE(semaphore->unlockAndWait(*mutex));
            lastThrough = t;
        });
        while (!holds) std::this_thread::yield();
        EXPECT_EQ(mutex->lock(), LockResult::Acquired);  // possible only after it queued
        mutex->unlock();
    }
    for (int t = 0; t < kThreads; ++t) {
        EXPECT_TRUE(semaphore->release(1));
        while (lastThrough < 0) std::this_thread::yield();
        EXPECT_EQ(lastThrough.exchange(-1), t);
    }
    for (std::thread& thread : threads) thread.join();
}

TEST(SemaphoreContract, UnlockAndWaitQueuesBeforeTheMutexIsFree) {
    for (int round = 0; round < 1000; ++round) {
        const auto semaphore = Semaphore::create(0, kNoMaximum);
        const auto mutex = Mutex::create();
        std::atomic<bool> holds{false};
        std::atomic<bool> firstThrough{false};
        std::thread first([&] {
            EXPECT_EQ(mutex->lock(), LockResult::Acquired);
            holds = true;
            EXPECT_TRUE(semaphore->unlockAndWait(*mutex));
            firstThrough = true;
        });
        while (!holds) std::this_thread::yield();
        // Possible only after the first one queued. Not asleep meanwhile: it must be there at that very
        // moment.
        while (mutex->tryLock() != LockResult::Acquired) {
        }
        EXPECT_TRUE(semaphore->release(1));
        EXPECT_FALSE(semaphore->tryWait()) << "the release was not given to the thread that queued before";
        mutex->unlock();
        first.join();
        EXPECT_TRUE(firstThrough);
    }
}

TEST(SemaphoreContract, UnlockAndWaitWithoutTheMutexTakesNothing) {
    const auto semaphore = Semaphore::create(1, kNoMaximum);
    const auto mutex = Mutex::create();
    EXPECT_FALSE(semaphore->unlockAndWait(*mutex));
    EXPECT_TRUE(semaphore->tryWait());
    EXPECT_FALSE(semaphore->unlockAndWait(*mutex));  // would have had to queue
    EXPECT_TRUE(semaphore->release(1));
    EXPECT_TRUE(semaphore->tryWait());
}

TEST(EventContract, AutoResetIsUsedUpByOneWaitManualResetByNone) {
    const auto automatic = Event::create(EventReset::Auto, false);
    EXPECT_FALSE(automatic->waitFor(0));
    automatic->set();
    automatic->set();
    EXPECT_TRUE(automatic->waitFor(0));
    EXPECT_FALSE(automatic->waitFor(1));

    const auto manual = Event::create(EventReset::Manual, true);
    manual->wait();
    EXPECT_TRUE(manual->waitFor(0));
    manual->reset();
    EXPECT_FALSE(manual->waitFor(1));
}

TEST(EventContract, WakesOneOrAllOfThoseWhoWait) {
    for (const EventReset reset : {EventReset::Auto, EventReset::Manual}) {
        const auto event = Event::create(reset, false);
        std::atomic<int> woken{0};
        std::vector<std::thread> threads;
        for (int t = 0; t < 4; ++t) {
            threads.emplace_back([&] {
                event->wait();
                ++woken;
            });
        }
        letOthersRun();
        for (int expected = 1; expected <= 4; ++expected) {
            event->set();
            while (woken < expected) std::this_thread::yield();
            EXPECT_TRUE(reset == EventReset::Manual || woken == expected);
        }
        for (std::thread& thread : threads) thread.join();
        EXPECT_EQ(event->waitFor(0), reset == EventReset::Manual);
    }
}

// The time may be over at the very moment of the set; a wait of no time makes that the rule.
TEST(EventContract, TimedWaitsMissNoSet) {
    for (const auto& [timeoutMs, sets] : {std::pair<std::uint32_t, int>{0, 20000}, {1, 300}}) {
        SCOPED_TRACE(timeoutMs);
        const auto event = Event::create(EventReset::Auto, false);
        const auto done = Event::create(EventReset::Auto, false);
        std::thread receiver([&, timeout = timeoutMs, count = sets] {
            for (int received = 0; received < count;) {
                if (!event->waitFor(timeout)) continue;
                ++received;
                done->set();
            }
        });
        bool isReceived = true;
        for (int i = 0; i < sets && isReceived; ++i) {
            event->set();
            isReceived = done->waitFor(20'000);
        }
        EXPECT_TRUE(isReceived) << "a set was lost";
        while (!isReceived && !done->waitFor(10)) event->set();  // or the receiver would never end
        receiver.join();
    }
}

TEST(MutexContract, OwnerLocksAgainOthersDoNot) {
    const auto mutex = Mutex::create();
    EXPECT_EQ(mutex->lock(), LockResult::Acquired);
    EXPECT_EQ(mutex->tryLock(), LockResult::Acquired);
    EXPECT_TRUE(mutex->unlock());
    std::thread([&] {
        EXPECT_EQ(mutex->tryLock(), LockResult::TimedOut);
        EXPECT_EQ(mutex->lockFor(1), LockResult::TimedOut);
        EXPECT_FALSE(mutex->unlock());
    }).join();
    EXPECT_TRUE(mutex->unlock());
    EXPECT_FALSE(mutex->unlock());
}

TEST(MutexContract, ReportsAnAbandonedMutexToItsNextOwner) {
    const auto mutex = Mutex::create();
    std::thread([&] { EXPECT_EQ(mutex->lock(), LockResult::Acquired); }).join();
    EXPECT_EQ(mutex->lockFor(1000), LockResult::Abandoned);
    EXPECT_TRUE(mutex->unlock());
    EXPECT_EQ(mutex->tryLock(), LockResult::Acquired);
    EXPECT_TRUE(mutex->unlock());
}

// The thread's list of held robust mutexes runs through their memory.
TEST(MutexContract, DestroyingAHeldMutexLeavesItsThreadAndOthersInOrder) {
    for (int i = 0; i < 3; ++i) {
        auto first = Mutex::create();
        auto second = Mutex::create();
        EXPECT_EQ(first->lock(), LockResult::Acquired);
        EXPECT_EQ(first->lock(), LockResult::Acquired);
        EXPECT_EQ(second->lock(), LockResult::Acquired);
        first.reset();
        EXPECT_TRUE(second->unlock());
    }
}
