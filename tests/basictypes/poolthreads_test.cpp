// Threads share a pool although each keeps blocks by itself: what one gave back is never lost to the others.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <future>
#include <mutex>
#include <random>
#include <set>
#include <thread>
#include <vector>

#include "KelBasicTypes/bucketmemorypool.h"
#include "KelBasicTypes/buffers.h"
#include "KelBasicTypes/detail/blockheader.h"
#include "failingheap.h"
#include "fakeservices.h"
#include "memoryservices.h"
#include "tests/support/rendezvous.h"

using kel::giveBackBuffer;
using kel::takeBuffer;
using kel::detail::headerOf;
using kel::test::FailingHeap;
using kel::test::Rendezvous;

namespace {

constexpr int kTakesBetweenLookups = 601;
constexpr std::size_t kSize = 1000;  // of a class that nothing else here uses

class PoolThreads : public testing::Test {
protected:
    PoolThreads() { kel::detail::resetBufferPool(); }
    ~PoolThreads() override { kel::detail::resetBufferPool(); }
};

std::vector<void*> takeMany(int count) {
    std::vector<void*> blocks;
    std::int32_t capacity = 0;
    for (int i = 0; i < count; ++i) blocks.push_back(takeBuffer(kSize, capacity));
    return blocks;
}

void giveBackAll(const std::vector<void*>& blocks) {
    for (void* const block : blocks) giveBackBuffer(kSize, block);
}

// Takes and gives back without anything to keep.
void use(int takes) {
    std::int32_t capacity = 0;
    for (int i = 0; i < takes; ++i) {
        void* const block = takeBuffer(50, capacity);
        giveBackBuffer(capacity, block);
    }
}

// A thread that has given blocks back, or done anything else, and lives on until it is let go.
class Idle final {
public:
    template <class Work>
    explicit Idle(Work work)
        : thread_([this, work] {
              work();
              ready_.arriveAndWait();
              end_.arriveAndWait();
          }) {
        ready_.arriveAndWait();
    }
    Idle(const Idle&) = delete;
    Idle& operator=(const Idle&) = delete;
    ~Idle() {
        end_.arriveAndWait();
        thread_.join();
    }

private:
    Rendezvous ready_{2};
    Rendezvous end_{2};
    std::thread thread_;
};

// Counts as a host of several threads must.
class SharedHost final : public kel::Implements<SharedHost, IKelComponentManager> {
public:
    static constexpr const char* kClassName = "SharedHost";

    SharedHost() { kel::hostCore = this; }
    ~SharedHost() override { kel::detail::resetHostLink(); }

    std::int32_t lookupService(const std::string& name, void** out) override {
        if (name != IBucketMemoryPool::interfaceName() || pool == nullptr) return 0;
        ++lookups;
        *out = pool.load();
        return 1;
    }
    std::int32_t testStatus() override { return 0; }
    void incrementCount(std::int32_t* count) override { std::atomic_ref(*count).fetch_add(1); }
    bool decrementCount(std::int32_t* count) override { return std::atomic_ref(*count).fetch_sub(1) == 1; }
    IKelComponentContainer* container(const std::string&, std::int32_t) override { return nullptr; }

    std::atomic<IBucketMemoryPool*> pool{nullptr};
    std::atomic<int> lookups{0};
};

// Frees blocks of its own, and counts them.
struct CountingAllocator final : kel::detail::BlockAllocator {
    void freeBlock(void* block) noexcept override {
        std::free(headerOf(block));
        ++freed;
    }
    void* make() {
        void* const storage = std::malloc(sizeof(kel::detail::BlockHeader) + kSize);
        return new (storage) kel::detail::BlockHeader{this} + 1;
    }
    std::atomic<int> freed{0};
};

// Waits for another thread that uses strings.
class Reclaiming final : public kel::Implements<Reclaiming, KelMM::IKelMManager> {
public:
    static constexpr const char* kClassName = "Reclaiming";
    bool giveMemoryBack() override {
        other = std::async(std::launch::async, [] { giveBackAll(takeMany(3)); });
        isReached = other.wait_for(std::chrono::seconds(5)) == std::future_status::ready;
        return true;
    }
    std::uint32_t coreLimit() override { return 0; }
    std::uint32_t swapLimit() override { return 0; }
    std::uint32_t swapInUse() override { return 0; }
    std::uint32_t coreInUse() override { return 0; }
    std::future<void> other;
    bool isReached = false;
};

}  // namespace

TEST_F(PoolThreads, GetBackWhatTheyGaveBackLast) {
    const std::vector<void*> blocks = takeMany(2);
    giveBackBuffer(kSize, blocks[0]);
    const Idle other([&] { giveBackBuffer(kSize, blocks[1]); });
    std::int32_t capacity = 0;
    void* const block = takeBuffer(kSize, capacity);
    EXPECT_EQ(block, blocks[0]);
    giveBackBuffer(capacity, block);
}

TEST_F(PoolThreads, LeaveTheirBlocksToOthersWhenTheyEnd) {
    const std::vector<void*> blocks = takeMany(40);
    std::thread([&] { giveBackAll(blocks); }).join();
    std::vector<void*> again = takeMany(40);
    EXPECT_EQ(std::set(again.begin(), again.end()), std::set(blocks.begin(), blocks.end()));
    giveBackAll(again);
}

