#include "KelBasicTypes/bucketmemorypool.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <future>
#include <random>
#include <thread>
#include <vector>

#include "KelBasicTypes/buffers.h"
#include "KelBasicTypes/detail/blockheader.h"
#include "KelBasicTypes/detail/resetbasictypes.h"
#include "failingheap.h"
#include "fakeservices.h"
#include "framework/object/iptr.h"

using kel::giveBackBuffer;
using kel::takeBuffer;
using kel::detail::headerOf;
using kel::test::FailingHeap;

namespace {

// The process starts without a pool and drops its pool afterwards.
class NoPoolYet {
public:
    NoPoolYet() { kel::detail::resetBufferPool(); }
    NoPoolYet(const NoPoolYet&) = delete;
    NoPoolYet& operator=(const NoPoolYet&) = delete;
    ~NoPoolYet() { kel::detail::resetBufferPool(); }
};

class BucketPool : public testing::Test {
protected:
    NoPoolYet noPool_;
    IPtr<BucketMemoryPool> pool_{new BucketMemoryPool};
};

// Takes a buffer and gives it back at once; says where it was.
void* touch(std::size_t size) {
    std::int32_t capacity = 0;
    void* const block = takeBuffer(size, capacity);
    giveBackBuffer(capacity, block);
    return block;
}

// A pool of another make: no buckets, blocks of its own allocator.
class ForeignPool final : public kel::Implements<ForeignPool, IBucketMemoryPool> {
public:
    static constexpr const char* kClassName = "ForeignPool";

    void* allocate(std::int32_t size, std::uint32_t& actualSize) override {
        ++taken;
        void* const storage = std::malloc(sizeof(kel::detail::BlockHeader) + static_cast<std::size_t>(size));
        actualSize = static_cast<std::uint32_t>(size);
        return new (storage) kel::detail::BlockHeader{&allocator} + 1;
    }
    bool giveBack(std::int32_t, void*& block) override {
        ++given;
        headerOf(block)->allocator->freeBlock(block);
        block = nullptr;
        return true;
    }

    struct Allocator final : kel::detail::BlockAllocator {
        void freeBlock(void* block) noexcept override { std::free(headerOf(block)); }
    };
    static inline Allocator allocator;
    int taken = 0;
    int given = 0;
};

}  // namespace

TEST_F(BucketPool, RoundsSizesToTheirClass) {
    struct Case {
        std::int32_t size;
        std::uint32_t actual;
    };
    for (const Case& c :
         {Case{-3, 4}, Case{0, 4}, Case{1, 4}, Case{4, 4}, Case{5, 8}, Case{8191, 8192}, Case{8192, 8192},
          Case{8193, 16384}, Case{65537, 131072}, Case{262144, 262144}, Case{262145, 262145}}) {
        SCOPED_TRACE(c.size);
        std::uint32_t actual = 0;
        void* block = pool_->allocate(c.size, actual);
        EXPECT_EQ(actual, c.actual);
        std::memset(block, 0x5A, actual);
        EXPECT_TRUE(pool_->giveBack(static_cast<std::int32_t>(actual), block));
        EXPECT_EQ(block, nullptr);
    }
}

TEST_F(BucketPool, HandsOutTheLastOneThatCameIn) {
    std::uint32_t actual = 0;
    for (const std::int32_t size :
         {6, 16000, 262144}) {           // the classes above the small limit enlarge the table
        std::array<void*, 40> blocks{};  // more than a bucket has room for at first
        for (void*& block : blocks) block = pool_->allocate(size, actual);
        const auto taken = blocks;
        for (void*& block : blocks) EXPECT_TRUE(pool_->giveBack(size, block));
        for (std::size_t i = taken.size(); i-- > 0;)
            blocks[i] = pool_->allocate(size + (size == 6 ? 1 : 0), actual);
        EXPECT_EQ(blocks, taken);
        for (void*& block : blocks) pool_->giveBack(size, block);
    }
}

TEST_F(BucketPool, RejectsNullAndSizesBelowOne) {
    std::uint32_t actual = 0;
    void* block = pool_->allocate(10, actual);
    void* const before = block;
    void* none = nullptr;
    EXPECT_FALSE(pool_->giveBack(0, block));
    EXPECT_FALSE(pool_->giveBack(-1, block));
    EXPECT_EQ(block, before);
    EXPECT_FALSE(pool_->giveBack(12, none));
    EXPECT_TRUE(pool_->giveBack(12, block));
}

TEST_F(BucketPool, IsFoundByItsNames) {
    EXPECT_EQ(kel::queryInterface<BucketMemoryPool>(pool_.get()), pool_.get());
    EXPECT_EQ(kel::queryInterface<IBucketMemoryPool>(pool_.get()), pool_.get());
    EXPECT_STREQ(pool_->className(), "BucketMemoryPool");
}

