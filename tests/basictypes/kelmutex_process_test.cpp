// What becomes of a named mutex when the processes that hold it end.
#include <gtest/gtest.h>

#include <string>
#include <thread>

#include "KelBasicTypes/kelmutex.h"
#include "childprocess.h"

using kel::test::ChildProcess;
using kel::test::Signpost;

namespace {

// Test programs that run at the same time must not meet.
std::string uniqueName(const char* stem) {
    return std::string("Kel test/") + stem + std::to_string(getpid());
}

}  // namespace

TEST(KelMutex, SurvivesTheDeathOfAnOwningProcess) {
    const std::string name = uniqueName("survivor");
    KelMutex ours;
    ASSERT_TRUE(ours.create(name.c_str()));
    for (const bool withLimit : {false, true}) {
        Signpost held;
        ChildProcess owner([&] {
            KelMutex theirs;
            if (!theirs.open(name.c_str()) || !theirs.lock()) _exit(1);
            held.reach();
            pause();
        });
        held.await();
        EXPECT_FALSE(ours.tryLock());
        EXPECT_FALSE(ours.timedLock(0.002));
        owner.kill();
        EXPECT_FALSE(withLimit ? ours.timedLock(1) : ours.tryLock()) << "abandoned counts as not acquired";
        EXPECT_TRUE(withLimit ? ours.timedLock(1) : ours.tryLock()) << "and does not wedge the next caller";
        EXPECT_TRUE(ours.unlock());
    }
    Signpost held;
    ChildProcess owner([&] {
        KelMutex theirs;
        if (!theirs.open(name.c_str()) || !theirs.lock()) _exit(1);
        held.reach();
        pause();
    });
    held.await();
    std::thread killer([&] { owner.kill(); });
    EXPECT_TRUE(ours.lock());  // sleeping on it while its owner dies
    killer.join();
    EXPECT_TRUE(ours.unlock());
}

TEST(KelMutex, ANameLeftByDeadProcessesIsNobodys) {
    const std::string name = uniqueName("leftover");
    Signpost held;
    ChildProcess owner([&] {
        KelMutex theirs;
        if (!theirs.create(name.c_str()) || !theirs.lock()) _exit(1);
        held.reach();
        pause();
    });
    held.await();
    KelMutex mutex;
    EXPECT_TRUE(mutex.open(name.c_str()));
    EXPECT_TRUE(mutex.close());
    owner.kill();
    EXPECT_FALSE(mutex.open(name.c_str()));
    ASSERT_TRUE(mutex.create(name.c_str()));
    EXPECT_TRUE(mutex.tryLock()) << "a new mutex of an old name is not owned";
    EXPECT_TRUE(mutex.unlock());
}

TEST(KelMutex, AForkedChildThatClosesLeavesTheNameToItsParent) {
    const std::string name = uniqueName("forked");
    KelMutex ours;
    ASSERT_TRUE(ours.create(name.c_str()));
    ChildProcess child([&] { ours.close(); });
    EXPECT_EQ(child.waitForStatus(), ChildProcess::kBodyReturned);
    KelMutex other;
    EXPECT_TRUE(other.open(name.c_str()));
}
