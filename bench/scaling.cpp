#include "bench/scaling.h"

#include <algorithm>
#include <array>
#include <barrier>
#include <chrono>
#include <ctime>
#include <thread>
#include <vector>

namespace bench {
namespace {

constexpr std::size_t kRuns = 9;
constexpr double kShortestRunInSeconds = 0.1;
constexpr int kRoundsOfThread = 10;  // some milliseconds: one round may be over before the next thread runs

double median(std::array<double, kRuns> values) {
    std::nth_element(values.begin(), values.begin() + kRuns / 2, values.end());
    return values[kRuns / 2];
}

double wallSeconds() {
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration<double>(now).count();
}

// What all threads use together. The wall clock would mostly show what else the machine does.
double processorNanoseconds() {
    return static_cast<double>(std::clock()) / CLOCKS_PER_SEC * 1e9;
}

// The threads start together, after each has done the work once: what a thread sets up is not the work's.
double secondsFor(int threads, int repeats, const std::function<void()>& work) {
    double start = 0;
    std::barrier gate(threads, [&start]() noexcept { start = wallSeconds(); });
    std::vector<std::jthread> all;
    all.reserve(static_cast<std::size_t>(threads));
    for (int t = 0; t < threads; ++t) {
        all.emplace_back([&gate, &work, repeats] {
            work();
            gate.arrive_and_wait();
            for (int i = 0; i < repeats; ++i) work();
        });
    }
    all.clear();  // waits for their ends
    return wallSeconds() - start;
}

}  // namespace

double measureScaling(const std::function<void()>& work) {
    int repeats = 1;
    while (secondsFor(1, repeats, work) < kShortestRunInSeconds) repeats *= 2;
    std::array<double, kRuns> alone{};
    std::array<double, kRuns> together{};
    for (std::size_t run = 0; run < kRuns; ++run) {
        alone[run] = secondsFor(1, repeats, work);
        together[run] = secondsFor(2, repeats, work);
    }
    return 2 * median(alone) / median(together);
}

double nanosecondsPerBlock(int threads, std::uint64_t (*round)()) {
    std::array<double, kRuns> runs{};
    for (double& run : runs) {
        const double start = processorNanoseconds();
        std::barrier gate(threads);
        std::vector<std::jthread> all;
        all.reserve(static_cast<std::size_t>(threads));
        for (int t = 0; t < threads; ++t) {
            all.emplace_back([&gate, round] {
                gate.arrive_and_wait();
                for (int i = 0; i < kRoundsOfThread; ++i) (void)round();
            });
        }
        all.clear();  // waits for their ends
        run = processorNanoseconds() - start;
    }
    return median(runs) / (threads * kRoundsOfThread * static_cast<double>(kBlocksInRound));
}

}  // namespace bench
