// basic/…: what several threads share. Once a process has started a thread its locks cost more for good:
// these rows come last.
#include <algorithm>
#include <array>
#include <barrier>
#include <condition_variable>
#include <cstdint>
#include <ctime>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "KelBasicTypes/kelcondition.h"
#include "KelBasicTypes/kelmutex.h"
#include "bench/block_rounds.h"
#include "bench/rows.h"

namespace bench {
namespace {

constexpr int kRuns = 9;

// What all threads use together. The wall's clock would mostly tell what else the machine does.
double processorNanoseconds() {
    return static_cast<double>(std::clock()) / CLOCKS_PER_SEC * 1e9;
}

template <class Work>
double medianNanoseconds(Work work) {
    std::array<double, kRuns> runs{};
    for (double& run : runs) {
        const double start = processorNanoseconds();
        work();
        run = processorNanoseconds() - start;
    }
    std::nth_element(runs.begin(), runs.begin() + kRuns / 2, runs.end());
    return runs[kRuns / 2];
}

constexpr int kRoundsOfThread = 10;  // some milliseconds: one round may be over before the next thread runs

// For each block, when `count` threads do the same at once.
double perBlock(int count, std::uint64_t (*round)()) {
    const double all = medianNanoseconds([count, round] {
        std::barrier start(count);
        std::vector<std::thread> threads;
        threads.reserve(static_cast<std::size_t>(count));
        for (int t = 0; t < count; ++t) {
            threads.emplace_back([&start, round] {
                start.arrive_and_wait();
                for (int i = 0; i < kRoundsOfThread; ++i) (void)round();
            });
        }
        for (std::thread& thread : threads) thread.join();
    });
    return all / (count * kRoundsOfThread * static_cast<double>(kBlocksInRound));
}

void sharedPoolRow(Row& row, int count) {
    row.values("ns/op", Better::Lower,
               {{std::string(kOurs), perBlock(count, takeAndGiveBack)},
                {"malloc", perBlock(count, allocateAndFree)}});
}

constexpr int kRoundTrips = 5'000;

// Two threads hand a turn to and fro. `Pair` has lock, unlock, wait and wake for each side.
template <class Pair>
void playRoundTrips() {
    Pair pair;
    int turn = 0;
    const auto play = [&](int side) {
        pair.lock();
        for (int i = 0; i < kRoundTrips; ++i) {
            while (turn != side) pair.wait(side);
            turn = 1 - side;
            pair.wake(1 - side);
        }
        pair.unlock();
    };
    std::thread other(play, 1);
    play(0);
    other.join();
}

template <class Pair>
double perRoundTrip() {
    return medianNanoseconds(playRoundTrips<Pair>) / kRoundTrips;
}

class OurPair {
public:
    OurPair() { mutex_.create(); }
    void lock() { mutex_.lock(); }
    void unlock() { mutex_.unlock(); }
    void wait(int side) { conditions_[static_cast<std::size_t>(side)].wait(mutex_); }
    void wake(int side) { conditions_[static_cast<std::size_t>(side)].signal(); }

private:
    KelMutex mutex_;
    std::array<KelCondition, 2> conditions_;
};

class StandardPair {
public:
    void lock() { mutex_.lock(); }
    void unlock() { mutex_.unlock(); }
    void wait(int side) {
        std::unique_lock held(mutex_, std::adopt_lock);
        conditions_[static_cast<std::size_t>(side)].wait(held);
        (void)held.release();  // stays locked for the caller
    }
    void wake(int side) { conditions_[static_cast<std::size_t>(side)].notify_one(); }

private:
    std::mutex mutex_;
    std::array<std::condition_variable, 2> conditions_;
};

void conditionRow(Row& row) {
    row.values("ns/op", Better::Lower,
               {{std::string(kOurs), perRoundTrip<OurPair>()}, {"std", perRoundTrip<StandardPair>()}});
}

}  // namespace

void addThreadRows(Suite& suite) {
    suite.add("basic/condition", conditionRow);
    for (const int count : {1, 2, 4}) {
        suite.add("basic/pool/" + std::to_string(count) + "threads",
                  [count](Row& row) { sharedPoolRow(row, count); });
    }
}

}  // namespace bench