// What one thread gives back and never takes itself must come to the others before it is a burden.
TEST_F(PoolThreads, KeepNoMoreThanTheirShare) {
    constexpr int kBlocks = 5000;
    constexpr int kShare = 512 * 1024 / kSize;
    const std::vector<void*> blocks = takeMany(kBlocks);
    const Idle other([&] { giveBackAll(blocks); });
    int requests = 0;
    const FailingHeap heap([&](const FailingHeap::Request&) {
        ++requests;
        return false;
    });
    giveBackAll(takeMany(kBlocks));
    EXPECT_LE(requests, kShare);
}

TEST_F(PoolThreads, AreEmptiedByTheSwitchToTheHostsPool) {
    const std::vector<void*> blocks = takeMany(40);
    const Idle other([&] { giveBackAll(blocks); });
    FreshHost host;
    const IPtr<BucketMemoryPool> hostPool(new BucketMemoryPool(8));
    host->offer<IBucketMemoryPool>(*hostPool);
    use(kTakesBetweenLookups);
    std::set<void*> found;
    std::uint32_t actual = 0;
    for (std::size_t i = 0; i < blocks.size(); ++i) found.insert(hostPool->allocate(kSize, actual));
    EXPECT_EQ(found, std::set(blocks.begin(), blocks.end()));
    giveBackAll({found.begin(), found.end()});
    kel::detail::resetBufferPool();
}

TEST_F(PoolThreads, AreEmptiedByTheNextPool) {
    const std::vector<void*> blocks = takeMany(40);
    const Idle other([&] { giveBackAll(blocks); });
    const IPtr<BucketMemoryPool> successor(new BucketMemoryPool);
    std::vector<void*> again = takeMany(40);
    std::reverse(again.begin(), again.end());
    EXPECT_EQ(again, blocks) << "the last one that came back first";
    giveBackAll(again);
}

TEST_F(PoolThreads, AreEmptiedWhenThePoolIsDestroyed) {
    CountingAllocator allocator;
    IPtr<BucketMemoryPool> pool(new BucketMemoryPool(8));
    const auto giveOne = [&] {
        void* block = allocator.make();
        pool->giveBack(kSize, block);
    };
    giveOne();
    const Idle first(giveOne);
    const Idle second(giveOne);
    EXPECT_EQ(allocator.freed, 0);
    pool.reset();
    EXPECT_EQ(allocator.freed, 3);
}

// A successor that its maker drops at once is held by the current pool alone, and ends while others use it.
TEST_F(PoolThreads, UseAPoolWhileItIsReplaced) {
    std::atomic<bool> isOver{false};
    std::atomic<bool> isIntact{true};
    SharedHost host;
    const auto work = [&](unsigned seed) {
        struct Block {
            unsigned char* at = nullptr;
            std::int32_t capacity = 0;
        };
        std::array<Block, 8> blocks{};
        std::mt19937 random(seed);
        while (!isOver) {
            Block& block = blocks[random() % blocks.size()];
            if (block.at != nullptr && (block.at[0] != seed || block.at[block.capacity - 1] != seed))
                isIntact = false;
            giveBackBuffer(block.capacity, block.at);
            block.at = static_cast<unsigned char*>(takeBuffer(1 + random() % 300, block.capacity));
            std::memset(block.at, static_cast<int>(seed), static_cast<std::size_t>(block.capacity));
        }
        for (const Block& block : blocks) giveBackBuffer(block.capacity, block.at);
    };
    std::vector<std::thread> threads;
    for (unsigned t = 1; t <= 3; ++t) threads.emplace_back(work, t);
    for (int round = 0; round < 200; ++round) {
        const IPtr<BucketMemoryPool> dropped(new BucketMemoryPool);
        std::thread([] { use(5); }).join();
    }
    const IPtr<BucketMemoryPool> offered(new BucketMemoryPool(8));
    host.pool = offered.get();
    while (host.lookups == 0) std::this_thread::yield();
    use(10);
    isOver = true;
    for (std::thread& thread : threads) thread.join();
    EXPECT_TRUE(isIntact);
    kel::detail::resetBufferPool();
}

// Each of several threads may be granted the takes that are missing; only those that were made count.
TEST_F(PoolThreads, LookForTheHostsPoolNeverEarly) {
    constexpr int kThreads = 4;
    constexpr int kEach = 150;
    SharedHost host;
    use(1);
    host.lookups = 0;
    const IPtr<BucketMemoryPool> offered(new BucketMemoryPool(8));
    host.pool = offered.get();
    Rendezvous together(kThreads);
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&] {
            use(1);
            together.arriveAndWait();
            use(kEach - 1);
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(host.lookups, 0);
    use(kTakesBetweenLookups);  // what is left of 601, at the latest
    EXPECT_EQ(host.lookups, 1);
    kel::detail::resetBufferPool();
}

// The lock must not be held while the heap is asked: the memory manager may have to wait for a thread that
// uses strings.
TEST_F(PoolThreads, ReachThePoolWhileAnotherWaitsForMemory) {
    use(1);
    FreshHost host;
    const IPtr<Reclaiming> manager(new Reclaiming);
    host->offer<KelMM::IKelMManager>(*manager);
    bool isFailing = false;
    std::int32_t capacity = 0;
    {
        const FailingHeap heap([&](const FailingHeap::Request& request) {
            return request.sizeInBytes > 100'000 && !std::exchange(isFailing, true);
        });
        void* const block = takeBuffer(120'000, capacity);
        giveBackBuffer(capacity, block);
        EXPECT_TRUE(manager->isReached);
        manager->other.get();
    }
}