TEST_F(BucketPool, OtherNumbersMakeOtherClasses) {
    const IPtr<BucketMemoryPool> pool(new BucketMemoryPool(10, 95, 400));
    std::uint32_t actual = 0;
    std::vector<std::uint32_t> sizes;
    for (const std::int32_t size : {1, 10, 11, 95, 96, 190, 191, 381, 400, 401}) {
        void* block = pool->allocate(size, actual);
        sizes.push_back(actual);
        pool->giveBack(size, block);
    }
    EXPECT_EQ(sizes, (std::vector<std::uint32_t>{10, 10, 20, 100, 190, 190, 380, 760, 760, 401}));
}

TEST(Buffers, CostTheHeapNothingOnceWarm) {
    const NoPoolYet fresh;
    const auto useStrings = [] {
        KelString text(u"some text");
        for (int i = 0; i < 20; ++i) text.append(u" and more");
        return KelString(text).length();
    };
    useStrings();
    int requests = 0;
    const FailingHeap heap([&](const FailingHeap::Request&) {
        ++requests;
        return false;
    });
    for (int i = 0; i < 1000; ++i) useStrings();
    EXPECT_EQ(requests, 0);
}

TEST(Buffers, LeaveBorrowedStorageAlone) {
    char storage[8] = {};
    giveBackBuffer(0, storage);
    giveBackBuffer(8, nullptr);
}

TEST(Buffers, OutliveTheirPool) {
    kel::detail::resetBufferPool();
    std::int32_t capacity = 0;
    void* const block = takeBuffer(100, capacity);
    kel::detail::resetBufferPool();
    std::memset(block, 1, 100);
    giveBackBuffer(capacity, block);  // freed by the allocator that its header names
}

TEST(Buffers, MoveToAHostsPoolAfter601Takes) {
    const NoPoolYet fresh;
    void* const kept = touch(1000);  // take 1, on our own pool
    FreshHost host;
    const IPtr<BucketMemoryPool> hostPool(new BucketMemoryPool(8, 8192, 262144));
    host->offer<IBucketMemoryPool>(*hostPool);
    for (int take = 2; take <= 601; ++take) touch(50);
    std::uint32_t actual = 0;
    void* fromHost = hostPool->allocate(1000, actual);
    EXPECT_NE(fromHost, kept) << "switched too early";
    hostPool->giveBack(1000, fromHost);
    fromHost = nullptr;

    touch(50);  // the 602nd
    fromHost = hostPool->allocate(1000, actual);
    EXPECT_EQ(fromHost, kept) << "the last that our pool gave lies on top";
    hostPool->giveBack(1000, fromHost);
    std::int32_t capacity = 0;
    void* const block = takeBuffer(41, capacity);
    EXPECT_EQ(capacity, 48) << "classes are the host's now";
    giveBackBuffer(capacity, block);
    host->own.lookups.clear();
    for (int take = 0; take < 2000; ++take) touch(50);
    EXPECT_TRUE(host->own.lookups.empty()) << "on the host's pool there are no further lookups";
    kel::detail::resetBufferPool();  // while the host lives
}

TEST(Buffers, AreNeverLentAsLongerThanTheyAre) {
    const NoPoolYet fresh;
    touch(20);  // take 1; stays with our pool, whose classes are four bytes apart
    std::int32_t capacity = 0;
    void* const block = takeBuffer(20, capacity);
    FreshHost host;
    const IPtr<BucketMemoryPool> hostPool(new BucketMemoryPool(8, 8192, 262144));
    host->offer<IBucketMemoryPool>(*hostPool);
    for (int take = 3; take <= 602; ++take) touch(50);
    giveBackBuffer(capacity, block);
    int requests = 0;
    {
        const FailingHeap heap([&](const FailingHeap::Request&) {
            ++requests;
            return false;
        });
        void* const first = takeBuffer(20, capacity);
        EXPECT_EQ(capacity, 24);
        void* const second = takeBuffer(24, capacity);
        giveBackBuffer(24, first);
        giveBackBuffer(24, second);
    }
    EXPECT_EQ(requests, 2) << "20 bytes are no class of the host's pool";
    kel::detail::resetBufferPool();
}

TEST(Buffers, StartOnAHostsPoolOfAnyMake) {
    const NoPoolYet fresh;
    FreshHost host;
    const IPtr<ForeignPool> foreign(new ForeignPool);
    host->offer<IBucketMemoryPool>(*foreign);
    {
        const KelString text(u"a text");
        EXPECT_EQ(foreign->taken, 1);
        EXPECT_EQ(foreign->given, 0);
    }
    EXPECT_EQ(foreign->given, 1);
    kel::detail::resetBufferPool();
}

