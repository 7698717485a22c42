// The pool where a process forks while its threads use strings: the child's single thread finds every lock
// free, every list whole, and what the others had kept. And where threads use strings to the very end.
#include <gtest/gtest.h>
#include <pthread.h>
#include <unistd.h>

#include <atomic>
#include <set>
#include <thread>
#include <vector>

#include "KelBasicTypes/buffers.h"
#include "KelBasicTypes/detail/resetbasictypes.h"
#include "KelBasicTypes/kelstring.h"
#include "childprocess.h"

using kel::test::ChildProcess;

TEST(PoolFork, LeavesTheChildAWholePoolWhateverOtherThreadsDo) {
    constexpr unsigned kSecondsUntilItHangs = 20;
    std::atomic<bool> isOver{false};
    std::vector<std::thread> threads;
    for (int t = 0; t < 3; ++t) {
        threads.emplace_back([&] {
            while (!isOver) {
                KelString text(u"a text of the parent");
                for (int i = 0; i < 12; ++i) text.append(KelString(u" which grows and grows"));
                KelString large;
                large.reserve(9000);  // of a class that no thread keeps by itself: under the lock
            }
        });
    }
    for (int round = 0; round < 60; ++round) {
        ChildProcess child([] {
            alarm(kSecondsUntilItHangs);
            for (int i = 0; i < 200; ++i) {
                KelString text(u"a text of the child");
                for (int k = 0; k < 12; ++k) text.append(KelString(u" which grows and grows"));
                if (text.length() != 19 + 12 * 22) _exit(1);
                KelString large;
                large.reserve(9000);
            }
        });
        ASSERT_EQ(child.waitForStatus(), ChildProcess::kBodyReturned);
    }
    isOver = true;
    for (std::thread& thread : threads) thread.join();
}

TEST(PoolFork, HandsTheChildWhatOtherThreadsKept) {
    kel::detail::resetBufferPool();
    constexpr std::size_t kSize = 1000;
    std::int32_t capacity = 0;
    std::vector<void*> blocks;
    for (int i = 0; i < 20; ++i) blocks.push_back(kel::takeBuffer(kSize, capacity));
    std::atomic<bool> isKept{false};
    std::atomic<bool> isOver{false};
    std::thread other([&] {
        for (void* const block : blocks) kel::giveBackBuffer(kSize, block);
        isKept = true;
        while (!isOver) std::this_thread::yield();
    });
    while (!isKept) std::this_thread::yield();
    ChildProcess child([&] {
        std::set<void*> missing(blocks.begin(), blocks.end());
        for (std::size_t i = 0; i < blocks.size(); ++i) missing.erase(kel::takeBuffer(kSize, capacity));
        if (!missing.empty()) _exit(1);
    });
    EXPECT_EQ(child.waitForStatus(), ChildProcess::kBodyReturned);
    void* const block = kel::takeBuffer(kSize, capacity);
    EXPECT_EQ(std::set(blocks.begin(), blocks.end()).count(block), 0U)
        << "the parent's thread still has them";
    kel::giveBackBuffer(capacity, block);
    isOver = true;
    other.join();
    kel::detail::resetBufferPool();
}

// The system runs the endings of a thread in the order in which the keys were made: this one after the
// pool's.
TEST(PoolThreadEnd, StringsWorkAfterThePoolHasForgottenTheThread) {
    (void)KelString(u"makes the pool's own key").length();
    static std::atomic<std::size_t> length{0};
    pthread_key_t key{};
    ASSERT_EQ(pthread_key_create(&key,
                                 [](void*) {
                                     KelString late(u"late");
                                     length = late.append(KelString(u", and later")).length();
                                 }),
              0);
    std::thread([&] {
        (void)KelString(u"before").length();
        pthread_setspecific(key, &key);
    }).join();
    EXPECT_EQ(length, 15U);
    pthread_key_delete(key);
}
