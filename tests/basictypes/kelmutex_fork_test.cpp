// Named mutexes where processes fork, and blocks of their names that are not what they should be.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <string>

#include "KelBasicTypes/kelmutex.h"
#include "childprocess.h"

using kel::test::ChildProcess;

namespace {

// What a parent and its children look at together.
struct Shared {
    std::atomic<int> step;
    std::atomic<long> unguarded;  // read and written apart, so that two at once lose a count
};

class KelMutexFork : public testing::Test {
protected:
    KelMutexFork()
        : shared_(new (mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1,
                            0)) Shared) {}
    ~KelMutexFork() override {
        munmap(shared_, sizeof(Shared));
        shm_unlink(path_.c_str());
    }
    void await(int step) const {
        while (shared_->step < step) usleep(100);
    }

    const std::string name_ = "kel-test-" + std::to_string(getpid());
    const std::string path_ = "/kel-" + std::to_string(geteuid()) + "-" + name_;
    Shared* const shared_;
};

// A file where the block of the name should be, as large as one, of zeros.
class Planted final {
public:
    Planted(const std::string& path, mode_t mode)
        : file_(shm_open(path.c_str(), O_RDWR | O_CREAT | O_EXCL, 0600)) {
        EXPECT_EQ(fchmod(file_, mode), 0);
        EXPECT_EQ(ftruncate(file_, 4096), 0);
    }
    Planted(const Planted&) = delete;
    Planted& operator=(const Planted&) = delete;
    ~Planted() { close(file_); }
    [[nodiscard]] int file() const { return file_; }

private:
    int file_;
};

}  // namespace

TEST_F(KelMutexFork, AChildThatClosesLeavesTheNameToItsParent) {
    KelMutex ours;
    ASSERT_TRUE(ours.create(name_.c_str()));
    ChildProcess child([&] { ours.close(); });
    EXPECT_EQ(child.waitForStatus(), ChildProcess::kBodyReturned);
    KelMutex other;
    EXPECT_TRUE(other.open(name_.c_str()));
}

TEST_F(KelMutexFork, AParentThatClosesLeavesTheMutexToItsChild) {
    KelMutex ours;
    ASSERT_TRUE(ours.create(name_.c_str()));
    ChildProcess child([&] {
        if (!ours.lock()) _exit(1);
        shared_->step = 1;
        await(2);
        ours.close();
    });
    await(1);
    ours.close();
    {
        KelMutex late;
        ASSERT_TRUE(late.open(name_.c_str())) << "the child holds the name";
        EXPECT_FALSE(late.tryLock()) << "and the mutex";
    }
    shared_->step = 2;
    EXPECT_EQ(child.waitForStatus(), ChildProcess::kBodyReturned);
    EXPECT_FALSE(ours.open(name_.c_str())) << "the last one to close takes the name along";
    EXPECT_LT(shm_open(path_.c_str(), O_RDWR, 0), 0);
}

// The name comes and goes while processes open it: one that got hold of a block that has lost its name since
// would exclude no other.
TEST_F(KelMutexFork, ProcessesExcludeEachOtherHoweverTheNameComesAndGoes) {
    constexpr int kRounds = 400;
    const auto work = [&] {
        for (int i = 0; i < kRounds; ++i) {
            KelMutex mutex;
            if (!mutex.create(name_.c_str()) || !mutex.lock()) _exit(1);
            shared_->unguarded = shared_->unguarded.load() + 1;
            mutex.unlock();
        }
    };
    {
        ChildProcess first(work);
        ChildProcess second(work);
        ChildProcess third(work);
        EXPECT_EQ(first.waitForStatus(), ChildProcess::kBodyReturned);
        EXPECT_EQ(second.waitForStatus(), ChildProcess::kBodyReturned);
        EXPECT_EQ(third.waitForStatus(), ChildProcess::kBodyReturned);
    }
    EXPECT_EQ(shared_->unguarded, 3 * kRounds);
}

TEST_F(KelMutexFork, ABlockWhoseMakerDiedHalfWayIsNoMutex) {
    const Planted block(path_, 0600);
    ASSERT_EQ(flock(block.file(), LOCK_SH), 0);  // as another one who waited for its maker
    KelMutex mutex;
    EXPECT_FALSE(mutex.create(name_.c_str()));
    ASSERT_EQ(flock(block.file(), LOCK_UN), 0);
    EXPECT_TRUE(mutex.create(name_.c_str())) << "no process holds it: it is made anew";
    EXPECT_TRUE(mutex.lock());
    EXPECT_TRUE(mutex.unlock());
}

TEST_F(KelMutexFork, ABlockThatOthersCanWriteOrOwnIsRejected) {
    KelMutex mutex;
    {
        const Planted writable(path_, 0666);
        EXPECT_FALSE(mutex.create(name_.c_str()));
        EXPECT_FALSE(mutex.open(name_.c_str()));
        EXPECT_EQ(fchmod(writable.file(), 0600), 0);
        if (geteuid() == 0) {  // only root can make files of other users
            constexpr uid_t kOtherOwner = 65534;
            EXPECT_EQ(fchown(writable.file(), kOtherOwner, 0), 0);
            EXPECT_FALSE(mutex.create(name_.c_str()));
        }
    }
    shm_unlink(path_.c_str());
    EXPECT_TRUE(mutex.create(name_.c_str()));
}