TEST(Buffers, KeepTheirOwnBlocksFromAPoolOfAnotherMake) {
    const NoPoolYet fresh;
    std::int32_t capacity = 0;
    void* const ours = takeBuffer(500, capacity);
    for (int take = 2; take <= 601; ++take) touch(50);
    FreshHost host;
    const IPtr<ForeignPool> foreign(new ForeignPool);
    host->offer<IBucketMemoryPool>(*foreign);
    touch(50);
    EXPECT_EQ(foreign->taken, 1);
    EXPECT_EQ(foreign->given, 1) << "what our pool kept was not given to it";
    giveBackBuffer(capacity, ours);
    EXPECT_EQ(foreign->given, 2);
    kel::detail::resetBufferPool();
}

// Two components that free each other's blocks under their own locks would wait for each other.
TEST(Buffers, CallOtherAllocatorsOutsideTheLock) {
    struct Asking final : kel::detail::BlockAllocator {
        void freeBlock(void* block) noexcept override {
            std::free(headerOf(block));
            others.push_back(std::async(std::launch::async, [] { touch(50); }));
            const auto status = others.back().wait_for(std::chrono::seconds(1));
            ++(status == std::future_status::ready ? free : locked);
        }
        std::vector<std::future<void>> others;  // waited for at the end: then the lock is free
        int free = 0;
        int locked = 0;
    } asking;
    const auto blockOfSize = [&](std::size_t size) {
        void* const storage = std::malloc(sizeof(kel::detail::BlockHeader) + size);
        return static_cast<void*>(new (storage) kel::detail::BlockHeader{&asking} + 1);
    };
    const NoPoolYet fresh;
    giveBackBuffer(100, blockOfSize(100));  // no pool yet
    touch(50);
    giveBackBuffer(300'000, blockOfSize(300'000));  // larger than what a pool keeps
    void* block = blockOfSize(300'000);
    IPtr<BucketMemoryPool> pool(new BucketMemoryPool(8));
    pool->giveBack(300'000, block);
    block = blockOfSize(700);
    pool->giveBack(700, block);
    pool.reset();
    giveBackBuffer(700, blockOfSize(700));  // kept until the switch ends our own pool
    FreshHost host;
    const IPtr<ForeignPool> foreign(new ForeignPool);
    host->offer<IBucketMemoryPool>(*foreign);
    for (int take = 0; take <= 601; ++take) touch(50);
    EXPECT_EQ(asking.free, 5);
    EXPECT_EQ(asking.locked, 0);
    kel::detail::resetBufferPool();
}

TEST(Buffers, PassToAPoolMadeWithTheSameNumbers) {
    const NoPoolYet fresh;
    void* const kept = touch(700);
    const IPtr<BucketMemoryPool> other(new BucketMemoryPool(8));
    const IPtr<BucketMemoryPool> successor(new BucketMemoryPool);
    EXPECT_EQ(other->refCount(), 1);
    EXPECT_EQ(successor->refCount(), 2) << "ours, and that of the current pool";
    std::uint32_t actual = 0;
    void* block = successor->allocate(700, actual);
    EXPECT_EQ(block, kept);
    successor->giveBack(700, block);
    EXPECT_EQ(touch(700), kept) << "it is the current pool";
}

TEST(Buffers, KeepBlocksApartForManyThreads) {
    const NoPoolYet fresh;
    std::vector<std::thread> threads;
    std::array<bool, 4> intact{};
    for (std::size_t t = 0; t < intact.size(); ++t) {
        threads.emplace_back([&, t] {
            struct Block {
                unsigned char* at = nullptr;
                std::int32_t capacity = 0;
            };
            std::array<Block, 16> blocks{};
            std::mt19937 random(static_cast<unsigned>(t));
            const auto mark = static_cast<unsigned char>(t + 1);
            const auto isMarked = [&](const Block& block) {
                return std::all_of(block.at, block.at + block.capacity,
                                   [&](unsigned char c) { return c == mark; });
            };
            bool ok = true;
            for (int i = 0; i < 3000; ++i) {
                Block& block = blocks[random() % blocks.size()];
                if (block.at != nullptr) ok = ok && isMarked(block);
                giveBackBuffer(block.capacity, block.at);
                block.at = static_cast<unsigned char*>(takeBuffer(1 + random() % 900, block.capacity));
                std::memset(block.at, mark, static_cast<std::size_t>(block.capacity));
            }
            for (Block& block : blocks) giveBackBuffer(block.capacity, block.at);
            intact[t] = ok;
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(intact, (std::array<bool, 4>{true, true, true, true}));
}
