// What becomes of a named mutex when the processes that hold it end.
#include <gtest/gtest.h>

#include <string>
#include <thread>

#include "KelBasicTypes/kelmutex.h"
#include "KelBasicTypes/platform/process.h"
#include "tests/support/process.h"

using kel::test::Companion;

namespace {

// Test programs that run at the same time must not meet.
std::string uniqueName(const char* stem) {
    return std::string("Kel test/") + stem + std::to_string(kel::platform::processId());
}

// Another process that holds the mutex until it is killed.
class Owner final {
public:
    Owner(const char* how, const std::string& name) : process_({KEL_MUTEX_HOLDER, how, name}) {
        EXPECT_TRUE(process_.readLine().starts_with("held"));
    }
    void kill() { process_.kill(); }

private:
    Companion process_;
};

}  // namespace

TEST(KelMutex, SurvivesTheDeathOfAnOwningProcess) {
    const std::string name = uniqueName("survivor");
    KelMutex ours;
    ASSERT_TRUE(ours.create(name.c_str()));
    for (const bool withLimit : {false, true}) {
        Owner owner("open", name);
        EXPECT_FALSE(ours.tryLock());
        EXPECT_FALSE(ours.timedLock(0.002));
        owner.kill();
        EXPECT_FALSE(withLimit ? ours.timedLock(1) : ours.tryLock()) << "abandoned counts as not acquired";
        EXPECT_TRUE(withLimit ? ours.timedLock(1) : ours.tryLock()) << "and does not wedge the next caller";
        EXPECT_TRUE(ours.unlock());
    }
    Owner owner("open", name);
    std::thread killer([&] { owner.kill(); });
    EXPECT_TRUE(ours.lock());  // sleeping on it while its owner dies
    killer.join();
    EXPECT_TRUE(ours.unlock());
}

TEST(KelMutex, ANameLeftByDeadProcessesHasNoOwner) {
    const std::string name = uniqueName("leftover");
    Owner owner("create", name);
    KelMutex mutex;
    EXPECT_TRUE(mutex.open(name.c_str()));
    EXPECT_TRUE(mutex.close());
    owner.kill();
    EXPECT_FALSE(mutex.open(name.c_str()));
    ASSERT_TRUE(mutex.create(name.c_str()));
    EXPECT_TRUE(mutex.tryLock()) << "a new mutex of an old name is not owned";
    EXPECT_TRUE(mutex.unlock());
}
